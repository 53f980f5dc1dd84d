// Plane-by-plane and packed YUV scaling, the sharpening path and the area
// shrink's accumulation pass.
#pragma once

#include <cstdint>
#include <vector>

#include "scale/drivers.h"

namespace tarn {

// The planar-only modes; chroma planes in the other order on both sides.
// Returns 1 when done, 0 for a mode it does not know.
int ScalePlanarSpecial(const uint8_t* srcY, const uint8_t* srcV, const uint8_t* srcU, int32_t srcWidth,
                       int32_t srcHeight, int32_t srcStride, uint8_t* dstY, uint8_t* dstV, uint8_t* dstU,
                       int32_t dstWidth, int32_t dstHeight, int32_t dstStride, uint32_t mode);

// Unsharp mask normalised by the plane's own extremes, in place.
void SharpenPlane(uint8_t* plane, int32_t width, int32_t height, int32_t stride);

// Gaussian blur of a tightly packed plane; taps outside the plane are dropped
// and the rest renormalised.
void GaussianBlurPlane(const uint8_t* in, int32_t width, int32_t height, double sigma, uint8_t* out);

// 2 * trunc(sigma * 3) + 1 normalised taps; the caller frees them with delete[].
void MakeGaussianKernel(double sigma, float** kernel, int32_t* size);

// The pair at (x, y), both clamped into the image.
void FetchPackedSample(const uint8_t* base, int32_t x, int32_t y, int32_t width, int32_t height,
                       int32_t stride, uint8_t* first, uint8_t* second);

struct AreaCoefficient {
    uint32_t sourceOffset;
    uint32_t targetIndex;
    float weight;
};

bool AreaAccumulate(const uint8_t* src, int32_t srcStride, uint32_t srcWidth, uint32_t srcHeight,
                    uint8_t*& dst, int32_t dstStride, uint32_t dstWidth, uint32_t dstHeight, uint32_t c,
                    const AreaCoefficient* list, uint32_t count, float* current, float* carry);

// One source row of a single-channel area shrink: for each target column x,
// current[x] += row[index[r][x]] * weight[r][x] for r in order, rounding to
// float at each step. `scratch` holds srcWidth + 16 floats for a fast form.
void AreaGrayRow(const uint8_t* row, uint32_t srcWidth, const int32_t* index, const float* weight,
                 uint32_t perColumn, uint32_t width, float* scratch, float* current);
// The sweep of one source row and its row end in one pass, over a dense
// table whose columns are the target row's bytes and whose samples are the
// source row's bytes (a pixel of c bytes is c columns): `rowEnd` 0 carries
// the sums, 1 emits the target row, 2 splits it by f. Gives what AreaGrayRow
// followed by the row-end function gives, without touching `current`
// (which is 0 between rows).
using AreaGrayRowEndFn = void (*)(const uint8_t* row, uint32_t srcWidth, const int32_t* index,
                                  const float* weight, uint32_t perColumn, uint32_t width, float* scratch,
                                  int rowEnd, float f, float* carry, uint8_t* out);

// Blocks of 8 target columns of a sweep, planned once per image from the
// dense table. Each half of a block (columns 0-3 and 4-7) reads its samples
// from its own window of the row: 16 bytes (one byte shuffle per record puts
// each column's sample, zero-extended, in its 32-bit lane) or 32 bytes (two
// shuffles, one per 16-byte part, joined). A block whose samples spread
// wider, or a row narrower than the window, gathers from the row widened to
// floats. Windows end inside the row, so no sample read needs a test.
struct AreaSweepPlan {
    enum Kind : uint8_t { Gather, Narrow, Wide };
    std::vector<uint8_t> kind;     // [block]
    std::vector<int32_t> base;     // [block][half]: first byte of the window
    std::vector<uint32_t> maskAt;  // [block]: offset of the block's shuffles in `masks`
    std::vector<uint8_t> masks;    // Narrow: [record][32]; Wide: [record][part][32]
    bool gathers = false;          // some block gathers
};
AreaSweepPlan BuildAreaSweepPlan(const int32_t* index, uint32_t perColumn, uint32_t width, uint32_t srcWidth);

// AreaGrayRowEndFn with the plan (null: every block gathers).
using AreaGrayPlannedRowEndFn = void (*)(const uint8_t* row, uint32_t srcWidth, const int32_t* index,
                                         const float* weight, uint32_t perColumn, uint32_t width, float* scratch,
                                         int rowEnd, float f, float* carry, uint8_t* out,
                                         const AreaSweepPlan* plan);

// The end of a source row: a target row goes out whole (trunc(current +
// carry + 0.5)), goes out split by f (the part f carries on), or the row's
// sums are carried into the target row under way.
void AreaEmitRow(uint8_t* out, float* current, float* carry, uint32_t total);
void AreaEmitSplitRow(uint8_t* out, float* current, float* carry, uint32_t total, float f);
void AreaCarryRow(float* current, float* carry, uint32_t total);

// Area shrink by whole factors whose product is 2^shift, where the float
// sweep is exact; gives the sweep's bytes. Sizes as AreaAccumulate takes them.
using AreaBoxExactFn = void (*)(const uint8_t* src, int32_t srcStride, uint32_t srcWidth, uint32_t srcHeight,
                                uint8_t* dst, int32_t dstStride, uint32_t dstWidth, uint32_t dstHeight, uint32_t c,
                                uint32_t shift);
// The shift when the area shrink is such a box (0: it is not).
uint32_t AreaExactShift(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight);

#if defined(TARN_HAVE_X86_SIMD)
void AreaBoxExactAvx2(const uint8_t* src, int32_t srcStride, uint32_t srcWidth, uint32_t srcHeight, uint8_t* dst,
                      int32_t dstStride, uint32_t dstWidth, uint32_t dstHeight, uint32_t c, uint32_t shift);
void AreaEmitRowAvx2(uint8_t* out, float* current, float* carry, uint32_t total);
void AreaEmitSplitRowAvx2(uint8_t* out, float* current, float* carry, uint32_t total, float f);
void AreaCarryRowAvx2(float* current, float* carry, uint32_t total);
void AreaGrayRowEndAvx2(const uint8_t* row, uint32_t srcWidth, const int32_t* index, const float* weight,
                        uint32_t perColumn, uint32_t width, float* scratch, int rowEnd, float f, float* carry,
                        uint8_t* out);
void AreaGrayRowEndPlannedAvx2(const uint8_t* row, uint32_t srcWidth, const int32_t* index, const float* weight,
                               uint32_t perColumn, uint32_t width, float* scratch, int rowEnd, float f, float* carry,
                               uint8_t* out, const AreaSweepPlan* plan);
#endif

}  // namespace tarn
