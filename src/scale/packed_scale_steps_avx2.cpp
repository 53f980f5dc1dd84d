// The 4:2:2 scaler, AVX2 form, for sizes whose every fraction across is a
// whole number of 2^-kx and every one down of 2^-ky, kx and ky at most 7:
// halves and quarters, as the doubling, the halving and the two-thirds
// sizes give. Then no step of the plain form's arithmetic rounds: a row
// blend H = a - (a - b) * dx is a multiple of 2^-kx below 256, which a float
// holds, so float(H) = H; the value top - (top - bottom) * dy is a multiple
// of 2^-(kx + ky) below 256, which a double holds; and it is not negative,
// so its truncation is its floor. In integers, with DX = dx 2^kx and
// DY = dy 2^ky:
//   H'    = a 2^kx - (a - b) DX                                (16 bits)
//   value = (H'0 (2^ky - DY) + H'1 DY) >> (kx + ky)
// which fits 16 bits while kx + ky <= 8 and 32 bits always; this form works
// it sixteen and thirty-two bytes at a time.
#include <immintrin.h>

#include <algorithm>
#include <vector>

#include "scale/packed_scale.h"
#include "scale/packed_sweep_avx2.h"

namespace tarn {
namespace {

constexpr int32_t kFinest = 7;

// The fewest binary places of a fraction, or -1 beyond kFinest (products by
// powers of two are exact, so the test is too).
int32_t PlacesOf(float fraction) {
    for (int32_t k = 0; k <= kFinest; ++k) {
        const float scaled = fraction * float(1 << k);
        if (static_cast<float>(static_cast<int32_t>(scaled)) == scaled) return k;
    }
    return -1;
}

// The places that serve every fraction of a list, or -1.
int32_t PlacesOfAll(const std::vector<float>& fractions) {
    int32_t places = 0;
    for (float f : fractions) {
        const int32_t k = PlacesOf(f);
        if (k < 0) return -1;
        places = std::max(places, k);
    }
    return places;
}

// The columns with DX in place of dx, and the windows of blocks of eight
// target bytes: shuffles into 16-bit lanes for the blends, and of the first
// samples into bytes for the rows that take them as they are.
struct Columns {
    PackedColumns taps;
    int32_t places;           // kx
    std::vector<int16_t> dx;  // DX
    PackedWindows words;
    std::vector<uint8_t> pickBytes;  // [block][16]: the first samples in bytes 0-7
    bool doubling;                   // target rows twice as wide as the source's
    bool halving;                    // target rows half as wide as the source's
};

// With `gatherOnly` (no row blends, every row gathered) halving across
// needs no windows.
bool PlanColumns(int32_t srcWidth, int32_t dstWidth, bool gatherOnly, Columns& c) {
    c.taps = PlanPackedColumns(srcWidth, dstWidth);
    c.doubling = dstWidth == 2 * srcWidth;
    c.halving = srcWidth == 2 * dstWidth;
    c.places = PlacesOfAll(c.taps.dx);
    if (c.places < 0) return false;
    if (gatherOnly && c.places == 0 && c.halving) return true;
    const size_t n = c.taps.dx.size();
    c.dx.resize(n);
    for (size_t i = 0; i < n; ++i) c.dx[i] = int16_t(c.taps.dx[i] * float(1 << c.places));
    c.words = PlanPackedWindows(c.taps, 2 * srcWidth, 8);
    c.pickBytes.assign(c.words.pickA.size(), 0x80);
    for (size_t i = 0; i < c.pickBytes.size(); i += 2) c.pickBytes[i / 16 * 16 + i % 16 / 2] = c.words.pickA[i];
    return true;
}

int16_t BlendOne(const uint8_t* row, const Columns& c, size_t i) {
    const int32_t a = row[c.taps.off0[i]], b = row[c.taps.off1[i]];
    return int16_t((a << c.places) - (a - b) * c.dx[i]);
}

// Two blocks of eight target bytes' windows, one in each half.
__m256i Windows(const uint8_t* row, int32_t base0, int32_t base1) {
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + base0));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(first),
                                   _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + base1)), 1);
}

__m256i Load(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }

// H' of each target byte of a source row, sixteen at a time: two blocks of
// eight, each shuffled out of its own 16-byte window in one half. The
// tables are read through locals: the vector stores may alias anything, and
// would have every pointer fetched anew on each step.
void BlendRow(int16_t* h, const uint8_t* row, const Columns& c, size_t n) {
    const int32_t* base = c.words.base.data();
    const uint8_t *pickA = c.words.pickA.data(), *pickB = c.words.pickB.data();
    const int16_t* dx = c.dx.data();
    const __m128i places = _mm_cvtsi32_si128(c.places);
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const size_t k = i / 8;
        const int32_t base0 = base[k], base1 = base[k + 1];
        if ((base0 | base1) < 0) {
            for (size_t j = i; j < i + 16; ++j) h[j] = BlendOne(row, c, j);
            continue;
        }
        const __m256i window = Windows(row, base0, base1);
        const __m256i a = _mm256_shuffle_epi8(window, Load(pickA + 16 * k));
        const __m256i b = _mm256_shuffle_epi8(window, Load(pickB + 16 * k));
        const __m256i blended =
            _mm256_sub_epi16(_mm256_sll_epi16(a, places), _mm256_mullo_epi16(_mm256_sub_epi16(a, b), Load(dx + i)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(h + i), blended);
    }
    for (; i < n; ++i) h[i] = BlendOne(row, c, i);
}

