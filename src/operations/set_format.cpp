// A change of format: one pass of a colour kernel from the picture's format
// into another, into a new buffer or straight into the caller's memory for
// CopyOut.
#include "operations/set_format.h"

#include <cstring>

#include "convert/fast_copy.h"
#include "operations/convert_functions.h"
#include "operations/copy_out.h"
#include "platform/cpu_features.h"

namespace tarn {

namespace {

enum class Function : uint8_t {
    Rgb24ToRgb32, Rgb32ToRgb24, RgbToPlanar, RgbToPacked, PlanarToRgb, PlanarToPacked,
    PackedToRgb, PackedToPlanar,
};
// Row order: "always 1" never mirrors; "row order" follows topDown; "none"
// takes no flip at all.
enum class Flip : uint8_t { Always, RowOrder, None };
enum class Stride : uint8_t { Width, Width2, Width4, Rgb24 };

struct Conversion {
    SurfaceFormat from, to;
    Function function;
    int32_t bits;
    Flip flip;
    Stride stride;
    int32_t bitsAfter;
    uint32_t topDownAfter;
};

constexpr Conversion kConversions[] = {
    {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_RGB32, Function::Rgb24ToRgb32, 0, Flip::Always, Stride::Width4, 32, 0},
    {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_YUV420, Function::RgbToPlanar, 24, Flip::RowOrder, Stride::Width, 12, 1},
    {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_YUV422, Function::RgbToPacked, 24, Flip::RowOrder, Stride::Width2, 16, 1},
    {SURFACE_FORMAT_RGB32, SURFACE_FORMAT_RGB24, Function::Rgb32ToRgb24, 0, Flip::Always, Stride::Rgb24, 24, 0},
    {SURFACE_FORMAT_RGB32, SURFACE_FORMAT_YUV420, Function::RgbToPlanar, 32, Flip::RowOrder, Stride::Width, 12, 1},
    {SURFACE_FORMAT_RGB32, SURFACE_FORMAT_YUV422, Function::RgbToPacked, 32, Flip::RowOrder, Stride::Width2, 16, 1},
    {SURFACE_FORMAT_YUV420, SURFACE_FORMAT_RGB24, Function::PlanarToRgb, 24, Flip::RowOrder, Stride::Rgb24, 24, 0},
    {SURFACE_FORMAT_YUV420, SURFACE_FORMAT_RGB32, Function::PlanarToRgb, 32, Flip::RowOrder, Stride::Width4, 32, 0},
    {SURFACE_FORMAT_YUV420, SURFACE_FORMAT_YUV422, Function::PlanarToPacked, 0, Flip::None, Stride::Width2, 16, 1},
    {SURFACE_FORMAT_YUV422, SURFACE_FORMAT_RGB24, Function::PackedToRgb, 24, Flip::RowOrder, Stride::Rgb24, 24, 0},
    {SURFACE_FORMAT_YUV422, SURFACE_FORMAT_RGB32, Function::PackedToRgb, 32, Flip::RowOrder, Stride::Width4, 32, 0},
    {SURFACE_FORMAT_YUV422, SURFACE_FORMAT_YUV420, Function::PackedToPlanar, 0, Flip::None, Stride::Width, 12, 1},
};

// The row of the table, or -1.
int32_t FindConversion(int32_t from, int32_t to) {
    for (const Conversion& c : kConversions)
        if (c.from == from && c.to == to) return int32_t(&c - kConversions);
    return -1;
}

int32_t StrideOf(Stride rule, int32_t w) {
    switch (rule) {
        case Stride::Width: return w;
        case Stride::Width2: return 2 * w;
        case Stride::Width4: return 4 * w;
        case Stride::Rgb24: break;
    }
    return ((24 * w + 31) >> 3) & ~3;
}

// Odd sizes leave the last column and row unwritten, RGB24 rows keep their
// padding, and the SSE2 RGB-to-packed kernels put their remainder pairs into
// the source. A new buffer starts at 0 there rather than with whatever memory
// held before.
bool WritesEveryByte(const Conversion& c, int32_t w, int32_t h, int32_t stride) {
    if ((w | h) & 1) return false;
    if (c.to == SURFACE_FORMAT_RGB24 && stride != 3 * w) return false;
    const bool packedRest = c.function == Function::RgbToPacked && (w & 6) != 0;
    if (packedRest && TierOf(g_cpuFeatures) == Tier::Sse2) return false;
    // The MMX body of planar to 32-bit RGB, with bit 3 of the width set,
    // starts each later row pair 8 pixels further right, passing over the
    // pixels it leaves behind.
    const bool drifts = c.function == Function::PlanarToRgb && c.bits == 32 && (w & 8) != 0;
    return !(drifts && TierOf(g_cpuFeatures) == Tier::Mmx);
}

void Run(const Conversion& c, uint8_t* src, int32_t srcStride, uint8_t* dst, int32_t dstStride,
         int32_t w, int32_t h, uint32_t flip) {
    switch (c.function) {
        case Function::Rgb24ToRgb32: ConvertRgb24ToRgb32(src, srcStride, dst, dstStride, w, h, flip); break;
        case Function::Rgb32ToRgb24: ConvertRgb32ToRgb24(src, srcStride, dst, dstStride, w, h, flip); break;
        case Function::RgbToPlanar: ConvertRgbToPlanar(src, srcStride, dst, dstStride, w, h, c.bits, flip); break;
        case Function::RgbToPacked: ConvertRgbToPacked(src, srcStride, dst, dstStride, w, h, c.bits, flip); break;
        case Function::PlanarToRgb: ConvertPlanarToRgb(src, srcStride, dst, dstStride, w, h, c.bits, flip); break;
        case Function::PlanarToPacked: ConvertPlanarToPacked(src, srcStride, dst, dstStride, w, h); break;
        case Function::PackedToRgb: ConvertPackedToRgb(src, srcStride, dst, dstStride, w, h, c.bits, flip); break;
        case Function::PackedToPlanar: ConvertPackedToPlanar(src, srcStride, dst, dstStride, w, h); break;
    }
}

// The chroma planes change places; the format stays YUV420. Sent to a
// destination, each plane is copied as one block of the shorter stride's
// size.
VedResult SwapChroma(const Picture& picture, const Destination* to) {
    const int64_t h = picture.height;
    uint8_t* first = FirstChroma(picture);
    uint8_t* second = SecondChroma(picture);
    if (to) {
        const int64_t m = picture.stride < to->stride ? picture.stride : to->stride;
        const int64_t out = int64_t(to->stride) * h;
        FastCopy(to->buffer, picture.pixels, size_t(h * m));
        FastCopy(to->buffer + out, second, size_t((m * h) >> 2));
        FastCopy(to->buffer + out + (out >> 2), first, size_t((m * h) >> 2));
        return VED_S_OK;
    }
    const int64_t half = int64_t(ChromaStride(picture)) * h;
    const int32_t n = static_cast<int32_t>(half >> 1);
    SwapChromaPlanes(first, second, n);
    return VED_S_OK;
}

}  // namespace

FormatChange PlanFormatChange(const Picture& picture, SurfaceFormat format) {
    FormatChange change{};
    if (!picture.pixels) return change;  // refused with VED_E_FAIL
    if (format == picture.format) {
        change.step = FormatChange::Step::Keep;
    } else if (picture.format == SURFACE_FORMAT_YUV420 && format == SURFACE_FORMAT_YUV420_SWAPPED) {
        change.step = FormatChange::Step::SwapChroma;
    } else if (const int32_t row = FindConversion(picture.format, format); row >= 0) {
        change.step = FormatChange::Step::Convert;
        change.conversion = row;
        // Planar pictures never have an odd size: trimmed to even first.
        change.evenSizesFirst =
            kConversions[row].function == Function::RgbToPlanar && ((picture.width | picture.height) & 1);
    } else {
        change.refusal = VED_E_NOTSUPPORTED;
    }
    return change;
}

VedResult ChangeFormat(Picture& picture, const FormatChange& change, const Destination* to,
                       PendingPixels& made) {
    switch (change.step) {
        case FormatChange::Step::Refuse: return change.refusal;
        case FormatChange::Step::Keep:
            if (to) CopyPictureOut(picture, *to);
            return VED_S_OK;
        case FormatChange::Step::SwapChroma: return SwapChroma(picture, to);
        case FormatChange::Step::Convert: break;
    }
    const Conversion& c = kConversions[change.conversion];
    const int32_t w = picture.width, h = picture.height;
    uint8_t* out;
    int32_t outStride;
    uint32_t flip;
    if (to) {
        // Rows shorter than the stride's reach would overlap, and the kernels
        // write them in orders that differ between forms, and past the
        // stride x height the caller provides: such a stride is refused.
        const int64_t row = c.bitsAfter == 12 ? int64_t(w) : int64_t(c.bitsAfter / 8) * w;
        if (to->stride < row) return VED_E_INVALIDARG;
        out = to->buffer;
        outStride = to->stride;
        flip = picture.topDown != to->topDown ? 1 : 0;
    } else {
        outStride = StrideOf(c.stride, w);
        const int64_t rows = int64_t(outStride) * h;
        const int64_t size = c.to == SURFACE_FORMAT_YUV420 ? (int64_t(w) * h * 3) / 2 : rows;
        out = NewPixelArray(size);
        if (!out) return VED_E_OUTOFMEMORY;
        made.reset(out);
        if (!WritesEveryByte(c, w, h, outStride)) std::memset(out, 0, size_t(size));
        flip = picture.topDown;
    }
    if (c.flip == Flip::Always) flip = 1;
    Run(c, picture.pixels, picture.stride, out, outStride, w, h, flip);
    if (to) return VED_S_OK;

    picture.pixels = out;
    picture.format = c.to;
    picture.bits = c.bitsAfter;
    picture.stride = outStride;
    picture.topDown = c.topDownAfter;
    return VED_S_OK;
}

}  // namespace tarn
