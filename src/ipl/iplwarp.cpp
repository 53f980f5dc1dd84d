// iplWarpAffine, iplGetAffineQuad, iplRotate and GetRotateShift.
//
// A report does not return with the default handler, but the code after it
// is written as if it could: a group of tests runs on, and the status word
// is tested at the end of the group, so that a host that keeps the process
// alive gets every check.
#include "ipl/iplwarp.h"

#include <cmath>

#include "ipl/ipl_error.h"
#include "ipl/ipl_round.h"
#include "ipl/warp_engine.h"

namespace tarn {

namespace {

constexpr const char* kFile = "iplwarp";
constexpr double kTurnsPerDegree = 0.002777777777777778;
constexpr double kRadiansPerDegree = 0.017453292519943295;
constexpr double kDeterminantFloor = 1e-07;

void Report(const char* functionName, const char* message, int line) {
    iplError(IPL_STS_BADARG, functionName, message, kFile, line);
}

}  // namespace

bool PairTestsPass(const ImageHeader* source, const ImageHeader* target, const char* functionName,
                   const PairTestLines& lines) {
    if (const int32_t s = iplCheckImageHeader(source); s != 0) {
        iplError(s, functionName, "Incorrect Image", kFile, lines.source);
        return false;
    }
    if (const int32_t s = iplCheckImageHeader(target); s != 0) {
        iplError(s, functionName, "Incorrect Image", kFile, lines.target);
        return false;
    }
    if (source->depth != target->depth) Report(functionName, "srcImage->depth != dstImage->depth", lines.depth);
    if (source->origin != target->origin)
        Report(functionName, "srcImage->origin != dstImage->origin", lines.origin);
    if (source->depth != IPL_DEPTH_1U && !(source->channels == 1 && target->channels == 1) &&
        source->dataOrder != target->dataOrder)
        Report(functionName, "srcImage->dataOrder != dstImage->dataOrder", lines.order);
    if (source->depth & IPL_DEPTH_SIGN) Report(functionName, "srcImage->depth & IPL_DEPTH_SIGN", lines.sign);
    if (source == target) Report(functionName, "This function is not in-place function", lines.inPlace);
    return iplGetErrStatus() >= 0;
}

void iplGetAffineQuad(const ImageHeader* image, const double c[6], double quad[8]) {
    if (const int32_t s = iplCheckImageHeader(image); s != 0) {
        iplError(s, "iplGetAffineQuad", "Incorrect Image", kFile, 1441);
        return;
    }
    InclusiveRect r;
    if (!ImageRect(image, true, &r)) {
        Report("iplGetAffineQuad", "Bad rect ROI", 1444);
        return;
    }
    const double xs[4] = {double(r.left), double(r.right), double(r.right), double(r.left)};
    const double ys[4] = {double(r.top), double(r.top), double(r.bottom), double(r.bottom)};
    for (int i = 0; i < 4; ++i) {
        quad[2 * i] = c[1] * ys[i] + c[2] + c[0] * xs[i];
        quad[2 * i + 1] = c[4] * ys[i] + c[5] + c[3] * xs[i];
    }
}

void iplWarpAffine(const ImageHeader* source, ImageHeader* target, const double c[6], int interpolate) {
    constexpr const char* kName = "iplWarpAffine";
    if (!PairTestsPass(source, target, kName, {887, 888, 889, 889, 889, 890, 892})) return;
    if (!(std::fabs(c[4] * c[0] - c[3] * c[1]) > kDeterminantFloor)) {
        Report(kName, "Determinant of transform matrix == 0.0", 899);
        return;
    }
    double quad[8];
    iplGetAffineQuad(source, c, quad);
    if (iplGetErrStatus() < 0) {
        iplError(IPL_STS_BACKTRACE, kName, "", kFile, 982);
        return;
    }
    const int smooth = interpolate & IPL_SMOOTH_EDGE;
    int mode = interpolate & ~IPL_SMOOTH_EDGE;
    if (mode != IPL_INTER_NN && mode != IPL_INTER_LINEAR && mode != IPL_INTER_CUBIC) {
        Report(kName,
               "interpolate != IPL_INTER_NN && interpolate != IPL_INTER_LINEAR && interpolate != IPL_INTER_CUBIC",
               983);
        return;
    }
    // Images too small for the asked window fall back to a smaller one.
    if (source->depth == IPL_DEPTH_1U || source->width == 1 || source->height == 1)
        mode = IPL_INTER_NN;
    else if (mode == IPL_INTER_CUBIC && (source->width < 4 || source->height < 4))
        mode = IPL_INTER_LINEAR;
    WarpEngine(source, target, quad, mode | smooth, kName, 0, true);
}

double ReduceAngle(double angle) {
    // n as the processor converts: to the nearest, ties to even.
    const double n = RoundToInt32(angle * kTurnsPerDegree);
    double a = angle - n * 360;
    if (a < 0) a += 360;
    return a;
}

void iplRotate(const ImageHeader* source, ImageHeader* target, double angle, double xShift, double yShift,
               int interpolate) {
    const double a = ReduceAngle(angle);
    const bool quarter = a == 90 || a == 180 || a == 270;
    const bool whole = std::isfinite(xShift) && std::isfinite(yShift) && std::floor(xShift) == xShift &&
                       std::floor(yShift) == yShift;
    const bool tiled = (source && source->tileInfo) || (target && target->tileInfo);
    if (quarter && whole && !tiled) {
        RotateQuarter(source, target, int(a), xShift, yShift);  // interpolate plays no part there
        return;
    }
    double c[6] = {0, 0, xShift, 0, 0, yShift};
    if (a == 90) {
        c[0] = 0, c[1] = 1, c[3] = -1, c[4] = 0;
    } else if (a == 180) {
        c[0] = -1, c[1] = 0, c[3] = 0, c[4] = -1;
    } else if (a == 270) {
        c[0] = 0, c[1] = -1, c[3] = 1, c[4] = 0;
    } else {
        const double r = a * kRadiansPerDegree;
        c[0] = std::cos(r), c[1] = std::sin(r), c[3] = -std::sin(r), c[4] = std::cos(r);
    }
    iplWarpAffine(source, target, c, interpolate);
    if (iplGetErrStatus() < 0) iplError(IPL_STS_BACKTRACE, "iplRotate", "", kFile, 1416);
}

void GetRotateShift(double x, double y, double angle, double* xShift, double* yShift) {
    const double a = ReduceAngle(angle);
    if (a == 0) return;
    if (a == 90) {
        *xShift += x - y, *yShift += y + x;
    } else if (a == 180) {
        *xShift += 2 * x, *yShift += 2 * y;
    } else if (a == 270) {
        *xShift += y + x, *yShift += y - x;
    } else {
        const double r = a * kRadiansPerDegree;
        *xShift += x - x * std::cos(r) - y * std::sin(r);
        *yShift += x * std::sin(r) + y - y * std::cos(r);
    }
}

}  // namespace tarn
