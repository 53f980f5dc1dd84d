// Rotate: surfaces of every format, size and row order, with or without a
// mask, turned by fuzzed angles (right angles, any angle, angles outside
// 0..360 and the ends of the 32-bit range), one to three times. Besides the
// agreement of kernel forms: a turn that succeeds gives the frame its angle
// makes and the mask that frame; a refusal leaves the descriptor as it was,
// but for the content rectangle of a packed picture at a right angle.
#include "fuzz_support.h"

#include <climits>

#include "operations/rotate.h"

namespace {

using namespace tarn::fuzz;

int32_t TakeAngle(FuzzInput& in) {
    static constexpr int32_t kSpecial[] = {0, 90, 180, 270, 360, -90, -180, 450, 540, 720, INT_MIN, INT_MAX};
    switch (in.Take(4)) {
        case 0: return in.Pick(kSpecial);
        case 1: return int32_t(in.Word());
        default: return int32_t(in.Take(1081)) - 360;
    }
}

SurfaceInfo InfoOf(ITarnSurface* s) {
    SurfaceInfo info{};
    s->GetInfo(&info);
    return info;
}

void Expect(bool ok, const char* what) {
    if (ok) return;
    std::fprintf(stderr, "rotate: %s\n", what);
    __builtin_trap();
}

void CheckTurn(const SurfaceInfo& before, const SurfaceInfo& after, int32_t degrees, VedResult r) {
    if (r < 0) {
        Expect(r == VED_E_OUTOFMEMORY || r == VED_E_NOTSUPPORTED || r == VED_E_INVALIDARG, "unexpected refusal");
        SurfaceInfo same = after;
        same.contentLeft = before.contentLeft, same.contentTop = before.contentTop;
        same.contentRight = before.contentRight, same.contentBottom = before.contentBottom;
        Expect(std::memcmp(&same, &before, sizeof same) == 0, "a refusal changed the descriptor");
        return;
    }
    if (degrees == 90 || degrees == 270) {
        Expect(after.width == before.height && after.height == before.width, "right angle frame");
    } else if (degrees == 0 || degrees == 180 || degrees == 360) {
        Expect(after.width == before.width && after.height == before.height && after.stride == before.stride,
               "kept frame");
    } else {
        const tarn::RotatedFrame f = tarn::GrownFrame(degrees, before.width, before.height);
        Expect(int64_t(after.width) == f.width && int64_t(after.height) == f.height, "grown frame");
    }
}

void Run(FuzzInput& in, Outcome& out) {
    tarn::Ref<ISurfaceBuilder> builder = MakeBuilder();
    tarn::Ref<ITarnSurface> s = TakeSurface(builder.get(), in, 48);
    if (!s) return;
    const SurfaceInfo made = InfoOf(s.get());
    out.Note("surface", made);
    tarn::Ref<ITarnSurface> mask;
    if (in.Flag()) {
        mask = TakeMask(builder.get(), in, made.width, made.height);
        if (mask) s->SetMask(mask.get());
    }
    const int turns = 1 + int(in.Take(3));
    for (int i = 0; i < turns; ++i) {
        const int32_t degrees = TakeAngle(in);
        const SurfaceInfo before = InfoOf(s.get());
        out.Note("Rotate(%d) of %u x %u", degrees, before.width, before.height);
        const VedResult r = s->Rotate(degrees);
        out.Add(r);
        const SurfaceInfo after = InfoOf(s.get());
        CheckTurn(before, after, degrees, r);
        if (mask && r >= 0) {
            const SurfaceInfo m = InfoOf(mask.get());
            Expect(m.width == after.width && m.height == after.height, "mask frame");
        }
    }
    out.Surface(s.get());
    if (mask) out.Surface(mask.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    RunInEveryForm(data, size, Run);
    return 0;
}
