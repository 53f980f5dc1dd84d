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
    const __m128i spread = _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    return _mm256_set_m128i(_mm_shuffle_epi8(LoadRgb(p + 12), spread), _mm_shuffle_epi8(LoadRgb(p), spread));
}

struct Bgr256 {
    __m256i b, g, r;
};
// 16 pixels in two registers of 4-byte lanes to 16-bit lanes in pixel order
// (the in-lane pack is put back in order by the 64-bit permute).
inline Bgr256 Split16(__m256i p0, __m256i p1) {
    const __m256i m = _mm256_set1_epi32(0xFF);
    const auto channel = [&](int shift) {
        const __m256i c = _mm256_packs_epi32(_mm256_and_si256(_mm256_srli_epi32(p0, shift), m),
                                             _mm256_and_si256(_mm256_srli_epi32(p1, shift), m));
        return _mm256_permute4x64_epi64(c, _MM_SHUFFLE(3, 1, 2, 0));
    };
    return {channel(0), channel(8), channel(16)};
}

inline __m128i PackHalves(__m256i v) {
    return _mm_packus_epi16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
}

inline __m256i Luma16(const Bgr256& c) {
    const __m256i sum = _mm256_add_epi16(_mm256_add_epi16(_mm256_mullo_epi16(c.r, _mm256_set1_epi16(66)),
                                                          _mm256_mullo_epi16(c.g, _mm256_set1_epi16(129))),
                                         _mm256_mullo_epi16(c.b, _mm256_set1_epi16(25)));
    return _mm256_add_epi16(_mm256_srli_epi16(sum, 8), _mm256_set1_epi16(16));
}

inline void PlanarBlock16(const Bgr256& c0, const Bgr256& c1, uint8_t* y0, uint8_t* y1, uint8_t* u,
                          uint8_t* v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(y0), PackHalves(Luma16(c0)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(y1), PackHalves(Luma16(c1)));
    const __m256i ones = _mm256_set1_epi16(1);
    const __m256i sb = _mm256_madd_epi16(_mm256_add_epi16(c0.b, c1.b), ones);
    const __m256i sg = _mm256_madd_epi16(_mm256_add_epi16(c0.g, c1.g), ones);
    const __m256i sr = _mm256_madd_epi16(_mm256_add_epi16(c0.r, c1.r), ones);
    const __m256i bg = _mm256_or_si256(sb, _mm256_slli_epi32(sg, 16));
    const __m256i offset = _mm256_set1_epi32(128);
    const __m256i cb = _mm256_add_epi32(
        _mm256_srai_epi32(_mm256_add_epi32(_mm256_madd_epi16(bg, _mm256_set1_epi32(int32_t(0xFFB60070u))),
                                           _mm256_madd_epi16(sr, _mm256_set1_epi32(-38 & 0xFFFF))),
                          10),
        offset);
    const __m256i cr = _mm256_add_epi32(
        _mm256_srai_epi32(_mm256_add_epi32(_mm256_madd_epi16(bg, _mm256_set1_epi32(int32_t(0xFFA2FFEEu))),
                                           _mm256_madd_epi16(sr, _mm256_set1_epi32(112))),
                          10),
        offset);
    // In-lane pack gives Cb 0-3, Cr 0-3 | Cb 4-7, Cr 4-7; the permute orders it.
    const __m256i words = _mm256_permute4x64_epi64(_mm256_packs_epi32(cb, cr), _MM_SHUFFLE(3, 1, 2, 0));
    const __m128i bytes = PackHalves(words);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(u), bytes);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(v), _mm_srli_si128(bytes, 8));
}

void Planar32Avx2(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const uint8_t* s0,
                  const uint8_t* s1, size_t pairs) {
    size_t i = 0;
    for (; i + 8 <= pairs; i += 8) {
        const uint8_t* a = s0 + 8 * i;
        const uint8_t* b = s1 + 8 * i;
        PlanarBlock16(Split16(Load32(a), Load32(a + 32)), Split16(Load32(b), Load32(b + 32)),
                      y0 + 2 * i, y1 + 2 * i, u + i, v + i);
    }
    PlanarPairs<4>(y0, y1, u, v, s0, s1, i, pairs);
}

void Planar24Avx2(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, const uint8_t* s0,
                  const uint8_t* s1, size_t pairs) {
    size_t i = 0;
    for (; i + 8 <= pairs; i += 8) {
        const uint8_t* a = s0 + 6 * i;
        const uint8_t* b = s1 + 6 * i;
        PlanarBlock16(Split16(Expand8(a), Expand8(a + 24)), Split16(Expand8(b), Expand8(b + 24)),
                      y0 + 2 * i, y1 + 2 * i, u + i, v + i);
    }
    PlanarPairs<3>(y0, y1, u, v, s0, s1, i, pairs);
}

void Yuy2Blocks32Avx2(uint8_t* dst, const uint8_t* src, size_t blocks) {
    for (size_t i = 0; i < blocks; ++i, src += 32, dst += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), Yuy2Block(Split8(LoadRgb(src), LoadRgb(src + 16))));
}

void Yuy2Blocks24Avx2(uint8_t* dst, const uint8_t* src, size_t blocks) {
    for (size_t i = 0; i < blocks; ++i, src += 32, dst += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), Yuy2Block(Split8(Expand4(src), Expand4(src + 12))));
}

}  // namespace

const RgbRowForms kRgbRowsAvx2 = {Planar32Avx2, Planar24Avx2, Yuy2Blocks32Avx2, Yuy2Blocks24Avx2};

}  // namespace tarn
