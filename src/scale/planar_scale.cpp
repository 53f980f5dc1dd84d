// ScalePlanar: 4:2:0 pictures scaled plane by plane through the single-
// channel driver or the area shrink, as the picture's plan says. Chroma
// planes use luma's steps, not the ratio of their own (halved) sizes; the
// tables clamp the difference.
#include "scale/scale.h"

#include <cstring>

#include "scale/area_shrink.h"
#include "scale/scale_gray.h"
#include "scale/scale_plan.h"
#include "scale/scale_request.h"
#include "scale/sharpen.h"

namespace tarn {
namespace {

template <class Byte>
ScalePicture<Byte> PlaneOf(Byte* pixels, int32_t width, int32_t height, int32_t stride) {
    return {pixels, static_cast<uint32_t>(width), static_cast<uint32_t>(height), stride, 1};
}

void Plane(const ScaleTarget& target, const ScaleSource& source, ScaleSteps steps, AxisFilter filter) {
    RunScale({target, source, steps, 0, PlanPlane(filter, target, source), ScaleBounds::Unchecked()});
}

// The two chroma planes of one picture have the same sizes and strides, so
// the single-channel driver builds their tables once; the first pair is
// scaled first, as plane by plane.
void ChromaPlanes(const ScaleTarget& target, const ScaleSource& source, const ScaleTarget& otherTarget,
                  const ScaleSource& otherSource, ScaleSteps steps, AxisFilter filter) {
    const ScalePlan plan = PlanPlane(filter, target, source);
    const ScaleRequest both[2] = {{target, source, steps, 0, plan, ScaleBounds::Unchecked()},
                                  {otherTarget, otherSource, steps, 0, plan, ScaleBounds::Unchecked()}};
    if (plan.driver == ScaleDriver::Gray) return ScaleGrayPlanes(both, 2);
    RunScale(both[0]);
    RunScale(both[1]);
}

ScaleSteps LumaSteps(const PlanarTarget& target, const PlanarSource& source) {
    return {double(source.width) / double(target.width), double(source.height) / double(target.height)};
}

// The planar-only qualities: chroma sizes and strides halved by shifts, the
// second chroma plane scaled before the first.
void ScalePlanarOnly(const PlanarTarget& target, const PlanarSource& source, const PlanarPlan& plan) {
    if (plan.copy) {
        for (int32_t y = 0; y < source.height; ++y)
            std::memcpy(target.luma + intptr_t(y) * target.stride, source.luma + intptr_t(y) * source.stride,
                        size_t(source.width));
        // Both chroma sides advance by the source's chroma stride: the
        // target's own stride plays no part here, and callers rely on that.
        const int32_t cs = source.stride >> 1;
        for (int32_t y = 0; y < source.height >> 1; ++y) {
            std::memcpy(target.secondChroma + intptr_t(y) * cs, source.secondChroma + intptr_t(y) * cs,
                        size_t(source.width >> 1));
            std::memcpy(target.firstChroma + intptr_t(y) * cs, source.firstChroma + intptr_t(y) * cs,
                        size_t(source.width >> 1));
        }
        return;
    }
    const ScaleSteps steps = LumaSteps(target, source);
    const int32_t sw = source.width >> 1, sh = source.height >> 1, dw = target.width >> 1, dh = target.height >> 1;
    const int32_t ss = source.stride >> 1, ds = target.stride >> 1;
    const ScaleTarget luma = PlaneOf(target.luma, target.width, target.height, target.stride);
    const ScaleSource sourceLuma = PlaneOf(source.luma, source.width, source.height, source.stride);
    if (plan.areaShrink) {
        AreaShrink(luma, sourceLuma);
        // The first of the two chroma shrinks takes the source stride as half
        // the width, the second as half the luma stride; kept so.
        AreaShrink(PlaneOf(target.secondChroma, dw, dh, ds), PlaneOf(source.secondChroma, sw, sh, sw));
        AreaShrink(PlaneOf(target.firstChroma, dw, dh, ds), PlaneOf(source.firstChroma, sw, sh, ss));
        return;
    }
    if (plan.sharpenLuma) SharpenPlane(const_cast<uint8_t*>(source.luma), source.width, source.height, source.stride);
    Plane(luma, sourceLuma, steps, plan.luma);
    ChromaPlanes(PlaneOf(target.secondChroma, dw, dh, ds), PlaneOf(source.secondChroma, sw, sh, ss),
                 PlaneOf(target.firstChroma, dw, dh, ds), PlaneOf(source.firstChroma, sw, sh, ss), steps, plan.chroma);
}

}  // namespace

void ScalePlanar(const PlanarTarget& target, const PlanarSource& source, uint32_t quality) {
    const PlanarPlan plan = PlanPlanar(quality, target, source);
    if (plan.planarOnly) return ScalePlanarOnly(target, source, plan);
    const ScaleTarget luma = PlaneOf(target.luma, target.width, target.height, target.stride);
    const ScaleSource sourceLuma = PlaneOf(source.luma, source.width, source.height, source.stride);
    const int32_t sw = source.width / 2, sh = source.height / 2, dw = target.width / 2, dh = target.height / 2;
    const int32_t ss = source.stride / 2, ds = target.stride / 2;
    const ScaleTarget first = PlaneOf(target.firstChroma, dw, dh, ds);
    const ScaleTarget second = PlaneOf(target.secondChroma, dw, dh, ds);
    const ScaleSource sourceFirst = PlaneOf(source.firstChroma, sw, sh, ss);
    const ScaleSource sourceSecond = PlaneOf(source.secondChroma, sw, sh, ss);
    if (plan.areaShrink) {
        AreaShrink(luma, sourceLuma);
        AreaShrink(first, sourceFirst);
        AreaShrink(second, sourceSecond);
        return;
    }
    const ScaleSteps steps = LumaSteps(target, source);
    Plane(luma, sourceLuma, steps, plan.luma);
    ChromaPlanes(first, sourceFirst, second, sourceSecond, steps, plan.chroma);
}

}  // namespace tarn
