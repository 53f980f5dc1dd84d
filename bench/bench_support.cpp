// Bench support: random frames and the ratio report.
#include "bench_support.h"

#include <chrono>
#include <cstdio>
#include <map>
#include <random>

namespace tarn::bench {

namespace {
struct Pair {
    double ours = 0, peer = 0;
};
std::map<std::string, Pair>& Results() {
    static std::map<std::string, Pair> results;
    return results;
}
}  // namespace

std::vector<uint8_t> RandomFrame(size_t bytes, uint32_t seed) {
    std::vector<uint8_t> v(bytes + 64);
    std::mt19937 rng(seed);
    for (auto& b : v) b = static_cast<uint8_t>(rng());
    return v;
}

void RecordTime(const std::string& family, const std::string& who, const benchmark::State&,
                double seconds) {
    Pair& p = Results()[family];
    (who == "peer" ? p.peer : p.ours) = seconds;
}

void PrintRatios() {
    std::printf("\n%-40s %12s %12s %8s\n", "family", "ours (ms)", "peer (ms)", "ratio");
    for (const auto& [family, p] : Results()) {
        if (p.ours > 0 && p.peer > 0)
            std::printf("%-40s %12.3f %12.3f %8.2f\n", family.c_str(), p.ours * 1e3, p.peer * 1e3,
                        p.ours / p.peer);
        else
            std::printf("%-40s %12.3f %12s %8s\n", family.c_str(), p.ours * 1e3, "-", "-");
    }
}

}  // namespace tarn::bench
