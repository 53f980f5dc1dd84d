// Reference forms of the catalogue's conversions, pixel by pixel.
#include "catalogue_reference.h"

namespace tarn::catref {

namespace {

struct Positions {
    int y0, u, y1, v;
};
Positions PositionsOf(Order o) {
    // Yuy2: Y0 Cb Y1 Cr; Yvyu: Y0 Cr Y1 Cb; Uyvy: Cb Y0 Cr Y1; Vyuy: Cr Y0 Cb Y1.
    static const Positions at[] = {{0, 1, 2, 3}, {0, 3, 2, 1}, {1, 0, 3, 2}, {1, 2, 3, 0}};
    return at[int(o)];
}

// A planar picture of P row pairs, `width` wide.
Planar PlanarOfSize(int P, int width) {
    return {Rows(size_t(2 * P), std::vector<uint8_t>(size_t(width))),
            Rows(size_t(P), std::vector<uint8_t>(size_t(width / 2))),
            Rows(size_t(P), std::vector<uint8_t>(size_t(width / 2)))};
}

int Floor(int v, int shift) { return v >= 0 ? v >> shift : -((-v + (1 << shift) - 1) >> shift); }
int LowPlus128(int v) { return (v + 128) & 255; }

// Block columns of a body in pixels, for a row of `width` pixels.
int BlockPixels(Tier tier, int width, int mmxBlock) {
    if (tier == Tier::Sse2) return width / 16 * 16;
    if (tier == Tier::Mmx || tier == Tier::Pavg) return width / mmxBlock * mmxBlock;
    return 0;
}

}  // namespace

int BytesOf(Kind k) {
    static const int bytes[] = {4, 3, 2, 2, 4, 4};
    return bytes[int(k)];
}

int Smooth3(Tier tier, bool block, int a, int b, int c) {
    return tier == Tier::Mmx && block ? ref::T(a, b, c) : ref::S(a, b, c);
}
int Average(Tier tier, bool block, int a, int b) {
    return tier == Tier::Mmx && block ? ref::M(a, b) : ref::R(a, b);
}

// Luma of row r of a picture made in row pairs: the first and last rows as
// stored, the others smoothed with their neighbours.
int PairLuma(Tier tier, bool smooth, bool block, const Rows& y, int r, int x) {
    const int last = int(y.size()) / 2 * 2 - 1;
    if (!smooth || r == 0 || r == last) return y[r][x];
    return Smooth3(tier, block, y[r - 1][x], y[r + 1][x], y[r][x]);
}

Rows SmoothRows(Tier tier, const Rows& in, int bytes) {
    Rows out = in;
    const int rows = int(in.size());
    for (int r = 1; r < rows - 1; ++r)
        for (int i = 0; i < bytes; ++i)
            out[r][i] = uint8_t(Smooth3(tier, i < (bytes & ~7), in[r - 1][i], in[r + 1][i], in[r][i]));
    return out;
}

void PutPixel(std::vector<uint8_t>& row, int x, Kind kind, ref::Rgb c, int fourth) {
    const int n = BytesOf(kind);
    if (kind == Kind::Rgb565 || kind == Kind::Rgb555) {
        const int w = kind == Kind::Rgb565 ? ((c.r & 248) << 8) | ((c.g & 252) << 3) | (c.b >> 3)
                                           : ((c.r & 248) << 7) | ((c.g & 248) << 2) | (c.b >> 3);
        row[2 * x] = uint8_t(w & 255);
        row[2 * x + 1] = uint8_t(w >> 8);
        return;
    }
    row[n * x] = uint8_t(c.b);
    row[n * x + 1] = uint8_t(c.g);
    row[n * x + 2] = uint8_t(c.r);
    if (n == 4) row[n * x + 3] = uint8_t(fourth);
}

ref::Rgb PixelOf(const std::vector<uint8_t>& row, int x, Kind kind) {
    if (kind == Kind::Rgb565 || kind == Kind::Rgb555) {
        const int w = row[2 * x] | row[2 * x + 1] << 8;
        if (kind == Kind::Rgb565) return {(w & 31) << 3, ((w >> 5) & 63) << 2, ((w >> 11) & 31) << 3};
        return {(w & 31) << 3, ((w >> 5) & 31) << 3, ((w >> 10) & 31) << 3};
    }
    const int n = BytesOf(kind);
    return {row[n * x], row[n * x + 1], row[n * x + 2]};
}

Rows PlanarToRgb(Tier tier, bool smooth, Kind kind, int threshold, const Planar& p, int width) {
    const int rows = int(p.y.size()), P = rows / 2;
    const int nb = BlockPixels(tier, width, 8);
    Rows out(size_t(2 * P), std::vector<uint8_t>(size_t(width * BytesOf(kind))));
    for (int r = 0; r < 2 * P; ++r) {
        const int k = r / 2;
        for (int x = 0; x < width; ++x) {
            const bool block = x < nb;
            const int y = PairLuma(tier, smooth, block, p.y, r, x);
            const auto chroma = [&](const Rows& c) {
                const int i = x / 2;
                if (!smooth) return int(c[k][i]);
                if (k != 0 && k != P - 1) return Smooth3(tier, block, c[k - 1][i], c[k + 1][i], c[k][i]);
                if (!block || tier == Tier::Plain) return int(k == 0 ? c[0][i] : c[P - 2][i]);
                // The Pavg body's first pair of 32-bit output averages rows 0 and 4.
                const int other = tier == Tier::Pavg && kind == Kind::Rgb32 ? 4 : 1;
                if (k == 0) return Average(tier, block, c[0][i], c[other][i]);
                return Average(tier, block, c[P - 2][i], c[P - 1][i]);
            };
            const int u = chroma(p.u), v = chroma(p.v);
            const ref::Rgb c = block ? ref::Vector(y, u, v) : ref::Table(y, u, v);
            const int fourth = kind == Kind::Rgb32Luma    ? y
                               : kind == Kind::Rgb32Keyed ? (threshold > 255 || p.y[r][x] > threshold ? 255 : 0)
                                                          : 0;
            PutPixel(out[r], x, kind, c, fourth);
        }
    }
    return out;
}

Rows PlanarToPacked(Tier tier, bool smooth, Order order, const Planar& p, int width) {
    const int rows = int(p.y.size()), P = rows / 2;
    const int nb = tier == Tier::Mmx ? width / 16 * 16 : 0;
    const Positions at = PositionsOf(order);
    Rows out(size_t(2 * P), std::vector<uint8_t>(size_t(width * 2)));
    for (int r = 0; r < 2 * P; ++r) {
        const int k = r / 2;
        for (int x = 0; x < width; ++x) {
            const bool block = x < nb;
            const int y = PairLuma(tier, smooth, block, p.y, r, x);
            const auto chroma = [&](const Rows& c) {
                const int i = x / 2;
                if (!smooth) return int(c[k][i]);
                if (k == 0) return Average(tier, block, c[0][i], c[1][i]);
                if (k == P - 1) return Average(tier, block, c[P - 2][i], c[P - 1][i]);
                return Smooth3(tier, block, c[k - 1][i], c[k + 1][i], c[k][i]);
            };
            uint8_t* pair = &out[r][4 * (x / 2)];
            pair[x % 2 ? at.y1 : at.y0] = uint8_t(y);
            pair[x % 2 ? at.v : at.u] = uint8_t(chroma(x % 2 ? p.v : p.u));
        }
    }
    return out;
}

Planar PackedToPlanar(Order order, const Rows& packed, int width) {
    const Positions at = PositionsOf(order);
    const int P = int(packed.size()) / 2;
    Planar out = PlanarOfSize(P, width);
    for (int k = 0; k < P; ++k)
        for (int j = 0; j < width / 2; ++j) {
            const uint8_t* a = &packed[2 * k][4 * j];
            const uint8_t* b = &packed[2 * k + 1][4 * j];
            out.y[2 * k][2 * j] = a[at.y0];
            out.y[2 * k][2 * j + 1] = a[at.y1];
            out.y[2 * k + 1][2 * j] = b[at.y0];
            out.y[2 * k + 1][2 * j + 1] = b[at.y1];
            out.u[k][j] = uint8_t(ref::R(a[at.u], b[at.u]));
            out.v[k][j] = uint8_t(ref::R(a[at.v], b[at.v]));
        }
    return out;
}

Rows PackedToRgb(Tier tier, Order order, Kind kind, const Rows& packed, int width) {
    const Positions at = PositionsOf(order);
    const int nb = BlockPixels(tier, width, 8);
    Rows out(packed.size(), std::vector<uint8_t>(size_t(width * BytesOf(kind))));
    for (size_t r = 0; r < packed.size(); ++r)
        for (int x = 0; x < width; ++x) {
            const uint8_t* pair = &packed[r][4 * (x / 2)];
            const int y = pair[x % 2 ? at.y1 : at.y0], u = pair[at.u], v = pair[at.v];
            PutPixel(out[r], x, kind, x < nb ? ref::Vector(y, u, v) : ref::Table(y, u, v), 0);
        }
    return out;
}

Rows Reorder(Order from, Order to, const Rows& packed, int width) {
    const Positions f = PositionsOf(from), t = PositionsOf(to);
    Rows out(packed.size(), std::vector<uint8_t>(size_t(width * 2)));
    for (size_t r = 0; r < packed.size(); ++r)
        for (int j = 0; j < width / 2; ++j) {
            const uint8_t* s = &packed[r][4 * j];
            uint8_t* d = &out[r][4 * j];
            d[t.y0] = s[f.y0];
            d[t.u] = s[f.u];
            d[t.y1] = s[f.y1];
            d[t.v] = s[f.v];
        }
    return out;
}

Rows RgbToPacked(Kind in, Order order, const Rows& rgb, int width) {
    const Positions at = PositionsOf(order);
    Rows out(rgb.size(), std::vector<uint8_t>(size_t(width * 2)));
    for (size_t r = 0; r < rgb.size(); ++r)
        for (int j = 0; j < width / 2; ++j) {
            const ref::Rgb a = PixelOf(rgb[r], 2 * j, in), b = PixelOf(rgb[r], 2 * j + 1, in);
            const int sb = a.b + b.b, sg = a.g + b.g, sr = a.r + b.r;
            uint8_t* d = &out[r][4 * j];
            d[at.y0] = uint8_t(ref::Luma(a.b, a.g, a.r));
            d[at.y1] = uint8_t(ref::Luma(b.b, b.g, b.r));
            d[at.u] = uint8_t(LowPlus128(Floor(112 * sb - 74 * sg - 38 * sr, 9)));
            d[at.v] = uint8_t(LowPlus128(Floor(112 * sr - 94 * sg - 18 * sb, 9)));
        }
    return out;
}

Planar RgbToPlanar(Kind in, const Rows& rgb, int width) {
    const int P = int(rgb.size()) / 2;
    Planar out = PlanarOfSize(P, width);
    for (int k = 0; k < P; ++k)
        for (int j = 0; j < width / 2; ++j) {
            int sb = 0, sg = 0, sr = 0;
            for (int i = 0; i < 4; ++i) {
                const int r = 2 * k + i / 2, x = 2 * j + i % 2;
                const ref::Rgb c = PixelOf(rgb[r], x, in);
                out.y[r][x] = uint8_t(ref::Luma(c.b, c.g, c.r));
                sb += c.b, sg += c.g, sr += c.r;
            }
            out.u[k][j] = uint8_t(LowPlus128(Floor(112 * sb - 74 * sg - 38 * sr, 10)));
            out.v[k][j] = uint8_t(LowPlus128(Floor(112 * sr - 94 * sg - 18 * sb, 10)));
        }
    return out;
}

Rows RgbToRgb(Kind from, Kind to, const Rows& rgb, int width) {
    Rows out(rgb.size(), std::vector<uint8_t>(size_t(width * BytesOf(to))));
    for (size_t r = 0; r < rgb.size(); ++r)
        for (int x = 0; x < width; ++x) {
            // Expanded, then packed: between the 16-bit packings this moves
            // red and green by one bit, green's new low bit 0 or dropped.
            PutPixel(out[r], x, to, PixelOf(rgb[r], x, from), 0);
        }
    return out;
}

Rows PlanarToSemiPlanarChroma(const Planar& p, int width) {
    Rows out(p.u.size(), std::vector<uint8_t>(size_t(width + 2)));
    for (size_t k = 0; k < p.u.size(); ++k)
        for (int i = 1; i <= width / 2; ++i) {
            out[k][2 * i] = p.u[k][i];  // sample width / 2 lies in the row's padding
            out[k][2 * i + 1] = p.v[k][i];
        }
    return out;
}

Rows SemiPlanarToRgb24(bool field, const Rows& y, const Rows& c, int width, int rows) {
    const int planeRows = int(y.size());
    Rows out(size_t(rows / 2 * 2), std::vector<uint8_t>(size_t(width * 3)));
    for (int r = 0; r < rows / 2 * 2; ++r) {
        const int f = field ? r % 2 : 0, j = field ? r / 2 : r;
        const std::vector<uint8_t>& luma = y[size_t(f * planeRows / 2 + j)];
        const std::vector<uint8_t>& chroma = c[size_t(f * planeRows / 4 + j / 2)];
        for (int x = 0; x < width; ++x) {
            const int u = chroma[2 * (x / 2)], v = chroma[2 * (x / 2) + 1];
            PutPixel(out[r], x, Kind::Rgb24, ref::Table(luma[x], u, v), 0);
        }
    }
    return out;
}

}  // namespace tarn::catref
