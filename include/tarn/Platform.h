// Platform records that hosts exchange with the library.
//
// On Windows these are the system's own; elsewhere the library supplies
// portable equivalents in namespace tarn::platform so that a host can make and
// read the objects it hands over and takes back.
#pragma once

#include <cstdint>

namespace tarn::platform {

// Rectangle with exclusive right and bottom, laid out as the system's RECT.
struct RECT {
    int32_t left, top, right, bottom;
};

// The 40-byte header of a device-independent bitmap.
struct BITMAPINFOHEADER {
    uint32_t biSize;
    int32_t biWidth;
    int32_t biHeight;
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression;
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
};
static_assert(sizeof(BITMAPINFOHEADER) == 40, "BITMAPINFOHEADER is 40 bytes");

}  // namespace tarn::platform
