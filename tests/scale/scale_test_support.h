// Helpers of the scaling tests: small images set by value with a canary
// byte around them, random sources, and the checks that every fast form
// the machine runs gives the plain form's bytes.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "platform/cpu_features.h"
#include "platform/form_table.h"
#include "scale/axis_table.h"
#include "scale/scale.h"

namespace tarn::test {

inline constexpr uint8_t kCanary = 0xA5;

struct Image {
    uint32_t width, height, bytes;
    int32_t stride;
    std::vector<uint8_t> data;  // 64 canary bytes before and after
    Image(uint32_t w, uint32_t h, uint32_t b, int32_t pad = 0)
        : width(w), height(h), bytes(b), stride(int32_t(w * b) + pad), data(size_t(stride) * h + 128, kCanary) {}
    uint8_t* at(uint32_t x, uint32_t y) { return data.data() + 64 + size_t(y) * stride + size_t(x) * bytes; }
    uint8_t* base() { return at(0, 0); }
    // Sets every channel of a pixel to v.
    void Set(uint32_t x, uint32_t y, uint8_t v) {
        for (uint32_t c = 0; c < bytes; ++c) at(x, y)[c] = v;
    }
    void SetRow(uint32_t y, std::vector<uint8_t> values) {
        for (uint32_t x = 0; x < values.size(); ++x) Set(x, y, values[x]);
    }
    bool TailIntact() const {
        for (size_t i = data.size() - 64; i < data.size(); ++i)
            if (data[i] != kCanary) return false;
        for (size_t i = 0; i < 64; ++i)
            if (data[i] != kCanary) return false;
        return true;
    }
};

inline void Scale(Image& dst, Image& src, uint32_t mode, const uint8_t* bg = nullptr) {
    ScaleImage({dst.base(), dst.width, dst.height, dst.stride, dst.bytes},
               {src.base(), src.width, src.height, src.stride, src.bytes},
               {double(src.width) / dst.width, double(src.height) / dst.height}, mode, bg);
}

inline std::vector<uint8_t> RandomBytes(size_t n, std::mt19937& rng) {
    std::vector<uint8_t> v(n);
    for (auto& b : v) b = uint8_t(rng());
    return v;
}

// The parts, each followed by a space: a label for a failure message.
template <class... Parts>
std::string Label(const Parts&... parts) {
    std::ostringstream os;
    ((os << parts << ' '), ...);
    return os.str();
}

// Calls `fn(form)` under the plain form, then under every faster form this
// machine runs.
template <class Fn>
void ForEachForm(Fn fn) {
    for (SimdForm form : {SimdForm::Plain, SimdForm::Sse2, SimdForm::Avx2, SimdForm::Avx512}) {
        if (HostSimdForm() < form) continue;
        ScopedKernelChoice choice(g_cpuFeatures, form);
        fn(form);
    }
}

// Runs `run` (which returns bytes) in every form: each must give the plain
// form's bytes, which it returns.
template <class Run>
auto ExpectFormsAgree(Run run, const std::string& what = {}) {
    decltype(run()) plain;
    ForEachForm([&](SimdForm form) {
        if (form == SimdForm::Plain) plain = run();
        else EXPECT_EQ(run(), plain) << what << " " << FormName(form);
    });
    return plain;
}

// Source and target sizes of a scale.
struct Shape {
    uint32_t sw, sh, dw, dh;
};
inline std::string Describe(const Shape& s) {
    return std::to_string(s.sw) + "x" + std::to_string(s.sh) + "->" + std::to_string(s.dw) + "x" + std::to_string(s.dh);
}

// The column and row tables of the single-channel driver at the usual
// steps, laid out as it lays them out: the column weight bytes followed by
// the column offsets, which the trailing pixels read their weights from.
struct GrayTables {
    std::vector<uint8_t> block;
    std::vector<uint32_t> cols, rowWeights, rows;
    uint32_t cf = 0, cl = 0, rf = 0, rl = 0;
    GrayTables(const Shape& s, int32_t srcStride, AxisFilter columns, AxisFilter rowFilter)
        : block(size_t(s.dw) * 5 + 8), cols(s.dw), rowWeights(s.dh), rows(s.dh) {
        BuildGrayColumnTable(s.dw, s.sw, block.data(), cols.data(), 0.0, double(s.sw) / s.dw, &cf, &cl, columns);
        BuildGrayRowTable(s.dh, s.sh, rowWeights.data(), rows.data(), srcStride, 0.0, double(s.sh) / s.dh, &rf, &rl,
                          rowFilter);
        std::memcpy(block.data() + s.dw, cols.data(), size_t(s.dw) * 4);
    }
};

// Scales the picture at the start of `start` (rows without padding) in one
// block with its target: over the source when `inPlace`, else well after
// it, so that the rows count as apart on every run; the target's bytes.
inline std::vector<uint8_t> ScaleInOneBlock(const std::vector<uint8_t>& start, const Shape& s, uint32_t bytes,
                                            uint32_t mode, bool inPlace) {
    std::vector<uint8_t> block(start.size() * 2 + 4096, 0x33);
    std::copy(start.begin(), start.end(), block.begin());
    uint8_t* dst = inPlace ? block.data() : block.data() + start.size() + 4096;
    ScaleImage({dst, s.dw, s.dh, int32_t(s.dw * bytes), bytes},
               {block.data(), s.sw, s.sh, int32_t(s.sw * bytes), bytes}, {double(s.sw) / s.dw, double(s.sh) / s.dh}, mode, nullptr);
    return std::vector<uint8_t>(dst, dst + start.size());
}

// A whole image through ScaleImage: `sb` bytes a source pixel and `db` a
// target one, rows padded by `srcPad` and `dstPad` bytes, both pictures
// bottom-up when `up` (negative strides, the first row last in memory).
struct WholeImage {
    static constexpr size_t kMargin = 48;
    static constexpr uint8_t kFill = 0x77;
    Shape s;
    uint32_t sb, db;
    int32_t srcPad = 0, dstPad = 0;
    bool up = false;

