// Processor detection and the feature word the kernels follow.
//
// g_cpuFeatures is written once while the module loads and only read after
// that; tests change it for the length of one test through ScopedKernelChoice
// (form_table.h) to run every tier on this machine.
#pragma once

#include <cstdint>

namespace tarn {

// Bits of the feature word, each where CPUID reports it.
inline constexpr uint32_t kCpuTsc = 1u << 4;
inline constexpr uint32_t kCpuCmov = 1u << 15;
inline constexpr uint32_t kCpuMmxExt = 1u << 22;
inline constexpr uint32_t kCpuMmx = 1u << 23;
inline constexpr uint32_t kCpuFxsr = 1u << 24;
inline constexpr uint32_t kCpuSse = 1u << 25;
inline constexpr uint32_t kCpuSse2 = 1u << 26;
inline constexpr uint32_t kCpuHtt = 1u << 28;
inline constexpr uint32_t kCpu3DNowExt = 1u << 30;
inline constexpr uint32_t kCpu3DNow = 1u << 31;

// The leaf-1 EDX bits kept in the word.
inline constexpr uint32_t kLeaf1Mask = 0x17808010u;
// The leaf-0x80000001 EDX bits kept in the word.
inline constexpr uint32_t kExtendedMask = kCpu3DNow | kCpu3DNowExt | kCpuMmxExt;

// The word the kernels follow, and the word detected at start-up. Both are
// defined beside InitConversionKernels (convert/kernel_catalogue.cpp), whose
// load-time call writes them: a program that reads the word, a static link
// included, so always runs that start-up too.
extern uint32_t g_cpuFeatures;
extern uint32_t g_cpuFeaturesCache;

// Raw CPUID access, replaceable so that tests can play any processor.
struct CpuidRegs {
    uint32_t eax, ebx, ecx, edx;
};
using CpuidFunction = bool (*)(uint32_t leaf, CpuidRegs* out);  // false: the instruction faulted
bool HardwareCpuid(uint32_t leaf, CpuidRegs* out);

// Builds the word from CPUID leaves 1, 0x80000000 and 0x80000001. The extended
// bits are taken only when the highest extended leaf is exactly 0x80000000.
uint32_t DetectCpuFeatures(CpuidFunction cpuid = HardwareCpuid);

// The tier a conversion follows: the first of these whose bit is set, SSE2
// before MMX, and the plain tier without either.
enum class Tier : uint8_t { Plain, Mmx, Sse2 };
inline constexpr struct {
    uint32_t bit;
    Tier tier;
} kTiersByPrecedence[] = {{kCpuSse2, Tier::Sse2}, {kCpuMmx, Tier::Mmx}};
constexpr Tier TierOf(uint32_t features) {
    for (const auto& t : kTiersByPrecedence)
        if (features & t.bit) return t.tier;
    return Tier::Plain;
}

}  // namespace tarn
