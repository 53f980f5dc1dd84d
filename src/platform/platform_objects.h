// The platform objects as the library's own code reaches them: global memory,
// DirectDraw and the image container, all in namespace tarn::platform. This
// header is the one place that decides where they come from; here, the
// portable forms declared in the public header and built in this folder.
#pragma once

#include "tarn/Platform.h"
