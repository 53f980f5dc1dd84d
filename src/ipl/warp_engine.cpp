// The warp engine's steps from the quadrangle to the kernel: the source
// region, the inverse mapping, the sample walks, the spans and the choice of
// kernel.
#include "ipl/warp_engine.h"

#include <algorithm>
#include <cmath>

#include "ipl/ipl_error.h"
#include "ipl/ownrect.h"

namespace tarn {

namespace {

constexpr const char* kFile = "iplwarp";

// Width and height of the source's region as the engine sees it: the roi's,
// shortened by a negative offset and cut at the image's end when clipping.
// False: give up without a report.
bool SourceRegion(const ImageHeader* source, bool clip, int64_t* width, int64_t* height) {
    const ImageRoi* roi = source->roi;
    if (!roi) {
        *width = source->width, *height = source->height;
        return true;
    }
    if (roi->width < 1 || roi->height < 1) return false;
    int64_t w = roi->width, h = roi->height;
    if (clip) {
        if (roi->xOffset >= source->width || roi->yOffset >= source->height) return false;
        if (roi->xOffset < 0) w += roi->xOffset;
        if (roi->yOffset < 0) h += roi->yOffset;
        const int64_t x = std::max(roi->xOffset, 0), y = std::max(roi->yOffset, 0);
        w = std::min<int64_t>(w, source->width - x);
        h = std::min<int64_t>(h, source->height - y);
    }
    *width = w, *height = h;
    return true;
}

}  // namespace

InverseAffine InverseFromQuad(const double q[8], const InclusiveRect& r) {
    const double dx = double(r.right) - r.left, dy = double(r.bottom) - r.top;
    const double det = (q[5] - q[3]) * (q[2] - q[0]) - (q[3] - q[1]) * (q[4] - q[2]);
    InverseAffine m;
    m.a = (q[5] - q[3]) * dx / det;
    m.b = -(q[4] - q[2]) * dx / det;
    m.c = r.left - m.a * q[0] - m.b * q[1];
    m.d = -(q[3] - q[1]) * dy / det;
    m.e = (q[2] - q[0]) * dy / det;
    m.f = r.top - m.d * q[0] - m.e * q[1];
    m.orientation = 1.0 / det > 0;
    return m;
}

bool MakeSampleWalk(const ImageHeader* image, SampleWalk* walk) {
    const ImageRoi* roi = image->roi;
    const int32_t coi = roi ? roi->coi : 0;
    if (image->alphaChannel != 0 && image->channels == 1 && !roi) return false;
    SampleWalk w;
    w.imageChannels = image->channels;
    w.channels = coi ? 1 : image->channels - (image->alphaChannel ? 1 : 0);
    w.coiIndex = coi ? coi - 1 : 0;
    w.sampleBytes = int32_t((image->depth & ~IPL_DEPTH_SIGN) / 8);
    w.rowBytes = image->widthStep;
    w.planeBytes = intptr_t(image->height) * image->widthStep;
    w.width = image->width, w.height = image->height;
    const intptr_t channelOffset =
        image->dataOrder == IPL_DATA_ORDER_PLANE ? w.planeBytes : intptr_t(w.sampleBytes);
    w.first = image->imageData ? image->imageData + w.coiIndex * channelOffset : nullptr;
    w.bitOffset = 0;
    *walk = w;
    return true;
}

void WarpEngine(const ImageHeader* source, ImageHeader* target, const double quad[8], int interpolate,
                const char* functionName, int kind, bool clip) {
    const bool smooth = (interpolate & IPL_SMOOTH_EDGE) != 0;
    const int interpolation = interpolate & ~IPL_SMOOTH_EDGE;

    int64_t regionWidth = 0, regionHeight = 0;
    if (!SourceRegion(source, clip, &regionWidth, &regionHeight)) return;
    if (!(regionWidth > 1 && regionHeight > 1)) {
        iplError(IPL_STS_BADARG, functionName, "srcImage Rectangle ROI is degenerate to length or point", kFile,
                 593);
        return;
    }
    InclusiveRect sourceRect, targetRect;
    if (!ImageRect(source, clip, &sourceRect) || !ImageRect(target, clip, &targetRect)) return;
    const InverseAffine inverse = InverseFromQuad(quad, sourceRect);
    // A quadrangle with no area has no inverse; nothing of the target lies in it.
    if (!std::isfinite(inverse.a + inverse.b + inverse.c + inverse.d + inverse.e + inverse.f)) return;

    if (kind != 0) {
        iplError(IPL_STS_NOTSUPPORTED, functionName, "Only the affine transform is supported", kFile, 0);
        return;
    }
    if (source->tileInfo || target->tileInfo) {
        WarpTiled(source, target, quad, interpolate, functionName, kind, sourceRect, targetRect, inverse);
        if (smooth && clip && iplGetErrStatus() >= 0)
            SmoothWarpEdges(target, quad, targetRect, inverse.orientation, functionName);
        return;
    }

    SampleWalk srcWalk, dstWalk;
    if (!MakeSampleWalk(source, &srcWalk) || !MakeSampleWalk(target, &dstWalk)) return;
    if (srcWalk.channels != dstWalk.channels) {
        iplError(IPL_STS_BADARG, functionName,
                 "Number of processed channels of srcImage != Number of processed channels of dstImage", kFile,
                 758);
        return;
    }
    ScanPlan plan;
    if (!plan.Build(quad, targetRect, inverse.orientation)) {
        if (iplGetErrStatus() < 0) iplError(IPL_STS_BACKTRACE, functionName, "", kFile, 762);
        return;
    }
    const bool planeMode =
        source->dataOrder != IPL_DATA_ORDER_PIXEL && !(source->channels == 1 && target->channels == 1);
    const WarpKernel kernel =
        WarpKernelFor(source->depth, planeMode, InterpolationFor(interpolation, source->width, source->height));
    if (!kernel) {
        iplError(IPL_STS_NOTSUPPORTED, functionName, "This interpolation is not supported for this image",
                 kFile, 0);
        return;
    }
    WarpKernelArgs args;
    args.srcBase = srcWalk.first;
    args.dstRow = dstWalk.first + intptr_t(plan.firstRow) * dstWalk.rowBytes;
    args.src = srcWalk;
    args.dst = dstWalk;
    args.planeMode = planeMode;
    args.firstRow = plan.firstRow;
    args.lastRow = plan.lastRow;
    args.spanLeft = plan.spanLeft;
    args.spanRight = plan.spanRight;
    args.inverse = inverse;
    kernel(args);

    if (smooth && clip && iplGetErrStatus() >= 0)
        SmoothWarpEdges(target, quad, targetRect, inverse.orientation, functionName);
}

}  // namespace tarn
