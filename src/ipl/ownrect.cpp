// Rectangles of images, clipping of a quadrangle to a rectangle, and the
// spans of target columns that the warp kernels walk.
#include "ipl/ownrect.h"

#include <algorithm>
#include <cmath>

#include "ipl/ipl_error.h"
#include "ipl/ipl_round.h"

namespace tarn {

bool ImageRect(const ImageHeader* image, bool clip, InclusiveRect* rect) {
    const ImageRoi* roi = image->roi;
    if (!roi) {
        *rect = {0, 0, image->width - 1, image->height - 1};
        return true;
    }
    if (roi->width < 1 || roi->height < 1) return false;
    // In 64 bits: an offset near the top of the range must not wrap round.
    int64_t l = roi->xOffset, t = roi->yOffset;
    int64_t r = l + roi->width - 1, b = t + roi->height - 1;
    if (clip) {
        if (r < 0 || b < 0 || l >= image->width || t >= image->height) return false;
        l = std::max<int64_t>(l, 0), t = std::max<int64_t>(t, 0);
        r = std::min<int64_t>(r, image->width - 1), b = std::min<int64_t>(b, image->height - 1);
    } else if (r > INT32_MAX || b > INT32_MAX) {
        return false;  // a rectangle that cannot be written in the record's 32 bits
    }
    *rect = {int32_t(l), int32_t(t), int32_t(r), int32_t(b)};
    return true;
}

namespace {

// One clip pass against the half-plane "coordinate `axis` >= bound" (keepAbove)
// or "<= bound". Points on the line are inside; a crossing is added only
// where an edge passes strictly from one side to the other, so a vertex on
// the line is kept once.
void ClipPass(ClipPolygon& poly, int axis, double bound, bool keepAbove) {
    ClipPolygon out;
    const int n = poly.count;
    auto coord = [axis](const Point2& p) { return axis ? p.y : p.x; };
    for (int i = 0; i < n; ++i) {
        const Point2& cur = poly.p[i];
        const Point2& next = poly.p[(i + 1) % n];
        const double vc = coord(cur), vn = coord(next);
        const bool inside = keepAbove ? vc >= bound : vc <= bound;
        if (inside && out.count < ClipPolygon::kMaxPoints) out.p[out.count++] = cur;
        if (((vc < bound && vn > bound) || (vc > bound && vn < bound)) && out.count < ClipPolygon::kMaxPoints) {
            Point2 cross;
            if (axis) {
                cross = {cur.x + (bound - cur.y) * (next.x - cur.x) / (next.y - cur.y), bound};
            } else {
                cross = {bound, cur.y + (bound - cur.x) * (next.y - cur.y) / (next.x - cur.x)};
            }
            out.p[out.count++] = cross;
        }
    }
    poly = out;
}

struct Box {
    double minX, minY, maxX, maxY;
};

Box BoundsOf(const ClipPolygon& poly) {
    Box box{poly.p[0].x, poly.p[0].y, poly.p[0].x, poly.p[0].y};
    for (int i = 1; i < poly.count; ++i) {
        box.minX = std::min(box.minX, poly.p[i].x), box.maxX = std::max(box.maxX, poly.p[i].x);
        box.minY = std::min(box.minY, poly.p[i].y), box.maxY = std::max(box.maxY, poly.p[i].y);
    }
    return box;
}

}  // namespace

void ClipQuad(const double quad[8], const InclusiveRect& rect, ClipPolygon* out) {
    ClipPolygon& poly = *out;
    poly.count = 0;
    // A quadrangle with a coordinate that is not a finite number covers
    // nothing that could be said, so it covers nothing.
    for (int i = 0; i < 8; ++i)
        if (!std::isfinite(quad[i])) return;
    for (int i = 0; i < 4; ++i) poly.p[i] = {quad[2 * i], quad[2 * i + 1]};
    poly.count = 4;
    const Box box = BoundsOf(poly);
    const double L = rect.left, T = rect.top, R = rect.right, B = rect.bottom;
    if (L > box.maxX || R < box.minX || T > box.maxY || B < box.minY) {
        poly.count = 0;
        return;
    }
    if (box.minY < T) ClipPass(poly, 1, T, true);
    if (poly.count && box.maxY > B) ClipPass(poly, 1, B, false);
    if (poly.count && box.minX < L) ClipPass(poly, 0, L, true);
    if (poly.count && box.maxX > R) ClipPass(poly, 0, R, false);
    int kept = poly.count ? 1 : 0;
    for (int i = 1; i < poly.count; ++i)
        if (poly.p[i].x != poly.p[kept - 1].x || poly.p[i].y != poly.p[kept - 1].y) poly.p[kept++] = poly.p[i];
    poly.count = kept;
}

ScanPlan::~ScanPlan() {
    IplFree(spanLeft);
    IplFree(spanRight);
}

namespace {

// A crossing pushed just past a whole number by rounding counts as that number.
constexpr double kWholeSlack = 1e-14;

int32_t LeftColumn(double x) {
    const double c = std::ceil(x);
    return RoundToInt32(c) - (1.0 - (c - x) < kWholeSlack ? 1 : 0);
}

int32_t RightColumn(double x) {
    const double f = std::floor(x);
    return RoundToInt32(f) + (1.0 - (x - f) < kWholeSlack ? 1 : 0);
}

}  // namespace

bool ScanPlan::Build(const double quad[8], const InclusiveRect& rect, bool orientation) {
    ClipPolygon poly;
    ClipQuad(quad, rect, &poly);
    if (poly.count == 0) return false;
    const Box box = BoundsOf(poly);
    firstRow = RoundToInt32(std::ceil(box.minY));
    lastRow = RoundToInt32(std::floor(box.maxY));
    if (lastRow < firstRow || std::floor(box.maxX) < std::ceil(box.minX)) return false;
    const int64_t rows = int64_t(lastRow) - firstRow + 1;
    spanLeft = static_cast<int32_t*>(IplMallocWords(rows));
    spanRight = static_cast<int32_t*>(IplMallocWords(rows));
    if (!spanLeft || !spanRight) iplSetErrStatus(IPL_STS_NOMEM);
    if (iplGetErrStatus() < 0) return false;
    // Rows no edge reaches (only a polygon that rounding has bent could have
    // them) stay empty rather than hold whatever the allocation held.
    for (int64_t i = 0; i < rows; ++i) spanLeft[i] = 0, spanRight[i] = -1;

    const Point2* p = poly.p;
    const int n = poly.count;
    if (n == 1) {
        spanLeft[0] = spanRight[0] = RoundToInt32(std::floor(p[0].x));
    } else {
        // Usually rewritten below; it stays only if no edge reaches the row.
        spanLeft[0] = RoundToInt32(std::ceil(std::min(p[0].x, p[1].x)));
        spanRight[0] = RoundToInt32(std::floor(std::max(p[0].x, p[1].x)));
        int start = 0;
        for (int i = 1; i < n; ++i)
            if (p[i].y < p[start].y) start = i;
        // Two chains from the top vertex: `a` by falling index, `b` by rising
        // index. They have met when all n edges are used.
        int a = start, b = start, edges = n;
        int32_t row = firstRow;
        auto fall = [n](int i) { return (i + n - 1) % n; };
        auto rise = [n](int i) { return (i + 1) % n; };
        while (edges > 0) {
            while (edges > 0 && p[fall(a)].y == p[a].y) a = fall(a), --edges;
            while (edges > 0 && p[rise(b)].y == p[b].y) b = rise(b), --edges;
            if (edges <= 0) break;
            const Point2 &pa = p[a], &na = p[fall(a)], &pb = p[b], &nb = p[rise(b)];
            const double slopeA = (na.x - pa.x) / (na.y - pa.y);
            const double slopeB = (nb.x - pb.x) / (nb.y - pb.y);
            const double end = std::min(na.y, nb.y);
            const int32_t endRow = std::min(RoundToInt32(std::floor(end)), lastRow);
            for (; row <= endRow; ++row) {
                const double xa = pa.x + (row - pa.y) * slopeA;
                const double xb = pb.x + (row - pb.y) * slopeB;
                const double left = orientation ? xa : xb, right = orientation ? xb : xa;
                spanLeft[row - firstRow] = LeftColumn(left);
                spanRight[row - firstRow] = RightColumn(right);
            }
            if (na.y == end) a = fall(a), --edges;
            if (nb.y == end) b = rise(b), --edges;
        }
    }
    // The polygon lies in the rectangle, so this changes nothing but what
    // rounding might have pushed a column past its edge.
    for (int64_t i = 0; i < rows; ++i) {
        spanLeft[i] = std::max(spanLeft[i], rect.left);
        spanRight[i] = std::min(spanRight[i], rect.right);
    }
    return true;
}

}  // namespace tarn
