// The warp engine turning a 1920x1080 frame by 30 degrees about its centre,
// RGB32 and an 8-bit plane, with the nearest, linear and cubic kernels in
// each form, beside the peer's nearest affine row (ARGBAffineRow) over the
// same rows and spans of the RGB32 frame: the floor a kernel is measured
// against. The plane's cases are filed against the same floor.
// Run: configure with -DTARN_BUILD_BENCH=ON, build tarn_bench_warp, then
// ./bench/tarn_bench_warp
#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "bench_support.h"
#include "ipl/ipl_image.h"
#include "ipl/iplwarp.h"
#include "ipl/warp_kernels.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"

#if defined(TARN_HAVE_PEER)
#include <libyuv.h>
#endif

namespace {

constexpr int kW = 1920, kH = 1080;
constexpr double kAngle = 30;
const tarn::SimdForm kForms[] = {tarn::SimdForm::Plain, tarn::SimdForm::Sse2, tarn::SimdForm::Avx2};
const char* const kKernelNames[] = {"nearest", "linear", "cubic"};

template <class Body>
double Seconds(benchmark::State& state, Body body) {
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state) {
        body();
        benchmark::ClobberMemory();
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() /
           double(state.iterations());
}

std::string Key(int channels, int kernel, tarn::SimdForm form) {
    return std::string(channels == 4 ? "rgb32/" : "plane/") + kKernelNames[kernel] + "/" + tarn::FormName(form);
}

struct Frame {
    tarn::ImageHeader* header;
    std::vector<uint8_t> bytes;
    Frame(int channels, uint32_t seed) : bytes(tarn::bench::RandomFrame(size_t(kW) * kH * channels, seed)) {
        header = tarn::ImageWrapHeader(kW, kH, channels * 8);
        header->widthStep = kW * channels;
        header->imageData = bytes.data();
    }
    ~Frame() {
        header->imageData = nullptr;
        tarn::iplDeallocateHeader(header);
    }
};

void Ours(benchmark::State& state) {
    const int channels = int(state.range(0)), kernel = int(state.range(1));
    const tarn::SimdForm form = kForms[state.range(2)];
    if (tarn::HostSimdForm() < form) {
        state.SkipWithError("form not available");
        return;
    }
    tarn::ScopedKernelChoice choice(tarn::g_cpuFeatures, form);
    Frame src(channels, 1), dst(channels, 2);
    double xs = 0, ys = 0;
    tarn::GetRotateShift(kW / 2.0, kH / 2.0, kAngle, &xs, &ys);
    const double s = Seconds(state, [&] { tarn::iplRotate(src.header, dst.header, kAngle, xs, ys, kernel); });
    tarn::bench::RecordTime(Key(channels, kernel, form), "ours", state, s);
}

#if defined(TARN_HAVE_PEER)
// The same turn row by row: for each target row, the columns whose source
// point lies in the frame, handed to the peer's row with its start and step.
void Peer(benchmark::State& state) {
    Frame src(4, 1), dst(4, 2);
    const double r = kAngle * 0.017453292519943295, cs = std::cos(r), sn = std::sin(r);
    const double cx = kW / 2.0, cy = kH / 2.0;
    struct Row {
        int y, left, count;
        float uv[4];
    };
    std::vector<Row> rows;
    for (int y = 0; y < kH; ++y) {
        // Source of target (x, y): u = cs (x - cx) - sn (y - cy) + cx, v = sn (x - cx) + cs (y - cy) + cy.
        const double u0 = -cs * cx - sn * (y - cy) + cx, v0 = -sn * cx + cs * (y - cy) + cy;
        double lo = 0, hi = kW - 1;
        for (auto [start, step, limit] : {std::tuple{u0, cs, kW - 1.0}, std::tuple{v0, sn, kH - 1.0}}) {
            const double a = (0 - start) / step, b = (limit - start) / step;
            lo = std::max(lo, std::ceil(std::min(a, b))), hi = std::min(hi, std::floor(std::max(a, b)));
        }
        if (hi < lo) continue;
        const int left = int(lo);
        rows.push_back({y, left, int(hi) - left + 1,
                        {float(u0 + cs * left), float(v0 + sn * left), float(cs), float(sn)}});
    }
    const double s = Seconds(state, [&] {
        for (const Row& row : rows)
            libyuv::ARGBAffineRow_SSE2(src.bytes.data(), kW * 4, dst.bytes.data() + (size_t(row.y) * kW + row.left) * 4,
                                       row.uv, row.count);
    });
    for (int channels : {4, 1})
        for (int kernel = 0; kernel < 3; ++kernel)
            for (tarn::SimdForm form : kForms) tarn::bench::RecordTime(Key(channels, kernel, form), "peer", state, s);
}
BENCHMARK(Peer)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK(Ours)
    ->ArgsProduct({{4, 1}, {0, 1, 2}, {0, 1, 2}})
    ->ArgNames({"channels", "kernel", "form"})
    ->Unit(benchmark::kMillisecond);

TARN_BENCH_MAIN()
