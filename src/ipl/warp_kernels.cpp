// The table of warp kernels by depth, layout and interpolation. Entries left
// null are kernels not built yet: a request for one is reported as
// unsupported, never run by another kernel.
#include "ipl/warp_kernels.h"

namespace tarn {

namespace {

constexpr int kDepthRows = 3, kLayouts = 2, kInterpolations = 3;

constexpr WarpKernel kKernels[kDepthRows * kLayouts * kInterpolations] = {
    // depth 8: pixel order nearest, linear, cubic; plane order nearest, linear, cubic
    WarpNearest8, nullptr, nullptr, nullptr, nullptr, nullptr,
    // depth 16
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    // depth 32
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
};

constexpr WarpKernel kBitKernel = nullptr;

}  // namespace

WarpKernel WarpKernelFor(uint32_t depth, bool planeMode, int interpolation) {
    if (depth == 1) return kBitKernel;
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

}  // namespace tarn
