// The quarter-turn path of iplRotate: for a turn of exactly 90, 180 or 270
// degrees with whole shifts, the target rectangle the source covers, cut to
// the target's rectangle, is filled by a plain copy of samples. Target
// pixels outside it keep their values.
#include "ipl/quarter_turn.h"

#include <algorithm>
#include <cmath>

#include "ipl/ipl_error.h"
#include "ipl/iplwarp.h"
#include "ipl/warp_engine.h"
#include "platform/byte_span.h"
#include "platform/form_table.h"

namespace tarn {

namespace {
// Single bytes have fast forms; wider elements copy in their plain form.
constexpr FormEntry<QuarterCopyFn> kQuarterCopyByteForms[] = {
#if defined(TARN_HAVE_X86_SIMD)
    {SimdForm::Avx2, QuarterCopyBytesAvx2},
    {SimdForm::Sse2, QuarterCopyBytesSse2},
#endif
    {SimdForm::Plain, QuarterCopyAll<1>},
};
static_assert(EndsInPlainForm(kQuarterCopyByteForms));
}  // namespace

QuarterCopyFn PickQuarterCopy(int32_t elementBytes) {
    switch (elementBytes) {
        case 1: return PickForm(kQuarterCopyByteForms);
        case 2: return QuarterCopyAll<2>;
        case 3: return QuarterCopyAll<3>;
        case 4: return QuarterCopyAll<4>;
        default: return nullptr;
    }
}

namespace {

struct Span64 {
    int64_t left, top, right, bottom;
};

// Samples of `count` bytes from each source element to each target pixel,
// the target's pixels `dstPixel` bytes apart: the general case of pixel
// order, and any element size without a copy of its own.
void CopyGeneral(const QuarterBlock& b, int32_t count, int32_t dstPixel) {
    for (int32_t j = 0; j < b.height; ++j) {
        uint8_t* d = b.dst + intptr_t(j) * b.dstStep;
        const uint8_t* s = b.src + intptr_t(j) * b.dj;
        for (int32_t i = 0; i < b.width; ++i, d += dstPixel, s += b.di)
            for (int32_t c = count - 1; c >= 0; --c) d[c] = s[c];
    }
}

ByteSpan ImageBytes(const ImageHeader* image) {
    return ByteSpan::OfBytes(image->imageData,
                             size_t(image->height) * size_t(image->widthStep) * size_t(image->channels));
}

bool Apart(const ImageHeader* source, const ImageHeader* target) {
    return ImageBytes(source).ApartFrom(ImageBytes(target));
}

// Bit (x, y) of a 1-bit image: byte x / 8 of its row, under 128 >> (x & 7).
void CopyBits(const ImageHeader* source, ImageHeader* target, const Span64& t, int angle, int64_t X, int64_t Y) {
    for (int64_t y = t.top; y <= t.bottom; ++y)
        for (int64_t x = t.left; x <= t.right; ++x) {
            int64_t sx, sy;
            switch (angle) {
                case 90: sx = Y - y, sy = x - X; break;
                case 180: sx = X - x, sy = Y - y; break;
                default: sx = y - Y, sy = X - x; break;
            }
            const uint8_t bit = source->imageData[sy * source->widthStep + (sx >> 3)] & (0x80 >> (sx & 7));
            uint8_t& to = target->imageData[y * target->widthStep + (x >> 3)];
            const uint8_t mask = uint8_t(0x80 >> (x & 7));
            to = bit ? uint8_t(to | mask) : uint8_t(to & ~mask);
        }
}

}  // namespace

void RotateQuarter(const ImageHeader* source, ImageHeader* target, int angle, double xShift, double yShift) {
    constexpr const char* kName = "iplRotate";
    if (!PairTestsPass(source, target, kName, {1244, 1245, 1246, 1246, 1246, 1247, 1249})) return;
    InclusiveRect s, r;
    SampleWalk from, to;
    if (!ImageRect(source, true, &s) || !ImageRect(target, true, &r)) return;
    if (!MakeSampleWalk(source, &from) || !MakeSampleWalk(target, &to)) return;
    if (from.channels != to.channels) {
        iplError(IPL_STS_BADARG, kName,
                 "Number of processed channels of srcImage != Number of processed channels of dstImage", "iplwarp",
                 1264);
        return;
    }
    // Shifts far beyond any image move the picture off the target either
    // way; holding them there keeps the sums below in range.
    constexpr double kFar = 4.0e9;
    const int64_t X = int64_t(std::clamp(std::floor(xShift), -kFar, kFar));
    const int64_t Y = int64_t(std::clamp(std::floor(yShift), -kFar, kFar));
    Span64 cover;
    switch (angle) {
        case 90: cover = {X + s.top, Y - s.right, X + s.bottom, Y - s.left}; break;
        case 180: cover = {X - s.right, Y - s.bottom, X - s.left, Y - s.top}; break;
        default: cover = {X - s.bottom, Y + s.left, X - s.top, Y + s.right}; break;
    }
    const Span64 t{std::max<int64_t>(cover.left, r.left), std::max<int64_t>(cover.top, r.top),
                   std::min<int64_t>(cover.right, r.right), std::min<int64_t>(cover.bottom, r.bottom)};
    if (t.left > t.right || t.top > t.bottom) return;

    if (source->depth == IPL_DEPTH_1U) {
        CopyBits(source, target, t, angle, X, Y);
        return;
    }
    // Source coordinates of target (t.left, t.top), and the steps.
    int64_t sx, sy;
    switch (angle) {
        case 90: sx = Y - t.top, sy = t.left - X; break;
        case 180: sx = X - t.left, sy = Y - t.top; break;
        default: sx = t.top - Y, sy = X - t.left; break;
    }
    const bool sameLayout =
        source->dataOrder != IPL_DATA_ORDER_PIXEL || (source->channels == 1 && target->channels == 1);
    const intptr_t srcPixel = sameLayout ? from.sampleBytes : intptr_t(from.sampleBytes) * from.imageChannels;
    const intptr_t dstPixel = sameLayout ? to.sampleBytes : intptr_t(to.sampleBytes) * to.imageChannels;
    QuarterBlock b;
    b.dstStep = to.rowBytes;
    b.width = int32_t(t.right - t.left + 1);
    b.height = int32_t(t.bottom - t.top + 1);
    switch (angle) {
        case 90: b.di = from.rowBytes, b.dj = -srcPixel; break;
        case 180: b.di = -srcPixel, b.dj = -from.rowBytes; break;
        default: b.di = -from.rowBytes, b.dj = srcPixel; break;
    }
    const uint8_t* srcAt = from.first + sy * from.rowBytes + sx * srcPixel;
    uint8_t* dstAt = to.first + t.top * to.rowBytes + t.left * dstPixel;

    if (sameLayout) {
        // Plane by plane, each plane a walk of one sample per pixel.
        const QuarterCopyFn copy =
            Apart(source, target) ? PickQuarterCopy(from.sampleBytes) : QuarterCopyFn(nullptr);
        for (int32_t c = 0; c < from.channels; ++c) {
            b.src = srcAt + c * from.planeBytes;
            b.dst = dstAt + c * to.planeBytes;
            if (copy) copy(b);
            else CopyGeneral(b, from.sampleBytes, to.sampleBytes);
        }
        return;
    }
    b.src = srcAt;
    b.dst = dstAt;
    const int32_t bytes = from.channels * from.sampleBytes;
    const bool whole = from.imageChannels == from.channels && to.imageChannels == to.channels;
    const QuarterCopyFn copy = whole && Apart(source, target) ? PickQuarterCopy(bytes) : QuarterCopyFn(nullptr);
    if (copy) copy(b);
    else CopyGeneral(b, bytes, int32_t(dstPixel));
}

}  // namespace tarn
