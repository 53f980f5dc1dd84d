// Drives the public operations of surfaces with bytes from the fuzzer: a
// frame and an overlay of fuzzed formats and sizes, then a fuzzed sequence of
// queue, conversion, fill, draw, copy and composition calls. Every call must
// answer a result code and stay inside the buffers it was given. Run it with
// -detect_leaks=0: composition keeps a few references on purpose (an
// unmasked overlay on a packed target, for one), which hosts have always seen.
#include <tarn/TarnSurface.h>

#include <cstddef>
#include <cstdint>
#include <vector>

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
const int32_t kModes[] = {0, 1, 2, 3, 4, 5, 6, 0xFF00, 0xFF01, 0xFF02};

tarn::Ref<ITarnSurface> MakeSurface(ISurfaceBuilder* builder, Bytes& in) {
    const uint32_t f = in.Take(5);
    SurfaceInfo info{};
    info.size = sizeof info;
    info.width = 4 + in.Take(60);
    info.height = 4 + in.Take(60);
    if (kFormats[f] == SURFACE_FORMAT_YUV420) info.width &= ~1u, info.height &= ~1u;
    info.format = kFormats[f];
    info.bitsPerPixel = kBits[f];
    info.stride = kFormats[f] == SURFACE_FORMAT_YUV420 ? int32_t(info.width)
                                                       : ((kBits[f] * int32_t(info.width) + 31) / 32) * 4;
    info.topDown = in.Take(2);
    tarn::Ref<ITarnSurface> s;
    int32_t bytes = 0;
    if (builder->CreateBlank(&info, &bytes, s.put()) < 0) return {};
    uint8_t* p = nullptr;
    if (s->GetPixels(&p) >= 0 && p)
        for (int32_t i = 0; i < bytes; ++i) p[i] = uint8_t(in.Take(256));
    return s;
}

VedRect TakeRect(Bytes& in) {
    const int32_t l = int32_t(in.Take(70)) - 3, t = int32_t(in.Take(70)) - 3;
    return {l, t, l + int32_t(in.Take(70)), t + int32_t(in.Take(70))};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Bytes in(data, size);
    tarn::Ref<ISurfaceBuilder> builder;
    if (CreateObject(CLSID_TarnSurfaceLibrary, IID_ISurfaceBuilder, builder.put_void()) < 0) return 0;
    tarn::Ref<ITarnSurface> frame = MakeSurface(builder.get(), in);
    tarn::Ref<ITarnSurface> other = MakeSurface(builder.get(), in);
    if (!frame || !other) return 0;
    for (int step = 0; step < 12 && !in.empty(); ++step) {
        SurfaceInfo info{};
        frame->GetInfo(&info);
        switch (in.Take(9)) {
            case 0: frame->Resize(4 + in.Take(80), 4 + in.Take(80), in.Take(2), kModes[in.Take(10)]); break;
            case 1: frame->SetFormat(kFormats[in.Take(5)]); break;
            case 2: frame->Flush(); break;
            case 3: {
                VedRect r = TakeRect(in);
                frame->Fill(in.Take(2) ? &r : nullptr, in.Take(0) << 16 | in.Take(0));
                break;
            }
            case 4: {
                VedRect d = TakeRect(in), s = TakeRect(in);
                frame->DrawToSurface(in.Take(2) ? &d : nullptr, other.get(), in.Take(2) ? &s : nullptr,
                                     kModes[in.Take(10)]);
                break;
            }
            case 5: {
                // A direct resize paints the buffer as a planar picture first.
                const int32_t stride = int32_t(info.width) * 4 + int32_t(in.Take(8));
                std::vector<uint8_t> out(size_t(stride) * (info.height + 96) * 2 + 16);
                // After a failed CopyOut the surface still points at the
                // caller's buffer, and hosts must not go on with it.
                if (frame->CopyOut(out.data(), stride, in.Take(2)) < 0) return 0;
                break;
            }
            case 6: {
                VedRect s = TakeRect(in), d = TakeRect(in);
                const int32_t w = 1 + int32_t(in.Take(64)), h = 1 + int32_t(in.Take(64));
                std::vector<uint8_t> buffer(size_t(w) * 4 * h * 2 + 16);
                frame->DrawToBuffer(in.Take(2) ? &s : nullptr, in.Take(2) ? &d : nullptr, buffer.data(),
                                    w, h, 0, kModes[in.Take(10)]);
                break;
            }
            case 7: {
                const VedRect s = TakeRect(in), d = TakeRect(in);
                other->SetSourceRect(s.left, s.top, s.right, s.bottom);
                other->SetDestRect(d.left, d.top, d.right, d.bottom);
                other->SetAlpha(in.Take(257));
                other->SetBackColor(in.Take(2) ? 0xFF000000u : in.Take(0));
                frame->AddOverlay(other.get());
                frame->SetFlattenInPlace(in.Take(2));
                tarn::Ref<ITarnSurface> result;
                if (frame->Flatten(result.put()) >= 0 && result) frame = result;
                break;
            }
            default: {
                tarn::Ref<ITarnSurface> copy;
                if (frame->Clone(copy.put()) >= 0 && copy) other = copy;
                break;
            }
        }
    }
    return 0;
}
