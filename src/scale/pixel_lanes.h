// The 4-lane pixel arithmetic of the channel drivers, plain form.
//
// Every kernel treats a pixel as four bytes whatever its size: a 3-byte pixel
// is read with a 4-byte load, so its fourth lane is the next pixel's first
// byte. Weights are per lane (byte i of the word weighs lane i); the tables
// normally replicate one weight into all four.
#pragma once

#include <cstdint>
#include <cstring>

namespace tarn {

inline uint32_t Load4(const uint8_t* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}
inline uint32_t Load3(const uint8_t* p) { return p[0] | (p[1] << 8) | (uint32_t(p[2]) << 16); }
inline void Store4(uint8_t* p, uint32_t v) { std::memcpy(p, &v, 4); }
inline void Store3(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
    p[2] = static_cast<uint8_t>(v >> 16);
}

// a + floor((b - a) * w / 256), rounding down for either sign: w = 255 does
// not reach b when b is above a. Written as (a * (256 - w) + b * w) >> 8,
// which is the same floor of a non-negative number.
inline uint32_t LerpByte(uint32_t a, uint32_t b, uint32_t w) { return (a * (256 - w) + b * w) >> 8; }

inline uint32_t Lerp(uint32_t a, uint32_t b, uint32_t w) {
    const uint32_t w8 = w & 255;
    if (w == w8 * 0x01010101u) {
        // One weight in all lanes: lanes 0 and 2, then 1 and 3, share one
        // multiply; each 16-bit half stays below 65281, so none carries.
        const uint32_t even = ((a & 0x00FF00FFu) * (256 - w8) + (b & 0x00FF00FFu) * w8) >> 8;
        const uint32_t odd = (((a >> 8) & 0x00FF00FFu) * (256 - w8) + ((b >> 8) & 0x00FF00FFu) * w8) >> 8;
        return (even & 0x00FF00FFu) | ((odd & 0x00FF00FFu) << 8);
    }
    uint32_t r = 0;
    for (int s = 0; s < 32; s += 8)
        r |= LerpByte((a >> s) & 255, (b >> s) & 255, (w >> s) & 255) << s;
    return r;
}

// Per-lane (cw * rw) >> 8, the weight of a corner pixel.
inline uint32_t CornerWeight(uint32_t cw, uint32_t rw) {
    uint32_t r = 0;
    for (int s = 0; s < 32; s += 8) r |= ((((cw >> s) & 255) * ((rw >> s) & 255)) >> 8) << s;
    return r;
}

}  // namespace tarn
