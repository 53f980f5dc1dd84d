// Packed 4:2:2 from one byte order to another. Every row, width >> 1 pairs;
// an odd width leaves the last pixel of each row as it was. With smoothing,
// the first and last rows go as stored and each middle row is smoothed with
// its neighbours before its bytes move.
#include <cstring>

#include "convert/catalogue_kernels.h"
#include "convert/reorder_rows.h"
#include "convert/scratch.h"
#include "platform/byte_span.h"

namespace tarn {

void ReorderRowPlain(uint8_t* dst, const uint8_t* src, size_t pairs, PackedOrder from,
                     PackedOrder to) {
    const ReorderMap m = MapOf(from, to);
    for (size_t i = 0; i < pairs; ++i, src += 4, dst += 4) {
        const uint8_t g[4] = {src[m.from[0]], src[m.from[1]], src[m.from[2]], src[m.from[3]]};
        std::memcpy(dst, g, 4);
    }
}

constexpr FormEntry<ReorderRowFn> kReorderRowForms[] = {
#if defined(TARN_HAVE_X86_SIMD)
    {SimdForm::Avx2, ReorderRowAvx2},
#endif
    {SimdForm::Plain, ReorderRowPlain},
};
static_assert(EndsInPlainForm(kReorderRowForms));

ReorderRowFn ActiveReorderRow() { return PickForm(kReorderRowForms); }

void ReorderPacked(TierBody body, bool smooth, PackedOrder from, PackedOrder to, uint8_t* dst,
                   int32_t dstStride, const uint8_t* src, int32_t srcStride, int32_t width,
                   int32_t height) {
    const RowWalk walk = WalkOf(src, srcStride, height);  // from the last row up when negative
    const size_t pairs = static_cast<size_t>(width > 0 ? width >> 1 : 0);
    if (walk.rows == 0 || pairs == 0) return;
    const size_t n = 4 * pairs;
    const ReorderRowFn reorder = ActiveReorderRow();
    Scratch work(smooth ? n : 1);
    for (int32_t r = 0; r < walk.rows; ++r) {
        const uint8_t* s = reinterpret_cast<const uint8_t*>(Offset(walk.base, r * walk.step));
        if (smooth && r > 0 && r < walk.rows - 1) {
            SmoothRowOf(body, work.data(), s - walk.step, s + walk.step, s, n);
            s = work.data();
        }
        reorder(dst + ptrdiff_t(r) * dstStride, s, pairs, from, to);
    }
}

}  // namespace tarn
