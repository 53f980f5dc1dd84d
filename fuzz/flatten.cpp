// Composition: a target of any format flattened, in place or into a copy,
// with up to three overlays of any format, each with or without a mask, a
// key colour, an alpha, and rectangles that match, stretch, or reach past
// the target's edge. Run with -detect_leaks=0: composition keeps a few
// references on purpose (an unmasked overlay on a packed target, for one).
#include "fuzz_support.h"

namespace {

using namespace tarn::fuzz;

constexpr uint32_t kKeys[] = {0xFF000000u, 0x00000000u, 0x00FFFFFFu, 0x00808080u, 0x12345678u};

void Run(FuzzInput& in, Outcome& out) {
    tarn::Ref<ISurfaceBuilder> builder = MakeBuilder();
    tarn::Ref<ITarnSurface> target = TakeSurface(builder.get(), in);
    if (!target) return;
    SurfaceInfo ti{};
    target->GetInfo(&ti);
    out.Note("target", ti);
    const int overlays = 1 + int(in.Take(3));
    for (int i = 0; i < overlays; ++i) {
        tarn::Ref<ITarnSurface> overlay = TakeSurface(builder.get(), in, 40);
        if (!overlay) continue;
        SurfaceInfo info{};
        overlay->GetInfo(&info);
        out.Note("overlay", info);
        if (in.Flag()) {
            out.Note("with a mask");
            tarn::Ref<ITarnSurface> mask = TakeMask(builder.get(), in, info.width, info.height);
            overlay->SetMask(mask.get());
        }
        const VedRect s = in.Rect(int32_t(std::max(info.width, info.height)));
        VedRect d = in.Rect(70);
        if (in.Flag()) d.right = d.left + (s.right - s.left), d.bottom = d.top + (s.bottom - s.top);  // no stretch
        overlay->SetSourceRect(s.left, s.top, s.right, s.bottom);
        overlay->SetDestRect(d.left, d.top, d.right, d.bottom);
        const uint32_t alpha = in.Take(4) ? in.Take(257) : 256 * in.Flag();
        const uint32_t key = in.Flag() ? in.Pick(kKeys) : in.Word();
        out.Note("S %d, %d, %d, %d; D %d, %d, %d, %d; alpha %u, key %#x", s.left, s.top, s.right, s.bottom, d.left,
                 d.top, d.right, d.bottom, alpha, key);
        overlay->SetAlpha(alpha);
        overlay->SetBackColor(key);
        if (in.Take(4) == 0) {
            const int32_t w = 4 + int32_t(in.Take(40)), h = 4 + int32_t(in.Take(40));
            out.Note("overlay Resize(%d, %d)", w, h);
            overlay->Resize(w, h, 0, 0);
        }
        target->AddOverlay(overlay.get());
    }
    const uint32_t inPlace = in.Flag();
    out.Note("Flatten, in place %u", inPlace);
    target->SetFlattenInPlace(inPlace);
    tarn::Ref<ITarnSurface> result;
    out.Add(target->Flatten(result.put()));
    out.Surface(result.get());
    out.Surface(target.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    RunInEveryForm(data, size, Run);
    return 0;
}
