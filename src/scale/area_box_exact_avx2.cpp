// Area shrink by whole factors fx x fy whose product is a power of two
// (2x2, 4x4, 8x8, 2x4, ...), AVX2 form. There every weight is 2^-shift, no
// sample is split, and every product and sum of the float sweep is exact
// (multiples of 2^-shift below 256 need at most 16 significant bits), so a
// target byte is trunc(S * 2^-shift + 0.5) for the plain sum S of its
// fx * fy samples: (S + 2^(shift-1)) >> shift. The sums are worked in 16
// bits, the source rows of a target row added first (fy * 255 fits; single-
// channel rows add their byte pairs as they are read), then the columns in
// halving passes, which the exactness lets run in any order.
// 3-byte pixels are spread to four 16-bit lanes as they are read.
#include <immintrin.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/byte_span.h"
#include "scale/area_shrink.h"
#include "scale/box_quads.h"

namespace tarn {
namespace {

// acc[i] (+)= row[i] for the bytes of one source row; 3-byte pixels land in
// lanes 4p..4p+2, lane 4p+3 stays 0.
template <bool First>
void AddRow(uint16_t* acc, const uint8_t* row, uint32_t srcWidth, uint32_t c) {
    auto put = [](uint16_t* at, __m256i v) {
        __m256i* p = reinterpret_cast<__m256i*>(at);
        _mm256_storeu_si256(p, First ? v : _mm256_add_epi16(_mm256_loadu_si256(p), v));
    };
    auto one = [&](uint32_t i, uint8_t b) { acc[i] = uint16_t(First ? b : acc[i] + b); };
    if (c == 3) {
        const __m128i spread = _mm_setr_epi8(0, 1, 2, -128, 3, 4, 5, -128, 6, 7, 8, -128, 9, 10, 11, -128);
        // Four pixels a step while the 16-byte load stays in the row. The
        // step walks a byte count and a lane pointer of machine width, so
        // the loop carries no 32-bit index to widen and scale on each pass.
        const size_t bytes = size_t(3) * srcWidth;
        size_t i = 0;
        uint16_t* lane = acc;
        for (; i + 16 <= bytes; i += 12, lane += 16)
            put(lane, _mm256_cvtepu8_epi16(_mm_shuffle_epi8(
                          _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + i)), spread)));
        uint32_t p = uint32_t(i / 3);
        for (; p < srcWidth; ++p) {
            for (uint32_t ch = 0; ch < 3; ++ch) one(4 * p + ch, row[3 * p + ch]);
            if (First) acc[4 * p + 3] = 0;
        }
        return;
    }
    const uint32_t bytes = srcWidth * c;
    uint32_t i = 0;
    for (; i + 16 <= bytes; i += 16)
        put(acc + i, _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + i))));
    for (; i < bytes; ++i) one(i, row[i]);
}

// Single-channel rows of an even factor: acc[p] (+)= row[2p] + row[2p + 1],
// the first halving done as the row is read.
template <bool First>
void AddRowPairs(uint16_t* acc, const uint8_t* row, uint32_t srcWidth) {
    const __m256i ones = _mm256_set1_epi8(1);
    uint32_t i = 0;
    for (; i + 32 <= srcWidth; i += 32) {
        const __m256i v = _mm256_maddubs_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + i)), ones);
        __m256i* p = reinterpret_cast<__m256i*>(acc + i / 2);
        _mm256_storeu_si256(p, First ? v : _mm256_add_epi16(_mm256_loadu_si256(p), v));
    }
    for (; i + 1 < srcWidth; i += 2) acc[i / 2] = uint16_t((First ? 0 : acc[i / 2]) + row[i] + row[i + 1]);
}

