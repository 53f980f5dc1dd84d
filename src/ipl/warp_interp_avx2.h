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
// order, and stored in the target's shape.
template <InterpPixel P>
inline void StoreGroups(uint8_t* d, __m256i g0, __m256i g1, __m256i g2, __m256i g3) {
    const __m256i v = _mm256_packus_epi16(_mm256_packs_epi32(g0, g1), _mm256_packs_epi32(g2, g3));
    if constexpr (P == InterpPixel::Rgb) {
        const __m256i pick = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4, 5,
                                              6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
        const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(v, pick),
                                                            _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(packed));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 16), _mm256_extracti128_si256(packed, 1));
    } else if constexpr (P == InterpPixel::Rgba) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), v);
    } else {
        const __m256i low = _mm256_set1_epi32(0x00FFFFFF);
        const __m256i kept = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(d));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d),
                            _mm256_or_si256(_mm256_and_si256(v, low), _mm256_andnot_si256(low, kept)));
    }
}

// Eight one-channel results (32-bit, small), one a lane, as eight bytes.
inline void StoreGray(uint8_t* d, __m256i v) {
    const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(v, v), _mm256_setzero_si256());
    const int32_t lo = _mm256_cvtsi256_si32(bytes), hi = _mm256_extract_epi32(bytes, 4);
    const uint64_t both = uint64_t(uint32_t(lo)) | uint64_t(uint32_t(hi)) << 32;
    _mm_storel_epi64(reinterpret_cast<__m128i*>(d), _mm_cvtsi64_si128(int64_t(both)));
}

// The rest of a row after the last whole step of eight, by the plain row.
inline InterpRow Tail(const InterpRow& r, int32_t done, int dstPixel) {
    InterpRow tail = r;
    tail.dst = r.dst + intptr_t(done) * dstPixel;
    tail.x = r.x + r.stepX * uint32_t(done);
    tail.y = r.y + r.stepY * uint32_t(done);
    tail.count = r.count - done;
    return tail;
}

}  // namespace tarn::interp_avx2
