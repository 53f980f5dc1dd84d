// The sharpening path in every form this machine runs, against a reference
// written here the simple way (the whole plane blurred into a float plane,
// then into bytes, then the mask over a copy): planes narrower and shorter
// than the blur's taps, widths that end inside a vector step, padded and
// upside-down rows with canaries around the plane, planes whose differences
// stay within the dead band (nothing changes) or reach one side only; rows
// ending at every offset after the horizontal pass's wide steps, and planes
// of every width around the blocks of rows dealt four ways; the two-row and
// banded vertical passes, the extremes over several rows, and the passes
// over dealt rows against the plain forms; and the mask's divisions for
// every pixel pair and every divisor, over rows of every length.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "platform/cpu_features.h"
#include "platform/form_table.h"
#include "scale/sharpen.h"

namespace tarn {
namespace {

constexpr SimdForm kForms[] = {SimdForm::Plain, SimdForm::Sse2, SimdForm::Avx2, SimdForm::Avx512};

// The blur of a tight plane, both passes over whole planes, each tap inside
// the plane added in order and the kept taps' sum divided out.
std::vector<uint8_t> ReferenceBlur(const std::vector<uint8_t>& in, int32_t w, int32_t h, double sigma = 1.5) {
    float* k = nullptr;
    int32_t n = 0;
    MakeGaussianKernel(sigma, &k, &n);
    const int32_t r = n / 2;
    std::vector<float> across(in.size());
    std::vector<uint8_t> out(in.size());
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            float sum = 0, weight = 0;
            for (int32_t i = 0; i < n; ++i)
                if (x + i - r >= 0 && x + i - r < w) {
                    sum += float(in[size_t(y) * w + x + i - r]) * k[i];
                    weight += k[i];
                }
            across[size_t(y) * w + x] = sum / weight;
        }
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            float sum = 0, weight = 0;
            for (int32_t i = 0; i < n; ++i)
                if (y + i - r >= 0 && y + i - r < h) {
                    sum += across[size_t(y + i - r) * w + x] * k[i];
                    weight += k[i];
                }
            out[size_t(y) * w + x] = uint8_t(int32_t(float(int32_t(sum) & 255) / weight));
        }
    delete[] k;
    return out;
}

// The mask of one pixel, with the plain integer divisions.
uint8_t ReferenceMask(int32_t a, int32_t b, int32_t high, int32_t low) {
    const int32_t d = a - b;
    int32_t v = a;
    if (d > 0 && high > 0) v = a + (255 - a) * d / high;
    if (d < 0 && low < 0) v = a - a * d / low;
    return uint8_t(std::clamp(v, 0, 255));
}

std::vector<uint8_t> ReferenceSharpen(const std::vector<uint8_t>& a, int32_t w, int32_t h) {
    const std::vector<uint8_t> b = ReferenceBlur(a, w, h);
    int32_t largest = a[0] - b[0], smallest = largest;
    for (size_t i = 0; i < a.size(); ++i) {
        largest = std::max(largest, a[i] - b[i]);
        smallest = std::min(smallest, a[i] - b[i]);
    }
    std::vector<uint8_t> out(a.size());
    for (size_t i = 0; i < a.size(); ++i) out[i] = ReferenceMask(a[i], b[i], largest - 30, smallest + 30);
    return out;
}

