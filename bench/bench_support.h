// Shared pieces of the benchmarks: frames of random bytes and the side-by-side
// report of our figure, the peer's and their ratio.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::bench {

// Random bytes with 64 bytes of slack, fixed seed.
std::vector<uint8_t> RandomFrame(size_t bytes, uint32_t seed = 1);

// Records the mean time per iteration of a case under `key` ("ours" or
// "peer") so that the report can print ratios at the end of the run.
void RecordTime(const std::string& family, const std::string& who, const benchmark::State& state,
                double seconds);

// Prints "family  ours  peer  ratio" for every family that has both; called
// from main after RunSpecifiedBenchmarks.
void PrintRatios();

}  // namespace tarn::bench

// A main that runs the benchmarks, then prints the ratios.
#define TARN_BENCH_MAIN()                                   \
    int main(int argc, char** argv) {                       \
        benchmark::Initialize(&argc, argv);                 \
        benchmark::RunSpecifiedBenchmarks();                \
        tarn::bench::PrintRatios();                         \
        benchmark::Shutdown();                              \
        return 0;                                           \
    }
