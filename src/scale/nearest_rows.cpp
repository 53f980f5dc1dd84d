// Plain forms of the nearest 4-byte and 3-byte rows and the streaming row
// store, and the tables that pick a fast form.
#include "scale/nearest_rows.h"

#include <cstring>

#include "platform/form_table.h"

namespace tarn {

void NearestRow44Plain(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t, const uint8_t*) {
    for (uint32_t x = 0; x < len; ++x) std::memcpy(dst + 4 * size_t(x), row + co[x], 4);
}

void NearestRow33Plain(uint8_t* dst, const uint8_t* row, const uint32_t* co, uint32_t len, uint32_t lastSample,
                       const uint8_t*) {
    uint32_t x = 0;
    for (; x + 1 < len; ++x) {
        if (co[x] < lastSample) std::memcpy(dst + 3 * size_t(x), row + co[x], 4);
        else std::memcpy(dst + 3 * size_t(x), row + co[x], 3);
    }
    std::memcpy(dst + 3 * size_t(x), row + co[x], 3);
}

NearestRow33Fn PickNearestRow33() {
#if defined(TARN_HAVE_X86_SIMD)
    static constexpr FormEntry<NearestRow33Fn> t[] = {{SimdForm::Avx2, NearestRow33Avx2},
                                                      {SimdForm::Plain, NearestRow33Plain}};
    static_assert(EndsInPlainForm(t));
    return PickForm(t);
#else
    return NearestRow33Plain;
#endif
}

void StreamRowPlain(uint8_t* dst, const uint8_t* src, size_t bytes) { std::memcpy(dst, src, bytes); }

uint32_t UniformStep(const uint32_t* co, uint32_t len) {
    if (len < 2) return 0;
    const uint32_t step = co[1] - co[0];
    for (uint32_t x = 2; x < len; ++x)
        if (co[x] - co[x - 1] != step) return 0;
    return step;
}

void NearestCopies44Plain(uint8_t* dst, ptrdiff_t pitch, uint32_t copies, const uint8_t* row, const uint32_t* co,
                          uint32_t len, uint32_t readable, const uint8_t* ahead) {
    for (uint32_t c = 0; c < copies; ++c) NearestRow44Plain(dst + pitch * ptrdiff_t(c), row, co, len, readable, ahead);
}

NearestCopies44Fn PickNearestCopies44() {
#if defined(TARN_HAVE_X86_SIMD)
    static constexpr FormEntry<NearestCopies44Fn> t[] = {{SimdForm::Avx512, NearestCopies44Avx512},
                                                         {SimdForm::Avx2, NearestCopies44Avx2},
                                                         {SimdForm::Plain, NearestCopies44Plain}};
    static_assert(EndsInPlainForm(t));
    return PickForm(t);
#else
    return NearestCopies44Plain;
#endif
}

NearestRow44Fn PickNearestRow44(uint32_t step) {
#if defined(TARN_HAVE_X86_SIMD)
    static constexpr FormEntry<NearestRow44Fn> t[] = {{SimdForm::Avx2, NearestRow44Avx2},
                                                      {SimdForm::Plain, NearestRow44Plain}};
    static constexpr FormEntry<NearestRow44Fn> halves[] = {{SimdForm::Avx2, NearestRow44HalvesAvx2},
                                                           {SimdForm::Plain, NearestRow44Plain}};
    static constexpr FormEntry<NearestRow44Fn> quarters[] = {{SimdForm::Avx2, NearestRow44QuartersAvx2},
                                                             {SimdForm::Plain, NearestRow44Plain}};
    static_assert(EndsInPlainForm(t) && EndsInPlainForm(halves) && EndsInPlainForm(quarters));
    switch (step) {
        case 8: return PickForm(halves);
        case 16: return PickForm(quarters);
        default: return PickForm(t);
    }
#else
    (void)step;
    return NearestRow44Plain;
#endif
}

void FinishStreamedRows() {
#if defined(TARN_HAVE_X86_SIMD)
    // Plain stores need no fence; one costs nothing worth a table here.
    if (ActiveSimdForm() >= SimdForm::Sse2) StreamFenceSse2();
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
