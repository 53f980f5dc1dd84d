// Masked blends, planar and packed: addresses, the choice of form, and the
// plain forms of both tiers. No size is checked here; the compositor checks
// every address against its buffer before it calls.
#include "operations/compose.h"

#include "operations/blend_forms.h"
#include "platform/form_table.h"

namespace tarn {

namespace {

void BlendPlanarBlocks(PlanarRowPair r, ptrdiff_t ts, ptrdiff_t os, int32_t blocks,
                       bool lowerLeft) {
    for (int32_t i = 0; i < blocks; ++i) {
        const int32_t x = 2 * i;
        for (int32_t dy = 0; dy < 2; ++dy)
            for (int32_t dx = 0; dx < 2; ++dx) {
                uint8_t& t = r.ty[dy * ts + x + dx];
                t = BlendSample(r.oy[dy * os + x + dx], t, r.m[dy * os + x + dx]);
            }
        // Chroma takes one weight from the block's lower row.
        const uint32_t w = r.m[os + x + (lowerLeft ? 0 : 1)];
        r.tFirst[i] = BlendSample(r.oFirst[i], r.tFirst[i], w);
        r.tSecond[i] = BlendSample(r.oSecond[i], r.tSecond[i], w);
    }
}

void BlendPackedPixels(uint8_t* t, const uint8_t* o, const uint8_t* m, int32_t pixels) {
    for (int32_t x = 0; x < pixels; ++x) {
        t[2 * x] = BlendSample(o[2 * x], t[2 * x], m[x]);
        t[2 * x + 1] = BlendSample(o[2 * x + 1], t[2 * x + 1], m[x]);
    }
}

}  // namespace

void BlendMaskedPlanarRows(const MaskedPlanarJob& job, PlanarGroupsFn groups, int32_t blocksPerGroup) {
    const ptrdiff_t ts = job.tStride, os = job.oStride;
    // With SSE2 the blocks in whole groups of eight take the lower left
    // weight, the rest the lower right one, whatever width the form's own
    // groups have.
    const int32_t vector = groups ? job.blocks / blocksPerGroup * blocksPerGroup : 0;
    const int32_t inEights = (job.blocks >> 3) << 3;
    for (int32_t p = 0; p < job.rowPairs; ++p) {
        const PlanarRowPair r{job.ty + 2 * p * ts,          job.tFirst + p * job.tChromaStride,
                              job.tSecond + p * job.tChromaStride, job.oy + 2 * p * os,
                              job.oFirst + p * job.oChromaStride, job.oSecond + p * job.oChromaStride,
                              job.mask + 2 * p * os};
        if (vector > 0) groups(r, ts, os, vector / blocksPerGroup, job.lowerLeftInGroups);
        BlendPlanarBlocks(r.From(vector), ts, os, inEights - vector, job.lowerLeftInGroups);
        BlendPlanarBlocks(r.From(inEights), ts, os, job.blocks - inEights, false);
    }
}

void BlendMaskedPackedRows(const MaskedPackedJob& job, PackedGroupsFn groups, int32_t pixelsPerGroup) {
    const int32_t count = groups ? job.width / pixelsPerGroup : 0;
    const int32_t vector = count * pixelsPerGroup;
    for (int32_t y = 0; y < job.rows; ++y) {
        uint8_t* t = job.t + y * job.tStride;
        const uint8_t* o = job.o + y * job.oStride;
        const uint8_t* m = job.mask + y * job.maskPitch;
        if (groups) groups(t, o, m, job.oStride, count);
        BlendPackedPixels(t + 2 * vector, o + 2 * vector, m + vector, job.width - vector);
    }
}

void BlendMaskedPlanarPlain(const MaskedPlanarJob& job) { BlendMaskedPlanarRows(job, nullptr, 1); }

void BlendMaskedPackedPlain(const MaskedPackedJob& job) { BlendMaskedPackedRows(job, nullptr, 1); }

namespace {

constexpr FormEntry<MaskedPlanarFn> kPlanarForms[] = {
#if defined(TARN_HAVE_X86_SIMD)
    {SimdForm::Avx2, BlendMaskedPlanarAvx2},
    {SimdForm::Sse2, BlendMaskedPlanarSse2},
#endif
    {SimdForm::Plain, BlendMaskedPlanarPlain},
};

constexpr FormEntry<MaskedPackedFn> kPackedForms[] = {
#if defined(TARN_HAVE_X86_SIMD)
    {SimdForm::Avx2, BlendMaskedPackedAvx2},
    {SimdForm::Sse2, BlendMaskedPackedSse2},
#endif
    {SimdForm::Plain, BlendMaskedPackedPlain},
};

}  // namespace

void BlendMaskedPlanar(uint8_t* targetPixels, const uint8_t* overlayPixels,
                       const uint8_t* maskPixels, int32_t targetStride, int32_t targetHeight,
                       int32_t overlayStride, int32_t overlayHeight, const VedRect* destRect,
                       const VedRect* sourceRect, bool sse2Tier) {
    const VedRect& d = *destRect;
    const VedRect& s = *sourceRect;
    MaskedPlanarJob job;
    job.rowPairs = (d.bottom - d.top) >> 1;
    job.blocks = (d.right - d.left) >> 1;
    if (job.rowPairs < 1 || job.blocks < 1) return;
    // The second chroma plane lies (stride / 2) * height / 2 after the first.
    const ptrdiff_t tLuma = ptrdiff_t(targetStride) * targetHeight;
    const ptrdiff_t tChroma = (ptrdiff_t(targetStride / 2) * targetHeight) / 2;
    const ptrdiff_t oLuma = ptrdiff_t(overlayStride) * overlayHeight;
    const ptrdiff_t oChroma = (ptrdiff_t(overlayStride / 2) * overlayHeight) / 2;
    job.tStride = targetStride;
    job.tChromaStride = targetStride / 2;
    job.oStride = overlayStride;
    job.oChromaStride = overlayStride / 2;
    const ptrdiff_t tcAt = (d.top >> 1) * job.tChromaStride + (d.left >> 1);
    const ptrdiff_t ocAt = (s.top >> 1) * job.oChromaStride + (s.left >> 1);
    job.ty = targetPixels + d.top * job.tStride + d.left;
    job.tFirst = targetPixels + tLuma + tcAt;
    job.tSecond = targetPixels + tLuma + tChroma + tcAt;
    job.oy = overlayPixels + s.top * job.oStride + s.left;
    job.oFirst = overlayPixels + oLuma + ocAt;
    job.oSecond = overlayPixels + oLuma + oChroma + ocAt;
    job.mask = maskPixels + s.top * job.oStride + s.left;
    job.lowerLeftInGroups = sse2Tier;
    PickForm(kPlanarForms)(job);
}

void BlendMaskedPacked(uint8_t* targetPixels, const uint8_t* overlayPixels, const uint8_t* maskPixels,
                       int32_t targetStride, int32_t overlayStride, int32_t overlayWidth,
                       const VedRect* destRect, const VedRect* sourceRect, bool sse2Tier) {
    const VedRect& d = *destRect;
    const VedRect& s = *sourceRect;
    MaskedPackedJob job;
    job.rows = d.bottom - d.top;
    job.width = d.right - d.left;
    if (job.rows < 1 || job.width < 1) return;
    job.tStride = targetStride;
    job.oStride = overlayStride;
    job.maskPitch = overlayWidth;
    job.t = targetPixels + d.top * job.tStride + 2 * ptrdiff_t(d.left);
    job.o = overlayPixels + s.top * job.oStride + 2 * ptrdiff_t(s.left);
    // The mask's first row differs between the tiers on purpose: S.top with
    // SSE2, D.top without. Hosts' pictures depend on either.
    const ptrdiff_t maskRow = sse2Tier ? s.top : d.top;
    job.mask = maskPixels + maskRow * job.maskPitch + s.left;
    PickForm(kPackedForms)(job);
}

}  // namespace tarn
