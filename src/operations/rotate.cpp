// RotatePicture: the picture turned by a whole number of degrees into a new
// buffer. Right angles swap or keep the size exactly; 180 degrees keeps size
// and stride; other angles grow the frame to hold the turned picture, with
// black corners.
#include "operations/rotate.h"

#include <cmath>
#include <cstring>

#include "operations/fill.h"
#include "operations/stretch.h"
#include "operations/pixel_memory.h"

namespace tarn {

namespace {

constexpr double kPi = 3.14159;
constexpr int64_t kMaxBufferBytes = INT32_MAX;

// Odd sizes grow away from zero by one.
int64_t MadeEven(int64_t v) { return v + v % 2; }

enum class Turn { Quarter, Half, Other };

Turn TurnOf(int32_t degrees) {
    if (degrees == 90 || degrees == 270) return Turn::Quarter;
    return degrees == 180 ? Turn::Half : Turn::Other;
}

// What a new buffer holds: its frame, its stride and its byte count.
struct NewLayout {
    int64_t width, height, stride, bytes;
};

NewLayout LayoutFor(Turn turn, int32_t degrees, const Picture& picture, bool planar) {
    const int64_t W = picture.width, H = picture.height;
    NewLayout out{};
    switch (turn) {
        case Turn::Quarter: out.width = H, out.height = W; break;
        case Turn::Half: out.width = W, out.height = H; break;
        case Turn::Other: {
            const RotatedFrame f = GrownFrame(degrees, W, H);
            out.width = f.width, out.height = f.height;
            break;
        }
    }
    if (planar) {
        out.stride = out.width;
        out.bytes = out.height * out.stride * 3 / 2;
    } else {
        // 180 degrees keeps the surface's own stride.
        out.stride = turn == Turn::Half ? picture.stride : (out.width * picture.bits + 31) / 32 * 4;
        out.bytes = out.height * out.stride;
    }
    return out;
}

// Whether the exact quarter-turn copies write every byte of a planar
// buffer: each plane turns about its centre onto the whole target plane when
// the sizes halve evenly twice (the chroma centre is at a quarter of them),
// and with even sizes the planes lie end to end with no bytes between.
bool PlanarTurnFillsAll(int32_t degrees, int64_t W, int64_t H) {
    if (W % 2 || H % 2) return false;
    switch (degrees) {
        case 90: return H % 4 == 0;
        case 270: return W % 4 == 0;
        case 180: return W % 4 == 0 && H % 4 == 0;
        default: return false;
    }
}

// An interleaved right angle turns the picture onto its target moved by a
// hair less than a pixel, or a little more (3.14159 for pi): the warp writes
// every target pixel but the first one or two rows and columns. Up to this
// size the hair stays below a fifth of a pixel (W x 2.7e-6, H x 4e-6), so
// clearing three rows and columns at the start and one at the end, and the
// row padding, clears all the warp leaves; what it does write it overwrites.
constexpr int64_t kEdgeBandLimit = 65536;

void ClearEdgeBands(uint8_t* out, const NewLayout& to, int64_t pixel) {
    for (int64_t y = 0; y < to.height; ++y) {
        uint8_t* row = out + y * to.stride;
        if (y < 3 || y == to.height - 1) {
            std::memset(row, 0, size_t(to.stride));
            continue;
        }
        std::memset(row, 0, size_t(3 * pixel));
        std::memset(row + (to.width - 1) * pixel, 0, size_t(to.stride - (to.width - 1) * pixel));
    }
}

// The content rectangle of a right angle: the same for 90 and 270 degrees.
void TurnContentRect(Picture& picture) {
    const VedRect old = picture.content;
    const int32_t W = picture.width;
    picture.content = {old.top, W - old.right, old.bottom, W - old.left};
}

}  // namespace

RotatedFrame GrownFrame(int32_t degrees, int64_t width, int64_t height) {
    int32_t d = degrees > 180 ? degrees - 180 : degrees;
    if (d >= 91) d = 180 - d;
    if (d < 1) return {0, 0};
    const double t = d * kPi / 180;
    const double W = double(width), H = double(height);
    return {MadeEven(int64_t(std::trunc(H * std::sin(t) + W * std::cos(t)))),
            MadeEven(int64_t(std::trunc(H * std::cos(t) + W * std::sin(t))))};
}

VedResult RotatePicture(Picture& picture, int32_t degrees, PendingPixels& made) {
    if (!picture.pixels) return VED_E_INVALIDARG;
    if (degrees == 0 || degrees == 360) return VED_S_OK;
    const Turn turn = TurnOf(degrees);
    const PixelLayout layout = LayoutOf(picture.format);
    if (layout != PixelLayout::Interleaved && layout != PixelLayout::Planar) {
        // Nothing is allocated for a format that cannot turn, but a right
        // angle has moved the content rectangle by then.
        if (turn == Turn::Quarter) TurnContentRect(picture);
        return VED_E_NOTSUPPORTED;
    }
    const bool planar = layout == PixelLayout::Planar;
    const int32_t W = picture.width, H = picture.height, bits = picture.bits;
    // Pixels the warp cannot take, or rows that do not fit their stride:
    // refused before anything changes.
    if (planar ? picture.stride < W : !ScalableInterleaved(bits, W, picture.stride)) return VED_E_INVALIDARG;

    const NewLayout to = LayoutFor(turn, degrees, picture, planar);
    // An angle outside 0..360 makes a frame of no size: there is nothing to
    // allocate, and the picture stays as it was.
    if (to.width < 1 || to.height < 1 || to.bytes > kMaxBufferBytes) return VED_E_OUTOFMEMORY;
    // Bytes the turn leaves alone (bands at the edge that the warp's spans
    // leave out, corners, row padding, a chroma line of an odd half size)
    // are zero, never what the heap held. A grown planar frame is painted
    // whole below, and most planar right angles fill the whole buffer, so
    // for those only the slack needs clearing.
    const bool paintedWhole = planar && turn == Turn::Other;
    const bool writtenWhole = paintedWhole || (planar && PlanarTurnFillsAll(degrees, W, H));
    made.reset(NewPixelArray(to.bytes));
    uint8_t* out = made.get();
    if (!out) return VED_E_OUTOFMEMORY;
    if (!planar && turn != Turn::Other && W <= kEdgeBandLimit && H <= kEdgeBandLimit) {
        ClearEdgeBands(out, to, bits / 8);
        std::memset(out + to.bytes, 0, kPixelTailSlack);
    } else {
        std::memset(out + (writtenWhole ? to.bytes : 0), 0, size_t(writtenWhole ? 0 : to.bytes) + kPixelTailSlack);
    }

    if (turn == Turn::Quarter) TurnContentRect(picture);
    const int32_t newWidth = int32_t(to.width), newHeight = int32_t(to.height), newStride = int32_t(to.stride);
    // The corners of a grown frame stay unpainted by the turn: black. For
    // RGB the zeroed buffer is already what a fill with colour 0 makes, and
    // GRAY8 is never painted.
    if (paintedWhole) FillPlanar(out, newWidth, newHeight, newStride, nullptr, 0);
    if (planar)
        RotatePlanar(out, newWidth, newHeight, newStride, picture.pixels, W, H, picture.stride, degrees);
    else
        RotateInterleaved(out, newWidth, newHeight, newStride, bits, picture.pixels, W, H, picture.stride, bits,
                          degrees);

    picture.pixels = out;
    if (turn != Turn::Half) {
        picture.stride = newStride;
        picture.width = newWidth;
        picture.height = newHeight;
    }
    return VED_S_OK;
}

}  // namespace tarn
