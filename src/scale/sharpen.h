// The sharpening path of planar scaling: an unsharp mask normalised by the
// plane's own extremes, over a Gaussian blur; and the row kernels of each
// form: the blur's horizontal pass (bytes to floats), its vertical pass
// (floats to bytes), the extremes of the difference and the mask applied to
// a row.
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

// The taps of one row of the vertical pass: the rows of the horizontal pass
// that lie inside the plane, their taps in order, and the sum of those taps
// in that order; `keepsWholes` when dividing each whole number 0 .. 255 by
// that sum and truncating gives the number back (the fast forms then skip
// the division).
struct BlurColumnTaps {
    const float* const* rows;
    const float* k;
    int32_t count;
    float weight;
    bool keepsWholes;
};

// The taps of the horizontal pass, the same for every row of a plane and so
// worked out once for all of them: the n taps, their sum in order, whether
// dividing by that sum is a step to the next float up (see
// sharpen_passes.h), and for each of the row's `width` pixels the sum, in
// order, of its taps inside the row.
struct BlurRowTaps {
    const float* k;
    int32_t n;
    float whole;
    bool nextUp;
    const float* weights;
    // For rows dealt four ways (see SharpenForms::horizontalDealt), the
    // weights of all the row's registers in dealt order: a pixel whose taps
    // all lie inside the row takes `whole`, one near either end its own
    // weight, and the padding 1. Null where rows are not dealt.
    const float* dealtWeights = nullptr;
};

// Rows dealt four ways go in blocks of this many pixels.
constexpr int32_t kDealtBlock = 64;

// Where pixel x of a row lies once the row is dealt four ways: each block of
// kDealtBlock pixels holds its pixels 0, 4, 8, ... first, then 1, 5, 9, ...,
// then 2, 6, ..., then 3, 7, ...
constexpr int32_t DealtAt(int32_t x) {
    const int32_t in = x % kDealtBlock;
    return x - in + (in % 4) * (kDealtBlock / 4) + in / 4;
}

// The length of a dealt row of `width` pixels: whole blocks, the last one
// padded.
constexpr int32_t DealtSpan(int32_t width) { return (width + kDealtBlock - 1) / kDealtBlock * kDealtBlock; }

// The taps of the horizontal pass over rows of `width`; `weights` receives
// `width` floats.
BlurRowTaps MakeBlurRowTaps(const float* k, int32_t n, int32_t width, float* weights);

// Rows in a band of the vertical pass (see SharpenForms::verticalBand).
constexpr int32_t kSharpenBandRows = 16;

struct SharpenForms {
    // out[x] = the blur of `row` at x over the taps inside the row; `scratch`
    // holds 2 (`width` + n) + 48 floats for the form's own use.
    void (*horizontal)(const uint8_t* row, int32_t width, const BlurRowTaps& taps, float* scratch, float* out);
    // out[x] = the blur at x over the taps' rows.
    void (*vertical)(const BlurColumnTaps& taps, int32_t width, uint8_t* out);
    // Two rows of the vertical pass at once, the second one row further down
    // with the same taps: taps.rows holds count + 1 rows, the first count
    // for `out`, the last count for `next`. Each row read serves both.
    void (*verticalPair)(const BlurColumnTaps& taps, int32_t width, uint8_t* out, uint8_t* next);
    // Widens [*smallest, *largest] to hold every a[x] - b[x] of `rows` rows
    // of `width`, a's rows aStride apart and b's bStride.
    void (*extremes)(const uint8_t* a, intptr_t aStride, const uint8_t* b, intptr_t bStride, int32_t width,
                     int32_t rows, int32_t* largest, int32_t* smallest);
    // The mask over one row of the plane in place, from its blur `b`.
    void (*apply)(uint8_t* row, const uint8_t* b, int32_t width, int32_t high, int32_t low);
    // kSharpenBandRows rows of the vertical pass at once into out, out +
    // width, ..., for nine taps with k[t] == k[8 - t]: taps.rows holds
    // kSharpenBandRows + 8 rows, output row i reading the nine from row i
    // on. Null in forms without the registers to hold a band's sums.
    void (*verticalBand)(const BlurColumnTaps& taps, int32_t width, uint8_t* out);
    // The sharpen's own layout, in forms where it pays (null elsewhere):
    // the horizontal pass for nine taps with k[t] == k[8 - t], its floats in
    // `out` dealt four ways (see DealtAt; DealtSpan(width) of them, taps'
    // dealtWeights set). The vertical passes work lane by lane and take such
    // rows as they are, the blur's rows then being dealt too; the extremes
    // and the mask take such a blur row `b` beside the plane's own row.
    void (*horizontalDealt)(const uint8_t* row, int32_t width, const BlurRowTaps& taps, float* out);
    void (*extremesDealt)(const uint8_t* a, intptr_t aStride, const uint8_t* b, intptr_t bStride, int32_t width,
                          int32_t rows, int32_t* largest, int32_t* smallest);
    void (*applyDealt)(uint8_t* row, const uint8_t* b, int32_t width, int32_t high, int32_t low);
};

// The kernels of the form in use.
SharpenForms PickSharpenForms();

// One pixel of each pass, the plain forms' arithmetic, for the fast forms'
// edges and tails.
float BlurRowAt(const uint8_t* row, int32_t width, int32_t x, const float* k, int32_t n);
uint8_t BlurColumnAt(const BlurColumnTaps& taps, int32_t x);
void ApplySharpenAt(uint8_t* to, int32_t bv, int32_t high, int32_t low);

void BlurHorizontalPlain(const uint8_t* row, int32_t width, const BlurRowTaps& taps, float* scratch, float* out);
void BlurVerticalPlain(const BlurColumnTaps& taps, int32_t width, uint8_t* out);
void BlurVerticalPairPlain(const BlurColumnTaps& taps, int32_t width, uint8_t* out, uint8_t* next);
void SharpenExtremesPlain(const uint8_t* a, intptr_t aStride, const uint8_t* b, intptr_t bStride, int32_t width,
                          int32_t rows, int32_t* largest, int32_t* smallest);
void ApplySharpenPlain(uint8_t* row, const uint8_t* b, int32_t width, int32_t high, int32_t low);

#if defined(TARN_HAVE_X86_SIMD)
extern const SharpenForms kSharpenSse2;
extern const SharpenForms kSharpenAvx2;
extern const SharpenForms kSharpenAvx512;
#endif

}  // namespace tarn
