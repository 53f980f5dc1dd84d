// The 4:2:2 scaler, AVX2 form. The plain form's value of a target byte is
// double(top) - (double(top) - bottom) * dy with top = float(H(y0)) and
// bottom = H(y1), where H(row) = a - (a - b) * dx is the same double
// expression of the row's two samples. So each source row's H, and H rounded
// to float, are worked once, four bytes at a time in doubles with the same
// operations in the same order (the samples picked out of a 16-byte window
// of the row by byte shuffles planned once), kept while target rows use it,
// and each target row is then one vertical blend of two kept rows. Sizes
// whose fractions are all whole 128ths go the integer way instead
// (packed_scale_steps_avx2.cpp).
#include <immintrin.h>

#include <algorithm>
#include <vector>

#include "scale/packed_scale.h"

namespace tarn {
namespace {

// Per block of 4 target bytes, the first of 16 row bytes that hold all
// their samples (-1: they spread wider, read one by one) and the two byte
// shuffles that put the first and the second sample of each in a 32-bit lane.
struct Columns {
    PackedColumns taps;
    std::vector<double> dx;
    std::vector<int32_t> base;
    std::vector<uint8_t> picks;  // [block][2][16]
};

Columns PlanColumns(int32_t srcWidth, int32_t dstWidth) {
    Columns c{PlanPackedColumns(srcWidth, dstWidth), {}, {}, {}};
    const std::vector<int32_t>&off0 = c.taps.off0, &off1 = c.taps.off1;
    const int32_t n = 2 * dstWidth;
    c.dx.assign(c.taps.dx.begin(), c.taps.dx.end());
    const int32_t blocks = n / 4, rowBytes = 2 * srcWidth;
    c.base.assign(size_t(blocks), -1);
    c.picks.assign(size_t(blocks) * 32, 0x80);
    for (int32_t k = 0; k < blocks && rowBytes >= 16; ++k) {
        int32_t lo = off0[4 * k], hi = lo;
        for (int32_t i = 4 * k; i < 4 * k + 4; ++i) {
            lo = std::min({lo, off0[i], off1[i]});
            hi = std::max({hi, off0[i], off1[i]});
        }
        const int32_t base = std::min(lo, rowBytes - 16);
        if (hi - base >= 16) continue;
        c.base[k] = base;
        for (int32_t j = 0; j < 4; ++j) {
            c.picks[32 * size_t(k) + 4 * j] = uint8_t(off0[4 * k + j] - base);
            c.picks[32 * size_t(k) + 16 + 4 * j] = uint8_t(off1[4 * k + j] - base);
        }
    }
    return c;
}

// A source row blended across: H in doubles, and H rounded to float, which
// is what a target row takes of it when it is the upper row.
struct Blended {
    std::vector<double> h;
    std::vector<float> top;
};

void BlendRow(Blended& out, const uint8_t* row, const Columns& c, int32_t n) {
    double* h = out.h.data();
    float* top = out.top.data();
    const int32_t* off0 = c.taps.off0.data();
    const int32_t* off1 = c.taps.off1.data();
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const int32_t base = c.base[size_t(i / 4)];
        __m256d v;
        if (base < 0) {
            double four[4];
            for (int32_t j = 0; j < 4; ++j) {
                const int32_t a = row[off0[i + j]], b = row[off1[i + j]];
                four[j] = a - (a - b) * c.dx[size_t(i + j)];
            }
            v = _mm256_loadu_pd(four);
        } else {
            const __m128i window = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + base));
            const uint8_t* p = c.picks.data() + 8 * size_t(i);
            const __m128i a = _mm_shuffle_epi8(window, _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
            const __m128i b = _mm_shuffle_epi8(window, _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16)));
            const __m256d product =
                _mm256_mul_pd(_mm256_cvtepi32_pd(_mm_sub_epi32(a, b)), _mm256_loadu_pd(&c.dx[size_t(i)]));
            v = _mm256_sub_pd(_mm256_cvtepi32_pd(a), product);
        }
        _mm256_storeu_pd(h + i, v);
        _mm_storeu_ps(top + i, _mm256_cvtpd_ps(v));
    }
    for (; i < n; ++i) {
        const int32_t a = row[off0[i]], b = row[off1[i]];
        h[i] = a - (a - b) * c.dx[size_t(i)];
        top[i] = static_cast<float>(h[i]);
    }
}

// One target row: double(top) - (double(top) - bottom) * dy, truncated.
void MixRow(uint8_t* d, const float* top, const double* bottom, float dy, int32_t n) {
    const __m256d dyv = _mm256_set1_pd(double(dy));
    auto four = [&](int32_t i) {
        const __m256d t = _mm256_cvtps_pd(_mm_loadu_ps(top + i));
        const __m256d v = _mm256_sub_pd(t, _mm256_mul_pd(_mm256_sub_pd(t, _mm256_loadu_pd(bottom + i)), dyv));
        return _mm256_cvttpd_epi32(v);
    };
    int32_t i = 0;
    for (; i + 16 <= n; i += 16) {
        const __m128i low = _mm_packs_epi32(four(i), four(i + 4));
        const __m128i high = _mm_packs_epi32(four(i + 8), four(i + 12));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), _mm_packus_epi16(low, high));
    }
    for (; i < n; ++i) {
        const double t = top[i];
        const double value = t - (t - bottom[i]) * double(dy);
        d[i] = static_cast<uint8_t>(static_cast<int32_t>(value));
    }
}

}  // namespace

void ScalePackedAvx2(const ScaleTarget& target, const ScaleSource& source) {
    if (ScalePackedStepsAvx2(target, source)) return;
    const int32_t lastRow = int32_t(source.height) - 1, rows = int32_t(target.height);
    const float sy = PackedStep(source.height, target.height);
    const int32_t n = 2 * int32_t(target.width);
    const Columns c = PlanColumns(int32_t(source.width), int32_t(target.width));
    KeptRows<Blended> kept({std::vector<double>(size_t(n)), std::vector<float>(size_t(n))});
    auto blend = [&](Blended& out, int32_t y) { BlendRow(out, source.pixels + intptr_t(y) * source.stride, c, n); };
    for (int32_t y = 0; y < rows; ++y) {
        const PackedRow r = PackedRowAt(y, sy, lastRow);
        // With dy 0 the value is top - (top - bottom) * 0 = top: the row
        // below plays no part, and the row above stands in for it.
        const Blended& top = kept.Get(r.y0, r.y1, blend);
        const Blended& bottom = r.dy == 0.0f ? top : kept.Get(r.y1, r.y0, blend);
        MixRow(target.pixels + intptr_t(y) * target.stride, top.top.data(), bottom.h.data(), r.dy, n);
    }
}

}  // namespace tarn
