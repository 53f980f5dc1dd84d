// Where each conversion stands in the kernel catalogue (kernel_catalogue.h):
// row indices from 0, as the tables and the names compute them.
#pragma once

#include "convert/kernel_catalogue.h"
#include "convert/pixel_layouts.h"

namespace tarn {

inline constexpr int kBlockCopyRow = 0;
inline constexpr int kRowCopyRow = 1;
inline constexpr int kSemiPlanarRow = 2;
inline constexpr int kFieldSemiPlanarRow = 3;
inline constexpr int kPlanarFirstRow = 4;
inline constexpr int kGroupsFirstRow = 17;

// Destinations of the Planar rows, and of every group of nine, in order.
inline constexpr CatalogueFormat kPlanarDestinations[13] = {
    CatalogueFormat::Planar, CatalogueFormat::PlanarSwapped, CatalogueFormat::Yuy2,
    CatalogueFormat::Yvyu,   CatalogueFormat::Uyvy,          CatalogueFormat::Vyuy,
    CatalogueFormat::Rgb32,  CatalogueFormat::Rgb24,         CatalogueFormat::Rgb565,
    CatalogueFormat::Rgb555, CatalogueFormat::Rgb32Luma,     CatalogueFormat::SemiPlanar,
    CatalogueFormat::Rgb32Keyed};
inline constexpr CatalogueFormat kGroupFormats[9] = {
    CatalogueFormat::Planar, CatalogueFormat::Yuy2,  CatalogueFormat::Yvyu,
    CatalogueFormat::Uyvy,   CatalogueFormat::Vyuy,  CatalogueFormat::Rgb32,
    CatalogueFormat::Rgb24,  CatalogueFormat::Rgb565, CatalogueFormat::Rgb555};

template <size_t N>
constexpr int IndexIn(const CatalogueFormat (&list)[N], CatalogueFormat f) {
    for (size_t i = 0; i < N; ++i)
        if (list[i] == f) return int(i);
    return -1;
}

constexpr int PlanarRow(CatalogueFormat dst) { return kPlanarFirstRow + IndexIn(kPlanarDestinations, dst); }
// The row from `src` (a group's source, not Planar) to `dst`.
constexpr int GroupRow(CatalogueFormat src, CatalogueFormat dst) {
    return kGroupsFirstRow + 9 * (IndexIn(kGroupFormats, src) - 1) + IndexIn(kGroupFormats, dst);
}

constexpr CatalogueFormat PackedFormat(PackedOrder o) {
    constexpr CatalogueFormat table[] = {CatalogueFormat::Yuy2, CatalogueFormat::Yvyu,
                                         CatalogueFormat::Uyvy, CatalogueFormat::Vyuy};
    return table[static_cast<int>(o)];
}
constexpr CatalogueFormat PlanarDestination(PackedOrder o) { return PackedFormat(o); }
constexpr CatalogueFormat RgbFormat(RgbKind k) {
    constexpr CatalogueFormat table[] = {CatalogueFormat::Rgb32,  CatalogueFormat::Rgb24,
                                         CatalogueFormat::Rgb565, CatalogueFormat::Rgb555,
                                         CatalogueFormat::Rgb32Luma, CatalogueFormat::Rgb32Keyed};
    return table[static_cast<int>(k)];
}

}  // namespace tarn
