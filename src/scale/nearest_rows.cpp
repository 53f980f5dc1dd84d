// Plain forms of the nearest 4-byte row and the streaming row store, and the
// tables that pick a fast form.
#include "scale/nearest_rows.h"

#include <cstring>

#include "platform/form_table.h"

namespace tarn {

void NearestRow44Plain(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t) {
    for (uint32_t x = 0; x < len; ++x) std::memcpy(dst + 4 * size_t(x), row + co[x], 4);
}

void StreamRowPlain(uint8_t* dst, const uint8_t* src, size_t bytes) { std::memcpy(dst, src, bytes); }

NearestRow44Fn PickNearestRow44(bool stream) {
#if defined(TARN_HAVE_X86_SIMD)
    static constexpr FormEntry<NearestRow44Fn> t[] = {{SimdForm::Avx2, NearestRow44Avx2},
                                                      {SimdForm::Plain, NearestRow44Plain}};
    static constexpr FormEntry<NearestRow44Fn> streamed[] = {{SimdForm::Avx2, NearestRow44StreamAvx2},
                                                             {SimdForm::Plain, NearestRow44Plain}};
    static_assert(EndsInPlainForm(t) && EndsInPlainForm(streamed));
    return stream ? PickForm(streamed) : PickForm(t);
#else
    (void)stream;
    return NearestRow44Plain;
#endif
}

StreamRowFn PickStreamRow() {
#if defined(TARN_HAVE_X86_SIMD)
    static constexpr FormEntry<StreamRowFn> t[] = {{SimdForm::Sse2, StreamRowSse2}, {SimdForm::Plain, StreamRowPlain}};
    static_assert(EndsInPlainForm(t));
    return PickForm(t);
#else
    return StreamRowPlain;
#endif
}

}  // namespace tarn
