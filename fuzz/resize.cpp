// Resize in every mode: stretches and shrinks of every format, with and
// without a fit, after an aspect, with a mask that follows, drained into the
// surface or written straight into a caller's buffer.
#include "fuzz_support.h"

namespace {

using namespace tarn::fuzz;

void Run(FuzzInput& in, Outcome& out) {
    tarn::Ref<ISurfaceBuilder> builder = MakeBuilder();
    // Now and then a large source, so that the deep shrinks (box, area) run.
    tarn::Ref<ITarnSurface> s = TakeSurface(builder.get(), in, in.Take(8) ? 60 : 300);
    if (!s) return;
    SurfaceInfo info{};
    s->GetInfo(&info);
    out.Note("surface", info);
    if (in.Flag()) {
        out.Note("with a mask");
        tarn::Ref<ITarnSurface> mask = TakeMask(builder.get(), in, info.width, info.height);
        s->SetMask(mask.get());
    }
    if (in.Flag()) {
        const int32_t ax = int32_t(in.Take(20)), ay = int32_t(in.Take(20));
        out.Note("SetAspect(%d, %d)", ax, ay);
        s->SetAspect(ax, ay);
    }
    const int32_t w = int32_t(in.Take(90)), h = int32_t(in.Take(90));
    const int32_t keep = in.Flag(), mode = in.Pick(kModes);
    out.Note("Resize(%d, %d, %d, %#x)", w, h, keep, mode);
    out.Add(s->Resize(w, h, keep, mode));
    if (in.Flag()) {
        out.Surface(s.get());
        return;
    }
    // A direct resize paints the buffer as a planar picture first.
    const int32_t stride = std::max(1, w * 4 + int32_t(in.Take(9)) - 4);
    // A refused resize leaves the copy of the surface as it is.
    const size_t rows = std::max(size_t(std::max(h, 0)), size_t(info.height));
    std::vector<uint8_t> buffer(size_t(stride) * rows * 3 / 2 + 16);
    const uint32_t topDown = in.Flag();
    out.Note("CopyOut(stride %d, top-down %u)", stride, topDown);
    const VedResult r = s->CopyOut(buffer.data(), stride, topDown);
    out.Add(r);
    out.Bytes(buffer.data(), buffer.size());
    if (r >= 0) out.Surface(s.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    RunInEveryForm(data, size, Run);
    return 0;
}
