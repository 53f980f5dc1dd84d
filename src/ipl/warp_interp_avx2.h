// Pieces that the AVX2 forms of the linear and cubic warp rows share: eight
// target pixels a step, one 32-bit gather per source pixel and tap. Include
// <immintrin.h> first; only the AVX2 files include this header.
//
// A tap's word is read ending at the pixel's last byte (starting up to
// 4 - pixel bytes before it), and from the first byte of the image for the
// pixels closer to it than that, then shifted down to the pixel, so no byte
// outside the image is read.
#pragma once

#include <cstdint>

#include "ipl/warp_interp.h"
#include "ipl/warp_store_avx2.h"

namespace tarn::interp_avx2 {

template <InterpPixel P>
struct Shape;
template <>
struct Shape<InterpPixel::Gray> {
    static constexpr int kSrc = 1, kDst = 1, kCount = 1;
};
template <>
struct Shape<InterpPixel::Rgb> {
    static constexpr int kSrc = 3, kDst = 3, kCount = 3;
};
template <>
struct Shape<InterpPixel::Rgba> {
    static constexpr int kSrc = 4, kDst = 4, kCount = 4;
};
template <>
struct Shape<InterpPixel::RgbOfRgba> {
    static constexpr int kSrc = 4, kDst = 4, kCount = 3;
};

// start, start + step, ..., start + 7 step, wrapping as the plain rows' sums do.
inline __m256i Lanes(uint32_t start, uint32_t step) {
    return _mm256_add_epi32(_mm256_set1_epi32(int32_t(start)),
                            _mm256_mullo_epi32(_mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7),
                                               _mm256_set1_epi32(int32_t(step))));
}

// The 32-bit word of each lane's pixel at byte `offset`, the pixel's bytes
// at the bottom; `Back` bytes are read before it where the image has them.
template <int Back>
inline __m256i Tap(const uint8_t* base, __m256i offset) {
    const int* at = reinterpret_cast<const int*>(base);
    if constexpr (Back == 0) {
        return _mm256_i32gather_epi32(at, offset, 1);
    } else {
        const __m256i start = _mm256_max_epi32(_mm256_sub_epi32(offset, _mm256_set1_epi32(Back)),
                                               _mm256_setzero_si256());
        const __m256i shift = _mm256_slli_epi32(_mm256_sub_epi32(offset, start), 3);
        return _mm256_srlv_epi32(_mm256_i32gather_epi32(at, start, 1), shift);
    }
}

// The channels of the pixels of group g (lanes g and g + 4) of two taps as
// 16-bit pairs (first tap low, second high), one 32-bit element a channel.
template <int G>
inline __m256i Pairs(__m256i first, __m256i second) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i mixed = G < 2 ? _mm256_unpacklo_epi8(first, second) : _mm256_unpackhi_epi8(first, second);
    return G % 2 == 0 ? _mm256_unpacklo_epi8(mixed, zero) : _mm256_unpackhi_epi8(mixed, zero);
}

// The weight pair of lane g (and g + 4) spread over that pixel's channels.
template <int G>
inline __m256i Spread(__m256i weights) {
    return _mm256_shuffle_epi32(weights, G * 0x55);
}

// Two signed 16-bit values (kept in 16 bits) as one pair: `low` low, `high` high.
inline __m256i Join16(__m256i low, __m256i high) {
    return _mm256_or_si256(_mm256_and_si256(low, _mm256_set1_epi32(0xFFFF)), _mm256_slli_epi32(high, 16));
}

// Four groups of per-channel results (32-bit, small) to eight pixels, in
// order, clamped to bytes and stored in the target's shape.
template <InterpPixel P>
inline void StoreGroups(uint8_t* d, __m256i g0, __m256i g1, __m256i g2, __m256i g3) {
    StoreWords<Shape<P>::kDst, Shape<P>::kCount>(
        d, _mm256_packus_epi16(_mm256_packs_epi32(g0, g1), _mm256_packs_epi32(g2, g3)));
}

// Eight one-channel results (32-bit), one a lane, clamped to bytes.
inline void StoreGray(uint8_t* d, __m256i v) {
    StoreWords<1, 1>(d, _mm256_min_epi32(_mm256_max_epi32(v, _mm256_setzero_si256()), _mm256_set1_epi32(255)));
}

// Runs `body(target, x lanes, y lanes)` over each whole step of eight
// pixels of a row, and the plain row `tail` over the rest.
template <int DstPixel, class Body>
inline void EightAtATime(const InterpRow& r, Body body, InterpRowFn tail) {
    __m256i x = Lanes(r.x, r.stepX), y = Lanes(r.y, r.stepY);
    const __m256i stepX = _mm256_set1_epi32(int32_t(r.stepX * 8u)), stepY = _mm256_set1_epi32(int32_t(r.stepY * 8u));
    int32_t i = 0;
    uint8_t* d = r.dst;
    for (; i + 8 <= r.count; i += 8, d += 8 * DstPixel) {
        body(d, x, y);
        x = _mm256_add_epi32(x, stepX);
        y = _mm256_add_epi32(y, stepY);
    }
    if (i < r.count) {
        InterpRow rest = r;
        rest.dst = d;
        rest.x = r.x + r.stepX * uint32_t(i);
        rest.y = r.y + r.stepY * uint32_t(i);
        rest.count = r.count - i;
        tail(rest);
    }
}

}  // namespace tarn::interp_avx2
