// Softening of the quadrangle's edges after a warp. Not built yet: a request
// is reported as unsupported, after the kernel has drawn the quadrangle
// with hard edges.
#include "ipl/ipl_error.h"
#include "ipl/warp_engine.h"

namespace tarn {

void SmoothWarpEdges(ImageHeader*, const double*, const InclusiveRect&, bool, const char* functionName) {
    iplError(IPL_STS_NOTSUPPORTED, functionName, "Edge smoothing is not supported", "iplwarp", 0);
}

}  // namespace tarn
