// FastCopy in each form against the runtime library's copy, on whole 1080p
// frames (RGB32 and YUV420), the sizes the library moves most.
#include <chrono>
#include <cstring>
#include <string>

#include "bench_support.h"
#include "convert/fast_copy.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"

namespace {

using CopyFn = void (*)(void*, const void*, size_t);

struct Frame {
    const char* name;
    size_t bytes;
};
constexpr Frame kFrames[] = {{"RGB32/1920x1080", 1920 * 1080 * 4}, {"YUV420/1920x1080", 1920 * 1080 * 3 / 2}};

void Run(benchmark::State& state, CopyFn fn, const char* form, const Frame& frame, const char* who) {
    const auto src = tarn::bench::RandomFrame(frame.bytes);
    auto dst = tarn::bench::RandomFrame(frame.bytes, 2);
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state) {
        fn(dst.data(), src.data(), frame.bytes);
        benchmark::ClobberMemory();
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(frame.bytes));
    tarn::bench::RecordTime(std::string("FastCopy/") + form + "/" + frame.name, who, state,
                            seconds / double(state.iterations()));
}

void Memcpy(void* d, const void* s, size_t n) { std::memcpy(d, s, n); }

const struct Form {
    const char* name;
    CopyFn fn;
} kForms[] = {{"chosen", tarn::FastCopy},
              {"Stream", tarn::FastCopyStream},
              {"Mmx", tarn::FastCopyMmxTier},
              {"Wide", tarn::FastCopyWide}};

const bool registered = [] {
    for (const Frame& frame : kFrames)
        for (const Form& form : kForms) {
            benchmark::RegisterBenchmark(
                (std::string("FastCopy/") + form.name + "/" + frame.name).c_str(),
                [&frame, &form](benchmark::State& s) { Run(s, form.fn, form.name, frame, "ours"); });
            // The peer here is the runtime library's copy, timed beside each form.
            benchmark::RegisterBenchmark(
                (std::string("memcpy/") + form.name + "/" + frame.name).c_str(),
                [&frame, &form](benchmark::State& s) { Run(s, Memcpy, form.name, frame, "peer"); });
        }
    return true;
}();

}  // namespace

TARN_BENCH_MAIN()
