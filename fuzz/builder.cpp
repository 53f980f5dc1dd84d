// Builder entries: CreateBlank and CreateFromData with fuzzed descriptors,
// sizes at and far beyond the limits, short and negative strides, every
// format code. A refused description must answer an error and leave the
// result alone; an accepted one reads no more of the caller's data than the
// description holds, and the new surface's bytes are set.
#include "fuzz_support.h"

namespace {

using namespace tarn::fuzz;

constexpr uint32_t kHugeSides[] = {0, 3, 0x10000, 0x40000000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu};
// A caller's pixel buffer larger than this is not made: a description that
// needs it must be refused without reading it, and is tried on CreateBlank.
constexpr size_t kMaxCallerBytes = size_t(16) << 20;

class PixelSource : public IPixelSource {
public:
    explicit PixelSource(uint8_t* data) : data_(data) {}
    uint32_t TARN_CALL AddRef() override { return 1; }
    uint32_t TARN_CALL Release() override { return 1; }
    VedResult TARN_CALL QueryInterface(const VedId&, void**) override { return VED_E_NOTSUPPORTED; }
    uint8_t* TARN_CALL GetData() override { return data_; }

private:
    uint8_t* data_;
};

SurfaceInfo TakeInfo(FuzzInput& in) {
    SurfaceInfo info{};
    info.size = in.Flag() ? sizeof info : in.Take(0);
    info.width = in.Flag() ? in.Pick(kHugeSides) : in.Take(130);
    info.height = in.Flag() ? in.Pick(kHugeSides) : in.Take(130);
    info.format = SurfaceFormat(in.Take(8));
    info.bitsPerPixel = BitsOf(info.format);
    const int64_t row = info.format == SURFACE_FORMAT_YUV420 ? int64_t(info.width)
                                                             : (info.bitsPerPixel * int64_t(info.width) + 31) / 32 * 4;
    int64_t stride = 0;
    switch (in.Take(4)) {
        case 0: stride = row; break;
        case 1: stride = row + in.Take(16); break;
        case 2: stride = row - 1 - in.Take(16); break;
        default: stride = int64_t(in.Take(0)) - 0x8000; break;
    }
    info.stride = int32_t(std::clamp<int64_t>(stride, INT32_MIN, INT32_MAX));
    if (in.Flag()) {
        const VedRect r = in.Rect(int32_t(info.width & 0xFF));
        info.contentLeft = r.left, info.contentTop = r.top, info.contentRight = r.right, info.contentBottom = r.bottom;
    }
    info.topDown = in.Flag();
    info.flattenInPlace = in.Flag();
    return info;
}

// Bytes CreateFromData may read for this description, as the caller sees it;
// 0 when that is out of reach of a real caller.
size_t CallerBytes(const SurfaceInfo& info) {
    if (info.width > 0x10000 || info.height > 0x10000) return 0;
    const size_t rows = info.format == SURFACE_FORMAT_YUV420 || info.format == SURFACE_FORMAT_YUV420_SWAPPED
                            ? size_t(info.height) * 3 / 2 + 1
                            : size_t(info.height);
    const size_t row = std::max<size_t>(size_t(std::abs(int64_t(info.stride))), size_t(info.width) * 4);
    const size_t bytes = row * rows;
    return bytes <= kMaxCallerBytes ? bytes : 0;
}

ITarnSurface* const kUntouched = reinterpret_cast<ITarnSurface*>(uintptr_t(0x5A5A5A5A));

// A refusal must leave the result alone; a surface made goes into the record.
void Record(Outcome& out, VedResult r, ITarnSurface* made) {
    out.Add(r);
    if (r < 0) {
        if (made != kUntouched) __builtin_trap();
        return;
    }
    tarn::Ref<ITarnSurface> held(made);
    out.Surface(held.get());
}

void Run(FuzzInput& in, Outcome& out) {
    tarn::Ref<ISurfaceBuilder> builder = MakeBuilder();
    const SurfaceInfo info = TakeInfo(in);
    // A blank of more than 256 MB is accepted up to 2^31 - 1 bytes but is not
    // asked for here; the refusals beyond 2^31 allocate nothing and are.
    const int64_t rowBytes = info.format == SURFACE_FORMAT_YUV420 ? int64_t(info.width) * 3 / 2
                                                                  : std::abs(int64_t(info.stride));
    const double described = double(rowBytes) * double(info.height);
    if (described > double(256 << 20) && described <= double(INT32_MAX)) return;
    ITarnSurface* blank = kUntouched;
    int32_t bytes = -7;
    const VedResult blankResult = builder->CreateBlank(in.Flag() ? &info : nullptr, &bytes, &blank);
    out.Add(bytes);
    Record(out, blankResult, blank);

    const size_t callerBytes = CallerBytes(info);
    if (!callerBytes) return;
    std::vector<uint8_t> pixels(callerBytes);
    in.SomePixels(pixels.data(), pixels.size());
    PixelSource source(in.Flag() ? pixels.data() : nullptr);
    ITarnSurface* made = kUntouched;
    Record(out, builder->CreateFromData(&info, in.Flag() ? &source : nullptr, &made), made);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    RunInEveryForm(data, size, Run);
    return 0;
}