TEST(SharpenForms, PlanesMatchTheWholePlaneReference) {
    struct Size {
        int32_t w, h;
    };
    const Size sizes[] = {{1, 1},   {3, 2},   {8, 9},    {9, 8},    {17, 17},  {25, 4},   {33, 21},
                          {40, 11}, {64, 40}, {101, 13}, {203, 19}, {333, 26}, {47, 61}, {130, 43}, {5, 40}};
    constexpr int32_t kPad = 5, kGuard = 32;
    constexpr uint8_t kCanary = 0xA5;
    std::mt19937 rng(51);
    // Random bytes, a flat plane, a gentle ramp (differences inside the dead
    // band), and dark noise on one bright spot (one side only).
    for (int kind = 0; kind < 4; ++kind)
        for (const Size& s : sizes) {
            std::vector<uint8_t> tight(size_t(s.w) * s.h);
            for (size_t i = 0; i < tight.size(); ++i) {
                const int32_t x = int32_t(i % s.w), y = int32_t(i / s.w);
                tight[i] = kind == 0 ? uint8_t(rng())
                           : kind == 1 ? 77
                           : kind == 2 ? uint8_t(x + y)
                                       : uint8_t((x == s.w / 2 && y == s.h / 2) ? 250 : rng() % 8);
            }
            const std::vector<uint8_t> expected = ReferenceSharpen(tight, s.w, s.h);
            const std::vector<uint8_t> blurred = ReferenceBlur(tight, s.w, s.h);
            if (kind == 1) {
                EXPECT_EQ(expected, tight) << "a flat plane stays";
            }
            for (SimdForm f : kForms) {
                if (HostSimdForm() < f) continue;
                ScopedKernelChoice choice(g_cpuFeatures, f);
                std::vector<uint8_t> blur(tight.size());
                GaussianBlurPlane(tight.data(), s.w, s.h, 1.5, blur.data());
                EXPECT_EQ(blur, blurred) << "kind " << kind << " " << s.w << "x" << s.h << " " << FormName(f);
                // Padded rows, top down and bottom up, inside canaries.
                const int32_t stride = s.w + kPad;
                for (const bool up : {false, true}) {
                    std::vector<uint8_t> buf(size_t(stride) * s.h + 2 * kGuard, kCanary);
                    uint8_t* top = buf.data() + kGuard;
                    auto rowAt = [&](int32_t y) { return top + size_t(up ? s.h - 1 - y : y) * stride; };
                    for (int32_t y = 0; y < s.h; ++y) std::copy_n(tight.data() + size_t(y) * s.w, s.w, rowAt(y));
                    SharpenPlane(rowAt(0), s.w, s.h, up ? -stride : stride);
                    bool same = true, canaries = true;
                    for (int32_t y = 0; y < s.h; ++y)
                        same = same && std::equal(rowAt(y), rowAt(y) + s.w, expected.data() + size_t(y) * s.w);
                    for (size_t i = 0; i < buf.size(); ++i) {
                        const size_t at = i - kGuard;
                        const bool inside = i >= size_t(kGuard) && at < size_t(stride) * s.h &&
                                            int32_t(at % stride) < s.w;
                        canaries = canaries && (inside || buf[i] == kCanary);
                    }
                    EXPECT_TRUE(same) << "kind " << kind << " " << s.w << "x" << s.h << " up " << up << " "
                                      << FormName(f);
                    EXPECT_TRUE(canaries) << s.w << "x" << s.h << " up " << up << " " << FormName(f);
                }
            }
        }
}

TEST(SharpenForms, BlursOfOtherWidthsMatchTheReference) {
    // Kernels of 3, 7 and 19 taps, whose loops are not the sharpen's.
    std::mt19937 rng(7);
    for (const double sigma : {0.5, 1.0, 3.0})
        for (const int32_t w : {2, 23, 57, 150})
            for (const int32_t h : {1, 12, 31}) {
                std::vector<uint8_t> in(size_t(w) * h);
                for (uint8_t& v : in) v = uint8_t(rng());
                const std::vector<uint8_t> expected = ReferenceBlur(in, w, h, sigma);
                for (SimdForm f : kForms) {
                    if (HostSimdForm() < f) continue;
                    ScopedKernelChoice choice(g_cpuFeatures, f);
                    std::vector<uint8_t> out(in.size());
                    GaussianBlurPlane(in.data(), w, h, sigma, out.data());
                    EXPECT_EQ(out, expected) << sigma << " " << w << "x" << h << " " << FormName(f);
                }
            }
}

TEST(SharpenForms, RowsEndingAtEveryOffsetAfterTheWideStepsMatchTheReference) {
    // The horizontal pass makes what its wide steps leave of a row's
    // interior with one more step drawn back over pixels already made, and
    // the pixels near either end from a table of their weights: every width
    // from just below one AVX2 step to past two AVX-512 steps, so that the
    // leftover takes every length in each form, for the sharpen's nine taps
    // and for seven.
    std::mt19937 rng(15);
    for (const double sigma : {1.5, 1.0})
        for (int32_t w = 60; w <= 280; ++w) {
            std::vector<uint8_t> in(size_t(w) * 3);
            for (uint8_t& v : in) v = uint8_t(rng());
            const std::vector<uint8_t> expected = ReferenceBlur(in, w, 3, sigma);
            for (SimdForm f : kForms) {
                if (HostSimdForm() < f) continue;
                ScopedKernelChoice choice(g_cpuFeatures, f);
                std::vector<uint8_t> out(in.size());
                GaussianBlurPlane(in.data(), w, 3, sigma, out.data());
                EXPECT_EQ(out, expected) << sigma << " width " << w << " " << FormName(f);
            }
        }
}