// Halves the pixels of a row of `pixels` sums (lanes per pixel 1 or 4) in
// place: pixel p becomes pixel 2p + pixel 2p + 1. Writes stay behind reads.
void HalvePixels(uint16_t* a, uint32_t pixels, uint32_t lanes) {
    const uint32_t half = pixels / 2;
    uint32_t p = 0;
    if (lanes == 1) {
        // Each 32-bit lane holds an even and an odd sum; their total fits 16
        // bits (at most 256 * 255), so the low half of a 16-bit add of the
        // lane and the lane shifted down is exact.
        const __m256i low = _mm256_set1_epi32(0xFFFF);
        auto pairs = [&](const uint16_t* at) {
            const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
            return _mm256_and_si256(_mm256_add_epi16(v, _mm256_srli_epi32(v, 16)), low);
        };
        for (; p + 16 <= half; p += 16)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(a + p),
                                _mm256_permute4x64_epi64(_mm256_packus_epi32(pairs(a + 2 * p), pairs(a + 2 * p + 16)), 0xD8));
    } else {
        const uint16_t* from = a;
        uint16_t* to = a;
        for (; p + 4 <= half; p += 4, from += 32, to += 16) {
            const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
            const __m256i y = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + 16));
            const __m256i sum = _mm256_add_epi16(_mm256_unpacklo_epi64(x, y), _mm256_unpackhi_epi64(x, y));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm256_permute4x64_epi64(sum, 0xD8));
        }
    }
    for (; p < half; ++p)
        for (uint32_t l = 0; l < lanes; ++l) a[p * lanes + l] = uint16_t(a[2 * p * lanes + l] + a[(2 * p + 1) * lanes + l]);
}

// (S + 2^(shift-1)) >> shift for the target row's sums, as bytes.
void EmitRow(uint8_t* out, const uint16_t* s, uint32_t width, uint32_t c, uint32_t shift) {
    const __m128i round = _mm_set1_epi16(int16_t(1 << (shift - 1)));
    const __m128i count = _mm_cvtsi32_si128(int(shift));
    auto bytes16 = [&](const uint16_t* at) {
        const __m128i a = _mm_srl_epi16(_mm_add_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)), round), count);
        const __m128i b =
            _mm_srl_epi16(_mm_add_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at + 8)), round), count);
        return _mm_packus_epi16(a, b);
    };
    auto one = [&](uint16_t v) { return uint8_t((uint32_t(v) + (1u << (shift - 1))) >> shift); };
    if (c == 3) {
        const __m128i squeeze = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -128, -128, -128, -128);
        // As in AddRow: a byte count and a lane pointer of machine width.
        const size_t total = size_t(3) * width;
        size_t i = 0;
        const uint16_t* lane = s;
        for (; i + 16 <= total; i += 12, lane += 16)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_shuffle_epi8(bytes16(lane), squeeze));
        uint32_t p = uint32_t(i / 3);
        for (; p < width; ++p)
            for (uint32_t ch = 0; ch < 3; ++ch) out[3 * p + ch] = one(s[4 * p + ch]);
        return;
    }
    const uint32_t total = width * c;
    uint32_t i = 0;
    for (; i + 16 <= total; i += 16) _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), bytes16(s + i));
    for (; i < total; ++i) out[i] = one(s[i]);
}


// Pixels of 3 or 4 bytes 4 or 8 wide: the box sums eight target pixels at
// a time. With 3-byte pixels a block reads 16 bytes for each four samples,
// up to 4 past its last one, so the last pixel of a row is never in a
// block. The pixels after the whole blocks come from one more block, the
// last eight the blocks may cover, worked into a scratch and copied out for
// the pixels not yet written; the rest (rows of fewer than eight, the last
// 3-byte pixel) are summed one by one. The blocks run in the widest form
// allowed (box_quads.h).
void QuadRows(uint8_t* dst, const uint8_t* src, uint32_t dstWidth, uint32_t dstHeight, uint32_t fx, uint32_t fy,
              uint32_t c, int32_t srcStride, int32_t dstStride, uint32_t shift) {
    const uint32_t covered = c == 4 ? dstWidth : dstWidth - 1;
    const uint32_t blocks = covered / 8;
    const QuadBoxes q{c, c, fx, fy, srcStride, QuadBoxes::Round, {}, shift};
    const QuadBoxBlocksFn quads = PickQuadBoxBlocks();
    for (uint32_t t = 0; t < dstHeight; ++t, dst += dstStride) {
        const uint8_t* row = src + intptr_t(t) * fy * srcStride;
        quads(dst, row, blocks, q);
        uint32_t x = 8 * blocks;
        if (blocks > 0 && x < covered) {
            uint8_t last[32];
            const uint32_t from = covered - 8;
            quads(last, row + size_t(from) * fx * c, 1, q);
            std::memcpy(dst + size_t(x) * c, last + size_t(x - from) * c, size_t(covered - x) * c);
            x = covered;
        }
        for (; x < dstWidth; ++x)
            for (uint32_t ch = 0; ch < c; ++ch) {
                uint32_t sum = 0;
                for (uint32_t j = 0; j < fy; ++j)
                    for (uint32_t i = 0; i < fx; ++i) sum += row[intptr_t(j) * srcStride + (x * fx + i) * c + ch];
                dst[x * c + ch] = uint8_t((sum + (1u << (shift - 1))) >> shift);
            }
    }
}

