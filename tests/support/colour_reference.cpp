// Reference forms of the colour kernels, written from the stated arithmetic.
#include "colour_reference.h"

namespace tarn::ref {

int R(int a, int b) { return (a + b + 1) >> 1; }
int M(int a, int b) { return (a >> 1) + (b >> 1); }
int S(int a, int b, int c) { return (R(a, b) + c + 1) >> 1; }
int T(int a, int b, int c) {
    const auto sat = [](int v) { return v > 255 ? 255 : v; };
    return sat((sat((a >> 1) + (b >> 1)) >> 1) + (c >> 1));
}

namespace {

int Clamp(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }
int Sat16(int v) { return v < -32768 ? -32768 : v > 32767 ? 32767 : v; }
// Floor division by a power of two, spelled out rather than shifted.
int FloorDiv(int v, int d) { return v >= 0 ? v / d : -((-v + d - 1) / d); }
uint8_t Low(int v) { return static_cast<uint8_t>(v & 0xFF); }

int Cb(int b, int g, int r, int divisor) { return Low(FloorDiv(112 * b - 74 * g - 38 * r, divisor) + 128); }
int Cr(int b, int g, int r, int divisor) { return Low(FloorDiv(112 * r - 94 * g - 18 * b, divisor) + 128); }

void PutRgb(const Mem& m, ptrdiff_t at, int bpp, Rgb c) {
    m.Put(at, uint8_t(c.b));
    m.Put(at + 1, uint8_t(c.g));
    m.Put(at + 2, uint8_t(c.r));
    if (bpp == 4) m.Put(at + 3, 0);
}

// First row of the walk and its step: a negative height starts at the last row.
void Walk(ptrdiff_t first, int stride, int height, ptrdiff_t* start, ptrdiff_t* step) {
    const int rows = height < 0 ? -height : height;
    *start = height < 0 ? first + ptrdiff_t(rows - 1) * stride : first;
    *step = height < 0 ? -stride : stride;
}

}  // namespace

Rgb Table(int y, int u, int v) {
    const int l = 9535 * (y - 16);
    return {Clamp(FloorDiv(l + 16531 * (u - 128), 8192)),
            Clamp(FloorDiv(l - 3203 * (u - 128) - 6660 * (v - 128), 8192)),
            Clamp(FloorDiv(l + 13074 * (v - 128), 8192))};
}

Rgb Vector(int y, int u, int v) {
    const int l = 74 * (y - 16);
    const int gc = Sat16(25 * (u - 128) + 52 * (v - 128));
    return {Clamp(FloorDiv(Sat16(l + 129 * (u - 128)), 64)), Clamp(FloorDiv(Sat16(l - gc), 64)),
            Clamp(FloorDiv(Sat16(l + 102 * (v - 128)), 64))};
}

int Luma(int b, int g, int r) { return ((66 * r + 129 * g + 25 * b) >> 8) + 16; }

void PlanarToRgbSmooth(Tier tier, int bpp, const Mem& dst, ptrdiff_t dst0, int dstStride,
                       const Mem& src, const PlanarSrc& p, int width, int height) {
    const int rows = height < 0 ? -height : height;
    if (rows < 4 || width < 2) return;
    const int P = rows / 2, pairs = width / 2;
    ptrdiff_t start, step;
    Walk(dst0, dstStride, height, &start, &step);
    for (int k = 0; k < P; ++k) {
        int nb = 0, rem = pairs, over = 0;
        if (tier == Tier::Sse2) {
            nb = width / 16 * 16;
            rem = pairs % 8;
        } else if (tier == Tier::Mmx) {
            nb = width / 8 * 8;
            rem = k == 0 ? pairs % 4 : pairs % 8;
            over = ((width & 8) && k >= 1) ? k - 1 : 0;
        }
        const int shift = -(width % 2) * k + 8 * over, cshift = 4 * over;
        const int n = nb + 2 * rem;
        const auto Y = [&](int r, int x) { return int(src.Get(p.y + ptrdiff_t(r) * p.yStride + shift + x)); };
        const auto luma = [&](int r, int x) {
            if (r == 0 || r == 2 * P - 1) return Y(r, x);
            if (tier == Tier::Mmx && x < nb) return T(Y(r - 1, x), Y(r + 1, x), Y(r, x));
            return S(Y(r - 1, x), Y(r + 1, x), Y(r, x));
        };
        const auto chroma = [&](ptrdiff_t plane, int x) {
            const auto C = [&](int j) { return int(src.Get(plane + ptrdiff_t(j) * p.uvStride + cshift + x / 2)); };
            const bool block = x < nb;
            if (!block || tier == Tier::Plain) {
                if (k == 0) return C(0);
                if (k == P - 1) return C(P - 2);
                return S(C(k - 1), C(k + 1), C(k));
            }
            if (tier == Tier::Sse2) {
                if (k == 0) return R(C(0), C(1));
                if (k == P - 1) return R(C(P - 2), C(P - 1));
                return S(C(k - 1), C(k + 1), C(k));
            }
            if (k == 0) return M(C(0), C(1));
            if (k == P - 1) return M(C(P - 2), C(P - 1));
            return T(C(k - 1), C(k + 1), C(k));
        };
        const auto pixel = [&](int i, int x) {
            const int y = luma(2 * k + i, x), u = chroma(p.u, x), v = chroma(p.v, x);
            const Rgb c = x < nb ? Vector(y, u, v) : Table(y, u, v);
            PutRgb(dst, start + ptrdiff_t(2 * k + i) * step + ptrdiff_t(shift + x) * bpp, bpp, c);
        };
        if (tier != Tier::Mmx) {
            for (int i = 0; i < 2; ++i)
                for (int x = 0; x < n; ++x) pixel(i, x);
            continue;
        }
        // The MMX body stores 8-pixel blocks, then pairs, each for both rows.
        for (int x0 = 0; x0 < n; x0 += x0 < nb ? 8 : 2) {
            const int unit = x0 < nb ? 8 : 2;
            for (int i = 0; i < 2; ++i)
                for (int x = x0; x < x0 + unit; ++x) pixel(i, x);
        }
    }
}

void PlanarToRgb24Rows(const Mem& dst, ptrdiff_t dst0, int dstStride, const Mem& src,
                       const PlanarSrc& p, int width, int height) {
    const int rows = height < 0 ? -height : height;
    if (width < 2) return;
    ptrdiff_t start, step;
    Walk(dst0, dstStride, height, &start, &step);
    const int nb = width / 16 * 16, n = width / 2 * 2;
    for (int r = 0; r < rows; ++r) {
        const int shift = -(width % 2) * r;
        const ptrdiff_t crow = ptrdiff_t(r / 2) * p.uvStride;
        for (int x = 0; x < n; ++x) {
            const int y = src.Get(p.y + ptrdiff_t(r) * p.yStride + shift + x);
            const ptrdiff_t at = start + ptrdiff_t(r) * step + ptrdiff_t(shift + x) * 3;
            if (x < nb) {
                PutRgb(dst, at, 3, Vector(y, src.Get(p.u + crow + x / 2), src.Get(p.v + crow + x / 2)));
            } else {
                // Chroma of column 0, red stored first.
                const Rgb c = Table(y, src.Get(p.u + crow), src.Get(p.v + crow));
                PutRgb(dst, at, 3, {c.r, c.g, c.b});
            }
        }
    }
}

void RgbToPlanar(int bpp, const Mem& dst, const PlanarSrc& p, const Mem& src, ptrdiff_t src0,
                 int srcStride, int width, int height) {
    const int rows = height < 0 ? -height : height;
    const int pairs = width / 2;
    if (rows < 2 || pairs == 0) return;
    ptrdiff_t start, step;
    Walk(src0, srcStride, height, &start, &step);
    for (int k = 0; k < rows / 2; ++k) {
        const int shift = -(width % 2) * k;
        for (int j = 0; j < pairs; ++j) {
            int sb = 0, sg = 0, sr = 0;
            for (int i = 0; i < 2; ++i) {
                for (int c = 0; c < 2; ++c) {
                    const ptrdiff_t px = start + ptrdiff_t(2 * k + i) * step + ptrdiff_t(shift + 2 * j + c) * bpp;
                    const int b = src.Get(px), g = src.Get(px + 1), r = src.Get(px + 2);
                    sb += b;
                    sg += g;
                    sr += r;
                    dst.Put(p.y + ptrdiff_t(2 * k + i) * p.yStride + shift + 2 * j + c, uint8_t(Luma(b, g, r)));
                }
            }
            dst.Put(p.u + ptrdiff_t(k) * p.uvStride + j, uint8_t(Cb(sb, sg, sr, 1024)));
            dst.Put(p.v + ptrdiff_t(k) * p.uvStride + j, uint8_t(Cr(sb, sg, sr, 1024)));
        }
    }
}

void PlanarToYuy2(Tier tier, const Mem& dst, ptrdiff_t dst0, int dstStride, const Mem& src,
                  const PlanarSrc& p, int width, int height) {
    const int rows = height < 0 ? -height : height;
    const int pairs = width / 2;
    if (rows < 4 || pairs == 0) return;
    const int P = rows / 2;
    ptrdiff_t start, step;
    Walk(dst0, dstStride, height, &start, &step);
    const int nb = tier == Tier::Mmx ? width / 16 * 16 : 0;
    for (int k = 0; k < P; ++k) {
        const int shift = -(width % 2) * k;
        for (int i = 0; i < 2; ++i) {
            const int r = 2 * k + i;
            for (int x = 0; x < 2 * pairs; ++x) {
                const bool block = x < nb;
                const auto Y = [&](int row) { return int(src.Get(p.y + ptrdiff_t(row) * p.yStride + shift + x)); };
                int y = Y(r);
                if (r != 0 && r != 2 * P - 1) y = block ? T(Y(r - 1), Y(r + 1), Y(r)) : S(Y(r - 1), Y(r + 1), Y(r));
                const auto chroma = [&](ptrdiff_t plane) {
                    const auto C = [&](int j) { return int(src.Get(plane + ptrdiff_t(j) * p.uvStride + x / 2)); };
                    if (k == 0) return block ? M(C(0), C(1)) : R(C(0), C(1));
                    if (k == P - 1) return block ? M(C(P - 2), C(P - 1)) : R(C(P - 2), C(P - 1));
                    return block ? T(C(k - 1), C(k + 1), C(k)) : S(C(k - 1), C(k + 1), C(k));
                };
                const ptrdiff_t at = start + ptrdiff_t(r) * step + ptrdiff_t(shift) * 2 + 4 * (x / 2);
                dst.Put(at + 2 * (x % 2), uint8_t(y));
                dst.Put(at + 1 + 2 * (x % 2), uint8_t(chroma(x % 2 == 0 ? p.u : p.v)));
            }
        }
    }
}

void Yuy2ToPlanar(Tier tier, const Mem& dst, const PlanarSrc& p, const Mem& src, ptrdiff_t src0,
                  int srcStride, int width, int height) {
    const int rows = height < 0 ? -height : height;
    const int pairs = width / 2;
    if (rows < 4 || pairs == 0) return;
    const int P = rows / 2;
    ptrdiff_t start, step;
    Walk(src0, srcStride, height, &start, &step);
    const int blockPairs = tier == Tier::Mmx || tier == Tier::Pavg ? width / 8 * 4 : tier == Tier::Sse2 ? width / 16 * 8 : 0;
    for (int k = 0; k < P; ++k) {
        const int shift = -(width % 2) * k;
        const auto raw = [&](int r, int b) { return int(src.Get(start + ptrdiff_t(r) * step + shift * 2 + b)); };
        const auto Fr = [&](int r, int b) {
            if (r == 0 || r == 2 * P - 1) return raw(r, b);
            return S(raw(r - 1, b), raw(r + 1, b), raw(r, b));
        };
        const auto Ft = [&](int r, int b) {
            if (r == 0 || r == 2 * P - 1) return raw(r, b);
            return T(raw(r - 1, b), raw(r + 1, b), raw(r, b));
        };
        for (int j = 0; j < pairs; ++j) {
            int y0[2], y1[2], u, v;
            const int b = 4 * j;
            if (j < blockPairs || tier == Tier::Plain) {
                const bool trunc = tier == Tier::Mmx;
                const auto F = [&](int r, int at) { return trunc ? Ft(r, at) : Fr(r, at); };
                const auto avg = [&](int a, int c) { return trunc ? M(a, c) : R(a, c); };
                for (int c = 0; c < 2; ++c) {
                    y0[c] = F(2 * k, b + 2 * c);
                    y1[c] = F(2 * k + 1, b + 2 * c);
                }
                u = avg(F(2 * k, b + 1), F(2 * k + 1, b + 1));
                v = avg(F(2 * k, b + 3), F(2 * k + 1, b + 3));
            } else if (k == 0) {
                for (int c = 0; c < 2; ++c) {
                    y0[c] = Fr(0, b + 2 * c);
                    y1[c] = Fr(1, b + 2 * c);
                }
                u = R(raw(0, b + 1), Fr(1, b + 1));
                v = R(raw(0, b + 3), Fr(1, b + 3));
            } else if (k < P - 1) {
                for (int c = 0; c < 2; ++c) y0[c] = y1[c] = Fr(2 * k + 1, b + 2 * c);
                u = Fr(2 * k + 1, b + 1);
                v = Fr(2 * k + 1, b + 3);
            } else {
                for (int c = 0; c < 2; ++c) {
                    y0[c] = raw(2 * k - 1, b + 2 * c);
                    y1[c] = Fr(2 * k, b + 2 * c);
                }
                u = R(raw(2 * k - 1, b + 1), Fr(2 * k, b + 1));
                v = R(raw(2 * k - 1, b + 3), Fr(2 * k, b + 3));
            }
            for (int c = 0; c < 2; ++c) {
                dst.Put(p.y + ptrdiff_t(2 * k) * p.yStride + shift + 2 * j + c, uint8_t(y0[c]));
                dst.Put(p.y + ptrdiff_t(2 * k + 1) * p.yStride + shift + 2 * j + c, uint8_t(y1[c]));
            }
            dst.Put(p.u + ptrdiff_t(k) * p.uvStride + j, uint8_t(u));
            dst.Put(p.v + ptrdiff_t(k) * p.uvStride + j, uint8_t(v));
        }
    }
}

void Yuy2ToRgb(Tier tier, int bpp, const Mem& dst, ptrdiff_t dst0, int dstStride, const Mem& src,
               ptrdiff_t src0, int srcStride, int width, int height) {
    const int rows = height < 0 ? -height : height;
    const int n = width / 2 * 2;
    if (n == 0) return;
    ptrdiff_t start, step;
    Walk(src0, srcStride, height, &start, &step);
    const int nb = tier == Tier::Mmx ? width / 8 * 8 : tier == Tier::Sse2 ? width / 16 * 16 : 0;
    for (int r = 0; r < rows; ++r) {
        const int shift = -(width % 2) * r;
        const ptrdiff_t s = start + ptrdiff_t(r) * step + shift * 2;
        const ptrdiff_t d = dst0 + ptrdiff_t(r) * dstStride + ptrdiff_t(shift) * bpp;
        // The 8-byte store of the MMX 24-bit body leaves a 0 behind its last block.
        if (tier == Tier::Mmx && bpp == 3 && nb > 0) dst.Put(d + nb * 3, 0);
        for (int x = 0; x < n; ++x) {
            const ptrdiff_t pair = s + 4 * (x / 2);
            const int y = src.Get(pair + 2 * (x % 2)), u = src.Get(pair + 1), v = src.Get(pair + 3);
            PutRgb(dst, d + ptrdiff_t(x) * bpp, bpp, x < nb ? Vector(y, u, v) : Table(y, u, v));
        }
    }
}

void RgbToYuy2(Tier tier, int bpp, const Mem& dst, ptrdiff_t dst0, int dstStride, const Mem& src,
               ptrdiff_t src0, int srcStride, int width, int height) {
    const int rows = height < 0 ? -height : height;
    ptrdiff_t start, step;
    Walk(src0, srcStride, height, &start, &step);
    const auto px = [&](ptrdiff_t at, int* b, int* g, int* r) {
        *b = src.Get(at);
        *g = src.Get(at + 1);
        *r = src.Get(at + 2);
    };
    if (tier != Tier::Sse2) {
        for (int r = 0; r < rows; ++r) {
            const int shift = -(width % 2) * r;
            const ptrdiff_t s = start + ptrdiff_t(r) * step + ptrdiff_t(shift) * bpp;
            const ptrdiff_t d = dst0 + ptrdiff_t(r) * dstStride + shift * 2;
            for (int j = 0; j < width / 2; ++j) {
                int b0, g0, r0, b1, g1, r1;
                px(s + ptrdiff_t(2 * j) * bpp, &b0, &g0, &r0);
                px(s + ptrdiff_t(2 * j + 1) * bpp, &b1, &g1, &r1);
                dst.Put(d + 4 * j, uint8_t(Luma(b0, g0, r0)));
                dst.Put(d + 4 * j + 1, uint8_t(Cb(b0 + b1, g0 + g1, r0 + r1, 512)));
                dst.Put(d + 4 * j + 2, uint8_t(Luma(b1, g1, r1)));
                dst.Put(d + 4 * j + 3, uint8_t(Cr(b0 + b1, g0 + g1, r0 + r1, 512)));
            }
        }
        return;
    }
    if (width < 2) return;
    const int pixelStep = bpp == 4 ? 4 : 3;
    for (int r = 0; r < rows; ++r) {
        const int shift = -(width % 2) * r;
        const ptrdiff_t s = start + ptrdiff_t(r) * step + shift * 4;
        const ptrdiff_t d = dst0 + ptrdiff_t(r) * dstStride + shift * 2;
        for (int blk = 0; blk < width / 8; ++blk) {
            for (int g4 = 0; g4 < 2; ++g4) {
                int q[4][3];
                for (int i = 0; i < 4; ++i)
                    px(s + 32 * blk + pixelStep * (4 * g4 + i), &q[i][0], &q[i][1], &q[i][2]);
                const auto Yq = [&](int i) { return Luma(q[i][0], q[i][1], q[i][2]); };
                const auto Cbq = [&](int i) { return Cb(q[i][0], q[i][1], q[i][2], 256); };
                const auto Crq = [&](int i) { return Cr(q[i][0], q[i][1], q[i][2], 256); };
                const int out[8] = {Yq(0), Cbq(1), Yq(2), Crq(1), Yq(1), Cbq(3), Yq(3), Crq(3)};
                for (int i = 0; i < 8; ++i) dst.Put(d + 16 * blk + 8 * g4 + i, uint8_t(out[i]));
            }
        }
        for (int j = 0; j < (width % 8) / 2; ++j) {
            const ptrdiff_t a = s + 32 * (width / 8) + 8 * j;
            int b0, g0, r0, b1, g1, r1;
            px(a, &b0, &g0, &r0);
            px(a + 4, &b1, &g1, &r1);
            const int b = (b0 + b1) / 2, g = (g0 + g1) / 2, rr = (r0 + r1) / 2;
            src.Put(a, uint8_t(Luma(b0, g0, r0)));
            src.Put(a + 1, uint8_t(Cb(b, g, rr, 1024)));
            src.Put(a + 2, uint8_t(Luma(b1, g1, r1)));
            src.Put(a + 3, uint8_t(Cr(b, g, rr, 1024)));
        }
    }
}

}  // namespace tarn::ref
