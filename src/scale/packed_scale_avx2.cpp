// The 4:2:2 scaler, AVX2 form. The plain form's value of a target byte is
// double(top) - (double(top) - bottom) * dy with top = float(H(iy)) and
// bottom = H(iy + 1), where H(row) = a - (a - b) * dx is the same double
// expression of the row's two samples. So each source row's H is worked
// once, four bytes at a time in doubles with the same operations in the same
// order (the samples picked out of a 16-byte window of the row by byte
// shuffles planned once), kept while target rows use it, and each target
// row is then one vertical blend of two kept rows.
#include <immintrin.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "scale/packed_scale.h"

namespace tarn {
namespace {

// Per block of 4 target bytes, the first of 16 row bytes that hold all
// their samples (-1: they spread wider, read one by one) and the two byte
// shuffles that put the first and the second sample of each in a 32-bit lane.
struct Columns {
    std::vector<int32_t> off0, off1;
    std::vector<double> dx;
    std::vector<int32_t> base;
    std::vector<uint8_t> picks;  // [block][2][16]
    bool whole = true;           // every dx is 0
};

Columns PlanColumns(int32_t srcWidth, int32_t dstWidth) {
    const float sx = static_cast<float>(double(srcWidth) / double(dstWidth));
    const int32_t n = 2 * dstWidth;
    Columns c;
    c.off0.resize(size_t(n) + 4);
    c.off1.resize(size_t(n) + 4);
    c.dx.resize(size_t(n) + 4);
    for (int32_t x = 0; x < dstWidth; ++x) {
        const float fx = static_cast<float>(double(x) * sx);
        const int32_t ix = static_cast<int32_t>(fx);
        const float dx = fx - static_cast<float>(ix);
        const int32_t x0 = std::clamp(ix, 0, srcWidth - 1), x1 = std::clamp(ix + 1, 0, srcWidth - 1);
        for (int32_t b = 0; b < 2; ++b) {
            const int32_t i = 2 * x + b;
            c.off0[i] = 2 * x0 + b;
            c.off1[i] = 2 * x1 + b;
            c.dx[i] = double(dx);
            c.whole &= dx == 0.0f;
        }
    }
    const int32_t blocks = n / 4, rowBytes = 2 * srcWidth;
    c.base.assign(size_t(blocks), -1);
    c.picks.assign(size_t(blocks) * 32, 0x80);
    for (int32_t k = 0; k < blocks && rowBytes >= 16; ++k) {
        int32_t lo = c.off0[4 * k], hi = lo;
        for (int32_t i = 4 * k; i < 4 * k + 4; ++i) {
            lo = std::min({lo, c.off0[i], c.off1[i]});
            hi = std::max({hi, c.off0[i], c.off1[i]});
        }
        const int32_t base = std::min(lo, rowBytes - 16);
        if (hi - base >= 16) continue;
        c.base[k] = base;
        for (int32_t j = 0; j < 4; ++j) {
            c.picks[32 * size_t(k) + 4 * j] = uint8_t(c.off0[4 * k + j] - base);
            c.picks[32 * size_t(k) + 16 + 4 * j] = uint8_t(c.off1[4 * k + j] - base);
        }
    }
    return c;
}

void BlendRow(double* h, const uint8_t* row, const Columns& c, int32_t n) {
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const int32_t base = c.base[i / 4];
        if (base < 0) {
            for (int32_t j = i; j < i + 4; ++j) {
                const int32_t a = row[c.off0[j]], b = row[c.off1[j]];
                h[j] = a - (a - b) * c.dx[j];
            }
            continue;
        }
        const __m128i window = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + base));
        const uint8_t* p = c.picks.data() + 8 * size_t(i);
        const __m128i a = _mm_shuffle_epi8(window, _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
        const __m128i b = _mm_shuffle_epi8(window, _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16)));
        const __m256d product = _mm256_mul_pd(_mm256_cvtepi32_pd(_mm_sub_epi32(a, b)), _mm256_loadu_pd(&c.dx[i]));
        _mm256_storeu_pd(h + i, _mm256_sub_pd(_mm256_cvtepi32_pd(a), product));
    }
    for (; i < n; ++i) {
        const int32_t a = row[c.off0[i]], b = row[c.off1[i]];
        h[i] = a - (a - b) * c.dx[i];
    }
}

