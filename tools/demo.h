// tarnsurf demo: a scene from built-in pictures, composed, resized and
// written as PNG files, with a timed line for each step.
#pragma once

#include "options.h"

namespace tarnsurf {

void RunDemo(const DemoOptions& options);

}  // namespace tarnsurf
