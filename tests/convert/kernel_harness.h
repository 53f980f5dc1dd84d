// Test harness for the colour kernels: frames in byte vectors with margins,
// run once through the kernel and once through the reference form, compared
// byte for byte including the margins.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "convert/kernel_catalogue.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"
#include "support/colour_reference.h"

namespace tarn::test {

inline constexpr ptrdiff_t kMargin = 96;

inline std::vector<uint8_t> RandomBytes(size_t n, uint32_t seed) {
    std::vector<uint8_t> v(n);
    std::mt19937 gen(seed);
    for (auto& b : v) b = static_cast<uint8_t>(gen());
    return v;
}

// A frame of `bytes` between two margins. Random frames have random margins
// too, so that a kernel that read them would differ from the reference, which
// reads 0 outside; canary frames are 0xCD throughout.
struct Buffer {
    Buffer(size_t bytes, uint32_t seed) : data(bytes + 2 * kMargin), hi(kMargin + ptrdiff_t(bytes)) {
        if (seed == 0) {
            std::fill(data.begin(), data.end(), uint8_t(0xCD));
            return;
        }
        data = RandomBytes(data.size(), seed);
    }
    uint8_t* At(ptrdiff_t offset) { return data.data() + offset; }
    ref::Mem Mem() { return {&data, kMargin, hi}; }
    std::vector<uint8_t> data;
    ptrdiff_t hi;
};

// Every form of the SSE2 tier this machine runs.
inline std::vector<SimdForm> FormsHere() {
    std::vector<SimdForm> forms{SimdForm::Plain};
    if (HostSimdForm() >= SimdForm::Sse2) forms.push_back(SimdForm::Sse2);
    if (HostSimdForm() >= SimdForm::Avx2) forms.push_back(SimdForm::Avx2);
    if (HostSimdForm() >= SimdForm::Avx512) forms.push_back(SimdForm::Avx512);
    return forms;
}

inline const std::vector<int32_t>& AwkwardWidths() {
    static const std::vector<int32_t> widths{1,  2,  3,  7,  8,  9,  14, 15, 16, 17, 23, 24, 25,
                                             31, 32, 33, 40, 41, 47, 48, 49, 63, 64, 65, 72};
    return widths;
}
inline const std::vector<int32_t>& AwkwardHeights() {
    static const std::vector<int32_t> heights{4, 5, 6, 7, 12, -4, -5, -6, -12};
    return heights;
}

inline std::string Case(int32_t w, int32_t h, SimdForm form) {
    return "width " + std::to_string(w) + " height " + std::to_string(h) + " form " + FormName(form);
}

// A planar frame as a surface lays it out: Y, then Cr, then Cb, chroma stride
// half the Y stride.
struct PlanarLayout {
    int32_t yStride, uvStride;
    size_t bytes;
    ref::PlanarSrc planes;  // offsets in the buffer
};
inline PlanarLayout PlanarOf(int32_t width, int32_t rows, int32_t pad) {
    PlanarLayout l;
    l.yStride = width + pad;
    l.uvStride = l.yStride / 2;
    const ptrdiff_t luma = ptrdiff_t(l.yStride) * rows;
    const ptrdiff_t chroma = ptrdiff_t(l.uvStride) * (rows / 2);
    l.bytes = size_t(luma + 2 * chroma);
    l.planes = {kMargin, kMargin + luma + chroma, kMargin + luma, l.yStride, l.uvStride};
    return l;
}

// Puts back the catalogue start-up filled, for tests that fill it for
// forced feature words.
struct CatalogueRestore {
    ~CatalogueRestore() { FillKernelCatalogue(g_cpuFeaturesCache); }
};

// Where a kernel's frames lie: a target and a source of rows (strides
// negative when they are walked from the last row up) and a planar frame.
struct EntryFrames {
    uint8_t* dst;
    int32_t dstStride;
    uint8_t* src;
    int32_t srcStride;
    uint8_t *y, *u, *v;
    int32_t yStride, uvStride;
};

// Calls any entry of the catalogue on the frames its kind takes.
inline void RunEntry(const KernelEntry& entry, const EntryFrames& f, int32_t width, int32_t height,
                     int32_t threshold = 100) {
    std::visit(
        [&](auto fn) {
            using Fn = decltype(fn);
            if constexpr (std::is_same_v<Fn, OneToOneEntry> || std::is_same_v<Fn, WritableSourceEntry>)
                fn(f.dst, f.dstStride, f.src, f.srcStride, width, height);
            else if constexpr (std::is_same_v<Fn, PlanarSourceEntry>)
                fn(f.dst, f.dstStride, f.y, f.u, f.v, f.yStride, f.uvStride, width, height);
            else if constexpr (std::is_same_v<Fn, KeyedPlanarSourceEntry>)
                fn(f.dst, f.dstStride, f.y, f.u, f.v, f.yStride, f.uvStride, width, height, threshold);
            else if constexpr (std::is_same_v<Fn, PlanarDestinationEntry>)
                fn(f.y, f.u, f.v, f.yStride, f.uvStride, f.src, f.srcStride, width, height);
        },
        entry);
}

}  // namespace tarn::test