TEST(SharpenForms, RowPairsMatchTwoSingleRows) {
    // Two output rows from one read of n + 1 rows against the plain one-row
    // pass over each window, for widths around each form's steps and weights
    // that keep wholes or divide, with a canary after each output row.
    constexpr uint8_t kCanary = 0x5A;
    std::mt19937 rng(24);
    for (const double sigma : {1.5, 3.0}) {
        float* k = nullptr;
        int32_t n = 0;
        MakeGaussianKernel(sigma, &k, &n);
        for (const int32_t w : {1, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 100, 257}) {
            std::vector<std::vector<float>> ring(size_t(n) + 1, std::vector<float>(static_cast<size_t>(w)));
            for (auto& row : ring)
                for (float& v : row) v = float(rng() % 25600) / 100.0f;
            std::vector<const float*> rows;
            for (const auto& row : ring) rows.push_back(row.data());
            for (const float weight : {1.0f, 0.75f}) {
                const BlurColumnTaps taps{rows.data(), k, n, weight, weight == 1.0f};
                BlurColumnTaps below = taps;
                ++below.rows;
                std::vector<uint8_t> upper(static_cast<size_t>(w)), lower(static_cast<size_t>(w));
                BlurVerticalPlain(taps, w, upper.data());
                BlurVerticalPlain(below, w, lower.data());
                for (SimdForm f : kForms) {
                    if (HostSimdForm() < f) continue;
                    ScopedKernelChoice choice(g_cpuFeatures, f);
                    std::vector<uint8_t> out(2 * (size_t(w) + 1), kCanary);
                    PickSharpenForms().verticalPair(taps, w, out.data(), out.data() + w + 1);
                    const std::string at = std::to_string(n) + " taps, width " + std::to_string(w) + ", weight " +
                                           std::to_string(weight) + " " + FormName(f);
                    EXPECT_TRUE(std::equal(upper.begin(), upper.end(), out.begin())) << at;
                    EXPECT_TRUE(std::equal(lower.begin(), lower.end(), out.begin() + w + 1)) << at;
                    EXPECT_EQ(out[size_t(w)], kCanary) << at;
                    EXPECT_EQ(out.back(), kCanary) << at;
                }
            }
        }
        delete[] k;
    }
}

TEST(SharpenForms, RowBandsMatchSingleRows) {
    // A band of rows from one read of its rows, in the forms that have
    // bands, against the plain one-row pass over each row's nine: widths
    // below, at and around a register and ones whose last register is drawn
    // back, weights that keep wholes or divide, and a canary on either side.
    constexpr uint8_t kCanary = 0xC3;
    constexpr int32_t kRows = kSharpenBandRows;
    std::mt19937 rng(26);
    float* k = nullptr;
    int32_t n = 0;
    MakeGaussianKernel(1.5, &k, &n);
    ASSERT_EQ(n, 9);
    for (const int32_t w : {1, 5, 15, 16, 17, 31, 32, 33, 47, 100, 250}) {
        std::vector<std::vector<float>> ring(size_t(kRows + n - 1), std::vector<float>(static_cast<size_t>(w)));
        for (auto& row : ring)
            for (float& v : row) v = float(rng() % 25600) / 100.0f;
        std::vector<const float*> rows;
        for (const auto& row : ring) rows.push_back(row.data());
        for (const float weight : {0x1.fffffep-1f, 0.75f}) {
            const BlurColumnTaps taps{rows.data(), k, n, weight, weight != 0.75f};
            std::vector<uint8_t> expected(size_t(kRows) * w);
            for (int32_t i = 0; i < kRows; ++i) {
                BlurColumnTaps one = taps;
                one.rows += i;
                BlurVerticalPlain(one, w, expected.data() + size_t(i) * w);
            }
            for (SimdForm f : kForms) {
                if (HostSimdForm() < f) continue;
                ScopedKernelChoice choice(g_cpuFeatures, f);
                const SharpenForms forms = PickSharpenForms();
                if (forms.verticalBand == nullptr) continue;
                std::vector<uint8_t> out(expected.size() + 2, kCanary);
                forms.verticalBand(taps, w, out.data() + 1);
                const std::string at = "width " + std::to_string(w) + ", weight " + std::to_string(weight) + " " +
                                       FormName(f);
                EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out.begin() + 1)) << at;
                EXPECT_EQ(out.front(), kCanary) << at;
                EXPECT_EQ(out.back(), kCanary) << at;
            }
        }
    }
    delete[] k;
}

