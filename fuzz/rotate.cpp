// Drives Rotate with bytes from the fuzzer: a surface of any format, size,
// row order and contents, with or without a mask, turned by fuzzed angles
// (right angles, angles near them, angles outside 0..360 and the ends of
// the 32-bit range). Each turn runs twice, with the plain forms and with the
// fastest forms of this processor, and both must give the same answer, frame
// and bytes. A turn that succeeds must give the frame its angle makes and
// keep the mask the same size; a refusal must leave the frame as it was.
#include <tarn/TarnSurface.h>

#include <climits>
#include <cstdlib>
#include <cstring>

#include "convert/cpu_features.h"
#include "convert/kernel_forms.h"
#include "operations/rotate.h"
#include "surface/tarn_surface_buffer.h"

namespace {

class Bytes {
public:
    Bytes(const uint8_t* data, size_t size) : p_(data), end_(data + size) {}
    bool empty() const { return p_ == end_; }
    uint32_t Take(uint32_t limit) {  // 0 .. limit - 1
        uint32_t v = 0;
        for (int i = 0; i < 2 && p_ != end_; ++i) v = v << 8 | *p_++;
        return limit ? v % limit : v;
    }

private:
    const uint8_t* p_;
    const uint8_t* end_;
};

const SurfaceFormat kFormats[] = {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_RGB32, SURFACE_FORMAT_GRAY8,
                                  SURFACE_FORMAT_YUV420, SURFACE_FORMAT_YUV422};
const int32_t kBits[] = {24, 32, 8, 12, 16};

struct Made {
    tarn::Ref<ITarnSurface> surface;
    int32_t bytes = 0;
};

Made MakeSurface(ISurfaceBuilder* builder, SurfaceFormat format, int32_t bits, uint32_t width, uint32_t height,
                 uint32_t topDown, int32_t padding) {
    SurfaceInfo info{};
    info.size = sizeof info;
    info.width = width;
    info.height = height;
    info.format = format;
    info.bitsPerPixel = bits;
    info.stride = format == SURFACE_FORMAT_YUV420 ? int32_t(width) : (bits * int32_t(width) + 31) / 32 * 4 + padding;
    info.topDown = topDown;
    Made m;
    if (builder->CreateBlank(&info, &m.bytes, m.surface.put()) < 0) m.surface = {};
    return m;
}

int32_t TakeAngle(Bytes& in) {
    static constexpr int32_t kSpecial[] = {0, 90, 180, 270, 360, -90, -180, 450, 540, 720, INT_MIN, INT_MAX};
    switch (in.Take(4)) {
        case 0: return kSpecial[in.Take(sizeof kSpecial / sizeof kSpecial[0])];
        case 1: return int32_t(in.Take(0)) << 16 | int32_t(in.Take(0));
        default: return int32_t(in.Take(1081)) - 360;
    }
}

SurfaceInfo InfoOf(ITarnSurface* s) {
    SurfaceInfo info{};
    s->GetInfo(&info);
    return info;
}

void Check(bool ok) {
    if (!ok) std::abort();
}

// The frame a successful turn must give.
void CheckFrame(const SurfaceInfo& before, const SurfaceInfo& after, int32_t degrees) {
    if (degrees == 0 || degrees == 360 || degrees == 180) {
        Check(after.width == before.width && after.height == before.height && after.stride == before.stride);
    } else if (degrees == 90 || degrees == 270) {
        Check(after.width == before.height && after.height == before.width);
    } else {
        const tarn::RotatedFrame f = tarn::GrownFrame(degrees, before.width, before.height);
        Check(int64_t(after.width) == f.width && int64_t(after.height) == f.height);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Bytes in(data, size);
    tarn::Ref<ISurfaceBuilder> builder;
    if (CreateObject(CLSID_TarnSurfaceLibrary, IID_ISurfaceBuilder, builder.put_void()) < 0) return 0;
    const uint32_t f = in.Take(5);
    const uint32_t width = 4 + in.Take(60), height = 4 + in.Take(60), topDown = in.Take(2);
    const int32_t padding = int32_t(in.Take(3)) * 4;
    const bool withMask = in.Take(2);
    Made a = MakeSurface(builder.get(), kFormats[f], kBits[f], width, height, topDown, padding);
    Made b = MakeSurface(builder.get(), kFormats[f], kBits[f], width, height, topDown, padding);
    if (!a.surface || !b.surface) return 0;
    uint8_t *pa = nullptr, *pb = nullptr;
    a.surface->GetPixels(&pa);
    b.surface->GetPixels(&pb);
    for (int32_t i = 0; i < a.bytes; ++i) pa[i] = pb[i] = uint8_t(in.Take(256));
    if (withMask) {
        Made ma = MakeSurface(builder.get(), SURFACE_FORMAT_GRAY8, 8, width, height, 1, 0);
        Made mb = MakeSurface(builder.get(), SURFACE_FORMAT_GRAY8, 8, width, height, 1, 0);
        if (!ma.surface || !mb.surface) return 0;
        a.surface->SetMask(ma.surface.get());
        b.surface->SetMask(mb.surface.get());
    }

    for (int step = 0; step < 3 && !in.empty(); ++step) {
        const int32_t degrees = TakeAngle(in);
        const SurfaceInfo before = InfoOf(a.surface.get());
        // Bigger frames come of the angles near 45 degrees; beyond a few
        // turns they only slow the fuzzer down.
        if (int64_t(before.width) * before.height > 4096 * 16) break;
        VedResult plain;
        {
            tarn::ScopedKernelChoice choice(tarn::g_cpuFeatures, tarn::SimdForm::Plain);
            plain = a.surface->Rotate(degrees);
        }
        const VedResult fast = b.surface->Rotate(degrees);
        Check(plain == fast);
        const SurfaceInfo after = InfoOf(a.surface.get());
        const SurfaceInfo other = InfoOf(b.surface.get());
        Check(std::memcmp(&after, &other, sizeof after) == 0);
        if (plain == VED_S_OK) {
            CheckFrame(before, after, degrees);
            const auto* ba = static_cast<tarn::CTarnSurfaceBuffer*>(a.surface.get());
            const auto* bb = static_cast<tarn::CTarnSurfaceBuffer*>(b.surface.get());
            Check(std::memcmp(ba->pixels, bb->pixels, size_t(tarn::BufferBytes(ba->info))) == 0);
            tarn::Ref<ITarnSurface> mask;
            if (withMask && a.surface->GetMask(mask.put()) >= 0) {
                const SurfaceInfo m = InfoOf(mask.get());
                Check(m.width == after.width && m.height == after.height);
            }
        } else {
            Check(plain == VED_E_OUTOFMEMORY || plain == VED_E_NOTSUPPORTED || plain == VED_E_INVALIDARG);
            // Only a packed picture at a right angle moves its content rectangle.
            SurfaceInfo unchanged = after;
            unchanged.contentLeft = before.contentLeft, unchanged.contentTop = before.contentTop;
            unchanged.contentRight = before.contentRight, unchanged.contentBottom = before.contentBottom;
            Check(std::memcmp(&unchanged, &before, sizeof before) == 0);
        }
    }
    return 0;
}
