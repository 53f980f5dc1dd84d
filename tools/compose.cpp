// Composition of frames through the library, and the subcommand around it.
#include "compose.h"

#include "bmp_io.h"
#include "ordered_pipeline.h"
#include "overlay_layout.h"
#include "output_file.h"
#include "progress.h"
#include "tool_error.h"

#include <cstdio>
#include <memory>

namespace tarnsurf {
namespace {

std::string RectText(int l, int t, int r, int b) {
    return std::to_string(l) + "," + std::to_string(t) + "," + std::to_string(r) + "," + std::to_string(b);
}

bool EndsWith(const std::string& s, const std::string& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

// '-' is a stream; otherwise the extension decides.
bool IsPng(const std::string& path) { return path != "-" && (EndsWith(path, ".png") || EndsWith(path, ".PNG")); }
// One picture, PNG or BMP, rather than a stream.
bool IsPicture(const std::string& path) { return IsPng(path) || IsBmpPath(path); }

void CheckStreamPath(const std::string& path, const char* role) {
    if (path == "-" || IsPicture(path) || EndsWith(path, ".y4m") || EndsWith(path, ".Y4M")) return;
    Fail(path, std::string("unknown ") + role + " type; use .png, .bmp, .y4m or '-'");
}

}  // namespace

Composer::Composer(const Library& lib, const ComposeOptions& options, int width, int height)
    : lib_(lib), options_(options), width_(width), height_(height),
      outWidth_(width), outHeight_(height) {
    if (options.rotate) {
        // The turned size is the library's to decide: one blank frame turned
        // tells it.
        const SurfaceRef probe = NewPlanarFrame();
        Check(probe->Rotate(options.rotate), "Rotate");
        SurfaceInfo info{};
        Check(probe->GetInfo(&info), "GetInfo");
        outWidth_ = int(info.width);
        outHeight_ = int(info.height);
    }
    if (options.resize) {
        outWidth_ = options.resize->width;
        outHeight_ = options.resize->height;
    }
    for (const OverlayPlacement& placement : options.overlays) {
        SurfaceRef overlay = LoadOverlay(placement);
        if (overlay) overlays_.push_back(std::move(overlay));
    }
}

SurfaceRef Composer::LoadOverlay(const OverlayPlacement& placement) const {
    const Image image = ReadPicture(placement.file);
    const bool masked = image.channels == 4;
    if (masked && placement.key)
        Fail(placement.file, "has an alpha channel; a key colour works only with overlays without one");
    const PixelRect src = placement.source.value_or(PixelRect{0, 0, image.width, image.height});
    if (src.right > image.width || src.bottom > image.height)
        Fail(placement.file, "source rectangle " + RectText(src.left, src.top, src.right, src.bottom) +
                            " reaches outside the picture of " + std::to_string(image.width) + "x" +
                            std::to_string(image.height));
    // At 256 the overlay is invisible; a mask could only make it nearly so.
    if (placement.alpha >= 256) return SurfaceRef();

    Image picture = placement.source ? Crop(image, src.left, src.top, src.right - src.left, src.bottom - src.top)
                                     : image;
    const int dw = placement.width ? placement.width : picture.width;
    const int dh = placement.height ? placement.height : picture.height;
    if (dw != picture.width || dh != picture.height) picture = StretchImage(lib_, picture, dw, dh);
    uint32_t key = placement.key.value_or(kNoKey);
    if (placement.rotate) {
        // Turned with alpha, so that the corners the turn uncovers stay
        // transparent; a key colour becomes transparency before the turn.
        picture = RotateImage(lib_, WithAlpha(picture, placement.key), placement.rotate);
        key = kNoKey;
    }
    SurfaceRef overlay =
        PlaceOverlay(lib_, picture, placement.x, placement.y, placement.alpha, key, width_, height_);
    if (!overlay)
        std::fprintf(stderr, "tarnsurf: note: %s: overlay rectangle %s lies entirely outside the frame of %dx%d; skipped\n",
                     placement.file.c_str(),
                     RectText(placement.x, placement.y, placement.x + picture.width, placement.y + picture.height).c_str(),
                     width_, height_);
    return overlay;
}

SurfaceRef PlaceOverlay(const Library& lib, const Image& picture, int x, int y, uint32_t alpha, uint32_t key,
                        int frameWidth, int frameHeight) {
    const bool masked = picture.channels == 4;
    const AxisLayout across = LayOutAxis(x, picture.width, frameWidth, masked, 4);
    const AxisLayout down = LayOutAxis(y, picture.height, frameHeight, masked, 2);
    if (across.Empty() || down.Empty()) return SurfaceRef();
    const Image canvas = BuildCanvas(picture, across, down);
    // With a mask the library takes no constant transparency: it goes into
    // the alpha bytes.
    SurfaceRef overlay = masked ? RgbaSurfaceFrom(lib, canvas, alpha) : RgbSurfaceFrom(lib, canvas);
    return PrepareOverlay(lib, std::move(overlay), VedRect{across.sourceBegin, down.sourceBegin, across.sourceEnd, down.sourceEnd},
                          VedRect{across.destBegin, down.destBegin, across.destEnd, down.destEnd}, masked ? 0 : alpha,
                          key);
}

void Composer::Compose(ITarnSurface* frame) const {
    Check(frame->SetFlattenInPlace(1), "SetFlattenInPlace");
    for (const SurfaceRef& overlay : overlays_) Check(frame->AddOverlay(overlay.get()), "AddOverlay");
    SurfaceRef flattened;
    Check(frame->Flatten(flattened.put()), "Flatten");
    if (options_.rotate) Check(frame->Rotate(options_.rotate), "Rotate");
    if (options_.resize) {
        const ResizeTarget& r = *options_.resize;
        Check(frame->Resize(r.width, r.height, r.fit ? 1 : 0, options_.quality), "Resize");
    }
}

SurfaceRef Composer::NewPlanarFrame() const {
    return lib_.Blank(DescribeSurface(SURFACE_FORMAT_YUV420, width_, height_, true));
}

uint8_t* Composer::ComposePlanar(ITarnSurface* frame, std::vector<uint8_t>& resized) const {
    Compose(frame);
    if (!options_.resize) {
        uint8_t* pixels = nullptr;
        Check(frame->GetPixels(&pixels), "GetPixels");
        return pixels;
    }
    resized.resize(PlanarBytes(outWidth_, outHeight_) + kWriteSlack);
    // The queued resize is the last record, so CopyOut has it write straight
    // into `resized`, and the frame keeps its size and buffer for the next one.
    Check(frame->CopyOut(resized.data(), outWidth_, 1), "CopyOut");
    return resized.data();
}

Image Composer::ComposeImage(const Image& frame) const {
    SurfaceRef surface = RgbSurfaceFrom(lib_, frame);
    Compose(surface.get());
    Check(surface->Flush(), "Flush");
    return ImageFromSurface(surface.get());
}

void RunCompose(const ComposeOptions& options) {
    CheckStreamPath(options.input, "input");
    CheckStreamPath(options.output, "output");
    const Library lib;
    if (IsPicture(options.input)) {
        const Image frame = ReadPicture(options.input);
        CheckRgbSize(frame, options.input);
        const Composer composer(lib, options, RgbWidthKept(frame.width), RgbHeightKept(frame.height));
        const Image composed = composer.ComposeImage(frame);
        OutputFile out(options.output);
        if (IsPicture(options.output)) {
            WritePictureTo(out.file(), composed, out.name());
        } else {
            // One frame as a stream, converted back by the library.
            Y4mHeader header;
            header.width = composed.width;
            header.height = composed.height;
            header.params = {"F25:1", "Ip", "A1:1", "C420jpeg"};
            SurfaceRef surface = RgbSurfaceFrom(lib, composed);
            Check(surface->SetFormat(SURFACE_FORMAT_YUV420), "SetFormat(YUV420)");
            std::vector<uint8_t> planar(PlanarBytes(header.width, header.height) + kWriteSlack);
            Check(surface->CopyOut(planar.data(), header.width, 1), "CopyOut");
            const PlanePointers p = StreamPlanesOf(planar.data(), header.width, header.height);
            Y4mWriter(out.file(), header, out.name()).WriteFrame(p.y, p.u, p.v);
        }
        out.Commit();
        return;
    }

    std::FILE* inFile = stdin;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> opened(nullptr, &std::fclose);
    if (options.input != "-") {
        opened.reset(std::fopen(options.input.c_str(), "rb"));
        if (!opened) Fail(options.input, "cannot open: no such file or no permission");
        inFile = opened.get();
    }
    Y4mReader reader(inFile, options.input == "-" ? "standard input" : options.input);
    const Y4mHeader& in = reader.header();
    const Composer composer(lib, options, in.width, in.height);
    OutputFile out(options.output);
    const bool pngOut = IsPicture(options.output);
    Y4mHeader outHeader = in;
    outHeader.width = composer.outWidth();
    outHeader.height = composer.outHeight();
    std::unique_ptr<Y4mWriter> writer;
    if (!pngOut) writer = std::make_unique<Y4mWriter>(out.file(), outHeader, out.name());
    Progress progress(reader.name());

    // Each job keeps its frame surface: a frame is read into the pixels the
    // library composes in, and written from them, with no copy in between.
    struct Job {
        long index = 0;
        SurfaceRef frame;
        uint8_t* pixels = nullptr;
        std::vector<uint8_t> resized;
        uint8_t* composed = nullptr;
    };
    const auto read = [&](Job& job) {
        // A turn gives the frame a new buffer of another size, so a turned
        // frame is not read into again.
        if (!job.frame || options.rotate) {
            job.frame = composer.NewPlanarFrame();
            Check(job.frame->GetPixels(&job.pixels), "GetPixels");
            if (!job.pixels) Fail(reader.name(), "the library gave a frame without pixels");
        }
        if (!reader.ReadFrame(StreamPlanesOf(job.pixels, in.width, in.height))) return false;
        if (pngOut && reader.framesRead() > 1)
            Fail(options.output, "picture output takes one frame, and " + reader.name() + " has more");
        return true;
    };
    const auto work = [&](Job& job) { job.composed = composer.ComposePlanar(job.frame.get(), job.resized); };
    const auto write = [&](Job& job) {
        uint8_t* composed = job.composed;
        if (writer) {
            const PlanePointers p = StreamPlanesOf(composed, outHeader.width, outHeader.height);
            writer->WriteFrame(p.y, p.u, p.v);
        } else {
            const SurfaceRef frame = lib.FromData(
                DescribeSurface(SURFACE_FORMAT_YUV420, outHeader.width, outHeader.height, true), composed);
            WritePictureTo(out.file(), ImageFromSurface(frame.get()), out.name());
        }
        progress.Frame(job.index + 1);
    };
    const long frames = OrderedPipeline<Job>::Run(options.threads, read, work, write);
    progress.Done(frames);
    if (frames == 0) Fail(reader.name(), "the stream has no frames");
    out.Commit();
}

}  // namespace tarnsurf
