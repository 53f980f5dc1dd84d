// The warp engine: draws a source image into a quadrangle of the target. It
// inverts the mapping, clips the quadrangle to the target's rectangle, turns
// it into spans and runs a kernel over them; target pixels outside the
// quadrangle keep their values.
#pragma once

#include <cstdint>

#include "ipl/ipl_image.h"
#include "ipl/warp_kernels.h"

namespace tarn {

// quad: the images of the source rectangle's top left, top right, bottom
// right and bottom left corners, x before y. kind 0 is the affine transform,
// the only one built. clip: cut rectangles into their images, and allow
// edge smoothing (the inner calls of a tiled warp pass false).
void WarpEngine(const ImageHeader* source, ImageHeader* target, const double quad[8], int interpolate,
                const char* functionName, int kind, bool clip);

InverseAffine InverseFromQuad(const double quad[8], const InclusiveRect& sourceRect);

// False for an image the walk refuses: an alpha channel that is the only
// channel, without a roi.
bool MakeSampleWalk(const ImageHeader* image, SampleWalk* walk);

// The softening of the quadrangle's edges after the kernel has run.
void SmoothWarpEdges(ImageHeader* target, const double quad[8], const InclusiveRect& targetRect, bool orientation,
                     const char* functionName);

// The detour for images served in tiles, after the inverse mapping is known.
void WarpTiled(const ImageHeader* source, ImageHeader* target, const double quad[8], int interpolate,
               const char* functionName, int kind, const InclusiveRect& sourceRect,
               const InclusiveRect& targetRect, const InverseAffine& inverse);

}  // namespace tarn
