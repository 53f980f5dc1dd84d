// The per-pixel kernels of the warp engine and how the engine picks one.
//
// A kernel walks the spans of a ScanPlan: for each target row from firstRow
// to lastRow the columns spanLeft to spanRight, inclusive, mapping each
// target pixel back into the source by the inverse affine mapping. Kernels
// test no source coordinate against the source's rectangle: the spans and
// the mapping keep them inside it. They do keep every read inside the source
// image (see the nearest kernel for how), so that no input ends in a crash.
#pragma once

#include <cstdint>

namespace tarn {

// Target pixel (x, y) maps to the source point (a x + b y + c, d x + e y + f).
// orientation: 1 when the quadrangle runs clockwise in image coordinates
// (positive determinant), 0 when mirrored.
struct InverseAffine {
    double a, b, c, d, e, f;
    bool orientation;
};

// How one image's samples are walked.
struct SampleWalk {
    uint8_t* first = nullptr;  // first sample to process: pixel (0, 0) at the channel of interest
    intptr_t rowBytes = 0;
    intptr_t planeBytes = 0;   // height x rowBytes
    int32_t channels = 0;      // channels to process
    int32_t imageChannels = 0; // channels of the image
    int32_t coiIndex = 0;      // channel of interest minus one, or 0
    int32_t bitOffset = 0;     // 1-bit images: bit of the first sample
    int32_t sampleBytes = 0;   // 0 for 1-bit samples
    int32_t width = 0, height = 0;
};

struct WarpKernelArgs {
    const uint8_t* srcBase;  // source pixel (0, 0) at the walk's channel; the roi plays no part
    uint8_t* dstRow;         // target column 0 of firstRow at the walk's channel
    SampleWalk src, dst;
    bool planeMode;          // channels walked plane by plane
    int32_t firstRow, lastRow;
    const int32_t* spanLeft;   // indexed by row - firstRow
    const int32_t* spanRight;
    InverseAffine inverse;
};

using WarpKernel = void (*)(const WarpKernelArgs& args);

inline constexpr int IPL_INTER_NN = 0, IPL_INTER_LINEAR = 1, IPL_INTER_CUBIC = 2;
inline constexpr int IPL_SMOOTH_EDGE = 16;

// The kernel for a depth (8, 16, 32; the 1-bit kernel for depth 1), a data
// layout and an interpolation, or null for any other depth. Table index: 0
// for depth 8, 6 for 16, 12 for 32, plus 3 in plane mode, plus the
// interpolation. The plane-mode kernels run the pixel-order ones on each
// plane as a one-channel image.
WarpKernel WarpKernelFor(uint32_t depth, bool planeMode, int interpolation);

// The interpolation the source can take: cubic needs 4 x 4 pixels and
// linear 2 x 2; a smaller source takes the next smaller window. The affine
// entries already fall back so for the images they are given, so this only
// acts on the engine's inner calls and on callers of the engine itself.
int InterpolationFor(int interpolation, int32_t sourceWidth, int32_t sourceHeight);

// Pixel order, 8-bit samples, 16.16 fixed point.
void WarpNearest8(const WarpKernelArgs& args);
void WarpLinear8(const WarpKernelArgs& args);
void WarpCubic8(const WarpKernelArgs& args);
// Pixel order, 16-bit and float samples.
void WarpNearest16(const WarpKernelArgs& args);
void WarpLinear16(const WarpKernelArgs& args);
void WarpCubic16(const WarpKernelArgs& args);
void WarpNearest32(const WarpKernelArgs& args);
void WarpLinear32(const WarpKernelArgs& args);
void WarpCubic32(const WarpKernelArgs& args);
// 1-bit images, nearest neighbour.
void WarpNearestBits(const WarpKernelArgs& args);

}  // namespace tarn
