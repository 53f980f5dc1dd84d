// Linear and cubic warp kernels for 8-bit samples in pixel order: the cubic
// weight table, the choice of row by pixel shape and form, and the stepping
// of rows and spans that both kernels share.
#include "ipl/warp_interp.h"

#include <cmath>
#include <iterator>

#include "ipl/warp_fixed.h"
#include "ipl/warp_kernels.h"
#include "ipl/warp_nearest.h"
#include "platform/form_table.h"

namespace tarn {

namespace {

struct WeightTable {
    int32_t entry[kCubicSteps + 1];
    WeightTable() {
        // The Lagrange basis through 0, 1, 2, 3 for the first two points.
        // No entry lies near a half, so how ties round plays no part.
        for (int32_t i = 0; i <= kCubicSteps; ++i) {
            const double t = i / 512.0;
            const double w0 = -(t - 1) * (t - 2) * (t - 3) / 6, w1 = t * (t - 2) * (t - 3) / 2;
            const int32_t lo = int32_t(std::lround(w0 * kWeightOne)), hi = int32_t(std::lround(w1 * kWeightOne));
            entry[i] = int32_t(uint32_t(hi) << 16 | (uint32_t(lo) & 0xFFFF));
        }
    }
};

#if defined(TARN_HAVE_X86_SIMD)
// The AVX2 row where there is one, else the plain row.
InterpRowFn PickRow(InterpRowFn plain, InterpRowFn avx2) {
    if (!avx2) return plain;
    const FormEntry<InterpRowFn> forms[] = {{SimdForm::Avx2, avx2}, {SimdForm::Plain, plain}};
    return PickForm(forms);
}
#endif

InterpPixel ShapeOf(int32_t src, int32_t dst, int32_t n) {
    // The shapes of the nearest rows, in the same order.
    for (int i = 0; i < int(std::size(kPixelShapes)); ++i)
        if (kPixelShapes[i].src == src && kPixelShapes[i].dst == dst && kPixelShapes[i].count == n)
            return InterpPixel(i);
    return InterpPixel::General;
}

enum class Window { Linear, Cubic };

template <Window K>
InterpRowFn PlainRow(InterpPixel pixel) {
    if constexpr (K == Window::Linear) {
        static constexpr InterpRowFn kRows[] = {LinearRowPlain<1, 1, 1>, LinearRowPlain<3, 3, 3>,
                                                LinearRowPlain<4, 4, 4>, LinearRowPlain<4, 4, 3>,
                                                LinearRowPlain<0, 0, 0>};
        return kRows[int(pixel)];
    } else {
        static constexpr InterpRowFn kRows[] = {CubicRowPlain<1, 1, 1>, CubicRowPlain<3, 3, 3>,
                                                CubicRowPlain<4, 4, 4>, CubicRowPlain<4, 4, 3>,
                                                CubicRowPlain<0, 0, 0>};
        return kRows[int(pixel)];
    }
}

template <Window K>
void WarpInterp8(const WarpKernelArgs& k) {
    FixedSteps steps(k.inverse, k.firstRow, 0);
    const InterpPixel shape = ShapeOf(k.src.imageChannels, k.dst.imageChannels, k.src.channels);
    const intptr_t srcBytes = SourceSpanBytes(k.src);
    const intptr_t dstBytes = intptr_t(k.dst.height) * k.dst.rowBytes;
    const bool fast = srcBytes < INT32_MAX - 64 &&
                      RangesApart(k.srcBase - k.src.coiIndex, srcBytes,
                                  k.dstRow - intptr_t(k.firstRow) * k.dst.rowBytes - k.dst.coiIndex, dstBytes);
    const InterpRowFn plain = PlainRow<K>(shape);
    InterpRowFn rowFn = plain;
    if (fast) rowFn = K == Window::Linear ? PickLinearRow(shape) : PickCubicRow(shape);

    uint8_t* dstRow = k.dstRow;
    for (int32_t row = k.firstRow; row <= k.lastRow; ++row, steps.NextRow(), dstRow += k.dst.rowBytes) {
        const int32_t i = row - k.firstRow;
        const int32_t left = k.spanLeft[i], count = k.spanRight[i] - left + 1;
        if (count <= 0) continue;
        rowFn({dstRow + intptr_t(left) * k.dst.imageChannels, k.srcBase, int32_t(k.src.rowBytes), k.src.width,
               k.src.height, steps.rowX + steps.stepXx * uint32_t(left), steps.rowY + steps.stepYx * uint32_t(left),
               steps.stepXx, steps.stepYx, count, k.src.imageChannels, k.dst.imageChannels, k.src.channels});
    }
}

}  // namespace

const int32_t* CubicWeights() {
    static const WeightTable table;
    return table.entry;
}

InterpRowFn PickLinearRow(InterpPixel pixel) {
#if defined(TARN_HAVE_X86_SIMD)
    return PickRow(PlainRow<Window::Linear>(pixel), LinearRowAvx2(pixel));
#else
    return PlainRow<Window::Linear>(pixel);
#endif
}

InterpRowFn PickCubicRow(InterpPixel pixel) {
#if defined(TARN_HAVE_X86_SIMD)
    return PickRow(PlainRow<Window::Cubic>(pixel), CubicRowAvx2(pixel));
#else
    return PlainRow<Window::Cubic>(pixel);
#endif
}

void WarpLinear8(const WarpKernelArgs& k) { WarpInterp8<Window::Linear>(k); }
void WarpCubic8(const WarpKernelArgs& k) { WarpInterp8<Window::Cubic>(k); }

}  // namespace tarn
