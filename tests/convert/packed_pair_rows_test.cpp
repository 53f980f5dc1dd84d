// The row-pair forms of packed to planar and the conversion with a
// destination partly written over afterwards: the chroma-alone forms (one
// pair and two at once), the run of pairs and the row-pair forms against
// the plain row-pair form, and the conversion against the whole one from the written-over
// point on, in every body and form this machine runs.
#include <gtest/gtest.h>

#include <array>

#include "convert/catalogue_kernels.h"
#include "convert/packed_pair_rows.h"
#include "kernel_harness.h"

namespace tarn::test {
namespace {

TEST(PackedChroma, OneBlockWorkedByHand) {
    // F0 = s(a) of byte 1: r(10, 30) = 20, then r(20, 101) = 61; F1 of byte
    // 1: r(r(0, 255), 9) = r(128, 9) = 69; u = r(61, 69) = 65. Byte 3: F0 =
    // r(r(1, 2), 3) = r(2, 3) = 3, F1 = r(r(200, 201), 202) = r(201, 202) =
    // 202, v = r(3, 202) = 103.
    const uint8_t a0[4] = {0, 10, 0, 1}, a1[4] = {0, 30, 0, 2}, ac[4] = {0, 101, 0, 3};
    const uint8_t b0[4] = {0, 0, 0, 200}, b1[4] = {0, 255, 0, 201}, bc[4] = {0, 9, 0, 202};
    uint8_t u = 0, v = 0;
    PackedChromaPlain(&u, &v, Rows3{a0, a1, ac}, Rows3{b0, b1, bc}, 1);
    EXPECT_EQ(u, 65);
    EXPECT_EQ(v, 103);
}

// A row buffer of `n` bytes whose byte `lead` lies `lead` bytes past a
// 64-byte boundary, so that the vector forms' first steps up to their
// boundaries are taken at every length.
struct LeadRow {
    LeadRow(size_t n, size_t lead, uint32_t seed) : bytes(RandomBytes(n + lead + 64, seed)) {
        const size_t off = reinterpret_cast<uintptr_t>(bytes.data()) & 63;
        at = bytes.data() + (64 - off) % 64 + lead;
    }
    std::vector<uint8_t> bytes;
    uint8_t* at;
};

// Rows starting at every alignment the vector forms care about, of every
// length around their blocks of 32 and 64 pairs: the chroma-alone forms
// against the chroma of the plain row-pair form, and each row-pair form
// against the plain one, canaries after each output.
TEST(PackedChroma, EveryFormGivesTheChromaOfTheRowPairForm) {
    std::vector<PackedChromaFn> forms{PackedChromaPlain};
    std::vector<PackedPairFn> pairForms;
#if defined(TARN_HAVE_X86_SIMD)
    if (HostSimdForm() >= SimdForm::Sse2) pairForms.push_back(kYuvRowsSse2.smoothPairFromYuy2);
    if (HostSimdForm() >= SimdForm::Avx2) {
        forms.push_back(PackedChromaAvx2);
        pairForms.push_back(kYuvRowsAvx2.smoothPairFromYuy2);
    }
    if (HostSimdForm() >= SimdForm::Avx512) {
        forms.push_back(PackedChromaAvx512);
        pairForms.push_back(SmoothPairFromYuy2Avx512);
    }
#endif
    uint32_t seed = 7;
    for (size_t lead : {0, 1, 4, 12, 16, 28, 31, 36, 60}) {
        for (size_t pairs = 0; pairs <= 260; pairs += pairs < 140 ? 1 : 37) {
            const size_t n = 4 * pairs + 64;
            std::vector<LeadRow> r;
            for (int i = 0; i < 4; ++i) r.emplace_back(n, lead, ++seed);
            const auto at = [&](int i) { return r[size_t(i)].at; };
            // A middle pair (the rows share centre and neighbour), the first
            // and last pairs (a row given three times) and six rows of their
            // own.
            const Rows3 shapes[][2] = {
                {{at(0), at(2), at(1)}, {at(1), at(3), at(2)}},
                {{at(1), at(1), at(1)}, {at(1), at(3), at(2)}},
                {{at(0), at(2), at(1)}, {at(2), at(2), at(2)}},
                {{at(0), at(1), at(2)}, {at(3), at(2), at(0)}},
            };
            for (const auto& shape : shapes) {
                std::vector<uint8_t> y0(2 * pairs + 1, 0xCD), y1 = y0, u(pairs + 1, 0xCD), v = u;
                kYuvRowsPlain.smoothPairFromYuy2(y0.data(), y1.data(), u.data(), v.data(), shape[0], shape[1], pairs);
                const std::string what = std::to_string(pairs) + " pairs from byte " + std::to_string(lead);
                for (PackedChromaFn form : forms) {
                    std::vector<uint8_t> gu(pairs + 1, 0xCD), gv = gu;
                    form(gu.data(), gv.data(), shape[0], shape[1], pairs);
                    ASSERT_EQ(gu, u) << what;
                    ASSERT_EQ(gv, v) << what;
                }
                for (PackedPairFn form : pairForms) {
                    std::vector<uint8_t> g0(2 * pairs + 1, 0xCD), g1 = g0, gu(pairs + 1, 0xCD), gv = gu;
                    form(g0.data(), g1.data(), gu.data(), gv.data(), shape[0], shape[1], pairs);
                    ASSERT_EQ(g0, y0) << what;
                    ASSERT_EQ(g1, y1) << what;
                    ASSERT_EQ(gu, u) << what;
                    ASSERT_EQ(gv, v) << what;
                }
            }
        }
    }
}

#if defined(TARN_HAVE_X86_SIMD)
// The chroma of two middle row pairs at once, with and without rows 2k and
// 2k + 2 halved across from the same loads, against the plain chroma-alone
// and halving forms pair by pair, at every alignment and around the blocks
// of 32 and 64; and each form halving a row alone against the plain one.
// Canaries follow every output.
TEST(PackedChroma, TwoPairsGiveTheChromaOfEachPair) {
    struct Form {
        SimdForm form;
        void (*two)(const TwoChroma&, const uint8_t* const[6], size_t);
        HalvePackedRowFn halve;
    };
    const Form forms[] = {{SimdForm::Avx2, TwoChromaAvx2, HalvePackedRowAvx2},
                          {SimdForm::Avx512, TwoChromaAvx512, HalvePackedRowAvx512}};
    uint32_t seed = 99;
    for (const Form& form : forms) {
        if (HostSimdForm() < form.form) continue;
        for (size_t lead : {0, 4, 16, 20, 44, 60, 3}) {
            for (size_t pairs : {1, 15, 31, 32, 33, 36, 63, 64, 65, 95, 100, 128, 140, 200}) {
                const size_t n = 4 * pairs + 64;
                std::vector<LeadRow> r;
                const uint8_t* rows[6];
                for (int j = 0; j < 6; ++j) {
                    r.emplace_back(n, lead, ++seed);
                    rows[j] = r.back().at;
                }
                std::vector<uint8_t> want[6], got[6];
                for (int j = 0; j < 4; ++j) want[j].assign(pairs + 1, 0xCD);
                for (int j = 4; j < 6; ++j) want[j].assign(2 * pairs + 1, 0xCD);
                for (int p = 0; p < 2; ++p) {
                    const Rows3 a{rows[2 * p], rows[2 * p + 2], rows[2 * p + 1]};
                    const Rows3 b{rows[2 * p + 1], rows[2 * p + 3], rows[2 * p + 2]};
                    PackedChromaPlain(want[p].data(), want[2 + p].data(), a, b, pairs);
                    HalvePackedRowPlain(want[4 + p].data(), rows[2 * p + 1], pairs);
                }
                const std::string what = std::to_string(pairs) + " pairs from byte " + std::to_string(lead) +
                                         " " + FormName(form.form);
                for (bool halve : {false, true}) {
                    for (int j = 0; j < 6; ++j) got[j].assign(want[j].size(), 0xCD);
                    TwoChroma out{{got[0].data(), got[1].data()}, {got[2].data(), got[3].data()}};
                    if (halve) out.halved[0] = got[4].data(), out.halved[1] = got[5].data();
                    form.two(out, rows, pairs);
                    // Without halving the halved rows are left as they were.
                    const std::vector<uint8_t> untouched(2 * pairs + 1, 0xCD);
                    for (int j = 0; j < 6; ++j)
                        ASSERT_EQ(got[j], j < 4 || halve ? want[j] : untouched) << what << " out " << j;
                }
                std::vector<uint8_t> alone(2 * pairs + 1, 0xCD);
                form.halve(alone.data(), rows[1], pairs);
                ASSERT_EQ(alone, want[4]) << what;
            }
        }
    }
}

// A run of middle row pairs worked one source row at a time, with and
// without halving, read downwards and upwards, from every alignment and
// around the 64-pair steps: each pair's luma, chroma and halved row as the
// plain row-pair and halving forms give them pair by pair. Output rows lie
// a few bytes apart, so every gap is a canary.
TEST(PackedChroma, RunOfPairsGivesEachPairOfThePlainForms) {
    if (HostSimdForm() < SimdForm::Avx512) GTEST_SKIP() << "no AVX-512 here";
    uint32_t seed = 41;
    for (size_t lead : {0, 4, 20, 60, 2}) {
        for (size_t pairs : {1, 15, 16, 63, 64, 65, 100, 130, 200}) {
            for (int32_t count : {1, 2, 5}) {
                const size_t n = 4 * pairs;
                const ptrdiff_t srcStride = ptrdiff_t(n + 36);
                const int32_t rows = 2 * count + 2;
                LeadRow frame(size_t(srcStride) * size_t(rows), lead, ++seed);
                for (bool up : {false, true}) {
                    // Row r of the walk; upwards the walk starts at the last.
                    const ptrdiff_t step = up ? -srcStride : srcStride;
                    const uint8_t* first = frame.at + (up ? srcStride * (rows - 1) : 0);
                    const auto row = [&](int32_t r) { return first + r * step; };
                    // Luma rows 2 x pairs + 3 apart, chroma and halved rows
                    // likewise; all from one canary-filled buffer.
                    const ptrdiff_t yStride = ptrdiff_t(2 * pairs + 3), cStride = ptrdiff_t(pairs + 5),
                                    hStride = ptrdiff_t(2 * pairs + 7);
                    const size_t yBytes = size_t(yStride) * 2 * count, cBytes = size_t(cStride) * count,
                                 hBytes = size_t(hStride) * count;
                    for (bool halve : {false, true}) {
                        std::vector<uint8_t> want(yBytes + 2 * cBytes + hBytes, 0xCD), got = want;
                        const auto place = [&](std::vector<uint8_t>& b) {
                            uint8_t* y = b.data();
                            return std::array<uint8_t*, 4>{y, y + yBytes, y + yBytes + cBytes, y + yBytes + 2 * cBytes};
                        };
                        const auto w = place(want), g = place(got);
                        for (int32_t j = 0; j < count; ++j) {
                            const Rows3 a{row(2 * j), row(2 * j + 2), row(2 * j + 1)};
                            const Rows3 b{row(2 * j + 1), row(2 * j + 3), row(2 * j + 2)};
                            kYuvRowsPlain.smoothPairFromYuy2(w[0] + 2 * j * yStride, w[0] + (2 * j + 1) * yStride,
                                                             w[1] + j * cStride, w[2] + j * cStride, a, b, pairs);
                            if (halve) HalvePackedRowPlain(w[3] + j * hStride, row(2 * j + 1), pairs);
                        }
                        std::vector<uint8_t> work(PairRunWorkBytes(pairs), 0xEE);
                        PairRunAvx512({row(0), step, g[0], yStride, g[1], g[2], cStride, halve ? g[3] : nullptr,
                                       hStride, count, pairs, work.data()});
                        ASSERT_EQ(got, want) << pairs << " pairs from byte " << lead << ", " << count
                                             << " row pairs" << (up ? " upwards" : "") << (halve ? " halved" : "");
                    }
                }
            }
        }
    }
}
#endif

// Each body's conversion with part of its destination written over later:
// from that point on the bytes of the whole conversion, margins included;
// before it, each byte either the whole conversion's or left as it was.
TEST(PackedChroma, ConversionOverWrittenPartMatchesTheWholeFromThere) {
    const TierBody bodies[] = {TierBody::Plain, TierBody::Mmx, TierBody::Sse2, TierBody::Pavg};
    const int32_t widths[] = {2, 3, 17, 33, 64, 65, 97, 130, 144, 160};
    const int32_t heights[] = {4, 5, 9, 12, 16, -6, -13};
    uint32_t seed = 11;
    for (SimdForm form : FormsHere()) {
        ScopedKernelChoice choice(kCpuSse2 | kCpuMmx, form);
        for (int32_t w : widths) {
            for (int32_t h : heights) {
                const int32_t rows = h < 0 ? -h : h;
                const PlanarLayout l = PlanarOf(w, rows, w % 3);
                const int32_t srcStride = 2 * w + 4 * (w % 2);
                Buffer src(size_t(srcStride) * rows, ++seed);
                const uint8_t* s = src.At(kMargin);
                const ptrdiff_t total = ptrdiff_t(l.bytes);
                // Written over from: nothing, inside luma, the chroma's start,
                // inside chroma, everything.
                const ptrdiff_t overs[] = {0, l.yStride * rows / 3 + 1, l.yStride * rows, l.yStride * rows + 5,
                                           total - 1, total + kMargin};
                for (TierBody body : bodies) {
                    for (bool smooth : {true, false}) {
                        Buffer whole(l.bytes, 0);
                        PackedToPlanar(body, smooth, PackedOrder::Yuy2, whole.At(l.planes.y), whole.At(l.planes.u),
                                       whole.At(l.planes.v), l.yStride, l.uvStride, s, srcStride, w, h);
                        for (ptrdiff_t over : overs) {
                            Buffer part(l.bytes, 0);
                            PackedToPlanar(body, smooth, PackedOrder::Yuy2, part.At(l.planes.y), part.At(l.planes.u),
                                           part.At(l.planes.v), l.yStride, l.uvStride, s, srcStride, w, h,
                                           part.At(kMargin + over));
                            const std::string what = Case(w, h, form) + " body " +
                                                     std::to_string(int(body)) + " smooth " +
                                                     std::to_string(smooth) + " over " + std::to_string(over);
                            for (size_t i = 0; i < part.data.size(); ++i) {
                                const bool kept = ptrdiff_t(i) >= kMargin + over;
                                if (kept || part.data[i] != whole.data[i]) {
                                    ASSERT_EQ(part.data[i], kept ? whole.data[i] : uint8_t(0xCD))
                                        << what << " byte " << i;
                                }
                            }
                        }
                    }
                }
            }
        }
    }
}

}  // namespace
}  // namespace tarn::test
