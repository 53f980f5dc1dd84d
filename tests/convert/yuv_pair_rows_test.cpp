// The row forms that make both rows of a row pair in one pass, in every form
// this machine runs, against the smoothing and colour formulas worked here
// pixel by pixel: the luma shared between the rows or not, streaming stores
// or not, the two output rows on one 64- or 32-byte phase or on two, aligned or not,
// lengths around every step size, and the bytes around each output row
// untouched.
#include <gtest/gtest.h>

#include <vector>

#include "convert/conversion_kernels.h"
#include "convert/yuv_rows.h"
#include "kernel_harness.h"

namespace tarn::test {
namespace {

constexpr size_t kPairCounts[] = {1, 7, 8, 15, 16, 17, 31, 32, 33, 47, 48, 63, 64, 65, 66, 100, 127, 128, 134, 961};
constexpr uint8_t kCanary = 0xCD;
constexpr size_t kPad = 64;

// Source rows of random bytes: six luma rows of 2n and three rows of each
// chroma plane of n.
struct PairSource {
    PairSource(size_t pairs, uint32_t seed) {
        for (auto& r : luma) r = RandomBytes(2 * pairs, ++seed);
        for (auto& r : u) r = RandomBytes(pairs, ++seed);
        for (auto& r : v) r = RandomBytes(pairs, ++seed);
    }
    std::vector<uint8_t> luma[6], u[3], v[3];
};

// Where each output row starts past a 64-byte boundary.
struct Skews {
    size_t row[2];
};

// Two output rows with canaries around, each at its offset from 64-byte
// alignment.
struct PairOutput {
    PairOutput(size_t rowBytes, Skews misalign) : bytes(rowBytes), skew(misalign) {
        for (auto& r : rows) r.assign(rowBytes + 2 * kPad + 64, kCanary);
    }
    uint8_t* Row(int i) {
        uint8_t* p = rows[i].data() + kPad;
        while ((reinterpret_cast<uintptr_t>(p) & 63) != 0) ++p;
        return p + skew.row[i];
    }
    // Whether every byte outside the row is still the canary.
    bool CanariesIntact(int i) {
        const uint8_t* start = Row(i);
        for (size_t k = 0; k < rows[i].size(); ++k) {
            const uint8_t* p = rows[i].data() + k;
            if ((p < start || p >= start + bytes) && *p != kCanary) return false;
        }
        return true;
    }
    size_t bytes;
    Skews skew;
    std::vector<uint8_t> rows[2];
};

// The rows of one case: with `shared` the middle of a frame (row 0 from luma
// rows 0-2, row 1 from rows 1-3, overlapping); otherwise two unrelated row
// triples, as at the top and bottom of a frame (here rows 0, 5, 1 and 4, 2,
// 3, each row a different memory block).
RowPair MakePair(const PairSource& s, bool shared, PairOutput& out, bool stream) {
    const auto rows3 = [&](int a, int b, int c) {
        return Rows3{s.luma[a].data(), s.luma[b].data(), s.luma[c].data()};
    };
    RowPair p{{out.Row(0), out.Row(1)},
              {shared ? rows3(0, 2, 1) : rows3(0, 5, 1), shared ? rows3(1, 3, 2) : rows3(4, 2, 3)},
              {s.u[0].data(), s.u[2].data(), s.u[1].data()},
              {s.v[0].data(), s.v[2].data(), s.v[1].data()}};
    p.stream = stream;
    return p;
}

int SmoothAt(const Rows3& r, size_t i) { return ref::S(r.a[i], r.b[i], r.c[i]); }

// Rows on one 64-byte phase (aligned, 16, 32 or 48 past it as 16-byte
// aligned buffers often are, or not 16-byte aligned at all), rows on one
// 32-byte phase but two 64-byte ones, and rows on two 32-byte phases.
constexpr Skews kSkews[] = {{{0, 0}},  {{16, 16}}, {{32, 32}}, {{48, 48}}, {{1, 1}},
                            {{8, 8}},  {{0, 32}},  {{16, 48}}, {{0, 16}},  {{16, 8}}};

// Every combination of form, shape, streaming and alignment for one output
// kind; `check` compares the two rows with the formulas.
template <class Run, class Check>
void ForEachCase(size_t bytesPerPair, Run run, Check check) {
    uint32_t seed = 40;
    for (SimdForm form : FormsHere())
        for (size_t pairs : kPairCounts)
            for (bool shared : {true, false})
                for (bool stream : {false, true})
                    for (const Skews& skew : kSkews) {
                        const PairSource src(pairs, ++seed);
                        PairOutput out(pairs * bytesPerPair, skew);
                        const RowPair p = MakePair(src, shared, out, stream);
                        {
                            ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, form);
                            run(ActiveYuvRows(), p, pairs);
                        }
                        const std::string where = Case(int32_t(2 * pairs), 2, form) + (shared ? " shared" : "") +
                                                  (stream ? " streamed" : "") + " skews " + std::to_string(skew.row[0]) +
                                                  " " + std::to_string(skew.row[1]);
                        for (int r = 0; r < 2; ++r) {
                            check(p, r, pairs, where);
                            ASSERT_TRUE(out.CanariesIntact(r)) << where << " row " << r;
                        }
                    }
}

TEST(YuvPairRows, PackedRowsAreTheSmoothedLumaAndChroma) {
    ForEachCase(
        4, [](const YuvRowForms& f, const RowPair& p, size_t pairs) { f.smoothPairToYuy2(p, pairs); f.endStreams(); },
        [](const RowPair& p, int r, size_t pairs, const std::string& where) {
            for (size_t i = 0; i < pairs; ++i) {
                const uint8_t* q = p.out[r] + 4 * i;
                const int want[4] = {SmoothAt(p.y[r], 2 * i), SmoothAt(p.u, i), SmoothAt(p.y[r], 2 * i + 1),
                                     SmoothAt(p.v, i)};
                for (int k = 0; k < 4; ++k) ASSERT_EQ(q[k], want[k]) << where << " row " << r << " pair " << i;
            }
        });
}

TEST(YuvPairRows, BgraRowsAreTheVectorFormOfTheSmoothedSamples) {
    // The BGRA form takes whole groups of 16 pixels: 8 pairs.
    ForEachCase(
        8,
        [](const YuvRowForms& f, const RowPair& p, size_t pairs) {
            f.smoothPairToBgra(p, (2 * pairs) & ~size_t(15));
            f.endStreams();
        },
        [](const RowPair& p, int r, size_t pairs, const std::string& where) {
            const size_t pixels = (2 * pairs) & ~size_t(15);
            for (size_t x = 0; x < 2 * pairs; ++x) {
                const uint8_t* q = p.out[r] + 4 * x;
                if (x >= pixels) {  // beyond the groups: left as it was
                    for (int k = 0; k < 4; ++k) ASSERT_EQ(q[k], kCanary) << where << " pixel " << x;
                    continue;
                }
                const ref::Rgb c = ref::Vector(SmoothAt(p.y[r], x), SmoothAt(p.u, x / 2), SmoothAt(p.v, x / 2));
                const int want[4] = {c.b, c.g, c.r, 0};
                for (int k = 0; k < 4; ++k) ASSERT_EQ(q[k], want[k]) << where << " row " << r << " pixel " << x;
            }
        });
}

TEST(YuvPairRows, FramesLargeEnoughToStreamGiveThePlainFormsBytes) {
    // 1040 x 1040: 16-byte aligned rows, 4.3 MB of 32-bit and 2.2 MB of
    // packed output, both past the streaming size; upright and mirrored.
    using Kernel = void (*)(uint8_t*, int32_t, const uint8_t*, const uint8_t*, const uint8_t*, int32_t, int32_t,
                            int32_t, int32_t);
    const int32_t w = 1040;
    const struct {
        Kernel kernel;
        int32_t bpp;
    } cases[] = {{ConvPlanarToRgb32SmoothSse2Tier, 4}, {ConvPlanarToYuy2SmoothSse2Tier, 2}};
    for (const auto& c : cases) {
        ASSERT_GE(size_t(w) * w * size_t(c.bpp), kStreamedFrameBytes);
        for (int32_t h : {w, -w}) {
            const PlanarLayout l = PlanarOf(w, w, 0);
            const Buffer src(l.bytes, 77);
            std::vector<uint8_t> want;
            for (SimdForm form : FormsHere()) {
                Buffer s = src, dst(size_t(w) * w * size_t(c.bpp), 0);
                {
                    ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, form);
                    c.kernel(dst.At(kMargin), w * c.bpp, s.At(l.planes.y), s.At(l.planes.u), s.At(l.planes.v),
                             l.yStride, l.uvStride, w, h);
                }
                if (form == SimdForm::Plain)
                    want = dst.data;
                else
                    ASSERT_EQ(dst.data, want) << "output bytes " << c.bpp << " " << Case(w, h, form);
            }
        }
    }
}

}  // namespace
}  // namespace tarn::test
