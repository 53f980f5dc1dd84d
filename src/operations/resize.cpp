// ResizePicture: a new size for a picture, optionally fitted into the frame
// with black borders. Sent to a destination, the picture goes into the
// caller's memory and the surface keeps its buffer, size and stride.
#include "operations/resize.h"

#include <algorithm>
#include <cstring>

#include "operations/copy_out.h"
#include "operations/fill.h"
#include "operations/stretch.h"

namespace tarn {

namespace {

// Byte counts of one buffer stay within 32 bits, as everywhere in the library.
constexpr int64_t kMaxBufferBytes = INT32_MAX;

struct OutputPlan {
    int64_t stride;
    int64_t bytes;
    VedResult failure;  // the answer when the buffer cannot be had
};

OutputPlan PlanOutput(PixelLayout layout, int32_t bits, int32_t width, int32_t height) {
    switch (layout) {
        case PixelLayout::Interleaved: {
            const int64_t stride = (int64_t(bits) * width + 31) / 32 * 4;
            return {stride, stride * height, VED_E_FAIL};
        }
        case PixelLayout::Planar: return {width, int64_t(width) * height * 3 / 2, VED_E_OUTOFMEMORY};
        case PixelLayout::Packed: return {2 * int64_t(width), 2 * int64_t(width) * height, VED_E_OUTOFMEMORY};
        default: return {0, 0, VED_E_NOTSUPPORTED};
    }
}

// Bytes one interleaved row of pixels takes, without padding.
int64_t RowBytes(int32_t bits, int32_t width) { return int64_t(bits / 8) * width; }

// Bytes from the start of the caller's buffer to the end of the last byte a
// direct resize writes there, at `stride` per row. Rows may overlap when the
// stride is shorter than a row; what counts is that the writes stay in the
// stride x height x 3 / 2 bytes the planar paint already covers. A 24-bit
// row's last four-byte store reaches one byte past the row.
int64_t DirectReach(PixelLayout layout, int32_t bits, int32_t width, int32_t height, int64_t stride) {
    switch (layout) {
        case PixelLayout::Interleaved:
            return (height - 1) * stride + RowBytes(bits, width) + (bits == 24 ? 1 : 0);
        case PixelLayout::Planar: {
            const int64_t luma = stride * height, chromaStride = stride / 2;
            const int64_t second = luma + (chromaStride * height) / 2;
            const int64_t lumaEnd = (height - 1) * stride + width;
            int64_t chromaEnd = second + (height / 2 - 1) * chromaStride + width / 2;
            // The black bands of a fit find their second chroma plane a
            // quarter of the luma behind the first, and rows at (row x
            // stride) / 2; within a stride shorter than the width that can
            // reach further.
            if (stride < width) {
                const int64_t bands = luma + luma / 4 + (int64_t(height / 2) * stride) / 2 + width / 2;
                if (bands > chromaEnd) chromaEnd = bands;
            }
            return lumaEnd > chromaEnd ? lumaEnd : chromaEnd;
        }
        case PixelLayout::Packed: return (height - 1) * stride + 2 * int64_t(width);
        default: return 0;
    }
}

// Whether the scaler stores every byte of each target row of `bits`-bit
// pixels in this mode, so that painting those bytes first would be lost
// work. One-byte pixels go through the single-channel driver or, shrinking
// in the area mode, the area shrink: both store whole rows.
bool WritesWholeRows(int32_t quality, int32_t bits) {
    if (bits == 8) return true;
    return QualityWritesWholeRows(uint32_t(quality), uint32_t(bits / 8));
}

// The same for the three planes of a planar picture, which the single-
// channel driver or the area shrink scale one by one, storing whole rows. At
// the picture's own size the planar-only modes copy instead, chroma rows at
// the source's stride; the area shrink copies a chroma plane that keeps its
// size (a luma side of 2n + 1 to 2n) as one block at the source's stride.
// Those cases are left to the whole paint.
bool WritesWholePlanes(int32_t quality, bool sameSize, bool sameChromaSize) {
    const bool area = quality == SCALE_AREA || quality == SCALE_PLANAR_AREA;
    return area ? !sameChromaSize : !sameSize;
}

bool InsideFrame(const VedRect& r, int32_t width, int32_t height) {
    return r.left >= 0 && r.top >= 0 && r.right <= width && r.bottom <= height;
}

// How far a resize gets before it touches a pixel. The checks come in the
// order their answers take precedence; `fit` is the content rectangle once
// the request is past the refusals.
enum class ResizeGate { Refused, SameSize, OutsideFrame, BadStride, Scales };

ResizeGate GateOf(const Picture& picture, const Aspect& aspect, const ResizeRequest& request,
                  const Destination* to, VedRect& fit) {
    const int32_t width = request.width, height = request.height;
    if (!picture.pixels) return ResizeGate::Refused;
    // A picture with an aspect goes on, so that a resize to its own size
    // fits it anew.
    if (static_cast<uint32_t>(width) == static_cast<uint32_t>(picture.width) &&
        static_cast<uint32_t>(height) == static_cast<uint32_t>(picture.height) && aspect.x == 0 && aspect.y == 0)
        return ResizeGate::SameSize;
    // Below the smallest surface, or pixels the engine cannot take: refused
    // before anything changes.
    if (width < 4 || height < 4) return ResizeGate::Refused;
    const PixelLayout layout = LayoutOf(picture.format);
    if (layout == PixelLayout::Interleaved && (!ScalableInterleaved(picture.bits, picture.width, picture.stride) ||
                                               !ModeSuitsPixels(picture.bits, request.quality, false)))
        return ResizeGate::Refused;
    if (request.keepAspect) {
        // FitRect leaves the side it centres on as it finds it: zero.
        fit = {0, 0, 0, 0};
        FitRect(picture.width, picture.height, aspect, width, height, &fit);
        if (!InsideFrame(fit, width, height)) return ResizeGate::OutsideFrame;
    } else {
        fit = {0, 0, width, height};
    }
    if (to) {
        // Painted black as a planar picture whatever the format: the caller's
        // buffer must hold stride x height x 3 / 2 bytes even for RGB output.
        // A stride whose rows would reach past that, or beyond 32-bit byte
        // counts, is refused rather than written past.
        const int64_t painted = int64_t(to->stride) * height * 3 / 2;
        if (painted > kMaxBufferBytes || DirectReach(layout, picture.bits, width, height, to->stride) > painted)
            return ResizeGate::BadStride;
    }
    return ResizeGate::Scales;
}

}  // namespace

int64_t DirectResizeCovered(const Picture& picture, const Aspect& aspect, const ResizeRequest& request,
                            const Destination& to) {
    if (LayoutOf(picture.format) != PixelLayout::Packed || to.stride <= 0) return 0;
    VedRect fit;
    if (GateOf(picture, aspect, request, &to, fit) != ResizeGate::Scales) return 0;
    // The paint's planes: the second chroma plane starts a quarter of the
    // luma behind the first, which an odd stride leaves a few bytes short.
    const int64_t luma = int64_t(to.stride) * request.height;
    const int64_t chroma = (int64_t(to.stride / 2) * request.height) / 2;
    return luma / 4 <= chroma ? luma + luma / 4 + chroma : luma + chroma;
}

bool DirectPackedHalving(const Picture& picture, const Aspect& aspect, const ResizeRequest& request,
                         const Destination& to) {
    const int32_t w = request.width, h = request.height;
    // Even target sides, so that the scaler's even cut leaves them, and rows
    // that neither overlap nor leave a part of themselves to the paint.
    if (LayoutOf(picture.format) != PixelLayout::Packed || request.keepAspect || ((w | h) & 1) ||
        picture.width != 2 * w || picture.height != 2 * h || to.stride < 2 * int64_t(w))
        return false;
    VedRect fit;
    return GateOf(picture, aspect, request, &to, fit) == ResizeGate::Scales;
}

VedResult ResizePicture(Picture& picture, Aspect& aspect, const ResizeRequest& request,
                        const Destination* to, PendingPixels& made) {
    const int32_t width = request.width, height = request.height, quality = request.quality;
    VedRect fit{0, 0, 0, 0};
    const ResizeGate gate = GateOf(picture, aspect, request, to, fit);
    if (gate == ResizeGate::Refused) return VED_E_INVALIDARG;
    if (gate == ResizeGate::SameSize) {
        if (to) CopyPictureOut(picture, *to);
        return VED_S_OK;
    }
    const PixelLayout layout = LayoutOf(picture.format);
    const int32_t bits = picture.bits;
    // The content rectangle is set before anything can fail, direct output too.
    const VedRect* target = request.keepAspect ? &fit : nullptr;
    picture.content = fit;
    if (gate == ResizeGate::OutsideFrame) return VED_E_FAIL;
    if (gate == ResizeGate::BadStride) return VED_E_INVALIDARG;

    // A box mode that does not shrink both axes by two or more runs as its
    // bilinear counterpart; what the scaler stores follows the mode it runs.
    const int32_t runs = int32_t(QualityForSteps(static_cast<uint32_t>(quality),
                                                 {double(picture.width) / width, double(picture.height) / height}));
    uint8_t* out = nullptr;
    int32_t outStride = 0;
    uint32_t outTopDown = picture.topDown;
    bool rowsInPlace = false;
    if (to) {
        // Row bytes the scaler stores whole anyway are left out of the paint,
        // which goes first all the same: a 24-bit row's last store reaches
        // one byte into what is painted. Packed rows are always stored whole;
        // where they meet or overlap they cover the luma block.
        const bool packed = layout == PixelLayout::Packed;
        const int64_t rowBytes = packed ? 2 * int64_t(width) : RowBytes(bits, width);
        const bool wholeRows = !target && picture.width > 0 && picture.height > 0 &&
                               (packed || (layout == PixelLayout::Interleaved && to->stride >= rowBytes &&
                                           WritesWholeRows(runs, bits)));
        // A planar picture scaled plane by plane through the single-channel
        // driver stores every row of every plane whole, once each plane has
        // a sample to read; its planes start where the paint's do when the
        // stride is even.
        const bool wholePlanes = !target && layout == PixelLayout::Planar && picture.width >= 2 &&
                                 picture.height >= 2 && to->stride >= width && !(to->stride & 1) &&
                                 WritesWholePlanes(quality, picture.width == width && picture.height == height,
                                                   picture.width / 2 == width / 2 && picture.height / 2 == height / 2);
        if (wholePlanes)
            FillPlanarAroundRows(to->buffer, height, to->stride, width, 0, width / 2);
        else if (wholeRows)
            FillPlanarAroundRows(to->buffer, height, to->stride, int32_t(std::min<int64_t>(rowBytes, to->stride)), 0);
        else
            FillPlanar(to->buffer, width, height, to->stride, nullptr, 0);
        rowsInPlace = packed && wholeRows && request.rowsInPlace;
        out = to->buffer;
        outStride = to->stride;
        outTopDown = to->topDown;
    } else {
        const OutputPlan plan = PlanOutput(layout, bits, width, height);
        if (layout == PixelLayout::Other) return VED_E_NOTSUPPORTED;
        uint8_t* fresh = plan.bytes <= kMaxBufferBytes ? NewPixelArray(plan.bytes) : nullptr;
        if (!fresh) return plan.failure;
        made.reset(fresh);
        outStride = static_cast<int32_t>(plan.stride);
        // A box mode that runs as bilinear stores every byte of each row of
        // 3- and 4-byte pixels: nothing to clear.
        const bool boxes = QualityPassesOverTarget(static_cast<uint32_t>(quality)) &&
                           !(runs != quality && WritesWholeRows(runs, bits));
        if (layout == PixelLayout::Interleaved && (target || plan.stride != RowBytes(bits, width) || boxes)) {
            // Row padding, the borders of a fitted mask, which its fill leaves
            // alone, and what the box kernels pass over (counts of 0 when the
            // area mode enlarges, fourth bytes they do not store) are zero
            // rather than what the heap held.
            std::memset(fresh, 0, static_cast<size_t>(plan.bytes));
        } else if (layout == PixelLayout::Planar) {
            // With an odd side the paint's rows of chroma leave a few bytes
            // at the end of each plane, which are zero.
            if ((width | height) & 1) std::memset(fresh, 0, static_cast<size_t>(plan.bytes));
            FillPlanar(fresh, width, height, outStride, nullptr, 0);
        } else if (layout == PixelLayout::Packed) {
            // Only the first quarter is set to 0x80: a byte fill of the
            // pattern's low byte over bytes / 4, as the builder does too. The
            // rest is zero, never what the heap held.
            std::memset(fresh, 0x80, static_cast<size_t>(plan.bytes / 4));
            std::memset(fresh + plan.bytes / 4, 0, static_cast<size_t>(plan.bytes - plan.bytes / 4));
        }
        out = fresh;
        aspect = {};
    }

    const Picture& in = picture;
    Picture resized = in;
    resized.pixels = out;
    resized.width = width;
    resized.height = height;
    resized.stride = outStride;
    resized.topDown = outTopDown;
    const bool pad = target != nullptr;
    switch (layout) {
        case PixelLayout::Interleaved: StretchInterleaved(in, nullptr, resized, target, pad, quality); break;
        case PixelLayout::Planar: StretchPlanar(in, nullptr, resized, target, pad, quality); break;
        case PixelLayout::Packed:
            if (!rowsInPlace) StretchPacked(in, nullptr, resized, target, pad);
            break;
        default:  // only direct output gets here, its buffer already painted
            return VED_E_NOTSUPPORTED;
    }
    if (to) return VED_S_OK;
    picture = resized;
    return VED_S_OK;
}

}  // namespace tarn
