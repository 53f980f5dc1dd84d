// Forms of the composition blends: the work of one blend with its addresses
// worked out, and the scalar, SSE2 and AVX2 forms that do it. All forms of a
// family give the same bytes; the callers in blend_masked.cpp and
// blend_keyed.cpp pick one with PickForm.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

// One sample of the blend. The sum is at most 255 * 256, so 16-bit lanes hold
// it exactly in every form.
inline uint8_t BlendSample(uint32_t o, uint32_t t, uint32_t w) {
    return static_cast<uint8_t>(((256 - w) * o + w * t) >> 8);
}

// BlendMaskedPlanar with every pointer at the first block.
struct MaskedPlanarJob {
    uint8_t* ty;
    uint8_t* tu;
    uint8_t* tv;
    const uint8_t* oy;
    const uint8_t* ou;
    const uint8_t* ov;
    const uint8_t* mask;  // walked with oStride
    ptrdiff_t tStride, tChromaStride, oStride, oChromaStride;
    int32_t rowPairs;
    int32_t blocks;  // blocks per row pair
    // The SSE2 tier weighs chroma of the blocks in whole groups of eight by
    // the lower left pixel; the plain tier, and the SSE2 tail, the lower right.
    bool lowerLeftInGroups;
};

// BlendMaskedPacked with every pointer at the first pixel of D.
struct MaskedPackedJob {
    uint8_t* t;
    const uint8_t* o;
    const uint8_t* mask;
    ptrdiff_t tStride, oStride, maskPitch;
    int32_t rows;
    int32_t width;  // pixels per row
};

// The keyed blend of the SSE2 tier with its addresses worked out.
struct KeyedQueueJob {
    uint8_t* ty;  // target at D.left, D.top
    uint8_t* tu;  // target chroma at D.left >> 1, D.top >> 1
    uint8_t* tv;
    const uint8_t* oy;
    const uint8_t* ou;
    const uint8_t* ov;
    ptrdiff_t tPitch, tChromaPitch, oPitch, oChromaPitch;
    int32_t width, height;
    uint32_t alpha;
    int32_t keyY, keyU, keyV;
};

using MaskedPlanarFn = void (*)(const MaskedPlanarJob&);
using MaskedPackedFn = void (*)(const MaskedPackedJob&);
using KeyedQueueFn = void (*)(const KeyedQueueJob&);

void BlendMaskedPlanarScalar(const MaskedPlanarJob& job);
void BlendMaskedPackedScalar(const MaskedPackedJob& job);
void BlendKeyedQueueScalar(const KeyedQueueJob& job);

#if defined(TARN_HAVE_X86_SIMD)
void BlendMaskedPlanarSse2(const MaskedPlanarJob& job);
void BlendMaskedPackedSse2(const MaskedPackedJob& job);
void BlendKeyedQueueSse2(const KeyedQueueJob& job);
void BlendKeyedQueueAvx2(const KeyedQueueJob& job);
// match[x] = 0xFF where pixel x of row y of the job carries the key.
void MarkKeyedPixelsSse2(const KeyedQueueJob& job, int32_t y, uint8_t* match);
void BlendMaskedPlanarAvx2(const MaskedPlanarJob& job);
void BlendMaskedPackedAvx2(const MaskedPackedJob& job);
#endif

// Scalar pieces that the vector forms share for their tails.
void BlendMaskedPlanarBlocks(const MaskedPlanarJob& job, uint8_t* ty, uint8_t* tu, uint8_t* tv,
                             const uint8_t* oy, const uint8_t* ou, const uint8_t* ov,
                             const uint8_t* m, int32_t blocks, bool lowerLeft);
void BlendMaskedPackedPixels(uint8_t* t, const uint8_t* o, const uint8_t* m, int32_t pixels);

}  // namespace tarn
