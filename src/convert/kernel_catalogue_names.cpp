// Names for the kernel catalogue: what each row converts, and what stands in
// an entry, for diagnostics and bug reports.
#include <cstring>

#include "convert/kernel_catalogue.h"
#include "convert/kernel_catalogue_layout.h"

namespace tarn {

const char* FormatName(CatalogueFormat format) {
    static const char* const names[] = {"Planar", "PlanarSwapped", "SemiPlanar", "FieldSemiPlanar",
                                        "Yuy2",   "Yvyu",          "Uyvy",       "Vyuy",
                                        "Rgb32",  "Rgb24",         "Rgb565",     "Rgb555",
                                        "Rgb32Luma", "Rgb32Keyed"};
    return names[static_cast<int>(format)];
}

const char* EntryTierName(EntryTier tier) {
    static const char* const names[] = {"empty", "plain", "MMX", "Pavg", "SSE2"};
    return names[static_cast<int>(tier)];
}

CatalogueRow RowOfCatalogue(int row) {
    using F = CatalogueFormat;
    if (row == kBlockCopyRow) return {"block copy", F::Planar, F::Planar};
    if (row == kRowCopyRow) return {"row copy", F::Planar, F::Planar};
    if (row == kSemiPlanarRow) return {nullptr, F::SemiPlanar, F::Rgb24};
    if (row == kFieldSemiPlanarRow) return {nullptr, F::FieldSemiPlanar, F::Rgb24};
    if (row < kGroupsFirstRow) return {nullptr, F::Planar, kPlanarDestinations[row - kPlanarFirstRow]};
    const int g = (row - kGroupsFirstRow) / 9, d = (row - kGroupsFirstRow) % 9;
    return {nullptr, kGroupFormats[g + 1], kGroupFormats[d]};
}

int CatalogueRowOf(CatalogueFormat src, CatalogueFormat dst) {
    for (int r = kSemiPlanarRow; r < kCatalogueRows; ++r) {
        const CatalogueRow row = RowOfCatalogue(r);
        if (row.src == src && row.dst == dst) return r;
    }
    return -1;
}

namespace {

int BytesPerPixel(CatalogueFormat f) {
    using F = CatalogueFormat;
    return f == F::Rgb32 ? 4 : f == F::Rgb24 ? 3 : 2;
}

}  // namespace

std::string EntryName(int row, int column) {
    const EntryOrigin origin = OriginOf(row, column);
    if (origin.tier == EntryTier::Empty) return {};
    const int tier = static_cast<int>(origin.tier) - 1;  // plain, MMX, Pavg, SSE2
    static const char* const blockCopies[] = {"library copy", "FastCopyMmxTier", "FastCopyStream", "FastCopyWide"};
    static const char* const rowCopies[2][4] = {
        {"CopyRowsPlain", "CopyRowsMmxTier", "CopyRowsPlain", "CopyRowsWide"},
        {"CopyRowsSmoothPlain", "CopyRowsSmoothMmxTier", "CopyRowsSmoothPavgTier", "CopyRowsSmoothWide"}};
    static const char* const suffixes[] = {"Plain", "MmxTier", "PavgTier", "Sse2Tier"};
    if (row == kBlockCopyRow) return blockCopies[tier];
    if (row == kRowCopyRow) return rowCopies[column][tier];

    const CatalogueRow r = RowOfCatalogue(row);
    std::string name;
    if (row >= kGroupsFirstRow && r.src == r.dst) {
        // A picture copied as it is: the row copy over the whole width.
        const int copyTier = origin.forwards ? 0 : tier;
        name = std::string(rowCopies[column][copyTier]) + ", width x " + std::to_string(BytesPerPixel(r.src));
    } else {
        name = std::string("Conv") + FormatName(r.src) + "To" + FormatName(r.dst) + (column ? "Smooth" : "");
        name += suffixes[origin.forwards ? 0 : tier];
    }
    if (origin.forwards) name = std::string("stub of the ") + EntryTierName(origin.tier) + " tier to " + name;
    return name;
}

}  // namespace tarn
