// SetFormat through the public interface: every pair of the conversion table
// in every tier against the reference forms with the functions' plane and sign
// rules, direct output through CopyOut, masks from alpha, the chroma swap, odd
// sizes and the failure answers.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <tuple>

#include "host/host_support.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"
#include "support/colour_reference.h"
#include "operations/pixel_memory.h"
#include "surface/tarn_surface_buffer.h"

namespace {

using host::Describe;
using host::InfoOf;
using host::PixelsOf;
using tarn::Ref;
using tarn::ref::Tier;

std::vector<uint8_t> Random(size_t n, uint32_t seed) {
    std::mt19937 gen(seed);
    std::vector<uint8_t> v(n);
    for (auto& b : v) b = uint8_t(gen());
    return v;
}

size_t BytesOf(const SurfaceInfo& i) {
    const size_t rows = size_t(i.stride) * i.height;
    return i.format == SURFACE_FORMAT_YUV420 ? rows * 3 / 2 : rows;
}

int32_t Rgb24Stride(int32_t w) { return ((24 * w + 31) >> 3) & ~3; }

struct Expected {
    SurfaceFormat format;
    int32_t bits, stride;
    uint32_t topDown;
};

// What the table says a conversion leaves, and its bytes by the reference
// forms of `tier`. `flip` is the row-order flag the conversion receives.
Expected Convert(Tier tier, SurfaceFormat from, SurfaceFormat to, int32_t w, int32_t h,
                 std::vector<uint8_t> src, int32_t srcStride, uint32_t flip,
                 std::vector<uint8_t>* out, int32_t outStride = 0) {
    Expected e{};
    const bool toPlanar = to == SURFACE_FORMAT_YUV420;
    switch (to) {
        case SURFACE_FORMAT_RGB24: e = {to, 24, Rgb24Stride(w), 0}; break;
        case SURFACE_FORMAT_RGB32: e = {to, 32, 4 * w, 0}; break;
        case SURFACE_FORMAT_YUV420: e = {to, 12, w, 1}; break;
        default: e = {to, 16, 2 * w, 1}; break;
    }
    if (outStride == 0) outStride = e.stride;
    const size_t outBytes = toPlanar ? size_t(outStride) * h * 3 / 2 : size_t(outStride) * h;
    if (out->size() < outBytes) out->resize(outBytes, 0);
    const tarn::ref::Mem dst{out, 0, ptrdiff_t(out->size())};
    const tarn::ref::Mem in{&src, 0, ptrdiff_t(src.size())};
    const int32_t rowOrder = flip ? h : -h;  // all but planar to RGB: negative when flip is 0
    const auto planes = [&](int32_t stride, bool halfCount) {
        const ptrdiff_t first = ptrdiff_t(stride) * h;
        const ptrdiff_t gap = halfCount ? ptrdiff_t(stride / 2) * h / 2 : ptrdiff_t(stride) * h / 4;
        return tarn::ref::PlanarSrc{0, first + gap, first, stride, stride / 2};
    };
    const int fromBpp = from == SURFACE_FORMAT_RGB24 ? 3 : 4, toBpp = to == SURFACE_FORMAT_RGB24 ? 3 : 4;
    if (tarn::IsRgbFormat(from) && tarn::IsRgbFormat(to)) {
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x)
                for (int c = 0; c < toBpp; ++c)
                    (*out)[size_t(y) * outStride + size_t(x) * toBpp + c] =
                        c == 3 ? 0 : src[size_t(y) * srcStride + size_t(x) * fromBpp + c];
    } else if (tarn::IsRgbFormat(from) && toPlanar) {
        tarn::ref::RgbToPlanar(fromBpp, dst, planes(outStride, false), in, 0, srcStride, w, rowOrder);
    } else if (tarn::IsRgbFormat(from)) {
        tarn::ref::RgbToYuy2(tier == Tier::Sse2 ? Tier::Sse2 : Tier::Plain, fromBpp, dst, 0, outStride,
                             in, 0, srcStride, w, rowOrder);
    } else if (from == SURFACE_FORMAT_YUV420 && tarn::IsRgbFormat(to)) {
        const int32_t signedH = flip ? -h : h;  // the opposite rule
        if (toBpp == 3 && tier == Tier::Sse2)
            tarn::ref::PlanarToRgb24Rows(dst, 0, outStride, in, planes(srcStride, true), w, signedH);
        else
            tarn::ref::PlanarToRgbSmooth(toBpp == 3 ? Tier::Plain : tier, toBpp, dst, 0, outStride, in,
                                         planes(srcStride, true), w, signedH);
    } else if (from == SURFACE_FORMAT_YUV420) {
        tarn::ref::PlanarToYuy2(tier, dst, 0, outStride, in, planes(srcStride, false), w, h);
    } else if (tarn::IsRgbFormat(to)) {
        tarn::ref::Yuy2ToRgb(tier, toBpp, dst, 0, outStride, in, 0, srcStride, w, rowOrder);
    } else {
        tarn::ref::Yuy2ToPlanar(tier, dst, planes(outStride, false), in, 0, srcStride, w, h);
    }
    return e;
}