// 4-byte pixels two wide, at least eight of them a row: eight target
// pixels at a time, the pixels after the whole eights from one more eight
// ending at the row's end, worked into a scratch and copied out for the
// pixels not yet written. Boxes two rows tall take four target rows at a
// time, eight pixels of each in turn, when no target byte lies among the
// source bytes read; otherwise a row's writes could reach source bytes a
// later row of its group has not read yet, which one row at a time it has.
void PairRows(uint8_t* dst, const uint8_t* src, uint32_t dstWidth, uint32_t dstHeight, uint32_t fy, int32_t srcStride,
              int32_t dstStride, uint32_t shift) {
    const uint32_t eights = dstWidth / 8, done = 8 * eights;
    auto finish = [&](uint8_t* out, const uint8_t* row) {
        if (done < dstWidth) {
            uint8_t last[32];
            const uint32_t from = dstWidth - 8;
            PairBoxBlocksAvx2(last, row + size_t(from) * 8, 1, srcStride, fy, shift);
            std::memcpy(out + size_t(done) * 4, last + size_t(done - from) * 4, size_t(dstWidth - done) * 4);
        }
    };
    const ByteSpan read = ByteSpan::OfRows(src, srcStride, int32_t(dstHeight * fy), size_t(dstWidth) * 8);
    const bool grouped = fy == 2 && dstHeight > 1 && RowsApart(dst, size_t(dstWidth) * 4, dstHeight, dstStride, read);
    constexpr uint32_t kGroup = 4;
    for (uint32_t t = 0; t < dstHeight;) {
        const uint32_t n = grouped ? std::min(kGroup, dstHeight - t) : 1;
        uint8_t* d[kGroup];
        const uint8_t* r[kGroup];
        for (uint32_t i = 0; i < n; ++i)
            d[i] = dst + intptr_t(t + i) * dstStride, r[i] = src + intptr_t(t + i) * fy * srcStride;
        if (grouped) PairBoxGroupAvx2(d, r, n, eights, srcStride, shift);
        else PairBoxBlocksAvx2(d[0], r[0], eights, srcStride, fy, shift);
        for (uint32_t i = 0; i < n; ++i) finish(d[i], r[i]);
        t += n;
    }
}

// Single-channel boxes 2 or 4 samples wide, whole in registers: each step
// makes 32 target bytes from 32 * Fx bytes of each of the fy source rows.
// The rows' byte pairs (maddubs) are added in 16 bits, where fy * 510 fits
// (fy <= 128 for a product up to 256); a box 4 wide adds the pair sums of
// neighbours once more (hadd, a wrapping add whose totals also fit).
// The last step of a row of 32 targets or more is moved back to end at the
// row's end: it rewrites some bytes of the step before with the same values.
// Rows of fewer targets are summed one by one. Square boxes (Fy = Fx) have
// their row count and shift fixed at compile time; Fy 0 takes them as given.
template <uint32_t Fx, uint32_t Fy>
void NarrowBoxRows(uint8_t* dst, const uint8_t* src, uint32_t dstWidth, uint32_t dstHeight, uint32_t givenFy,
                   int32_t srcStride, int32_t dstStride, uint32_t givenShift) {
    const uint32_t fy = Fy ? Fy : givenFy, shift = Fy ? (Fx == 2 ? 2 : 4) : givenShift;
    constexpr uint32_t kLoads = Fx;  // 32-byte loads a row a step
    const __m256i ones = _mm256_set1_epi8(1);
    const __m256i round = _mm256_set1_epi16(int16_t(1 << (shift - 1)));
    const __m128i count = _mm_cvtsi32_si128(int(shift));
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    auto step = [&](uint8_t* out, const uint8_t* at) {
        __m256i s[kLoads];
        for (uint32_t k = 0; k < kLoads; ++k)
            s[k] = _mm256_maddubs_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(at + 32 * k)), ones);
        for (uint32_t j = 1; j < fy; ++j) {
            const uint8_t* r = at + intptr_t(j) * srcStride;
            for (uint32_t k = 0; k < kLoads; ++k)
                s[k] = _mm256_add_epi16(
                    s[k], _mm256_maddubs_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(r + 32 * k)), ones));
        }
        auto scaled = [&](__m256i v) { return _mm256_srl_epi16(_mm256_add_epi16(v, round), count); };
        __m256i bytes;
        if constexpr (Fx == 2) {
            // Lanes of s[0]: targets 0-7 | 8-15; of s[1]: 16-23 | 24-31.
            bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(scaled(s[0]), scaled(s[1])), 0xD8);
        } else {
            // hadd(s0, s1): targets 0-3, 8-11 | 4-7, 12-15; hadd(s2, s3) the
            // same 16 on; packed, the 4-byte groups come in the order 0, 2,
            // 4, 6 | 1, 3, 5, 7.
            const __m256i lo = scaled(_mm256_hadd_epi16(s[0], s[1]));
            const __m256i hi = scaled(_mm256_hadd_epi16(s[2], s[3]));
            bytes = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(lo, hi), order);
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), bytes);
    };
    for (uint32_t t = 0; t < dstHeight; ++t, dst += dstStride) {
        const uint8_t* row = src + intptr_t(t) * fy * srcStride;
        if (dstWidth >= 32) {
            for (uint32_t x = 0; x + 32 <= dstWidth; x += 32) step(dst + x, row + size_t(x) * Fx);
            if (dstWidth % 32) step(dst + dstWidth - 32, row + size_t(dstWidth - 32) * Fx);
            continue;
        }
        for (uint32_t x = 0; x < dstWidth; ++x) {
            uint32_t sum = 0;
            for (uint32_t j = 0; j < fy; ++j)
                for (uint32_t i = 0; i < Fx; ++i) sum += row[intptr_t(j) * srcStride + x * Fx + i];
            dst[x] = uint8_t((sum + (1u << (shift - 1))) >> shift);
        }
    }
}

}  // namespace

