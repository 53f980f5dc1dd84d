// The catalogue's tiers and the fill that start-up runs. Each tier is a table
// of cells built while compiling: a cell sets an entry (or empties it),
// forwards to the plain kernel, or keeps what the tier before left. The
// tiers are applied in the order MMX, rounding averages, SSE2, so that a
// row with no code of a tier keeps the entry of the tier before.
#include "convert/kernel_catalogue.h"

#include "convert/catalogue_entries.h"
#include "convert/conversion_kernels.h"
#include "convert/kernel_catalogue_layout.h"
#include "platform/cpu_features.h"

namespace tarn {

namespace {

using namespace entries;
using K = RgbKind;
using O = PackedOrder;

enum class CellKind : uint8_t { Keep, Set, Forward };
struct TierCell {
    CellKind kind = CellKind::Keep;
    KernelEntry entry{};
};
using TierTable = std::array<std::array<TierCell, 2>, kCatalogueRows>;

template <class Fn>
constexpr TierCell Set(Fn fn) {
    return {CellKind::Set, KernelEntry(fn)};
}
constexpr TierCell kEmpty{CellKind::Set, KernelEntry{}};

// Rows for which only the plain tier has code: the MMX tier forwards to it
// and the SSE2 tier keeps the MMX stub.
template <TierBody T, auto Fn>
constexpr TierCell PlainOnly() {
    if constexpr (T == TierBody::Plain) return Set(Fn);
    else if constexpr (T == TierBody::Mmx) return {CellKind::Forward, KernelEntry(&Forwarder<Fn>::Call)};
    else return {};
}

// Packed to RGB without smoothing: the kernels by name for Yuy2 to 32 and
// 24 bits, the engine otherwise.
template <TierBody T, O S, K Kind>
constexpr OneToOneKernel PackedRgbOf() {
    constexpr bool named = S == O::Yuy2 && (Kind == K::Rgb32 || Kind == K::Rgb24);
    if constexpr (named && Kind == K::Rgb32)
        return T == TierBody::Plain ? ConvYuy2ToRgb32Plain : T == TierBody::Mmx ? ConvYuy2ToRgb32MmxTier : ConvYuy2ToRgb32Sse2Tier;
    else if constexpr (named)
        return T == TierBody::Plain ? ConvYuy2ToRgb24Plain : T == TierBody::Mmx ? ConvYuy2ToRgb24MmxTier : ConvYuy2ToRgb24Sse2Tier;
    else
        return &PackedRgb<T, S, Kind>;
}

template <TierBody T>
constexpr PlanarSourceEntry PlanarYuy2SmoothOf() {
    return T == TierBody::Plain ? ConvPlanarToYuy2SmoothPlain
           : T == TierBody::Mmx ? ConvPlanarToYuy2SmoothMmxTier
                            : ConvPlanarToYuy2SmoothSse2Tier;
}
template <TierBody T>
constexpr PlanarDestinationEntry Yuy2PlanarSmoothOf() {
    return T == TierBody::Plain ? ConvYuy2ToPlanarSmoothPlain
           : T == TierBody::Mmx ? ConvYuy2ToPlanarSmoothMmxTier
                            : ConvYuy2ToPlanarSmoothSse2Tier;
}

template <TierBody T, O D>
constexpr void PlanarToPackedRow(TierTable& t) {
    const TierCell smooth = D == O::Yuy2 ? Set(PlanarYuy2SmoothOf<T>()) : Set(&PlanarPacked<T, true, D>);
    t[PlanarRow(PlanarDestination(D))] = {Set(&PlanarPacked<T, false, D>), smooth};
}

template <TierBody T, K Kind>
constexpr void PlanarToRgbRow(TierTable& t, CatalogueFormat dst) {
    t[PlanarRow(dst)] = {Set(&PlanarRgb<T, false, Kind>), Set(&PlanarRgb<T, true, Kind>)};
}

// Rows 5 to 17, source Planar: every tier has code.
template <TierBody T>
constexpr void PlanarGroup(TierTable& t) {
    constexpr RowCopyKernel copy = CopyOf<T>(), smooth = SmoothCopyOf<T>();
    using F = CatalogueFormat;
    t[PlanarRow(F::Planar)] = {Set(&Planes<copy, false, false>), Set(&Planes<smooth, true, false>)};
    t[PlanarRow(F::PlanarSwapped)] = {Set(&Planes<copy, false, true>), Set(&Planes<smooth, true, true>)};
    PlanarToPackedRow<T, O::Yuy2>(t);
    PlanarToPackedRow<T, O::Yvyu>(t);
    PlanarToPackedRow<T, O::Uyvy>(t);
    PlanarToPackedRow<T, O::Vyuy>(t);
    PlanarToRgbRow<T, K::Rgb565>(t, F::Rgb565);
    PlanarToRgbRow<T, K::Rgb555>(t, F::Rgb555);
    PlanarToRgbRow<T, K::Rgb32Luma>(t, F::Rgb32Luma);
    // Without smoothing, 32-bit output has plain and MMX code only; 24-bit
    // output takes the row-by-row SSE2 kernel.
    auto& rgb32 = t[PlanarRow(F::Rgb32)];
    auto& rgb24 = t[PlanarRow(F::Rgb24)];
    if constexpr (T == TierBody::Plain) {
        rgb32 = {Set(&PlanarRgb<T, false, K::Rgb32>), Set(ConvPlanarToRgb32SmoothPlain)};
        rgb24 = {Set(&PlanarRgb<T, false, K::Rgb24>), Set(ConvPlanarToRgb24SmoothPlain)};
    } else if constexpr (T == TierBody::Mmx) {
        rgb32 = {Set(&PlanarRgb<T, false, K::Rgb32>), Set(ConvPlanarToRgb32SmoothMmxTier)};
        rgb24 = {Set(&PlanarRgb<T, false, K::Rgb24>), Set(&PlanarRgb<T, true, K::Rgb24>)};
    } else {
        rgb32 = {TierCell{}, Set(ConvPlanarToRgb32SmoothSse2Tier)};
        rgb24 = {Set(ConvPlanarToRgb24Sse2Tier), Set(&PlanarRgb<T, true, K::Rgb24>)};
    }
    t[PlanarRow(F::SemiPlanar)] = {Set(&SemiPlanar<copy, false>), Set(&SemiPlanar<smooth, true>)};
    // The keyed row has a smoothing form in the plain tier only.
    t[PlanarRow(F::Rgb32Keyed)] = {Set(&PlanarKeyed<T, false>),
                                   T == TierBody::Plain ? Set(&PlanarKeyed<T, true>) : kEmpty};
}

// A packed source with code in every tier (Yuy2, Uyvy): column 1 smooths the
// source rows first, except to planar, which has its own smoothing.
template <TierBody T, O S, K Kind>
constexpr std::array<TierCell, 2> PackedToRgbCells() {
    constexpr OneToOneKernel plain = PackedRgbOf<T, S, Kind>();
    return {Set(plain), Set(&SmoothedThen<SmoothCopyOf<T>(), plain>)};
}
template <TierBody T, O S, O D>
constexpr std::array<TierCell, 2> PackedToPackedCells() {
    if constexpr (S == D) return {Set(&Pixels<CopyOf<T>(), 2>), Set(&Pixels<SmoothCopyOf<T>(), 2>)};
    else return {Set(&Reorder<T, false, S, D>), Set(&Reorder<T, true, S, D>)};
}
template <TierBody T, O S>
constexpr void PackedGroup(TierTable& t) {
    const auto row = [](CatalogueFormat d) { return GroupRow(PackedFormat(S), d); };
    using F = CatalogueFormat;
    const TierCell smooth = S == O::Yuy2 ? Set(Yuy2PlanarSmoothOf<T>()) : Set(&PackedPlanar<T, true, S>);
    t[row(F::Planar)] = {Set(&PackedPlanar<T, false, S>), smooth};
    t[row(F::Yuy2)] = PackedToPackedCells<T, S, O::Yuy2>();
    t[row(F::Yvyu)] = PackedToPackedCells<T, S, O::Yvyu>();
    t[row(F::Uyvy)] = PackedToPackedCells<T, S, O::Uyvy>();
    t[row(F::Vyuy)] = PackedToPackedCells<T, S, O::Vyuy>();
    t[row(F::Rgb32)] = PackedToRgbCells<T, S, K::Rgb32>();
    t[row(F::Rgb24)] = PackedToRgbCells<T, S, K::Rgb24>();
    t[row(F::Rgb565)] = PackedToRgbCells<T, S, K::Rgb565>();
    t[row(F::Rgb555)] = PackedToRgbCells<T, S, K::Rgb555>();
}

// Yvyu and Vyuy: plain code, column 0 only.
template <TierBody T, O S, O D>
constexpr TierCell PackedToPackedPlainOnly() {
    if constexpr (S == D) return PlainOnly<T, &Pixels<CopyRowsPlain, 2>>();
    else return PlainOnly<T, &Reorder<TierBody::Plain, false, S, D>>();
}
template <TierBody T, O S>
constexpr void StubbedPackedGroup(TierTable& t) {
    const auto row = [](CatalogueFormat d) { return GroupRow(PackedFormat(S), d); };
    using F = CatalogueFormat;
    t[row(F::Planar)][0] = PlainOnly<T, &PackedPlanar<TierBody::Plain, false, S>>();
    t[row(F::Yuy2)][0] = PackedToPackedPlainOnly<T, S, O::Yuy2>();
    t[row(F::Yvyu)][0] = PackedToPackedPlainOnly<T, S, O::Yvyu>();
    t[row(F::Uyvy)][0] = PackedToPackedPlainOnly<T, S, O::Uyvy>();
    t[row(F::Vyuy)][0] = PackedToPackedPlainOnly<T, S, O::Vyuy>();
    t[row(F::Rgb32)][0] = PlainOnly<T, &PackedRgb<TierBody::Plain, S, K::Rgb32>>();
    t[row(F::Rgb24)][0] = PlainOnly<T, &PackedRgb<TierBody::Plain, S, K::Rgb24>>();
    t[row(F::Rgb565)][0] = PlainOnly<T, &PackedRgb<TierBody::Plain, S, K::Rgb565>>();
    t[row(F::Rgb555)][0] = PlainOnly<T, &PackedRgb<TierBody::Plain, S, K::Rgb555>>();
}

// An RGB source to an RGB kind: a rectangle copy for the same kind.
template <TierBody T, K From, K To>
constexpr TierCell RgbToRgbCell() {
    if constexpr (From == To) return PlainOnly<T, &Pixels<CopyRowsPlain, BytesOf(From)>>();
    else if constexpr (From == K::Rgb24 && To == K::Rgb32) return PlainOnly<T, ConvRgb24ToRgb32>();
    else if constexpr (From == K::Rgb32 && To == K::Rgb24) return PlainOnly<T, ConvRgb32ToRgb24>();
    else return PlainOnly<T, &RgbPixels<From, To>>();
}

// Rgb32 and Rgb24 sources: planar in every tier, Yuy2 in the SSE2 tier,
// the rest plain.
template <TierBody T, K Kind>
constexpr void RgbGroup(TierTable& t) {
    const auto row = [](CatalogueFormat d) { return GroupRow(RgbFormat(Kind), d); };
    using F = CatalogueFormat;
    constexpr bool is32 = Kind == K::Rgb32;
    if constexpr (Kind == K::Rgb565 || Kind == K::Rgb555) {
        t[row(F::Planar)][0] = PlainOnly<T, &Rgb16Planar<Kind>>();
        t[row(F::Yuy2)][0] = PlainOnly<T, &RgbPacked<Kind, O::Yuy2>>();
    } else if constexpr (T == TierBody::Plain) {
        t[row(F::Planar)][0] = Set(is32 ? ConvRgb32ToPlanarPlain : ConvRgb24ToPlanarPlain);
        t[row(F::Yuy2)][0] = Set(is32 ? ConvRgb32ToYuy2Plain : ConvRgb24ToYuy2Plain);
    } else if constexpr (T == TierBody::Mmx) {
        t[row(F::Planar)][0] = Set(is32 ? ConvRgb32ToPlanarMmxTier : ConvRgb24ToPlanarMmxTier);
        t[row(F::Yuy2)][0] = PlainOnly<T, is32 ? ConvRgb32ToYuy2Plain : ConvRgb24ToYuy2Plain>();
    } else {
        t[row(F::Planar)][0] = Set(is32 ? ConvRgb32ToPlanarSse2Tier : ConvRgb24ToPlanarSse2Tier);
        t[row(F::Yuy2)][0] = Set(is32 ? ConvRgb32ToYuy2Sse2Tier : ConvRgb24ToYuy2Sse2Tier);
    }
    t[row(F::Yvyu)][0] = PlainOnly<T, &RgbPacked<Kind, O::Yvyu>>();
    t[row(F::Uyvy)][0] = PlainOnly<T, &RgbPacked<Kind, O::Uyvy>>();
    t[row(F::Vyuy)][0] = PlainOnly<T, &RgbPacked<Kind, O::Vyuy>>();
    t[row(F::Rgb32)][0] = RgbToRgbCell<T, Kind, K::Rgb32>();
    t[row(F::Rgb24)][0] = RgbToRgbCell<T, Kind, K::Rgb24>();
    t[row(F::Rgb565)][0] = RgbToRgbCell<T, Kind, K::Rgb565>();
    t[row(F::Rgb555)][0] = RgbToRgbCell<T, Kind, K::Rgb555>();
}

// The plain, MMX and SSE2 tiers. The first two overwrite every entry; the
// SSE2 tier keeps what it has no code for.
template <TierBody T>
constexpr TierTable BuildTier() {
    TierTable t{};
    if constexpr (T != TierBody::Sse2)
        for (auto& row : t) row = {kEmpty, kEmpty};
    constexpr BlockCopyKernel block = T == TierBody::Plain ? BlockCopyPlain : T == TierBody::Mmx ? FastCopyMmxTier : FastCopyWide;
    t[kBlockCopyRow][0] = Set(block);
    t[kRowCopyRow] = {Set(CopyOf<T>()), Set(SmoothCopyOf<T>())};
    if constexpr (T != TierBody::Sse2) {
        t[kSemiPlanarRow][0] = Set(&SemiPlanarRgb<T, false>);
        t[kFieldSemiPlanarRow][0] = Set(&SemiPlanarRgb<T, true>);
    }
    PlanarGroup<T>(t);
    PackedGroup<T, O::Yuy2>(t);
    PackedGroup<T, O::Uyvy>(t);
    StubbedPackedGroup<T, O::Yvyu>(t);
    StubbedPackedGroup<T, O::Vyuy>(t);
    RgbGroup<T, K::Rgb32>(t);
    RgbGroup<T, K::Rgb24>(t);
    RgbGroup<T, K::Rgb565>(t);
    RgbGroup<T, K::Rgb555>(t);
    return t;
}

// Processors with SSE but not SSE2 take rounding byte averages where the MMX
// tier truncates: the streaming block copy, the smoothing row copy, and
// column 1 of the Planar (but for its keyed row), Yuy2 and Uyvy groups.
template <O S>
constexpr void PavgPackedGroup(TierTable& t) {
    constexpr TierBody P = TierBody::Pavg;
    const auto row = [](CatalogueFormat d) { return GroupRow(PackedFormat(S), d); };
    using F = CatalogueFormat;
    constexpr RowCopyKernel smooth = CopyRowsSmoothPavgTier;
    t[row(F::Planar)][1] = Set(&PackedPlanar<P, true, S>);
    t[row(F::Yuy2)][1] = PackedToPackedCells<P, S, O::Yuy2>()[1];
    t[row(F::Yvyu)][1] = PackedToPackedCells<P, S, O::Yvyu>()[1];
    t[row(F::Uyvy)][1] = PackedToPackedCells<P, S, O::Uyvy>()[1];
    t[row(F::Vyuy)][1] = PackedToPackedCells<P, S, O::Vyuy>()[1];
    t[row(F::Rgb32)][1] = Set(&SmoothedThen<smooth, PackedRgbOf<TierBody::Mmx, S, K::Rgb32>()>);
    t[row(F::Rgb24)][1] = Set(&SmoothedThen<smooth, PackedRgbOf<TierBody::Mmx, S, K::Rgb24>()>);
    t[row(F::Rgb565)][1] = Set(&SmoothedThen<smooth, PackedRgbOf<TierBody::Mmx, S, K::Rgb565>()>);
    t[row(F::Rgb555)][1] = Set(&SmoothedThen<smooth, PackedRgbOf<TierBody::Mmx, S, K::Rgb555>()>);
}
constexpr TierTable BuildPavgTier() {
    constexpr TierBody P = TierBody::Pavg;
    using F = CatalogueFormat;
    TierTable t{};
    t[kBlockCopyRow][0] = Set(FastCopyStream);
    t[kRowCopyRow][1] = Set(CopyRowsSmoothPavgTier);
    t[PlanarRow(F::Planar)][1] = Set(&Planes<CopyRowsSmoothPavgTier, true, false>);
    t[PlanarRow(F::PlanarSwapped)][1] = Set(&Planes<CopyRowsSmoothPavgTier, true, true>);
    t[PlanarRow(F::Yuy2)][1] = Set(&PlanarPacked<P, true, O::Yuy2>);
    t[PlanarRow(F::Yvyu)][1] = Set(&PlanarPacked<P, true, O::Yvyu>);
    t[PlanarRow(F::Uyvy)][1] = Set(&PlanarPacked<P, true, O::Uyvy>);
    t[PlanarRow(F::Vyuy)][1] = Set(&PlanarPacked<P, true, O::Vyuy>);
    t[PlanarRow(F::Rgb32)][1] = Set(&PlanarRgb<P, true, K::Rgb32>);
    t[PlanarRow(F::Rgb24)][1] = Set(&PlanarRgb<P, true, K::Rgb24>);
    t[PlanarRow(F::Rgb565)][1] = Set(&PlanarRgb<P, true, K::Rgb565>);
    t[PlanarRow(F::Rgb555)][1] = Set(&PlanarRgb<P, true, K::Rgb555>);
    t[PlanarRow(F::Rgb32Luma)][1] = Set(&PlanarRgb<P, true, K::Rgb32Luma>);
    t[PlanarRow(F::SemiPlanar)][1] = Set(&SemiPlanar<CopyRowsSmoothPavgTier, true>);
    PavgPackedGroup<O::Yuy2>(t);
    PavgPackedGroup<O::Uyvy>(t);
    return t;
}

constexpr TierTable kPlainTier = BuildTier<TierBody::Plain>();
constexpr TierTable kMmxTier = BuildTier<TierBody::Mmx>();
constexpr TierTable kPavgTier = BuildPavgTier();
constexpr TierTable kSse2Tier = BuildTier<TierBody::Sse2>();

constexpr KernelCatalogue EntriesOf(const TierTable& tier) {
    KernelCatalogue c{};
    for (int r = 0; r < kCatalogueRows; ++r)
        for (int k = 0; k < 2; ++k) c[r][k] = tier[r][k].entry;
    return c;
}

void Apply(const TierTable& tier) {
    for (int r = 0; r < kCatalogueRows; ++r)
        for (int k = 0; k < 2; ++k)
            if (tier[r][k].kind != CellKind::Keep) ConversionKernelTable[r][k] = tier[r][k].entry;
}

}  // namespace

// Initialised data: a processor with no feature at all needs no code to run.
constinit KernelCatalogue ConversionKernelTable = EntriesOf(kPlainTier);

namespace {
// The tiers laid over the plain one, in the order they are applied, each
// with the feature bit that allows it.
constexpr struct {
    uint32_t bit;
    const TierTable* table;
} kTiersOverPlain[] = {{kCpuMmx, &kMmxTier}, {kCpuSse, &kPavgTier}, {kCpuSse2, &kSse2Tier}};
}  // namespace

void FillKernelCatalogue(uint32_t features) {
    ConversionKernelTable = EntriesOf(kPlainTier);
    for (const auto& t : kTiersOverPlain)
        if (features & t.bit) Apply(*t.table);
}

uint32_t g_cpuFeatures = 0;
uint32_t g_cpuFeaturesCache = 0;

uint32_t InitConversionKernels() {
    if (g_cpuFeaturesCache != 0) return g_cpuFeaturesCache;
    g_cpuFeaturesCache = DetectCpuFeatures();
    FillKernelCatalogue(g_cpuFeaturesCache);
    return g_cpuFeaturesCache;
}

namespace {
// Runs while the module loads, before any object can exist.
const struct ConversionKernelsInit {
    ConversionKernelsInit() { g_cpuFeatures = InitConversionKernels(); }
} g_conversionKernelsInit;
}  // namespace

EntryOrigin OriginOf(int row, int column) {
    const KernelEntry& e = ConversionKernelTable[row][column];
    if (std::holds_alternative<std::monostate>(e)) return {EntryTier::Empty, false};
    const struct {
        const TierTable* table;
        EntryTier tier;
    } tiers[] = {{&kSse2Tier, EntryTier::Sse2}, {&kPavgTier, EntryTier::Pavg},
                 {&kMmxTier, EntryTier::Mmx}, {&kPlainTier, EntryTier::Plain}};
    for (const auto& t : tiers) {
        const TierCell& cell = (*t.table)[row][column];
        if (cell.kind != CellKind::Keep && cell.entry == e) return {t.tier, cell.kind == CellKind::Forward};
    }
    return {EntryTier::Plain, false};
}

}  // namespace tarn