struct TierChoice {
    uint32_t features;
    Tier tier;
};
constexpr TierChoice kTiers[] = {{0, Tier::Plain}, {tarn::kCpuMmx, Tier::Mmx},
                                 {tarn::kCpuSse2 | tarn::kCpuMmx, Tier::Sse2}};

struct Pair {
    SurfaceFormat from, to;
};
constexpr Pair kPairs[] = {
    {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_RGB32},  {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_YUV420},
    {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_YUV422}, {SURFACE_FORMAT_RGB32, SURFACE_FORMAT_RGB24},
    {SURFACE_FORMAT_RGB32, SURFACE_FORMAT_YUV420}, {SURFACE_FORMAT_RGB32, SURFACE_FORMAT_YUV422},
    {SURFACE_FORMAT_YUV420, SURFACE_FORMAT_RGB24}, {SURFACE_FORMAT_YUV420, SURFACE_FORMAT_RGB32},
    {SURFACE_FORMAT_YUV420, SURFACE_FORMAT_YUV422}, {SURFACE_FORMAT_YUV422, SURFACE_FORMAT_RGB24},
    {SURFACE_FORMAT_YUV422, SURFACE_FORMAT_RGB32}, {SURFACE_FORMAT_YUV422, SURFACE_FORMAT_YUV420},
};

bool AlwaysUpright(const Pair& p) { return tarn::IsRgbFormat(p.from) && tarn::IsRgbFormat(p.to); }

TEST(SetFormat, EveryPairOfTheTableInEveryTier) {
    uint32_t seed = 1;
    for (const TierChoice& t : kTiers) {
        tarn::ScopedKernelChoice choice(t.features, tarn::HostSimdForm());
        for (const Pair& p : kPairs) {
            for (uint32_t topDown : {0u, 1u}) {
                for (int32_t w : {20, 36}) {
                    SCOPED_TRACE(testing::Message() << "pair " << p.from << "->" << p.to << " tier " << int(t.tier)
                                                    << " topDown " << topDown << " width " << w);
                    const int32_t h = 8;
                    const SurfaceInfo info = Describe(p.from, w, h, topDown);
                    const auto bytes = Random(BytesOf(info), ++seed);
                    Ref<ITarnSurface> s = host::FromData(info, bytes);
                    const uint32_t stored = InfoOf(s.get()).topDown;  // planar is always 1
                    std::vector<uint8_t> want;
                    const Expected e = Convert(t.tier, p.from, p.to, w, h, bytes, info.stride,
                                               AlwaysUpright(p) ? 1 : stored, &want);
                    ASSERT_EQ(s->SetFormat(p.to), VED_S_OK);
                    ASSERT_EQ(s->Flush(), VED_S_OK);
                    const SurfaceInfo after = InfoOf(s.get());
                    EXPECT_EQ(after.format, e.format);
                    EXPECT_EQ(after.bitsPerPixel, e.bits);
                    EXPECT_EQ(after.stride, e.stride);
                    EXPECT_EQ(after.topDown, e.topDown);
                    EXPECT_EQ(after.width, uint32_t(w));
                    const auto miss = std::mismatch(want.begin(), want.end(), PixelsOf(s.get()));
                    ASSERT_TRUE(miss.first == want.end()) << "first difference at byte " << (miss.first - want.begin());
                }
            }
        }
    }
}

