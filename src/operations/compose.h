// Overlay composition over values: the checks and blends of the two
// compositors Flatten runs, and the blends themselves. Flatten (in the
// surface layer) converts each overlay, collects its pictures, rectangles and
// weights, makes the stretched copies a compositor asks for and hands them
// here; nothing here calls a surface. Every blend uses
// out = ((256 - w) * o + w * t) >> 8 with w the transparency, o the overlay
// sample and t the target sample; the tiers differ only in which samples and
// weights they take, never in this arithmetic.
#pragma once

#include <cstdint>

#include "operations/picture.h"

namespace tarn {

// Masked blend of a YUV420 overlay: whole 2 by 2 blocks of D only. The mask is
// walked with the overlay's stride from (S.left, S.top).
void BlendMaskedPlanar(uint8_t* targetPixels, const uint8_t* overlayPixels,
                       const uint8_t* maskPixels, int32_t targetStride, int32_t targetHeight,
                       int32_t overlayStride, int32_t overlayHeight, const VedRect* destRect,
                       const VedRect* sourceRect, bool sse2Tier);

// Masked blend of a YUV422 overlay, every pixel of D. The mask is walked with
// the overlay's width as its pitch, from row S.top with SSE2 and row D.top
// without.
void BlendMaskedPacked(uint8_t* targetPixels, const uint8_t* overlayPixels, const uint8_t* maskPixels,
                       int32_t targetStride, int32_t overlayStride, int32_t overlayWidth,
                       const VedRect* destRect, const VedRect* sourceRect, bool sse2Tier);

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
                const VedRect& source, uint32_t alpha, const KeySamples& key, bool sse2Tier);

// One overlay without a mask as the keyed compositor sees it.
struct KeyedOverlay {
    Picture picture;
    VedRect dest;
    VedRect source;
    uint32_t alpha;      // constant weight; 256 paints nothing
    uint32_t keyColour;  // 0xXXRRGGBB, exactly 0xFF000000 for none
};

// One overlay with its mask as the masked compositor sees it. The mask has
// the overlay's size and is walked with the overlay's pitch (see the blends).
struct MaskedOverlay {
    Picture picture;
    Picture mask;
    VedRect dest;
    VedRect source;
};

// A compositor's first answer, before any copy is made: go on (after
// stretching the overlay to D's size when `stretch`), or stop with `result`.
struct ComposeStart {
    bool goOn;
    bool stretch;
    VedResult result;
};

// Rectangles of a keyed overlay against the target. An empty D is refused,
// an overlay at full transparency paints nothing wherever it lies, D must lie
// in the target and, when nothing is stretched, S in the overlay.
ComposeStart StartKeyed(const Picture& target, const KeyedOverlay& overlay);

// The keyed blend of an overlay whose S has D's size. The target's planes
// are addressed from `planes` (height and stride), which need not be the
// target's own: Flatten passes those of the surface it was called on. Every
// byte touched is checked against the buffers first: VED_E_INVALIDARG
// without painting, as for a missing buffer.
VedResult BlendKeyedOverlay(const Picture& target, const Picture& planes, const KeyedOverlay& overlay);

// Rectangles of a masked overlay against a YUV420 or YUV422 target. An
// empty D is refused; the packed blend needs D in the target and, when
// nothing is stretched, S in the overlay; the planar blend needs D's whole
// 2x2 blocks in the target picture and its buffer.
ComposeStart StartMasked(const Picture& target, const MaskedOverlay& overlay);

// The masked blend, every byte it touches checked first (VED_E_INVALIDARG
// without painting, as for a missing buffer).
VedResult BlendMaskedOverlay(const Picture& target, const MaskedOverlay& overlay);

}  // namespace tarn