    int32_t SrcStride() const { return int32_t(s.sw * sb) + srcPad; }
    int32_t DstStride() const { return int32_t(s.dw * db) + dstPad; }
    // Random rows, `extra` bytes more than whole rows (less where negative:
    // -srcPad ends the buffer where the last row's pixels end).
    std::vector<uint8_t> Source(std::mt19937& rng, ptrdiff_t extra = 0) const {
        return RandomBytes(size_t(ptrdiff_t(SrcStride()) * s.sh + extra), rng);
    }
    ScaleSteps Steps() const { return {double(s.sw) / s.dw, double(s.sh) / s.dh}; }
    // The target between kMargin bytes of canary each side, written by
    // `scale(target, source)` from `src` in the form in force.
    template <class Fn>
    std::vector<uint8_t> Run(const std::vector<uint8_t>& src, Fn scale) const {
        const int32_t ss = SrcStride(), ds = DstStride();
        std::vector<uint8_t> out(size_t(ds) * s.dh + 2 * kMargin, kFill);
        uint8_t* dst = out.data() + kMargin + (up ? size_t(ds) * (s.dh - 1) : 0);
        const uint8_t* from = src.data() + (up ? size_t(ss) * (s.sh - 1) : 0);
        scale(ScaleTarget{dst, s.dw, s.dh, up ? -ds : ds, db}, ScaleSource{from, s.sw, s.sh, up ? -ss : ss, sb});
        return out;
    }
    std::vector<uint8_t> Scale(const std::vector<uint8_t>& src, uint32_t mode) const {
        return Run(src, [&](const ScaleTarget& t, const ScaleSource& f) { ScaleImage(t, f, Steps(), mode); });
    }
    std::string What(uint32_t mode) const {
        return "mode " + std::to_string(mode) + " " + std::to_string(sb) + "->" + std::to_string(db) + " bytes " +
               Describe(s) + " pads " + std::to_string(srcPad) + "," + std::to_string(dstPad) + (up ? " up" : "");
    }
    // Every form gives the plain target, whose canaries are intact; returns it.
    template <class Fn>
    std::vector<uint8_t> ExpectFormsAgree(const std::vector<uint8_t>& src, Fn scale, const std::string& what) const {
        const auto plain = test::ExpectFormsAgree([&] { return Run(src, scale); }, what);
        for (size_t i = 0; i < kMargin; ++i) {
            EXPECT_EQ(plain[i], kFill) << what << " before the target";
            EXPECT_EQ(plain[plain.size() - 1 - i], kFill) << what << " after the target";
        }
        return plain;
    }
    std::vector<uint8_t> ExpectFormsAgree(const std::vector<uint8_t>& src, uint32_t mode) const {
        return ExpectFormsAgree(
            src, [&](const ScaleTarget& t, const ScaleSource& f) { ScaleImage(t, f, Steps(), mode); }, What(mode));
    }
};

}  // namespace tarn::test
