// The table of warp kernels by depth, layout and interpolation.
#include "ipl/warp_kernels.h"

#include <initializer_list>

namespace tarn {

namespace {

constexpr int kDepthRows = 3, kLayouts = 2, kInterpolations = 3;

// Plane order: each processed channel is a plane of its own, walked as a
// one-channel image by the pixel-order kernel.
template <WarpKernel Kernel>
void EachPlane(const WarpKernelArgs& k) {
    for (int32_t c = 0; c < k.src.channels; ++c) {
        WarpKernelArgs plane = k;
        plane.srcBase = k.srcBase + c * k.src.planeBytes;
        plane.dstRow = k.dstRow + c * k.dst.planeBytes;
        for (SampleWalk* w : {&plane.src, &plane.dst}) {
            w->first += c * w->planeBytes;
            w->channels = w->imageChannels = 1;
            w->coiIndex = 0;
        }
        plane.planeMode = false;
        Kernel(plane);
    }
}

constexpr WarpKernel kKernels[kDepthRows * kLayouts * kInterpolations] = {
    WarpNearest8,  WarpLinear8,  WarpCubic8,  EachPlane<WarpNearest8>,  EachPlane<WarpLinear8>,  EachPlane<WarpCubic8>,
    WarpNearest16, WarpLinear16, WarpCubic16, EachPlane<WarpNearest16>, EachPlane<WarpLinear16>, EachPlane<WarpCubic16>,
    WarpNearest32, WarpLinear32, WarpCubic32, EachPlane<WarpNearest32>, EachPlane<WarpLinear32>, EachPlane<WarpCubic32>,
};

}  // namespace

WarpKernel WarpKernelFor(uint32_t depth, bool planeMode, int interpolation) {
    if (depth == 1) return WarpNearestBits;
    int row;
    switch (depth) {
        case 8: row = 0; break;
        case 16: row = 1; break;
        case 32: row = 2; break;
        default: return nullptr;
    }
    if (interpolation < 0 || interpolation >= kInterpolations) return nullptr;
    return kKernels[(row * kLayouts + (planeMode ? 1 : 0)) * kInterpolations + interpolation];
}

int InterpolationFor(int interpolation, int32_t sourceWidth, int32_t sourceHeight) {
    if (interpolation == IPL_INTER_CUBIC && (sourceWidth < 4 || sourceHeight < 4)) interpolation = IPL_INTER_LINEAR;
    if (interpolation == IPL_INTER_LINEAR && (sourceWidth < 2 || sourceHeight < 2)) interpolation = IPL_INTER_NN;
    return interpolation;
}

}  // namespace tarn
