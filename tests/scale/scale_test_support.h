// Small images for the scaling tests: pixels set by value, a canary byte
// around them, and a call of ScaleImage with the usual steps.
#pragma once

#include <cstdint>
#include <vector>

#include "scale/scale.h"

namespace tarn::test {

inline constexpr uint8_t kCanary = 0xA5;

struct Image {
    uint32_t width, height, bytes;
    int32_t stride;
    std::vector<uint8_t> data;  // 64 canary bytes before and after
    Image(uint32_t w, uint32_t h, uint32_t b, int32_t pad = 0)
        : width(w), height(h), bytes(b), stride(int32_t(w * b) + pad), data(size_t(stride) * h + 128, kCanary) {}
    uint8_t* at(uint32_t x, uint32_t y) { return data.data() + 64 + size_t(y) * stride + size_t(x) * bytes; }
    uint8_t* base() { return at(0, 0); }
    // Sets every channel of a pixel to v.
    void Set(uint32_t x, uint32_t y, uint8_t v) {
        for (uint32_t c = 0; c < bytes; ++c) at(x, y)[c] = v;
    }
    void SetRow(uint32_t y, std::vector<uint8_t> values) {
        for (uint32_t x = 0; x < values.size(); ++x) Set(x, y, values[x]);
    }
    bool TailIntact() const {
        for (size_t i = data.size() - 64; i < data.size(); ++i)
            if (data[i] != kCanary) return false;
        for (size_t i = 0; i < 64; ++i)
            if (data[i] != kCanary) return false;
        return true;
    }
};

inline void Scale(Image& dst, Image& src, uint32_t mode, const uint8_t* bg = nullptr) {
    ScaleImage({dst.base(), dst.width, dst.height, dst.stride, dst.bytes},
               {src.base(), src.width, src.height, src.stride, src.bytes},
               {double(src.width) / dst.width, double(src.height) / dst.height}, mode, bg);
}

}  // namespace tarn::test
