// The multi-channel drivers: pixels of 3 or 4 bytes on either side, tables
// and bands as the request's plan says.
#pragma once

#include "scale/band_grid.h"
#include "scale/scale_request.h"

namespace tarn {

// Every plan of 3- and 4-byte pixels.
void ScaleChannels(const ScaleRequest& request);

// The fade path of the two drivers with unequal pixel sizes (3 to 4 and 4 to
// 3 bytes), with the lane values it carries from pixel to pixel.
void MixedFadeRows(const ScaleRequest& request, const DriverTables& tables, const Bands& bands);

}  // namespace tarn
