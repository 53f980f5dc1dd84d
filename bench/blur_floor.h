// The float work of the planar sharpen's blur and nothing else, for the
// matrix's floor row: per pixel the products and the eight sums across, then
// down, each product rounded before its sum (no fused multiply-add), eight
// registers of sums in flight. The values, the sums and the taps stay in L1:
// no pixels read from further out, no conversions, no bytes stored. Whatever
// the sharpen does beyond this (reading bytes, widening, edges, storing
// bytes, the extremes, the mask) is on top, so the time of this row is the
// least the sharpen could take here.
//
// Two renderings, the one the processor's widest form would need: with
// AVX-512, sixteen pixels a register and five products a pixel and pass (the
// kernel is symmetric, so each value meets five distinct taps and a product
// serves two sums); with AVX2, eight pixels a register and all nine products.
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

// The sums down of one step, made to exist in registers at every step: only
// the last step's are read after the loop, and the compiler would otherwise
// move the sums of the earlier ones out of it (they are overwritten unread),
// leaving the loop without half its additions.
__attribute__((target("avx2"))) inline void Keep(const Floats8 (&v)[8]) {
    for (int j = 0; j < 8; ++j) __asm__ volatile("" : : "x"(v[j]));
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
        Keep(down);
    }
    float sum = 0;
    for (int j = 0; j < 8; ++j)
        for (int l = 0; l < 8; ++l) sum += down[j][l];
    return sum;
}

typedef float Floats16 __attribute__((vector_size(64)));

__attribute__((target("avx512f"))) inline Floats16 Product16(Floats16 a, float k) {
    Floats16 p = a * k;
    __asm__("" : "+v"(p));
    return p;
}

// The symmetric nine-tap sums of the eight registers at `in`: five products
// of each, then the eight sums in tap order (k[t] == k[8 - t], so taps t and
// 8 - t take one product).
__attribute__((target("avx512f"))) inline void SymmetricNineTaps(const Floats16* in, const float* k, Floats16* out) {
    for (int j = 0; j < 8; ++j) {
        Floats16 p[5];
        for (int m = 0; m < 5; ++m) p[m] = Product16(in[j], k[m]);
        Floats16 s = p[0];
        for (int t = 1; t < 9; ++t) s += p[t < 5 ? t : 8 - t];
        out[j] = s;
    }
}

__attribute__((target("avx512f"))) inline void Keep16(const Floats16 (&v)[8]) {
    for (int j = 0; j < 8; ++j) __asm__ volatile("" : : "v"(v[j]));
}

// As BlurFloor, 128 pixels at a time in sixteen-float registers.
__attribute__((target("avx512f"))) inline float BlurFloor16(const float* k, int64_t pixels) {
    Floats16 values[8], across[8], down[8];
    for (int j = 0; j < 8; ++j)
        for (int l = 0; l < 16; ++l) values[j][l] = float(16 * j + l);
    for (int64_t done = 0; done < pixels; done += 128) {
        __asm__ volatile("" : : "r"(values) : "memory");
        SymmetricNineTaps(values, k, across);
        SymmetricNineTaps(across, k, down);
        Keep16(down);
    }
    float sum = 0;
    for (int j = 0; j < 8; ++j)
        for (int l = 0; l < 16; ++l) sum += down[j][l];
    return sum;
}

}  // namespace tarn::bench

#endif
