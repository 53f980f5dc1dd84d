// Every entry of the catalogue at awkward sizes (odd widths, heights from
// the last row up, strides running backwards), run in each form this
// processor has and compared with the plain form: the fast forms give the
// same bytes everywhere, frames and margins included, source and target.
#include <gtest/gtest.h>

#include "kernel_harness.h"
#include "platform/cpu_features.h"

namespace tarn::test {
namespace {

struct Geometry {
    int32_t width, height;
    bool backwards;  // strides negative, pointers at the last row
};

// Frames big enough for any entry at this size: 4 bytes a pixel, a planar
// layout, and 48 rows more for the planes of the semi-planar formats, whose
// field form rounds their height up to 32.
struct Frames {
    Frames(const Geometry& g, uint32_t seed)
        : rows(std::abs(g.height)), total(rows + 48), stride(4 * g.width + 7), planar(PlanarOf(g.width, rows, 5)),
          one(size_t(stride) * total, seed), two(size_t(stride) * total, seed + 1), planes(planar.bytes, seed + 2) {}
    int32_t rows, total, stride;
    PlanarLayout planar;
    Buffer one, two, planes;
};

// Runs the entry once on the frames of `f`.
void RunOn(const KernelEntry& entry, const Geometry& g, Frames& f) {
    const ptrdiff_t first = kMargin + (g.backwards ? ptrdiff_t(f.total - 1) * f.stride : 0);
    const int32_t s = g.backwards ? -f.stride : f.stride;
    const ref::PlanarSrc& p = f.planar.planes;
    RunEntry(entry, {f.one.At(first), s, f.two.At(first), s, f.planes.At(p.y), f.planes.At(p.u), f.planes.At(p.v),
                     p.yStride, p.uvStride},
             g.width, g.height);
}

TEST(KernelCatalogue, FastFormsGiveThePlainFormsBytesAtAwkwardSizes) {
    if (FormsHere().size() < 2) GTEST_SKIP() << "only the plain form runs here";
    CatalogueRestore restore;
    const Geometry sizes[] = {{1, 4, false}, {3, 5, false}, {9, 6, true},   {17, -7, false},
                              {31, 4, true}, {33, -8, true}, {48, 6, false}, {65, 5, true}};
    uint32_t seed = 4000;
    for (uint32_t word : {kCpuMmx | kCpuSse, kCpuMmx | kCpuSse2}) {
        FillKernelCatalogue(word);
        for (int row = 1; row < kCatalogueRows; ++row)  // the block copy has its own tests
            for (int column = 0; column < 2; ++column) {
                const KernelEntry entry = ConversionKernelTable[row][column];
                if (std::holds_alternative<std::monostate>(entry)) continue;
                for (const Geometry& g : sizes) {
                    ++seed;
                    Frames plain(g, seed);
                    {
                        ScopedKernelChoice choice(word, SimdForm::Plain);
                        RunOn(entry, g, plain);
                    }
                    for (SimdForm form : FormsHere()) {
                        Frames fast(g, seed);
                        ScopedKernelChoice choice(word, form);
                        RunOn(entry, g, fast);
                        const std::string what = EntryName(row, column) + " width " + std::to_string(g.width) +
                                                 " height " + std::to_string(g.height) + " form " + FormName(form);
                        ASSERT_EQ(fast.one.data, plain.one.data) << what;
                        ASSERT_EQ(fast.two.data, plain.two.data) << what;
                        ASSERT_EQ(fast.planes.data, plain.planes.data) << what;
                    }
                }
            }
    }
}

}  // namespace
}  // namespace tarn::test
