// Warps of images served in tiles. The target is worked block by block
// (its tiles, or blocks of 128 x 128 for a target in memory); for each block
// the source rectangle that the block maps back to is read into memory and
// warped by the engine's in-memory path, without edge smoothing, which the
// outer call does once at the end.
#include <algorithm>
#include <cmath>

#include "ipl/ipl_error.h"
#include "ipl/iplborde.h"
#include "ipl/ownrect.h"
#include "ipl/warp_engine.h"

namespace tarn {

namespace {

constexpr const char* kFile = "iplwarp";
constexpr int32_t kUntiledBlock = 128;
constexpr int32_t kCubicReach = 3;  // pixels around the box that the widest window may read

// The inverse mapping of a target point, summed in the order the affine quad is.
Point2 MapBack(const InverseAffine& m, double x, double y) { return {m.b * y + m.c + m.a * x, m.e * y + m.f + m.d * x}; }

}  // namespace

void WarpTiled(const ImageHeader* source, ImageHeader* target, const double quad[8], int interpolate,
               const char* functionName, int kind, const InclusiveRect& sourceRect, const InclusiveRect& targetRect,
               const InverseAffine& inverse) {
    ImageTileInfo* targetTiles = target->tileInfo;
    const int32_t blockW = targetTiles ? targetTiles->tileWidth : kUntiledBlock;
    const int32_t blockH = targetTiles ? targetTiles->tileHeight : kUntiledBlock;
    const intptr_t tileRowBytes = targetTiles ? TileGeometryOf(target).rowBytes : 0;

    ImageHeader workSource = *source, workTarget = *target;
    ImageRoi sourceRoi{source->roi ? source->roi->coi : 0, 0, 0, 0, 0};
    ImageRoi targetRoi{target->roi ? target->roi->coi : 0, 0, 0, 0, 0};
    workSource.roi = &sourceRoi, workSource.tileInfo = nullptr, workSource.imageDataOrigin = nullptr;
    workTarget.roi = &targetRoi;
    if (targetTiles) {
        workTarget.tileInfo = nullptr;
        workTarget.width = blockW, workTarget.height = blockH;
        workTarget.widthStep = int32_t(tileRowBytes);
        workTarget.imageSize = int32_t(std::min<int64_t>(int64_t(tileRowBytes) * blockH, INT32_MAX));
    }
    const int32_t planes = SampleLayoutOf(source).planes;
    const int inner = interpolate & ~IPL_SMOOTH_EDGE;

    for (int32_t row = targetRect.top / blockH; row <= targetRect.bottom / blockH; ++row) {
        for (int32_t col = targetRect.left / blockW; col <= targetRect.right / blockW; ++col) {
            const int32_t originX = col * blockW, originY = row * blockH;
            const InclusiveRect part{std::max(targetRect.left, originX), std::max(targetRect.top, originY),
                                     std::min(targetRect.right, originX + blockW - 1),
                                     std::min(targetRect.bottom, originY + blockH - 1)};
            const Point2 corners[4] = {MapBack(inverse, part.left, part.top), MapBack(inverse, part.right, part.top),
                                       MapBack(inverse, part.right, part.bottom),
                                       MapBack(inverse, part.left, part.bottom)};
            double minX = corners[0].x, maxX = minX, minY = corners[0].y, maxY = minY;
            for (const Point2& p : corners) {
                minX = std::min(minX, p.x), maxX = std::max(maxX, p.x);
                minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
            }
            const double boxL = std::floor(minX), boxT = std::floor(minY), boxR = std::ceil(maxX), boxB = std::ceil(maxY);
            if (boxR < sourceRect.left || boxL > sourceRect.right || boxB < sourceRect.top ||
                boxT > sourceRect.bottom)
                continue;
            // Clamped into the image, the box never reaches outside it, so the
            // border rules of the source take no part in a warp: only direct
            // readers of regions meet them.
            const int32_t x0 = int32_t(std::max(boxL - kCubicReach, 0.0));
            const int32_t y0 = int32_t(std::max(boxT - kCubicReach, 0.0));
            const int32_t x1 = int32_t(std::min(boxR + kCubicReach, double(source->width - 1)));
            const int32_t y1 = int32_t(std::min(boxB + kCubicReach, double(source->height - 1)));
            int32_t stride = 0;
            uint8_t* region = ReadRegion(source, x0, y0, x1 - x0 + 1, y1 - y0 + 1, &stride);
            if (!region || iplGetErrStatus() < 0) {
                IplFree(region);
                iplError(IPL_STS_BACKTRACE, functionName, "", kFile, 729);
                return;
            }
            workSource.width = x1 - x0 + 1, workSource.height = y1 - y0 + 1;
            workSource.widthStep = stride;
            workSource.imageSize = int32_t(std::min<int64_t>(int64_t(stride) * workSource.height * planes, INT32_MAX));
            workSource.imageData = region;
            sourceRoi.xOffset = sourceRect.left - x0, sourceRoi.yOffset = sourceRect.top - y0;
            sourceRoi.width = sourceRect.right - sourceRect.left + 1;
            sourceRoi.height = sourceRect.bottom - sourceRect.top + 1;

            double blockQuad[8];
            std::copy(quad, quad + 8, blockQuad);
            uint8_t* tile = nullptr;
            if (targetTiles) {
                targetTiles->callback(target, col, row, 2);
                tile = targetTiles->tileData;
                if (!tile) {
                    // The region buffer is not freed on this path (a report
                    // here ends the process under the default handler).
                    iplError(-2, functionName, "Error get tile to write", kFile, 738);
                    return;
                }
                workTarget.imageData = tile;
                for (int i = 0; i < 8; i += 2) blockQuad[i] -= originX, blockQuad[i + 1] -= originY;
                targetRoi.xOffset = part.left - originX, targetRoi.yOffset = part.top - originY;
            } else {
                targetRoi.xOffset = part.left, targetRoi.yOffset = part.top;
            }
            targetRoi.width = part.right - part.left + 1, targetRoi.height = part.bottom - part.top + 1;

            WarpEngine(&workSource, &workTarget, blockQuad, inner, functionName, kind, false);

            IplFree(region);
            if (targetTiles) {
                targetTiles->tileData = tile;
                targetTiles->callback(target, col, row, 4);
            }
            if (iplGetErrStatus() < 0) return;
        }
    }
}

}  // namespace tarn
