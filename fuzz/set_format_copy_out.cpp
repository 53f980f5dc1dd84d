// Format conversion and the copy out: a chain of queued SetFormat records
// (now and then a Resize among them), drained by Flush or by CopyOut into a
// caller's buffer at a fuzzed stride, in either row order. The buffer is no
// larger than the public header asks of a caller, so a write past what the
// call describes is caught.
#include "fuzz_support.h"

namespace {

using namespace tarn::fuzz;

void Run(FuzzInput& in, Outcome& out) {
    tarn::Ref<ISurfaceBuilder> builder = MakeBuilder();
    tarn::Ref<ITarnSurface> s = TakeSurface(builder.get(), in);
    if (!s) return;
    if (in.Flag()) {
        SurfaceInfo info{};
        s->GetInfo(&info);
        tarn::Ref<ITarnSurface> mask = TakeMask(builder.get(), in, info.width, info.height);
        s->SetMask(mask.get());
    }
    SurfaceInfo info{};
    s->GetInfo(&info);
    out.Note("surface", info);
    // The tallest picture the chain can make bounds what CopyOut may write.
    uint32_t rows = info.height, widest = info.width;
    const int records = 1 + int(in.Take(3));
    for (int i = 0; i < records; ++i) {
        if (in.Take(4) == 0) {
            const int32_t w = 4 + int32_t(in.Take(40)), h = 4 + int32_t(in.Take(40));
            rows = std::max(rows, uint32_t(h)), widest = std::max(widest, uint32_t(w));
            const int32_t keep = in.Flag(), mode = in.Pick(kModes);
            out.Note("Resize(%d, %d, %d, %#x)", w, h, keep, mode);
            out.Add(s->Resize(w, h, keep, mode));
        } else {
            const SurfaceFormat f = in.Pick(kTargetFormats);
            out.Note("SetFormat(%d)", int(f));
            out.Add(s->SetFormat(f));
        }
    }
    if (in.Flag()) {
        out.Note("Flush");
        out.Add(s->Flush());
        out.Surface(s.get());
        return;
    }
    // Strides from one byte up to well past a 32-bit row of the widest picture.
    const int32_t stride = in.Flag() ? 1 + int32_t(in.Take(widest * 4 + 16)) : int32_t(in.Take(0)) - 0x8000;
    const size_t bytes = stride > 0 ? size_t(stride) * rows * 3 / 2 : 16;
    std::vector<uint8_t> buffer(bytes);
    const uint32_t topDown = in.Flag();
    out.Note("CopyOut(stride %d, top-down %u)", stride, topDown);
    const VedResult r = s->CopyOut(buffer.data(), stride, topDown);
    out.Add(r);
    // Rows shorter than the stride's reach overlap, and then the order in
    // which a form writes them shows: compared only where they cannot.
    if (stride >= int32_t(widest) * 4) out.Bytes(buffer.data(), buffer.size());
    // After a failed CopyOut a host must not go on with the surface: it may
    // still point at the caller's buffer.
    if (r >= 0) out.Surface(s.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    RunInEveryForm(data, size, Run);
    return 0;
}
