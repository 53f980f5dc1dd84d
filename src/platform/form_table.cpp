// Choice of the form within a tier.
#include "platform/form_table.h"

#include <atomic>
#include <cstdio>

#include "platform/cpu_features.h"

namespace tarn {

namespace {

SimdForm DetectHostForm() {
#if defined(TARN_HAVE_X86_SIMD) && (defined(__GNUC__) || defined(__clang__))
    __builtin_cpu_init();
    // The compiler's check also asks the system whether it saves the wide
    // registers, so a processor with AVX-512 under a system without it
    // stays on AVX2.
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512vl"))
        return SimdForm::Avx512;
    if (__builtin_cpu_supports("avx2")) return SimdForm::Avx2;
    if (__builtin_cpu_supports("sse2")) return SimdForm::Sse2;
    return SimdForm::Plain;
#elif defined(TARN_HAVE_X86_SIMD)
    return SimdForm::Sse2;
#else
    return SimdForm::Plain;
#endif
}

std::atomic<SimdForm> g_formCap{SimdForm::Avx512};

}  // namespace

SimdForm HostSimdForm() {
    static const SimdForm host = DetectHostForm();
    return host;
}

SimdForm ActiveSimdForm() {
    const SimdForm cap = g_formCap.load(std::memory_order_relaxed);
    const SimdForm host = HostSimdForm();
    return cap < host ? cap : host;
}

ScopedKernelChoice::ScopedKernelChoice(uint32_t features, SimdForm form)
    : savedFeatures_(g_cpuFeatures), savedForm_(g_formCap.load()) {
    g_cpuFeatures = features;
    g_formCap.store(form);
}

ScopedKernelChoice::~ScopedKernelChoice() {
    g_cpuFeatures = savedFeatures_;
    g_formCap.store(savedForm_);
}

const char* FormName(SimdForm form) {
    switch (form) {
        case SimdForm::Avx512: return "AVX-512";
        case SimdForm::Avx2: return "AVX2";
        case SimdForm::Sse2: return "SSE2";
        case SimdForm::Plain: break;
    }
    return "plain";
}

const char* DescribeKernelChoice() {
    static thread_local char text[48];
    static const char* const tiers[] = {"plain", "MMX", "SSE2"};
    std::snprintf(text, sizeof text, "tier %s, form %s",
                  tiers[static_cast<int>(TierOf(g_cpuFeatures))], FormName(ActiveSimdForm()));
    return text;
}

}  // namespace tarn
