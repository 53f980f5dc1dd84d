// The report of what each conversion family runs: a table of the kernel
// names by tier and of the forms each family's rows have.
#include "convert/kernel_report.h"

#include "platform/cpu_features.h"

namespace tarn {

namespace {

// Forms a family's rows are built in, beyond the plain one.
// Bits: 1 SSE2, 2 AVX2, 4 AVX-512.
enum FormSet : uint8_t { kPlainOnly = 0, kSse2Only = 1, kAvx2Only = 2, kSse2AndAvx2 = 3, kUpToAvx512 = 7 };
// Which tiers run the fast forms: the SSE2 tier only (the others compute
// their own arithmetic in plain code), every tier but the plain one, or every
// tier (the bytes are the same in all).
enum class FormRule : uint8_t { Sse2Tier, NotPlainTier, EveryTier };

struct Family {
    const char* name;
    const char* byTier[3];  // plain, MMX, SSE2
    FormSet forms;
    FormRule rule;
};

const Family kFamilies[] = {
    {"planar to 32-bit",
     {"ConvPlanarToRgb32SmoothPlain", "ConvPlanarToRgb32SmoothMmxTier", "ConvPlanarToRgb32SmoothSse2Tier"},
     kUpToAvx512, FormRule::Sse2Tier},
    {"planar to 24-bit",
     {"ConvPlanarToRgb24SmoothPlain", "ConvPlanarToRgb24SmoothPlain", "ConvPlanarToRgb24Sse2Tier"},
     kSse2AndAvx2, FormRule::Sse2Tier},
    {"32-bit to planar", {"ConvRgb32ToPlanarPlain", "ConvRgb32ToPlanarMmxTier", "ConvRgb32ToPlanarSse2Tier"},
     kUpToAvx512, FormRule::Sse2Tier},
    {"24-bit to planar", {"ConvRgb24ToPlanarPlain", "ConvRgb24ToPlanarMmxTier", "ConvRgb24ToPlanarSse2Tier"},
     kUpToAvx512, FormRule::Sse2Tier},
    {"planar to packed",
     {"ConvPlanarToYuy2SmoothPlain", "ConvPlanarToYuy2SmoothMmxTier", "ConvPlanarToYuy2SmoothSse2Tier"},
     kUpToAvx512, FormRule::Sse2Tier},
    {"packed to planar",
     {"ConvYuy2ToPlanarSmoothPlain", "ConvYuy2ToPlanarSmoothMmxTier", "ConvYuy2ToPlanarSmoothSse2Tier"},
     kUpToAvx512, FormRule::Sse2Tier},
    {"packed to 32-bit", {"ConvYuy2ToRgb32Plain", "ConvYuy2ToRgb32MmxTier", "ConvYuy2ToRgb32Sse2Tier"},
     kUpToAvx512, FormRule::Sse2Tier},
    {"packed to 24-bit", {"ConvYuy2ToRgb24Plain", "ConvYuy2ToRgb24MmxTier", "ConvYuy2ToRgb24Sse2Tier"},
     kSse2AndAvx2, FormRule::Sse2Tier},
    {"32-bit to packed", {"ConvRgb32ToYuy2Plain", "ConvRgb32ToYuy2Plain", "ConvRgb32ToYuy2Sse2Tier"},
     kSse2AndAvx2, FormRule::Sse2Tier},
    {"24-bit to packed", {"ConvRgb24ToYuy2Plain", "ConvRgb24ToYuy2Plain", "ConvRgb24ToYuy2Sse2Tier"},
     kSse2AndAvx2, FormRule::Sse2Tier},
    {"24-bit to 32-bit", {"ConvRgb24ToRgb32", "ConvRgb24ToRgb32", "ConvRgb24ToRgb32"}, kAvx2Only, FormRule::EveryTier},
    {"32-bit to 24-bit", {"ConvRgb32ToRgb24", "ConvRgb32ToRgb24", "ConvRgb32ToRgb24"}, kAvx2Only, FormRule::EveryTier},
    {"block copy", {"library copy", "FastCopyMmxTier", "FastCopyStream"}, kSse2Only, FormRule::NotPlainTier},
    // Reached through the catalogue only.
    {"packed order to packed order", {"ReorderPacked", "ReorderPacked", "ReorderPacked"}, kAvx2Only, FormRule::EveryTier},
    {"16-bit RGB to and from 32-bit", {"ConvertRgbPixels", "ConvertRgbPixels", "ConvertRgbPixels"},
     kAvx2Only, FormRule::EveryTier},
};

SimdForm FormOf(const Family& f, Tier tier) {
    if (f.rule == FormRule::Sse2Tier && tier != Tier::Sse2) return SimdForm::Plain;
    if (f.rule == FormRule::NotPlainTier && tier == Tier::Plain) return SimdForm::Plain;
    const SimdForm active = ActiveSimdForm();
    if (active >= SimdForm::Avx512 && (f.forms & 4)) return SimdForm::Avx512;
    if (active >= SimdForm::Avx2 && (f.forms & 2)) return SimdForm::Avx2;
    if (active >= SimdForm::Sse2 && (f.forms & 1)) return SimdForm::Sse2;
    return SimdForm::Plain;
}

}  // namespace

std::vector<FamilyReport> ReportConversionFamilies() {
    static const char* const tierNames[] = {"plain", "MMX", "SSE2"};
    const Tier tier = TierOf(g_cpuFeatures);
    std::vector<FamilyReport> out;
    for (const Family& f : kFamilies)
        out.push_back({f.name, f.byTier[static_cast<int>(tier)], tierNames[static_cast<int>(tier)], FormOf(f, tier)});
    return out;
}

std::vector<const char*> FeatureNames(uint32_t features) {
    static const struct {
        uint32_t bit;
        const char* name;
    } bits[] = {{kCpuTsc, "TSC"},   {kCpuCmov, "CMOV"}, {kCpuMmxExt, "MMXEXT"}, {kCpuMmx, "MMX"},
                {kCpuFxsr, "FXSR"}, {kCpuSse, "SSE"},   {kCpuSse2, "SSE2"},     {kCpuHtt, "HTT"},
                {kCpu3DNowExt, "3DNOWEXT"}, {kCpu3DNow, "3DNOW"}};
    std::vector<const char*> out;
    for (const auto& b : bits)
        if (features & b.bit) out.push_back(b.name);
    return out;
}

}  // namespace tarn
