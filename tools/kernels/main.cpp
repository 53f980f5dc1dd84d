// tarnkernels: prints the processor's feature word, the kernel and form each
// conversion family runs with, and the entries of the kernel catalogue, so
// that a bug report can name what ran.
//
//   tarnkernels                      this processor
//   tarnkernels --features 0x800000  as a processor with that word would run
//   tarnkernels --form plain         with the fast forms capped (plain, sse2, avx2, avx512)
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "convert/kernel_catalogue.h"
#include "convert/kernel_report.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"

namespace {

using namespace tarn;

struct Options {
    std::optional<uint32_t> features;
    std::optional<SimdForm> form;
};

int Usage(const char* why) {
    std::fprintf(stderr,
                 "tarnkernels: %s\n"
                 "usage: tarnkernels [--features WORD] [--form plain|sse2|avx2|avx512]\n"
                 "  --features WORD  show what a processor with this feature word runs\n"
                 "                   (hexadecimal with 0x, or decimal)\n"
                 "  --form FORM      cap the fast forms, as a test would\n",
                 why);
    return 2;
}

std::optional<Options> Parse(int argc, char** argv) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (i + 1 >= argc) return std::nullopt;
        const char* value = argv[++i];
        if (arg == "--features") {
            char* end = nullptr;
            const unsigned long word = std::strtoul(value, &end, 0);
            if (*value == '\0' || *end != '\0' || word > 0xFFFFFFFFul) return std::nullopt;
            o.features = static_cast<uint32_t>(word);
        } else if (arg == "--form") {
            const std::string f = value;
            if (f == "plain") o.form = SimdForm::Plain;
            else if (f == "sse2") o.form = SimdForm::Sse2;
            else if (f == "avx2") o.form = SimdForm::Avx2;
            else if (f == "avx512") o.form = SimdForm::Avx512;
            else return std::nullopt;
        } else {
            return std::nullopt;
        }
    }
    return o;
}

void PrintFeatures(uint32_t word, bool forced) {
    std::printf("feature word 0x%08x%s:", word, forced ? " (forced)" : "");
    for (const char* name : FeatureNames(word)) std::printf(" %s", name);
    std::printf("\nconversion tier %s; vector forms on this processor up to %s, in use up to %s\n\n",
                word & kCpuSse2 ? "SSE2" : word & kCpuMmx ? "MMX" : "plain", FormName(HostSimdForm()),
                FormName(ActiveSimdForm()));
}

void PrintFamilies() {
    std::printf("conversion families:\n");
    for (const FamilyReport& f : ReportConversionFamilies())
        std::printf("  %-30s %-32s tier %-5s form %s\n", f.family, f.kernel, f.tier, FormName(f.form));
    std::printf("\n");
}

std::string RowLabel(int row) {
    const CatalogueRow r = RowOfCatalogue(row);
    if (r.copy) return r.copy;
    return std::string(FormatName(r.src)) + " -> " + FormatName(r.dst);
}

void PrintCatalogue() {
    int filled = 0;
    for (const auto& row : ConversionKernelTable)
        for (const KernelEntry& e : row) filled += !std::holds_alternative<std::monostate>(e);
    std::printf("kernel catalogue: %d of %d entries filled (column 0 without smoothing, column 1 with)\n",
                filled, 2 * kCatalogueRows);
    for (int r = 0; r < kCatalogueRows; ++r) {
        std::printf("  row %2d  %-26s", r + 1, RowLabel(r).c_str());
        for (int c = 0; c < 2; ++c) {
            const EntryOrigin origin = OriginOf(r, c);
            if (origin.tier == EntryTier::Empty)
                std::printf("  %d: -", c);
            else
                std::printf("  %d: %s [%s]", c, EntryName(r, c).c_str(), EntryTierName(origin.tier));
        }
        std::printf("\n");
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Options> options = Parse(argc, argv);
    if (!options) return Usage("bad arguments");
    const uint32_t word = options->features.value_or(g_cpuFeatures);
    // Forcing the word refills the catalogue as start-up would have for it.
    ScopedKernelChoice choice(word, options->form.value_or(SimdForm::Avx512));
    FillKernelCatalogue(word);
    PrintFeatures(word, options->features.has_value());
    PrintFamilies();
    PrintCatalogue();
    return 0;
}
