// The one place the resize quality is read: each entry's quality and sizes
// become a plan of drivers and table filters.
#include "scale/scale_plan.h"

namespace tarn {
namespace {

// Qualities 0 to 6 name the filters of the multi-channel tables, in order.
AxisFilter TableFilter(uint32_t quality) { return static_cast<AxisFilter>(quality); }

// The single-channel driver knows nearest and field pairs; everything else
// is bilinear there, with no box and no fade.
AxisFilter GrayFilter(uint32_t quality) {
    if (quality == SCALE_NEAREST) return AxisFilter::Nearest;
    if (quality == SCALE_FIELD_BILINEAR) return AxisFilter::FieldPairs;
    return AxisFilter::Bilinear;
}

ScalePlan GrayPlan(AxisFilter filter) {
    return {ScaleDriver::Gray, filter == AxisFilter::Nearest ? AxisFilter::Nearest : AxisFilter::Bilinear, filter};
}

template <class T, class S>
bool SideOfOne(const T& t, const S& s) {
    return s.width == 1 || s.height == 1 || t.width == 1 || t.height == 1;
}
template <class T, class S>
bool NoPixels(const T& t, const S& s) {
    return !s.width || !s.height || !t.width || !t.height;
}
template <class T, class S>
bool Shrinks(const T& t, const S& s) {
    return s.width > t.width && s.height > t.height;
}

bool PlanarOnly(uint32_t quality) {
    return quality == SCALE_PLANAR_NEAREST || quality == SCALE_PLANAR_SHARPEN || quality == SCALE_PLANAR_AREA;
}

}  // namespace

bool QualitySuitsImage(uint32_t quality, uint32_t pixelBytes, bool sideOfOne) {
    return pixelBytes == 1 || sideOfOne || quality <= SCALE_AREA;
}

bool QualityPassesOverTarget(uint32_t quality) {
    return quality == SCALE_BOX || quality == SCALE_BOX_FADE || quality == SCALE_AREA;
}

bool QualityWritesWholeRows(uint32_t quality, uint32_t pixelBytes) {
    const bool filtered = quality == SCALE_NEAREST || quality == SCALE_BILINEAR ||
                          quality == SCALE_BILINEAR_FADE || quality == SCALE_FIELD_BILINEAR;
    return filtered && (pixelBytes == 3 || pixelBytes == 4);
}

uint32_t QualityForSteps(uint32_t quality, ScaleSteps steps) {
    // Box modes only when both axes shrink by at least two.
    if (steps.x >= 2.0 && steps.y >= 2.0) return quality;
    if (quality == SCALE_BOX_FADE) return SCALE_BILINEAR_FADE;
    if (quality == SCALE_BOX) return SCALE_BILINEAR;
    return quality;
}

ScalePlan PlanImage(uint32_t quality, const ScaleTarget& target, const ScaleSource& source, ScaleSteps steps) {
    constexpr ScalePlan kNone{ScaleDriver::None, AxisFilter::Nearest, AxisFilter::Nearest};
    uint32_t q = QualityForSteps(quality, steps);
    // A size of one is nearest sample in every mode, area included.
    if (SideOfOne(target, source)) q = SCALE_NEAREST;
    if (NoPixels(target, source)) return kNone;

    const uint32_t pair = source.pixelBytes * 10 + target.pixelBytes;
    const bool samePixels = pair == 11 || pair == 33 || pair == 44;
    if (q == SCALE_AREA && samePixels) {
        if (Shrinks(target, source)) return {ScaleDriver::AreaShrink, AxisFilter::Nearest, AxisFilter::Nearest};
        // The box fall-back of the area mode is not demoted above, so it can
        // reach the box kernels with a step below 2 (and a sample count of 0).
        q = SCALE_BOX;
    }
    if (pair == 11) return GrayPlan(GrayFilter(q));
    if (pair != 33 && pair != 34 && pair != 43 && pair != 44) return kNone;
    if (!QualitySuitsImage(quality, target.pixelBytes, SideOfOne(target, source))) return kNone;

    ScaleDriver driver;
    if (q == SCALE_NEAREST) driver = ScaleDriver::Nearest;
    else if (q == SCALE_BOX) driver = ScaleDriver::Box;
    else if (q == SCALE_BOX_FADE) driver = ScaleDriver::BoxFade;
    else if (source.pixelBytes == target.pixelBytes)
        driver = source.pixelBytes == 4 || q == SCALE_BILINEAR_FADE ? ScaleDriver::Fade : ScaleDriver::Bilinear;
    else driver = q == SCALE_BILINEAR_FADE ? ScaleDriver::MixedFade : ScaleDriver::Bilinear;
    // Columns of a field-paired picture are plain bilinear.
    const AxisFilter columns = q == SCALE_FIELD_BILINEAR ? AxisFilter::Bilinear : TableFilter(q);
    return {driver, columns, TableFilter(q)};
}

ScalePlan PlanPlane(AxisFilter filter, const ScaleTarget& target, const ScaleSource& source) {
    if (SideOfOne(target, source)) filter = AxisFilter::Nearest;
    if (NoPixels(target, source)) return {ScaleDriver::None, AxisFilter::Nearest, AxisFilter::Nearest};
    return GrayPlan(filter);
}

PlanarPlan PlanPlanar(uint32_t quality, const PlanarTarget& target, const PlanarSource& source) {
    PlanarPlan p{false, false, false, false, AxisFilter::Bilinear, AxisFilter::Bilinear};
    const bool shrinks = Shrinks(target, source);
    if (PlanarOnly(quality)) {
        p.planarOnly = true;
        p.copy = source.width == target.width && source.height == target.height;
        if (quality == SCALE_PLANAR_NEAREST) p.luma = p.chroma = AxisFilter::Nearest;
        // The caller's source plane is changed: scaling twice sharpens twice.
        p.sharpenLuma = quality == SCALE_PLANAR_SHARPEN && !p.copy;
        p.areaShrink = quality == SCALE_PLANAR_AREA && shrinks;
        return p;
    }
    if (quality == SCALE_AREA) {
        // Not shrinking on both axes, area is bilinear (with fade, which the
        // single-channel driver does not have).
        p.areaShrink = shrinks;
        return p;
    }
    p.luma = GrayFilter(quality);
    // Chroma of a field-paired picture is plain bilinear.
    p.chroma = quality == SCALE_FIELD_BILINEAR ? AxisFilter::Bilinear : p.luma;
    return p;
}

}  // namespace tarn
