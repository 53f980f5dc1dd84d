// Reference forms of the colour conversion kernels, for tests: scalar code
// written pixel by pixel from the stated arithmetic of each tier, slow and
// plain, with every constant and rounding step visible once.
//
// They work on a simulated memory: one byte vector in which the frames lie,
// and a window [lo, hi) standing for the memory the kernel was given. Outside
// the window a read gives 0 and a write is dropped, which is what the library
// guarantees for the accesses its walks make beyond the frames.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarn::ref {

struct Mem {
    std::vector<uint8_t>* bytes;
    ptrdiff_t lo, hi;
    uint8_t Get(ptrdiff_t i) const { return i >= lo && i < hi ? (*bytes)[size_t(i)] : 0; }
    void Put(ptrdiff_t i, uint8_t v) const {
        if (i >= lo && i < hi) (*bytes)[size_t(i)] = v;
    }
};

// Pavg: the MMX body's block sizes and walk with rounding averages.
enum class Tier { Plain, Mmx, Sse2, Pavg };

// The averages: r, m, s, t.
int R(int a, int b);
int M(int a, int b);
int S(int a, int b, int c);
int T(int a, int b, int c);

struct Rgb {
    int b, g, r;
};
Rgb Table(int y, int u, int v);   // 13-bit products over 8192, floor, clamp
Rgb Vector(int y, int u, int v);  // 6-bit factors, saturating 16-bit, floor, clamp
int Luma(int b, int g, int r);

// Planar source frames: positions of the Y, Cb (u) and Cr (v) planes in the
// source memory and of the first destination row in the destination memory.
struct PlanarSrc {
    ptrdiff_t y, u, v;
    int yStride, uvStride;
};

// The three smoothing kernels of planar to 32/24-bit RGB (bpp 4 or 3).
void PlanarToRgbSmooth(Tier tier, int bpp, const Mem& dst, ptrdiff_t dst0, int dstStride,
                       const Mem& src, const PlanarSrc& p, int width, int height);
// The SSE2 24-bit kernel without smoothing.
void PlanarToRgb24Rows(const Mem& dst, ptrdiff_t dst0, int dstStride, const Mem& src,
                       const PlanarSrc& p, int width, int height);
// RGB to planar (all tiers alike); `p` names the destination planes.
void RgbToPlanar(int bpp, const Mem& dst, const PlanarSrc& p, const Mem& src, ptrdiff_t src0,
                 int srcStride, int width, int height);
void PlanarToYuy2(Tier tier, const Mem& dst, ptrdiff_t dst0, int dstStride, const Mem& src,
                  const PlanarSrc& p, int width, int height);
void Yuy2ToPlanar(Tier tier, const Mem& dst, const PlanarSrc& p, const Mem& src, ptrdiff_t src0,
                  int srcStride, int width, int height);
void Yuy2ToRgb(Tier tier, int bpp, const Mem& dst, ptrdiff_t dst0, int dstStride, const Mem& src,
               ptrdiff_t src0, int srcStride, int width, int height);
// RGB to packed: Tier::Plain for the plain kernels, Tier::Sse2 for the SSE2
// ones (which write into `src`).
void RgbToYuy2(Tier tier, int bpp, const Mem& dst, ptrdiff_t dst0, int dstStride, const Mem& src,
               ptrdiff_t src0, int srcStride, int width, int height);

}  // namespace tarn::ref
