// Ways out of the buffer: GetPixels, CopyOut, CopyPixelsOut, and Clone.
#include "convert/fast_copy.h"
#include "operations/copy_out.h"
#include "surface/surface_factory.h"

namespace tarn {

VedResult CTarnSurfaceBuffer::GetPixels(uint8_t** out) {
    const VedResult r = Drain(nullptr);
    if (r < 0) return r;
    if (pixels) *out = pixels;
    return r;
}

VedResult CTarnSurfaceBuffer::CopyOut(uint8_t* destination, int32_t destinationStride,
                                      uint32_t topDown) {
    if (!destination || destinationStride < 1) return VED_E_INVALIDARG;
    const Destination to{destination, destinationStride, topDown};
    // A surface a failed CopyOut left directed now writes here instead.
    if (directOutput) directOutput = to;
    const VedResult r = Drain(&to);
    if (r < 0) return r;  // the surface may stay directed; see the queue's notes
    // Not directed: no record wrote the caller's memory, so the picture is
    // copied out as it is.
    if (!directOutput) CopyPictureOut(PictureOf(info, pixels), to);
    directOutput.reset();
    return r;
}

void CTarnSurfaceBuffer::CopyPixelsOut(uint8_t* destination, int32_t destinationStride,
                                       uint32_t topDown) {
    CopyPictureOut(PictureOf(info, pixels), {destination, destinationStride, topDown});
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
