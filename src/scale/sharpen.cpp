// The sharpening path of planar scaling: a Gaussian blur in single-precision
// floats and an unsharp mask normalised by the plane's own extremes. Float
// roundings are taken where the values are stored as float, and they are
// part of the result.
#include <cmath>
#include <cstring>

#include "scale/planar_scale.h"

namespace tarn {

void MakeGaussianKernel(double sigma, float** kernel, int32_t* size) {
    const int32_t t = static_cast<int32_t>(sigma * 3.0);
    const int32_t n = 2 * t + 1;
    float* k = new float[size_t(n)];
    const float root = static_cast<float>(std::sqrt(6.283185005187988));
    float sum = 0;
    for (int32_t i = 0; i < n; ++i) {
        const float x = static_cast<float>(i - (n >> 1));
        const float arg = static_cast<float>(x * -0.5 * x / (sigma * sigma));
        const float e = static_cast<float>(std::exp(static_cast<double>(arg)));
        k[i] = static_cast<float>(e / (root * sigma));
        sum += k[i];
    }
    for (int32_t i = 0; i < n; ++i) k[i] /= sum;
    *kernel = k;
    *size = n;
}

void GaussianBlurPlane(const uint8_t* in, int32_t width, int32_t height, double sigma, uint8_t* out) {
    float* k = nullptr;
    int32_t n = 0;
    MakeGaussianKernel(sigma, &k, &n);
    const int32_t r = n / 2;
    float* tmp = new float[size_t(width) * size_t(height)];
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* row = in + intptr_t(y) * width;
        for (int32_t x = 0; x < width; ++x) {
            float sum = 0, weight = 0;
            for (int32_t i = 0; i < n; ++i) {
                const int32_t col = x + i - r;
                if (col < 0 || col >= width) continue;
                sum += row[col] * k[i];
                weight += k[i];
            }
            tmp[intptr_t(y) * width + x] = sum / weight;
        }
    }
    for (int32_t x = 0; x < width; ++x) {
        for (int32_t y = 0; y < height; ++y) {
            float sum = 0, weight = 0;
            for (int32_t i = 0; i < n; ++i) {
                const int32_t row = y + i - r;
                if (row < 0 || row >= height) continue;
                sum += tmp[intptr_t(row) * width + x] * k[i];
                weight += k[i];
            }
            const int32_t whole = static_cast<int32_t>(sum) & 255;
            out[intptr_t(y) * width + x] = static_cast<uint8_t>(static_cast<int32_t>(whole / weight));
        }
    }
    delete[] k;
    delete[] tmp;
}

// A difference of `high` or more goes all the way to white and one of `low`
// or less to black; a direction with no difference beyond 30 is left alone.
void SharpenPlane(uint8_t* plane, int32_t width, int32_t height, int32_t stride) {
    const size_t count = size_t(width) * size_t(height);
    uint8_t* a = new uint8_t[count];
    uint8_t* b = new uint8_t[count];
    for (int32_t y = 0; y < height; ++y)
        std::memcpy(a + size_t(y) * width, plane + intptr_t(y) * stride, size_t(width));
    GaussianBlurPlane(a, width, height, 1.5, b);
    int32_t largest = int32_t(a[0]) - b[0], smallest = largest;
    for (size_t i = 1; i < count; ++i) {
        const int32_t d = int32_t(a[i]) - b[i];
        if (d > largest) largest = d;
        if (d < smallest) smallest = d;
    }
    const int32_t high = largest - 30, low = smallest + 30;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const size_t i = size_t(y) * width + x;
            const int32_t av = a[i], d = av - b[i];
            int32_t v;
            if (d > 0 && high > 0) v = av + (255 - av) * d / high;
            else if (d < 0 && low < 0) v = av - av * d / low;
            else continue;
            plane[intptr_t(y) * stride + x] = static_cast<uint8_t>(v >= 255 ? 255 : v <= 0 ? 0 : v);
        }
    }
    delete[] a;
    delete[] b;
}

}  // namespace tarn
