// ScalePlanar and ScalePlanarSpecial: 4:2:0 pictures scaled plane by plane
// through ScaleImage with 1-byte pixels. Chroma planes use luma's steps, not
// the ratio of their own (halved) sizes; the tables clamp the difference.
#include "scale/planar_scale.h"

#include <cstring>

#include "scale/scale.h"

namespace tarn {
namespace {

void Plane(uint8_t* dst, int32_t dw, int32_t dh, int32_t dstStride, const uint8_t* src, int32_t sw,
           int32_t sh, int32_t srcStride, double stepX, double stepY, uint32_t mode) {
    ScaleImage(dst, static_cast<uint32_t>(dw), static_cast<uint32_t>(dh), dstStride, 1, src,
               static_cast<uint32_t>(sw), static_cast<uint32_t>(sh), srcStride, 1, 0.0, stepX, 0.0, stepY,
               mode, nullptr);
}

void Area(const uint8_t* src, int32_t sw, int32_t sh, int32_t srcStride, uint8_t* dst, int32_t dw,
          int32_t dh, int32_t dstStride) {
    AreaShrinkGray(src, static_cast<uint32_t>(sw), static_cast<uint32_t>(sh), srcStride, dst,
                   static_cast<uint32_t>(dw), static_cast<uint32_t>(dh), dstStride);
}

}  // namespace

void ScalePlanar(const uint8_t* srcY, const uint8_t* srcU, const uint8_t* srcV, int32_t srcWidth,
                 int32_t srcHeight, int32_t srcStride, uint8_t* dstY, uint8_t* dstU, uint8_t* dstV,
                 int32_t dstWidth, int32_t dstHeight, int32_t dstStride, uint32_t mode) {
    if (mode == SCALE_PLANAR_NEAREST || mode == SCALE_PLANAR_SHARPEN || mode == SCALE_PLANAR_AREA) {
        ScalePlanarSpecial(srcY, srcV, srcU, srcWidth, srcHeight, srcStride, dstY, dstV, dstU, dstWidth,
                           dstHeight, dstStride, mode);
        return;
    }
    if (mode == SCALE_AREA) {
        if (srcWidth > dstWidth && srcHeight > dstHeight) {
            Area(srcY, srcWidth, srcHeight, srcStride, dstY, dstWidth, dstHeight, dstStride);
            Area(srcU, srcWidth / 2, srcHeight / 2, srcStride / 2, dstU, dstWidth / 2, dstHeight / 2, dstStride / 2);
            Area(srcV, srcWidth / 2, srcHeight / 2, srcStride / 2, dstV, dstWidth / 2, dstHeight / 2, dstStride / 2);
            return;
        }
        mode = SCALE_BILINEAR_FADE;
    }
    const double stepX = double(srcWidth) / double(dstWidth);
    const double stepY = double(srcHeight) / double(dstHeight);
    Plane(dstY, dstWidth, dstHeight, dstStride, srcY, srcWidth, srcHeight, srcStride, stepX, stepY, mode);
    // Chroma of a field-paired picture is plain bilinear.
    if (mode == SCALE_FIELD_BILINEAR) mode = SCALE_BILINEAR;
    Plane(dstU, dstWidth / 2, dstHeight / 2, dstStride / 2, srcU, srcWidth / 2, srcHeight / 2, srcStride / 2,
          stepX, stepY, mode);
    Plane(dstV, dstWidth / 2, dstHeight / 2, dstStride / 2, srcV, srcWidth / 2, srcHeight / 2, srcStride / 2,
          stepX, stepY, mode);
}

int ScalePlanarSpecial(const uint8_t* srcY, const uint8_t* srcV, const uint8_t* srcU, int32_t srcWidth,
                       int32_t srcHeight, int32_t srcStride, uint8_t* dstY, uint8_t* dstV, uint8_t* dstU,
                       int32_t dstWidth, int32_t dstHeight, int32_t dstStride, uint32_t mode) {
    if (srcWidth == dstWidth && srcHeight == dstHeight) {
        for (int32_t y = 0; y < srcHeight; ++y)
            std::memcpy(dstY + intptr_t(y) * dstStride, srcY + intptr_t(y) * srcStride, size_t(srcWidth));
        // Both chroma sides advance by the source's chroma stride: the
        // target's own stride plays no part here, and callers rely on that.
        const int32_t cs = srcStride >> 1;
        for (int32_t y = 0; y < srcHeight >> 1; ++y) {
            std::memcpy(dstV + intptr_t(y) * cs, srcV + intptr_t(y) * cs, size_t(srcWidth >> 1));
            std::memcpy(dstU + intptr_t(y) * cs, srcU + intptr_t(y) * cs, size_t(srcWidth >> 1));
        }
        return 1;
    }
    const double stepX = double(srcWidth) / double(dstWidth);
    const double stepY = double(srcHeight) / double(dstHeight);
    const int32_t sw = srcWidth >> 1, sh = srcHeight >> 1, dw = dstWidth >> 1, dh = dstHeight >> 1;
    const int32_t ss = srcStride >> 1, ds = dstStride >> 1;
    uint32_t planeMode;
    switch (mode) {
        case SCALE_PLANAR_NEAREST: planeMode = SCALE_NEAREST; break;
        case SCALE_PLANAR_SHARPEN:
            // The caller's source plane is changed: scaling twice sharpens twice.
            SharpenPlane(const_cast<uint8_t*>(srcY), srcWidth, srcHeight, srcStride);
            planeMode = SCALE_BILINEAR;
            break;
        case SCALE_PLANAR_AREA:
            if (srcWidth > dstWidth && srcHeight > dstHeight) {
                Area(srcY, srcWidth, srcHeight, srcStride, dstY, dstWidth, dstHeight, dstStride);
                // The first of the two chroma calls takes the source stride as
                // half the width, the second as half the luma stride; kept so.
                Area(srcV, sw, sh, sw, dstV, dw, dh, ds);
                Area(srcU, sw, sh, ss, dstU, dw, dh, ds);
                return 1;
            }
            planeMode = SCALE_BILINEAR_FADE;
            break;
        default: return 0;
    }
    Plane(dstY, dstWidth, dstHeight, dstStride, srcY, srcWidth, srcHeight, srcStride, stepX, stepY, planeMode);
    Plane(dstV, dw, dh, ds, srcV, sw, sh, ss, stepX, stepY, planeMode);
    Plane(dstU, dw, dh, ds, srcU, sw, sh, ss, stepX, stepY, planeMode);
    return 1;
}

}  // namespace tarn
