// Rotation of pictures by whole degrees through the image library.
// RotatePicture decides the size of the turned picture; the two wrappers below
// it put the buffers in image headers (views only, the pixels stay with the
// caller) and call iplRotate with the shifts that place the picture in the
// target.
#pragma once

#include <cstdint>

#include "operations/picture.h"
#include "operations/pixel_memory.h"

namespace tarn {

// The picture turned by `degrees` into a new buffer in `made`; `picture` then
// describes it (180 degrees keeps size and stride) for the surface to
// install. 0 and 360 succeed with nothing made. A right angle turns the
// content rectangle also when a format that cannot turn is refused.
VedResult RotatePicture(Picture& picture, int32_t degrees, PendingPixels& made);

// The wrappers turn nothing for a null pixel pointer.

// RGB24, RGB32 and GRAY8 buffers, turned by +degrees: RGB rows are stored
// bottom-up, so one turn of the stored rows is the opposite turn of the
// picture. A top-down surface takes the same path and turns the other way.
void RotateInterleaved(uint8_t* dst, int32_t dstWidth, int32_t dstHeight, int32_t dstStride,
                       int32_t dstBits, const uint8_t* src, int32_t srcWidth, int32_t srcHeight,
                       int32_t srcStride, int32_t srcBits, int32_t degrees);

// YUV420 buffers, plane by plane, turned by -degrees. Right angles turn about
// the centre of the picture on the exact path of the library.
void RotatePlanar(uint8_t* dst, int32_t dstWidth, int32_t dstHeight, int32_t dstStride, const uint8_t* src,
                  int32_t srcWidth, int32_t srcHeight, int32_t srcStride, int32_t degrees);

// Width and height of the frame that holds a picture of W x H turned by an
// angle other than 0, 90, 180, 270 and 360: one frame serves an angle and the
// angle 180 degrees beyond it; each size is made even. Angles not brought
// into 1..359 beforehand give a frame of no size.
struct RotatedFrame {
    int64_t width, height;
};
RotatedFrame GrownFrame(int32_t degrees, int64_t width, int64_t height);

}  // namespace tarn
