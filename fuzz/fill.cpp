// Fill: rectangles inside, on the edge and outside of surfaces of every
// format and row order, the whole surface, any colour.
#include "fuzz_support.h"

namespace {

using namespace tarn::fuzz;

void Run(FuzzInput& in, Outcome& out) {
    tarn::Ref<ISurfaceBuilder> builder = MakeBuilder();
    tarn::Ref<ITarnSurface> s = TakeSurface(builder.get(), in);
    if (!s) return;
    SurfaceInfo info{};
    s->GetInfo(&info);
    out.Note("surface", info);
    const int fills = 1 + int(in.Take(4));
    for (int i = 0; i < fills; ++i) {
        VedRect r = in.Rect(int32_t(std::max(info.width, info.height)));
        const bool whole = in.Take(4) == 0;
        const uint32_t color = in.Word();
        out.Note("Fill(%d: %d, %d, %d, %d; %#x)", int(!whole), r.left, r.top, r.right, r.bottom, color);
        out.Add(s->Fill(whole ? nullptr : &r, color));
        out.Bytes(&r, sizeof r);  // a bottom-up RGB surface turns the caller's rectangle
    }
    out.Surface(s.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    RunInEveryForm(data, size, Run);
    return 0;
}
