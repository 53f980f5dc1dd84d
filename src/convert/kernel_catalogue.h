// The kernel catalogue: every conversion kernel of the module by source
// format, destination format and smoothing, filled at load by the tiers the
// feature word allows. Nothing dispatches through it: the format-conversion
// functions call their kernels by name. It is kept so that a diagnostic or a
// host-side user can reach every conversion, exactly as each tier computes it.
//
// 89 rows of two entries; column 0 is the kernel without vertical smoothing,
// column 1 the one with it, and an empty entry means there is none:
//   row 1       the block copy (column 0 only)
//   row 2       the row copy, plain and smoothing
//   rows 3, 4   semi-planar and field semi-planar to Rgb24 (column 0 only)
//   rows 5-17   source Planar to Planar, PlanarSwapped, Yuy2, Yvyu, Uyvy, Vyuy,
//               Rgb32, Rgb24, Rgb565, Rgb555, Rgb32Luma, SemiPlanar, Rgb32Keyed
//   rows 18-89  groups of nine for the sources Yuy2, Yvyu, Uyvy, Vyuy, Rgb32,
//               Rgb24, Rgb565, Rgb555, each to Planar, Yuy2, Yvyu, Uyvy, Vyuy,
//               Rgb32, Rgb24, Rgb565, Rgb555 (Yvyu, Vyuy and the RGB sources
//               in column 0 only)
// Rows are numbered from 1 in these comments and in reports; the array is
// indexed from 0.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

namespace tarn {

// The shapes of the kernels (conversion_kernels.h), with the block copy and
// the keyed planar source, whose tenth argument is a luma threshold.
using BlockCopyKernel = void (*)(void* dst, const void* src, size_t count);
using OneToOneEntry = void (*)(uint8_t* dst, int32_t dstStride, const uint8_t* src,
                               int32_t srcStride, int32_t width, int32_t height);
// The SSE2 RGB-to-packed kernels write into their source.
using WritableSourceEntry = void (*)(uint8_t* dst, int32_t dstStride, uint8_t* src,
                                     int32_t srcStride, int32_t width, int32_t height);
using PlanarSourceEntry = void (*)(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                   const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                   int32_t uvStride, int32_t width, int32_t height);
using KeyedPlanarSourceEntry = void (*)(uint8_t* dst, int32_t dstStride, const uint8_t* srcY,
                                        const uint8_t* srcU, const uint8_t* srcV, int32_t yStride,
                                        int32_t uvStride, int32_t width, int32_t height,
                                        int32_t threshold);
using PlanarDestinationEntry = void (*)(uint8_t* dstY, uint8_t* dstU, uint8_t* dstV,
                                        int32_t yStride, int32_t uvStride, const uint8_t* src,
                                        int32_t srcStride, int32_t width, int32_t height);

// An entry: empty (std::monostate) or a kernel of one shape.
using KernelEntry = std::variant<std::monostate, BlockCopyKernel, OneToOneEntry, WritableSourceEntry,
                                 PlanarSourceEntry, KeyedPlanarSourceEntry, PlanarDestinationEntry>;

inline constexpr int kCatalogueRows = 89;
using KernelCatalogue = std::array<std::array<KernelEntry, 2>, kCatalogueRows>;

// Holds the plain tier before start-up, which fills it for this processor;
// written by FillKernelCatalogue only.
extern KernelCatalogue ConversionKernelTable;

// Puts the plain tier back, then overwrites with the MMX tier (bit 23), the
// rounding-average entries (bit 25) and the SSE2 tier (bit 26), in that order.
// Start-up calls it with this processor's word; tests with a forced word.
void FillKernelCatalogue(uint32_t features);

// Detects the processor and fills the catalogue for it; returns the feature
// word. Later calls return the cached word and change nothing, unless that
// word is 0, when they detect and fill again (with the same result). The
// colour tables need no filling: they are built while compiling.
uint32_t InitConversionKernels();

// The formats that name the rows.
enum class CatalogueFormat : uint8_t {
    Planar, PlanarSwapped, SemiPlanar, FieldSemiPlanar, Yuy2, Yvyu, Uyvy, Vyuy,
    Rgb32, Rgb24, Rgb565, Rgb555, Rgb32Luma, Rgb32Keyed,
};
const char* FormatName(CatalogueFormat format);

// What a row converts. The first two rows are the copies, with no formats.
struct CatalogueRow {
    const char* copy;  // "block copy", "row copy", or null
    CatalogueFormat src, dst;
};
CatalogueRow RowOfCatalogue(int row);
// The row from `src` to `dst`, or -1 if the catalogue has none.
int CatalogueRowOf(CatalogueFormat src, CatalogueFormat dst);

// Which tier put an entry where it is, and whether it only forwards to the
// plain kernel.
enum class EntryTier : uint8_t { Empty, Plain, Mmx, Pavg, Sse2 };
struct EntryOrigin {
    EntryTier tier;
    bool forwards;
};
EntryOrigin OriginOf(int row, int column);
const char* EntryTierName(EntryTier tier);
// "ConvYvyuToRgb32Plain", "ConvPlanarToYuy2SmoothSse2Tier", "FastCopyWide",
// "CopyRowsPlain, width x 2": the kernel's name, or that of the plain kernel
// a stub forwards to.
std::string EntryName(int row, int column);

}  // namespace tarn
