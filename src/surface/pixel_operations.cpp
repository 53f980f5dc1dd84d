// The Do... operations of CTarnSurfaceBuffer (all but Flatten): each takes
// the surface's picture out of its descriptor, calls the operation's
// function in src/operations, and installs what it made. The surface's own
// concerns stay here: its mask, which follows a resize and a rotation, and
// the mask a 32-bit picture leaves from its alpha bytes.
#include <algorithm>

#include "operations/convert_functions.h"
#include "operations/draw.h"
#include "operations/fill.h"
#include "operations/resize.h"
#include "operations/rotate.h"
#include "operations/set_format.h"
#include "operations/transform.h"
#include "platform/byte_span.h"
#include "surface/tarn_surface_buffer.h"

namespace tarn {

namespace {

// One operation on the surface's picture. The content rectangle and the
// aspect that the operation changes are written back however it ends: they
// change before work that may throw (scratch rows short of memory) and stay
// changed, as they do when it fails. Only what changed is written: a
// surface that an operation leaves as it was (a format change to its own
// format, say) is not written at all, so other threads may read it meanwhile,
// as hosts composing one overlay onto frames on several threads do.
class Operation {
public:
    explicit Operation(CTarnSurfaceBuffer& surface)
        : picture(PictureOf(surface.info, surface.pixels)),
          aspect{surface.aspectX, surface.aspectY},
          surface_(surface) {}
    ~Operation() {
        const VedRect& c = picture.content;
        const SurfaceInfo& i = surface_.info;
        if (c.left != i.contentLeft || c.top != i.contentTop || c.right != i.contentRight ||
            c.bottom != i.contentBottom)
            SetContentRect(surface_.info, c);
        if (surface_.aspectX != aspect.x) surface_.aspectX = aspect.x;
        if (surface_.aspectY != aspect.y) surface_.aspectY = aspect.y;
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    // Whether the operation made a new buffer for the surface.
    bool Made() const { return made.get() != nullptr; }
    // The new buffer becomes the surface's, the picture its descriptor's.
    void Install() {
        surface_.ReplacePixels(made.release());
        StorePicture(surface_.info, picture);
    }

    Picture picture;
    Aspect aspect;
    PendingPixels made;

private:
    CTarnSurfaceBuffer& surface_;
};

}  // namespace

VedResult CTarnSurfaceBuffer::RunResize(const ResizeRequest& request, const Destination* to) {
    Operation op(*this);
    const VedResult r = ResizePicture(op.picture, op.aspect, request, to, op.made);
    if (r < 0 || !op.Made()) return r;
    // A mask follows its surface to the full new size, with mode 0 and no fit.
    if (mask) {
        mask->Resize(request.width, request.height, 0, 0);
        mask->Flush();
    }
    op.Install();
    return r;
}

VedResult CTarnSurfaceBuffer::RunPlanarStepBefore(ResizeRequest& request, const Destination& to) {
    const Picture picture = PictureOf(info, pixels);
    const int64_t covered = DirectResizeCovered(picture, Aspect{aspectX, aspectY}, request, to);
    // A source that shares bytes with what the step or the resize writes
    // would see the step's writes: there the step runs whole.
    const int64_t reach = std::max(int64_t(to.stride) * picture.height * 3 / 2 + to.stride, covered);
    const ByteSpan read = ByteSpan::OfRows(picture.pixels, picture.stride, picture.height, 2 * size_t(picture.width));
    if (covered == 0 || !read.ApartFrom(ByteSpan::OfBytes(to.buffer, size_t(reach))))
        return RunSetFormat(SURFACE_FORMAT_YUV420, &to);
    // The step's refusal of a stride shorter than a luma row stays.
    if (to.stride < picture.width) return VED_E_INVALIDARG;
    // An exact halving takes its rows from every second source row, which
    // the step reads anyway: it writes them as it goes, and the resize then
    // paints around them.
    const bool halving = DirectPackedHalving(picture, Aspect{aspectX, aspectY}, request, to);
    request.rowsInPlace =
        ConvertPackedToPlanarOver(picture.pixels, picture.stride, to.buffer, to.stride, picture.width,
                                  picture.height, covered, halving ? to.buffer : nullptr, to.stride);
    return VED_S_OK;
}

VedResult CTarnSurfaceBuffer::RunSetFormat(SurfaceFormat format, const Destination* to) {
    const FormatChange change = PlanFormatChange(PictureOf(info, pixels), format);
    if (change.evenSizesFirst) {
        // Sent to a destination, the resize writes the caller's buffer and
        // the surface keeps its size; the conversion then goes over it at the
        // odd size.
        const int32_t w = static_cast<int32_t>(info.width), h = static_cast<int32_t>(info.height);
        const VedResult trimmed = RunResize({w - (w & 1), h - (h & 1), 1, 1}, to);
        // A resize that could not trim must not leave a planar surface of odd
        // size behind. An RGB resize reports its failed allocation as
        // VED_E_FAIL; here that is what it is, memory.
        if (!to && ((info.width | info.height) & 1))
            return trimmed == VED_E_FAIL || trimmed == VED_E_OUTOFMEMORY ? VED_E_OUTOFMEMORY : VED_E_NOTSUPPORTED;
    }
    Operation op(*this);
    const VedResult r = ChangeFormat(op.picture, change, to, op.made);
    if (r < 0 || !op.Made()) return r;
    // The alpha bytes of a 32-bit picture live on as its mask.
    if (info.format == SURFACE_FORMAT_RGB32 && !mask) MakeMaskFromAlpha(&mask);
    op.Install();
    return r;
}

VedResult CTarnSurfaceBuffer::DoResize(int32_t width, int32_t height, int32_t keepAspect,
                                       int32_t quality) {
    return RunResize({width, height, keepAspect, quality}, DirectOutput());
}

VedResult CTarnSurfaceBuffer::DoSetFormat(SurfaceFormat format) { return RunSetFormat(format, DirectOutput()); }

VedResult CTarnSurfaceBuffer::DoRotate(int32_t degrees) {
    Operation op(*this);
    const VedResult r = RotatePicture(op.picture, degrees, op.made);
    if (r < 0 || !op.Made()) return r;
    // Picture and mask stay the same size.
    if (mask) {
        mask->Rotate(degrees);
        mask->Flush();
    }
    op.Install();
    return r;
}

VedResult CTarnSurfaceBuffer::DoTransform(int32_t first, int32_t, double a, double, double c, double,
                                          int32_t) {
    return RefuseTransform(first, a, c);
}

VedResult CTarnSurfaceBuffer::DoFill(VedRect* rect, uint32_t color) {
    Operation op(*this);
    return FillPicture(op.picture, rect, color);
}

VedResult CTarnSurfaceBuffer::DoDrawToBuffer(VedRect* sourceRect, VedRect* destRect, uint8_t* buffer,
                                             int32_t bufferWidth, int32_t bufferHeight,
                                             int32_t bufferStride, int32_t quality) {
    return DrawPictureToBuffer(PictureOf(info, pixels), sourceRect, destRect, buffer, bufferWidth,
                               bufferHeight, bufferStride, quality);
}

VedResult CTarnSurfaceBuffer::DoDrawToSurface(VedRect* destRect, ITarnSurface* source,
                                              VedRect* sourceRect, int32_t quality) {
    if (!pixels || !source) return VED_E_INVALIDARG;
    SurfaceInfo from{};
    source->GetInfo(&from);
    DrawAreas areas;
    {
        Operation op(*this);
        const VedResult tested = PrepareDraw(op.picture, destRect, PictureOf(from, nullptr), sourceRect, areas);
        if (tested < 0 || !areas.draw) return tested;
    }
    // The source's change of format is for good. A target that cannot be
    // drawn into (packed) has no pair, so its source keeps its format, though
    // its queue is drained below before the refusal.
    SurfaceFormat wanted{};
    if (SourceFormatFor(info.format, from.format, &wanted)) source->SetFormat(wanted);
    uint8_t* fromPixels = nullptr;
    const VedResult got = source->GetPixels(&fromPixels);
    if (got < 0) return got;
    source->GetInfo(&from);
    return DrawPicture(PictureOf(info, pixels), areas, PictureOf(from, fromPixels), quality);
}

}  // namespace tarn
