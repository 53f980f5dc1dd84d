// Benchmark cases run once per form: ours under the form forced for the
// case, the peer once, its time filed under the key of every form so that
// each form gets its ratio. Keys read "family/form/WxH"; the benchmark's
// argument 0, 1 or 2 picks the plain, SSE2 or AVX2 form.
#pragma once

#include <time.h>

#include <string>

#include "bench_support.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"

namespace tarn::bench {

inline constexpr tarn::SimdForm kForms[] = {tarn::SimdForm::Plain, tarn::SimdForm::Sse2, tarn::SimdForm::Avx2};

inline std::string Key(const char* family, tarn::SimdForm form, int w, int h) {
    return std::string(family) + "/" + tarn::FormName(form) + "/" + std::to_string(w) + "x" + std::to_string(h);
}

// Processor time of this thread per iteration: on a machine shared with
// other work, wall time mostly measures the others.
inline double ThreadSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

template <class Body>
double Seconds(benchmark::State& state, Body body) {
    const double start = ThreadSeconds();
    for (auto _ : state) {
        body();
        benchmark::ClobberMemory();
    }
    return (ThreadSeconds() - start) / double(state.iterations());
}

template <class Body>
void Ours(benchmark::State& state, const char* family, int w, int h, Body body) {
    const tarn::SimdForm form = kForms[state.range(0)];
    if (tarn::HostSimdForm() < form) {
        state.SkipWithError("form not available");
        return;
    }
    tarn::ScopedKernelChoice choice(tarn::g_cpuFeatures, form);
    RecordTime(Key(family, form, w, h), "ours", state, Seconds(state, body));
}

template <class Body>
void Peer(benchmark::State& state, const char* family, int w, int h, Body body) {
    const double s = Seconds(state, body);
    for (tarn::SimdForm form : kForms) RecordTime(Key(family, form, w, h), "peer", state, s);
}

}  // namespace tarn::bench
