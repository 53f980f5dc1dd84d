// Image headers: aligned records, creation, wrapping of pixels the caller
// owns, release and border settings.
#include "ipl/ipl_image.h"

#include <cstdlib>
#include <cstring>

#include "ipl/ipl_error.h"

namespace tarn {

namespace {

constexpr uintptr_t kRecordAlign = 32;

// Copies up to four characters, stopping at a terminator: a name of three
// letters carries its terminator in the fourth byte, and a shorter one is
// never read past its end.
void CopyName(char (&to)[4], const char* from) {
    size_t i = 0;
    for (; i < 4 && from[i]; ++i) to[i] = from[i];
    for (; i < 4; ++i) to[i] = 0;
}

}  // namespace

void* IplMalloc(int64_t bytes) {
    if (bytes < 1) return nullptr;
    const uint64_t total = uint64_t(bytes) + kRecordAlign + sizeof(void*);
    if (total > SIZE_MAX / 2) return nullptr;
    void* raw = std::malloc(size_t(total));
    if (!raw) return nullptr;
    const uintptr_t start = (reinterpret_cast<uintptr_t>(raw) + sizeof(void*) + kRecordAlign - 1) & ~(kRecordAlign - 1);
    void* result = reinterpret_cast<void*>(start);
    std::memcpy(static_cast<uint8_t*>(result) - sizeof(void*), &raw, sizeof raw);
    return result;
}

void* IplMallocWords(int64_t words) { return words > INT64_MAX / 4 ? nullptr : IplMalloc(words * 4); }

void IplFree(void* block) {
    if (!block) return;
    void* raw = nullptr;
    std::memcpy(&raw, static_cast<uint8_t*>(block) - sizeof(void*), sizeof raw);
    std::free(raw);
}

ImageHeader* iplCreateImageHeader(int32_t channels, int32_t alphaChannel, uint32_t depth, const char* colorModel,
                                  const char* channelSeq, int32_t dataOrder, int32_t origin, int32_t align,
                                  int32_t width, int32_t height, ImageRoi* roi, ImageHeader* maskRoi,
                                  void* imageId, ImageTileInfo* tileInfo) {
    int32_t status = HeaderFieldStatus(channels, alphaChannel, depth, colorModel && channelSeq, dataOrder, origin,
                                       align, width, height, maskRoi);
    // Row and image sizes that do not fit the record's 32-bit fields are
    // refused as an incorrect size rather than stored wrapped.
    const int64_t bits = int64_t(width) * (depth & ~IPL_DEPTH_SIGN);
    const int64_t unit = int64_t(align) * 8;
    int64_t widthStep = 0, imageSize = 0;
    if (status == 0) {
        if (dataOrder == IPL_DATA_ORDER_PLANE) {
            widthStep = ((bits + unit - 1) & -unit) >> 3;
            imageSize = height * widthStep * channels;
        } else {
            widthStep = ((bits * channels + unit - 1) & -unit) >> 3;
            imageSize = height * widthStep;
        }
        if (widthStep > INT32_MAX || imageSize > INT32_MAX) status = -10;
    }
    if (status != 0) {
        iplError(status, "iplCreateImageHeader", "Incorrect data-ins", "iplalloc", 158);
        return nullptr;
    }
    auto* image = static_cast<ImageHeader*>(IplMalloc(sizeof(ImageHeader)));
    if (!image) {
        iplError(IPL_STS_NOMEM, "iplCreateImageHeader", "Insufficient memory", "iplalloc", 158);
        return nullptr;
    }
    std::memset(image, 0, sizeof *image);
    image->headerSize = IPL_HEADER_SIZE;
    image->channels = channels;
    image->alphaChannel = alphaChannel;
    image->depth = depth;
    CopyName(image->colorModel, colorModel);
    CopyName(image->channelSeq, channelSeq);
    image->dataOrder = dataOrder;
    image->origin = origin;
    image->align = align;
    image->width = width;
    image->height = height;
    image->roi = roi;
    image->maskRoi = maskRoi;
    image->imageId = imageId;
    image->tileInfo = tileInfo;
    image->widthStep = int32_t(widthStep);
    image->imageSize = int32_t(imageSize);
    SetImageBorder(image, 0, IPL_SIDE_TOP | IPL_SIDE_BOTTOM | IPL_SIDE_LEFT | IPL_SIDE_RIGHT, 0);
    return image;
}

void iplDeallocate(ImageHeader* image, int32_t flags) {
    if (!image) return;
    if (flags & IPL_IMAGE_ROI) {
        IplFree(image->roi);
        image->roi = nullptr;
    }
    if (flags & IPL_IMAGE_MASK) {
        iplDeallocate(image->maskRoi, IPL_IMAGE_HEADER | IPL_IMAGE_DATA | IPL_IMAGE_ROI | IPL_IMAGE_TILE);
        image->maskRoi = nullptr;
    }
    if (flags & IPL_IMAGE_TILE) {
        IplFree(image->tileInfo);
        image->tileInfo = nullptr;
    }
    if (flags & IPL_IMAGE_DATA) {
        std::free(image->imageDataOrigin);
        image->imageDataOrigin = nullptr;
        image->imageData = nullptr;
    }
    if (flags & IPL_IMAGE_HEADER) IplFree(image);
}

void iplDeallocateHeader(ImageHeader* image) { iplDeallocate(image, IPL_IMAGE_HEADER); }

void SetImageBorder(ImageHeader* image, int32_t mode, int32_t sideMask, int32_t constant) {
    if (!image) return;
    int32_t lo = INT32_MIN, hi = INT32_MAX;
    switch (image->depth) {
        case IPL_DEPTH_1U: lo = 0, hi = 1; break;
        case IPL_DEPTH_8U: lo = 0, hi = 255; break;
        case IPL_DEPTH_8S: lo = -128, hi = 127; break;
        case IPL_DEPTH_16U: lo = 0, hi = 65535; break;
        case IPL_DEPTH_16S: lo = -32768, hi = 32767; break;
        default: break;
    }
    const int32_t value = constant < lo ? lo : constant > hi ? hi : constant;
    for (int side = 0; side < 4; ++side)
        if (sideMask & (1 << side)) {
            image->borderMode[side] = mode;
            image->borderConst[side] = value;
        }
}

ImageHeader* ImageWrapHeader(int32_t width, int32_t height, int32_t bits) {
    struct Shape {
        int32_t bits, channels;
        uint32_t depth;
        const char *model, *sequence;
    };
    static constexpr Shape kShapes[] = {{1, 1, IPL_DEPTH_1U, "GRAY", "GRAY"},
                                        {8, 1, IPL_DEPTH_8U, "GRAY", "GRAY"},
                                        {24, 3, IPL_DEPTH_8U, "RGB", "BGR"},
                                        {32, 4, IPL_DEPTH_8U, "RGBA", "BGRA"}};
    for (const Shape& s : kShapes)
        if (s.bits == bits)
            return iplCreateImageHeader(s.channels, 0, s.depth, s.model, s.sequence, IPL_DATA_ORDER_PIXEL, 0, 4,
                                        width, height, nullptr, nullptr, nullptr, nullptr);
    return nullptr;
}

}  // namespace tarn