// Doubling across, the step is exactly 1/2: target pair 2p is source pair p
// (DX 0, H' = 2a) and pair 2p + 1 blends pairs p and p + 1 by one half
// (DX 1 of kx 1, H' = a + b); the last pair, whose second sample clamps
// onto itself, goes one by one with the rest. Sixteen source bytes and the
// sixteen a pair further on make thirty-two target bytes.
void DoubleRow(int16_t* h, const uint8_t* row, const Columns& c, size_t n) {
    const size_t rowBytes = n / 2;
    size_t i = 0;
    for (; i / 2 + 18 <= rowBytes; i += 32) {
        const __m256i a = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + i / 2)));
        const __m256i b = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + i / 2 + 2)));
        // Per half: pairs p, p + 1/2, p + 1, p + 3/2 in `low`, the next four in `high`.
        const __m256i low = _mm256_unpacklo_epi32(_mm256_add_epi16(a, a), _mm256_add_epi16(a, b));
        const __m256i high = _mm256_unpackhi_epi32(_mm256_add_epi16(a, a), _mm256_add_epi16(a, b));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(h + i), _mm256_permute2x128_si256(low, high, 0x20));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(h + i + 16), _mm256_permute2x128_si256(low, high, 0x31));
    }
    for (; i < n; ++i) h[i] = BlendOne(row, c, i);
}

// The step across is exactly 2: target pair p is source pair 2p, the low
// half of each 32-bit source word, so target byte i is source byte 2i - i % 2.
// Where `next` is given, the row at that address is asked for line by line
// meanwhile: rows read every other one are where the processor's own
// prefetcher comes in late. A hint never faults, so it may lie past the
// picture.
void HalveRow(uint8_t* d, const uint8_t* row, size_t n, uintptr_t next = 0) {
    const __m256i low = _mm256_set1_epi32(0xFFFF);
    size_t i = 0;
    for (; i + 32 <= n; i += 32) {
        if (next) _mm_prefetch(reinterpret_cast<const char*>(next + 2 * i), _MM_HINT_T0);
        const __m256i first = _mm256_and_si256(Load(row + 2 * i), low);
        const __m256i second = _mm256_and_si256(Load(row + 2 * i + 32), low);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i),
                            _mm256_permute4x64_epi64(_mm256_packus_epi32(first, second), 0xD8));
    }
    for (; i < n; ++i) d[i] = row[2 * i - i % 2];
}

// A target row that is its source row's first samples as they are (every
// DX and its DY 0, as when halving): shuffled straight into bytes, sixteen
// at a time.
void GatherRow(uint8_t* d, const uint8_t* row, const Columns& c, size_t n) {
    if (c.halving) return HalveRow(d, row, n);
    const int32_t* base = c.words.base.data();
    const uint8_t* pickBytes = c.pickBytes.data();
    const int32_t* off0 = c.taps.off0.data();
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const size_t k = i / 8;
        const int32_t base0 = base[k], base1 = base[k + 1];
        if ((base0 | base1) < 0) {
            for (size_t j = i; j < i + 16; ++j) d[j] = row[off0[j]];
            continue;
        }
        const __m256i eights = _mm256_shuffle_epi8(Windows(row, base0, base1), Load(pickBytes + 16 * k));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i),
                         _mm256_castsi256_si128(_mm256_permute4x64_epi64(eights, 0x08)));
    }
    for (; i < n; ++i) d[i] = row[off0[i]];
}

// Thirty-two target bytes from two vectors of sixteen 16-bit values below
// 256, in order (the pack interleaves the halves; the permute undoes it).
__m256i Bytes(__m256i first, __m256i second) {
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
}

