// The validity check that every entry of the image library runs first, and
// the argument tests it shares with header creation.
#include "ipl/ipl_image.h"

#include "ipl/ipl_error.h"

namespace tarn {

namespace {

constexpr int32_t kMaskStatusOffset = 100;
// A mask whose chain of masks runs deeper than this (a mask that is its own
// mask, say) is refused instead of being followed for ever.
constexpr int kMaxMaskNesting = 8;

bool ValidDepth(uint32_t depth) {
    switch (depth) {
        case IPL_DEPTH_1U: case IPL_DEPTH_8U: case IPL_DEPTH_16U: case IPL_DEPTH_32F:
        case IPL_DEPTH_8S: case IPL_DEPTH_16S: case IPL_DEPTH_32S: return true;
        default: return false;
    }
}

int32_t CheckNested(const ImageHeader* image, int nesting);

int32_t FieldStatus(int32_t channels, int32_t alphaChannel, uint32_t depth, bool haveNames, int32_t dataOrder,
                    int32_t origin, int32_t align, int32_t width, int32_t height, const ImageHeader* maskRoi,
                    int nesting) {
    if (height < 1 || width < 1) return -10;
    if (channels < 1) return -15;
    if (depth == IPL_DEPTH_1U && channels != 1) return -16;
    if (!haveNames) return -14;
    if (!ValidDepth(depth)) return -17;
    if (alphaChannel != 0 && alphaChannel != channels) return -18;
    if (dataOrder != 0 && dataOrder != 1) return -19;
    if (origin != 0 && origin != 1) return -20;
    if (align != 4 && align != 8 && align != 16 && align != 32) return -21;
    if (maskRoi) {
        if (maskRoi->depth != IPL_DEPTH_1U) return -117;
        if (maskRoi->tileInfo) return -26;
        if (nesting >= kMaxMaskNesting) return IPL_STS_BADARG - kMaskStatusOffset;
        const int32_t mask = CheckNested(maskRoi, nesting + 1);
        if (mask != 0) return mask - kMaskStatusOffset;
    }
    return 0;
}

int32_t Steps(const ImageHeader* image, int nesting) {
    if (!image) return -9;
    const bool tiled = image->tileInfo != nullptr;
    if ((image->imageData != nullptr) == tiled) return -12;
    if (!tiled && image->imageSize < 1) return -10;
    if (!tiled && image->widthStep < 1) return -13;
    const int32_t fields = FieldStatus(image->channels, image->alphaChannel, image->depth, true, image->dataOrder,
                                       image->origin, image->align, image->width, image->height, image->maskRoi,
                                       nesting);
    if (fields != 0) return fields;
    if (tiled) {
        const ImageTileInfo& tile = *image->tileInfo;
        if (!tile.callback) return -22;
        if (tile.tileWidth < 1) return -23;
        if (tile.tileHeight < 1 || tile.tileWidth % 8 != 0 || tile.tileHeight % 8 != 0) return -23;
    }
    if (const ImageRoi* roi = image->roi) {
        if (roi->coi < 0 || roi->coi > image->channels) return -24;
        if (roi->height < 1 || roi->width < 1) return -25;
        if (roi->xOffset < 0 || roi->yOffset < 0) return -11;
    }
    return 0;
}

int32_t CheckNested(const ImageHeader* image, int nesting) {
    const int32_t status = Steps(image, nesting);
    iplSetErrStatus(status);
    return status;
}

}  // namespace

int32_t HeaderFieldStatus(int32_t channels, int32_t alphaChannel, uint32_t depth, bool haveNames,
                          int32_t dataOrder, int32_t origin, int32_t align, int32_t width, int32_t height,
                          const ImageHeader* maskRoi) {
    return FieldStatus(channels, alphaChannel, depth, haveNames, dataOrder, origin, align, width, height, maskRoi,
                       0);
}

// A passing check stores 0 as well, so that the entries' later tests of the
// status word see this call's outcome and not an earlier one.
int32_t iplCheckImageHeader(const ImageHeader* image) { return CheckNested(image, 0); }

}  // namespace tarn
