// The 4:2:2 scaler, AVX2 form. The plain form's value of a target byte is
// double(top) - (double(top) - bottom) * dy with top = float(H(iy)) and
// bottom = H(iy + 1), where H(row) = a - (a - b) * dx is the same double
// expression of the row's two samples. So each source row's H is worked
// once, four bytes at a time in doubles with the same operations in the same
// order, kept while target rows use it, and each target row is then one
// vertical blend of two kept rows.
#include <immintrin.h>

#include <algorithm>
#include <vector>

#include "scale/packed_scale_rows.h"

namespace tarn {
namespace {

struct Columns {
    std::vector<int32_t> off0, off1;
    std::vector<double> dx;
    int32_t gathered = 0;  // bytes whose samples a 4-byte gather may read
};

Columns PlanColumns(int32_t srcWidth, int32_t dstWidth) {
    const float sx = static_cast<float>(double(srcWidth) / double(dstWidth));
    const int32_t n = 2 * dstWidth;
    Columns c;
    c.off0.resize(size_t(n) + 4);
    c.off1.resize(size_t(n) + 4);
    c.dx.resize(size_t(n) + 4);
    c.gathered = n;
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
            // A gather reads 4 bytes from each offset: they must lie in the row.
            if (std::max(c.off0[i], c.off1[i]) + 4 > 2 * srcWidth) c.gathered = std::min(c.gathered, i & ~3);
        }
    }
    return c;
}

void BlendRow(double* h, const uint8_t* row, const Columns& c, int32_t n) {
    const __m128i low = _mm_set1_epi32(0xFF);
    int32_t i = 0;
    for (; i + 4 <= c.gathered; i += 4) {
        const __m128i a = _mm_and_si128(
            _mm_i32gather_epi32(reinterpret_cast<const int*>(row), _mm_loadu_si128(reinterpret_cast<const __m128i*>(&c.off0[i])), 1), low);
        const __m128i b = _mm_and_si128(
            _mm_i32gather_epi32(reinterpret_cast<const int*>(row), _mm_loadu_si128(reinterpret_cast<const __m128i*>(&c.off1[i])), 1), low);
        const __m256d product = _mm256_mul_pd(_mm256_cvtepi32_pd(_mm_sub_epi32(a, b)), _mm256_loadu_pd(&c.dx[i]));
        _mm256_storeu_pd(h + i, _mm256_sub_pd(_mm256_cvtepi32_pd(a), product));
    }
    for (; i < n; ++i) {
        const int32_t a = row[c.off0[i]], b = row[c.off1[i]];
        h[i] = a - (a - b) * c.dx[i];
    }
}

}  // namespace

void ScalePackedAvx2(const uint8_t* src, int32_t srcWidth, int32_t srcHeight, int32_t srcStride, uint8_t* dst,
                     int32_t dstWidth, int32_t dstHeight, int32_t dstStride) {
    const float sy = static_cast<float>(double(srcHeight) / double(dstHeight));
    const int32_t n = 2 * dstWidth;
    const Columns c = PlanColumns(srcWidth, dstWidth);
    std::vector<double> kept[2] = {std::vector<double>(size_t(n) + 4), std::vector<double>(size_t(n) + 4)};
    int32_t tag[2] = {-1, -1};
    auto blended = [&](int32_t y, int32_t keep) {
        for (int i = 0; i < 2; ++i)
            if (tag[i] == y) return kept[i].data();
        const int slot = tag[0] == keep ? 1 : 0;
        BlendRow(kept[slot].data(), src + intptr_t(y) * srcStride, c, n);
        tag[slot] = y;
        return kept[slot].data();
    };
    for (int32_t y = 0; y < dstHeight; ++y) {
        const float fy = static_cast<float>(double(y) * sy);
        const int32_t iy = static_cast<int32_t>(fy);
        const float dy = fy - static_cast<float>(iy);
        const int32_t y0 = std::clamp(iy, 0, srcHeight - 1), y1 = std::clamp(iy + 1, 0, srcHeight - 1);
        const double* top = blended(y0, y1);
        const double* bottom = blended(y1, y0);
        uint8_t* d = dst + intptr_t(y) * dstStride;
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
