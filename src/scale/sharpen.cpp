// The sharpening path of planar scaling: a Gaussian blur in single-precision
// floats and an unsharp mask normalised by the plane's own extremes. Float
// roundings are taken where the values are stored as float, and they are
// part of the result.
#include <cmath>
#include <cstring>

#include "scale/sharpen.h"

#include "platform/form_table.h"

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

float BlurRowAt(const uint8_t* row, int32_t width, int32_t x, const float* k, int32_t n) {
    const int32_t r = n / 2;
    float sum = 0, weight = 0;
    for (int32_t i = 0; i < n; ++i) {
        const int32_t col = x + i - r;
        if (col < 0 || col >= width) continue;
        sum += row[col] * k[i];
        weight += k[i];
    }
    return sum / weight;
}

uint8_t BlurColumnAt(const float* tmp, int32_t width, int32_t height, int32_t x, int32_t y, const float* k,
                     int32_t n) {
    const int32_t r = n / 2;
    float sum = 0, weight = 0;
    for (int32_t i = 0; i < n; ++i) {
        const int32_t row = y + i - r;
        if (row < 0 || row >= height) continue;
        sum += tmp[intptr_t(row) * width + x] * k[i];
        weight += k[i];
    }
    const int32_t whole = static_cast<int32_t>(sum) & 255;
    return static_cast<uint8_t>(static_cast<int32_t>(whole / weight));
}

void BlurHorizontalPlain(const uint8_t* in, int32_t width, int32_t height, const float* k, int32_t n, float* tmp) {
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x)
            tmp[intptr_t(y) * width + x] = BlurRowAt(in + intptr_t(y) * width, width, x, k, n);
}

void BlurVerticalPlain(const float* tmp, int32_t width, int32_t height, const float* k, int32_t n, uint8_t* out) {
    for (int32_t x = 0; x < width; ++x)
        for (int32_t y = 0; y < height; ++y) out[intptr_t(y) * width + x] = BlurColumnAt(tmp, width, height, x, y, k, n);
}

// A difference of `high` or more goes all the way to white and one of `low`
// or less to black; a direction with no difference beyond 30 is left alone.
void ApplySharpenAt(uint8_t* to, int32_t av, int32_t bv, int32_t high, int32_t low) {
    const int32_t d = av - bv;
    int32_t v;
    if (d > 0 && high > 0) v = av + (255 - av) * d / high;
    else if (d < 0 && low < 0) v = av - av * d / low;
    else return;
    *to = static_cast<uint8_t>(v >= 255 ? 255 : v <= 0 ? 0 : v);
}

void ApplySharpenPlain(uint8_t* plane, int32_t width, int32_t height, int32_t stride, const uint8_t* a, const uint8_t* b,
                  int32_t high, int32_t low) {
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) {
            const size_t i = size_t(y) * width + x;
            ApplySharpenAt(plane + intptr_t(y) * stride + x, a[i], b[i], high, low);
        }
}

namespace {

SharpenForms PickSharpenForms() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<SharpenForms> t[] = {
        {SimdForm::Avx2, {BlurHorizontalAvx2, BlurVerticalAvx2, ApplySharpenAvx2}},
        {SimdForm::Plain, {BlurHorizontalPlain, BlurVerticalPlain, ApplySharpenPlain}}};
    return PickForm(t);
#else
    return {BlurHorizontalPlain, BlurVerticalPlain, ApplySharpenPlain};
#endif
}

}  // namespace

void GaussianBlurPlane(const uint8_t* in, int32_t width, int32_t height, double sigma, uint8_t* out) {
    float* k = nullptr;
    int32_t n = 0;
    MakeGaussianKernel(sigma, &k, &n);
    float* tmp = new float[size_t(width) * size_t(height)];
    const SharpenForms forms = PickSharpenForms();
    forms.horizontal(in, width, height, k, n, tmp);
    forms.vertical(tmp, width, height, k, n, out);
    delete[] k;
    delete[] tmp;
}

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
    PickSharpenForms().apply(plane, width, height, stride, a, b, largest - 30, smallest + 30);
    delete[] a;
    delete[] b;
}

}  // namespace tarn
