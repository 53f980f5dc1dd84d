// The single-channel driver.
#pragma once

#include <cstddef>

#include "scale/scale_request.h"

namespace tarn {

// The gray plans: nearest, field pairs or bilinear, by the plan's filters.
void ScaleGray(const ScaleRequest& request);

// ScaleGray of `count` planes that differ only in their pixels (sizes,
// strides, steps and plan alike), in order, the axis tables built once.
void ScaleGrayPlanes(const ScaleRequest* requests, size_t count);

}  // namespace tarn
