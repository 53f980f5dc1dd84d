// Colour conversion at 1920x1080 against the peer's matching conversion, in
// the tier this processor takes (SSE2 on x86-64) with its fastest form; and a
// surface SetFormat followed by CopyOut into a caller's buffer against the
// peer's call into that buffer.
#include <chrono>
#include <algorithm>
#include <functional>
#include <string>

#include "bench_support.h"
#include "convert/conversion_kernels.h"
#include "object/surface_builder.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"
#include "tarn/TarnSurface.h"
#if defined(TARN_HAVE_PEER)
#include <libyuv.h>
#endif

namespace {

constexpr int32_t W = 1920, H = 1080;

// Frames shared by all cases: each source format once, each target once.
struct Frames {
    std::vector<uint8_t> rgb32 = tarn::bench::RandomFrame(size_t(W) * H * 4, 1);
    std::vector<uint8_t> rgb24 = tarn::bench::RandomFrame(size_t(W) * H * 3, 2);
    std::vector<uint8_t> planar = tarn::bench::RandomFrame(size_t(W) * H * 3 / 2, 3);
    std::vector<uint8_t> yuy2 = tarn::bench::RandomFrame(size_t(W) * H * 2, 4);
    std::vector<uint8_t> out = tarn::bench::RandomFrame(size_t(W) * H * 4, 5);
    uint8_t* Y(std::vector<uint8_t>& p) { return p.data(); }
    uint8_t* Cr(std::vector<uint8_t>& p) { return p.data() + W * H; }
    uint8_t* Cb(std::vector<uint8_t>& p) { return p.data() + W * H + W * H / 4; }
};
Frames& F() {
    static Frames frames;
    return frames;
}

// Ours and the peer run alternately, one call each per iteration, and each
// side keeps its best time: on a machine shared with other work the minimum
// is the figure least disturbed, and alternating keeps both sides under the
// same conditions.
void TimeBoth(benchmark::State& state, const std::string& family, const std::function<void()>& ours,
              const std::function<void()>& peer) {
    using Clock = std::chrono::steady_clock;
    const auto once = [](const std::function<void()>& f) {
        const auto t0 = Clock::now();
        f();
        benchmark::ClobberMemory();
        return std::chrono::duration<double>(Clock::now() - t0).count();
    };
    ours();
    if (peer) peer();
    double bestOurs = 1e9, bestPeer = 1e9;
    for (auto _ : state) {
        bestOurs = std::min(bestOurs, once(ours));
        if (peer) bestPeer = std::min(bestPeer, once(peer));
    }
    tarn::bench::RecordTime(family, "ours", state, bestOurs);
    if (peer) tarn::bench::RecordTime(family, "peer", state, bestPeer);
    state.counters["ours_ms"] = bestOurs * 1e3;
    if (peer) state.counters["peer_ms"] = bestPeer * 1e3;
}

struct Case {
    const char* family;
    std::function<void()> ours, peer;
};

std::vector<Case> Cases() {
    Frames& f = F();
    std::vector<Case> cases = {
        {"Rgb32ToPlanar",
         [&f] { tarn::ConvRgb32ToPlanarSse2Tier(f.Y(f.out), f.Cb(f.out), f.Cr(f.out), W, W / 2, f.rgb32.data(), W * 4, W, H); }, nullptr},
        {"Rgb24ToPlanar",
         [&f] { tarn::ConvRgb24ToPlanarSse2Tier(f.Y(f.out), f.Cb(f.out), f.Cr(f.out), W, W / 2, f.rgb24.data(), W * 3, W, H); }, nullptr},
        {"PlanarToRgb32Smooth",
         [&f] { tarn::ConvPlanarToRgb32SmoothSse2Tier(f.out.data(), W * 4, f.Y(f.planar), f.Cb(f.planar), f.Cr(f.planar), W, W / 2, W, H); }, nullptr},
        {"PlanarToRgb24",
         [&f] { tarn::ConvPlanarToRgb24Sse2Tier(f.out.data(), W * 3, f.Y(f.planar), f.Cb(f.planar), f.Cr(f.planar), W, W / 2, W, H); }, nullptr},
        {"PackedToPlanarSmooth",
         [&f] { tarn::ConvYuy2ToPlanarSmoothSse2Tier(f.Y(f.out), f.Cb(f.out), f.Cr(f.out), W, W / 2, f.yuy2.data(), W * 2, W, H); }, nullptr},
        {"PlanarToPackedSmooth",
         [&f] { tarn::ConvPlanarToYuy2SmoothSse2Tier(f.out.data(), W * 2, f.Y(f.planar), f.Cb(f.planar), f.Cr(f.planar), W, W / 2, W, H); }, nullptr},
        {"PackedToRgb32",
         [&f] { tarn::ConvYuy2ToRgb32Sse2Tier(f.out.data(), W * 4, f.yuy2.data(), W * 2, W, H); }, nullptr},
        {"Rgb32ToPacked",
         [&f] { tarn::ConvRgb32ToYuy2Sse2Tier(f.out.data(), W * 2, f.rgb32.data(), W * 4, W, H); }, nullptr},
    };
#if defined(TARN_HAVE_PEER)
    const std::function<void()> peers[] = {
        [&f] { libyuv::ARGBToI420(f.rgb32.data(), W * 4, f.Y(f.out), W, f.Cb(f.out), W / 2, f.Cr(f.out), W / 2, W, H); },
        [&f] { libyuv::RGB24ToI420(f.rgb24.data(), W * 3, f.Y(f.out), W, f.Cb(f.out), W / 2, f.Cr(f.out), W / 2, W, H); },
        [&f] { libyuv::I420ToARGB(f.Y(f.planar), W, f.Cb(f.planar), W / 2, f.Cr(f.planar), W / 2, f.out.data(), W * 4, W, H); },
        [&f] { libyuv::I420ToRGB24(f.Y(f.planar), W, f.Cb(f.planar), W / 2, f.Cr(f.planar), W / 2, f.out.data(), W * 3, W, H); },
        [&f] { libyuv::YUY2ToI420(f.yuy2.data(), W * 2, f.Y(f.out), W, f.Cb(f.out), W / 2, f.Cr(f.out), W / 2, W, H); },
        [&f] { libyuv::I420ToYUY2(f.Y(f.planar), W, f.Cb(f.planar), W / 2, f.Cr(f.planar), W / 2, f.out.data(), W * 2, W, H); },
        [&f] { libyuv::YUY2ToARGB(f.yuy2.data(), W * 2, f.out.data(), W * 4, W, H); },
        [&f] { libyuv::ARGBToYUY2(f.rgb32.data(), W * 4, f.out.data(), W * 2, W, H); },
    };
    for (size_t i = 0; i < cases.size(); ++i) cases[i].peer = peers[i];
#endif
    return cases;
}

// A surface of the source format holding a random picture, reused by every
// iteration: SetFormat only queues, and CopyOut runs it into the caller's
// buffer, leaving the surface as it was.
tarn::Ref<ITarnSurface> MakeSurface(SurfaceFormat format, const std::vector<uint8_t>& bytes) {
    SurfaceInfo info{};
    info.size = sizeof info;
    info.width = W;
    info.height = H;
    info.format = format;
    info.bitsPerPixel = format == SURFACE_FORMAT_RGB32 ? 32 : 12;
    info.stride = format == SURFACE_FORMAT_RGB32 ? W * 4 : W;
    info.topDown = 1;
    tarn::CSurfaceBuilder builder;
    int32_t count = 0;
    tarn::Ref<ITarnSurface> s;
    builder.CreateBlank(&info, &count, s.put());
    uint8_t* p = nullptr;
    s->GetPixels(&p);
    std::copy(bytes.begin(), bytes.begin() + count, p);
    return s;
}

void SurfaceCases() {
    static tarn::Ref<ITarnSurface> planar = MakeSurface(SURFACE_FORMAT_YUV420, F().planar);
    static tarn::Ref<ITarnSurface> rgb = MakeSurface(SURFACE_FORMAT_RGB32, F().rgb32);
    Frames& f = F();
    std::function<void()> peers[2];
#if defined(TARN_HAVE_PEER)
    peers[0] = [&f] {
        libyuv::I420ToARGB(f.Y(f.planar), W, f.Cb(f.planar), W / 2, f.Cr(f.planar), W / 2, f.out.data(), W * 4, W, H);
    };
    peers[1] = [&f] {
        libyuv::ARGBToI420(f.rgb32.data(), W * 4, f.Y(f.out), W, f.Cb(f.out), W / 2, f.Cr(f.out), W / 2, W, H);
    };
#endif
    const auto add = [](const std::string& family, std::function<void()> ours, std::function<void()> peer) {
        benchmark::RegisterBenchmark(family.c_str(), [family, ours, peer](benchmark::State& s) {
            TimeBoth(s, family, ours, peer);
        })->Unit(benchmark::kMillisecond);
    };
    add("SetFormatCopyOut/Yuv420ToRgb32/1920x1080",
        [&f] {
            planar->SetFormat(SURFACE_FORMAT_RGB32);
            planar->CopyOut(f.out.data(), W * 4, 1);
        },
        peers[0]);
    add("SetFormatCopyOut/Rgb32ToYuv420/1920x1080",
        [&f] {
            rgb->SetFormat(SURFACE_FORMAT_YUV420);
            rgb->CopyOut(f.out.data(), W, 1);
        },
        peers[1]);
}

// Each kernel case in every form of the SSE2 tier this processor runs, best
// first; the form is forced for our side only.
const bool registered = [] {
    static std::vector<Case> cases = Cases();
    std::vector<tarn::SimdForm> forms{tarn::HostSimdForm()};
    if (tarn::HostSimdForm() > tarn::SimdForm::Sse2) forms.push_back(tarn::SimdForm::Sse2);
    for (tarn::SimdForm form : forms) {
        for (const Case& c : cases) {
            const std::string family =
                std::string(c.family) + "/sse2-tier-" + tarn::FormName(form) + "/1920x1080";
            benchmark::RegisterBenchmark(family.c_str(), [family, &c, form](benchmark::State& s) {
                tarn::ScopedKernelChoice choice(tarn::g_cpuFeatures, form);
                TimeBoth(s, family, c.ours, c.peer);
            })->Unit(benchmark::kMillisecond);
        }
    }
    SurfaceCases();
    return true;
}();

}  // namespace

TARN_BENCH_MAIN()
