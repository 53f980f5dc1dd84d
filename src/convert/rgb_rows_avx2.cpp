// Row primitives of the RGB side: AVX2 forms. RGB to planar runs 16 pixels a
// step in 256-bit lanes; the packed blocks use the 128-bit helpers built here
// with AVX2 encoding. Same bytes as the plain forms.
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

// Per-pixel sums by unsigned-by-signed byte multiply-adds. 129 does not fit
// a signed byte, so luma takes 24 B - 127 G + 66 R from the multiply and adds
// the (blue, green) word itself, B + 256 G, which makes 25 B + 129 G; the sum
// is at most 56100, exact in unsigned 16-bit arithmetic. Chroma coefficients
// fit bytes; 112 B - 74 G stays within 16 bits per pixel and the second
// multiply-add widens to 32.
inline __m256i LumaTerms(__m256i p) {
    const __m256i m = _mm256_maddubs_epi16(p, _mm256_set1_epi32(0x00428118));  // 24, -127, 66, 0
    return _mm256_add_epi16(m, _mm256_and_si256(p, _mm256_set1_epi32(0x0000FFFF)));
}
// Luma of 16 pixels in 16-bit lanes, pixels 0-3, 8-11 | 4-7, 12-15.
inline __m256i Luma16(__m256i p0, __m256i p1) {
    const __m256i sum = _mm256_hadd_epi16(LumaTerms(p0), LumaTerms(p1));
    return _mm256_add_epi16(_mm256_srli_epi16(sum, 8), _mm256_set1_epi16(16));
}
inline __m256i Weighted(__m256i p, int32_t coefficients) {
    return _mm256_madd_epi16(_mm256_maddubs_epi16(p, _mm256_set1_epi32(coefficients)), _mm256_set1_epi16(1));
}
constexpr int32_t kCb = 0x00DAB670;  // 112, -74, -38, 0
constexpr int32_t kCr = 0x0070A2EE;  // -18, -94, 112, 0
// The same as 16-bit weights of (sum B, sum G, sum R, sum A).
constexpr int64_t kCbBlock = 0x0000FFDAFFB60070;  // 112, -74, -38, 0
constexpr int64_t kCrBlock = 0x00000070FFA2FFEE;  // -18, -94, 112, 0

// Two rows of 16 pixels (8 per register): 16 luma bytes per row, 8 Cb, 8 Cr.
inline void PlanarBlock16(__m256i a0, __m256i a1, __m256i b0, __m256i b1, uint8_t* y0, uint8_t* y1,
                          uint8_t* u, uint8_t* v) {
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const __m256i luma = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(Luma16(a0, a1), Luma16(b0, b1)), order);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(y0), _mm256_castsi256_si128(luma));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(y1), _mm256_extracti128_si256(luma, 1));
    // Exact channel sums of the 2 x 2 blocks: each channel of two neighbours
    // brought side by side and added by a byte multiply-add with 1s, the rows
    // added (at most 1020), then weighted in 32 bits. The 64-bit permute puts
    // the blocks back in order.
    const __m256i side = _mm256_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15,
                                          0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
    const __m256i ones8 = _mm256_set1_epi8(1);
    const auto pairSums = [&](__m256i p) { return _mm256_maddubs_epi16(_mm256_shuffle_epi8(p, side), ones8); };
    const __m256i sum0 = _mm256_add_epi16(pairSums(a0), pairSums(b0));  // blocks 0, 1 | 2, 3
    const __m256i sum1 = _mm256_add_epi16(pairSums(a1), pairSums(b1));  // blocks 4, 5 | 6, 7
    const auto blocks = [&](int64_t weights) {
        const __m256i w = _mm256_set1_epi64x(weights);
        const __m256i s = _mm256_hadd_epi32(_mm256_madd_epi16(sum0, w), _mm256_madd_epi16(sum1, w));
        const __m256i ordered = _mm256_permute4x64_epi64(s, _MM_SHUFFLE(3, 1, 2, 0));
        return _mm256_add_epi32(_mm256_srai_epi32(ordered, 10), _mm256_set1_epi32(128));
    };
    const __m256i words = _mm256_packs_epi32(blocks(kCbBlock), blocks(kCrBlock));  // Cb 0-3 Cr 0-3 | Cb 4-7 Cr 4-7
    const __m256i bytes = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(words, words), order);
    const __m128i low = _mm256_castsi256_si128(bytes);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(u), low);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(v), _mm_srli_si128(low, 8));
}

// The chroma weights, all even, halved: 56, -37, -19, 0 and -9, -47,
// 56, 0. A pixel's weighted bytes, and the column of two pixels they make
// with the row below, stay within 16 bits (at most 28560 either way), so the
// block needs no channel sums: the half-weighted block total shifted by 9 is
// the full one shifted by 10.
constexpr int32_t kCbHalf = 0x00EDDB38;
constexpr int32_t kCrHalf = 0x0038D1F7;

