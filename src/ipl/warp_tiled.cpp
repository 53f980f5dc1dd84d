// Warps of images served in tiles. Not built yet: a request is reported as
// unsupported, and nothing of the target is written.
#include "ipl/ipl_error.h"
#include "ipl/warp_engine.h"

namespace tarn {

void WarpTiled(const ImageHeader*, ImageHeader*, const double*, int, const char* functionName, int,
               const InclusiveRect&, const InclusiveRect&, const InverseAffine&) {
    iplError(IPL_STS_NOTSUPPORTED, functionName, "Tiled images are not supported", "iplwarp", 0);
}

}  // namespace tarn
