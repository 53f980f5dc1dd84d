// Entry points of the scaling engine, as the surface operations call them.
// Each entry settles the resize quality once, into a plan (scale_plan.h),
// and hands the pictures and that plan down; nothing below it reads the
// quality again. Kernels and drivers behind these have no state, check no
// sizes and report nothing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "scale/scale_bounds.h"
#include "tarn/TarnSurface.h"

namespace tarn {

// One side of an image scaling call: where its first row starts, its size in
// pixels, the byte distance from a row to the next (negative: the rows go up
// in memory) and the size of a pixel.
template <class Byte>
struct ScalePicture {
    Byte* pixels;
    uint32_t width, height;
    int32_t stride;
    uint32_t pixelBytes;
};
using ScaleTarget = ScalePicture<uint8_t>;
using ScaleSource = ScalePicture<const uint8_t>;

// Source pixels per target pixel on each axis; sampling starts at 0.
struct ScaleSteps {
    double x, y;
};

// Scales an image of 1-, 3- or 4-byte pixels. Vertical mirroring is the
// caller's, by a negative stride. `background` is what the fade modes blend
// towards; null means four zeros. `bounds` is the memory the call may touch
// (see scale_bounds.h).
void ScaleImage(const ScaleTarget& target, const ScaleSource& source, ScaleSteps steps, uint32_t quality,
                const uint8_t* background = nullptr, const ScaleBounds& bounds = ScaleBounds::Unchecked());

// What a quality means to the scaler, for callers that check a request or
// prepare a target before scaling (scale_plan.cpp reads qualities for all).
// Whether images of `pixelBytes` take it: the planar-only qualities have no
// tables for 3- and 4-byte pixels unless a side of one makes every quality
// nearest; 1-byte pixels take any.
bool QualitySuitsImage(uint32_t quality, uint32_t pixelBytes, bool sideOfOne);
// Whether its kernels may pass over target bytes and leave them as they
// were: the box and area qualities (counts of 0, fourth bytes not stored).
bool QualityPassesOverTarget(uint32_t quality);
// Whether every byte of every target row comes from the scaler (3- and
// 4-byte pixels on both sides), so that a caller need not prepare it: the
// nearest and bilinear qualities, whose drivers store each pixel whole.
bool QualityWritesWholeRows(uint32_t quality, uint32_t pixelBytes);
// The quality the scaler runs for these steps: a box mode that does not
// shrink both axes by two or more runs as its bilinear counterpart.
uint32_t QualityForSteps(uint32_t quality, ScaleSteps steps);

// A planar 4:2:0 picture: the luma plane and two chroma planes of half the
// width, height and stride of luma (signed division).
template <class Byte>
struct PlanarPicture {
    Byte* luma;
    Byte* firstChroma;
    Byte* secondChroma;
    int32_t width, height, stride;
};
using PlanarTarget = PlanarPicture<uint8_t>;
using PlanarSource = PlanarPicture<const uint8_t>;

// Scales a planar picture plane by plane.
void ScalePlanar(const PlanarTarget& target, const PlanarSource& source, uint32_t quality);

// Scales a packed 4:2:2 picture (pixelBytes 2), each byte of a pair as a
// channel of its own. It has one way of scaling: no quality.
void ScalePacked(const ScaleTarget& target, const ScaleSource& source);

}  // namespace tarn