// Two rows of 32 pixels (8 per register): 32 luma bytes per row, 16 Cb and
// 16 Cr. Luma takes the pixel bytes as signed, each less 128, against the
// unsigned weights 25, 129, 66: both partial sums and their total stay within
// signed 16 bits (one horizontal add joins them), and the bias of 220 x 128 =
// 110 x 256 comes back as 110 after the shift by 8. Cb and Cr of each block
// are paired by one horizontal add, and the adding of 128 is a flip of the
// sign bit once they are bytes.
inline __m256i LumaRow32(const __m256i p[4]) {
    const __m256i weights = _mm256_set1_epi32(0x00428119);  // 25, 129, 66, 0
    const __m256i bias = _mm256_set1_epi8(-128);
    __m256i s[4];
    for (int k = 0; k < 4; ++k) s[k] = _mm256_maddubs_epi16(weights, _mm256_xor_si256(p[k], bias));
    // Pixels 0-3, 8-11, 16-19, 24-27 | 4-7, 12-15, 20-23, 28-31.
    const __m256i words = _mm256_packs_epi16(_mm256_srai_epi16(_mm256_hadd_epi16(s[0], s[1]), 8),
                                             _mm256_srai_epi16(_mm256_hadd_epi16(s[2], s[3]), 8));
    const __m256i bytes = _mm256_add_epi8(words, _mm256_set1_epi8(126));
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

inline void PlanarBlock32(const __m256i a[4], const __m256i b[4], uint8_t* y0, uint8_t* y1, uint8_t* u,
                          uint8_t* v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(y0), LumaRow32(a));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(y1), LumaRow32(b));
    const __m256i wCb = _mm256_set1_epi32(kCbHalf), wCr = _mm256_set1_epi32(kCrHalf);
    const __m256i ones = _mm256_set1_epi16(1);
    // The weighted bytes of each row's pixel, the rows added in 16 bits.
    const auto rows = [](__m256i p, __m256i q, __m256i w) {
        return _mm256_add_epi16(_mm256_maddubs_epi16(p, w), _mm256_maddubs_epi16(q, w));
    };
    // A column of the two rows is still within 16 bits; the horizontal add
    // gives columns 0-3 of registers k and k + 1 | 4-7 of both, and the
    // blocks come out in 32 bits: 4k, 4k + 1, 4k + 4, 4k + 5 | 4k + 2,
    // 4k + 3, 4k + 6, 4k + 7.
    const auto blocks = [&](int k, __m256i w) {
        const __m256i columns = _mm256_hadd_epi16(rows(a[k], b[k], w), rows(a[k + 1], b[k + 1], w));
        return _mm256_srai_epi32(_mm256_madd_epi16(columns, ones), 9);
    };
    const __m256i cb = _mm256_packs_epi32(blocks(0, wCb), blocks(2, wCb));
    const __m256i cr = _mm256_packs_epi32(blocks(0, wCr), blocks(2, wCr));
    // Byte pairs of blocks 0-1, 4-5, 8-9, 12-13 | 2-3, 6-7, 10-11, 14-15, Cb
    // in the low half of each lane and Cr in the high: one dword permute and
    // one byte shuffle put Cb in order in the low lane and Cr in the high.
    const __m256i bytes = _mm256_xor_si256(_mm256_packs_epi16(cb, cr), _mm256_set1_epi8(-128));
    const __m256i spread = _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    const __m256i order = _mm256_setr_epi8(0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15,
                                           0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15);
    const __m256i planes = _mm256_shuffle_epi8(spread, order);
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
        PlanarBlock16(Pixels8<Bpp>(a), Pixels8<Bpp>(a + kEight), Pixels8<Bpp>(b), Pixels8<Bpp>(b + kEight),
                      y0 + 2 * i, y1 + 2 * i, u + i, v + i);
    }
    PlanarPairs<Bpp>(y0, y1, u, v, s0, s1, i, pairs);
}

// Two packed blocks (16 pixels) at once. Per four pixels the words are
// Y0|Cb1, Y2|Cr1, Y1|Cb3, Y3|Cr3: luma with its middle pair traded, and the
// chroma of the odd pixels alone, shifted by 8.
inline __m256i Yuy2Blocks2(__m256i p0, __m256i p1) {
    const __m256i y = Luma16(p0, p1);  // groups 0, 2 | 1, 3
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

const RgbRowForms kRgbRowsAvx2 = {PlanarAvx2<4>, PlanarAvx2<3>, Yuy2BlocksAvx2<4>, Yuy2BlocksAvx2<3>};

}  // namespace tarn