TEST(SharpenForms, ExtremesMatchThePlainForm) {
    // Rows where a rises above b only, falls below it only, both, or never
    // leaves it, by as little as 1 and as much as 255, over widths around
    // each form's steps, one row or three at once (a's rows padded with
    // bytes that would widen the extremes if read), starting from no
    // extremes yet and from ones that already reach further.
    std::mt19937 rng(33);
    for (int kind = 0; kind < 6; ++kind)
        for (const int32_t w : {1, 15, 16, 17, 31, 32, 33, 63, 64, 65, 100, 127, 128, 129, 1000})
            for (const int32_t rows : {1, 3}) {
                const int32_t aStride = w + 3;
                std::vector<uint8_t> a(size_t(aStride) * rows, 255), b(size_t(w) * rows);
                int32_t most = INT_MIN, least = INT_MAX;
                for (int32_t y = 0; y < rows; ++y)
                    for (int32_t x = 0; x < w; ++x) {
                        const uint8_t u = uint8_t(rng()), v = uint8_t(rng());
                        const uint8_t hi = std::max(u, v), lo = std::min(u, v);
                        uint8_t& av = a[size_t(y) * aStride + x];
                        uint8_t& bv = b[size_t(y) * w + x];
                        switch (kind) {
                            case 0: av = u, bv = v; break;
                            case 1: av = hi, bv = lo; break;
                            case 2: av = lo, bv = hi; break;
                            case 3: av = bv = u; break;
                            case 4: av = 254, bv = x == w / 2 && y == rows - 1 ? 0 : 254; break;
                            default: av = uint8_t((x + y) % 2), bv = uint8_t(1 - (x + y) % 2); break;
                        }
                        most = std::max(most, av - bv);
                        least = std::min(least, av - bv);
                    }
                for (const auto& [from, to] : {std::pair{INT_MIN, INT_MAX}, std::pair{300, -300}, std::pair{0, 0}}) {
                    const int32_t largest = std::max(from, most), smallest = std::min(to, least);
                    for (SimdForm f : kForms) {
                        if (HostSimdForm() < f) continue;
                        ScopedKernelChoice choice(g_cpuFeatures, f);
                        int32_t l = from, s = to;
                        PickSharpenForms().extremes(a.data(), aStride, b.data(), w, w, rows, &l, &s);
                        const std::string at = "kind " + std::to_string(kind) + " width " + std::to_string(w) +
                                               " rows " + std::to_string(rows) + " " + FormName(f);
                        EXPECT_EQ(l, largest) << at;
                        EXPECT_EQ(s, smallest) << at;
                    }
                }
            }
}

TEST(SharpenForms, DividingByOneLessTwoToTheMinus24RoundsToTheNextFloatUp) {
    // The fast forms' stand-in for a division by that sum of taps (the sum
    // of the sharpen's), over every float of three whole binades: the
    // smallest normal ones and those around the sums of the blur.
    const float whole = 0x1.fffffep-1f;
    for (const float low : {0x1p-126f, 1.0f, 128.0f}) {
        int64_t wrong = 0;
        for (float s = low; s < 2 * low; s = std::nextafter(s, 1e30f))
            wrong += s / whole != std::nextafter(s, 1e30f);
        EXPECT_EQ(wrong, 0) << low;
    }
}

