// Rectangles of images read into memory, from their pixels or their tiles,
// with the border rules for what lies outside; and single pixels read and
// written for edge smoothing.
#include "ipl/iplborde.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tarn {

namespace {

enum BorderRule : int32_t { kConstant = 0, kReplicate = 1, kMirror = 2, kWrap = 3 };
enum Side { kTop = 0, kBottom = 1, kLeft = 2, kRight = 3 };

// A block of samples in memory: pixel (0, 0) of plane 0, row and plane bytes.
struct PixelBlock {
    uint8_t* base;
    intptr_t stride, planeStride;
};

bool BitAt(const uint8_t* row, int64_t x) { return row[x / 8] & (128 >> (x & 7)); }
void SetBit(uint8_t* row, int64_t x) { row[x / 8] = uint8_t(row[x / 8] | (128 >> (x & 7))); }

void CopyBlock(const PixelBlock& from, int32_t xFrom, int32_t yFrom, int32_t xTo, int32_t yTo, const PixelBlock& to,
               int32_t targetX, int32_t targetY, int32_t pixelBytes, int32_t planes) {
    const int32_t dx = xTo >= xFrom ? 1 : -1, dy = yTo >= yFrom ? 1 : -1;
    const int32_t nx = (xTo - xFrom) * dx + 1, ny = (yTo - yFrom) * dy + 1;
    for (int32_t p = 0; p < planes; ++p)
        for (int32_t j = 0; j < ny; ++j) {
            const uint8_t* s = from.base + p * from.planeStride + intptr_t(yFrom + j * dy) * from.stride;
            uint8_t* d = to.base + p * to.planeStride + intptr_t(targetY + j) * to.stride;
            if (pixelBytes == 0) {
                for (int32_t i = 0; i < nx; ++i)
                    if (BitAt(s, xFrom + i * dx)) SetBit(d, int64_t(targetX) + i);
            } else if (dx > 0) {
                std::memcpy(d + intptr_t(targetX) * pixelBytes, s + intptr_t(xFrom) * pixelBytes,
                            size_t(nx) * pixelBytes);
            } else {
                for (int32_t i = 0; i < nx; ++i)
                    std::memcpy(d + intptr_t(targetX + i) * pixelBytes, s + intptr_t(xFrom - i) * pixelBytes,
                                size_t(pixelBytes));
            }
        }
}

// The part of the tile range [index x size, index x size + size - 1] that
// a walk from `from` towards `to` covers, in the walk's direction.
void PartInTile(int32_t from, int32_t to, int32_t index, int32_t size, int32_t* start, int32_t* end) {
    const int32_t first = index * size, last = first + size - 1;
    if (to >= from)
        *start = std::max(from, first), *end = std::min(to, last);
    else
        *start = std::min(from, last), *end = std::max(to, first);
}

// A stretch of image coordinates [start, end] and where it reads: a run
// from `from` to `to` (one step per coordinate, either way), one repeated
// coordinate, or the side's constant.
struct Run {
    int64_t start, end;
    int32_t from, to;
    bool repeat, constant;
};

int64_t FloorDiv(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

// The runs of coordinates a to b under a border rule for an axis of `size`
// pixels. Inside the image every rule but the constant reads the
// coordinate itself; callers pass kWrap for the image's own part.
template <class Visit>
void ForEachRun(int32_t rule, int64_t a, int64_t b, int64_t size, Visit visit) {
    if (a > b) return;
    if (rule == kConstant) {
        visit(Run{a, b, 0, 0, false, true});
        return;
    }
    for (int64_t v = a; v <= b;) {
        Run run{v, b, 0, 0, false, false};
        if (rule == kReplicate && (v < 0 || v >= size)) {
            run.end = v < 0 ? std::min<int64_t>(b, -1) : b;
            run.from = run.to = int32_t(v < 0 ? 0 : size - 1);
            run.repeat = true;
        } else {
            // Mirror: with q = floor(v / size) and r = v - q size, r for an
            // even q and size - 1 - r for an odd one; wrap: r.
            const int64_t q = FloorDiv(v, size);
            run.end = std::min(b, q * size + size - 1);
            int64_t r0 = v - q * size, r1 = run.end - q * size;
            if (rule == kMirror && (q & 1)) r0 = size - 1 - r0, r1 = size - 1 - r1;
            run.from = int32_t(r0), run.to = int32_t(r1);
        }
        visit(run);
        v = run.end + 1;
    }
}

// The region buffer being filled.
struct Region {
    const ImageHeader* image;
    SampleLayout layout;
    PixelBlock block;
    int64_t x, y;  // image coordinates of the buffer's first pixel
    bool failed = false;

    // Sample value of a side's constant: its low bit for 1-bit images, the
    // low byte or word for 8 and 16 bits, a float for depth 32.
    void Fill(int32_t side, int64_t bx, int64_t by, int64_t w, int64_t h) {
        const int32_t constant = image->borderConst[side];
        uint8_t sample[4] = {};
        int32_t sampleBytes = layout.bits / 8;
        if (image->depth == IPL_DEPTH_32F) {
            const float f = float(constant);
            std::memcpy(sample, &f, 4);
        } else {
            for (int32_t i = 0; i < sampleBytes; ++i) sample[i] = uint8_t(uint32_t(constant) >> (8 * i));
        }
        for (int32_t p = 0; p < layout.planes; ++p)
            for (int64_t j = 0; j < h; ++j) {
                uint8_t* row = block.base + p * block.planeStride + (by + j) * block.stride;
                if (layout.bits == 1) {
                    if (constant & 1)
                        for (int64_t i = 0; i < w; ++i) SetBit(row, bx + i);
                    continue;
                }
                uint8_t* d = row + bx * layout.pixelBytes;
                for (int64_t i = 0; i < w * layout.pixelBytes; i += sampleBytes) std::memcpy(d + i, sample, sampleBytes);
            }
    }

    // Copies buffer column bx over the next w - 1 columns, rows by to by + h - 1.
    void RepeatColumn(int64_t bx, int64_t by, int64_t w, int64_t h) {
        for (int32_t p = 0; p < layout.planes; ++p)
            for (int64_t j = 0; j < h; ++j) {
                uint8_t* row = block.base + p * block.planeStride + (by + j) * block.stride;
                for (int64_t i = 1; i < w; ++i) {
                    if (layout.bits == 1) {
                        if (BitAt(row, bx)) SetBit(row, bx + i);
                    } else {
                        std::memcpy(row + (bx + i) * layout.pixelBytes, row + bx * layout.pixelBytes,
                                    size_t(layout.pixelBytes));
                    }
                }
            }
    }

    // Copies columns bx to bx + w - 1 of buffer row by over the next h - 1 rows.
    void RepeatRow(int64_t bx, int64_t by, int64_t w, int64_t h) {
        for (int32_t p = 0; p < layout.planes; ++p) {
            const uint8_t* first = block.base + p * block.planeStride + by * block.stride;
            for (int64_t j = 1; j < h; ++j) {
                uint8_t* row = block.base + p * block.planeStride + (by + j) * block.stride;
                if (layout.bits == 1) {
                    for (int64_t i = 0; i < w; ++i)
                        if (BitAt(first, bx + i)) SetBit(row, bx + i);
                } else {
                    std::memcpy(row + bx * layout.pixelBytes, first + bx * layout.pixelBytes,
                                size_t(w * layout.pixelBytes));
                }
            }
        }
    }

    // One run of rows by one run of columns; `side` names the constant.
    void Cell(const Run& rows, const Run& cols, int32_t side) {
        if (failed) return;
        const int64_t bx = cols.start - x, by = rows.start - y;
        const int64_t w = cols.end - cols.start + 1, h = rows.end - rows.start + 1;
        if (rows.constant || cols.constant) {
            Fill(side, bx, by, w, h);
            return;
        }
        // A repeated coordinate is copied once, then repeated in the buffer.
        const int32_t colTo = cols.repeat ? cols.from : cols.to, rowTo = rows.repeat ? rows.from : rows.to;
        if (CopyRegion(image, cols.from, rows.from, colTo, rowTo, block.base, int32_t(bx), int32_t(by), block.stride,
                       block.planeStride, layout.pixelBytes, layout.planes) != 0) {
            failed = true;
            return;
        }
        const int64_t copiedRows = rows.repeat ? 1 : h;
        if (cols.repeat) RepeatColumn(bx, by, w, copiedRows);
        if (rows.repeat) RepeatRow(bx, by, w, h);
    }
};

int32_t RuleOf(const ImageHeader* image, int32_t side) { return image->borderMode[side] & 3; }

}  // namespace

SampleLayout SampleLayoutOf(const ImageHeader* image) {
    const int32_t bits = int32_t(image->depth & ~IPL_DEPTH_SIGN);
    const bool plane = image->dataOrder == IPL_DATA_ORDER_PLANE;
    return {bits, plane ? image->channels : 1, bits == 1 ? 0 : bits / 8 * (plane ? 1 : image->channels)};
}

int64_t AlignedRowBytes(const ImageHeader* image, int64_t width) {
    const SampleLayout s = SampleLayoutOf(image);
    const int64_t perPixel = s.bits * (s.planes == 1 ? image->channels : 1);
    const int64_t unit = int64_t(image->align) * 8;
    if (width < 0 || width > (int64_t(1) << 34)) return -1;
    const int64_t bytes = ((width * perPixel + unit - 1) & -unit) / 8;
    return bytes > INT32_MAX ? -1 : bytes;
}

TileGeometry TileGeometryOf(const ImageHeader* image) {
    const ImageTileInfo* t = image->tileInfo;
    const intptr_t rowBytes = intptr_t(AlignedRowBytes(image, t->tileWidth));
    return {t->tileWidth, t->tileHeight, rowBytes, rowBytes * t->tileHeight};
}

int32_t CopyRegion(const ImageHeader* image, int32_t xFrom, int32_t yFrom, int32_t xTo, int32_t yTo, uint8_t* target,
                   int32_t targetX, int32_t targetY, intptr_t targetStride, intptr_t planeStride, int32_t pixelBytes,
                   int32_t planes) {
    // Coordinates outside the image are a caller's error, answered as failure.
    for (int32_t v : {xFrom, xTo})
        if (v < 0 || v >= image->width) return -1;
    for (int32_t v : {yFrom, yTo})
        if (v < 0 || v >= image->height) return -1;
    const PixelBlock to{target, targetStride, planeStride};
    if (image->imageData) {
        const PixelBlock from{image->imageData, image->widthStep, intptr_t(image->height) * image->widthStep};
        CopyBlock(from, xFrom, yFrom, xTo, yTo, to, targetX, targetY, pixelBytes, planes);
        return 0;
    }
    ImageTileInfo* info = image->tileInfo;
    const TileGeometry tile = TileGeometryOf(image);
    const int32_t dx = xTo >= xFrom ? 1 : -1, dy = yTo >= yFrom ? 1 : -1;
    const int32_t colFirst = xFrom / tile.width, colLast = xTo / tile.width;
    const int32_t rowFirst = yFrom / tile.height, rowLast = yTo / tile.height;
    const int32_t columns = (colLast - colFirst) * dx + 1;
    auto** held = static_cast<uint8_t**>(IplMalloc(int64_t(columns) * int64_t(sizeof(uint8_t*))));
    if (!held) return -1;
    int32_t ty = targetY;
    for (int32_t r = rowFirst;; r += dy) {
        int32_t ys, ye;
        PartInTile(yFrom, yTo, r, tile.height, &ys, &ye);
        for (int32_t k = 0; k < columns; ++k) {
            info->callback(image, colFirst + k * dx, r, 1);
            held[k] = info->tileData;
            if (!held[k]) {
                // As the tiles already made readable are not given back here,
                // a host that fails a tile must release what it lent itself.
                IplFree(held);
                return -1;
            }
        }
        int32_t tx = targetX;
        for (int32_t k = 0; k < columns; ++k) {
            const int32_t c = colFirst + k * dx;
            int32_t xs, xe;
            PartInTile(xFrom, xTo, c, tile.width, &xs, &xe);
            const PixelBlock from{held[k], tile.rowBytes, tile.planeBytes};
            CopyBlock(from, xs - c * tile.width, ys - r * tile.height, xe - c * tile.width, ye - r * tile.height, to,
                      tx, ty, pixelBytes, planes);
            tx += (xe - xs) * dx + 1;
        }
        for (int32_t k = columns - 1; k >= 0; --k) {
            info->tileData = held[k];
            info->callback(image, colFirst + k * dx, r, 4);
        }
        ty += (ye - ys) * dy + 1;
        if (r == rowLast) break;
    }
    IplFree(held);
    return 0;
}

uint8_t* ReadRegion(const ImageHeader* image, int32_t x, int32_t y, int32_t width, int32_t height, int32_t* stride) {
    if (width < 1 || height < 1) return nullptr;
    const SampleLayout layout = SampleLayoutOf(image);
    const int64_t rowBytes = AlignedRowBytes(image, width);
    if (rowBytes < 1) return nullptr;
    const int64_t planeBytes = rowBytes * height;
    auto* buffer = static_cast<uint8_t*>(IplMalloc(planeBytes * layout.planes + 16));
    if (!buffer) return nullptr;
    // Cleared: 1-bit copies only set bits, and no byte is left unwritten.
    std::memset(buffer, 0, size_t(planeBytes * layout.planes + 16));
    Region region{image, layout, {buffer, intptr_t(rowBytes), intptr_t(planeBytes)}, x, y};
    const int64_t W = image->width, H = image->height;
    const int64_t right = int64_t(x) + width - 1, bottom = int64_t(y) + height - 1;

    // Rows above and below follow their side's rule over their whole width,
    // left and right of the image too.
    const auto outerBand = [&](int32_t side, int64_t top, int64_t end) {
        const int32_t rule = RuleOf(image, side);
        ForEachRun(rule, top, end, H, [&](const Run& rows) {
            ForEachRun(rule, x, right, W, [&](const Run& cols) { region.Cell(rows, cols, side); });
        });
    };
    outerBand(kTop, y, std::min<int64_t>(bottom, -1));
    // Rows inside: the left part by the left rule, the image's part as it
    // is, the right part by the right rule.
    ForEachRun(kWrap, std::max<int64_t>(y, 0), std::min(bottom, H - 1), H, [&](const Run& rows) {
        ForEachRun(RuleOf(image, kLeft), x, std::min<int64_t>(right, -1), W,
                   [&](const Run& cols) { region.Cell(rows, cols, kLeft); });
        ForEachRun(kWrap, std::max<int64_t>(x, 0), std::min(right, W - 1), W,
                   [&](const Run& cols) { region.Cell(rows, cols, kLeft); });
        ForEachRun(RuleOf(image, kRight), std::max<int64_t>(x, W), right, W,
                   [&](const Run& cols) { region.Cell(rows, cols, kRight); });
    });
    outerBand(kBottom, std::max<int64_t>(y, H), bottom);

    if (region.failed) {
        IplFree(buffer);
        return nullptr;
    }
    *stride = int32_t(rowBytes);
    return buffer;
}

namespace {

// The tile that holds (x, y), lent in `mode`, with the pixel's place in it;
// or the image's own memory. `release` is set when a tile was lent.
struct PixelPlace {
    uint8_t* base = nullptr;
    intptr_t rowBytes = 0, planeBytes = 0;
    int32_t x = 0, y = 0, tileColumn = 0, tileRow = 0;
    bool lent = false;
};

bool Lend(const ImageHeader* image, int32_t x, int32_t y, int32_t mode, PixelPlace* place) {
    if (image->imageData) {
        *place = {image->imageData, image->widthStep, intptr_t(image->height) * image->widthStep, x, y, 0, 0, false};
        return true;
    }
    const TileGeometry tile = TileGeometryOf(image);
    place->tileColumn = x / tile.width, place->tileRow = y / tile.height;
    image->tileInfo->callback(image, place->tileColumn, place->tileRow, mode);
    place->base = image->tileInfo->tileData;
    place->rowBytes = tile.rowBytes, place->planeBytes = tile.planeBytes;
    place->x = x % tile.width, place->y = y % tile.height;
    place->lent = true;
    return place->base != nullptr;
}

void GiveBack(const ImageHeader* image, const PixelPlace& place) {
    if (!place.lent) return;
    image->tileInfo->tileData = place.base;
    image->tileInfo->callback(image, place.tileColumn, place.tileRow, 4);
}

uint8_t* SampleOf(const ImageHeader* image, const PixelPlace& p, int32_t c) {
    const int32_t sampleBytes = int32_t((image->depth & ~IPL_DEPTH_SIGN) / 8);
    const bool plane = image->dataOrder == IPL_DATA_ORDER_PLANE;
    const intptr_t column = plane ? intptr_t(p.x) * sampleBytes : (intptr_t(p.x) * image->channels + c) * sampleBytes;
    return p.base + (plane ? c * p.planeBytes : 0) + intptr_t(p.y) * p.rowBytes + column;
}

}  // namespace

bool ReadPixel(const ImageHeader* image, int32_t x, int32_t y, double* samples) {
    PixelPlace place;
    if (!Lend(image, x, y, 1, &place)) return false;
    for (int32_t c = 0; c < image->channels; ++c) {
        const uint8_t* s = SampleOf(image, place, c);
        switch (image->depth) {
            case IPL_DEPTH_8U: samples[c] = *s; break;
            case IPL_DEPTH_16U: {
                uint16_t v;
                std::memcpy(&v, s, 2);
                samples[c] = v;
                break;
            }
            default: {
                float v;
                std::memcpy(&v, s, 4);
                samples[c] = v;
            }
        }
    }
    GiveBack(image, place);
    return true;
}

bool WritePixel(const ImageHeader* image, int32_t x, int32_t y, const double* samples, int32_t firstChannel,
                int32_t channelCount) {
    PixelPlace place;
    if (!Lend(image, x, y, 2, &place)) return false;
    for (int32_t c = firstChannel; c < firstChannel + channelCount; ++c) {
        uint8_t* d = SampleOf(image, place, c);
        // 8 and 16 bits are rounded to the nearest, ties to even.
        switch (image->depth) {
            case IPL_DEPTH_8U: *d = uint8_t(std::clamp(std::nearbyint(samples[c]), 0.0, 255.0)); break;
            case IPL_DEPTH_16U: {
                const uint16_t v = uint16_t(std::clamp(std::nearbyint(samples[c]), 0.0, 65535.0));
                std::memcpy(d, &v, 2);
                break;
            }
            default: {
                const float v = float(samples[c]);
                std::memcpy(d, &v, 4);
            }
        }
    }
    GiveBack(image, place);
    return true;
}

}  // namespace tarn
