// The TarnSurface library as tarnsurf reaches it: the builder, surfaces made
// from the tool's memory, and pictures taken back out, through the public
// interface only, as any host would.
#pragma once

#include "png_io.h"
#include "y4m.h"

#include <tarn/TarnSurface.h>

#include <string>
#include <vector>

namespace tarnsurf {

using SurfaceRef = tarn::Ref<ITarnSurface>;

// Bytes of slack behind every buffer the library writes into: some of its
// conversions store a last 4-byte group past the final pixel.
inline constexpr size_t kWriteSlack = 16;

// The key colour that keys nothing.
inline constexpr uint32_t kNoKey = 0xFF000000;

// Throws a ToolError naming the call and the result code when `result`
// reports failure.
void Check(VedResult result, const std::string& call);
std::string ResultName(VedResult result);

class Library {
public:
    Library();
    ISurfaceBuilder* builder() const { return builder_.get(); }

    SurfaceRef FromData(const SurfaceInfo& info, const uint8_t* data) const;
    SurfaceRef Blank(const SurfaceInfo& info) const;

private:
    tarn::Ref<ISurfaceBuilder> builder_;
};

SurfaceInfo DescribeSurface(SurfaceFormat format, int width, int height, bool topDown);

// A 4:2:0 frame in the library's layout: Y, then the Cr plane, then the Cb
// plane. The stream roles of the same buffer, for the Y4M reader and writer.
size_t PlanarBytes(int width, int height);
PlanePointers StreamPlanesOf(uint8_t* frame, int width, int height);

// The size the library keeps of an RGB picture: a multiple of 4 wide and an
// even number of rows. Pictures are cut to it by the tool, right columns and
// bottom row going, so that nothing depends on how the builder would trim.
int RgbWidthKept(int width);
int RgbHeightKept(int height);
// Prints a one-line note when `image` is cut; fails when too little is left.
void CheckRgbSize(const Image& image, const std::string& name);

// RGB24 surface, top row first, from the RGB channels of `image`.
SurfaceRef RgbSurfaceFrom(const Library& lib, const Image& image);
// RGB32 surface, stored bottom row first, whose fourth bytes carry alpha
// scaled by (256 - transparency) / 256. Converted, it keeps that alpha as its
// mask; the conversion reads the alpha rows from the bottom up, hence the row
// order.
SurfaceRef RgbaSurfaceFrom(const Library& lib, const Image& image, uint32_t transparency);

// Makes `overlay` ready for composition: brought to the planar format that
// composition works in (its mask made from alpha on the way), stretched once
// here when `dest` and `source` differ in size, and given its rectangles,
// transparency and key colour (kNoKey: none). Answers the overlay to add,
// `overlay` itself or its stretched copy. Composition then changes nothing in
// it, so frames on several threads can share it.
SurfaceRef PrepareOverlay(const Library& lib, SurfaceRef overlay, const VedRect& source, const VedRect& dest,
                          uint32_t alpha, uint32_t key);

// `picture` stretched to `width` x `height` by the library's nearest
// sampling, alpha travelling with its pixel; any sizes from 1 up.
Image StretchImage(const Library& lib, const Image& picture, int width, int height);

// `picture` (4 channels) turned by `degrees` through the library. The result
// is as large as the library makes a turned picture; the corners the turn
// uncovers are transparent.
Image RotateImage(const Library& lib, const Image& picture, int degrees);

// Converts the surface's picture to RGB and copies it out, top row first.
Image ImageFromSurface(ITarnSurface* surface);

}  // namespace tarnsurf
