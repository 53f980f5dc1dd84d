// Processor detection and the feature word.
#include "platform/cpu_features.h"

#if defined(_MSC_VER)
#include <intrin.h>
#include <windows.h>
#elif defined(__i386__) || defined(__x86_64__)
#include <cpuid.h>
#endif

namespace tarn {

bool HardwareCpuid(uint32_t leaf, CpuidRegs* out) {
#if defined(_MSC_VER) && (defined(_M_IX86) || defined(_M_X64))
    int r[4] = {};
    __try {
        __cpuid(r, static_cast<int>(leaf));
    } __except (EXCEPTION_EXECUTE_HANDLER) {
        return false;
    }
    *out = {uint32_t(r[0]), uint32_t(r[1]), uint32_t(r[2]), uint32_t(r[3])};
    return true;
#elif defined(__i386__) || defined(__x86_64__)
    // __cpuid does not check the leaf against the maximum, as the word's
    // rules want; every x86-64 processor has the instruction, so it cannot fault.
    __cpuid(leaf, out->eax, out->ebx, out->ecx, out->edx);
    return true;
#else
    (void)leaf;
    (void)out;
    return false;  // no such instruction: the word stays 0 and plain forms run
#endif
}

uint32_t DetectCpuFeatures(CpuidFunction cpuid) {
    CpuidRegs regs{};
    if (!cpuid(1, &regs)) return 0;
    uint32_t word = regs.edx & kLeaf1Mask;
    if (!cpuid(0x80000000u, &regs)) return 0;
    // Equality, not a minimum: a processor reporting any higher extended leaf
    // keeps bits 22, 30 and 31 clear. Callers rely on that exact word.
    if (regs.eax == 0x80000000u) {
        if (!cpuid(0x80000001u, &regs)) return 0;
        word |= regs.edx & kExtendedMask;
    }
    return word;
}

}  // namespace tarn
