// Forms of the composition blends: the work of one blend with its addresses
// worked out, and the plain, SSE2 and AVX2 forms that do it. All forms of a
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
    uint8_t* tFirst;
    uint8_t* tSecond;
    const uint8_t* oy;
    const uint8_t* oFirst;
    const uint8_t* oSecond;
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
    uint8_t* tFirst;  // target chroma at D.left >> 1, D.top >> 1
    uint8_t* tSecond;
    const uint8_t* oy;
    const uint8_t* oFirst;
    const uint8_t* oSecond;
    ptrdiff_t tPitch, tChromaPitch, oPitch, oChromaPitch;
    int32_t width, height;
    uint32_t alpha;
    int32_t keyY, keyFirst, keySecond;
};

using MaskedPlanarFn = void (*)(const MaskedPlanarJob&);
using MaskedPackedFn = void (*)(const MaskedPackedJob&);
using KeyedQueueFn = void (*)(const KeyedQueueJob&);

void BlendMaskedPlanarPlain(const MaskedPlanarJob& job);
void BlendMaskedPackedPlain(const MaskedPackedJob& job);
void BlendKeyedQueuePlain(const KeyedQueueJob& job);

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

// One row pair of a planar job from some block on.
struct PlanarRowPair {
    uint8_t *ty, *tFirst, *tSecond;
    const uint8_t *oy, *oFirst, *oSecond, *m;
    PlanarRowPair From(int32_t blocks) const {
        return {ty + 2 * blocks, tFirst + blocks, tSecond + blocks, oy + 2 * blocks, oFirst + blocks, oSecond + blocks,
                m + 2 * blocks};
    }
};

// The vector part of the forms: whole groups of blocks of one row pair, or of
// pixels of one packed row, every group weighted alike.
using PlanarGroupsFn = void (*)(const PlanarRowPair& r, ptrdiff_t tStride, ptrdiff_t oStride,
                                int32_t groups, bool lowerLeft);
using PackedGroupsFn = void (*)(uint8_t* t, const uint8_t* o, const uint8_t* m, ptrdiff_t oStride,
                                int32_t groups);

// The row loops all forms share: `groups` (none when null) takes the whole
// groups of each row, and scalar code the blocks or pixels left over, with
// the chroma weights the tier gives them.
void BlendMaskedPlanarRows(const MaskedPlanarJob& job, PlanarGroupsFn groups, int32_t blocksPerGroup);
void BlendMaskedPackedRows(const MaskedPackedJob& job, PackedGroupsFn groups, int32_t pixelsPerGroup);

}  // namespace tarn
