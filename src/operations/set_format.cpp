// DoSetFormat: conversion of the surface's pixels to another format.
#include "surface/tarn_surface_buffer.h"

namespace tarn {

VedResult CTarnSurfaceBuffer::DoSetFormat(SurfaceFormat format) {
    if (!pixels) return VED_E_FAIL;
    if (format == info.format) {
        if (directOutput) CopyPixelsOut(directBuffer, directStride, directTopDown);
        return VED_S_OK;
    }
    return VED_E_NOTSUPPORTED;  // the conversions are not built yet
}

}  // namespace tarn