void AreaBoxExactAvx2(const ScaleTarget& target, const ScaleSource& source, uint32_t shift) {
    const uint8_t* src = source.pixels;
    const uint32_t srcWidth = source.width, srcHeight = source.height, c = source.pixelBytes;
    const int32_t srcStride = source.stride, dstStride = target.stride;
    const uint32_t dstWidth = target.width, dstHeight = target.height;
    uint8_t* dst = target.pixels;
    const uint32_t fx = srcWidth / dstWidth, fy = srcHeight / dstHeight;
    if (c != 1 && (fx == 4 || fx == 8)) {
        QuadRows(dst, src, dstWidth, dstHeight, fx, fy, c, srcStride, dstStride, shift);
        return;
    }
    if (c == 4 && fx == 2 && dstWidth >= 8) {
        PairRows(dst, src, dstWidth, dstHeight, fy, srcStride, dstStride, shift);
        return;
    }
    if (c == 1 && (fx == 2 || fx == 4)) {
        using Rows = void (*)(uint8_t*, const uint8_t*, uint32_t, uint32_t, uint32_t, int32_t, int32_t, uint32_t);
        const Rows rows = fx == 2 ? (fy == 2 ? NarrowBoxRows<2, 2> : NarrowBoxRows<2, 0>)
                                  : (fy == 4 ? NarrowBoxRows<4, 4> : NarrowBoxRows<4, 0>);
        rows(dst, src, dstWidth, dstHeight, fy, srcStride, dstStride, shift);
        return;
    }
    const uint32_t lanes = c == 3 ? 4 : c;
    std::vector<uint16_t> acc(size_t(srcWidth) * lanes + 32);
    const bool pairs = c == 1 && fx % 2 == 0;
    for (uint32_t t = 0; t < dstHeight; ++t, dst += dstStride) {
        const uint8_t* row = src + intptr_t(t) * fy * srcStride;
        uint32_t pixels = dstWidth * fx, f = fx;
        if (pairs) {
            AddRowPairs<true>(acc.data(), row, srcWidth);
            for (uint32_t j = 1; j < fy; ++j) AddRowPairs<false>(acc.data(), row + intptr_t(j) * srcStride, srcWidth);
            pixels /= 2, f /= 2;
        } else {
            AddRow<true>(acc.data(), row, srcWidth, c);
            for (uint32_t j = 1; j < fy; ++j) AddRow<false>(acc.data(), row + intptr_t(j) * srcStride, srcWidth, c);
        }
        for (; f > 1; f /= 2, pixels /= 2) HalvePixels(acc.data(), pixels, lanes == 1 ? 1 : 4);
        EmitRow(dst, acc.data(), dstWidth, c, shift);
    }
}

}  // namespace tarn
