// Ways out of the buffer: GetPixels, CopyOut, CopyPixelsOut, and Clone.
#include "convert/fast_copy.h"
#include "surface/surface_factory.h"

namespace tarn {

namespace {

// Copies `rows` rows of `rowBytes`, reversing their order when `reverse`.
void CopyPlane(uint8_t* dst, int32_t dstStride, const uint8_t* src, int32_t srcStride,
               int32_t rowBytes, int32_t rows, bool reverse) {
    if (reverse) {
        src += static_cast<ptrdiff_t>(rows - 1) * srcStride;
        srcStride = -srcStride;
    }
    for (int32_t y = 0; y < rows; ++y, dst += dstStride, src += srcStride)
        FastCopy(dst, src, static_cast<size_t>(rowBytes));
}

}  // namespace

VedResult CTarnSurfaceBuffer::GetPixels(uint8_t** out) {
    const VedResult r = Drain(false);
    if (r < 0) return r;
    if (pixels) *out = pixels;
    return r;
}

VedResult CTarnSurfaceBuffer::CopyOut(uint8_t* destination, int32_t destinationStride,
                                      uint32_t topDown) {
    if (!destination || destinationStride < 1) return VED_E_INVALIDARG;
    directBuffer = destination;
    directStride = destinationStride;
    directTopDown = topDown;
    const VedResult r = Drain(true);
    if (r < 0) return r;  // the direct fields stay; see the queue's notes
    if (!directOutput) CopyPixelsOut(directBuffer, directStride, directTopDown);
    directOutput = 0;
    directBuffer = nullptr;
    directStride = 0;
    directTopDown = 0;
    return r;
}

void CTarnSurfaceBuffer::CopyPixelsOut(uint8_t* destination, int32_t destinationStride,
                                       uint32_t topDown) {
    if (!pixels || !destination) return;
    const int32_t n = info.stride < destinationStride ? info.stride : destinationStride;
    if (n <= 0) return;
    const int32_t c = n / 2;
    const int32_t height = static_cast<int32_t>(info.height);
    const bool reverse = topDown != info.topDown;
    switch (info.format) {
        case SURFACE_FORMAT_RGB24:
        case SURFACE_FORMAT_RGB32:
        case SURFACE_FORMAT_YUV422:
            CopyPlane(destination, destinationStride, pixels, info.stride, n, height, reverse);
            break;
        case SURFACE_FORMAT_YUV420: {
            CopyPlane(destination, destinationStride, pixels, info.stride, n, height, reverse);
            if (height < 2) break;
            const int64_t srcLuma = int64_t(info.stride) * height;
            const int64_t dstLuma = int64_t(destinationStride) * height;
            const int32_t chromaRows = height / 2;
            const int32_t srcChromaStride = info.stride / 2;
            const int32_t dstChromaStride = destinationStride / 2;
            // The destination's planes follow one another with no gap.
            uint8_t* dstFirst = destination + dstLuma;
            uint8_t* dstSecond = dstFirst + int64_t(dstChromaStride) * chromaRows;
            CopyPlane(dstFirst, dstChromaStride, pixels + srcLuma, srcChromaStride, c, chromaRows,
                      reverse);
            CopyPlane(dstSecond, dstChromaStride, pixels + srcLuma * 5 / 4, srcChromaStride, c,
                      chromaRows, reverse);
            break;
        }
        default:  // GRAY8 among them: nothing is copied
            break;
    }
}

VedResult CTarnSurfaceBuffer::Clone(ITarnSurface** out) {
    CTarnSurfaceBuffer* clone = nullptr;
    const VedResult r = CloneSurface(&clone);
    if (clone) *out = clone;
    return r;
}

VedResult CTarnSurfaceBuffer::CloneSurface(CTarnSurfaceBuffer** out) {
    if (info.storage != kStorageInMemory) return VED_E_NOTSUPPORTED;
    int32_t byteCount = 0;
    CTarnSurfaceBuffer* clone = nullptr;
    // The descriptor is read before the queue is drained: callers flush first.
    VedResult r = MakeBlankSurface(info, &byteCount, &clone);
    if (r < 0) return r;

    clone->SetAspect(aspectX, aspectY);
    clone->SetDestRect(destRect.left, destRect.top, destRect.right, destRect.bottom);
    clone->SetSourceRect(sourceRect.left, sourceRect.top, sourceRect.right, sourceRect.bottom);
    uint8_t* mine = nullptr;
    GetPixels(&mine);
    uint8_t* theirs = clone->pixels;
    // A queued resize may have shrunk the buffer the copy reads; never read
    // past what it holds now.
    const int64_t available = BufferBytes(info);
    const int64_t count = byteCount < available ? byteCount : available;
    if (mine && theirs && count > 0) FastCopy(theirs, mine, static_cast<size_t>(count));
    if (mask) {
        ITarnSurface* maskClone = nullptr;
        r = mask->Clone(&maskClone);
        if (maskClone) {
            clone->SetMask(maskClone);
            maskClone->Release();
        }
    }
    *out = clone;
    return r;
}

}  // namespace tarn
