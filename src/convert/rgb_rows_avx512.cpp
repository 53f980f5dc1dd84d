// Row primitives of the RGB side: AVX-512 form (F, BW and VL) of RGB to
// planar, 64 pixels of a row pair a step; what is left after the steps, and
// the packed blocks, go by the AVX2 form (rgb_rows.cpp puts the table
// together). Same bytes as the plain forms.
//
// The AVX2 form joins neighbouring 16-bit sums with horizontal adds, which
// have no 512-bit form: here a multiply-add by 1 widens each pair of words
// to its exact 32-bit sum and a saturating pack brings the sums back to
// words. The sums lie within 16 bits (rgb_rows_avx2.cpp says why), so the
// pack saturates nothing and the words are those of the horizontal adds.
#include <immintrin.h>

#include "convert/rgb_rows.h"

namespace tarn {

namespace {

// 16 pixels of a row in 4-byte lanes: 64 bytes of 4-byte pixels, or 48
// bytes of 3-byte pixels (64 read) whose dwords 3i..3i + 2 go to lane i and
// are spread there, the fourth byte of each pixel 0.
template <int Bpp>
inline __m512i Pixels16(const uint8_t* p) {
    const __m512i v = _mm512_loadu_si512(p);
    if constexpr (Bpp == 4) {
        return v;
    } else {
        const __m512i lanes = _mm512_permutexvar_epi32(
            _mm512_setr_epi32(0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11), v);
        const __m512i spread = _mm512_broadcast_i32x4(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
        return _mm512_shuffle_epi8(lanes, spread);
    }
}

// Position 4j + i takes dword 4i + j: the packs below leave lane i holding
// the dwords i of registers 0-3 in turn, and this puts them in pixel order.
inline __m512i Transpose4(__m512i v) {
    return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15), v);
}

// Each pair of words summed exactly into the dword they share.
inline __m512i PairSums(__m512i w) { return _mm512_madd_epi16(w, _mm512_set1_epi16(1)); }

// 64 luma bytes of one row, as the AVX2 form makes them: bytes less 128
// against the weights 25, 129, 66, shifted by 8, plus 126.
inline __m512i Luma64(const __m512i p[4]) {
    const __m512i weights = _mm512_set1_epi32(0x00428119);
    const __m512i bias = _mm512_set1_epi8(-128);
    __m512i d[4];
    for (int k = 0; k < 4; ++k) d[k] = PairSums(_mm512_maddubs_epi16(weights, _mm512_xor_si512(p[k], bias)));
    const __m512i w01 = _mm512_srai_epi16(_mm512_packs_epi32(d[0], d[1]), 8);
    const __m512i w23 = _mm512_srai_epi16(_mm512_packs_epi32(d[2], d[3]), 8);
    return Transpose4(_mm512_add_epi8(_mm512_packs_epi16(w01, w23), _mm512_set1_epi8(126)));
}

// Half-weights of chroma (rgb_rows_avx2.cpp): 56, -37, -19, 0 and
// -9, -47, 56, 0.
constexpr int32_t kCbHalf = 0x00EDDB38;
constexpr int32_t kCrHalf = 0x0038D1F7;

// The 2 x 2 blocks of 16-pixel registers k and k + 1 of rows a and b,
// shifted: lane i holds blocks 2i, 2i + 1 of register k, then those of
// register k + 1 (8 blocks a register).
inline __m512i Blocks(const __m512i a[2], const __m512i b[2], int32_t weights) {
    const __m512i w = _mm512_set1_epi32(weights);
    const auto columns = [&](__m512i p, __m512i q) {
        return PairSums(_mm512_add_epi16(_mm512_maddubs_epi16(p, w), _mm512_maddubs_epi16(q, w)));
    };
    return _mm512_srai_epi32(PairSums(_mm512_packs_epi32(columns(a[0], b[0]), columns(a[1], b[1]))), 9);
}

// 32 Cb bytes then 32 Cr bytes of the 64 pixels of rows a and b. After the
// packs, lane i holds the Cb words (two blocks each) 4m + i for m = 0..3 and
// then the Cr words alike; one word permute puts each plane in order.
inline __m512i Chroma64(const __m512i a[4], const __m512i b[4]) {
    const __m512i cb = _mm512_packs_epi32(Blocks(a, b, kCbHalf), Blocks(a + 2, b + 2, kCbHalf));
    const __m512i cr = _mm512_packs_epi32(Blocks(a, b, kCrHalf), Blocks(a + 2, b + 2, kCrHalf));
    const __m512i bytes = _mm512_xor_si512(_mm512_packs_epi16(cb, cr), _mm512_set1_epi8(-128));
    const __m512i order = _mm512_set_epi16(31, 23, 15, 7, 30, 22, 14, 6, 29, 21, 13, 5, 28, 20, 12, 4,  //
                                           27, 19, 11, 3, 26, 18, 10, 2, 25, 17, 9, 1, 24, 16, 8, 0);
    return _mm512_permutexvar_epi16(order, bytes);
}

template <int Bpp>
void PlanarAvx512(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const uint8_t* s0, const uint8_t* s1,
                  size_t pairs) {
    constexpr size_t kSixteen = 16 * Bpp;  // bytes of 16 pixels
    size_t i = 0;
    for (; i + 32 <= pairs; i += 32) {
        const uint8_t* a = s0 + 2 * Bpp * i;
        const uint8_t* b = s1 + 2 * Bpp * i;
        __m512i pa[4], pb[4];
        for (int k = 0; k < 4; ++k) {
            pa[k] = Pixels16<Bpp>(a + kSixteen * k);
            pb[k] = Pixels16<Bpp>(b + kSixteen * k);
        }
        _mm512_storeu_si512(y0 + 2 * i, Luma64(pa));
        _mm512_storeu_si512(y1 + 2 * i, Luma64(pb));
        const __m512i planes = Chroma64(pa, pb);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(u + i), _mm512_castsi512_si256(planes));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(v + i), _mm512_extracti64x4_epi64(planes, 1));
    }
    if (i == pairs) return;
    const RgbRowForms& rest = kRgbRowsAvx2;
    (Bpp == 4 ? rest.planar32 : rest.planar24)(y0 + 2 * i, y1 + 2 * i, u + i, v + i, s0 + 2 * Bpp * i,
                                               s1 + 2 * Bpp * i, pairs - i);
}

}  // namespace

// Addresses only, fixed before any code runs: nothing of this file may run
// when the library loads, on a processor that may lack its instructions.
constinit const RgbRowsOwnAvx512 kRgbRowsOwnAvx512 = {PlanarAvx512<4>, PlanarAvx512<3>};

}  // namespace tarn
