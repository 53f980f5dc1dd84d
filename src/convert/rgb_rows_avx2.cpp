// Row primitives of the RGB side: AVX2 forms. RGB to planar runs 32 pixels
// of a row pair a step (16 for what is left) in 256-bit lanes; the packed
// blocks run 16 pixels a step. Same bytes as the plain forms.
#include <immintrin.h>

#include "convert/rgb_rows.h"
#include "convert/rgb_rows_sse2.h"

namespace tarn {

namespace {

inline __m256i Load32(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }

// Eight 3-byte pixels from 24 bytes (28 read) spread to 4-byte lanes.
inline __m256i Expand8(const uint8_t* p) {
    const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,
                                            0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    return _mm256_shuffle_epi8(_mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(p + 12),
                                                   reinterpret_cast<const __m128i*>(p)),
                               spread);
}

// Luma takes the pixel bytes as signed, each less 128, against the unsigned
// weights 25, 129, 66: both partial sums of a byte multiply-add and their
// total stay within signed 16 bits (one horizontal add joins them), and the
// bias of 220 x 128 = 110 x 256 comes back as 110 after the shift by 8, so
// that luma is this plus 126. For pixels 0-3, 8-11 | 4-7, 12-15 of p0, p1.
inline __m256i LumaLessBias(__m256i p0, __m256i p1) {
    const __m256i weights = _mm256_set1_epi32(0x00428119);  // 25, 129, 66, 0
    const __m256i bias = _mm256_set1_epi8(-128);
    const __m256i s0 = _mm256_maddubs_epi16(weights, _mm256_xor_si256(p0, bias));
    const __m256i s1 = _mm256_maddubs_epi16(weights, _mm256_xor_si256(p1, bias));
    return _mm256_srai_epi16(_mm256_hadd_epi16(s0, s1), 8);
}

// Two word registers of LumaLessBias as luma bytes in pixel order: the
// dwords 0-3 of the pack come from the low lanes.
inline __m256i LumaBytes(__m256i w0, __m256i w1) {
    const __m256i bytes = _mm256_add_epi8(_mm256_packs_epi16(w0, w1), _mm256_set1_epi8(126));
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

// Chroma of 2 x 2 blocks from half the weights, all of them even: 56, -37,
// -19, 0 and -9, -47, 56, 0. A pixel's weighted bytes, and the column of two
// pixels they make with the row below, stay within 16 bits (at most 28560
// either way), so no channel sums are needed: the half-weighted block total
// shifted by 9 is the full one shifted by 10. The adding of 128 is a flip of
// the sign bit once the results are bytes.
constexpr int32_t kCbHalf = 0x00EDDB38;
constexpr int32_t kCrHalf = 0x0038D1F7;

// The 8 blocks of rows a, b, two registers each: the horizontal add gives
// columns 0-3 of both registers | 4-7 of both, and the blocks come out in 32
// bits as 0, 1, 4, 5 | 2, 3, 6, 7.
inline __m256i ChromaBlocks8(const __m256i a[2], const __m256i b[2], int32_t weights) {
    const __m256i w = _mm256_set1_epi32(weights);
    const auto rows = [&](__m256i p, __m256i q) {
        return _mm256_add_epi16(_mm256_maddubs_epi16(p, w), _mm256_maddubs_epi16(q, w));
    };
    const __m256i columns = _mm256_hadd_epi16(rows(a[0], b[0]), rows(a[1], b[1]));
    return _mm256_srai_epi32(_mm256_madd_epi16(columns, _mm256_set1_epi16(1)), 9);
}

// Byte pairs of blocks 0-1, 4-5, ... | 2-3, 6-7, ... with Cb in the low half
// of each lane and Cr in the high: one dword permute and one byte shuffle put
// each plane in order, Cb first.
inline __m256i ChromaBytes(__m256i cb, __m256i cr) {
    const __m256i bytes = _mm256_xor_si256(_mm256_packs_epi16(cb, cr), _mm256_set1_epi8(-128));
    const __m256i spread = _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    const __m256i order = _mm256_setr_epi8(0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15,
                                           0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15);
    return _mm256_shuffle_epi8(spread, order);
}

// Two rows of 16 pixels (8 per register): 16 luma bytes per row, 8 Cb, 8 Cr.
inline void PlanarBlock16(const __m256i a[2], const __m256i b[2], uint8_t* y0, uint8_t* y1, uint8_t* u,
                          uint8_t* v) {
    const __m256i luma = LumaBytes(LumaLessBias(a[0], a[1]), LumaLessBias(b[0], b[1]));  // row a | row b
    _mm_storeu_si128(reinterpret_cast<__m128i*>(y0), _mm256_castsi256_si128(luma));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(y1), _mm256_extracti128_si256(luma, 1));
    const __m256i words = _mm256_packs_epi32(ChromaBlocks8(a, b, kCbHalf), ChromaBlocks8(a, b, kCrHalf));
    const __m128i planes = _mm256_castsi256_si128(ChromaBytes(words, words));  // Cb 0-7, Cr 0-7
    _mm_storel_epi64(reinterpret_cast<__m128i*>(u), planes);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(v), _mm_srli_si128(planes, 8));
}

