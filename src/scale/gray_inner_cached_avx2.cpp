// Single-channel bilinear Inner, AVX2 form with a cache of horizontal
// blends. Each source row's blend h[j] = (s[o] (256 - w) + s[o + 1] w) >> 8
// is worked once and kept, as bytes, while target rows use it; a target
// pixel is then (h_top (256 - rw) + h_below rw) >> 8. A row weight of 0
// makes that h_top itself, so such rows blend the top row only, straight
// into the target when no earlier row left its blend in the cache. The
// trailing pixels (len mod 4) keep their own weight reading.
//
// The blend of a row takes the quickest of three ways the column tables
// allow (see GrayRowCache::Run); all three give the bytes of the formula.
// Where the driver asks for it, the rows made from two blends or copied
// from one go to the target around the caches (GrayRowCache::stream).
#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "scale/axis_table.h"
#include "scale/gray_gather.h"
#include "scale/gray_row_cache.h"
#include "scale/gray_strided.h"
#include "scale/inner_lanes_avx2.h"
#include "scale/pixel_lanes.h"

namespace tarn {
namespace {

using Run = GrayRowCache::Run;

bool PlanHalves(GrayRowCache& c, const uint8_t* weights, const uint32_t* offsets, uint32_t groups) {
    const uint32_t step = WholeStrideOf(offsets, groups);
    if (step == 0) return false;
    for (uint32_t j = 0; j < groups; ++j)
        if (weights[j] != 128) return false;
    c.run = Run::Halves, c.step = step, c.origin = offsets[0];
    return true;
}

bool PlanDoubled(GrayRowCache& c, const uint8_t* weights, const uint32_t* offsets, uint32_t groups) {
    for (uint32_t head = 0; head < 2 && head + 2 < groups; ++head) {
        const uint32_t o0 = offsets[head];
        const uint8_t even = weights[head], odd = weights[head + 1];
        bool fits = true;
        for (uint32_t j = head; j < groups && fits; ++j)
            fits = offsets[j] == o0 + (j - head) / 2 && weights[j] == ((j - head) % 2 ? odd : even);
        if (!fits) continue;
        c.run = Run::Doubled, c.origin = o0, c.head = head, c.evenWeight = even, c.oddWeight = odd;
        return true;
    }
    return false;
}

void PlanShuffled(GrayRowCache& c, const uint32_t* offsets, uint32_t groups) {
    const uint32_t blocks = groups / 8;
    c.run = Run::Shuffled;
    c.base.assign(blocks, -1);
    c.windows.assign(blocks, 0);
    c.pairs.assign(size_t(blocks) * 32, 0x80);
    for (uint32_t b = 0; b < blocks; ++b) {
        const uint32_t* o = offsets + 8 * b;
        uint32_t lo = o[0], hi = o[0];
        for (uint32_t k = 0; k < 8; ++k) lo = std::min(lo, o[k]), hi = std::max(hi, o[k] + 1);
        for (uint32_t w = 1; w <= 2; ++w) {
            const uint32_t reach = 16 * w;
            if (c.srcWidth < reach || hi >= c.srcWidth) break;
            const uint32_t base = std::min(lo, c.srcWidth - reach);
            if (hi - base >= reach) continue;
            c.base[b] = int32_t(base);
            c.windows[b] = uint8_t(w);
            // Each byte of a pair from the 16 bytes that hold it; 0x80 gives
            // a zero from the other.
            for (uint32_t k = 0; k < 8; ++k)
                for (uint32_t e = 0; e < 2; ++e) {
                    const uint32_t rel = o[k] + e - base;
                    c.pairs[32 * b + 16 * (rel / 16) + 2 * k + e] = uint8_t(rel % 16);
                }
            break;
        }
    }
}

void Plan(GrayRowCache& c, const uint8_t* weights, const uint32_t* offsets, uint32_t groups) {
    c.weightPairs.resize(groups);
    for (uint32_t j = 0; j < groups; ++j) c.weightPairs[j] = (256 - weights[j]) | uint32_t(weights[j]) << 16;
    if (!PlanHalves(c, weights, offsets, groups) && !PlanDoubled(c, weights, offsets, groups))
        PlanShuffled(c, offsets, groups);
    for (int i = 0; i < GrayRowCache::kSlots; ++i) {
        c.blend[i].assign(groups + 32, 0);
        c.tag[i] = nullptr;
        c.used[i] = 0;
    }
    c.plannedFor = offsets;
}

inline uint8_t BlendOne(const uint8_t* row, const GrayRowCache& c, const uint32_t* offsets, uint32_t j) {
    const uint8_t* s = row + offsets[j];
    return uint8_t(LerpByte(s[0], s[1], c.weightPairs[j] >> 16));
}

// Doubled: 32 blends from 16 pairs (s[i], s[i + 1]), each pair giving an
// even and an odd target pixel. a + floor((b - a) w / 256) is the formula's
// value, and the 16-bit high multiply of (b - a) << 7 by w << 1 is that floor.
// Goes on from blend j (pair i = (j - head) / 2), where a wider form stopped.
uint32_t DoubledRow(uint8_t* out, const uint8_t* row, const GrayRowCache& c, uint32_t j, uint32_t groups) {
    const uint8_t* s = row + c.origin;
    const __m256i even = _mm256_set1_epi16(int16_t(c.evenWeight << 1));
    const __m256i odd = _mm256_set1_epi16(int16_t(c.oddWeight << 1));
    uint32_t i = (j - c.head) / 2;
    for (; j + 32 <= groups && c.origin + i + 17 <= c.srcWidth; j += 32, i += 16) {
        const __m256i a = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i)));
        const __m256i b = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i + 1)));
        const __m256i d = _mm256_slli_epi16(_mm256_sub_epi16(b, a), 7);
        // Both pixels of a pair fit a 16-bit lane, the even one in its low byte.
        const __m256i e = _mm256_add_epi16(a, _mm256_mulhi_epi16(d, even));
        const __m256i o = _mm256_add_epi16(a, _mm256_mulhi_epi16(d, odd));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + j), _mm256_or_si256(e, _mm256_slli_epi16(o, 8)));
    }
    return j;
}