// One target row from H' of its two source rows, DY and the places.
void MixRow(uint8_t* d, const int16_t* top, const int16_t* bottom, int32_t dy, int32_t kx, int32_t ky, size_t n,
            bool around) {
    auto at = [](const int16_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); };
    const int32_t shift = kx + ky, one = 1 << ky;
    const __m128i count = _mm_cvtsi32_si128(dy == 0 ? kx : shift);
    if (dy == 0) {
        Sweep(
            d, n, around,
            [&](size_t i) { return Bytes(_mm256_srl_epi16(at(top + i), count), _mm256_srl_epi16(at(top + i + 16), count)); },
            [&](size_t i) { return uint8_t(top[i] >> kx); });
        return;
    }
    auto scalar = [&](size_t i) { return uint8_t((top[i] * (one - dy) + bottom[i] * dy) >> shift); };
    if (2 * dy == one) {
        // Equal weights 2^(ky - 1): the floor of (H'0 + H'1) / 2^(kx + 1),
        // whose sum fits 16 bits.
        const __m128i half = _mm_cvtsi32_si128(kx + 1);
        auto sixteen = [&](size_t j) { return _mm256_srl_epi16(_mm256_add_epi16(at(top + j), at(bottom + j)), half); };
        Sweep(d, n, around, [&](size_t i) { return Bytes(sixteen(i), sixteen(i + 16)); }, scalar);
    } else if (shift <= 8) {
        // The weighted sum stays below 2^16: products and sum in 16 bits.
        const __m256i upper = _mm256_set1_epi16(int16_t(one - dy)), lower = _mm256_set1_epi16(int16_t(dy));
        auto sixteen = [&](size_t j) {
            const __m256i sum =
                _mm256_add_epi16(_mm256_mullo_epi16(at(top + j), upper), _mm256_mullo_epi16(at(bottom + j), lower));
            return _mm256_srl_epi16(sum, count);
        };
        Sweep(d, n, around, [&](size_t i) { return Bytes(sixteen(i), sixteen(i + 16)); }, scalar);
    } else {
        // Each pair (upper, lower) times (2^ky - DY, DY), summed in 32 bits.
        const __m256i weights = _mm256_set1_epi32((one - dy) | (dy << 16));
        auto sixteen = [&](size_t j) {
            const __m256i t = at(top + j), b = at(bottom + j);
            const __m256i low = _mm256_srl_epi32(_mm256_madd_epi16(_mm256_unpacklo_epi16(t, b), weights), count);
            const __m256i high = _mm256_srl_epi32(_mm256_madd_epi16(_mm256_unpackhi_epi16(t, b), weights), count);
            return _mm256_packs_epi32(low, high);
        };
        Sweep(d, n, around, [&](size_t i) { return Bytes(sixteen(i), sixteen(i + 16)); }, scalar);
    }
}

}  // namespace

bool ScalePackedStepsAvx2(const ScaleTarget& target, const ScaleSource& source) {
    const size_t n = 2 * size_t(target.width);
    if (source.width == 2 * target.width && source.height == 2 * target.height) {
        // Halving both ways, every step is exactly 2 and every fraction 0:
        // target row y is source row 2y halved across, with no tables. The
        // source row of the target row after next is asked for meanwhile.
        const uintptr_t from = reinterpret_cast<uintptr_t>(source.pixels);
        for (uint32_t y = 0; y < target.height; ++y)
            HalveRow(target.pixels + intptr_t(y) * target.stride, source.pixels + intptr_t(2 * y) * source.stride, n,
                     from + uintptr_t(intptr_t(2 * y + 4) * source.stride));
        return true;
    }
    const int32_t lastRow = int32_t(source.height) - 1, rows = int32_t(target.height);
    const float sy = PackedStep(source.height, target.height);
    std::vector<PackedRow> rowsAt(static_cast<size_t>(rows));
    std::vector<float> fractions(size_t(rows), 0.0f);
    for (int32_t y = 0; y < rows; ++y) {
        rowsAt[size_t(y)] = PackedRowAt(y, sy, lastRow);
        fractions[size_t(y)] = rowsAt[size_t(y)].dy;
    }
    const int32_t ky = PlacesOfAll(fractions);
    if (ky < 0) return false;
    Columns c;
    if (!PlanColumns(int32_t(source.width), int32_t(target.width), ky == 0, c)) return false;
    const bool around = WriteAroundCaches(n * size_t(rows));
    KeptRows<std::vector<int16_t>> kept{std::vector<int16_t>(n)};
    auto blend = [&](std::vector<int16_t>& out, int32_t y) {
        (c.doubling ? DoubleRow : BlendRow)(out.data(), source.pixels + intptr_t(y) * source.stride, c, n);
    };
    for (int32_t y = 0; y < rows; ++y) {
        const PackedRow& r = rowsAt[size_t(y)];
        const int32_t dy = int32_t(r.dy * float(1 << ky));
        uint8_t* d = target.pixels + intptr_t(y) * target.stride;
        if (c.places == 0 && dy == 0) {
            GatherRow(d, source.pixels + intptr_t(r.y0) * source.stride, c, n);
            continue;
        }
        // With DY 0 the row below plays no part.
        const std::vector<int16_t>& top = kept.Get(r.y0, r.y1, blend);
        const std::vector<int16_t>& bottom = dy == 0 ? top : kept.Get(r.y1, r.y0, blend);
        MixRow(d, top.data(), bottom.data(), dy, c.places, ky, n, around);
    }
    // The streamed stores are ordered before whatever the caller does next.
    if (around) _mm_sfence();
    return true;
}

}  // namespace tarn
