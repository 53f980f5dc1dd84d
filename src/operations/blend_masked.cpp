// Masked blends, planar and packed: addresses, the choice of form, and the
// scalar forms of both tiers. No size is checked here; the compositor checks
// every address against its buffer before it calls.
#include "operations/compose.h"

#include "convert/kernel_forms.h"
#include "operations/blend_forms.h"

namespace tarn {

void BlendMaskedPlanarBlocks(const MaskedPlanarJob& job, uint8_t* ty, uint8_t* tu, uint8_t* tv,
                             const uint8_t* oy, const uint8_t* ou, const uint8_t* ov,
                             const uint8_t* m, int32_t blocks, bool lowerLeft) {
    const ptrdiff_t ts = job.tStride, os = job.oStride;
    for (int32_t i = 0; i < blocks; ++i) {
        const int32_t x = 2 * i;
        for (int32_t dy = 0; dy < 2; ++dy)
            for (int32_t dx = 0; dx < 2; ++dx) {
                uint8_t& t = ty[dy * ts + x + dx];
                t = BlendSample(oy[dy * os + x + dx], t, m[dy * os + x + dx]);
            }
        // Chroma takes one weight from the block's lower row.
        const uint32_t w = m[os + x + (lowerLeft ? 0 : 1)];
        tu[i] = BlendSample(ou[i], tu[i], w);
        tv[i] = BlendSample(ov[i], tv[i], w);
    }
}

void BlendMaskedPlanarScalar(const MaskedPlanarJob& job) {
    const int32_t grouped = job.lowerLeftInGroups ? (job.blocks >> 3) << 3 : 0;
    for (int32_t p = 0; p < job.rowPairs; ++p) {
        uint8_t* ty = job.ty + 2 * p * job.tStride;
        uint8_t* tu = job.tu + p * job.tChromaStride;
        uint8_t* tv = job.tv + p * job.tChromaStride;
        const uint8_t* oy = job.oy + 2 * p * job.oStride;
        const uint8_t* ou = job.ou + p * job.oChromaStride;
        const uint8_t* ov = job.ov + p * job.oChromaStride;
        const uint8_t* m = job.mask + 2 * p * job.oStride;
        BlendMaskedPlanarBlocks(job, ty, tu, tv, oy, ou, ov, m, grouped, true);
        BlendMaskedPlanarBlocks(job, ty + 2 * grouped, tu + grouped, tv + grouped, oy + 2 * grouped,
                                ou + grouped, ov + grouped, m + 2 * grouped, job.blocks - grouped,
                                false);
    }
}

void BlendMaskedPackedPixels(uint8_t* t, const uint8_t* o, const uint8_t* m, int32_t pixels) {
    for (int32_t x = 0; x < pixels; ++x) {
        t[2 * x] = BlendSample(o[2 * x], t[2 * x], m[x]);
        t[2 * x + 1] = BlendSample(o[2 * x + 1], t[2 * x + 1], m[x]);
    }
}

void BlendMaskedPackedScalar(const MaskedPackedJob& job) {
    for (int32_t y = 0; y < job.rows; ++y)
        BlendMaskedPackedPixels(job.t + y * job.tStride, job.o + y * job.oStride,
                                job.mask + y * job.maskPitch, job.width);
}

namespace {

constexpr FormEntry<MaskedPlanarFn> kPlanarForms[] = {
#if defined(TARN_HAVE_X86_SIMD)
    {SimdForm::Avx2, BlendMaskedPlanarAvx2},
    {SimdForm::Sse2, BlendMaskedPlanarSse2},
#endif
    {SimdForm::Plain, BlendMaskedPlanarScalar},
};

constexpr FormEntry<MaskedPackedFn> kPackedForms[] = {
#if defined(TARN_HAVE_X86_SIMD)
    {SimdForm::Avx2, BlendMaskedPackedAvx2},
    {SimdForm::Sse2, BlendMaskedPackedSse2},
#endif
    {SimdForm::Plain, BlendMaskedPackedScalar},
};

}  // namespace

int32_t BlendMaskedPlanar(uint8_t* targetPixels, const uint8_t* overlayPixels,
                          const uint8_t* maskPixels, int32_t targetStride, int32_t targetHeight,
                          int32_t overlayStride, int32_t overlayHeight, const VedRect* destRect,
                          const VedRect* sourceRect, bool useSse2) {
    const VedRect& d = *destRect;
    const VedRect& s = *sourceRect;
    MaskedPlanarJob job;
    job.rowPairs = (d.bottom - d.top) >> 1;
    job.blocks = (d.right - d.left) >> 1;
    if (job.rowPairs < 1 || job.blocks < 1) return 0;
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
    job.tu = targetPixels + tLuma + tcAt;
    job.tv = targetPixels + tLuma + tChroma + tcAt;
    job.oy = overlayPixels + s.top * job.oStride + s.left;
    job.ou = overlayPixels + oLuma + ocAt;
    job.ov = overlayPixels + oLuma + oChroma + ocAt;
    job.mask = maskPixels + s.top * job.oStride + s.left;
    job.lowerLeftInGroups = useSse2;
    PickForm(kPlanarForms)(job);
    return 0;
}

int32_t BlendMaskedPacked(uint8_t* targetPixels, const uint8_t* overlayPixels,
                          const uint8_t* maskPixels, int32_t /*targetWidth*/,
                          int32_t /*targetHeight*/, int32_t overlayWidth,
                          int32_t /*overlayHeight*/, int32_t targetStride, int32_t overlayStride,
                          const VedRect* destRect, const VedRect* sourceRect, bool useSse2) {
    const VedRect& d = *destRect;
    const VedRect& s = *sourceRect;
    MaskedPackedJob job;
    job.rows = d.bottom - d.top;
    job.width = d.right - d.left;
    if (job.rows < 1 || job.width < 1) return 0;
    job.tStride = targetStride;
    job.oStride = overlayStride;
    job.maskPitch = overlayWidth;
    job.t = targetPixels + d.top * job.tStride + 2 * ptrdiff_t(d.left);
    job.o = overlayPixels + s.top * job.oStride + 2 * ptrdiff_t(s.left);
    // The mask's first row differs between the tiers on purpose: S.top with
    // SSE2, D.top without. Hosts' pictures depend on either.
    const ptrdiff_t maskRow = useSse2 ? s.top : d.top;
    job.mask = maskPixels + maskRow * job.maskPitch + s.left;
    PickForm(kPackedForms)(job);
    return 0;
}

}  // namespace tarn
