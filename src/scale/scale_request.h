// A scaling call as the drivers take it: both pictures, the steps, the
// background of the fade modes, the plan settled at the entry and the
// memory the call may touch.
#pragma once

#include <cstdint>

#include "scale/scale.h"
#include "scale/scale_bounds.h"
#include "scale/scale_plan.h"

namespace tarn {

struct ScaleRequest {
    ScaleTarget target;
    ScaleSource source;
    ScaleSteps steps;
    uint32_t background;  // four bytes, as a pixel word
    ScalePlan plan;
    ScaleBounds bounds;
};

// Runs a request through the driver its plan names.
void RunScale(const ScaleRequest& request);

}  // namespace tarn
