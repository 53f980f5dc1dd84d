// The affine entries of the image library: warp by six coefficients, the
// quadrangle a transform makes of an image, rotation about the origin with
// an exact path for quarter turns, and the shifts that rotate about a point.
//
// The transform c0..c5 maps a source point (x, y) to the target point
// (c0 x + c1 y + c2, c3 x + c4 y + c5). A quadrangle is the images of the
// top left, top right, bottom right and bottom left corners, x before y.
#pragma once

#include "ipl/ipl_image.h"
#include "ipl/warp_kernels.h"

namespace tarn {

void iplWarpAffine(const ImageHeader* source, ImageHeader* target, const double coefficients[6], int interpolate);
void iplGetAffineQuad(const ImageHeader* image, const double coefficients[6], double quad[8]);
// angle in degrees, shifts in target pixels.
void iplRotate(const ImageHeader* source, ImageHeader* target, double angle, double xShift, double yShift,
               int interpolate);
// Adds to *xShift and *yShift what makes the point (xCentre, yCentre) stay in
// place under iplRotate by `angle`.
void GetRotateShift(double xCentre, double yCentre, double angle, double* xShift, double* yShift);

// The angle brought into [0, 360) as the entries do it.
double ReduceAngle(double angle);

// The argument tests iplWarpAffine and the quarter-turn path share: both
// headers, then depth, origin, data order, sign and in-place, each reported
// at its line. False when the caller must return.
struct PairTestLines {
    int source, target, depth, origin, order, sign, inPlace;
};
bool PairTestsPass(const ImageHeader* source, const ImageHeader* target, const char* functionName,
                   const PairTestLines& lines);

// The exact path of iplRotate for a = 90, 180 or 270 and whole shifts.
void RotateQuarter(const ImageHeader* source, ImageHeader* target, int angle, double xShift, double yShift);

}  // namespace tarn
