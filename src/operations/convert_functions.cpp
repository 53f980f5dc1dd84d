// The format-conversion functions: kernel choice by tier, plane addresses and
// row order. The tier follows the feature word: SSE2 (bit 26) is tested
// first, then MMX (bit 23), and the plain kernel runs otherwise.
#include "operations/convert_functions.h"

#include <cstring>

#include "convert/catalogue_kernels.h"
#include "convert/conversion_kernels.h"
#include "platform/cpu_features.h"

namespace tarn {

namespace {

// One kernel per tier; where a tier has no kernel of its own the table names
// the plain one.
template <class Fn>
struct TierKernels {
    Fn plain, mmx, sse2;
    // The kernel of the tier the processor (or a test's choice) runs.
    Fn Chosen() const {
        const Fn byTier[] = {plain, mmx, sse2};
        return byTier[static_cast<int>(TierOf(g_cpuFeatures))];
    }
};

using PlanarSource = void (*)(uint8_t*, int32_t, const uint8_t*, const uint8_t*, const uint8_t*,
                              int32_t, int32_t, int32_t, int32_t);
using PlanarDestination = void (*)(uint8_t*, uint8_t*, uint8_t*, int32_t, int32_t, const uint8_t*,
                                   int32_t, int32_t, int32_t);
using OneToOne = void (*)(uint8_t*, int32_t, const uint8_t*, int32_t, int32_t, int32_t);
using OneToOneInPlace = void (*)(uint8_t*, int32_t, uint8_t*, int32_t, int32_t, int32_t);

// 24-bit output smooths on every processor but those with SSE2, which take
// the row-by-row kernel without smoothing.
constexpr TierKernels<PlanarSource> kPlanarToRgb24{
    ConvPlanarToRgb24SmoothPlain, ConvPlanarToRgb24SmoothPlain, ConvPlanarToRgb24Sse2Tier};
constexpr TierKernels<PlanarSource> kPlanarToRgb32{
    ConvPlanarToRgb32SmoothPlain, ConvPlanarToRgb32SmoothMmxTier, ConvPlanarToRgb32SmoothSse2Tier};
constexpr TierKernels<PlanarDestination> kRgb24ToPlanar{
    ConvRgb24ToPlanarPlain, ConvRgb24ToPlanarMmxTier, ConvRgb24ToPlanarSse2Tier};
constexpr TierKernels<PlanarDestination> kRgb32ToPlanar{
    ConvRgb32ToPlanarPlain, ConvRgb32ToPlanarMmxTier, ConvRgb32ToPlanarSse2Tier};
constexpr TierKernels<PlanarSource> kPlanarToPacked{
    ConvPlanarToYuy2SmoothPlain, ConvPlanarToYuy2SmoothMmxTier, ConvPlanarToYuy2SmoothSse2Tier};
constexpr TierKernels<PlanarDestination> kPackedToPlanar{
    ConvYuy2ToPlanarSmoothPlain, ConvYuy2ToPlanarSmoothMmxTier, ConvYuy2ToPlanarSmoothSse2Tier};
constexpr TierKernels<OneToOne> kPackedToRgb24{ConvYuy2ToRgb24Plain, ConvYuy2ToRgb24MmxTier,
                                               ConvYuy2ToRgb24Sse2Tier};
constexpr TierKernels<OneToOne> kPackedToRgb32{ConvYuy2ToRgb32Plain, ConvYuy2ToRgb32MmxTier,
                                               ConvYuy2ToRgb32Sse2Tier};

// The plain RGB-to-packed kernels read their source only; the SSE2 ones write
// into it, so all are called through the writable shape.
void Rgb24ToYuy2Plain(uint8_t* d, int32_t ds, uint8_t* s, int32_t ss, int32_t w, int32_t h) {
    ConvRgb24ToYuy2Plain(d, ds, s, ss, w, h);
}
void Rgb32ToYuy2Plain(uint8_t* d, int32_t ds, uint8_t* s, int32_t ss, int32_t w, int32_t h) {
    ConvRgb32ToYuy2Plain(d, ds, s, ss, w, h);
}
constexpr TierKernels<OneToOneInPlace> kRgb24ToPacked{Rgb24ToYuy2Plain, Rgb24ToYuy2Plain,
                                                      ConvRgb24ToYuy2Sse2Tier};
constexpr TierKernels<OneToOneInPlace> kRgb32ToPacked{Rgb32ToYuy2Plain, Rgb32ToYuy2Plain,
                                                      ConvRgb32ToYuy2Sse2Tier};

// The plane addresses of a planar picture: the second chroma plane follows
// the first by (planarStride x height) / 4 bytes, except in ConvertPlanarToRgb,
// which counts ((planarStride / 2) x height) / 2.
struct Planes {
    uint8_t* y;
    uint8_t* first;
    uint8_t* second;
    int32_t chromaStride;
};
Planes PlanesOf(uint8_t* planar, int32_t stride, int32_t height, bool halfStrideCount) {
    uint8_t* first = planar + int64_t(stride) * height;
    const int64_t gap = halfStrideCount ? (int64_t(stride / 2) * height) / 2
                                        : (int64_t(stride) * height) / 4;
    return {planar, first, first + gap, stride / 2};
}

int32_t Signed(int32_t height, bool negative) { return negative ? -height : height; }

// The kernel of `bits` from a pair of tables; none for other pixel sizes, and
// then the function converts nothing.
template <class Fn>
Fn ByBits(int32_t bits, const TierKernels<Fn>& k24, const TierKernels<Fn>& k32) {
    return bits == 24 ? k24.Chosen() : bits == 32 ? k32.Chosen() : nullptr;
}

// The functions of one source and one destination picture, both with a
// single plane: a flip of 0 asks for the rows in the opposite order.
template <class Fn>
void RunSinglePlanes(Fn kernel, uint8_t* src, int32_t srcStride, uint8_t* dst, int32_t dstStride,
                     int32_t width, int32_t height, uint32_t flip) {
    if (src && dst && kernel) kernel(dst, dstStride, src, srcStride, width, Signed(height, flip == 0));
}

}  // namespace

void ConvertPlanarToRgb(uint8_t* planar, int32_t planarStride, uint8_t* rgb, int32_t rgbStride,
                        int32_t width, int32_t height, int32_t bits, uint32_t flip) {
    if (!planar || !rgb) return;
    const PlanarSource kernel = ByBits(bits, kPlanarToRgb24, kPlanarToRgb32);
    if (!kernel) return;
    const Planes p = PlanesOf(planar, planarStride, height, true);
    // The opposite sign rule of all the other functions: flip asks for a mirror.
    kernel(rgb, rgbStride, p.y, p.second, p.first, planarStride, p.chromaStride, width,
           Signed(height, flip != 0));
}

void ConvertRgbToPlanar(uint8_t* rgb, int32_t rgbStride, uint8_t* planar, int32_t planarStride,
                        int32_t width, int32_t height, int32_t bits, uint32_t flip) {
    if (!rgb || !planar) return;
    const PlanarDestination kernel = ByBits(bits, kRgb24ToPlanar, kRgb32ToPlanar);
    if (!kernel) return;
    const Planes p = PlanesOf(planar, planarStride, height, false);
    kernel(p.y, p.second, p.first, planarStride, p.chromaStride, rgb, rgbStride, width,
           Signed(height, flip == 0));
}

void ConvertPlanarToPacked(uint8_t* planar, int32_t planarStride, uint8_t* packed, int32_t packedStride,
                           int32_t width, int32_t height) {
    if (!planar || !packed) return;
    const Planes p = PlanesOf(planar, planarStride, height, false);
    kPlanarToPacked.Chosen()(packed, packedStride, p.y, p.second, p.first, planarStride, p.chromaStride,
                             width, height);
}

void ConvertPackedToPlanar(uint8_t* packed, int32_t packedStride, uint8_t* planar, int32_t planarStride,
                           int32_t width, int32_t height) {
    if (!packed || !planar) return;
    const Planes p = PlanesOf(planar, planarStride, height, false);
    kPackedToPlanar.Chosen()(p.y, p.second, p.first, planarStride, p.chromaStride, packed, packedStride,
                             width, height);
}

bool ConvertPackedToPlanarOver(uint8_t* packed, int32_t packedStride, uint8_t* planar, int32_t planarStride,
                               int32_t width, int32_t height, int64_t overwritten, uint8_t* halvedRows,
                               int32_t halvedStride) {
    if (!packed || !planar) return false;
    // The bodies of the kernels kPackedToPlanar names, tier by tier.
    constexpr TierBody kBodies[] = {TierBody::Plain, TierBody::Mmx, TierBody::Sse2};
    const Planes p = PlanesOf(planar, planarStride, height, false);
    return PackedToPlanar(kBodies[static_cast<int>(TierOf(g_cpuFeatures))], true, PackedOrder::Yuy2, p.y,
                          p.second, p.first, planarStride, p.chromaStride, packed, packedStride, width, height,
                          planar + overwritten, {halvedRows, halvedStride});
}

void ConvertRgb24ToRgb32(uint8_t* rgb24, int32_t rgb24Stride, uint8_t* rgb32, int32_t rgb32Stride,
                         int32_t width, int32_t height, uint32_t flip) {
    RunSinglePlanes(ConvRgb24ToRgb32, rgb24, rgb24Stride, rgb32, rgb32Stride, width, height, flip);
}

void ConvertRgb32ToRgb24(uint8_t* rgb32, int32_t rgb32Stride, uint8_t* rgb24, int32_t rgb24Stride,
                         int32_t width, int32_t height, uint32_t flip) {
    RunSinglePlanes(ConvRgb32ToRgb24, rgb32, rgb32Stride, rgb24, rgb24Stride, width, height, flip);
}

void ConvertRgbToPacked(uint8_t* rgb, int32_t rgbStride, uint8_t* packed, int32_t packedStride,
                        int32_t width, int32_t height, int32_t bits, uint32_t flip) {
    RunSinglePlanes(ByBits(bits, kRgb24ToPacked, kRgb32ToPacked), rgb, rgbStride, packed, packedStride,
                    width, height, flip);
}

void ConvertPackedToRgb(uint8_t* packed, int32_t packedStride, uint8_t* rgb, int32_t rgbStride,
                        int32_t width, int32_t height, int32_t bits, uint32_t flip) {
    RunSinglePlanes(ByBits(bits, kPackedToRgb24, kPackedToRgb32), packed, packedStride, rgb, rgbStride,
                    width, height, flip);
}

void SwapChromaPlanes(uint8_t* first, uint8_t* second, int32_t count) {
    int32_t i = 0;
    for (; i + 16 <= count; i += 16) {
        uint8_t a[16], b[16];  // unaligned 16-byte loads and stores
        std::memcpy(a, first + i, 16);
        std::memcpy(b, second + i, 16);
        std::memcpy(first + i, b, 16);
        std::memcpy(second + i, a, 16);
    }
    for (; i < count; ++i) {
        const uint8_t t = first[i];
        first[i] = second[i];
        second[i] = t;
    }
}

}  // namespace tarn
