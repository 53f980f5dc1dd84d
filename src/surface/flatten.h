// Flatten's compositors, surface side (flatten.cpp): the overlay's values
// are collected, stretched copies made through the surface factory, and the
// checks and blends of operations/compose.h run on them.
#pragma once

#include "surface/tarn_surface_buffer.h"

namespace tarn {

// An overlay without a mask onto a YUV420 `target`. Takes over the caller's
// reference to `overlay`. The target's planes are addressed with the height
// and stride of `planes`, the descriptor of the surface Flatten was called
// on: for a copy just converted from RGB they differ from the target's own,
// and hosts get exactly that.
VedResult ComposeKeyed(const SurfaceInfo& planes, CTarnSurfaceBuffer& target, ITarnSurface* overlay);

// An overlay with a mask onto a YUV420 or YUV422 `target`. Without a mask
// (VED_E_FAIL) or with a target of another format (VED_E_BADSTATE) the
// caller's reference to `overlay` stays with the caller; otherwise it is
// taken over.
VedResult ComposeMasked(CTarnSurfaceBuffer& target, ITarnSurface* overlay);

}  // namespace tarn
