// The float work of the planar sharpen's blur and nothing else, for the
// matrix's floor row: per pixel nine products and eight sums across, then
// nine products and eight sums down, each product rounded before its sum (no
// fused multiply-add), eight pixels to an AVX2 register and eight sums in
// flight. The values, the sums and the taps stay in L1: no pixels read from
// further out, no conversions, no bytes stored. Whatever the sharpen does
// beyond this (reading bytes, widening, edges, storing bytes, the extremes,
// the mask) is on top, so the time of this row is the least the sharpen
// could take here.
#pragma once

#include <cstdint>

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#define TARN_BENCH_BLUR_FLOOR 1

namespace tarn::bench {

typedef float Floats8 __attribute__((vector_size(32)));

// A product kept a product: hidden from the compiler, it cannot fuse into
// the sum that follows.
__attribute__((target("avx2"))) inline Floats8 Product(Floats8 a, Floats8 k) {
    Floats8 p = a * k;
    __asm__("" : "+x"(p));
    return p;
}

__attribute__((target("avx2"))) inline Floats8 Broadcast(float v) { return Floats8{v, v, v, v, v, v, v, v}; }

// Nine-tap sums of the eight registers at `in` into those at `out`: the
// first product, then eight sums in tap order, the eight sums in flight
// together and kept in registers.
__attribute__((target("avx2"))) inline void NineTaps(const Floats8* in, const float* k, Floats8* out) {
    Floats8 kt = Broadcast(k[0]);
    Floats8 s0 = Product(in[0], kt), s1 = Product(in[1], kt), s2 = Product(in[2], kt), s3 = Product(in[3], kt);
    Floats8 s4 = Product(in[4], kt), s5 = Product(in[5], kt), s6 = Product(in[6], kt), s7 = Product(in[7], kt);
    for (int t = 1; t < 9; ++t) {
        kt = Broadcast(k[t]);
        s0 += Product(in[0], kt);
        s1 += Product(in[1], kt);
        s2 += Product(in[2], kt);
        s3 += Product(in[3], kt);
        s4 += Product(in[4], kt);
        s5 += Product(in[5], kt);
        s6 += Product(in[6], kt);
        s7 += Product(in[7], kt);
    }
    out[0] = s0, out[1] = s1, out[2] = s2, out[3] = s3, out[4] = s4, out[5] = s5, out[6] = s6, out[7] = s7;
}

// Both passes over `pixels` pixels (a multiple of 64), sixty-four at a time:
// across from eight registers of values, down from the eight registers of
// sums across. Values and sums stay in one small buffer in L1, re-read each
// time as the forms re-read their rows. Returns a sum of the results so that
// none of the work can be left out.
__attribute__((target("avx2"))) inline float BlurFloor(const float* k, int64_t pixels) {
    Floats8 values[8], across[8], down[8];
    for (int j = 0; j < 8; ++j)
        for (int l = 0; l < 8; ++l) values[j][l] = float(8 * j + l);
    for (int64_t done = 0; done < pixels; done += 64) {
        // The values may have changed: the products are made anew.
        __asm__ volatile("" : : "r"(values) : "memory");
        NineTaps(values, k, across);
        NineTaps(across, k, down);
    }
    float sum = 0;
    for (int j = 0; j < 8; ++j)
        for (int l = 0; l < 8; ++l) sum += down[j][l];
    return sum;
}

}  // namespace tarn::bench

#endif