// Two rows of 32 pixels: 32 luma bytes per row, 16 Cb and 16 Cr.
inline void PlanarBlock32(const __m256i a[4], const __m256i b[4], uint8_t* y0, uint8_t* y1, uint8_t* u,
                          uint8_t* v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(y0), LumaBytes(LumaLessBias(a[0], a[1]), LumaLessBias(a[2], a[3])));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(y1), LumaBytes(LumaLessBias(b[0], b[1]), LumaLessBias(b[2], b[3])));
    const __m256i cb = _mm256_packs_epi32(ChromaBlocks8(a, b, kCbHalf), ChromaBlocks8(a + 2, b + 2, kCbHalf));
    const __m256i cr = _mm256_packs_epi32(ChromaBlocks8(a, b, kCrHalf), ChromaBlocks8(a + 2, b + 2, kCrHalf));
    const __m256i planes = ChromaBytes(cb, cr);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(u), _mm256_castsi256_si128(planes));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(v), _mm256_extracti128_si256(planes, 1));
}

// Eight pixels of a row of 4- or 3-byte pixels in 4-byte lanes.
template <int Bpp>
inline __m256i Pixels8(const uint8_t* p) {
    if constexpr (Bpp == 4) return Load32(p);
    else return Expand8(p);
}

template <int Bpp>
void PlanarAvx2(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const uint8_t* s0,
                const uint8_t* s1, size_t pairs) {
    constexpr size_t kEight = 8 * Bpp;  // bytes of eight pixels
    size_t i = 0;
    for (; i + 16 <= pairs; i += 16) {
        const uint8_t* a = s0 + 2 * Bpp * i;
        const uint8_t* b = s1 + 2 * Bpp * i;
        const __m256i pa[4] = {Pixels8<Bpp>(a), Pixels8<Bpp>(a + kEight), Pixels8<Bpp>(a + 2 * kEight),
                               Pixels8<Bpp>(a + 3 * kEight)};
        const __m256i pb[4] = {Pixels8<Bpp>(b), Pixels8<Bpp>(b + kEight), Pixels8<Bpp>(b + 2 * kEight),
                               Pixels8<Bpp>(b + 3 * kEight)};
        PlanarBlock32(pa, pb, y0 + 2 * i, y1 + 2 * i, u + i, v + i);
    }
    for (; i + 8 <= pairs; i += 8) {
        const uint8_t* a = s0 + 2 * Bpp * i;
        const uint8_t* b = s1 + 2 * Bpp * i;
        const __m256i pa[2] = {Pixels8<Bpp>(a), Pixels8<Bpp>(a + kEight)};
        const __m256i pb[2] = {Pixels8<Bpp>(b), Pixels8<Bpp>(b + kEight)};
        PlanarBlock16(pa, pb, y0 + 2 * i, y1 + 2 * i, u + i, v + i);
    }
    PlanarPairs<Bpp>(y0, y1, u, v, s0, s1, i, pairs);
}

// Chroma of single pixels by byte multiply-adds: 112 B - 74 G and the like
// stay within 16 bits per pixel, and the second multiply-add widens to 32.
inline __m256i Weighted(__m256i p, int32_t coefficients) {
    return _mm256_madd_epi16(_mm256_maddubs_epi16(p, _mm256_set1_epi32(coefficients)), _mm256_set1_epi16(1));
}
constexpr int32_t kCb = 0x00DAB670;  // 112, -74, -38, 0
constexpr int32_t kCr = 0x0070A2EE;  // -18, -94, 112, 0

// Two packed blocks (16 pixels) at once. Per four pixels the words are
// Y0|Cb1, Y2|Cr1, Y1|Cb3, Y3|Cr3: luma with its middle pair traded, and the
// chroma of the odd pixels alone, shifted by 8.
inline __m256i Yuy2Blocks2(__m256i p0, __m256i p1) {
    const __m256i y = _mm256_add_epi16(LumaLessBias(p0, p1), _mm256_set1_epi16(126));  // groups 0, 2 | 1, 3
    const __m256i ySwapped = _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(y, _MM_SHUFFLE(3, 1, 2, 0)),
                                                    _MM_SHUFFLE(3, 1, 2, 0));
    const auto odd = [](__m256i p) {
        const __m256i cb = Weighted(p, kCb), cr = Weighted(p, kCr);
        // Cb of pixels 1, 3 and Cr of pixels 1, 3 of each four: Cb1 Cr1 Cb3 Cr3.
        const __m256i c = _mm256_blend_epi32(_mm256_srli_si256(cb, 4), cr, 0xAA);
        return _mm256_add_epi32(_mm256_srai_epi32(c, 8), _mm256_set1_epi32(128));
    };
    const __m256i chroma = _mm256_packs_epi32(odd(p0), odd(p1));  // groups 0, 2 | 1, 3
    const __m256i words = _mm256_or_si256(ySwapped, _mm256_slli_epi16(chroma, 8));
    return _mm256_permute4x64_epi64(words, _MM_SHUFFLE(3, 1, 2, 0));
}

// Both kernels step 32 source bytes a block (rgb_rows.h).
template <int Bpp>
void Yuy2BlocksAvx2(uint8_t* dst, const uint8_t* src, size_t blocks) {
    size_t i = 0;
    for (; i + 2 <= blocks; i += 2, src += 64, dst += 32)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), Yuy2Blocks2(Pixels8<Bpp>(src), Pixels8<Bpp>(src + 32)));
    if (i < blocks)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst),
                         Yuy2Block(Split8(Pixels4<Bpp>(src), Pixels4<Bpp>(src + 4 * Bpp))));
}

}  // namespace

// Fixed before any code runs, as the AVX-512 table built from it needs.
constinit const RgbRowForms kRgbRowsAvx2 = {PlanarAvx2<4>, PlanarAvx2<3>, Yuy2BlocksAvx2<4>, Yuy2BlocksAvx2<3>};

}  // namespace tarn
