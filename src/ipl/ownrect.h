// The target's spans of a quadrangle: the quadrangle clipped to the target's
// rectangle, then turned into one inclusive run of columns per row.
#pragma once

#include <cstdint>

#include "ipl/ipl_image.h"

namespace tarn {

struct Point2 {
    double x, y;
};

// A convex polygon of at most 4 points clipped by 4 half-planes has at most 8.
struct ClipPolygon {
    static constexpr int kMaxPoints = 16;
    Point2 p[kMaxPoints];
    int count = 0;
};

// The quadrangle (eight doubles, four points) clipped to the rectangle, with
// repeated points removed. Empty when it misses the rectangle.
void ClipQuad(const double quad[8], const InclusiveRect& rect, ClipPolygon* out);

class ScanPlan {
public:
    ScanPlan() = default;
    ~ScanPlan();
    ScanPlan(const ScanPlan&) = delete;
    ScanPlan& operator=(const ScanPlan&) = delete;

    // False when the quadrangle covers no pixel of the rectangle, or when the
    // arrays could not be allocated (then the status word says so).
    bool Build(const double quad[8], const InclusiveRect& rect, bool orientation);

    int32_t firstRow = 0, lastRow = -1;
    int32_t* spanLeft = nullptr;   // inclusive columns, indexed by row - firstRow
    int32_t* spanRight = nullptr;
};

}  // namespace tarn