// Eight shuffled blends, 32-bit lanes.
inline __m256i Blend8(const uint8_t* row, const GrayRowCache& c, const uint32_t* offsets, uint32_t j) {
    const int32_t base = c.base[j / 8];
    if (base < 0) {
        alignas(32) int32_t v[8];
        for (uint32_t k = 0; k < 8; ++k) v[k] = BlendOne(row, c, offsets, j + k);
        return _mm256_load_si256(reinterpret_cast<const __m256i*>(v));
    }
    const uint8_t* m = c.pairs.data() + 4 * size_t(j);
    auto part = [&](uint32_t w) {
        return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + base + 16 * w)),
                                _mm_loadu_si128(reinterpret_cast<const __m128i*>(m + 16 * w)));
    };
    const __m128i picked = c.windows[j / 8] == 2 ? _mm_or_si128(part(0), part(1)) : part(0);
    const __m256i w = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(c.weightPairs.data() + j));
    return _mm256_srli_epi32(_mm256_madd_epi16(_mm256_cvtepu8_epi16(picked), w), 8);
}

uint32_t ShuffledRow(uint8_t* out, const uint8_t* row, const GrayRowCache& c, const uint32_t* offsets,
                     uint32_t groups) {
    uint32_t j = 0;
    for (; j + 16 <= groups; j += 16) {
        const __m256i words = _mm256_packus_epi32(Blend8(row, c, offsets, j), Blend8(row, c, offsets, j + 8));
        const __m256i bytes = _mm256_packus_epi16(words, words);  // per lane: 4 of the first 8, 4 of the second
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + j),
                         _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 0, 0, 0, 0))));
    }
    return j;
}

const uint8_t* Cached(const uint8_t* row, GrayRowCache& c, bool touch = true) {
    for (int i = 0; i < GrayRowCache::kSlots; ++i)
        if (c.tag[i] == row) {
            if (touch) c.used[i] = ++c.clock;
            return c.blend[i].data();
        }
    return nullptr;
}

