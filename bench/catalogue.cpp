// Conversions reached through the kernel catalogue at 1920x1080, against the
// peer's nearest call: packed reorders against its 4-byte shuffle, 16-bit RGB
// to and from 32-bit (the peer replicates the high bits into the low ones and
// sets alpha, where we leave them 0: same work, other bytes), and packed
// Uyvy to 32-bit. Entries of the catalogue as start-up filled it, each in
// the processor's fastest form and in the plain form.
#include <chrono>
#include <functional>
#include <string>

#include "bench_support.h"
#include "convert/kernel_catalogue.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"
#if defined(TARN_HAVE_PEER)
#include <libyuv.h>
#endif

namespace {

using tarn::CatalogueFormat;
constexpr int32_t W = 1920, H = 1080;

struct Frames {
    std::vector<uint8_t> in = tarn::bench::RandomFrame(size_t(W) * H * 4, 11);
    std::vector<uint8_t> out = tarn::bench::RandomFrame(size_t(W) * H * 4, 12);
};
Frames& F() {
    static Frames frames;
    return frames;
}

// The catalogue's one-to-one entry from `src` to `dst`, on the shared frames.
// Looked up when it runs: cases are registered before start-up has filled
// the catalogue for this processor.
std::function<void()> Entry(CatalogueFormat src, CatalogueFormat dst, int srcBytes, int dstBytes) {
    const int row = tarn::CatalogueRowOf(src, dst);
    return [row, srcBytes, dstBytes] {
        const auto fn = std::get<tarn::OneToOneEntry>(tarn::ConversionKernelTable[row][0]);
        fn(F().out.data(), W * dstBytes, F().in.data(), W * srcBytes, W, H);
    };
}

// Best of the iterations: the figure least disturbed by other work.
void Time(benchmark::State& state, const std::string& family, const std::string& who,
          const std::function<void()>& run) {
    using Clock = std::chrono::steady_clock;
    run();
    double best = 1e9;
    for (auto _ : state) {
        const auto t0 = Clock::now();
        run();
        benchmark::ClobberMemory();
        best = std::min(best, std::chrono::duration<double>(Clock::now() - t0).count());
    }
    tarn::bench::RecordTime(family, who, state, best);
    state.counters["ms"] = best * 1e3;
}

struct Case {
    const char* family;
    std::function<void()> ours, peer;
};

std::vector<Case> Cases() {
    using C = CatalogueFormat;
    std::vector<Case> cases = {
        {"UyvyToYuy2", Entry(C::Uyvy, C::Yuy2, 2, 2), nullptr},
        {"Yuy2ToYvyu", Entry(C::Yuy2, C::Yvyu, 2, 2), nullptr},
        {"Rgb565ToRgb32", Entry(C::Rgb565, C::Rgb32, 2, 4), nullptr},
        {"Rgb555ToRgb32", Entry(C::Rgb555, C::Rgb32, 2, 4), nullptr},
        {"Rgb32ToRgb565", Entry(C::Rgb32, C::Rgb565, 4, 2), nullptr},
        {"Rgb32ToRgb555", Entry(C::Rgb32, C::Rgb555, 4, 2), nullptr},
        {"UyvyToRgb32", Entry(C::Uyvy, C::Rgb32, 2, 4), nullptr},
    };
#if defined(TARN_HAVE_PEER)
    static const uint8_t swapPairs[16] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
    static const uint8_t swapChroma[16] = {0, 3, 2, 1, 4, 7, 6, 5, 8, 11, 10, 9, 12, 15, 14, 13};
    Frames& f = F();
    const std::function<void()> peers[] = {
        [&f] { libyuv::ARGBShuffle(f.in.data(), W * 2, f.out.data(), W * 2, swapPairs, W / 2, H); },
        [&f] { libyuv::ARGBShuffle(f.in.data(), W * 2, f.out.data(), W * 2, swapChroma, W / 2, H); },
        [&f] { libyuv::RGB565ToARGB(f.in.data(), W * 2, f.out.data(), W * 4, W, H); },
        [&f] { libyuv::ARGB1555ToARGB(f.in.data(), W * 2, f.out.data(), W * 4, W, H); },
        [&f] { libyuv::ARGBToRGB565(f.in.data(), W * 4, f.out.data(), W * 2, W, H); },
        [&f] { libyuv::ARGBToARGB1555(f.in.data(), W * 4, f.out.data(), W * 2, W, H); },
        [&f] { libyuv::UYVYToARGB(f.in.data(), W * 2, f.out.data(), W * 4, W, H); },
    };
    for (size_t i = 0; i < cases.size(); ++i) cases[i].peer = peers[i];
#endif
    return cases;
}

const bool registered = [] {
    static std::vector<Case> cases = Cases();
    std::vector<tarn::SimdForm> forms{tarn::HostSimdForm()};
    if (tarn::HostSimdForm() != tarn::SimdForm::Plain) forms.push_back(tarn::SimdForm::Plain);
    for (tarn::SimdForm form : forms)
        for (const Case& c : cases) {
            const std::string family = std::string(c.family) + "/" + tarn::FormName(form) + "/1920x1080";
            benchmark::RegisterBenchmark((family + "/ours").c_str(), [family, &c, form](benchmark::State& s) {
                tarn::ScopedKernelChoice choice(tarn::g_cpuFeatures, form);
                Time(s, family, "ours", c.ours);
            })->Unit(benchmark::kMillisecond);
            if (c.peer)
                benchmark::RegisterBenchmark((family + "/peer").c_str(), [family, &c](benchmark::State& s) {
                    Time(s, family, "peer", c.peer);
                })->Unit(benchmark::kMillisecond);
        }
    return true;
}();

}  // namespace

TARN_BENCH_MAIN()
