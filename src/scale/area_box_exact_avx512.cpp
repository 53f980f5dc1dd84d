// Area shrink by whole power-of-two factors, AVX-512 form: single-channel
// boxes 2 or 4 samples wide make 64 target bytes a step, where the AVX2
// form makes 32; every other box, and rows of fewer than 64 targets, go by
// the AVX2 form. The arithmetic is that form's (area_box_exact_avx2.cpp):
// a target byte is (S + 2^(shift-1)) >> shift for the plain sum S of its
// samples, worked exactly in integers.
//
// Byte pairs are added by a multiply-add with 1 (maddubs) and the rows'
// pair sums in 16 bits: at most fy * 510 <= 65280 for a box of up to 256
// samples, so the wrapping adds and the logical shift see the exact sums.
// A box 4 wide has at most 64 rows, its pair sums at most 32640, which
// fits a signed word: a multiply-add of words with 1 (madd) then gives each
// neighbouring pair's exact sum in 32 bits. 512-bit registers have no
// horizontal adds; that is what takes their place.
#include <immintrin.h>

#include "scale/area_shrink.h"

namespace tarn {
namespace {

// Each step reads 64 * Fx bytes of each of the fy source rows and stores 64
// target bytes; the last step of a row is moved back to end at the row's
// end, rewriting some bytes of the step before with the same values.
template <uint32_t Fx, uint32_t Fy>
void NarrowBoxRows(uint8_t* dst, const uint8_t* src, uint32_t dstWidth, uint32_t dstHeight, uint32_t givenFy,
                   int32_t srcStride, int32_t dstStride, uint32_t givenShift) {
    const uint32_t fy = Fy ? Fy : givenFy, shift = Fy ? (Fx == 2 ? 2 : 4) : givenShift;
    const __m512i bytesOne = _mm512_set1_epi8(1);
    const __m512i wordsOne = _mm512_set1_epi16(1);
    const __m128i count = _mm_cvtsi32_si128(int(shift));
    auto step = [&](uint8_t* out, const uint8_t* at) {
        __m512i s[Fx];
        for (uint32_t k = 0; k < Fx; ++k) s[k] = _mm512_maddubs_epi16(_mm512_loadu_si512(at + 64 * k), bytesOne);
        for (uint32_t j = 1; j < fy; ++j) {
            const uint8_t* r = at + intptr_t(j) * srcStride;
            for (uint32_t k = 0; k < Fx; ++k)
                s[k] = _mm512_add_epi16(s[k], _mm512_maddubs_epi16(_mm512_loadu_si512(r + 64 * k), bytesOne));
        }
        __m512i bytes;
        if constexpr (Fx == 2) {
            // Words of s[0]: targets 0-31, eight a 128-bit lane; of s[1]:
            // 32-63. The pack puts lane L of each side by side: eight-byte
            // groups 0, 4, 1, 5, 2, 6, 3, 7 of the targets.
            const __m512i round = _mm512_set1_epi16(int16_t(1 << (shift - 1)));
            auto scaled = [&](__m512i v) { return _mm512_srl_epi16(_mm512_add_epi16(v, round), count); };
            bytes = _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7),
                                             _mm512_packus_epi16(scaled(s[0]), scaled(s[1])));
        } else {
            // s[k] holds the pair sums of targets 16k .. 16k + 15, whose
            // dwords after madd lie four a lane. The two packs leave lane L
            // with the four-byte groups of targets 4L, 16 + 4L, 32 + 4L,
            // 48 + 4L: dword 4L + g of the register is group 4g + L.
            const __m512i round = _mm512_set1_epi32(1 << (shift - 1));
            auto scaled = [&](__m512i v) {
                return _mm512_srl_epi32(_mm512_add_epi32(_mm512_madd_epi16(v, wordsOne), round), count);
            };
            const __m512i low = _mm512_packs_epi32(scaled(s[0]), scaled(s[1]));
            const __m512i high = _mm512_packs_epi32(scaled(s[2]), scaled(s[3]));
            bytes = _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15),
                                             _mm512_packus_epi16(low, high));
        }
        _mm512_storeu_si512(out, bytes);
    };
    for (uint32_t t = 0; t < dstHeight; ++t, dst += dstStride) {
        const uint8_t* row = src + intptr_t(t) * fy * srcStride;
        for (uint32_t x = 0; x + 64 <= dstWidth; x += 64) step(dst + x, row + size_t(x) * Fx);
        if (dstWidth % 64) step(dst + dstWidth - 64, row + size_t(dstWidth - 64) * Fx);
    }
}

}  // namespace

void AreaBoxExactAvx512(const ScaleTarget& target, const ScaleSource& source, uint32_t shift) {
    const uint32_t fx = source.width / target.width, fy = source.height / target.height;
    if (source.pixelBytes != 1 || (fx != 2 && fx != 4) || target.width < 64)
        return AreaBoxExactAvx2(target, source, shift);
    using Rows = void (*)(uint8_t*, const uint8_t*, uint32_t, uint32_t, uint32_t, int32_t, int32_t, uint32_t);
    const Rows rows = fx == 2 ? (fy == 2 ? NarrowBoxRows<2, 2> : NarrowBoxRows<2, 0>)
                              : (fy == 4 ? NarrowBoxRows<4, 4> : NarrowBoxRows<4, 0>);
    rows(target.pixels, source.pixels, target.width, target.height, fy, source.stride, target.stride, shift);
}

}  // namespace tarn
