// The feature word from CPUID, the tiers it selects, and the form tables.
#include "platform/cpu_features.h"

#include <gtest/gtest.h>

#include "platform/form_table.h"

namespace {

using namespace tarn;

// A processor played by a table: what each leaf answers in EDX, and EAX of
// leaf 0x80000000.
struct FakeCpu {
    uint32_t leaf1Edx;
    uint32_t highestExtended;
    uint32_t extendedEdx;
    bool faults;
};
FakeCpu g_fake;
bool FakeCpuid(uint32_t leaf, CpuidRegs* out) {
    if (g_fake.faults) return false;
    *out = {};
    if (leaf == 1) out->edx = g_fake.leaf1Edx;
    if (leaf == 0x80000000u) out->eax = g_fake.highestExtended;
    if (leaf == 0x80000001u) out->edx = g_fake.extendedEdx;
    return true;
}

TEST(DetectCpuFeatures, KeepsTheListedBitsAndTheExtendedOnesOnlyOnAnExactLeaf) {
    struct Case {
        FakeCpu cpu;
        uint32_t expected;
    };
    const Case cases[] = {
        // Every bit set: leaf 1 keeps bits 4, 15, 23, 24, 25, 26, 28.
        {{0xFFFFFFFFu, 0, 0, false}, 0x17808010u},
        // 3DNow!, its extensions and the MMX extensions come only when the
        // highest extended leaf is exactly 0x80000000.
        {{0xFFFFFFFFu, 0x80000000u, 0xFFFFFFFFu, false}, 0x17808010u | 0xC0400000u},
        {{0xFFFFFFFFu, 0x80000008u, 0xFFFFFFFFu, false}, 0x17808010u},
        {{0x04000000u, 0x80000000u, 0x80000000u, false}, 0x84000000u},
        {{0xFFFFFFFFu, 0, 0, true}, 0u},  // a fault yields 0
    };
    for (const Case& c : cases) {
        g_fake = c.cpu;
        EXPECT_EQ(DetectCpuFeatures(FakeCpuid), c.expected);
    }
}

TEST(CpuFeatures, TheModuleStartedWithThisProcessorsWord) {
    const uint32_t word = g_cpuFeaturesCache;
    EXPECT_EQ(word, DetectCpuFeatures());
    EXPECT_EQ(g_cpuFeatures, word);  // no test before this one forced a word
#if defined(__x86_64__) || defined(_M_X64)
    // Every x86-64 processor has MMX, SSE and SSE2.
    EXPECT_EQ(word & (kCpuMmx | kCpuSse | kCpuSse2), kCpuMmx | kCpuSse | kCpuSse2);
#endif
}

TEST(KernelChoice, ForcesTierAndFormAndRestoresThem) {
    const uint32_t before = g_cpuFeatures;
    const SimdForm formBefore = ActiveSimdForm();
    {
        ScopedKernelChoice choice(kCpuMmx, SimdForm::Plain);
        EXPECT_EQ(TierOf(g_cpuFeatures), Tier::Mmx);
        EXPECT_EQ(ActiveSimdForm(), SimdForm::Plain);
        EXPECT_STREQ(DescribeKernelChoice(), "tier MMX, form plain");
    }
    EXPECT_EQ(g_cpuFeatures, before);
    EXPECT_EQ(ActiveSimdForm(), formBefore);
    EXPECT_EQ(TierOf(kCpuSse2 | kCpuMmx), Tier::Sse2);  // SSE2 is tested first
    EXPECT_EQ(TierOf(0), Tier::Plain);
}

int FormA() { return 1; }
int FormB() { return 2; }
using FormFn = int (*)();

TEST(FormTable, PicksTheWidestAllowedFormAndEndsInAPlainOne) {
    constexpr FormEntry<FormFn> good[] = {{SimdForm::Avx2, FormA}, {SimdForm::Plain, FormB}};
    constexpr FormEntry<FormFn> noPlain[] = {{SimdForm::Avx2, FormA}, {SimdForm::Sse2, FormB}};
    static_assert(EndsInPlainForm(good));
    static_assert(!EndsInPlainForm(noPlain));
    {
        ScopedKernelChoice choice(g_cpuFeatures, SimdForm::Plain);
        EXPECT_EQ(PickForm(good)(), 2);
    }
    if (HostSimdForm() >= SimdForm::Avx2) {
        ScopedKernelChoice choice(g_cpuFeatures, SimdForm::Avx2);
        EXPECT_EQ(PickForm(good)(), 1);
    }
}

int FormC() { return 3; }

TEST(FormTable, AnAvx512HostRunsTheAvx2FormOfAFamilyWithoutAWiderOne) {
    constexpr FormEntry<FormFn> widest[] = {
        {SimdForm::Avx512, FormC}, {SimdForm::Avx2, FormA}, {SimdForm::Plain, FormB}};
    constexpr FormEntry<FormFn> upToAvx2[] = {{SimdForm::Avx2, FormA}, {SimdForm::Plain, FormB}};
    if (HostSimdForm() < SimdForm::Avx512) GTEST_SKIP() << "no AVX-512 here";
    ScopedKernelChoice host(g_cpuFeatures, SimdForm::Avx512);
    EXPECT_EQ(PickForm(widest)(), 3);
    EXPECT_EQ(PickForm(upToAvx2)(), 1);
    EXPECT_STREQ(FormName(ActiveSimdForm()), "AVX-512");
    ScopedKernelChoice avx2(g_cpuFeatures, SimdForm::Avx2);
    EXPECT_EQ(PickForm(widest)(), 1);
}

}  // namespace
