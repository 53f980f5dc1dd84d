// Row primitives of the YUV side: AVX2 forms. The arithmetic of the vector
// form runs 16 pixels per 256-bit register; packing and interleaving go at
// 128 bits (yuv_rows_sse2.h, built here with AVX2 encoding). Same bytes as
// the plain forms.
#include <immintrin.h>

#include "convert/smoothing.h"
#include "convert/yuv_rows.h"
#include "convert/yuv_rows_sse2.h"

namespace tarn {

namespace {

inline __m256i Load32(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline void Store32(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }

void SmoothAvx2(uint8_t* out, const uint8_t* a, const uint8_t* b, const uint8_t* c, size_t n) {
    size_t i = 0;
    for (; i + 32 <= n; i += 32)
        Store32(out + i, _mm256_avg_epu8(_mm256_avg_epu8(Load32(a + i), Load32(b + i)), Load32(c + i)));
    for (; i < n; ++i) out[i] = static_cast<uint8_t>(Smooth(a[i], b[i], c[i]));
}

void AverageAvx2(uint8_t* out, const uint8_t* a, const uint8_t* b, size_t n) {
    size_t i = 0;
    for (; i + 32 <= n; i += 32) Store32(out + i, _mm256_avg_epu8(Load32(a + i), Load32(b + i)));
    for (; i < n; ++i) out[i] = static_cast<uint8_t>(RoundAvg(a[i], b[i]));
}

// Each chroma sample doubled, for 16 pixels, offset removed.
inline __m256i Chroma16(const uint8_t* c) {
    const __m128i c16 = _mm_sub_epi16(_mm_cvtepu8_epi16(Load8(c)), _mm_set1_epi16(128));
    return _mm256_set_m128i(_mm_unpackhi_epi16(c16, c16), _mm_unpacklo_epi16(c16, c16));
}

inline __m128i PackHalves(__m256i v) {
    return _mm_packus_epi16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
}

inline Channels VectorFormAvx2(const uint8_t* y, const uint8_t* u, const uint8_t* v) {
    const __m256i y16 = _mm256_sub_epi16(_mm256_cvtepu8_epi16(Load(y)), _mm256_set1_epi16(16));
    const __m256i u16 = Chroma16(u), v16 = Chroma16(v);
    const __m256i l = _mm256_mullo_epi16(y16, _mm256_set1_epi16(74));
    const __m256i gc = _mm256_adds_epi16(_mm256_mullo_epi16(u16, _mm256_set1_epi16(25)),
                                         _mm256_mullo_epi16(v16, _mm256_set1_epi16(52)));
    const __m256i b = _mm256_srai_epi16(_mm256_adds_epi16(l, _mm256_mullo_epi16(u16, _mm256_set1_epi16(129))), 6);
    const __m256i g = _mm256_srai_epi16(_mm256_subs_epi16(l, gc), 6);
    const __m256i r = _mm256_srai_epi16(_mm256_adds_epi16(l, _mm256_mullo_epi16(v16, _mm256_set1_epi16(102))), 6);
    return {PackHalves(b), PackHalves(g), PackHalves(r)};
}

void ToBgraAvx2(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t pixels) {
    for (size_t i = 0; i < pixels; i += 16, dst += 64) {
        __m128i px[4];
        Interleave(VectorFormAvx2(y + i, u + i / 2, v + i / 2), px);
        Store32(dst, _mm256_set_m128i(px[1], px[0]));
        Store32(dst + 32, _mm256_set_m128i(px[3], px[2]));
    }
}

void ToBgrAvx2(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t pixels) {
    for (size_t i = 0; i < pixels; i += 16, dst += 48) {
        __m128i px[4];
        Interleave(VectorFormAvx2(y + i, u + i / 2, v + i / 2), px);
        StoreBgr(dst, px, i + 16 == pixels);
    }
}

}  // namespace

const YuvRowForms kYuvRowsAvx2 = {SmoothAvx2, AverageAvx2,  ToBgraAvx2,
                                  ToBgrAvx2,  PackYuy2Simd, UnpackYuy2Simd};

}  // namespace tarn
