// Masked blends: hand-worked pictures of both tiers, and every form of each
// tier against a pixel-by-pixel reference written from the blend formula.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "operations/blend_test_support.h"
#include "operations/compose.h"

namespace tarn {
namespace {

using namespace blend_test;

Bytes Random(size_t n, uint32_t seed) {
    std::mt19937 gen(seed);
    Bytes b(n);
    for (auto& v : b) v = uint8_t(gen());
    return b;
}

// Target and overlay sizes, and the rectangles.
struct Case {
    int tw, th, ow, oh;
    VedRect d, s;
};

// Reference: block by block from the stated coordinates.
void RefPlanar(Bytes& t, int ts, int th, const Bytes& o, int os, int oh, const Bytes& m,
               VedRect d, VedRect s, bool sse2) {
    const int dw = d.right - d.left, dh = d.bottom - d.top;
    const int tu = ts * th, tv = tu + (ts / 2 * th) / 2;
    const int ou = os * oh, ov = ou + (os / 2 * oh) / 2;
    for (int p = 0; p < dh / 2; ++p)
        for (int i = 0; i < dw / 2; ++i) {
            for (int dy = 0; dy < 2; ++dy)
                for (int dx = 0; dx < 2; ++dx) {
                    const int oAt = (s.top + 2 * p + dy) * os + s.left + 2 * i + dx;
                    uint8_t& tt = t[(d.top + 2 * p + dy) * ts + d.left + 2 * i + dx];
                    tt = Mix(o[oAt], tt, m[oAt]);
                }
            const bool lowerLeft = sse2 && i < (dw / 16) * 8;
            const int w = m[(s.top + 2 * p + 1) * os + s.left + 2 * i + (lowerLeft ? 0 : 1)];
            const int tc = ((d.top >> 1) + p) * (ts / 2) + (d.left >> 1) + i;
            const int oc = ((s.top >> 1) + p) * (os / 2) + (s.left >> 1) + i;
            t[tu + tc] = Mix(o[ou + oc], t[tu + tc], w);
            t[tv + tc] = Mix(o[ov + oc], t[tv + tc], w);
        }
}

void RefPacked(Bytes& t, int ts, const Bytes& o, int os, int ow, const Bytes& m, VedRect d,
               VedRect s, bool sse2) {
    const int maskRow0 = sse2 ? s.top : d.top;
    for (int y = 0; y < d.bottom - d.top; ++y)
        for (int x = 0; x < d.right - d.left; ++x) {
            const int w = m[(maskRow0 + y) * ow + s.left + x];
            for (int b = 0; b < 2; ++b) {
                uint8_t& tt = t[(d.top + y) * ts + 2 * (d.left + x) + b];
                tt = Mix(o[(s.top + y) * os + 2 * (s.left + x) + b], tt, w);
            }
        }
}

// A 20-wide rectangle: 8 blocks in the SSE2 main loop and 2 in its tail. The
// mask's lower row is 0 under left pixels and 255 under right ones, so the
// two tiers' chroma weights give 200 and (200 + 255 * 100) >> 8 = 100.
TEST(BlendMaskedPlanar, ChromaWeightOfEachTierByHand) {
    const int w = 20, h = 2;
    for (bool sse2 : {true, false}) {
        Bytes t(w * h * 3 / 2, 100), o(w * h * 3 / 2, 200), m(w * h, 0);
        for (int x = 1; x < w; x += 2) m[w + x] = 255;
        const VedRect r{0, 0, w, h};
        BlendMaskedPlanar(t.data(), o.data(), m.data(), w, h, w, h, &r, &r, sse2);
        for (int x = 0; x < w; ++x) {
            EXPECT_EQ(t[x], 200) << x;
            EXPECT_EQ(t[w + x], x % 2 ? 100 : 200) << x;
        }
        for (int c = 0; c < w / 2; ++c) {
            const int expected = sse2 && c < 8 ? 200 : 100;
            EXPECT_EQ(t[w * h + c], expected) << "sse2 " << sse2 << " c " << c;
            EXPECT_EQ(t[w * h + w / 2 + c], expected) << "sse2 " << sse2 << " c " << c;
        }
    }
}

// Odd width and height: the last column and row stay; fewer than two rows
// paint nothing.
TEST(BlendMaskedPlanar, OnlyWholeBlocks) {
    const int w = 8, h = 8;
    Bytes t(w * h * 3 / 2, 10), o(w * h * 3 / 2, 90), m(w * h, 0);
    const VedRect d{1, 1, 6, 6}, s{0, 0, 5, 5};  // 5 by 5: two block rows and columns
    BlendMaskedPlanar(t.data(), o.data(), m.data(), w, h, w, h, &d, &s, true);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            EXPECT_EQ(t[y * w + x], (x >= 1 && x < 5 && y >= 1 && y < 5) ? 90 : 10) << x << "," << y;
    Bytes t1(w * h * 3 / 2, 10);
    const VedRect thin{0, 0, 8, 1};
    BlendMaskedPlanar(t1.data(), o.data(), m.data(), w, h, w, h, &thin, &thin, true);
    EXPECT_EQ(t1, Bytes(w * h * 3 / 2, 10));
}

// Rows walked with the overlay's stride: a mask of another stride is read as
// if it had the overlay's.
TEST(BlendMaskedPlanar, FormsMatchReferenceOfEachTier) {
    const Case cases[] = {
        {64, 16, 64, 16, {0, 0, 64, 16}, {0, 0, 64, 16}},
        {80, 20, 48, 18, {3, 1, 46, 18}, {5, 1, 48, 18}},   // odd offsets, 43 wide
        {96, 12, 96, 12, {2, 2, 18, 10}, {1, 3, 17, 11}},   // one group exactly
        {96, 12, 96, 12, {0, 0, 15, 9}, {0, 0, 15, 9}},     // tail only
        {128, 8, 128, 8, {1, 0, 98, 8}, {0, 0, 97, 8}},     // odd group count for AVX2
        {4, 4, 4, 4, {0, 0, 4, 4}, {0, 0, 4, 4}},
    };
    uint32_t seed = 1;
    for (const Case& c : cases)
        for (bool sse2 : {true, false}) {
            const Bytes o = Random(c.ow * c.oh * 3 / 2, ++seed), m = Random(c.ow * c.oh, ++seed);
            const Bytes t0 = Random(c.tw * c.th * 3 / 2, ++seed);
            Bytes expected = t0;
            RefPlanar(expected, c.tw, c.th, o, c.ow, c.oh, m, c.d, c.s, sse2);
            ForEachHostForm([&](SimdForm form) {
                Bytes t = t0;
                BlendMaskedPlanar(t.data(), o.data(), m.data(), c.tw, c.th, c.ow, c.oh, &c.d, &c.s,
                                  sse2);
                EXPECT_EQ(FirstDiff(t, expected), -1) << FormName(form) << " sse2 " << sse2 << " width "
                                       << c.d.right - c.d.left;
            });
        }
}

// The mask's first row: S.top with SSE2, D.top without. Mask row r holds
// r * 60, overlay 255, target 0: a row blended with weight w gives 255 - w
// rounded down as (256 - w) * 255 >> 8.
TEST(BlendMaskedPacked, MaskRowOfEachTierByHand) {
    const int w = 4, h = 4;
    Bytes o(2 * w * h, 255), m(w * h);
    for (int r = 0; r < h; ++r)
        for (int x = 0; x < w; ++x) m[r * w + x] = uint8_t(r * 60);
    const VedRect d{0, 2, 4, 3}, s{0, 0, 4, 1};  // one row, target row 2
    for (bool sse2 : {true, false}) {
        Bytes t(2 * w * h, 0);
        BlendMaskedPacked(t.data(), o.data(), m.data(), 2 * w, 2 * w, w, &d, &s, sse2);
        // SSE2: mask row 0, weight 0 -> 255. Plain: row 2, weight 120 -> 136 * 255 >> 8 = 135.
        for (int b = 0; b < 2 * w; ++b) EXPECT_EQ(t[2 * 2 * w + b], sse2 ? 255 : 135) << b;
        EXPECT_EQ(t[0], 0);
    }
}

TEST(BlendMaskedPacked, FormsMatchReferenceOfEachTier) {
    const Case cases[] = {
        {64, 8, 64, 8, {0, 0, 64, 8}, {0, 0, 64, 8}},
        {40, 10, 30, 12, {1, 2, 26, 9}, {3, 1, 28, 8}},  // 25 wide, odd offsets
        {40, 10, 40, 10, {0, 0, 7, 3}, {1, 1, 8, 4}},    // below one group
        {64, 6, 64, 6, {0, 1, 33, 5}, {0, 0, 33, 4}},    // 16 + 16 + 1
    };
    uint32_t seed = 100;
    for (const Case& c : cases)
        for (bool sse2 : {true, false}) {
            const int ts = 2 * c.tw + 6, os = 2 * c.ow + 2;  // strides with padding
            const Bytes o = Random(os * c.oh, ++seed), m = Random(c.ow * (c.th + c.oh), ++seed);
            const Bytes t0 = Random(ts * c.th, ++seed);
            Bytes expected = t0;
            RefPacked(expected, ts, o, os, c.ow, m, c.d, c.s, sse2);
            ForEachHostForm([&](SimdForm form) {
                Bytes t = t0;
                BlendMaskedPacked(t.data(), o.data(), m.data(), ts, os, c.ow, &c.d, &c.s, sse2);
                EXPECT_EQ(FirstDiff(t, expected), -1) << FormName(form) << " sse2 " << sse2;
            });
        }
}

// All 256 weights through every form, every overlay value against one target.
TEST(BlendMaskedPacked, AllWeights) {
    const int w = 256, h = 2;
    Bytes o(2 * w * h), m(w * h), t0(2 * w * h);
    for (int i = 0; i < 2 * w * h; ++i) {
        o[i] = uint8_t(i * 7);
        t0[i] = uint8_t(255 - i * 3);
    }
    for (int i = 0; i < w * h; ++i) m[i] = uint8_t(i);
    const VedRect r{0, 0, w, h};
    ForEachHostForm([&](SimdForm form) {
        Bytes t = t0;
        BlendMaskedPacked(t.data(), o.data(), m.data(), 2 * w, 2 * w, w, &r, &r, true);
        for (int y = 0; y < h; ++y)
            for (int i = 0; i < 2 * w; ++i) {
                const int at = y * 2 * w + i;
                ASSERT_EQ(t[at], Mix(o[at], t0[at], m[y * w + i / 2])) << FormName(form) << " " << at;
            }
    });
}

}  // namespace
}  // namespace tarn
