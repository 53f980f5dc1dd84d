// Strided single-channel rows, AVX2 form. A load of 32 bytes starts on a
// sample, so within each 16-byte lane the samples sit every Q bytes. For
// the means one multiply-add first sums each pair into a 16-bit lane (the
// other lanes weigh 0), halved, whose low byte then sits where the pair
// starts. A byte shuffle per load places the lane's values, the low lane's
// and the high lane's apart, so that or-ing the loads and then the two
// lanes lines sixteen target bytes up. A step of 2 has a shorter way: 32
// bytes from two loads by one pack.
#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "scale/gray_strided.h"
#include "scale/inner_lanes_avx2.h"

namespace tarn {
namespace {

using inner_lanes::FloorMean;

template <uint32_t Q>
struct StrideMasks {
    static constexpr uint32_t kLoads = Q / 2, kPerLane = 8 / kLoads;
    alignas(32) int8_t pairs[32] = {};
    alignas(32) uint8_t place[kLoads][32] = {};
    constexpr StrideMasks() {
        for (uint32_t i = 0; i < 32; ++i) pairs[i] = int8_t(i % Q < 2 ? 1 : 0);
        for (uint32_t l = 0; l < kLoads; ++l)
            for (uint32_t i = 0; i < 32; ++i) {
                const uint32_t at = i % 16, first = (2 * l + i / 16) * kPerLane;
                place[l][i] = at >= first && at < first + kPerLane ? uint8_t((at - first) * Q) : 0x80;
            }
    }
};

inline __m256i Load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }

inline void Fetch(const uint8_t* ahead, size_t at) {
    if (ahead) _mm_prefetch(reinterpret_cast<const char*>(ahead + at), _MM_HINT_T0);
}

template <uint32_t Q, bool Means>
uint32_t Strided(uint8_t* out, const uint8_t* s, uint32_t count, uint32_t reach, const uint8_t* ahead) {
    static constexpr StrideMasks<Q> kMasks{};
    constexpr uint32_t kLoads = StrideMasks<Q>::kLoads;
    const __m256i pairs = Load(reinterpret_cast<const uint8_t*>(kMasks.pairs));
    __m256i place[kLoads];
    for (uint32_t l = 0; l < kLoads; ++l) place[l] = Load(kMasks.place[l]);
    auto block = [&](const uint8_t* p, uint8_t* to, const uint8_t* fetch) {
        __m256i all = _mm256_setzero_si256();
        for (uint32_t l = 0; l < kLoads; ++l) {
            __m256i v = Load(p + 32 * l);
            if (l % 2 == 0 && fetch) _mm_prefetch(reinterpret_cast<const char*>(fetch + 32 * l), _MM_HINT_T0);
            if constexpr (Means) v = _mm256_srli_epi16(_mm256_maddubs_epi16(v, pairs), 1);
            all = _mm256_or_si256(all, _mm256_shuffle_epi8(v, place[l]));
        }
        const __m128i lined = _mm_or_si128(_mm256_castsi256_si128(all), _mm256_extracti128_si256(all, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), lined);
    };
    uint32_t blocks = std::min(count / 16, reach / (16 * Q));
    for (uint32_t b = 0; b < blocks; ++b)
        block(s + size_t(b) * 16 * Q, out + 16 * size_t(b), ahead ? ahead + size_t(b) * 16 * Q : nullptr);
    // The block after them, where the load would pass `reach` but the samples
    // it takes do not (the last sample of a row ends a shrink's last block
    // short of the load's end): from a copy of the bytes up to reach.
    const uint32_t lastSample = Q * (16 * blocks + 15) + (Means ? 1 : 0);
    if (blocks < count / 16 && lastSample < reach) {
        alignas(32) uint8_t near[16 * Q] = {};
        const size_t from = size_t(blocks) * 16 * Q;
        std::memcpy(near, s + from, std::min<size_t>(16 * Q, reach - from));
        block(near, out + 16 * size_t(blocks), nullptr);
        ++blocks;
    }
    return 16 * blocks;
}

// Pair means of 64 bytes at a step of 2, the 32 in order.
inline __m256i MeansOf64(const uint8_t* p, __m256i ones) {
    const __m256i lo = _mm256_srli_epi16(_mm256_maddubs_epi16(Load(p), ones), 1);
    const __m256i hi = _mm256_srli_epi16(_mm256_maddubs_epi16(Load(p + 32), ones), 1);
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(lo, hi), 0xD8);
}

