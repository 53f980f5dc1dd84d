// The kernel catalogue filled tier by tier for forced feature words: which
// entries each tier sets, forwards or keeps, and which stay empty.
#include <gtest/gtest.h>

#include <set>

#include "kernel_harness.h"

namespace tarn {
namespace {

using F = CatalogueFormat;
using test::CatalogueRestore;

bool Empty(int row, int column) { return std::holds_alternative<std::monostate>(ConversionKernelTable[row][column]); }

int Filled() {
    int n = 0;
    for (int r = 0; r < kCatalogueRows; ++r)
        for (int c = 0; c < 2; ++c) n += !Empty(r, c);
    return n;
}

// Rows, numbered from 1, whose column 1 is a smoothing form: the row copy,
// the Planar source (13 rows), Yuy2 and Uyvy sources (9 each).
bool HasSmoothing(int row) {
    const int n = row + 1;
    return n == 2 || (n >= 5 && n <= 17) || (n >= 18 && n <= 26) || (n >= 36 && n <= 44);
}

TEST(KernelCatalogue, RowsAreLaidOutBySourceDestinationAndSmoothing) {
    EXPECT_EQ(CatalogueRowOf(F::SemiPlanar, F::Rgb24) + 1, 3);
    EXPECT_EQ(CatalogueRowOf(F::FieldSemiPlanar, F::Rgb24) + 1, 4);
    EXPECT_EQ(CatalogueRowOf(F::Planar, F::Planar) + 1, 5);
    EXPECT_EQ(CatalogueRowOf(F::Planar, F::Rgb32Keyed) + 1, 17);
    EXPECT_EQ(CatalogueRowOf(F::Yuy2, F::Planar) + 1, 18);
    EXPECT_EQ(CatalogueRowOf(F::Yvyu, F::Planar) + 1, 27);
    EXPECT_EQ(CatalogueRowOf(F::Uyvy, F::Vyuy) + 1, 40);
    EXPECT_EQ(CatalogueRowOf(F::Rgb32, F::Rgb24) + 1, 60);
    EXPECT_EQ(CatalogueRowOf(F::Rgb555, F::Rgb555) + 1, 89);
    EXPECT_EQ(CatalogueRowOf(F::Rgb32, F::SemiPlanar), -1);
    EXPECT_STREQ(RowOfCatalogue(0).copy, "block copy");
    EXPECT_STREQ(RowOfCatalogue(1).copy, "row copy");
}

TEST(KernelCatalogue, PlainTierFillsEveryListedEntry) {
    CatalogueRestore restore;
    FillKernelCatalogue(0);
    // Column 0 everywhere, column 1 where a smoothing form exists.
    for (int r = 0; r < kCatalogueRows; ++r) {
        EXPECT_FALSE(Empty(r, 0)) << r + 1;
        EXPECT_EQ(Empty(r, 1), !HasSmoothing(r)) << r + 1;
        for (int c = 0; c < 2; ++c)
            EXPECT_EQ(OriginOf(r, c).tier, Empty(r, c) ? EntryTier::Empty : EntryTier::Plain) << r + 1;
    }
    EXPECT_EQ(Filled(), 89 + 32);
}

TEST(KernelCatalogue, EachTierSetsForwardsOrKeepsItsGroups) {
    CatalogueRestore restore;
    struct Expect {
        F src, dst;
        int column;
        EntryTier mmx, sse2;
        bool mmxForwards;
    };
    const EntryTier M = EntryTier::Mmx, S = EntryTier::Sse2, E = EntryTier::Empty;
    const Expect cases[] = {
        {F::SemiPlanar, F::Rgb24, 0, M, M, false},         // the SSE2 tier keeps the MMX kernel
        {F::Planar, F::Yvyu, 1, M, S, false},
        {F::Planar, F::Rgb32, 0, M, M, false},             // no SSE2 code without smoothing
        {F::Planar, F::Rgb24, 0, M, S, false},             // the row-by-row kernel
        {F::Planar, F::Rgb32Keyed, 1, E, E, false},        // plain tier only
        {F::Yuy2, F::Rgb565, 1, M, S, false},
        {F::Yvyu, F::Rgb32, 0, M, M, true},                // stubs to plain, kept
        {F::Vyuy, F::Planar, 0, M, M, true},
        {F::Uyvy, F::Planar, 1, M, S, false},
        {F::Rgb32, F::Planar, 0, M, S, false},
        {F::Rgb24, F::Yuy2, 0, M, S, true},                // MMX forwards to the plain kernel
        {F::Rgb24, F::Uyvy, 0, M, M, true},
        {F::Rgb565, F::Rgb32, 0, M, M, true},
        {F::Rgb555, F::Planar, 0, M, M, true},
    };
    for (const Expect& e : cases) {
        const int row = CatalogueRowOf(e.src, e.dst);
        FillKernelCatalogue(kCpuMmx);
        EXPECT_EQ(OriginOf(row, e.column).tier, e.mmx) << row + 1;
        if (e.mmx != E) {
            EXPECT_EQ(OriginOf(row, e.column).forwards, e.mmxForwards) << row + 1;
        }
        FillKernelCatalogue(kCpuMmx | kCpuSse2);
        EXPECT_EQ(OriginOf(row, e.column).tier, e.sse2) << row + 1;
    }
    // The plain kernel and its stub are different entries that do the same.
    FillKernelCatalogue(0);
    const KernelEntry plain = ConversionKernelTable[CatalogueRowOf(F::Yvyu, F::Rgb32)][0];
    FillKernelCatalogue(kCpuMmx);
    EXPECT_NE(plain, ConversionKernelTable[CatalogueRowOf(F::Yvyu, F::Rgb32)][0]);
    EXPECT_EQ(OriginOf(CatalogueRowOf(F::Yvyu, F::Rgb32), 1).tier, E);
}

TEST(KernelCatalogue, RoundingAveragesReplaceThirtyTwoEntriesAndOnlyWithoutSse2) {
    CatalogueRestore restore;
    FillKernelCatalogue(kCpuMmx);
    const KernelCatalogue mmx = ConversionKernelTable;
    FillKernelCatalogue(kCpuMmx | kCpuSse);
    std::set<std::pair<int, int>> changed;
    for (int r = 0; r < kCatalogueRows; ++r)
        for (int c = 0; c < 2; ++c)
            if (ConversionKernelTable[r][c] != mmx[r][c]) {
                changed.insert({r, c});
                EXPECT_EQ(OriginOf(r, c).tier, EntryTier::Pavg);
            }
    EXPECT_EQ(changed.size(), 32u);
    EXPECT_TRUE(changed.count({0, 0})) << "the block copy";
    EXPECT_TRUE(changed.count({1, 1})) << "the smoothing row copy";
    EXPECT_FALSE(changed.count({CatalogueRowOf(F::Planar, F::Rgb32Keyed), 1}));
    for (F d : {F::Planar, F::Yuy2, F::Rgb555}) {
        EXPECT_TRUE(changed.count({CatalogueRowOf(F::Yuy2, d), 1}));
        EXPECT_TRUE(changed.count({CatalogueRowOf(F::Uyvy, d), 1}));
    }
    EXPECT_EQ(Filled(), 120);
    // With SSE2 the SSE2 tier overwrites every one of them.
    FillKernelCatalogue(kCpuMmx | kCpuSse2);
    const KernelCatalogue sse2 = ConversionKernelTable;
    FillKernelCatalogue(kCpuMmx | kCpuSse | kCpuSse2);
    EXPECT_TRUE(ConversionKernelTable == sse2);
    // SSE2 without MMX: the SSE2 tier over the plain one; the rows it has no
    // code for keep their plain kernels.
    FillKernelCatalogue(kCpuSse2);
    EXPECT_EQ(OriginOf(CatalogueRowOf(F::Yvyu, F::Rgb32), 0).tier, EntryTier::Plain);
    EXPECT_EQ(OriginOf(CatalogueRowOf(F::Yuy2, F::Rgb32), 0).tier, EntryTier::Sse2);
    EXPECT_EQ(OriginOf(CatalogueRowOf(F::Planar, F::Rgb32Keyed), 1).tier, EntryTier::Empty);
}

// Start-up filled the catalogue for this processor; a later call returns the
// cached word and changes nothing, and with the cached word zero it detects
// and fills again.
TEST(InitConversionKernels, FillsOnceForThisProcessor) {
    const KernelCatalogue atLoad = ConversionKernelTable;
    CatalogueRestore restore;
    const uint32_t word = g_cpuFeaturesCache;
    EXPECT_NE(word, 0u);
    FillKernelCatalogue(word);
    EXPECT_TRUE(ConversionKernelTable == atLoad);
    FillKernelCatalogue(0);
    const KernelCatalogue plain = ConversionKernelTable;
    EXPECT_EQ(InitConversionKernels(), word);
    EXPECT_TRUE(ConversionKernelTable == plain);
    g_cpuFeaturesCache = 0;
    EXPECT_EQ(InitConversionKernels(), word);
    EXPECT_EQ(g_cpuFeaturesCache, word);
    EXPECT_TRUE(ConversionKernelTable == atLoad);
}

TEST(KernelCatalogue, EntriesAreNamedAfterTheirKernels) {
    CatalogueRestore restore;
    FillKernelCatalogue(kCpuMmx | kCpuSse | kCpuSse2);
    EXPECT_EQ(EntryName(0, 0), "FastCopyWide");
    EXPECT_EQ(EntryName(CatalogueRowOf(F::Planar, F::Yuy2), 1), "ConvPlanarToYuy2SmoothSse2Tier");
    EXPECT_EQ(EntryName(CatalogueRowOf(F::Uyvy, F::Uyvy), 1), "CopyRowsSmoothWide, width x 2");
    EXPECT_EQ(EntryName(CatalogueRowOf(F::Rgb24, F::Vyuy), 0), "stub of the MMX tier to ConvRgb24ToVyuyPlain");
    EXPECT_EQ(EntryName(CatalogueRowOf(F::Planar, F::Rgb32Keyed), 1), "");
    FillKernelCatalogue(kCpuMmx | kCpuSse);
    EXPECT_EQ(EntryName(CatalogueRowOf(F::Yuy2, F::Rgb24), 1), "ConvYuy2ToRgb24SmoothPavgTier");
    FillKernelCatalogue(0);
    EXPECT_EQ(EntryName(CatalogueRowOf(F::Yvyu, F::Rgb32), 0), "ConvYvyuToRgb32Plain");
    EXPECT_EQ(EntryName(1, 1), "CopyRowsSmoothPlain");
}

}  // namespace
}  // namespace tarn
