// Softening of the quadrangle's edges after a warp. Each sloping edge of the
// quadrangle (clipped to the target's rectangle) is walked along its longer
// axis; at each step the pixel just outside the edge is mixed with the one
// just inside it, by how far the edge lies from each. Axis-parallel edges
// stay hard, and the pixels inside are never changed.
#include <cmath>
#include <initializer_list>
#include <utility>

#include "ipl/ipl_error.h"
#include "ipl/iplborde.h"
#include "ipl/ownrect.h"
#include "ipl/warp_engine.h"

namespace tarn {

namespace {

struct Channels {
    int32_t first, count;
};

Channels ChannelsOf(const ImageHeader* target) {
    if (target->roi && target->roi->coi) return {target->roi->coi - 1, 1};
    return {0, target->channels - (target->alphaChannel ? 1 : 0)};
}

// The pixel at `outside` becomes |v - outside| of itself and |v - inside|
// of the pixel at `inside`; (x, y) of each come from `at`.
// Room for the samples of the two pixels.
struct PixelPair {
    double* out;
    double* in;
};

template <class At>
void Mix(const ImageHeader* target, const InclusiveRect& rect, double v, double outside, double inside,
         const Channels& ch, const PixelPair& pair, At at) {
    int32_t ox, oy, ix, iy;
    at(int32_t(outside), &ox, &oy);
    at(int32_t(inside), &ix, &iy);
    // The clipped polygon lies in the rectangle; only rounding in the clip
    // could name a pixel just beyond it, and that one is left alone.
    for (const auto& [x, y] : {std::pair{ox, oy}, std::pair{ix, iy}})
        if (x < rect.left || x > rect.right || y < rect.top || y > rect.bottom) return;
    double *out = pair.out, *in = pair.in;
    if (!ReadPixel(target, ox, oy, out) || !ReadPixel(target, ix, iy, in)) return;
    const double wOut = std::fabs(v - outside), wIn = std::fabs(v - inside);
    for (int32_t c = ch.first; c < ch.first + ch.count; ++c) out[c] = wOut * out[c] + wIn * in[c];
    WritePixel(target, ox, oy, out, ch.first, ch.count);
}

}  // namespace

void SmoothWarpEdges(ImageHeader* target, const double quad[8], const InclusiveRect& rect, bool orientation,
                     const char*) {
    if (target->depth == IPL_DEPTH_1U) return;
    ClipPolygon poly;
    ClipQuad(quad, rect, &poly);
    if (poly.count < 3) return;
    const Channels ch = ChannelsOf(target);
    auto* samples = static_cast<double*>(IplMalloc(int64_t(target->channels) * 2 * int64_t(sizeof(double))));
    if (!samples) {
        iplSetErrStatus(IPL_STS_NOMEM);
        return;
    }
    const PixelPair pair{samples, samples + target->channels};
    for (int i = 0; i < poly.count; ++i) {
        const Point2 p1 = poly.p[i], p2 = poly.p[(i + 1) % poly.count];
        const double dx = p2.x - p1.x, dy = p2.y - p1.y;
        if (dx == 0 || dy == 0) continue;
        if (std::fabs(dx) >= std::fabs(dy)) {
            const bool outsideFloor = (orientation && dx > 0) || (!orientation && !(dx > 0));
            const double first = std::ceil(std::min(p1.x, p2.x)), last = std::floor(std::max(p1.x, p2.x));
            for (double x = first; x <= last; ++x) {
                const double v = (x - p1.x) * dy / dx + p1.y;
                if (v == std::floor(v)) continue;
                const double outside = outsideFloor ? std::floor(v) : std::ceil(v);
                const double inside = outsideFloor ? std::ceil(v) : std::floor(v);
                Mix(target, rect, v, outside, inside, ch, pair, [x](int32_t y, int32_t* px, int32_t* py) {
                    *px = int32_t(x), *py = y;
                });
            }
        } else {
            const bool outsideRight = (orientation && dy > 0) || (!orientation && !(dy > 0));
            const double first = std::ceil(std::min(p1.y, p2.y)), last = std::floor(std::max(p1.y, p2.y));
            for (double y = first; y <= last; ++y) {
                const double u = (y - p1.y) * dx / dy + p1.x;
                if (u == std::floor(u)) continue;
                const double outside = outsideRight ? std::ceil(u) : std::floor(u);
                const double inside = outsideRight ? std::floor(u) : std::ceil(u);
                Mix(target, rect, u, outside, inside, ch, pair, [y](int32_t x, int32_t* px, int32_t* py) {
                    *px = x, *py = int32_t(y);
                });
            }
        }
    }
    IplFree(samples);
}

}  // namespace tarn