template <bool Means>
uint32_t StridedByTwo(uint8_t* out, const uint8_t* s, uint32_t count, uint32_t reach, const uint8_t* ahead) {
    const __m256i ones = _mm256_set1_epi8(1), low = _mm256_set1_epi16(0xFF);
    const uint32_t blocks = std::min(count / 32, reach / 64);
    for (uint32_t b = 0; b < blocks; ++b) {
        const uint8_t* p = s + 64 * size_t(b);
        __m256i picked;
        Fetch(ahead, 64 * size_t(b));
        if constexpr (Means) {
            picked = MeansOf64(p, ones);
        } else {
            picked = _mm256_permute4x64_epi64(
                _mm256_packus_epi16(_mm256_and_si256(Load(p), low), _mm256_and_si256(Load(p + 32), low)), 0xD8);
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 32 * size_t(b)), picked);
    }
    return 32 * blocks;
}

template <bool Means>
uint32_t ByStep(uint8_t* out, const uint8_t* s, uint32_t count, uint32_t step, uint32_t reach, const uint8_t* ahead) {
    switch (step) {
        case 2: {
            // Blocks of 32, then one of 16 where that is what is left.
            const uint32_t done = StridedByTwo<Means>(out, s, count, reach, ahead);
            return done + Strided<2, Means>(out + done, s + 2 * done, count - done, reach - 2 * done, nullptr);
        }
        case 4: return Strided<4, Means>(out, s, count, reach, ahead);
        case 8: return Strided<8, Means>(out, s, count, reach, ahead);
        default: return 0;
    }
}

}  // namespace

uint32_t StridedPicksAvx2(uint8_t* out, const uint8_t* s, uint32_t count, uint32_t step, uint32_t reach,
                          const uint8_t* ahead) {
    return ByStep<false>(out, s, count, step, reach, ahead);
}

uint32_t StridedMeansAvx2(uint8_t* out, const uint8_t* s, uint32_t count, uint32_t step, uint32_t reach,
                          const uint8_t* ahead) {
    return ByStep<true>(out, s, count, step, reach, ahead);
}

uint32_t StridedMeanRowPairsAvx2(uint8_t* dst0, uint8_t* dst1, const uint8_t* a, const uint8_t* b, const uint8_t* c,
                                 uint8_t* cOut, uint32_t count, uint32_t reach, const uint8_t* ahead,
                                 const uint8_t* aheadToo) {
    const __m256i ones = _mm256_set1_epi8(1);
    const uint32_t blocks = std::min(count / 32, reach / 64);
    for (uint32_t k = 0; k < blocks; ++k) {
        const size_t at = 32 * size_t(k);
        Fetch(ahead, 2 * at);
        Fetch(aheadToo, 2 * at);
        const __m256i x = MeansOf64(a + 2 * at, ones), y = MeansOf64(b + 2 * at, ones), z = MeansOf64(c + 2 * at, ones);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(cOut + at), z);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst0 + at), FloorMean(x, y));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst1 + at), FloorMean(y, z));
    }
    return 32 * blocks;
}

uint32_t StridedMeanRowsAvx2(uint8_t* dst, const uint8_t* topBlend, const uint8_t* top, const uint8_t* bottom,
                             uint8_t* topOut, uint8_t* bottomOut, uint32_t count, uint32_t reach,
                             const uint8_t* ahead) {
    const __m256i ones = _mm256_set1_epi8(1);
    const uint32_t blocks = std::min(count / 32, reach / 64);
    for (uint32_t b = 0; b < blocks; ++b) {
        const size_t at = 32 * size_t(b);
        Fetch(ahead, 2 * at);
        const __m256i lower = MeansOf64(bottom + 2 * at, ones);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(bottomOut + at), lower);
        __m256i upper;
        if (topBlend) {
            upper = Load(topBlend + at);
        } else {
            upper = MeansOf64(top + 2 * at, ones);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(topOut + at), upper);
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + at), FloorMean(upper, lower));
    }
    return 32 * blocks;
}

}  // namespace tarn