TEST(SharpenForms, MaskAgreesForEveryPixelPairAndDivisor) {
    // Every (a, b) pair in one row, under every divisor on each side and with
    // either side or both switched off.
    std::vector<uint8_t> a(256 * 256 + 7), b(a.size());
    for (size_t i = 0; i < a.size(); ++i) a[i] = uint8_t(i >> 8), b[i] = uint8_t(i * 7 + 3);
    for (size_t i = 0; i < 256 * 256; ++i) b[i] = uint8_t(i);
    std::vector<std::pair<int32_t, int32_t>> sides = {{0, 0}, {-4, 3}, {9, 0}, {0, -9}};
    for (int32_t d = 1; d <= 225; ++d) sides.push_back({d, -(226 - d)});
    std::vector<uint8_t> expected(a.size());
    for (SimdForm f : kForms) {
        if (HostSimdForm() < f) continue;
        ScopedKernelChoice choice(g_cpuFeatures, f);
        const SharpenForms forms = PickSharpenForms();
        for (const auto& [high, low] : sides) {
            for (size_t i = 0; i < a.size(); ++i) expected[i] = ReferenceMask(a[i], b[i], high, low);
            std::vector<uint8_t> row = a;
            row.push_back(0xA5);
            forms.apply(row.data(), b.data(), int32_t(a.size()), high, low);
            ASSERT_EQ(row.back(), 0xA5);
            row.pop_back();
            ASSERT_EQ(row, expected) << "high " << high << " low " << low << " " << FormName(f);
        }
    }
}

TEST(SharpenForms, MaskRowsOfEveryLengthMatchTheReference) {
    // The mask goes a register of bytes at a time, then half a register in
    // words, then a pixel at a time: every width up to past two AVX-512
    // registers, so that each form ends in each of its steps, with a canary
    // after the row, under divisors that leave one side off, the smallest
    // and the largest.
    std::mt19937 rng(41);
    std::vector<uint8_t> a(160), b(a.size());
    for (size_t i = 0; i < a.size(); ++i) a[i] = uint8_t(rng()), b[i] = uint8_t(rng());
    const std::pair<int32_t, int32_t> sides[] = {{1, -1}, {225, -225}, {37, 0}, {0, -113}, {-2, -6}};
    for (SimdForm f : kForms) {
        if (HostSimdForm() < f) continue;
        ScopedKernelChoice choice(g_cpuFeatures, f);
        const SharpenForms forms = PickSharpenForms();
        for (const auto& [high, low] : sides)
            for (int32_t w = 1; w <= 150; ++w) {
                std::vector<uint8_t> row(a.begin(), a.begin() + w);
                row.push_back(0x3C);
                forms.apply(row.data(), b.data(), w, high, low);
                bool same = true;
                for (int32_t x = 0; x < w; ++x) same = same && row[size_t(x)] == ReferenceMask(a[x], b[x], high, low);
                EXPECT_TRUE(same) << "width " << w << " high " << high << " low " << low << " " << FormName(f);
                EXPECT_EQ(row.back(), 0x3C) << "width " << w << " " << FormName(f);
            }
    }
}

TEST(SharpenForms, DealtOrderDealsEachBlockFourWays) {
    // Pixel 4j + q of a block at 16q + j of it: every position of the
    // padded row taken once, and the block's pixels kept within it.
    for (const int32_t w : {1, 63, 64, 65, 200}) {
        const int32_t span = DealtSpan(w);
        ASSERT_EQ(span % kDealtBlock, 0);
        ASSERT_GE(span, w);
        ASSERT_LT(span - w, kDealtBlock);
        std::vector<int> seen(static_cast<size_t>(span));
        for (int32_t x = 0; x < span; ++x) {
            const int32_t at = DealtAt(x), in = x % 64;
            ASSERT_EQ(at, x - in + 16 * (in % 4) + in / 4) << x;
            ++seen[size_t(at)];
        }
        EXPECT_EQ(std::count(seen.begin(), seen.end(), 1), span) << w;
    }
}

