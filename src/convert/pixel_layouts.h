// Byte layouts of the packed 4:2:2 orders and of the RGB pixels the
// conversion kernels read and write.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

// The four packed 4:2:2 orders: the bytes of one pixel pair.
//   Yuy2  Y0 Cb Y1 Cr     Yvyu  Y0 Cr Y1 Cb
//   Uyvy  Cb Y0 Cr Y1     Vyuy  Cr Y0 Cb Y1
enum class PackedOrder : uint8_t { Yuy2, Yvyu, Uyvy, Vyuy };

// Where each sample of a pair stands in an order.
struct PairPositions {
    uint8_t y0, u, y1, v;
};
constexpr PairPositions PositionsOf(PackedOrder order) {
    constexpr PairPositions table[] = {{0, 1, 2, 3}, {0, 3, 2, 1}, {1, 0, 3, 2}, {1, 2, 3, 0}};
    return table[static_cast<int>(order)];
}

// Pixels on the RGB side. Rgb32 is blue, green, red, 0; Rgb24 blue, green,
// red; Rgb565 and Rgb555 are little-endian 16-bit words (red high, blue in
// bits 0 to 4). Rgb32Luma carries the luma sample used for the pixel in the
// fourth byte, Rgb32Keyed 255 or 0 from a luma threshold.
enum class RgbKind : uint8_t { Rgb32, Rgb24, Rgb565, Rgb555, Rgb32Luma, Rgb32Keyed };

constexpr int BytesOf(RgbKind kind) {
    constexpr int table[] = {4, 3, 2, 2, 4, 4};
    return table[static_cast<int>(kind)];
}

// 16-bit packing: expansion leaves the low bits 0 (no replication), reduction
// drops them (no dither).
constexpr uint16_t Pack565(uint32_t b, uint32_t g, uint32_t r) {
    return static_cast<uint16_t>(((r & 248) << 8) | ((g & 252) << 3) | (b >> 3));
}
constexpr uint16_t Pack555(uint32_t b, uint32_t g, uint32_t r) {
    return static_cast<uint16_t>(((r & 248) << 7) | ((g & 248) << 2) | (b >> 3));
}
struct Channels {
    uint8_t b, g, r;
};
constexpr Channels Expand565(uint32_t w) {
    return {static_cast<uint8_t>((w & 31) << 3), static_cast<uint8_t>(((w >> 5) & 63) << 2),
            static_cast<uint8_t>(((w >> 11) & 31) << 3)};
}
constexpr Channels Expand555(uint32_t w) {
    return {static_cast<uint8_t>((w & 31) << 3), static_cast<uint8_t>(((w >> 5) & 31) << 3),
            static_cast<uint8_t>(((w >> 10) & 31) << 3)};
}
// Red and green move by one bit, blue stays: 565 to 555 drops green's low
// bit, 555 to 565 gives green a low bit of 0 (bit 15 of a 555 word is lost).
constexpr uint16_t Rgb565To555(uint32_t w) { return static_cast<uint16_t>(((w >> 1) & 0x7FE0) | (w & 31)); }
constexpr uint16_t Rgb555To565(uint32_t w) { return static_cast<uint16_t>(((w << 1) & 0xFFC0) | (w & 31)); }

}  // namespace tarn
