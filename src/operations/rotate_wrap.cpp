// RotateInterleaved and RotatePlanar: the surface's buffers wrapped in image
// headers and handed to iplRotate, with the shifts that bring the turned
// picture into the target's frame.
//
// The angle arithmetic uses 3.14159 for pi and no more digits. The shifts of
// a right angle therefore miss whole numbers by a hair, and interleaved
// pictures take the warp rather than the exact copy: its spans leave a row or
// a column at the edge of the target unwritten (the caller's new buffer is
// zeroed for that). Pictures have always come out this way; keep it.
#include "operations/rotate.h"

#include <cmath>

#include "ipl/ipl_image.h"
#include "ipl/iplwarp.h"

namespace tarn {

namespace {

constexpr double kPi = 3.14159;
constexpr int kSmoothEdges = 16;

// An image header over pixels that stay with the caller: both data pointers
// are cleared before the header is released.
class HeaderView {
public:
    HeaderView(int32_t width, int32_t height, int32_t bits, const uint8_t* data, int32_t stride)
        : header_(ImageWrapHeader(width, height, bits)) {
        if (!header_) return;
        // The library writes only into the target; the source view is read.
        uint8_t* pixels = const_cast<uint8_t*>(data);
        header_->widthStep = stride;
        header_->imageData = pixels;
        header_->imageDataOrigin = pixels;
    }
    ~HeaderView() {
        if (!header_) return;
        header_->imageData = nullptr;
        header_->imageDataOrigin = nullptr;
        iplDeallocateHeader(header_);
    }
    HeaderView(const HeaderView&) = delete;
    HeaderView& operator=(const HeaderView&) = delete;

