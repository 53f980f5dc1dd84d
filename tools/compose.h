// The compose pipeline: overlays loaded once and checked against the frame,
// then each frame made a surface, given the overlays, flattened, optionally
// turned and resized, and copied out.
#pragma once

#include "library.h"
#include "options.h"

#include <vector>

namespace tarnsurf {

class Composer {
public:
    // Loads and checks every overlay for frames of `width` x `height`, and
    // brings each to the frame's planar format once, so that frames composed
    // on several threads only read them.
    Composer(const Library& lib, const ComposeOptions& options, int width, int height);

    int outWidth() const { return outWidth_; }
    int outHeight() const { return outHeight_; }

    // A blank planar frame of the input size, made once per frame slot and
    // reused: frames are read straight into its pixels.
    SurfaceRef NewPlanarFrame() const;
    // Composes `frame` in place, turns it when asked, and answers the planar
    // picture of the output size. With a resize, that goes to `resized`
    // (with slack) and `frame` keeps its size; without, it is the frame's own
    // pixels and `resized` is left alone.
    uint8_t* ComposePlanar(ITarnSurface* frame, std::vector<uint8_t>& resized) const;
    // An RGB picture in, an RGB picture out.
    Image ComposeImage(const Image& frame) const;

private:
    void Compose(ITarnSurface* frame) const;
    SurfaceRef LoadOverlay(const OverlayPlacement& placement) const;

    const Library& lib_;
    const ComposeOptions& options_;
    int width_, height_;
    int outWidth_, outHeight_;
    std::vector<SurfaceRef> overlays_;
};

// The overlay for `picture` with its top left corner at `x`, `y` on a frame
// of `frameWidth` x `frameHeight` (even), ready to add: cut to the part on
// the frame and padded as the library needs, with transparency `alpha` and
// key colour `key` (kNoKey: none). A picture with 4 channels is composed
// through its alpha. Null when no pixel of it lands on the frame.
SurfaceRef PlaceOverlay(const Library& lib, const Image& picture, int x, int y, uint32_t alpha, uint32_t key,
                        int frameWidth, int frameHeight);

// The whole subcommand: opens INPUT, composes every frame, writes OUTPUT
// under a temporary name and renames it when all went well.
void RunCompose(const ComposeOptions& options);

}  // namespace tarnsurf
