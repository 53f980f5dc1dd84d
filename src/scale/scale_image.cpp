// ScaleImage: settles the plan and hands the image to the driver it names.
#include "scale/scale.h"

#include "scale/area_shrink.h"
#include "scale/pixel_lanes.h"
#include "scale/rgb_drivers.h"
#include "scale/scale_gray.h"
#include "scale/scale_request.h"

namespace tarn {

void RunScale(const ScaleRequest& request) {
    switch (request.plan.driver) {
        case ScaleDriver::None: break;
        case ScaleDriver::AreaShrink: AreaShrink(request.target, request.source); break;
        case ScaleDriver::Gray: ScaleGray(request); break;
        default: ScaleChannels(request); break;
    }
}

void ScaleImage(const ScaleTarget& target, const ScaleSource& source, ScaleSteps steps, uint32_t quality,
                const uint8_t* background, const ScaleBounds& bounds) {
    static const uint8_t kZeroPixel[4] = {0, 0, 0, 0};
    const uint32_t backgroundWord = Load4(background ? background : kZeroPixel);
    RunScale({target, source, steps, backgroundWord, PlanImage(quality, target, source, steps), bounds});
}

}  // namespace tarn