    ImageHeader* get() const { return header_; }
    // A header that fails the check (none made from a surface's fields does)
    // turns nothing: the wrapper then releases its headers.
    bool Passes() const { return iplCheckImageHeader(header_) == 0; }

private:
    ImageHeader* header_;
};

// A shift is a sum of at most two terms, each plus or minus a size of the
// picture times the sine or cosine of a = degrees or b = degrees - 90, in
// radians.
enum class Trig : uint8_t { SinA, CosA, SinB, CosB };
struct Term {
    int8_t sign;  // 0: no term
    bool height;  // H rather than W
    Trig trig;
};
struct ShiftRule {
    Term x[2], y[2];
};

constexpr Term kNone{0, false, Trig::SinA};
constexpr Term P(bool height, Trig trig) { return {1, height, trig}; }
constexpr Term M(bool height, Trig trig) { return {-1, height, trig}; }
constexpr bool W = false, H = true;

// Rows: angles 0 or below (and 360 or above), 1 to 90, 91 to 180, 181 to 270,
// 271 to 359.
constexpr ShiftRule kInterleavedShifts[] = {
    {{kNone, kNone}, {kNone, kNone}},
    {{kNone, kNone}, {P(W, Trig::SinA), kNone}},
    {{P(W, Trig::SinB), kNone}, {P(W, Trig::SinA), M(H, Trig::CosA)}},
    {{P(W, Trig::SinB), M(H, Trig::CosB)}, {M(H, Trig::CosA), kNone}},
    {{M(H, Trig::SinA), kNone}, {kNone, kNone}},
};
// For the Y plane with the picture's sizes, for the chroma planes with the
// halves of them.
constexpr ShiftRule kPlanarShifts[] = {
    {{kNone, kNone}, {kNone, kNone}},
    {{P(H, Trig::SinA), kNone}, {kNone, kNone}},
    {{P(H, Trig::CosB), P(W, Trig::SinB)}, {M(H, Trig::CosA), kNone}},
    {{P(W, Trig::SinB), kNone}, {M(W, Trig::SinA), M(H, Trig::CosA)}},
    {{kNone, kNone}, {M(W, Trig::SinA), kNone}},
};

int AngleBand(int32_t degrees) { return degrees <= 0 || degrees >= 360 ? 0 : (degrees + 89) / 90; }

struct Shifts {
    double x, y;
};

Shifts ShiftsOf(const ShiftRule& rule, int32_t degrees, int32_t width, int32_t height) {
    const double a = degrees * kPi / 180, b = (degrees - 90) * kPi / 180;
    const double trig[] = {std::sin(a), std::cos(a), std::sin(b), std::cos(b)};
    const auto sum = [&](const Term (&terms)[2]) {
        double s = 0;
        for (const Term& t : terms)
            if (t.sign) s += t.sign * ((t.height ? height : width) * trig[int(t.trig)]);
        return s;
    };
    return {sum(rule.x), sum(rule.y)};
}

// The three planes of a YUV420 buffer: Y, then the two chroma planes of half
// width, half height and half stride.
struct PlanarViews {
    HeaderView y, first, second;
    PlanarViews(const uint8_t* p, int32_t width, int32_t height, int32_t stride)
        : y(width, height, 8, p, stride),
          first(width / 2, height / 2, 8, p + int64_t(stride) * height, stride / 2),
          second(width / 2, height / 2, 8, p + int64_t(stride) * height + int64_t(stride) * height / 4,
                 stride / 2) {}
    bool Pass() const { return y.Passes() && first.Passes() && second.Passes(); }
};

struct Centre {
    double x, y;
};

// Where a right angle turns about: on the diagonal from the top left corner
// at half the height for 90 degrees and at half the width for 270, which
// lands a W x H picture exactly in its H x W target.
struct RightAngle {
    int32_t degrees;
    Centre y, chroma;
};
RightAngle RightAngleOf(int32_t degrees, int32_t width, int32_t height) {
    const double h2 = height / 2 - 0.5, w2 = width / 2 - 0.5, h4 = height / 4 - 0.5, w4 = width / 4 - 0.5;
    switch (degrees) {
        case 90: return {90, {h2, h2}, {h4, h4}};
        case 270: return {270, {w2, w2}, {w4, w4}};
        default: return {180, {w2, h2}, {w4, h4}};
    }
}

void RotateAbout(const HeaderView& from, const HeaderView& to, double angle, Centre centre) {
    double xShift = 0, yShift = 0;
    GetRotateShift(centre.x, centre.y, angle, &xShift, &yShift);
    iplRotate(from.get(), to.get(), angle, xShift, yShift, kSmoothEdges);
}

}  // namespace

void RotateInterleaved(uint8_t* dst, int32_t dstWidth, int32_t dstHeight, int32_t dstStride,
                       int32_t dstBits, const uint8_t* src, int32_t srcWidth, int32_t srcHeight,
                       int32_t srcStride, int32_t srcBits, int32_t degrees) {
    if (!dst || !src) return;
    const HeaderView target(dstWidth, dstHeight, dstBits, dst, dstStride);
    const HeaderView source(srcWidth, srcHeight, srcBits, src, srcStride);
    if (!source.Passes() || !target.Passes()) return;
    const Shifts s = ShiftsOf(kInterleavedShifts[AngleBand(degrees)], degrees, srcWidth, srcHeight);
    iplRotate(source.get(), target.get(), degrees, s.x, s.y, 0);
}

void RotatePlanar(uint8_t* dst, int32_t dstWidth, int32_t dstHeight, int32_t dstStride, const uint8_t* src,
                  int32_t srcWidth, int32_t srcHeight, int32_t srcStride, int32_t degrees) {
    if (!dst || !src) return;
    const PlanarViews source(src, srcWidth, srcHeight, srcStride);
    const PlanarViews target(dst, dstWidth, dstHeight, dstStride);
    if (!source.Pass() || !target.Pass()) return;
    const double angle = -double(degrees);
    if (degrees == 90 || degrees == 180 || degrees == 270) {
        const RightAngle r = RightAngleOf(degrees, srcWidth, srcHeight);
        RotateAbout(source.y, target.y, angle, r.y);
        RotateAbout(source.first, target.first, angle, r.chroma);
        RotateAbout(source.second, target.second, angle, r.chroma);
        return;
    }
    const ShiftRule& rule = kPlanarShifts[AngleBand(degrees)];
    const Shifts y = ShiftsOf(rule, degrees, srcWidth, srcHeight);
    const Shifts chroma = ShiftsOf(rule, degrees, srcWidth / 2, srcHeight / 2);
    iplRotate(source.y.get(), target.y.get(), angle, y.x, y.y, 0);
    iplRotate(source.first.get(), target.first.get(), angle, chroma.x, chroma.y, 0);
    iplRotate(source.second.get(), target.second.get(), angle, chroma.x, chroma.y, 0);
}

}  // namespace tarn
