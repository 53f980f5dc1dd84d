// The sharpening path of planar scaling: an unsharp mask normalised by the
// plane's own extremes, over a Gaussian blur; and the passes of each form:
// the blur's horizontal pass (bytes to floats) and vertical pass (floats to
// bytes), and the mask applied to the plane.
#pragma once

#include <cstdint>

namespace tarn {

// Sharpens a plane in place.
void SharpenPlane(uint8_t* plane, int32_t width, int32_t height, int32_t stride);

// Gaussian blur of a tightly packed plane; taps outside the plane are dropped
// and the rest renormalised.
void GaussianBlurPlane(const uint8_t* in, int32_t width, int32_t height, double sigma, uint8_t* out);

// 2 * trunc(sigma * 3) + 1 normalised taps; the caller frees them with delete[].
void MakeGaussianKernel(double sigma, float** kernel, int32_t* size);

struct SharpenForms {
    // tmp[y][x] = the blur of row y at x over the taps inside the row.
    void (*horizontal)(const uint8_t* in, int32_t width, int32_t height, const float* k, int32_t n, float* tmp);
    // out[y][x] = the blur of column x at y over the taps inside the column.
    void (*vertical)(const float* tmp, int32_t width, int32_t height, const float* k, int32_t n, uint8_t* out);
    // The mask over `plane` from the copy `a` and its blur `b`.
    void (*apply)(uint8_t* plane, int32_t width, int32_t height, int32_t stride, const uint8_t* a, const uint8_t* b,
                  int32_t high, int32_t low);
};

void BlurHorizontalPlain(const uint8_t* in, int32_t width, int32_t height, const float* k, int32_t n, float* tmp);
void BlurVerticalPlain(const float* tmp, int32_t width, int32_t height, const float* k, int32_t n, uint8_t* out);
void ApplySharpenPlain(uint8_t* plane, int32_t width, int32_t height, int32_t stride, const uint8_t* a, const uint8_t* b,
                  int32_t high, int32_t low);
// One pixel of each, for the fast forms' edges.
float BlurRowAt(const uint8_t* row, int32_t width, int32_t x, const float* k, int32_t n);
uint8_t BlurColumnAt(const float* tmp, int32_t width, int32_t height, int32_t x, int32_t y, const float* k,
                     int32_t n);
void ApplySharpenAt(uint8_t* to, int32_t av, int32_t bv, int32_t high, int32_t low);

#if defined(TARN_HAVE_X86_SIMD)
void BlurHorizontalAvx2(const uint8_t* in, int32_t width, int32_t height, const float* k, int32_t n, float* tmp);
void BlurVerticalAvx2(const float* tmp, int32_t width, int32_t height, const float* k, int32_t n, uint8_t* out);
void ApplySharpenAvx2(uint8_t* plane, int32_t width, int32_t height, int32_t stride, const uint8_t* a,
                      const uint8_t* b, int32_t high, int32_t low);
#endif

}  // namespace tarn
