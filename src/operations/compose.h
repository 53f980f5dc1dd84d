// Overlay composition: the two compositors Flatten calls and the blends they
// run. Every blend uses out = ((256 - w) * o + w * t) >> 8 with w the
// transparency, o the overlay sample and t the target sample; the tiers differ
// only in which samples and weights they take, never in this arithmetic.
#pragma once

#include <cstdint>

#include "tarn/TarnSurface.h"

namespace tarn {

class CTarnSurfaceBuffer;

// Masked blend of a YUV420 overlay: whole 2 by 2 blocks of D only. The mask is
// walked with the overlay's stride from (S.left, S.top). Answers 0.
int32_t BlendMaskedPlanar(uint8_t* targetPixels, const uint8_t* overlayPixels,
                          const uint8_t* maskPixels, int32_t targetStride, int32_t targetHeight,
                          int32_t overlayStride, int32_t overlayHeight, const VedRect* destRect,
                          const VedRect* sourceRect, bool useSse2);

// Masked blend of a YUV422 overlay, every pixel of D. The mask is walked with
// overlayWidth as its pitch, from row S.top with SSE2 and row D.top without.
// Answers 0.
int32_t BlendMaskedPacked(uint8_t* targetPixels, const uint8_t* overlayPixels,
                          const uint8_t* maskPixels, int32_t targetWidth, int32_t targetHeight,
                          int32_t overlayWidth, int32_t overlayHeight, int32_t targetStride,
                          int32_t overlayStride, const VedRect* destRect,
                          const VedRect* sourceRect, bool useSse2);

// The three planes of a YUV420 picture as the keyed blend addresses them.
struct PlanarPlanes {
    uint8_t* y;
    uint8_t* first;   // first chroma plane
    uint8_t* second;  // second chroma plane
    int32_t pitch;        // Y rows
    int32_t chromaPitch;  // chroma rows
};

// Key samples; -1 or a luma above 255 never matches a sample.
struct KeySamples {
    int32_t y;
    int32_t first;
    int32_t second;
};

// The key colour 0xXXRRGGBB as samples; exactly 0xFF000000 means no key.
KeySamples KeySamplesOf(uint32_t color);

// Keyed blend with the constant weight `alpha` (below 256) of D's pixels
// whose overlay samples do not all equal the key. Without SSE2 each pixel
// blends its chroma at once; with SSE2 pixels go through the queue that
// blends chroma per pair and carries leftovers into the next row.
void BlendKeyed(const PlanarPlanes& target, const PlanarPlanes& overlay, const VedRect& dest,
                const VedRect& source, uint32_t alpha, const KeySamples& key, bool useSse2);

// The compositors. Each takes over the caller's reference to `overlay`.
VedResult ComposeMasked(ITarnSurface* target, ITarnSurface* overlay);
VedResult ComposeKeyed(CTarnSurfaceBuffer* self, ITarnSurface* target, ITarnSurface* overlay);

}  // namespace tarn
