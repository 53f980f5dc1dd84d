// A tour of the object API as a host uses it: surfaces in every format,
// queued work, pictures copied out in both row orders, overlays and a clone.
#include <tarn/TarnSurface.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

const char* FormatName(int32_t format) {
    static const char* const names[] = {"?", "RGB24", "RGB32", "GRAY8", "YUV420", "YUV422"};
    return format >= 1 && format <= 5 ? names[format] : "?";
}

SurfaceInfo Describe(SurfaceFormat format, uint32_t width, uint32_t height) {
    static const int32_t bits[] = {0, 24, 32, 8, 12, 16};
    static const int32_t bytesPerPixelTimes2[] = {0, 6, 8, 2, 2, 4};
    SurfaceInfo info{};
    info.size = sizeof info;
    info.width = width;
    info.height = height;
    info.format = format;
    info.bitsPerPixel = bits[format];
    info.stride = static_cast<int32_t>(width) * bytesPerPixelTimes2[format] / 2;
    info.topDown = 1;
    return info;
}

// A host's own pixels, handed over through IPixelSource.
class HostPixels : public IPixelSource {
public:
    explicit HostPixels(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}
    uint32_t TARN_CALL AddRef() override { return 1; }
    uint32_t TARN_CALL Release() override { return 1; }
    VedResult TARN_CALL QueryInterface(const VedId&, void**) override { return VED_E_NOTSUPPORTED; }
    uint8_t* TARN_CALL GetData() override { return bytes_.data(); }

private:
    std::vector<uint8_t> bytes_;
};

bool Check(VedResult r, const char* what) {
    std::printf("%-44s %s\n", what, r >= 0 ? "ok" : "FAILED");
    return r >= 0;
}

}  // namespace

int main() {
    tarn::Ref<ISurfaceBuilder> builder;
    if (!Check(CreateObject(CLSID_TarnSurfaceLibrary, IID_ISurfaceBuilder, builder.put_void()),
               "CreateObject(builder)"))
        return 1;

    for (SurfaceFormat format : {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_RGB32, SURFACE_FORMAT_GRAY8,
                                 SURFACE_FORMAT_YUV420, SURFACE_FORMAT_YUV422}) {
        SurfaceInfo info = Describe(format, 64, 48);
        int32_t bytes = 0;
        tarn::Ref<ITarnSurface> surface;
        char what[64];
        std::snprintf(what, sizeof what, "CreateBlank %s 64x48", FormatName(format));
        if (!Check(builder->CreateBlank(&info, &bytes, surface.put()), what)) return 1;
        std::printf("    buffer %d bytes\n", bytes);
    }

    // A frame from the host's memory: a horizontal ramp of grey in RGB32.
    SurfaceInfo frameInfo = Describe(SURFACE_FORMAT_RGB32, 320, 240);
    std::vector<uint8_t> ramp(320 * 240 * 4);
    for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = static_cast<uint8_t>((i / 4) % 320 * 255 / 319);
    HostPixels pixels(ramp);
    tarn::Ref<ITarnSurface> frame;
    if (!Check(builder->CreateFromData(&frameInfo, &pixels, frame.put()), "CreateFromData RGB32 320x240"))
        return 1;

    // Overlay properties and the stack.
    SurfaceInfo titleInfo = Describe(SURFACE_FORMAT_YUV420, 128, 32);
    tarn::Ref<ITarnSurface> title;
    int32_t bytes = 0;
    Check(builder->CreateBlank(&titleInfo, &bytes, title.put()), "CreateBlank title YUV420 128x32");
    Check(title->SetDestRect(16, 16, 144, 48), "SetDestRect");
    Check(title->SetSourceRect(0, 0, 128, 32), "SetSourceRect");
    Check(title->SetAlpha(64), "SetAlpha 64");
    Check(frame->AddOverlay(title.get()), "AddOverlay");
    std::printf("    overlays on the frame: %d, title at index %d\n", frame->GetOverlayCount(),
                frame->FindOverlay(title.get()));

    // Queued work, drained by CopyOut into both row orders.
    Check(frame->Resize(320, 240, 0, SCALE_BILINEAR), "Resize 320x240 (queued)");
    std::vector<uint8_t> topDown(320 * 240 * 4), bottomUp(320 * 240 * 4);
    Check(frame->CopyOut(topDown.data(), 320 * 4, 1), "CopyOut top-down");
    Check(frame->CopyOut(bottomUp.data(), 320 * 4, 0), "CopyOut bottom-up");
    const bool mirrored = std::equal(topDown.begin(), topDown.begin() + 1280, bottomUp.end() - 1280);
    std::printf("    first row of one is the last row of the other: %s\n", mirrored ? "yes" : "no");

    tarn::Ref<ITarnSurface> copy;
    Check(frame->Clone(copy.put()), "Clone");
    SurfaceInfo cloneInfo{};
    copy->GetInfo(&cloneInfo);
    std::printf("    clone: %s %ux%u, stride %d\n", FormatName(cloneInfo.format), cloneInfo.width,
                cloneInfo.height, cloneInfo.stride);
    return 0;
}
