// Box shrink, SSE2 form, the families of 4-byte sources: boxes two
// samples wide over consecutive samples are summed 2 target pixels at a
// time in 16-bit lanes (4 at a time along a run paired throughout) and divided by the same chain as the plain kernels
// (the chain's shifts and adds on each lane are the plain arithmetic). Other
// pixels, count 0 with its lagging offsets included, go to the plain kernels.
#include <emmintrin.h>

#include <cstring>

#include "scale/box_shrink.h"

namespace tarn {
namespace {

__m128i Divide(__m128i s, const BoxChain& ch) {
    if (ch.preShift) s = _mm_srli_epi16(s, 1);
    __m128i a = s, t = s;
    for (uint32_t i = 0; i < ch.count; ++i) {
        t = _mm_srl_epi16(t, _mm_cvtsi32_si128(ch.k[i]));
        a = _mm_add_epi16(a, t);
    }
    return _mm_srl_epi16(a, _mm_cvtsi32_si128(ch.finalShift));
}

}  // namespace

template <BoxFamily F>
void BoxShrinkRowSse2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                      uint32_t len, int32_t stride, uint32_t rowCount) {
    if (rowCount < 1 || rowCount > 16) return;
    constexpr uint32_t dp = F == BoxFamily::Bytes43 ? 3 : 4;
    const BoxChain& ch = ChainOf(F, rowCount, 2);
    const __m128i zero = _mm_setzero_si128();
    uint32_t j = 0, k = 0;
    while (j < len) {
        if (PairedRun(offsets, counts, j, k, len, 2) == 2) {
            const uint8_t* p = row + offsets[k];
            __m128i lo = zero, hi = zero;
            for (uint32_t i = 0; i < rowCount; ++i, p += stride) {
                const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
                lo = _mm_add_epi16(lo, _mm_unpacklo_epi8(v, zero));
                hi = _mm_add_epi16(hi, _mm_unpackhi_epi8(v, zero));
            }
            const __m128i s = _mm_add_epi16(_mm_unpacklo_epi64(lo, hi), _mm_unpackhi_epi64(lo, hi));
            const __m128i px = _mm_packus_epi16(Divide(s, ch), zero);
            if constexpr (dp == 4) {
                _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), px);
            } else {
                const int32_t p0 = _mm_cvtsi128_si32(px), p1 = _mm_cvtsi128_si32(_mm_srli_si128(px, 4));
                std::memcpy(dst, &p0, 4);
                std::memcpy(dst + 3, &p1, 4);
            }
            j += 2, k += 2, dst += 2 * dp;
            continue;
        }
        BoxShrinkRowPlain<F>(dst, row, offsets + k, counts + j, 1, stride, rowCount);
        k += counts[j] != 0;
        ++j, dst += dp;
    }
}

namespace {

// Two boxes of two consecutive 4-byte samples over `rows` rows: 16 bytes of
// each row, widened to 16 bits; the two samples of each box are then added.
template <uint32_t R>
inline __m128i SumTwo(const uint8_t* p, intptr_t stride, uint32_t rows) {
    const __m128i zero = _mm_setzero_si128();
    __m128i lo = zero, hi = zero;
    const uint32_t n = R ? R : rows;
    for (uint32_t i = 0; i < n; ++i, p += stride) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        lo = _mm_add_epi16(lo, _mm_unpacklo_epi8(v, zero));
        hi = _mm_add_epi16(hi, _mm_unpackhi_epi8(v, zero));
    }
    return _mm_add_epi16(_mm_unpacklo_epi64(lo, hi), _mm_unpackhi_epi64(lo, hi));
}

template <BoxFamily F, uint32_t R>
void PairedRun4(uint8_t* dst, const uint8_t* p, uint32_t quads, intptr_t stride, uint32_t rows, const BoxChain& ch) {
    constexpr uint32_t dp = F == BoxFamily::Bytes43 ? 3 : 4;
    for (uint32_t q = 0; q < quads; ++q, p += 32, dst += 4 * dp) {
        const __m128i px = _mm_packus_epi16(Divide(SumTwo<R>(p, stride, rows), ch),
                                            Divide(SumTwo<R>(p + 16, stride, rows), ch));
        if constexpr (dp == 4) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), px);
        } else {
            uint32_t v[4];
            _mm_storeu_si128(reinterpret_cast<__m128i*>(v), px);
            for (int i = 0; i < 4; ++i) std::memcpy(dst + 3 * i, &v[i], 4);
        }
    }
}

}  // namespace

template <BoxFamily F>
void BoxPairedRowSse2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                      uint32_t len, int32_t stride, uint32_t rowCount) {
    if (rowCount < 1 || rowCount > 16 || len == 0) return;
    constexpr uint32_t dp = F == BoxFamily::Bytes43 ? 3 : 4;
    const BoxChain& ch = ChainOf(F, rowCount, 2);
    const uint32_t quads = len / 4;
    if (rowCount == 2) PairedRun4<F, 2>(dst, row + offsets[0], quads, stride, 2, ch);
    else PairedRun4<F, 0>(dst, row + offsets[0], quads, stride, rowCount, ch);
    const uint32_t done = 4 * quads;
    if (done < len)
        BoxShrinkRowSse2<F>(dst + done * dp, row, offsets + done, counts + done, len - done, stride, rowCount);
}

template void BoxPairedRowSse2<BoxFamily::Bytes43>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxPairedRowSse2<BoxFamily::Bytes44>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxShrinkRowSse2<BoxFamily::Bytes43>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxShrinkRowSse2<BoxFamily::Bytes44>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);

}  // namespace tarn
