// The platform objects as the library's own code reaches them: global memory,
// DirectDraw and the image container, all in namespace tarn::platform. This
// header is the one place that decides where they come from: on Windows the
// system's own (DirectDrawCreateEx loaded at run time), elsewhere the portable
// forms of platform/portable. The image container is always the library's own.
#pragma once

#include "tarn/Platform.h"