TEST(SharpenForms, DealtPassesMatchThePlainFormsInOrder) {
    // The forms with dealt rows against the plain passes, put in dealt order
    // by position: the horizontal pass for every width up to past three
    // blocks (ends inside the first block, straddling two, or at a block's
    // end), the extremes and the mask over a dealt blur row, with a canary
    // after each row.
    float* k = nullptr;
    int32_t n = 0;
    MakeGaussianKernel(1.5, &k, &n);
    // The sharpen deals its rows for its kernel's nine symmetric taps.
    ASSERT_EQ(n, 9);
    for (int32_t t = 0; t < 4; ++t) ASSERT_EQ(k[t], k[8 - t]) << t;
    std::mt19937 rng(64);
    for (SimdForm f : kForms) {
        if (HostSimdForm() < f) continue;
        ScopedKernelChoice choice(g_cpuFeatures, f);
        const SharpenForms forms = PickSharpenForms();
        if (forms.horizontalDealt == nullptr) continue;
        for (int32_t w = 1; w <= 200; ++w) {
            const int32_t span = DealtSpan(w);
            std::vector<uint8_t> a(static_cast<size_t>(w)), bInOrder(a.size()), bDealt(static_cast<size_t>(span), 0x77);
            for (size_t i = 0; i < a.size(); ++i) a[i] = uint8_t(rng()), bInOrder[i] = uint8_t(rng());
            if (w % 3 == 0) std::fill(a.begin(), a.end(), uint8_t(9));
            for (int32_t x = 0; x < w; ++x) bDealt[size_t(DealtAt(x))] = bInOrder[size_t(x)];
            const std::string at = "width " + std::to_string(w) + " " + FormName(f);

            std::vector<float> weights(static_cast<size_t>(w)), plain(static_cast<size_t>(w));
            BlurRowTaps taps = MakeBlurRowTaps(k, n, w, weights.data());
            std::vector<float> dealtWeights(static_cast<size_t>(span));
            for (int32_t x = 0; x < span; ++x) {
                const bool inside = x >= 4 && x < w - 4;
                dealtWeights[size_t(DealtAt(x))] = x >= w ? 1.0f : inside ? taps.whole : weights[size_t(x)];
            }
            taps.dealtWeights = dealtWeights.data();
            BlurHorizontalPlain(a.data(), w, taps, nullptr, plain.data());
            std::vector<float> out(size_t(span) + 1, -1.0f);
            forms.horizontalDealt(a.data(), w, taps, out.data());
            bool same = true;
            for (int32_t x = 0; x < w; ++x) same = same && out[size_t(DealtAt(x))] == plain[size_t(x)];
            EXPECT_TRUE(same) << at;
            EXPECT_EQ(out.back(), -1.0f) << at;

            // Two rows: the second one's blur row the first one's moved
            // along by one pixel, in order.
            std::vector<uint8_t> a2(a), b2(bInOrder), b2Dealt(bDealt);
            a2.insert(a2.end(), a.begin(), a.end());
            std::rotate(b2.begin(), b2.begin() + 1, b2.end());
            b2Dealt.resize(2 * size_t(span), 0x11);
            for (int32_t x = 0; x < w; ++x) b2Dealt[size_t(span + DealtAt(x))] = b2[size_t(x)];
            b2.insert(b2.begin(), bInOrder.begin(), bInOrder.end());
            int32_t largest = INT_MIN, smallest = INT_MAX, l = INT_MIN, sm = INT_MAX;
            SharpenExtremesPlain(a2.data(), w, b2.data(), w, w, 2, &largest, &smallest);
            forms.extremesDealt(a2.data(), w, b2Dealt.data(), span, w, 2, &l, &sm);
            EXPECT_EQ(l, largest) << at;
            EXPECT_EQ(sm, smallest) << at;

            std::vector<uint8_t> expected = a, row = a;
            row.push_back(0x3C);
            ApplySharpenPlain(expected.data(), bInOrder.data(), w, 20, -50);
            forms.applyDealt(row.data(), bDealt.data(), w, 20, -50);
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), row.begin())) << at;
            EXPECT_EQ(row.back(), 0x3C) << at;
        }
    }
    delete[] k;
}

TEST(SharpenForms, PlanesOfEveryWidthAroundTheBlocksMatchTheReference) {
    // Whole sharpens of planes tall enough for a band of rows, at every
    // width from inside the first dealt block to past the third.
    std::mt19937 rng(65);
    for (int32_t w = 1; w <= 200; w += (w < 60 ? 7 : 1)) {
        const int32_t h = 21;
        std::vector<uint8_t> tight(size_t(w) * h);
        for (uint8_t& v : tight) v = uint8_t(rng() % 64 + (rng() % 5 == 0 ? 160 : 0));
        const std::vector<uint8_t> expected = ReferenceSharpen(tight, w, h);
        for (SimdForm f : kForms) {
            if (HostSimdForm() < f) continue;
            ScopedKernelChoice choice(g_cpuFeatures, f);
            std::vector<uint8_t> plane = tight;
            SharpenPlane(plane.data(), w, h, w);
            EXPECT_EQ(plane, expected) << "width " << w << " " << FormName(f);
        }
    }
}

}  // namespace
}  // namespace tarn
