// The single-channel driver.
#pragma once

#include "scale/scale_request.h"

namespace tarn {

// The gray plans: nearest, field pairs or bilinear, by the plan's filters.
void ScaleGray(const ScaleRequest& request);

}  // namespace tarn
