// AVX2 forms of the 16-bit RGB rows: sixteen pixels a step, the rest by the
// plain form.
#include <immintrin.h>

#include "convert/rgb16_rows.h"

namespace tarn {

namespace {

// Blue, green and red of sixteen 16-bit words as bytes in 16-bit lanes,
// placed by shifts and masks, then spread to 4-byte pixels.
template <int GreenShift, int RedShift, int GreenMask>
void Expand(uint8_t* dst, const uint8_t* src, size_t n,
            void (*rest)(uint8_t*, const uint8_t*, size_t)) {
    const __m256i f8 = _mm256_set1_epi16(0xF8);
    const __m256i gMask = _mm256_set1_epi16(GreenMask);
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m256i w = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + 2 * i));
        const __m256i b = _mm256_and_si256(_mm256_slli_epi16(w, 3), f8);
        const __m256i g = _mm256_and_si256(_mm256_srli_epi16(w, GreenShift), gMask);
        const __m256i r = _mm256_and_si256(_mm256_srli_epi16(w, RedShift), f8);
        const __m256i bg = _mm256_or_si256(b, _mm256_slli_epi16(g, 8));
        const __m256i lo = _mm256_unpacklo_epi16(bg, r);  // pixels 0-3 | 8-11
        const __m256i hi = _mm256_unpackhi_epi16(bg, r);  // pixels 4-7 | 12-15
        __m256i* out = reinterpret_cast<__m256i*>(dst + 4 * i);
        _mm256_storeu_si256(out, _mm256_permute2x128_si256(lo, hi, 0x20));
        _mm256_storeu_si256(out + 1, _mm256_permute2x128_si256(lo, hi, 0x31));
    }
    rest(dst + 4 * i, src + 2 * i, n - i);
}

// One 16-bit word from each 4-byte pixel: the three fields cut out by shifts
// of the whole pixel.
template <int RedShift, int RedMask, int GreenShift, int GreenMask>
inline __m256i Pack8(__m256i p) {
    const __m256i r = _mm256_and_si256(_mm256_srli_epi32(p, RedShift), _mm256_set1_epi32(RedMask));
    const __m256i g = _mm256_and_si256(_mm256_srli_epi32(p, GreenShift), _mm256_set1_epi32(GreenMask));
    const __m256i b = _mm256_and_si256(_mm256_srli_epi32(p, 3), _mm256_set1_epi32(0x1F));
    return _mm256_or_si256(_mm256_or_si256(r, g), b);
}

template <int RedShift, int RedMask, int GreenShift, int GreenMask>
void Pack(uint8_t* dst, const uint8_t* src, size_t n, void (*rest)(uint8_t*, const uint8_t*, size_t)) {
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m256i* in = reinterpret_cast<const __m256i*>(src + 4 * i);
        const __m256i a = Pack8<RedShift, RedMask, GreenShift, GreenMask>(_mm256_loadu_si256(in));
        const __m256i b = Pack8<RedShift, RedMask, GreenShift, GreenMask>(_mm256_loadu_si256(in + 1));
        // Words fit 16 bits, so the saturating pack keeps them; it works per
        // 128-bit lane, and the permute puts the pixels back in order.
        const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 2 * i), packed);
    }
    rest(dst + 2 * i, src + 4 * i, n - i);
}

void Expand565(uint8_t* dst, const uint8_t* src, size_t n) {
    Expand<3, 8, 0xFC>(dst, src, n, kRgb16RowsPlain.expand565);
}
void Expand555(uint8_t* dst, const uint8_t* src, size_t n) {
    Expand<2, 7, 0xF8>(dst, src, n, kRgb16RowsPlain.expand555);
}
void Pack565(uint8_t* dst, const uint8_t* src, size_t n) {
    Pack<8, 0xF800, 5, 0x07E0>(dst, src, n, kRgb16RowsPlain.pack565);
}
void Pack555(uint8_t* dst, const uint8_t* src, size_t n) {
    Pack<9, 0x7C00, 6, 0x03E0>(dst, src, n, kRgb16RowsPlain.pack555);
}

}  // namespace

const Rgb16RowForms kRgb16RowsAvx2 = {Expand565, Expand555, Pack565, Pack555};

}  // namespace tarn
