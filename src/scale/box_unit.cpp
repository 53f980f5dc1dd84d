// Box rows of unit boxes, plain form, and the choice of form.
#include "scale/box_unit.h"

#include <algorithm>

#include "platform/form_table.h"
#include "scale/pixel_lanes.h"

namespace tarn {

bool ResolveUnitColumns(const uint32_t* offsets, const uint32_t* counts, uint32_t len,
                        std::vector<uint32_t>& resolved) {
    resolved.resize(len);
    uint32_t k = 0;
    for (uint32_t j = 0; j < len; ++j) {
        if (counts[j] > 1) return false;
        if (counts[j] == 0) {
            resolved[j] = kUnitBlack;
            continue;
        }
        const uint32_t offset = offsets[k++];
        if (offset > uint32_t(INT32_MAX)) return false;
        resolved[j] = offset;
    }
    return true;
}

bool PlanUnitWindows(const uint32_t* resolved, uint32_t len, uint32_t dstPitch, UnitWindows& plan) {
    // The plain form reads 4 bytes at every resolved offset; as the offsets
    // of a run grow, the bytes between its first and last read are row bytes.
    int64_t first = INT64_MAX, end = INT64_MIN;
    for (uint32_t j = 0; j < len; ++j)
        if (resolved[j] != kUnitBlack) {
            first = std::min<int64_t>(first, resolved[j]);
            end = std::max<int64_t>(end, int64_t(resolved[j]) + 4);
        }
    if (first == INT64_MAX || end - first < 16) return false;
    plan.blocks = dstPitch == 4 ? len / 8 : (len >= 9 ? (len - 1) / 8 : 0);
    plan.base.assign(size_t(plan.blocks) * 2, 0);
    plan.masks.assign(size_t(plan.blocks) * 32, 0x80);
    for (uint32_t b = 0; b < plan.blocks; ++b)
        for (uint32_t h = 0; h < 2; ++h) {
            const uint32_t* at = resolved + 8 * b + 4 * h;
            int64_t lo = INT64_MAX, hi = INT64_MIN;
            for (uint32_t k = 0; k < 4; ++k)
                if (at[k] != kUnitBlack) lo = std::min<int64_t>(lo, at[k]), hi = std::max<int64_t>(hi, at[k]);
            if (lo == INT64_MAX) lo = hi = first;
            const int64_t base = std::max(first, std::min(lo, end - 16));
            if (base > lo || hi + 4 > base + 16) return false;
            plan.base[2 * b + h] = int32_t(base);
            uint8_t* m = plan.masks.data() + 32 * b + 16 * h;
            // In pixel order, so that with 3-byte targets a pixel's first
            // byte takes the place of the one before's fourth, as its store does.
            for (uint32_t k = 0; k < 4; ++k)
                for (uint32_t ch = 0; ch < 4 && dstPitch * k + ch < 16; ++ch)
                    m[dstPitch * k + ch] = at[k] == kUnitBlack ? 0x80 : uint8_t(at[k] - base + ch);
        }
    return true;
}

template <BoxFamily F>
void BoxUnitRowPlain(uint8_t* dst, const uint8_t* row, const uint32_t* resolved, uint32_t len,
                     const UnitWindows*) {
    constexpr uint32_t dp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes43 ? 3 : 4;
    for (uint32_t j = 0; j < len; ++j, dst += dp)
        Store4(dst, resolved[j] == kUnitBlack ? 0 : Load4(row + resolved[j]));
}

template void BoxUnitRowPlain<BoxFamily::Bytes33>(uint8_t*, const uint8_t*, const uint32_t*, uint32_t, const UnitWindows*);
template void BoxUnitRowPlain<BoxFamily::Bytes34>(uint8_t*, const uint8_t*, const uint32_t*, uint32_t, const UnitWindows*);
template void BoxUnitRowPlain<BoxFamily::Bytes43>(uint8_t*, const uint8_t*, const uint32_t*, uint32_t, const UnitWindows*);
template void BoxUnitRowPlain<BoxFamily::Bytes44>(uint8_t*, const uint8_t*, const uint32_t*, uint32_t, const UnitWindows*);

BoxUnitRowFn PickBoxUnitRow(BoxFamily family) {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<BoxUnitRowFn> forms[4][2] = {
        {{SimdForm::Avx2, BoxUnitRowAvx2<BoxFamily::Bytes33>}, {SimdForm::Plain, BoxUnitRowPlain<BoxFamily::Bytes33>}},
        {{SimdForm::Avx2, BoxUnitRowAvx2<BoxFamily::Bytes34>}, {SimdForm::Plain, BoxUnitRowPlain<BoxFamily::Bytes34>}},
        {{SimdForm::Avx2, BoxUnitRowAvx2<BoxFamily::Bytes43>}, {SimdForm::Plain, BoxUnitRowPlain<BoxFamily::Bytes43>}},
        {{SimdForm::Avx2, BoxUnitRowAvx2<BoxFamily::Bytes44>}, {SimdForm::Plain, BoxUnitRowPlain<BoxFamily::Bytes44>}},
    };
    return PickForm(forms[static_cast<int>(family)]);
#else
    static const BoxUnitRowFn plain[4] = {BoxUnitRowPlain<BoxFamily::Bytes33>, BoxUnitRowPlain<BoxFamily::Bytes34>,
                                          BoxUnitRowPlain<BoxFamily::Bytes43>, BoxUnitRowPlain<BoxFamily::Bytes44>};
    return plain[static_cast<int>(family)];
#endif
}

}  // namespace tarn