// A caller's stride shorter than a row of the new format would make the rows
// overlap: refused, with nothing written.
TEST(SetFormat, CopyOutRefusesAStrideShorterThanANewRow) {
    for (const Pair& p : kPairs) {
        const int32_t w = 20, h = 6;
        const SurfaceInfo info = Describe(p.from, w, h, 0);
        Ref<ITarnSurface> s = host::FromData(info, Random(BytesOf(info), 5));
        const int32_t row = p.to == SURFACE_FORMAT_YUV420 ? w : w * host::BitsOf(p.to) / 8;
        std::vector<uint8_t> out(size_t(row) * h * 2, 0xEE);
        ASSERT_EQ(s->SetFormat(p.to), VED_S_OK);
        EXPECT_EQ(s->CopyOut(out.data(), row - 1, 1), VED_E_INVALIDARG) << p.from << "->" << p.to;
        EXPECT_EQ(std::count(out.begin(), out.end(), 0xEE), ptrdiff_t(out.size()));
    }
}

TEST(SetFormat, CopyOutWritesTheLastConversionIntoTheCallersBuffer) {
    uint32_t seed = 77;
    for (const Pair& p : kPairs) {
        for (uint32_t callerTopDown : {0u, 1u}) {
            const int32_t w = 20, h = 6;
            const SurfaceInfo info = Describe(p.from, w, h, 0);
            const auto bytes = Random(BytesOf(info), ++seed);
            Ref<ITarnSurface> s = host::FromData(info, bytes);
            const SurfaceInfo before = InfoOf(s.get());
            std::vector<uint8_t> want;
            const uint32_t flip = AlwaysUpright(p) ? 1 : (before.topDown != callerTopDown ? 1 : 0);
            const Expected e = Convert(Tier::Sse2, p.from, p.to, w, h, bytes, info.stride, flip, &want,
                                       0);
            // A wider stride than the table's: the caller's rows carry padding.
            std::vector<uint8_t> wantWide;
            Convert(Tier::Sse2, p.from, p.to, w, h, bytes, info.stride, flip, &wantWide, e.stride + 8);
            std::vector<uint8_t> out(wantWide.size(), 0);
            ASSERT_EQ(s->SetFormat(p.to), VED_S_OK);
            ASSERT_EQ(s->CopyOut(out.data(), e.stride + 8, callerTopDown), VED_S_OK);
            EXPECT_EQ(out, wantWide) << p.from << "->" << p.to << " topDown " << callerTopDown;
            const SurfaceInfo after = InfoOf(s.get());
            EXPECT_EQ(after.format, before.format);
            EXPECT_EQ(after.stride, before.stride);
            Ref<ITarnSurface> mask;
            s->GetMask(mask.put());
            EXPECT_FALSE(mask) << "direct output makes no mask";
        }
    }
}

TEST(SetFormat, FailureAnswersLeaveTheSurfaceAsItWas) {
    struct Case {
        SurfaceFormat from;
        int32_t to;
    };
    const Case cases[] = {
        {SURFACE_FORMAT_GRAY8, SURFACE_FORMAT_RGB32}, {SURFACE_FORMAT_GRAY8, SURFACE_FORMAT_YUV420},
        {SURFACE_FORMAT_RGB32, SURFACE_FORMAT_GRAY8}, {SURFACE_FORMAT_YUV420, SURFACE_FORMAT_GRAY8},
        {SURFACE_FORMAT_RGB24, 99},                   {SURFACE_FORMAT_YUV422, SURFACE_FORMAT_YUV420_SWAPPED},
        {SURFACE_FORMAT_RGB32, SURFACE_FORMAT_YUV420_SWAPPED},
    };
    for (const Case& c : cases) {
        Ref<ITarnSurface> s = host::Blank(Describe(c.from, 8, 8));
        const SurfaceInfo before = InfoOf(s.get());
        ASSERT_EQ(s->SetFormat(SurfaceFormat(c.to)), VED_S_OK);  // queued, not yet run
        EXPECT_EQ(s->Flush(), VED_E_NOTSUPPORTED) << c.from << "->" << c.to;
        const SurfaceInfo after = InfoOf(s.get());
        EXPECT_EQ(after.format, before.format);
        EXPECT_EQ(after.stride, before.stride);
    }
}

