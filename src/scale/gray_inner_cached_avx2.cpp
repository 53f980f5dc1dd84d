// Single-channel bilinear Inner, AVX2 form with a cache of horizontal
// blends. Each source row's blend h[j] = (s[o] (256 - w) + s[o + 1] w) >> 8
// is worked once, eight pixels at a time from one or two 16-byte windows of
// the row by byte shuffles and one multiply-add, and kept while target rows use
// it; a target pixel is then (h_top (256 - rw) + h_below rw) >> 8, sixteen
// at a time. The trailing pixels (len mod 4) keep their own weight reading.
#include <immintrin.h>

#include <algorithm>

#include "scale/gray_row_cache.h"
#include "scale/pixel_lanes.h"

namespace tarn {
namespace {

void Plan(GrayRowCache& c, const uint8_t* weights, const uint32_t* offsets, uint32_t groups) {
    const uint32_t blocks = groups / 8;
    c.base.assign(blocks, -1);
    c.windows.assign(blocks, 0);
    c.pairs.assign(size_t(blocks) * 32, 0x80);
    c.weightPairs.resize(groups);
    for (uint32_t j = 0; j < groups; ++j) c.weightPairs[j] = (256 - weights[j]) | uint32_t(weights[j]) << 16;
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
    c.blend[0].assign(groups + 16, 0);
    c.blend[1].assign(groups + 16, 0);
    c.tag[0] = c.tag[1] = nullptr;
    c.plannedFor = offsets;
}

// Eight blends, 32-bit lanes.
inline __m256i Blend8(const uint8_t* row, const GrayRowCache& c, const uint32_t* offsets, uint32_t j) {
    const int32_t base = c.base[j / 8];
    if (base < 0) {
        alignas(32) int32_t v[8];
        for (uint32_t k = 0; k < 8; ++k) {
            const uint8_t* s = row + offsets[j + k];
            const uint32_t w = c.weightPairs[j + k] >> 16;
            v[k] = int32_t(LerpByte(s[0], s[1], w));
        }
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

// The horizontal blends of one source row, as 16-bit words in order.
void BlendRow(uint16_t* out, const uint8_t* row, const GrayRowCache& c, const uint32_t* offsets, uint32_t groups) {
    uint32_t j = 0;
    for (; j + 16 <= groups; j += 16) {
        const __m256i words = _mm256_packus_epi32(Blend8(row, c, offsets, j), Blend8(row, c, offsets, j + 8));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + j), _mm256_permute4x64_epi64(words, 0xD8));
    }
    for (; j < groups; ++j) {
        const uint8_t* s = row + offsets[j];
        out[j] = uint16_t(LerpByte(s[0], s[1], c.weightPairs[j] >> 16));
    }
}

const uint16_t* Blended(const uint8_t* row, GrayRowCache& c, const uint32_t* offsets, uint32_t groups,
                        const uint8_t* keep) {
    for (int i = 0; i < 2; ++i)
        if (c.tag[i] == row) return c.blend[i].data();
    const int slot = c.tag[0] == keep ? 1 : 0;
    BlendRow(c.blend[slot].data(), row, c, offsets, groups);
    c.tag[slot] = row;
    return c.blend[slot].data();
}

}  // namespace

void GrayInnerRowCachedAvx2(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                            uint32_t len, int32_t below, uint32_t rw, GrayRowCache& cache) {
    const uint32_t groups = len & ~3u;
    if (cache.plannedFor != offsets) Plan(cache, weights, offsets, groups);
    const uint8_t* low = row + below;
    const uint16_t* top = Blended(row, cache, offsets, groups, low);
    const uint16_t* bot = Blended(low, cache, offsets, groups, row);
    const uint32_t w8 = rw & 255;
    const __m256i rwPair = _mm256_set1_epi32(int32_t((256 - w8) | w8 << 16));
    uint32_t j = 0;
    for (; j + 16 <= groups; j += 16) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(top + j));
        const __m256i c = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bot + j));
        const __m256i lo = _mm256_srli_epi32(_mm256_madd_epi16(_mm256_unpacklo_epi16(a, c), rwPair), 8);
        const __m256i hi = _mm256_srli_epi32(_mm256_madd_epi16(_mm256_unpackhi_epi16(a, c), rwPair), 8);
        const __m256i words = _mm256_packs_epi32(lo, hi);
        const __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(words, words), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + j), _mm256_castsi256_si128(bytes));
    }
    for (; j < groups; ++j) dst[j] = uint8_t(LerpByte(top[j], bot[j], w8));
    // The trailing pixels take their weight from the byte at 4 * j.
    for (j = groups; j < len; ++j) {
        const uint8_t* s = row + offsets[j];
        const uint32_t cw = weights[4 * size_t(j)];
        dst[j] = uint8_t(LerpByte(LerpByte(s[0], s[1], cw), LerpByte(s[below], s[below + 1], cw), w8));
    }
}

}  // namespace tarn
