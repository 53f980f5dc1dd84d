// Resize with CopyOut (the last queued resize written straight into the
// caller's buffer, and the same after a Flush), and Fill of a whole frame,
// each beside the peer's planar scale or rectangle fill on the same buffers.
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "bench_support.h"
#include "object/surface_builder.h"
#include "operations/fill.h"
#include "surface/tarn_surface_buffer.h"

#if defined(TARN_HAVE_PEER)
#include <libyuv.h>
#endif

namespace {

// Process CPU time rather than wall time: the benchmark machine is shared,
// and wall time swings with the neighbours' load. Everything here runs on
// one thread.
struct Clock {
    using time_point = std::clock_t;
    static time_point now() { return std::clock(); }
};
using tarn::Ref;

constexpr int kSrcW = 1920, kSrcH = 1080, kDstW = 1280, kDstH = 720;
const std::string kScaleCase = "1920x1080to1280x720";

Ref<ITarnSurface> MakeFrame(SurfaceFormat format, int bits, int stride, const std::vector<uint8_t>& data) {
    SurfaceInfo info{};
    info.size = sizeof(SurfaceInfo);
    info.width = kSrcW;
    info.height = kSrcH;
    info.format = format;
    info.bitsPerPixel = bits;
    info.stride = stride;
    info.topDown = 1;
    tarn::CSurfaceBuilder builder;
    Ref<ITarnSurface> s;
    int32_t bytes = 0;
    builder.CreateBlank(&info, &bytes, s.put());
    uint8_t* p = nullptr;
    s->GetPixels(&p);
    std::memcpy(p, data.data(), size_t(bytes));
    return s;
}

double Seconds(Clock::time_point a, Clock::time_point b) { return double(b - a) / CLOCKS_PER_SEC; }

// The time per iteration of a loop that ran from `start` until now.
void RecordSince(const std::string& family, const char* who, const benchmark::State& state,
                 Clock::time_point start) {
    tarn::bench::RecordTime(family, who, state, Seconds(start, Clock::now()) / double(state.iterations()));
}

// The last queued resize writes into the caller's buffer; the surface keeps
// its size, so every iteration does the same work.
void ResizeDirect(benchmark::State& state) {
    const auto data = tarn::bench::RandomFrame(kSrcW * kSrcH * 3 / 2);
    Ref<ITarnSurface> s = MakeFrame(SURFACE_FORMAT_YUV420, 12, kSrcW, data);
    std::vector<uint8_t> out(kDstW * kDstH * 3 / 2 + 64);
    const auto start = Clock::now();
    for (auto _ : state) {
        s->Resize(kDstW, kDstH, 0, SCALE_BILINEAR);
        s->CopyOut(out.data(), kDstW, 1);
        benchmark::ClobberMemory();
    }
    RecordSince("ResizeCopyOut/direct/" + kScaleCase, "ours", state, start);
}

// Flush first, then copy: a new buffer for the surface and a copy behind it.
// The 1080p surface is made anew, untimed, for each iteration.
double FlushThenCopySeconds(benchmark::State& state) {
    const auto data = tarn::bench::RandomFrame(kSrcW * kSrcH * 3 / 2);
    std::vector<uint8_t> out(kDstW * kDstH * 3 / 2 + 64);
    double timed = 0;
    for (auto _ : state) {
        state.PauseTiming();
        Ref<ITarnSurface> s = MakeFrame(SURFACE_FORMAT_YUV420, 12, kSrcW, data);
        state.ResumeTiming();
        const auto t0 = Clock::now();
        s->Resize(kDstW, kDstH, 0, SCALE_BILINEAR);
        s->Flush();
        s->CopyOut(out.data(), kDstW, 1);
        benchmark::ClobberMemory();
        timed += Seconds(t0, Clock::now());
        state.PauseTiming();
        s.reset();
        state.ResumeTiming();
    }
    return timed / double(state.iterations());
}

void ResizeFlush(benchmark::State& state) {
    tarn::bench::RecordTime("ResizeCopyOut/flush/" + kScaleCase, "ours", state,
                            FlushThenCopySeconds(state));
}

// A whole 1080p frame of `format` filled with one colour.
void OurFill(benchmark::State& state, SurfaceFormat format, int bits, const std::string& family) {
    const int stride = format == SURFACE_FORMAT_YUV420 ? kSrcW : kSrcW * bits / 8;
    const size_t rows = format == SURFACE_FORMAT_YUV420 ? kSrcH * 3 / 2 : kSrcH;  // chroma below Y
    std::vector<uint8_t> zero(size_t(stride) * rows);
    Ref<ITarnSurface> s = MakeFrame(format, bits, stride, zero);
    const auto start = Clock::now();
    for (auto _ : state) {
        s->Fill(nullptr, 0x00336699);
        benchmark::ClobberMemory();
    }
    RecordSince(family, "ours", state, start);
}

#if defined(TARN_HAVE_PEER)
void PeerScale(benchmark::State& state, const std::string& family) {
    const auto data = tarn::bench::RandomFrame(kSrcW * kSrcH * 3 / 2);
    std::vector<uint8_t> out(kDstW * kDstH * 3 / 2 + 64);
    const uint8_t* y = data.data();
    const uint8_t* u = y + kSrcW * kSrcH;
    const uint8_t* v = u + kSrcW * kSrcH / 4;
    uint8_t* oy = out.data();
    uint8_t* ou = oy + kDstW * kDstH;
    uint8_t* ov = ou + kDstW * kDstH / 4;
    const auto start = Clock::now();
    for (auto _ : state) {
        libyuv::I420Scale(y, kSrcW, u, kSrcW / 2, v, kSrcW / 2, kSrcW, kSrcH, oy, kDstW, ou,
                          kDstW / 2, ov, kDstW / 2, kDstW, kDstH, libyuv::kFilterBilinear);
        benchmark::ClobberMemory();
    }
    RecordSince(family, "peer", state, start);
}

void PeerFillYuv(benchmark::State& state) {
    std::vector<uint8_t> frame(kSrcW * kSrcH * 3 / 2);
    uint8_t* y = frame.data();
    uint8_t* u = y + kSrcW * kSrcH;
    uint8_t* v = u + kSrcW * kSrcH / 4;
    const tarn::FillSamples s = tarn::FillSamplesOf(0x00336699);
    const auto start = Clock::now();
    for (auto _ : state) {
        libyuv::I420Rect(y, kSrcW, u, kSrcW / 2, v, kSrcW / 2, 0, 0, kSrcW, kSrcH, s.y, s.first, s.second);
        benchmark::ClobberMemory();
    }
    RecordSince("Fill/yuv420/1920x1080", "peer", state, start);
}

void PeerFillRgb32(benchmark::State& state) {
    std::vector<uint8_t> frame(kSrcW * kSrcH * 4);
    const auto start = Clock::now();
    for (auto _ : state) {
        libyuv::ARGBRect(frame.data(), kSrcW * 4, 0, 0, kSrcW, kSrcH, 0x00996633u);
        benchmark::ClobberMemory();
    }
    RecordSince("Fill/rgb32/1920x1080", "peer", state, start);
}
#endif

const bool registered = [] {
    benchmark::RegisterBenchmark(("ResizeCopyOut/direct/" + kScaleCase).c_str(), ResizeDirect)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(("ResizeCopyOut/flush/" + kScaleCase).c_str(), ResizeFlush)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("Fill/yuv420/1920x1080", [](benchmark::State& s) {
        OurFill(s, SURFACE_FORMAT_YUV420, 12, "Fill/yuv420/1920x1080");
    })->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("Fill/rgb32/1920x1080", [](benchmark::State& s) {
        OurFill(s, SURFACE_FORMAT_RGB32, 32, "Fill/rgb32/1920x1080");
    })->Unit(benchmark::kMillisecond);
#if defined(TARN_HAVE_PEER)
    for (const char* form : {"direct", "flush"}) {
        const std::string family = std::string("ResizeCopyOut/") + form + "/" + kScaleCase;
        benchmark::RegisterBenchmark(("I420Scale/" + std::string(form) + "/" + kScaleCase).c_str(),
                                     [family](benchmark::State& s) { PeerScale(s, family); })
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark("I420Rect/yuv420/1920x1080", PeerFillYuv)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("ARGBRect/rgb32/1920x1080", PeerFillRgb32)->Unit(benchmark::kMillisecond);
#endif
    return true;
}();

}  // namespace

TARN_BENCH_MAIN()