TEST(SetFormat, ThePresentFormatIsANoOpAndCopyOutDeliversAPlainCopy) {
    const SurfaceInfo info = Describe(SURFACE_FORMAT_RGB24, 8, 4, 1);
    const auto bytes = Random(BytesOf(info), 5);
    Ref<ITarnSurface> s = host::FromData(info, bytes);
    ASSERT_EQ(s->SetFormat(SURFACE_FORMAT_RGB24), VED_S_OK);
    std::vector<uint8_t> out(bytes.size());
    ASSERT_EQ(s->CopyOut(out.data(), info.stride, 1), VED_S_OK);
    EXPECT_EQ(out, bytes);
    ASSERT_EQ(s->SetFormat(SURFACE_FORMAT_RGB24), VED_S_OK);
    EXPECT_EQ(s->Flush(), VED_S_OK);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), PixelsOf(s.get())));
}

// 101 x 75 to planar: an RGB picture is trimmed to even sizes, a packed one
// is not; planar rows are as wide as the picture.
TEST(SetFormat, OddSizesTrimOnlyOnTheWayFromRgbToPlanar) {
    for (const auto& [from, w, h] : {std::tuple{SURFACE_FORMAT_RGB24, 100u, 74u}, {SURFACE_FORMAT_YUV422, 101u, 75u}}) {
        Ref<ITarnSurface> s = host::Blank(Describe(from, 101, 75));
        ASSERT_EQ(s->SetFormat(SURFACE_FORMAT_YUV420), VED_S_OK);
        ASSERT_EQ(s->Flush(), VED_S_OK);
        const SurfaceInfo after = InfoOf(s.get());
        EXPECT_EQ(after.format, SURFACE_FORMAT_YUV420);
        EXPECT_EQ(after.width, w);
        EXPECT_EQ(after.height, h);
        EXPECT_EQ(after.stride, int32_t(w));
    }
}

TEST(SetFormat, CopyOutOfAnOddRgbSurfaceToPlanarConvertsAtTheOddSize) {
    // The trimming resize writes the caller's buffer under direct output and
    // leaves the surface alone; the conversion then writes over it at 21 x 9.
    const int32_t w = 21, h = 9, stride = 64;
    Ref<ITarnSurface> s = host::Blank(Describe(SURFACE_FORMAT_RGB24, w, h, 0));
    const SurfaceInfo before = InfoOf(s.get());
    uint8_t* px = PixelsOf(s.get());
    const auto bytes = Random(BytesOf(before), 31);
    std::copy(bytes.begin(), bytes.end(), px);
    std::vector<uint8_t> out(size_t(stride) * h * 3 / 2, 0);
    ASSERT_EQ(s->SetFormat(SURFACE_FORMAT_YUV420), VED_S_OK);
    ASSERT_EQ(s->CopyOut(out.data(), stride, 1), VED_S_OK);
    const SurfaceInfo after = InfoOf(s.get());
    EXPECT_EQ(after.format, SURFACE_FORMAT_RGB24);
    EXPECT_EQ(after.width, uint32_t(w));
    // Every byte the conversion writes is the reference's: applying the
    // reference over the result changes nothing (flip: topDown 0 against 1).
    std::vector<uint8_t> again = out;
    const std::vector<uint8_t> src(px, px + BytesOf(before));
    Convert(Tier::Sse2, SURFACE_FORMAT_RGB24, SURFACE_FORMAT_YUV420, w, h, src, before.stride, 1, &again,
            stride);
    EXPECT_EQ(out, again);
}

// 255 - alpha, with the rows reversed: the 32-bit source is taken as bottom-up.
TEST(SetFormat, AlphaOfRgb32SurvivesAsTheMask) {
    for (SurfaceFormat to : {SURFACE_FORMAT_YUV420, SURFACE_FORMAT_YUV422, SURFACE_FORMAT_RGB24}) {
        const int32_t w = 8, h = 6;
        const SurfaceInfo info = Describe(SURFACE_FORMAT_RGB32, w, h, 1);
        auto bytes = Random(BytesOf(info), 9);
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x) bytes[size_t(y * w + x) * 4 + 3] = uint8_t(y == 0 ? 255 : y == 1 ? 0 : 10 * y + x);
        Ref<ITarnSurface> s = host::FromData(info, bytes);
        ASSERT_EQ(s->SetFormat(to), VED_S_OK);
        ASSERT_EQ(s->Flush(), VED_S_OK);
        Ref<ITarnSurface> mask;
        ASSERT_EQ(s->GetMask(mask.put()), VED_S_OK);
        ASSERT_TRUE(mask);
        const SurfaceInfo m = InfoOf(mask.get());
        EXPECT_EQ(m.format, SURFACE_FORMAT_GRAY8);
        EXPECT_EQ(m.width, uint32_t(w));
        EXPECT_EQ(m.height, uint32_t(h));
        const uint8_t* mp = PixelsOf(mask.get());
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x)
                EXPECT_EQ(mp[y * w + x], 255 - bytes[size_t((h - 1 - y) * w + x) * 4 + 3]) << x << "," << y;
        EXPECT_EQ(mp[(h - 1) * w], 0);    // alpha 255 on stored row 0
        EXPECT_EQ(mp[(h - 2) * w], 255);  // alpha 0 on stored row 1
    }
}