// The first row the next target row reads that is neither `row` nor blended already.
const uint8_t* Ahead(const uint8_t* row, GrayRowCache& c) {
    for (const uint8_t* r : c.next)
        if (r && r != row && !Cached(r, c, false)) return r;
    return nullptr;
}

// The horizontal blends of one source row, as bytes in order.
void BlendRow(uint8_t* out, const uint8_t* row, GrayRowCache& c, const uint32_t* offsets, uint32_t groups,
              const GrayCachedSteps& steps) {
    uint32_t done = 0;
    switch (c.run) {
        case Run::Halves: {
            const uint8_t* ahead = Ahead(row, c);
            done = StridedMeansAvx2(out, row + c.origin, groups, c.step, c.srcWidth - c.origin,
                                    ahead ? ahead + c.origin : nullptr);
            break;
        }
        case Run::Doubled:
            if (c.head) out[0] = BlendOne(row, c, offsets, 0);
            done = c.head;
            if (steps.doubled)
                done += steps.doubled(out + done, row + c.origin, c.evenWeight, c.oddWeight, groups - done,
                                      c.srcWidth - c.origin);
            done = DoubledRow(out, row, c, done, groups);
            break;
        case Run::Shuffled: done = ShuffledRow(out, row, c, offsets, groups); break;
    }
    for (uint32_t j = done; j < groups; ++j) out[j] = BlendOne(row, c, offsets, j);
}

// The slot used longest ago that does not hold `keep`, now tagged for `row`
// (whose blend the caller then works into it).
uint8_t* Claim(const uint8_t* row, GrayRowCache& c, const uint8_t* keep) {
    int slot = -1;
    for (int i = 0; i < GrayRowCache::kSlots; ++i)
        if (c.tag[i] != keep && (slot < 0 || c.used[i] < c.used[slot])) slot = i;
    c.tag[slot] = row;
    c.used[slot] = ++c.clock;
    return c.blend[slot].data();
}

// The blend of `row`, from the cache or worked into a claimed slot.
const uint8_t* Blended(const uint8_t* row, GrayRowCache& c, const uint32_t* offsets, uint32_t groups,
                       const uint8_t* keep, const GrayCachedSteps& steps) {
    if (const uint8_t* hit = Cached(row, c)) return hit;
    uint8_t* out = Claim(row, c, keep);
    BlendRow(out, row, c, offsets, groups, steps);
    return out;
}

// Halves at a step of 2 with a row weight of 128 (field rows of a shrink by
// 2): the lower row's blend, the upper one's where it is not cached, and
// the target in one pass, the blends kept in their slots as Blended keeps
// them.
void HalvedRowsByTwo(uint8_t* dst, const uint8_t* row, const uint8_t* low, GrayRowCache& c, const uint32_t* offsets,
                     uint32_t groups) {
    const uint8_t* topBlend = Cached(row, c);
    uint8_t* bottomOut = Claim(low, c, row);
    uint8_t* topOut = topBlend ? nullptr : Claim(row, c, low);
    const uint8_t* ahead = Ahead(low, c);
    const uint32_t done = StridedMeanRowsAvx2(dst, topBlend, row + c.origin, low + c.origin, topOut, bottomOut,
                                              groups, c.srcWidth - c.origin, ahead ? ahead + c.origin : nullptr);
    for (uint32_t j = done; j < groups; ++j) {
        const uint8_t b = bottomOut[j] = BlendOne(low, c, offsets, j);
        const uint8_t t = topBlend ? topBlend[j] : (topOut[j] = BlendOne(row, c, offsets, j));
        dst[j] = uint8_t(LerpByte(t, b, 128));
    }
}

