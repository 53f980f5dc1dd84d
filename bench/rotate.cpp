// Rotate of 1080p surfaces through the public entry, beside the peer's
// rotations into a buffer it keeps: YUV420 and RGB32 right angles against
// its planar and 4-byte rotations, and a 30-degree RGB32 turn against its
// nearest affine row run over every row of the same grown frame (the peer
// clears its target first, as our new buffer starts cleared). Ours includes
// the new buffer and the release of the old one. Run: build with
// -DTARN_BUILD_BENCH=ON, then ./bench/tarn_bench_rotate
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "bench_support.h"
#include "object/surface_builder.h"
#include "operations/rotate.h"
#include "platform/form_table.h"
#include "surface/tarn_surface_buffer.h"

#if defined(TARN_HAVE_PEER)
#include <libyuv.h>
#endif

namespace {

using tarn::Ref;

// Process CPU time: the machine is shared and wall time swings with the
// neighbours' load. Everything here runs on one thread.
double Now() { return double(std::clock()) / CLOCKS_PER_SEC; }

constexpr int kW = 1920, kH = 1080;
const std::string kSize = "1920x1080";

struct Shape {
    SurfaceFormat format;
    int bits, stride;
    size_t bytes;
};
const Shape kYuv = {SURFACE_FORMAT_YUV420, 12, kW, size_t(kW) * kH * 3 / 2};
const Shape kRgb32 = {SURFACE_FORMAT_RGB32, 32, kW * 4, size_t(kW) * kH * 4};

Ref<ITarnSurface> MakeFrame(const Shape& shape, const std::vector<uint8_t>& data) {
    SurfaceInfo info{};
    info.size = sizeof(SurfaceInfo);
    info.width = kW;
    info.height = kH;
    info.format = shape.format;
    info.bitsPerPixel = shape.bits;
    info.stride = shape.stride;
    info.topDown = 1;
    tarn::CSurfaceBuilder builder;
    Ref<ITarnSurface> s;
    builder.CreateBlank(&info, nullptr, s.put());
    uint8_t* p = nullptr;
    s->GetPixels(&p);
    std::memcpy(p, data.data(), shape.bytes);
    return s;
}

std::string Family(const char* format, int degrees) {
    return std::string("Rotate/") + format + "/" + std::to_string(degrees) + "/" + kSize;
}

// A right angle turns the surface back and forth between 1920x1080 and
// 1080x1920 (or keeps it, at 180): every iteration does the same work.
void OursRight(benchmark::State& state, const Shape& shape, const char* name, int degrees) {
    Ref<ITarnSurface> s = MakeFrame(shape, tarn::bench::RandomFrame(shape.bytes));
    const double start = Now();
    for (auto _ : state) {
        s->Rotate(degrees);
        benchmark::ClobberMemory();
    }
    tarn::bench::RecordTime(Family(name, degrees), "ours", state, (Now() - start) / double(state.iterations()));
}

// Other angles grow the frame, so each iteration turns a fresh 1080p
// surface, made untimed.
void OursGrown(benchmark::State& state, int degrees) {
    const auto data = tarn::bench::RandomFrame(kRgb32.bytes);
    double timed = 0;
    for (auto _ : state) {
        state.PauseTiming();
        Ref<ITarnSurface> s = MakeFrame(kRgb32, data);
        state.ResumeTiming();
        const double t0 = Now();
        s->Rotate(degrees);
        benchmark::ClobberMemory();
        timed += Now() - t0;
        state.PauseTiming();
        s.reset();
        state.ResumeTiming();
    }
    tarn::bench::RecordTime(Family("rgb32", degrees), "ours", state, timed / double(state.iterations()));
}

#if defined(TARN_HAVE_PEER)
libyuv::RotationMode ModeOf(int degrees) {
    return degrees == 90 ? libyuv::kRotate90 : degrees == 180 ? libyuv::kRotate180 : libyuv::kRotate270;
}

void PeerYuv(benchmark::State& state, int degrees) {
    const auto data = tarn::bench::RandomFrame(kYuv.bytes);
    std::vector<uint8_t> out(kYuv.bytes + 64);
    const int ow = degrees == 180 ? kW : kH, oh = degrees == 180 ? kH : kW;
    const uint8_t* y = data.data();
    const uint8_t* u = y + kW * kH;
    const uint8_t* v = u + kW * kH / 4;
    uint8_t* oy = out.data();
    uint8_t* ou = oy + ow * oh;
    uint8_t* ov = ou + ow * oh / 4;
    const double start = Now();
    for (auto _ : state) {
        libyuv::I420Rotate(y, kW, u, kW / 2, v, kW / 2, oy, ow, ou, ow / 2, ov, ow / 2, kW, kH, ModeOf(degrees));
        benchmark::ClobberMemory();
    }
    tarn::bench::RecordTime(Family("yuv420", degrees), "peer", state, (Now() - start) / double(state.iterations()));
}

void PeerRgb32(benchmark::State& state, int degrees) {
    const auto data = tarn::bench::RandomFrame(kRgb32.bytes);
    std::vector<uint8_t> out(kRgb32.bytes + 64);
    const int ow = degrees == 180 ? kW : kH;
    const double start = Now();
    for (auto _ : state) {
        libyuv::ARGBRotate(data.data(), kW * 4, out.data(), ow * 4, kW, kH, ModeOf(degrees));
        benchmark::ClobberMemory();
    }
    tarn::bench::RecordTime(Family("rgb32", degrees), "peer", state, (Now() - start) / double(state.iterations()));
}

// The peer's affine row walks one target row from a source position by a
// fixed step. Each row of the grown frame gets the run of pixels whose
// source lies inside the picture, found once, untimed.
void PeerAffine(benchmark::State& state, int degrees) {
    const auto data = tarn::bench::RandomFrame(kRgb32.bytes);
    const tarn::RotatedFrame frame = tarn::GrownFrame(degrees, kW, kH);
    const int ow = int(frame.width), oh = int(frame.height);
    std::vector<uint8_t> out(size_t(ow) * oh * 4 + 64);
    const double r = degrees * 3.14159265358979 / 180, c = std::cos(r), s = std::sin(r);
    const double cx = (kW - 1) / 2.0, cy = (kH - 1) / 2.0, ox = (ow - 1) / 2.0, oy = (oh - 1) / 2.0;
    struct Run {
        int left, count;
        float uv[4];
    };
    std::vector<Run> runs(size_t(oh), Run{0, 0, {0, 0, 0, 0}});
    for (int y = 0; y < oh; ++y) {
        int left = -1, right = -2;
        for (int x = 0; x < ow; ++x) {
            const double u = cx + (x - ox) * c + (y - oy) * s, v = cy - (x - ox) * s + (y - oy) * c;
            if (u >= 1 && v >= 1 && u < kW - 2 && v < kH - 2) {
                if (left < 0) left = x;
                right = x;
            }
        }
        if (left < 0) continue;
        const double u = cx + (left - ox) * c + (y - oy) * s, v = cy - (left - ox) * s + (y - oy) * c;
        runs[size_t(y)] = {left, right - left + 1, {float(u), float(v), float(c), float(-s)}};
    }
    const double start = Now();
    for (auto _ : state) {
        std::memset(out.data(), 0, size_t(ow) * oh * 4);
        for (int y = 0; y < oh; ++y) {
            const Run& run = runs[size_t(y)];
            if (run.count > 0)
                libyuv::ARGBAffineRow_SSE2(data.data(), kW * 4, out.data() + (size_t(y) * ow + run.left) * 4, run.uv,
                                           run.count);
        }
        benchmark::ClobberMemory();
    }
    tarn::bench::RecordTime(Family("rgb32", degrees), "peer", state, (Now() - start) / double(state.iterations()));
}
#endif

const bool registered = [] {
    for (const int degrees : {90, 180, 270}) {
        benchmark::RegisterBenchmark(Family("yuv420", degrees).c_str(), [degrees](benchmark::State& s) {
            OursRight(s, kYuv, "yuv420", degrees);
        })->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(Family("rgb32", degrees).c_str(), [degrees](benchmark::State& s) {
            OursRight(s, kRgb32, "rgb32", degrees);
        })->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark(Family("rgb32", 30).c_str(), [](benchmark::State& s) { OursGrown(s, 30); })
        ->Unit(benchmark::kMillisecond);
#if defined(TARN_HAVE_PEER)
    for (const int degrees : {90, 180, 270}) {
        benchmark::RegisterBenchmark(("I420Rotate/" + std::to_string(degrees) + "/" + kSize).c_str(),
                                     [degrees](benchmark::State& s) { PeerYuv(s, degrees); })
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("ARGBRotate/" + std::to_string(degrees) + "/" + kSize).c_str(),
                                     [degrees](benchmark::State& s) { PeerRgb32(s, degrees); })
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark(("ARGBAffineRow/30/" + kSize).c_str(),
                                 [](benchmark::State& s) { PeerAffine(s, 30); })
        ->Unit(benchmark::kMillisecond);
#endif
    std::printf("kernels: %s\n", tarn::DescribeKernelChoice());
    return true;
}();

}  // namespace

TARN_BENCH_MAIN()