TEST(SetFormat, AnExistingMaskIsKept) {
    Ref<ITarnSurface> s = host::Blank(Describe(SURFACE_FORMAT_RGB32, 8, 4));
    Ref<ITarnSurface> mask = host::Blank(Describe(SURFACE_FORMAT_GRAY8, 8, 4));
    ASSERT_EQ(s->SetMask(mask.get()), VED_S_OK);
    ASSERT_EQ(s->SetFormat(SURFACE_FORMAT_YUV420), VED_S_OK);
    ASSERT_EQ(s->Flush(), VED_S_OK);
    Ref<ITarnSurface> now;
    ASSERT_EQ(s->GetMask(now.put()), VED_S_OK);
    EXPECT_EQ(now.get(), mask.get());
}

TEST(SetFormat, ChromaSwapInPlaceTwiceRestoresAndInDirectOutputSwapsTheCopy) {
    for (const TierChoice& t : kTiers) {
        tarn::ScopedKernelChoice choice(t.features, tarn::HostSimdForm());
        const int32_t w = 40, h = 10;  // chroma planes of 200 bytes: blocks of 16 and a rest
        const SurfaceInfo info = Describe(SURFACE_FORMAT_YUV420, w, h);
        const auto bytes = Random(BytesOf(info), 21);
        Ref<ITarnSurface> s = host::FromData(info, bytes);
        const size_t luma = size_t(w) * h, chroma = luma / 4;
        ASSERT_EQ(s->SetFormat(SURFACE_FORMAT_YUV420_SWAPPED), VED_S_OK);
        ASSERT_EQ(s->Flush(), VED_S_OK);
        const uint8_t* px = PixelsOf(s.get());
        EXPECT_TRUE(std::equal(px, px + luma, bytes.begin()));
        EXPECT_TRUE(std::equal(px + luma, px + luma + chroma, bytes.begin() + luma + chroma));
        EXPECT_TRUE(std::equal(px + luma + chroma, px + luma + 2 * chroma, bytes.begin() + luma));
        EXPECT_EQ(InfoOf(s.get()).format, SURFACE_FORMAT_YUV420);
        ASSERT_EQ(s->SetFormat(SURFACE_FORMAT_YUV420_SWAPPED), VED_S_OK);
        ASSERT_EQ(s->Flush(), VED_S_OK);
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), PixelsOf(s.get())));

        // Direct output: planes copied as blocks, the surface left alone.
        std::vector<uint8_t> out(bytes.size(), 0);
        ASSERT_EQ(s->SetFormat(SURFACE_FORMAT_YUV420_SWAPPED), VED_S_OK);
        ASSERT_EQ(s->CopyOut(out.data(), w, 1), VED_S_OK);
        EXPECT_TRUE(std::equal(out.begin() + luma, out.begin() + luma + chroma, bytes.begin() + luma + chroma));
        EXPECT_TRUE(std::equal(out.begin() + luma + chroma, out.end(), bytes.begin() + luma));
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), PixelsOf(s.get())));
    }
}

TEST(SetFormat, AHostBufferIsNotFreedAndTheNewOneIsOwned) {
    Ref<ITarnSurface> s = host::Blank(Describe(SURFACE_FORMAT_RGB24, 8, 4));
    uint8_t* hostBuffer = PixelsOf(s.get());
    s->SetOwnership(0);
    ASSERT_EQ(s->SetFormat(SURFACE_FORMAT_RGB32), VED_S_OK);
    ASSERT_EQ(s->Flush(), VED_S_OK);
    EXPECT_NE(PixelsOf(s.get()), hostBuffer);
    EXPECT_EQ(static_cast<tarn::CTarnSurfaceBuffer*>(s.get())->ownership, 1u);
    tarn::DeletePixelArray(hostBuffer);  // still ours: the surface let it be
}

}  // namespace