// A store of 32 target bytes; with Stream around the caches, which needs
// the 32-byte boundary the callers start such stores on.
template <bool Stream>
inline void Put(uint8_t* p, __m256i v) {
    if constexpr (Stream) _mm256_stream_si256(reinterpret_cast<__m256i*>(p), v);
    else _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

// Bytes up to the first 32-byte boundary of `dst`, which a streamed row
// stores one by one before its vectors.
inline uint32_t Lead(const uint8_t* dst, uint32_t groups) {
    return std::min<uint32_t>(groups, uint32_t(-reinterpret_cast<uintptr_t>(dst) & 31));
}

// dst = (top (256 - w) + bottom w) >> 8 over bytes, as top + floor((bottom - top) w / 256).
template <bool Stream>
void Vertical(uint8_t* dst, const uint8_t* top, const uint8_t* bot, uint32_t w8, uint32_t groups) {
    uint32_t j = 0;
    if constexpr (Stream) {
        for (const uint32_t lead = Lead(dst, groups); j < lead; ++j) dst[j] = uint8_t(LerpByte(top[j], bot[j], w8));
    }
    if (w8 == 128) {
        for (; j + 32 <= groups; j += 32) {
            const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(top + j));
            const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bot + j));
            Put<Stream>(dst + j, inner_lanes::FloorMean(a, b));
        }
    } else {
        const __m256i w = _mm256_set1_epi16(int16_t(w8 << 1));
        for (; j + 32 <= groups; j += 32) {
            const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(top + j));
            const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bot + j));
            auto half = [&](__m128i aa, __m128i bb) {
                const __m256i a16 = _mm256_cvtepu8_epi16(aa), b16 = _mm256_cvtepu8_epi16(bb);
                return _mm256_add_epi16(a16, _mm256_mulhi_epi16(_mm256_slli_epi16(_mm256_sub_epi16(b16, a16), 7), w));
            };
            const __m256i lo = half(_mm256_castsi256_si128(a), _mm256_castsi256_si128(b));
            const __m256i hi = half(_mm256_extracti128_si256(a, 1), _mm256_extracti128_si256(b, 1));
            Put<Stream>(dst + j, _mm256_permute4x64_epi64(_mm256_packus_epi16(lo, hi), 0xD8));
        }
    }
    for (; j < groups; ++j) dst[j] = uint8_t(LerpByte(top[j], bot[j], w8));
}

void VerticalAvx2(uint8_t* dst, const uint8_t* top, const uint8_t* bot, uint32_t w8, uint32_t groups, bool stream) {
    if (stream) Vertical<true>(dst, top, bot, w8, groups);
    else Vertical<false>(dst, top, bot, w8, groups);
}

}  // namespace

void GrayInnerRowCachedWith(const GrayCachedSteps& steps, uint8_t* dst, const uint8_t* row, const uint8_t* weights,
                            const uint32_t* offsets, uint32_t len, int32_t below, uint32_t rw, GrayRowCache& cache) {
    const uint32_t groups = len & ~3u;
    if (cache.plannedFor != offsets) Plan(cache, weights, offsets, groups);
    const uint8_t* low = row + below;
    const uint32_t w8 = rw & 255;
    if (w8 == 0) {
        if (const uint8_t* top = Cached(row, cache)) {
            if (cache.stream) steps.streamRow(dst, top, groups);
            else std::memcpy(dst, top, groups);
        }
        else BlendRow(dst, row, cache, offsets, groups, steps);
    } else if (cache.run == Run::Halves && cache.step == 2 && w8 == 128 && !Cached(low, cache, false)) {
        HalvedRowsByTwo(dst, row, low, cache, offsets, groups);
    } else {
        const uint8_t* top = Blended(row, cache, offsets, groups, low, steps);
        const uint8_t* bot = Blended(low, cache, offsets, groups, row, steps);
        steps.vertical(dst, top, bot, w8, groups, cache.stream);
    }
    if (cache.stream) cache.fence = GrayStreamFenceAvx2;
    // The trailing pixels take their weight from the byte at 4 * j.
    for (uint32_t j = groups; j < len; ++j) {
        const uint8_t* s = row + offsets[j];
        const uint32_t cw = weights[4 * size_t(j)];
        dst[j] = uint8_t(LerpByte(LerpByte(s[0], s[1], cw), LerpByte(s[below], s[below + 1], cw), w8));
    }
}

void GrayInnerRowCachedAvx2(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                            uint32_t len, int32_t below, uint32_t rw, GrayRowCache& cache) {
    static constexpr GrayCachedSteps kSteps{nullptr, VerticalAvx2, GrayStreamRowAvx2};
    GrayInnerRowCachedWith(kSteps, dst, row, weights, offsets, len, below, rw, cache);
}

}  // namespace tarn
