// Keyed blend with a constant weight: the key samples, the plain tier (chroma
// blended once per pixel) and the plain form of the SSE2 tier's queue. No
// size is checked here; the compositor checks every address first.
#include "operations/compose.h"

#include "operations/blend_forms.h"
#include "operations/keyed_queue.h"
#include "platform/form_table.h"

namespace tarn {

KeySamples KeySamplesOf(uint32_t color) {
    KeySamples key{-1, -1, -1};
    if (color == 0xFF000000u) return key;
    const double r = (color >> 16) & 0xFF, g = (color >> 8) & 0xFF, b = color & 0xFF;
    // Double precision, truncated toward zero. A luma of 240 or more gives a
    // key above 255, which no sample equals. The first chroma is worked as a
    // Cb value although the conversions put Cr in the first plane: hosts'
    // keys were chosen against exactly this.
    key.y = static_cast<int32_t>(0.587 * g + 0.299 * r + 0.114 * b) + 16;
    key.first = static_cast<int32_t>(0.5 * b - (0.331 * g + 0.169 * r) + 128);
    key.second = static_cast<int32_t>((0.5 * r - 0.419 * g) - 0.081 * b + 128);
    return key;
}

void BlendKeyedQueuePlain(const KeyedQueueJob& job) {
    KeyedQueue q;
    for (int32_t y = 0; y < job.height; ++y) {
        for (int32_t x = 0; x < job.width; ++x)
            if (!KeyedPixelMatches(job, x, y)) KeyedQueuePush(q, job, x, y);
        KeyedQueueRowEnd(q, job.alpha);
    }
}

namespace {

// Without SSE2 each pixel blends its chroma at once, so a chroma sample is
// blended once for each of its up to four pixels.
void BlendKeyedPlainTier(const KeyedQueueJob& job) {
    const uint32_t a = job.alpha;
    for (int32_t y = 0; y < job.height; ++y) {
        for (int32_t x = 0; x < job.width; ++x) {
            if (KeyedPixelMatches(job, x, y)) continue;
            uint8_t& t = job.ty[y * job.tPitch + x];
            t = BlendSample(job.oy[y * job.oPitch + x], t, a);
            const ptrdiff_t tc = (y >> 1) * job.tChromaPitch + (x >> 1);
            const ptrdiff_t oc = (y >> 1) * job.oChromaPitch + (x >> 1);
            job.tFirst[tc] = BlendSample(job.oFirst[oc], job.tFirst[tc], a);
            job.tSecond[tc] = BlendSample(job.oSecond[oc], job.tSecond[tc], a);
        }
    }
}

constexpr FormEntry<KeyedQueueFn> kQueueForms[] = {
#if defined(TARN_HAVE_X86_SIMD)
    {SimdForm::Avx2, BlendKeyedQueueAvx2},
    {SimdForm::Sse2, BlendKeyedQueueSse2},
#endif
    {SimdForm::Plain, BlendKeyedQueuePlain},
};

}  // namespace

void BlendKeyed(const PlanarPlanes& target, const PlanarPlanes& overlay, const VedRect& d,
                const VedRect& s, uint32_t alpha, const KeySamples& key, bool sse2Tier) {
    KeyedQueueJob job;
    job.width = d.right - d.left;
    job.height = d.bottom - d.top;
    if (job.width < 1 || job.height < 1) return;
    job.tPitch = target.pitch;
    job.tChromaPitch = target.chromaPitch;
    job.oPitch = overlay.pitch;
    job.oChromaPitch = overlay.chromaPitch;
    const ptrdiff_t tc = (d.top >> 1) * job.tChromaPitch + (d.left >> 1);
    const ptrdiff_t oc = (s.top >> 1) * job.oChromaPitch + (s.left >> 1);
    job.ty = target.y + d.top * job.tPitch + d.left;
    job.tFirst = target.first + tc;
    job.tSecond = target.second + tc;
    job.oy = overlay.y + s.top * job.oPitch + s.left;
    job.oFirst = overlay.first + oc;
    job.oSecond = overlay.second + oc;
    job.alpha = alpha;
    job.keyY = key.y;
    job.keyFirst = key.first;
    job.keySecond = key.second;
    if (sse2Tier)
        PickForm(kQueueForms)(job);
    else
        BlendKeyedPlainTier(job);
}

}  // namespace tarn
