// The image header of the image library: the record around pixels that the
// warp works on, its creation, wrapping, release and validity check, and the
// aligned allocation of the library's own records.
//
// The record keeps the field order and meaning of its 32-bit layout, where
// it is 112 bytes with 4-byte pointers. On 64-bit the pointers are 8 bytes
// and the struct is larger, but `headerSize` still says 112: it names the
// layout, not sizeof.
#pragma once

#include <cstdint>

namespace tarn {

inline constexpr uint32_t IPL_DEPTH_SIGN = 0x80000000u;
inline constexpr uint32_t IPL_DEPTH_1U = 1;
inline constexpr uint32_t IPL_DEPTH_8U = 8;
inline constexpr uint32_t IPL_DEPTH_16U = 16;
inline constexpr uint32_t IPL_DEPTH_32F = 32;
inline constexpr uint32_t IPL_DEPTH_8S = IPL_DEPTH_SIGN | 8;
inline constexpr uint32_t IPL_DEPTH_16S = IPL_DEPTH_SIGN | 16;
inline constexpr uint32_t IPL_DEPTH_32S = IPL_DEPTH_SIGN | 32;

inline constexpr int32_t IPL_DATA_ORDER_PIXEL = 0;
inline constexpr int32_t IPL_DATA_ORDER_PLANE = 1;
inline constexpr int32_t IPL_HEADER_SIZE = 112;

// Sides of the border, bits of the side mask of SetImageBorder.
inline constexpr int32_t IPL_SIDE_TOP = 1, IPL_SIDE_BOTTOM = 2, IPL_SIDE_LEFT = 4, IPL_SIDE_RIGHT = 8;

// Release flags of iplDeallocate.
inline constexpr int32_t IPL_IMAGE_HEADER = 1, IPL_IMAGE_DATA = 2, IPL_IMAGE_ROI = 4, IPL_IMAGE_TILE = 8,
                         IPL_IMAGE_MASK = 16, IPL_IMAGE_ALL = 31;

struct ImageRoi {
    int32_t coi;  // 0: all channels, else 1 to channels
    int32_t xOffset, yOffset, width, height;
};

struct ImageHeader;

// Modes of the tile callback: 1 readable, 2 writable, 4 released.
using TileCallback = void (*)(const ImageHeader* image, int32_t tileColumn, int32_t tileRow, int32_t mode);

// Five 32-bit fields in the 32-bit layout; callback, id and tileData are
// pointers and so 8 bytes wide on 64-bit.
struct ImageTileInfo {
    TileCallback callback;
    void* id;
    uint8_t* tileData;
    int32_t tileWidth, tileHeight;  // multiples of 8
};

struct ImageHeader {
    int32_t headerSize;    // IPL_HEADER_SIZE
    int32_t id;            // 0
    int32_t channels;
    int32_t alphaChannel;  // 0, or equal to channels
    uint32_t depth;        // 1, 8, 16, 32, with IPL_DEPTH_SIGN for signed 8, 16, 32
    char colorModel[4];
    char channelSeq[4];
    int32_t dataOrder;     // 0 pixel order, 1 plane order
    int32_t origin;        // 0 or 1
    int32_t align;         // 4, 8, 16, 32
    int32_t width, height;
    ImageRoi* roi;           // null: the whole image
    ImageHeader* maskRoi;    // 1-bit mask or null
    void* imageId;
    ImageTileInfo* tileInfo; // null: pixels at imageData
    int32_t imageSize;
    uint8_t* imageData;
    int32_t widthStep;
    int32_t borderMode[4];   // top, bottom, left, right
    int32_t borderConst[4];
    uint8_t* imageDataOrigin;  // the allocation behind imageData, or null for the caller's pixels
};

// An inclusive rectangle: right and bottom are the last pixel's coordinates.
struct InclusiveRect {
    int32_t left, top, right, bottom;
};

// Aligned allocation of the library's records: 32-byte aligned, the block
// that malloc gave stored in the word before the result. The 32-bit layout
// asks for n + 36 bytes and keeps a 4-byte word; here the word is a pointer,
// so the slack is 32 plus the pointer's size. Below 1 byte: null.
void* IplMalloc(int64_t bytes);
void* IplMallocWords(int64_t words);  // four bytes per 32-bit word
void IplFree(void* block);

ImageHeader* iplCreateImageHeader(int32_t channels, int32_t alphaChannel, uint32_t depth, const char* colorModel,
                                  const char* channelSeq, int32_t dataOrder, int32_t origin, int32_t align,
                                  int32_t width, int32_t height, ImageRoi* roi, ImageHeader* maskRoi,
                                  void* imageId, ImageTileInfo* tileInfo);
void iplDeallocate(ImageHeader* image, int32_t flags);
void iplDeallocateHeader(ImageHeader* image);

// 0 or a negative status, which is also stored in the status word. Reports nothing.
int32_t iplCheckImageHeader(const ImageHeader* image);

void SetImageBorder(ImageHeader* image, int32_t mode, int32_t sideMask, int32_t constant);

// A header of 1, 8, 24 or 32 bits per pixel over no pixels yet; null for
// other bit counts. The caller stores widthStep, imageData and
// imageDataOrigin, and before iplDeallocateHeader clears the two pointers.
ImageHeader* ImageWrapHeader(int32_t width, int32_t height, int32_t bits);

// The image's rectangle, or its roi's; with `clip` cut into the image.
// False for an empty roi, and with `clip` for one wholly outside.
bool ImageRect(const ImageHeader* image, bool clip, InclusiveRect* rect);

// The status of the argument tests that creation and the check share, in
// their order; 0 when all pass.
int32_t HeaderFieldStatus(int32_t channels, int32_t alphaChannel, uint32_t depth, bool haveNames,
                          int32_t dataOrder, int32_t origin, int32_t align, int32_t width, int32_t height,
                          const ImageHeader* maskRoi);

}  // namespace tarn
