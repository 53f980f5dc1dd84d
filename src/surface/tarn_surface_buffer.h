// CTarnSurfaceBuffer: a surface with its pixel buffer, and every operation
// that touches pixels. The work of the Do... operations lives in
// src/operations, as functions over Picture values, with their adapters in
// pixel_operations.cpp; pixel access and clone in pixel_access.cpp; Flatten
// and the surface side of its compositors in flatten.cpp; the mask from alpha
// in alpha_mask.cpp.
#pragma once

#include "operations/picture.h"
#include "surface/tarn_surface.h"

namespace tarn {

class CTarnSurfaceBuffer : public CTarnSurface {
public:
    explicit CTarnSurfaceBuffer(const SurfaceInfo& info) : CTarnSurface(info) {}
    ~CTarnSurfaceBuffer() override;

    // Pixel access (pixel_access.cpp).
    VedResult TARN_CALL GetPixels(uint8_t** out) override;
    VedResult TARN_CALL CopyOut(uint8_t* destination, int32_t destinationStride,
                                uint32_t topDown) override;
    VedResult TARN_CALL Clone(ITarnSurface** out) override;
    // Clone's work, for callers that keep the copy as a buffer (Flatten).
    VedResult CloneSurface(CTarnSurfaceBuffer** out);
    VedResult TARN_CALL Export(int32_t kind, void** handle, uint32_t* flag) override;
    VedResult TARN_CALL Flatten(ITarnSurface** result) override;

    // The operations, each a short adapter over its function in
    // src/operations (pixel_operations.cpp): the picture taken out of the
    // descriptor, the function called, its result installed. Resizes and
    // format changes go where DirectOutput() says.
    VedResult TARN_CALL DoResize(int32_t width, int32_t height, int32_t keepAspect,
                                 int32_t quality) override;
    VedResult TARN_CALL DoRotate(int32_t degrees) override;
    VedResult TARN_CALL DoSetFormat(SurfaceFormat format) override;
    VedResult TARN_CALL DoDrawToSurface(VedRect* destRect, ITarnSurface* source,
                                        VedRect* sourceRect, int32_t quality) override;
    VedResult TARN_CALL DoDrawToBuffer(VedRect* sourceRect, VedRect* destRect, uint8_t* buffer,
                                       int32_t bufferWidth, int32_t bufferHeight,
                                       int32_t bufferStride, int32_t quality) override;
    VedResult TARN_CALL DoTransform(int32_t first, int32_t second, double a, double b, double c,
                                    double d, int32_t last) override;
    VedResult TARN_CALL DoFill(VedRect* rect, uint32_t color) override;
    VedResult RunResize(const ResizeRequest& request, const Destination* to) override;
    VedResult RunSetFormat(SurfaceFormat format, const Destination* to) override;
    VedResult RunPlanarStepBefore(ResizeRequest& request, const Destination& to) override;

    // Takes `bytes` (plus the tail slack) for the buffer; false when `bytes`
    // is below 1 (nothing done) or memory is short.
    bool AllocatePixels(int32_t bytes);
    // Frees the buffer if the surface owns it.
    void ReleasePixels();
    // Installs a buffer made by an operation: frees the old one if owned and
    // takes ownership of the new one.
    void ReplacePixels(uint8_t* newPixels);

    // The one routine that takes pixels out of the buffer: rows of each plane,
    // cut to the shorter stride, reversed when the row orders differ.
    void CopyPixelsOut(uint8_t* destination, int32_t destinationStride, uint32_t topDown);

    // Makes the GRAY8 mask 255 - alpha of this RGB32 picture, rows reversed.
    void MakeMaskFromAlpha(ITarnSurface** maskOut);

    uint8_t* pixels = nullptr;
};

}  // namespace tarn
