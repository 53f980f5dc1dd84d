// Platform objects that hosts exchange with the library: bitmaps in global
// memory, DirectDraw surfaces and image containers.
//
// On Windows these are the system's own. Elsewhere the library supplies a
// portable, working subset with the same names, record layouts and argument
// lists in namespace tarn::platform, so that a host can make and read the
// objects it hands to CreateFromSource and takes back from Export. Handles are
// checked: a bad one gets the failure answer the system would give, never a
// crash. Interface pointers are not handles; they must point at live objects.
#pragma once

#include <cstddef>
#include <cstdint>

#include "TarnSurface.h"

#if defined(_WIN32)
#include "PlatformWindows.h"
// The image container belongs to the editor on Windows: the library keeps its
// stand-in to itself there, and the DLL exports CreateObject alone.
#define TARN_PLATFORM_EXPORT
#else
#include "PlatformPortable.h"
#define TARN_PLATFORM_EXPORT TARN_EXPORT
#endif

namespace tarn::platform {

// ---------------------------------------------------------------------------
// The image container: an in-memory picture of rows stored top first.

struct RasterContainer;
using HRASTER = RasterContainer*;

// The record RasterGetInfo fills.
struct RASTER_INFO {
    int32_t width;
    int32_t height;
    int32_t bitsPerPixel;
    int32_t bytesPerRow;
};

// Answers of the container functions: 0 is success, anything else failure.
inline constexpr int32_t RASTER_OK = 0;
inline constexpr int32_t RASTER_E_HANDLE = 1;      // not a live container
inline constexpr int32_t RASTER_E_ARGUMENT = 2;    // a null out-argument or a bad size
inline constexpr int32_t RASTER_E_MEMORY = 3;      // the pixels could not be allocated
inline constexpr int32_t RASTER_E_NOTLOCKED = 4;   // unlock without a lock

TARN_PLATFORM_EXPORT int32_t TARN_CALL RasterGetInfo(HRASTER raster, RASTER_INFO* info);
// The first byte of the top row, and one more lock.
TARN_PLATFORM_EXPORT int32_t TARN_CALL RasterLockData(HRASTER raster, void** data);
TARN_PLATFORM_EXPORT int32_t TARN_CALL RasterUnlockData(HRASTER raster);

// For hosts: a zeroed container of `width` x `height` pixels of `bitsPerPixel`
// (1 to 32) with rows `bytesPerRow` apart; 0 there picks the packed row. Sides
// are 1 or more, and a row must hold its pixels.
TARN_PLATFORM_EXPORT int32_t TARN_CALL RasterCreate(int32_t width, int32_t height, int32_t bitsPerPixel,
                                                    int32_t bytesPerRow, HRASTER* out);
// Frees the container, locked or not.
TARN_PLATFORM_EXPORT int32_t TARN_CALL RasterFree(HRASTER raster);

}  // namespace tarn::platform
