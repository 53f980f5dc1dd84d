// Reference forms of the catalogue's conversions, for pictures whose width
// is even and whose rows never move (no odd-width or overrun walks): each
// picture is a list of byte rows in the order the kernel walks them, and each
// result is worked pixel by pixel from the formulas.
#pragma once

#include <cstdint>
#include <vector>

#include "support/colour_reference.h"

namespace tarn::catref {

using Tier = ref::Tier;
using Rows = std::vector<std::vector<uint8_t>>;

enum class Order { Yuy2, Yvyu, Uyvy, Vyuy };
// Rgb32 b g r 0; Rgb24 b g r; 16-bit words low byte first; Luma and Keyed
// b g r and a fourth byte.
enum class Kind { Rgb32, Rgb24, Rgb565, Rgb555, Rgb32Luma, Rgb32Keyed };
int BytesOf(Kind k);

// Rows of a planar picture. Rows may be longer than the picture (the stride's
// padding), for the conversions that read past a row.
struct Planar {
    Rows y, u, v;
};

// The averages of the tier's body for a byte that lies in its block columns
// (`block`) or not: truncating in the MMX body's blocks, rounding elsewhere.
int Smooth3(Tier tier, bool block, int a, int b, int c);
int Average(Tier tier, bool block, int a, int b);

// Rows smoothed as the row copies do it: first and last as they are, the
// others s() of their neighbours, t() in the MMX tier's 8-byte blocks.
Rows SmoothRows(Tier tier, const Rows& in, int bytes);

// The bytes of one pixel of a kind from blue, green, red and a fourth byte.
void PutPixel(std::vector<uint8_t>& row, int x, Kind kind, ref::Rgb c, int fourth);
ref::Rgb PixelOf(const std::vector<uint8_t>& row, int x, Kind kind);

Rows PlanarToRgb(Tier tier, bool smooth, Kind kind, int threshold, const Planar& p, int width);
Rows PlanarToPacked(Tier tier, bool smooth, Order order, const Planar& p, int width);
// Without smoothing only (every tier alike); the smoothing form goes through
// ref::Yuy2ToPlanar.
Planar PackedToPlanar(Order order, const Rows& packed, int width);
Rows PackedToRgb(Tier tier, Order order, Kind kind, const Rows& packed, int width);
Rows Reorder(Order from, Order to, const Rows& packed, int width);
Rows RgbToPacked(Kind in, Order order, const Rows& rgb, int width);
Planar RgbToPlanar(Kind in, const Rows& rgb, int width);
Rows RgbToRgb(Kind from, Kind to, const Rows& rgb, int width);
// Luma rows, then the interleaved chroma rows (bytes 0 and 1 left out).
Rows PlanarToSemiPlanarChroma(const Planar& p, int width);
// `y` the luma plane rows, `c` the chroma plane rows of the source buffer;
// `field` for the field layout. The table form in every tier.
Rows SemiPlanarToRgb24(bool field, const Rows& y, const Rows& c, int width, int rows);

}  // namespace tarn::catref
