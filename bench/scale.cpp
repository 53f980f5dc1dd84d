// The scaling engine at 1920x1080 against the peer's scalers, side by side in
// one run: planar bilinear and nearest to 1280x720, 4-byte bilinear to
// 1280x720, 4-byte box to 960x540, planar area shrink to 1280x720; and the
// nearest upscale an overlay stretch runs, 960x540 to 1920x1080, planar and
// single-channel (the mask).
// Run: configure with -DTARN_BUILD_BENCH=ON, build tarn_bench_scale, then
// ./bench/tarn_bench_scale (argument /0 /1 /2: plain, SSE2, AVX2 form)
#include <string>
#include <vector>

#include "bench_support.h"
#include "form_cases.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"
#include "scale/scale.h"

#if defined(TARN_HAVE_PEER)
#include <libyuv.h>
#endif

namespace {

constexpr int kW = 1920, kH = 1080;

using tarn::bench::Ours;
using tarn::bench::Peer;

struct Planar {
    int w, h;
    std::vector<uint8_t> y, u, v;
    Planar(int w_, int h_, uint32_t seed)
        : w(w_), h(h_), y(tarn::bench::RandomFrame(size_t(w_) * h_, seed)),
          u(tarn::bench::RandomFrame(size_t(w_ / 2) * (h_ / 2), seed + 1)),
          v(tarn::bench::RandomFrame(size_t(w_ / 2) * (h_ / 2), seed + 2)) {}
};

void PlanarOurs(benchmark::State& state, uint32_t mode, const char* family, int dw, int dh, int sw = kW,
                int sh = kH) {
    Planar s(sw, sh, 1), d(dw, dh, 9);
    Ours(state, family, dw, dh, [&] {
        tarn::ScalePlanar({d.y.data(), d.u.data(), d.v.data(), dw, dh, dw},
                          {s.y.data(), s.u.data(), s.v.data(), sw, sh, sw}, mode);
    });
}

// The overlay's mask: one byte per pixel, 960x540 to 1920x1080.
void GrayUpOurs(benchmark::State& state) {
    auto s = tarn::bench::RandomFrame(size_t(kW / 2) * (kH / 2), 5);
    auto d = tarn::bench::RandomFrame(size_t(kW) * kH, 6);
    Ours(state, "gray_nearest_up", kW, kH, [&] {
        tarn::ScaleImage({d.data(), kW, kH, kW, 1}, {s.data(), kW / 2, kH / 2, kW / 2, 1}, {0.5, 0.5}, 0, nullptr);
    });
}

void ArgbOurs(benchmark::State& state, uint32_t mode, const char* family, int dw, int dh) {
    auto s = tarn::bench::RandomFrame(size_t(kW) * kH * 4, 3);
    auto d = tarn::bench::RandomFrame(size_t(dw) * dh * 4, 4);
    Ours(state, family, dw, dh, [&] {
        tarn::ScaleImage({d.data(), uint32_t(dw), uint32_t(dh), dw * 4, 4}, {s.data(), kW, kH, kW * 4, 4},
                         {double(kW) / dw, double(kH) / dh}, mode, nullptr);
    });
}

void BM_PlanarBilinear(benchmark::State& st) { PlanarOurs(st, 1, "planar_bilinear", 1280, 720); }
void BM_PlanarNearest(benchmark::State& st) { PlanarOurs(st, 0, "planar_nearest", 1280, 720); }
void BM_PlanarNearestUp(benchmark::State& st) { PlanarOurs(st, 0, "planar_nearest_up", kW, kH, kW / 2, kH / 2); }
void BM_GrayNearestUp(benchmark::State& st) { GrayUpOurs(st); }
void BM_PlanarArea(benchmark::State& st) { PlanarOurs(st, 6, "planar_area", 1280, 720); }
void BM_ArgbBilinear(benchmark::State& st) { ArgbOurs(st, 1, "argb_bilinear", 1280, 720); }
void BM_ArgbBox(benchmark::State& st) { ArgbOurs(st, 3, "argb_box", 960, 540); }
BENCHMARK(BM_PlanarBilinear)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlanarNearest)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlanarNearestUp)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GrayNearestUp)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlanarArea)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ArgbBilinear)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ArgbBox)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

#if defined(TARN_HAVE_PEER)
void PlanarPeer(benchmark::State& state, libyuv::FilterMode filter, const char* family, int dw, int dh,
                int sw = kW, int sh = kH) {
    Planar s(sw, sh, 1), d(dw, dh, 9);
    Peer(state, family, dw, dh, [&] {
        libyuv::I420Scale(s.y.data(), sw, s.u.data(), sw / 2, s.v.data(), sw / 2, sw, sh, d.y.data(), dw,
                          d.u.data(), dw / 2, d.v.data(), dw / 2, dw, dh, filter);
    });
}

void GrayUpPeer(benchmark::State& state) {
    auto s = tarn::bench::RandomFrame(size_t(kW / 2) * (kH / 2), 5);
    auto d = tarn::bench::RandomFrame(size_t(kW) * kH, 6);
    Peer(state, "gray_nearest_up", kW, kH, [&] {
        libyuv::ScalePlane(s.data(), kW / 2, kW / 2, kH / 2, d.data(), kW, kW, kH, libyuv::kFilterNone);
    });
}

void ArgbPeer(benchmark::State& state, libyuv::FilterMode filter, const char* family, int dw, int dh) {
    auto s = tarn::bench::RandomFrame(size_t(kW) * kH * 4, 3);
    auto d = tarn::bench::RandomFrame(size_t(dw) * dh * 4, 4);
    Peer(state, family, dw, dh, [&] {
        libyuv::ARGBScale(s.data(), kW * 4, kW, kH, d.data(), dw * 4, dw, dh, filter);
    });
}

void BM_PeerPlanarBilinear(benchmark::State& st) { PlanarPeer(st, libyuv::kFilterBilinear, "planar_bilinear", 1280, 720); }
void BM_PeerPlanarNearest(benchmark::State& st) { PlanarPeer(st, libyuv::kFilterNone, "planar_nearest", 1280, 720); }
void BM_PeerPlanarNearestUp(benchmark::State& st) {
    PlanarPeer(st, libyuv::kFilterNone, "planar_nearest_up", kW, kH, kW / 2, kH / 2);
}
void BM_PeerGrayNearestUp(benchmark::State& st) { GrayUpPeer(st); }
void BM_PeerPlanarArea(benchmark::State& st) { PlanarPeer(st, libyuv::kFilterBox, "planar_area", 1280, 720); }
void BM_PeerArgbBilinear(benchmark::State& st) { ArgbPeer(st, libyuv::kFilterBilinear, "argb_bilinear", 1280, 720); }
void BM_PeerArgbBox(benchmark::State& st) { ArgbPeer(st, libyuv::kFilterBox, "argb_box", 960, 540); }
BENCHMARK(BM_PeerPlanarBilinear)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeerPlanarNearest)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeerPlanarNearestUp)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeerGrayNearestUp)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeerPlanarArea)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeerArgbBilinear)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeerArgbBox)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

TARN_BENCH_MAIN();
