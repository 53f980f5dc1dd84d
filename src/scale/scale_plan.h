// The plan of a scaling call: what the resize quality and the sizes come to,
// settled once at the entry (scale.h) so that no driver or table below reads
// the quality again. A new way of scaling is a new driver value here, chosen
// in PlanImage or PlanPlanar, and a branch of the dispatch in scale_image.cpp.
#pragma once

#include <cstdint>

#include "scale/axis_table.h"
#include "scale/scale.h"

namespace tarn {

// What a call does with its tables.
enum class ScaleDriver : uint8_t {
    None,        // writes nothing: a side of 0, pixel sizes or a quality no driver takes
    AreaShrink,  // area-weighted shrink in floats, pixels of 1, 3 or 4 bytes
    Gray,        // the single-channel driver: nearest, or bilinear without fade
    Nearest,     // the multi-channel drivers from here on
    Bilinear,    // the band grid
    Fade,        // the fade grid of equal pixel sizes
    MixedFade,   // the fade grid of 3-to-4 and 4-to-3 bytes
    Box,         // the box shrink
    BoxFade,
};

struct ScalePlan {
    ScaleDriver driver;
    AxisFilter columns, rows;

    bool Boxes() const { return driver == ScaleDriver::Box || driver == ScaleDriver::BoxFade; }
};

// An image of 1-, 3- or 4-byte pixels.
ScalePlan PlanImage(uint32_t quality, const ScaleTarget& target, const ScaleSource& source, ScaleSteps steps);

// One plane of a planar picture through the single-channel driver, with the
// filter its picture's plan gave it.
ScalePlan PlanPlane(AxisFilter filter, const ScaleTarget& target, const ScaleSource& source);

struct PlanarPlan {
    // The planar-only qualities: chroma sizes by shifts, the second chroma
    // plane before the first, the copy at equal sizes and the chroma strides
    // of their area shrink are theirs.
    bool planarOnly;
    bool copy;          // equal sizes, planar-only qualities
    bool areaShrink;    // every plane area-shrunk
    bool sharpenLuma;   // the source luma sharpened in place first
    AxisFilter luma, chroma;  // otherwise each plane through PlanPlane
};

PlanarPlan PlanPlanar(uint32_t quality, const PlanarTarget& target, const PlanarSource& source);

}  // namespace tarn
