// Box rows of unit boxes, plain form, and the choice of form.
#include "scale/box_unit.h"

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

template <BoxFamily F>
void BoxUnitRowPlain(uint8_t* dst, const uint8_t* row, const uint32_t* resolved, uint32_t len) {
    constexpr uint32_t dp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes43 ? 3 : 4;
    for (uint32_t j = 0; j < len; ++j, dst += dp)
        Store4(dst, resolved[j] == kUnitBlack ? 0 : Load4(row + resolved[j]));
}

template void BoxUnitRowPlain<BoxFamily::Bytes33>(uint8_t*, const uint8_t*, const uint32_t*, uint32_t);
template void BoxUnitRowPlain<BoxFamily::Bytes34>(uint8_t*, const uint8_t*, const uint32_t*, uint32_t);
template void BoxUnitRowPlain<BoxFamily::Bytes43>(uint8_t*, const uint8_t*, const uint32_t*, uint32_t);
template void BoxUnitRowPlain<BoxFamily::Bytes44>(uint8_t*, const uint8_t*, const uint32_t*, uint32_t);

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
