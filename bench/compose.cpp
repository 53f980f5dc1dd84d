// Flatten of 1080p YUV420 frames against the peer's YUV blend: one
// full-frame masked overlay, one full-frame keyed overlay at alpha 128,
// 16 overlays of 320x180, and one overlay that needs stretching. The peer
// does the same blends with its alpha-plane blend (and its scaler for the
// stretched case). Run: build with -DTARN_BUILD_BENCH=ON, then
// ./bench/tarn_bench_compose
#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bench_support.h"
#include "operations/compose.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"
#include "tarn/TarnSurface.h"

#if defined(TARN_HAVE_PEER)
#include <libyuv.h>
#endif

namespace {

using tarn::Ref;
constexpr int kW = 1920, kH = 1080;

Ref<ISurfaceBuilder> Builder() {
    Ref<ISurfaceBuilder> b;
    CreateObject(CLSID_TarnSurfaceLibrary, IID_ISurfaceBuilder, b.put_void());
    return b;
}

// A blank surface of `format` filled with random bytes.
Ref<ITarnSurface> Random(SurfaceFormat format, int bits, int w, int h, int stride, size_t bytes, uint32_t seed) {
    SurfaceInfo info{52, uint32_t(w), uint32_t(h), format, 4, bits, stride, 0, 0, 0, 0, 1, 1};
    Ref<ITarnSurface> s;
    Builder()->CreateBlank(&info, nullptr, s.put());
    uint8_t* p = nullptr;
    s->GetPixels(&p);
    std::memcpy(p, tarn::bench::RandomFrame(bytes, seed).data(), bytes);
    return s;
}

Ref<ITarnSurface> Yuv420(int w, int h, uint32_t seed) {
    return Random(SURFACE_FORMAT_YUV420, 12, w, h, w, size_t(w) * h * 3 / 2, seed);
}

Ref<ITarnSurface> Mask(int w, int h, uint32_t seed) {
    const int stride = (w + 3) & ~3;
    return Random(SURFACE_FORMAT_GRAY8, 8, w, h, stride, size_t(stride) * h, seed);
}

// The three planes of a tightly packed YUV420 picture of w by h.
struct Planes {
    uint8_t *y, *u, *v;
};
Planes PlanesOf(uint8_t* p, int w, int h) { return {p, p + w * h, p + w * h + w * h / 4}; }

// One overlay placed on the frame.
struct Placed {
    Ref<ITarnSurface> surface;
    VedRect source, dest;
};

template <class Body>
void Time(benchmark::State& state, const std::string& key, const char* who, Body body) {
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state) {
        body();
        benchmark::ClobberMemory();
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    tarn::bench::RecordTime(key, who, state, seconds / double(state.iterations()));
}

// Adds the overlays and flattens in place, once per iteration.
void FlattenOnce(ITarnSurface* frame, const std::vector<Placed>& overlays) {
    for (const Placed& p : overlays) frame->AddOverlay(p.surface.get());
    Ref<ITarnSurface> out;
    frame->Flatten(out.put());
}

std::vector<Placed> Overlays(const char* kind) {
    std::vector<Placed> v;
    const std::string k = kind;
    if (k == "masked" || k == "keyed128") {
        Placed p{Yuv420(kW, kH, 2), {0, 0, kW, kH}, {0, 0, kW, kH}};
        if (k == "masked") p.surface->SetMask(Mask(kW, kH, 3).get());
        else p.surface->SetAlpha(128);
        v.push_back(p);
    } else if (k == "16x320x180") {
        for (int i = 0; i < 16; ++i) {
            // Scattered over the frame on a 4 by 4 grid with uneven offsets.
            const int x = (i % 4) * 480 + (i * 37) % 100, y = (i / 4) * 270 + (i * 53) % 80;
            Placed p{Yuv420(320, 180, 10 + i), {0, 0, 320, 180}, {x, y, x + 320, y + 180}};
            p.surface->SetMask(Mask(320, 180, 40 + i).get());
            v.push_back(p);
        }
    } else {  // stretched: a 960x540 overlay onto the whole frame
        Placed p{Yuv420(kW / 2, kH / 2, 4), {0, 0, kW / 2, kH / 2}, {0, 0, kW, kH}};
        p.surface->SetMask(Mask(kW / 2, kH / 2, 5).get());
        v.push_back(p);
    }
    for (Placed& p : v) {
        p.surface->SetSourceRect(p.source.left, p.source.top, p.source.right, p.source.bottom);
        p.surface->SetDestRect(p.dest.left, p.dest.top, p.dest.right, p.dest.bottom);
    }
    return v;
}

void Ours(benchmark::State& state, const std::string& family, const char* kind, tarn::SimdForm form) {
    tarn::ScopedKernelChoice choice(tarn::g_cpuFeatures, form);
    Ref<ITarnSurface> frame = Yuv420(kW, kH, 1);
    const auto overlays = Overlays(kind);
    Time(state, family, "ours", [&] { FlattenOnce(frame.get(), overlays); });
}

#if defined(TARN_HAVE_PEER)
// On the SSE2 rows the peer is held to its SSE forms (up to SSE4.1), on the
// AVX2 rows it runs its best, so each row compares like with like.
class PeerCpu {
public:
    explicit PeerCpu(tarn::SimdForm form) {
        if (form == tarn::SimdForm::Sse2)
            libyuv::MaskCpuFlags(1 | libyuv::kCpuHasX86 | libyuv::kCpuHasSSE2 | libyuv::kCpuHasSSSE3 |
                                 libyuv::kCpuHasSSE41);
    }
    ~PeerCpu() { libyuv::MaskCpuFlags(-1); }
};

// The peer's alpha runs the other way (255 shows the first picture), so the
// mask is passed as it is with the overlay first: the same amount of work.
void Peer(benchmark::State& state, const std::string& family, const char* kind, tarn::SimdForm form) {
    PeerCpu cpu(form);
    auto frame = tarn::bench::RandomFrame(size_t(kW) * kH * 3 / 2, 1);
    const auto overlays = Overlays(kind);
    struct Plain {
        std::vector<uint8_t> pic, alpha, scaled;
        int w, h;
        VedRect dest;
    };
    std::vector<Plain> plains;
    for (const Placed& p : overlays) {
        SurfaceInfo info{};
        p.surface->GetInfo(&info);
        uint8_t* px = nullptr;
        p.surface->GetPixels(&px);
        const int w = int(info.width), h = int(info.height);
        Plain q{std::vector<uint8_t>(px, px + size_t(w) * h * 3 / 2), {}, {}, w, h, p.dest};
        const int dw = p.dest.right - p.dest.left, dh = p.dest.bottom - p.dest.top;
        q.alpha.assign(size_t(dw) * dh, 128);
        Ref<ITarnSurface> mask;
        if (p.surface->GetMask(mask.put()) >= 0 && mask && dw == w) {
            uint8_t* m = nullptr;
            mask->GetPixels(&m);
            SurfaceInfo mi{};
            mask->GetInfo(&mi);
            for (int y = 0; y < h; ++y) std::memcpy(q.alpha.data() + size_t(y) * w, m + size_t(y) * mi.stride, w);
        }
        q.scaled.resize(size_t(dw) * dh * 3 / 2);
        plains.push_back(std::move(q));
    }
    const Planes f = PlanesOf(frame.data(), kW, kH);
    const auto body = [&] {
        for (Plain& q : plains) {
            const int dw = q.dest.right - q.dest.left, dh = q.dest.bottom - q.dest.top;
            Planes o = PlanesOf(q.pic.data(), q.w, q.h);
            int os = q.w;
            if (dw != q.w || dh != q.h) {
                const Planes scaled = PlanesOf(q.scaled.data(), dw, dh);
                libyuv::I420Scale(o.y, q.w, o.u, q.w / 2, o.v, q.w / 2, q.w, q.h, scaled.y, dw, scaled.u,
                                  dw / 2, scaled.v, dw / 2, dw, dh, libyuv::kFilterNone);
                o = scaled, os = dw;
            }
            const int l = q.dest.left, t = q.dest.top;
            uint8_t* ty = f.y + t * kW + l;
            uint8_t* tu = f.u + (t / 2) * (kW / 2) + l / 2;
            uint8_t* tv = f.v + (t / 2) * (kW / 2) + l / 2;
            libyuv::I420Blend(o.y, os, o.u, os / 2, o.v, os / 2, ty, kW, tu, kW / 2, tv, kW / 2,
                              q.alpha.data(), dw, ty, kW, tu, kW / 2, tv, kW / 2, dw & ~1, dh & ~1);
        }
    };
    Time(state, family, "peer", body);
}
#endif

// The masked kernel alone, without Flatten's calls around it.
void KernelOurs(benchmark::State& state, const std::string& family, tarn::SimdForm form) {
    tarn::ScopedKernelChoice choice(tarn::g_cpuFeatures, form);
    auto target = tarn::bench::RandomFrame(size_t(kW) * kH * 3 / 2, 1);
    const auto overlay = tarn::bench::RandomFrame(size_t(kW) * kH * 3 / 2, 2);
    const auto mask = tarn::bench::RandomFrame(size_t(kW) * kH, 3);
    const VedRect r{0, 0, kW, kH};
    Time(state, family, "ours", [&] {
        tarn::BlendMaskedPlanar(target.data(), overlay.data(), mask.data(), kW, kH, kW, kH, &r, &r, true);
    });
}

#if defined(TARN_HAVE_PEER)
void KernelPeer(benchmark::State& state, const std::string& family, tarn::SimdForm form) {
    PeerCpu cpu(form);
    auto target = tarn::bench::RandomFrame(size_t(kW) * kH * 3 / 2, 1);
    auto overlay = tarn::bench::RandomFrame(size_t(kW) * kH * 3 / 2, 2);
    const auto mask = tarn::bench::RandomFrame(size_t(kW) * kH, 3);
    const Planes t = PlanesOf(target.data(), kW, kH), o = PlanesOf(overlay.data(), kW, kH);
    Time(state, family, "peer", [&] {
        libyuv::I420Blend(o.y, kW, o.u, kW / 2, o.v, kW / 2, t.y, kW, t.u, kW / 2, t.v, kW / 2, mask.data(), kW,
                          t.y, kW, t.u, kW / 2, t.v, kW / 2, kW, kH);
    });
}
#endif

void Register(const std::string& name, std::function<void(benchmark::State&)> run) {
    benchmark::RegisterBenchmark(name.c_str(), std::move(run))->Unit(benchmark::kMillisecond);
}

const bool registered = [] {
    for (tarn::SimdForm form : {tarn::SimdForm::Avx2, tarn::SimdForm::Sse2}) {
        if (form > tarn::HostSimdForm()) continue;
        const std::string family = std::string("BlendMaskedPlanar/") + tarn::FormName(form) + "/1920x1080";
        Register(family + "/ours", [=](benchmark::State& s) { KernelOurs(s, family, form); });
#if defined(TARN_HAVE_PEER)
        Register(family + "/peer", [=](benchmark::State& s) { KernelPeer(s, family, form); });
#endif
    }
    static const char* kinds[] = {"masked", "keyed128", "16x320x180", "stretched"};
    for (const char* kind : kinds)
        for (tarn::SimdForm form : {tarn::SimdForm::Avx2, tarn::SimdForm::Sse2}) {
            if (form > tarn::HostSimdForm()) continue;
            const std::string family = std::string("Flatten/") + kind + "/" + tarn::FormName(form) + "/1920x1080";
            Register(family + "/ours", [=](benchmark::State& s) { Ours(s, family, kind, form); });
#if defined(TARN_HAVE_PEER)
            Register(family + "/peer", [=](benchmark::State& s) { Peer(s, family, kind, form); });
#endif
        }
    return true;
}();

}  // namespace

TARN_BENCH_MAIN()
