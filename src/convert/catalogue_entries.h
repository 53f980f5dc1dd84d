// One function per catalogue entry: the engines of catalogue_kernels.h with
// their tier, order and kinds fixed, so that each entry has an address of its
// own. Included by the catalogue's tables only.
#pragma once

#include <cstring>

#include "convert/catalogue_kernels.h"
#include "convert/fast_copy.h"
#include "convert/kernel_catalogue.h"

namespace tarn::entries {

// The row copies of a tier: column 0 and the smoothing column 1.
template <TierBody T>
constexpr RowCopyKernel CopyOf() {
    if constexpr (T == TierBody::Mmx) return CopyRowsMmxTier;
    if constexpr (T == TierBody::Sse2) return CopyRowsWide;
    return CopyRowsPlain;
}
template <TierBody T>
constexpr RowCopyKernel SmoothCopyOf() {
    if constexpr (T == TierBody::Mmx) return CopyRowsSmoothMmxTier;
    if constexpr (T == TierBody::Pavg) return CopyRowsSmoothPavgTier;
    if constexpr (T == TierBody::Sse2) return CopyRowsSmoothWide;
    return CopyRowsSmoothPlain;
}

inline void BlockCopyPlain(void* dst, const void* src, size_t count) { std::memcpy(dst, src, count); }

template <RowCopyKernel Copy, bool Smooth, bool Swap>
void Planes(uint8_t* d, int32_t ds, const uint8_t* y, const uint8_t* u, const uint8_t* v,
            int32_t ys, int32_t uvs, int32_t w, int32_t h) {
    CopyPlanes(Copy, Smooth, Swap, d, ds, y, u, v, ys, uvs, w, h);
}
template <RowCopyKernel Copy, bool Smooth>
void SemiPlanar(uint8_t* d, int32_t ds, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                int32_t ys, int32_t uvs, int32_t w, int32_t h) {
    PlanarToSemiPlanar(Copy, Smooth, d, ds, y, u, v, ys, uvs, w, h);
}
template <TierBody T, bool Smooth, PackedOrder O>
void PlanarPacked(uint8_t* d, int32_t ds, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                  int32_t ys, int32_t uvs, int32_t w, int32_t h) {
    PlanarToPacked(T, Smooth, O, d, ds, y, u, v, ys, uvs, w, h);
}
template <TierBody T, bool Smooth, RgbKind K>
void PlanarRgb(uint8_t* d, int32_t ds, const uint8_t* y, const uint8_t* u, const uint8_t* v,
               int32_t ys, int32_t uvs, int32_t w, int32_t h) {
    PlanarToRgb(T, Smooth, K, 0, d, ds, y, u, v, ys, uvs, w, h);
}
template <TierBody T, bool Smooth>
void PlanarKeyed(uint8_t* d, int32_t ds, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                 int32_t ys, int32_t uvs, int32_t w, int32_t h, int32_t threshold) {
    PlanarToRgb(T, Smooth, RgbKind::Rgb32Keyed, threshold, d, ds, y, u, v, ys, uvs, w, h);
}

template <TierBody T, bool Smooth, PackedOrder O>
void PackedPlanar(uint8_t* y, uint8_t* u, uint8_t* v, int32_t ys, int32_t uvs, const uint8_t* s,
                  int32_t ss, int32_t w, int32_t h) {
    PackedToPlanar(T, Smooth, O, y, u, v, ys, uvs, s, ss, w, h);
}
template <RgbKind K>
void Rgb16Planar(uint8_t* y, uint8_t* u, uint8_t* v, int32_t ys, int32_t uvs, const uint8_t* s,
                 int32_t ss, int32_t w, int32_t h) {
    Rgb16ToPlanar(K, y, u, v, ys, uvs, s, ss, w, h);
}

template <RowCopyKernel Copy, int Bpp>
void Pixels(uint8_t* d, int32_t ds, const uint8_t* s, int32_t ss, int32_t w, int32_t h) {
    CopyPixelRows(Copy, Bpp, d, ds, s, ss, w, h);
}
template <TierBody T, bool Field>
void SemiPlanarRgb(uint8_t* d, int32_t ds, const uint8_t* s, int32_t ss, int32_t w, int32_t h) {
    SemiPlanarToRgb24(T, Field, d, ds, s, ss, w, h);
}
template <TierBody T, bool Smooth, PackedOrder From, PackedOrder To>
void Reorder(uint8_t* d, int32_t ds, const uint8_t* s, int32_t ss, int32_t w, int32_t h) {
    ReorderPacked(T, Smooth, From, To, d, ds, s, ss, w, h);
}
template <TierBody T, PackedOrder O, RgbKind K>
void PackedRgb(uint8_t* d, int32_t ds, const uint8_t* s, int32_t ss, int32_t w, int32_t h) {
    PackedToRgb(T, O, K, d, ds, s, ss, w, h);
}
template <RowCopyKernel Smooth, OneToOneKernel Convert>
void SmoothedThen(uint8_t* d, int32_t ds, const uint8_t* s, int32_t ss, int32_t w, int32_t h) {
    SmoothPackedThen(Smooth, Convert, d, ds, s, ss, w, h);
}
template <RgbKind K, PackedOrder O>
void RgbPacked(uint8_t* d, int32_t ds, const uint8_t* s, int32_t ss, int32_t w, int32_t h) {
    RgbToPacked(K, O, d, ds, s, ss, w, h);
}
template <RgbKind From, RgbKind To>
void RgbPixels(uint8_t* d, int32_t ds, const uint8_t* s, int32_t ss, int32_t w, int32_t h) {
    ConvertRgbPixels(From, To, d, ds, s, ss, w, h);
}

// The small stub a tier puts where it has no code of its own: it calls the
// plain kernel.
template <auto Fn>
struct Forwarder;
template <class... A, void (*Fn)(A...)>
struct Forwarder<Fn> {
    static void Call(A... a) { Fn(a...); }
};

}  // namespace tarn::entries
