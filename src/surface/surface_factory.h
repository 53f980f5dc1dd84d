// The one maker of surfaces. The rules of a new surface (which sizes and
// strides are refused, what a blank buffer holds, how the caller's pixels are
// copied in) live here; the builder, Clone, the compositors' stretched copies
// and the mask from alpha all make their surfaces through these functions.
#pragma once

#include <cstdint>

#include "surface/tarn_surface_buffer.h"

namespace tarn {

// Pixels in memory held by the surface: the only storage there is.
inline constexpr uint32_t kStorageInMemory = 4;

// The last step for every new surface: `ownership` is stored, and the
// surface is returned with the one reference its receiver holds.
CTarnSurfaceBuffer* HandOver(CTarnSurfaceBuffer* surface, uint32_t ownership);

// A surface as `info` describes it (storage in memory, an empty content
// rectangle taken as the whole picture), its buffer holding the format's
// blank picture. `byteCount`, when not null, receives the buffer's size as
// the builder reports it, also for some refusals. *result is written only on
// success.
VedResult MakeBlankSurface(const SurfaceInfo& info, int32_t* byteCount, CTarnSurfaceBuffer** result);

// A surface holding a copy of the pixels `source` gives, laid out as `info`
// says. RGB pictures lose the odd last row and the columns past a multiple
// of four; planar pictures are top-down; the swapped planar format arrives
// as planar with its chroma planes exchanged. *result is written only on
// success.
VedResult MakeSurfaceFromData(const SurfaceInfo& info, IPixelSource& source, CTarnSurfaceBuffer** result);

}  // namespace tarn
