// Fixed-point BT.601 studio-range products used by the table form of the
// planar-to-RGB kernels. Each entry is factor x 8192 x (sample - offset),
// worked out by the compiler: the tables are initialised data, so nothing
// has to run before the first conversion.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tarn {

using ColourTable = std::array<int32_t, 256>;

template <int32_t Factor, int32_t Offset>
constexpr ColourTable ProductsOf() {
    ColourTable t{};
    for (int32_t i = 0; i < 256; ++i) t[size_t(i)] = Factor * (i - Offset);
    return t;
}

inline constexpr ColourTable kLumaTable = ProductsOf<9535, 16>();    // 1.16394
inline constexpr ColourTable kBlueFromU = ProductsOf<16531, 128>();  // 2.01794
inline constexpr ColourTable kGreenFromU = ProductsOf<3203, 128>();  // 0.39099
inline constexpr ColourTable kGreenFromV = ProductsOf<6660, 128>();  // 0.81299
inline constexpr ColourTable kRedFromV = ProductsOf<13074, 128>();   // 1.59595

}  // namespace tarn