// A row's own samples where every dx is 0: then H = a - (a - b) * 0 = a,
// and a target row whose dy is 0 takes float(H) = a as it is.
void SampleRow(uint8_t* d, const uint8_t* row, const Columns& c, int32_t n) {
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const int32_t base = c.base[i / 4];
        if (base < 0) {
            for (int32_t j = i; j < i + 4; ++j) d[j] = row[c.off0[j]];
            continue;
        }
        const __m128i window = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + base));
        const __m128i a = _mm_shuffle_epi8(
            window, _mm_loadu_si128(reinterpret_cast<const __m128i*>(c.picks.data() + 8 * size_t(i))));
        const __m128i words = _mm_packs_epi32(a, a);
        const int32_t four = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
        std::memcpy(d + i, &four, 4);
    }
    for (; i < n; ++i) d[i] = row[c.off0[i]];
}

}  // namespace

void ScalePackedAvx2(const ScaleTarget& target, const ScaleSource& source) {
    const int32_t lastRow = int32_t(source.height) - 1, rows = int32_t(target.height);
    const float sy = static_cast<float>(double(source.height) / double(target.height));
    const int32_t n = 2 * int32_t(target.width);
    const Columns c = PlanColumns(int32_t(source.width), int32_t(target.width));
    auto sourceRow = [&](int32_t y) { return source.pixels + intptr_t(y) * source.stride; };
    std::vector<double> kept[2] = {std::vector<double>(size_t(n) + 4), std::vector<double>(size_t(n) + 4)};
    int32_t tag[2] = {-1, -1};
    auto blended = [&](int32_t y, int32_t keep) {
        for (int i = 0; i < 2; ++i)
            if (tag[i] == y) return kept[i].data();
        const int slot = tag[0] == keep ? 1 : 0;
        BlendRow(kept[slot].data(), sourceRow(y), c, n);
        tag[slot] = y;
        return kept[slot].data();
    };
    for (int32_t y = 0; y < rows; ++y) {
        const float fy = static_cast<float>(double(y) * sy);
        const int32_t iy = static_cast<int32_t>(fy);
        const float dy = fy - static_cast<float>(iy);
        const int32_t y0 = std::clamp(iy, 0, lastRow), y1 = std::clamp(iy + 1, 0, lastRow);
        uint8_t* d = target.pixels + intptr_t(y) * target.stride;
        // With dy 0 the value is top - (top - bottom) * 0 = top: the row
        // below plays no part.
        if (dy == 0.0f && c.whole) {
            SampleRow(d, sourceRow(y0), c, n);
            continue;
        }
        const double* top = blended(y0, y1);
        const double* bottom = dy == 0.0f ? top : blended(y1, y0);
        const __m256d dyv = _mm256_set1_pd(double(dy));
        auto four = [&](int32_t i) {
            const __m256d t = _mm256_cvtps_pd(_mm256_cvtpd_ps(_mm256_loadu_pd(top + i)));
            const __m256d v = _mm256_sub_pd(t, _mm256_mul_pd(_mm256_sub_pd(t, _mm256_loadu_pd(bottom + i)), dyv));
            return _mm256_cvttpd_epi32(v);
        };
        int32_t i = 0;
        for (; i + 8 <= n; i += 8) {
            const __m128i words = _mm_packs_epi32(four(i), four(i + 4));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(d + i), _mm_packus_epi16(words, words));
        }
        for (; i < n; ++i) {
            const float t = static_cast<float>(top[i]);
            const double value = t - (t - bottom[i]) * double(dy);
            d[i] = static_cast<uint8_t>(static_cast<int32_t>(value));
        }
    }
}

}  // namespace tarn
