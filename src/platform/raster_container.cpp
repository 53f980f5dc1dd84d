// Portable image container: a picture in memory, rows stored top first,
// behind a checked handle with a lock count.
#include "tarn/Platform.h"

#include "platform/handle_table.h"

namespace tarn::platform {

struct RasterContainer {
    RASTER_INFO info{};
    uint32_t locks = 0;
    std::unique_ptr<uint8_t[]> bytes;
};

namespace {

HandleTable<RasterContainer>& Containers() {
    static HandleTable<RasterContainer> table;
    return table;
}

uintptr_t Key(HRASTER raster) { return reinterpret_cast<uintptr_t>(raster); }

}  // namespace

int32_t RasterCreate(int32_t width, int32_t height, int32_t bitsPerPixel, int32_t bytesPerRow,
                     HRASTER* out) {
    if (!out || width < 1 || height < 1 || bitsPerPixel < 1 || bitsPerPixel > 32 ||
        bytesPerRow < 0)
        return RASTER_E_ARGUMENT;
    const int64_t packedRow = (int64_t(width) * bitsPerPixel + 7) / 8;
    const int64_t row = bytesPerRow ? bytesPerRow : packedRow;
    if (row < packedRow) return RASTER_E_ARGUMENT;
    const int64_t bytes = row * height;
    if (bytes > int64_t(kMaxPlatformBytes)) return RASTER_E_ARGUMENT;

    std::unique_ptr<RasterContainer> container(new (std::nothrow) RasterContainer);
    if (!container) return RASTER_E_MEMORY;
    container->info = {width, height, bitsPerPixel, static_cast<int32_t>(row)};
    container->bytes = NewZeroedBytes(static_cast<size_t>(bytes));
    if (!container->bytes) return RASTER_E_MEMORY;
    const uintptr_t handle = Containers().Insert(std::move(container));
    if (!handle) return RASTER_E_MEMORY;
    *out = reinterpret_cast<HRASTER>(handle);
    return RASTER_OK;
}

int32_t RasterFree(HRASTER raster) {
    return Containers().Remove(Key(raster)) ? RASTER_OK : RASTER_E_HANDLE;
}

int32_t RasterGetInfo(HRASTER raster, RASTER_INFO* info) {
    return Containers().With(Key(raster), RASTER_E_HANDLE, [info](RasterContainer& c) {
        if (!info) return RASTER_E_ARGUMENT;
        *info = c.info;
        return RASTER_OK;
    });
}

int32_t RasterLockData(HRASTER raster, void** data) {
    return Containers().With(Key(raster), RASTER_E_HANDLE, [data](RasterContainer& c) {
        if (!data) return RASTER_E_ARGUMENT;
        ++c.locks;
        *data = c.bytes.get();
        return RASTER_OK;
    });
}

int32_t RasterUnlockData(HRASTER raster) {
    return Containers().With(Key(raster), RASTER_E_HANDLE, [](RasterContainer& c) {
        if (c.locks == 0) return RASTER_E_NOTLOCKED;
        --c.locks;
        return RASTER_OK;
    });
}

}  // namespace tarn::platform
