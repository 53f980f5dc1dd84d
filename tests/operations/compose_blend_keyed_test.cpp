// Keyed blend: key samples by hand, alpha 0 and 128 and the key worked by
// hand, and every form against a reference of each tier. (The queue's double
// blend and carry-over, worked by hand, are checked end to end by Flatten.)
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "operations/blend_test_support.h"
#include "operations/compose.h"

namespace tarn {
namespace {

using namespace blend_test;

// A YUV420 picture in one buffer: Y, then two planes of (w / 2) by (h / 2).
struct Picture {
    int w, h;
    Bytes b;
    Picture(int width, int height, uint8_t fill) : w(width), h(height), b(width * height * 3 / 2, fill) {}
    int U(int x, int y) const { return w * h + y * (w / 2) + x; }
    int V(int x, int y) const { return w * h + w * h / 4 + y * (w / 2) + x; }
    PlanarPlanes Planes() {
        return {b.data(), b.data() + w * h, b.data() + w * h + w * h / 4, w, w / 2};
    }
};

// Overlay Y at (ox, oy) and chroma at (ocx, ocy) all equal the key.
bool Keyed(const Picture& o, int ox, int oy, int ocx, int ocy, KeySamples k) {
    return o.b[oy * o.w + ox] == k.y && o.b[o.U(ocx, ocy)] == k.first &&
           o.b[o.V(ocx, ocy)] == k.second;
}

// Reference of both tiers: pixels not keyed are queued as indices into the
// buffers, and a full queue of `batch` Y samples (with a chroma pair for
// every two) is read in one go, then written. The tier without SSE2 is a
// queue of one; with SSE2 eight, and what is left at a row's end is blended
// pixel by pixel, each pixel blending its chroma again.
void RefBlend(Picture& t, const Picture& o, VedRect d, VedRect s, int a, KeySamples k, int batch) {
    int yt[8], yo[8], ct[2][4], co[2][4];
    int n = 0;
    const auto blend = [&](int i, const Bytes& from) {
        t.b[yt[i]] = Mix(o.b[yo[i]], from[yt[i]], a);
        for (int c = 0; c < 2; ++c) t.b[ct[c][i / 2]] = Mix(o.b[co[c][i / 2]], from[ct[c][i / 2]], a);
    };
    for (int y = 0; y < d.bottom - d.top; ++y) {
        for (int x = 0; x < d.right - d.left; ++x) {
            const int ox = s.left + x, oy = s.top + y;
            const int tcx = (d.left >> 1) + (x >> 1), tcy = (d.top >> 1) + (y >> 1);
            const int ocx = (s.left >> 1) + (x >> 1), ocy = (s.top >> 1) + (y >> 1);
            if (Keyed(o, ox, oy, ocx, ocy, k)) continue;
            yt[n] = (d.top + y) * t.w + d.left + x;
            yo[n] = oy * o.w + ox;
            ct[0][n / 2] = t.U(tcx, tcy), ct[1][n / 2] = t.V(tcx, tcy);
            co[0][n / 2] = o.U(ocx, ocy), co[1][n / 2] = o.V(ocx, ocy);
            if (++n < batch) continue;
            const Bytes before = t.b;
            for (int i = 0; i < n; ++i) blend(i, before);
            n = 0;
        }
        for (int i = 0; i < n; ++i) blend(i, t.b);
    }
}

TEST(KeySamples, ByHand) {
    struct Case {
        uint32_t color;
        int y, first, second;
    };
    const Case cases[] = {
        {0xFF000000u, -1, -1, -1},   // no key
        {0x00000000u, 16, 128, 128},
        {0x80000000u, 16, 128, 128},  // another top byte keys as its RGB
        {0x000A141Eu, 34, 134, 122},  // 18.15 + 16; 134.69; 122.19
        {0x00C86432u, 140, 86, 182},  // 124.2 + 16; 86.1; 182.05
        {0x00FFFFFFu, 271, 128, 128},  // luma above 255
        {0x00F0F0F0u, 256, 128, 128},
    };
    for (const Case& c : cases) {
        const KeySamples k = KeySamplesOf(c.color);
        EXPECT_EQ(k.y, c.y) << std::hex << c.color;
        EXPECT_EQ(k.first, c.first) << std::hex << c.color;
        EXPECT_EQ(k.second, c.second) << std::hex << c.color;
    }
}

// Alpha 0 copies the overlay whatever the number of chroma blends; alpha 128
// gives (o + t) >> 1 for a pixel blended once.
TEST(BlendKeyed, AlphaZeroAndHalf) {
    std::mt19937 gen(5);
    for (bool sse2 : {true, false}) {
        Picture t(32, 8, 0), o(32, 8, 0);
        for (auto& v : o.b) v = uint8_t(gen());
        for (auto& v : t.b) v = uint8_t(gen());
        const VedRect r{0, 0, 32, 8};
        Picture copy = t;
        BlendKeyed(copy.Planes(), o.Planes(), r, r, 0, KeySamplesOf(0xFF000000u), sse2);
        EXPECT_EQ(copy.b, o.b);
        // 32 pixels a row: the queue never carries over, every Y once.
        Picture half = t;
        BlendKeyed(half.Planes(), o.Planes(), r, r, 128, KeySamplesOf(0xFF000000u), sse2);
        for (int i = 0; i < 32 * 8; ++i) ASSERT_EQ(half.b[i], (o.b[i] + t.b[i]) >> 1) << i;
    }
}

// A key of (16, 128, 128) against an overlay that holds it on its left half:
// those pixels stay; a key above 255 never matches.
TEST(BlendKeyed, KeyMatchesOnlyWhereAllThreeSamplesDo) {
    for (bool sse2 : {true, false}) {
        Picture t(16, 4, 50), o(16, 4, 128);
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 16; ++x) o.b[y * 16 + x] = x < 8 ? 16 : 17;
        const VedRect r{0, 0, 16, 4};
        Picture keyed = t;
        BlendKeyed(keyed.Planes(), o.Planes(), r, r, 0, KeySamplesOf(0x00000000u), sse2);
        for (int x = 0; x < 16; ++x) EXPECT_EQ(keyed.b[x], x < 8 ? 50 : 17) << x;
        Picture never = t;
        BlendKeyed(never.Planes(), o.Planes(), r, r, 0, KeySamplesOf(0x00FFFFFFu), sse2);
        EXPECT_EQ(never.b, o.b);
    }
}

// Random pictures with a key that matches in patches, every form of each tier.
TEST(BlendKeyed, FormsMatchReferenceOfEachTier) {
    struct Case {
        int tw, th, ow, oh;
        VedRect d, s;
        int alpha;
    };
    const Case cases[] = {
        {64, 16, 64, 16, {0, 0, 64, 16}, {0, 0, 64, 16}, 77},
        {64, 16, 48, 14, {3, 1, 44, 14}, {5, 1, 46, 14}, 128},  // 41 wide: carry-over
        {32, 12, 32, 12, {1, 2, 8, 11}, {2, 1, 9, 10}, 200},
        {96, 8, 96, 8, {0, 0, 90, 7}, {6, 1, 96, 8}, 255},
        {16, 16, 16, 16, {0, 0, 1, 16}, {0, 0, 1, 16}, 64},  // one pixel a row
        {16, 8, 16, 8, {0, 0, 2, 8}, {0, 0, 2, 8}, 128},  // repeated chroma in a batch
        {128, 6, 128, 6, {0, 0, 128, 6}, {0, 0, 128, 6}, 1},
        {128, 6, 128, 6, {1, 0, 120, 6}, {0, 0, 119, 6}, 0},
    };
    const KeySamples key{40, 100, 150};
    std::mt19937 gen(9);
    for (const Case& c : cases) {
        Picture t0(c.tw, c.th, 0), o(c.ow, c.oh, 0);
        for (auto& v : t0.b) v = uint8_t(gen());
        for (auto& v : o.b) v = uint8_t(gen());
        // Patches of the key: Y and chroma of random 2 by 2 blocks.
        for (int by = 0; by < c.oh / 2; ++by)
            for (int bx = 0; bx < c.ow / 2; ++bx) {
                if (gen() % 3) continue;
                o.b[o.U(bx, by)] = uint8_t(key.first);
                o.b[o.V(bx, by)] = uint8_t(key.second);
                for (int i = 0; i < 4; ++i)
                    if (gen() % 4) o.b[(2 * by + i / 2) * c.ow + 2 * bx + i % 2] = uint8_t(key.y);
            }
        for (bool sse2 : {true, false}) {
            Picture expected = t0;
            RefBlend(expected, o, c.d, c.s, c.alpha, key, sse2 ? 8 : 1);
            ForEachHostForm([&](SimdForm form) {
                Picture t = t0;
                BlendKeyed(t.Planes(), o.Planes(), c.d, c.s, uint32_t(c.alpha), key, sse2);
                EXPECT_EQ(FirstDiff(t.b, expected.b), -1) << FormName(form) << " sse2 " << sse2 << " width "
                                           << c.d.right - c.d.left;
            });
        }
    }
}

}  // namespace
}  // namespace tarn
