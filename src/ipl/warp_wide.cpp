// Warp kernels for 16-bit samples and 32-bit float samples in pixel order,
// nearest, linear and cubic, and the nearest kernel for 1-bit images.
//
// Nearest steps in 16.16 fixed point as the 8-bit kernel does and copies
// the samples from the last channel to the first. Linear and cubic step the
// source position in doubles, per column and per row as the fixed-point
// kernels do, and take their windows as the 8-bit ones: linear clamps the
// position into the image and moves the window back by one at the last
// column or row; cubic starts its four points one before the position, or
// at the image's first or last four. 16-bit samples are weighted in doubles
// and rounded once, to the nearest (ties to even), and clamped to 0 to
// 65535; float samples are weighted in single precision, linear blending the
// two rows first (top + (bottom - top) fy) and cubic by the Lagrange
// weights of the window.
#include <cmath>
#include <cstring>
#include <type_traits>

#include "ipl/warp_fixed.h"
#include "ipl/warp_kernels.h"

namespace tarn {

namespace {

template <class T>
T Load(const uint8_t* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class T>
void Put(uint8_t* p, T v) {
    std::memcpy(p, &v, sizeof v);
}

// Source sample (x, y) of channel c, from the walk's channel on.
template <class T>
const uint8_t* SampleAt(const WarpKernelArgs& k, int32_t x, int32_t y, int32_t c) {
    return k.srcBase + intptr_t(y) * k.src.rowBytes + (intptr_t(x) * k.src.imageChannels + c) * intptr_t(sizeof(T));
}

// Runs `pixel(target sample pointer of channel 0, source position)` over the
// spans, with the position stepped in 16.16 fixed point (Fixed) or in doubles.
template <bool Fixed, class Pixel>
void WalkSpans(const WarpKernelArgs& k, int32_t sampleBytes, Pixel pixel) {
    const InverseAffine& m = k.inverse;
    FixedSteps steps(m, k.firstRow, 0x8000);
    double rowX = k.firstRow * m.b + m.c, rowY = k.firstRow * m.e + m.f;
    uint8_t* dstRow = k.dstRow;
    const intptr_t dstPixel = intptr_t(k.dst.imageChannels) * sampleBytes;
    for (int32_t row = k.firstRow; row <= k.lastRow; ++row) {
        const int32_t i = row - k.firstRow, left = k.spanLeft[i];
        uint8_t* d = dstRow + intptr_t(left) * dstPixel;
        uint32_t fx = steps.rowX + steps.stepXx * uint32_t(left), fy = steps.rowY + steps.stepYx * uint32_t(left);
        double x = rowX + m.a * left, y = rowY + m.d * left;
        for (int32_t col = left; col <= k.spanRight[i]; ++col, d += dstPixel) {
            if constexpr (Fixed) {
                pixel(d, fx, fy);
                fx += steps.stepXx, fy += steps.stepYx;
            } else {
                pixel(d, x, y);
                x += m.a, y += m.d;
            }
        }
        steps.NextRow();
        rowX += m.b, rowY += m.e;
        dstRow += k.dst.rowBytes;
    }
}

template <class T>
void Nearest(const WarpKernelArgs& k) {
    const bool narrow = k.src.rowBytes < kShortRowLimit;
    WalkSpans<true>(k, sizeof(T), [&](uint8_t* d, uint32_t x, uint32_t y) {
        const int32_t sx = NearestIndex(x, narrow, k.src.width), sy = NearestIndex(y, narrow, k.src.height);
        for (int32_t c = k.src.channels - 1; c >= 0; --c)
            std::memcpy(d + c * sizeof(T), SampleAt<T>(k, sx, sy, c), sizeof(T));
    });
}

// The linear window's first index and the fraction past it, for a position
// clamped into 0 to size - 1.
template <class F>
int32_t LinearStart(F v, int32_t size, F* fraction) {
    const F clamped = std::clamp(v, F(0), F(size - 1));
    int32_t i = int32_t(clamped);
    if (i > size - 2) --i;
    *fraction = clamped - F(i);
    return i;
}

// The cubic window's first index, as the 8-bit kernel finds it. The
// position is held within two pixels of the image for the test, so that a
// position off the source (which the spans do not produce) cannot overflow
// the conversion.
int32_t CubicFirst(double v, int32_t size) {
    const double held = std::clamp(v, -2.0, double(size) + 2);
    const int32_t i = int32_t(held);
    if (i >= size - 2) return size - 4;
    if (held < 1) return 0;
    return i - 1;
}

// The Lagrange weights of the points 0, 1, 2, 3 at t.
template <class F>
void CubicWeightsAt(F t, F w[4]) {
    w[0] = -(t - 1) * (t - 2) * (t - 3) / 6;
    w[1] = t * (t - 2) * (t - 3) / 2;
    w[2] = -t * (t - 1) * (t - 3) / 2;
    w[3] = t * (t - 1) * (t - 2) / 6;
}

template <class T>
T FromSum(double v) {
    if constexpr (std::is_same_v<T, float>) {
        return T(v);
    } else {
        return T(std::clamp(std::nearbyint(v), 0.0, 65535.0));
    }
}

template <class T>
void Linear(const WarpKernelArgs& k) {
    using F = std::conditional_t<std::is_same_v<T, float>, float, double>;
    WalkSpans<false>(k, sizeof(T), [&](uint8_t* d, double x, double y) {
        F fx, fy;
        const int32_t ix = LinearStart(F(x), k.src.width, &fx), iy = LinearStart(F(y), k.src.height, &fy);
        for (int32_t c = k.src.channels - 1; c >= 0; --c) {
            const uint8_t* p = SampleAt<T>(k, ix, iy, c);
            const uint8_t* q = p + k.src.rowBytes;
            const intptr_t next = intptr_t(k.src.imageChannels) * sizeof(T);
            const F p00 = F(Load<T>(p)), p10 = F(Load<T>(p + next)), p01 = F(Load<T>(q)), p11 = F(Load<T>(q + next));
            if constexpr (std::is_same_v<T, float>) {
                const F top = p00 + (p10 - p00) * fx, bottom = p01 + (p11 - p01) * fx;
                Put<T>(d + c * sizeof(T), top + (bottom - top) * fy);
            } else {
                const F top = p00 * (1 - fx) + p10 * fx, bottom = p01 * (1 - fx) + p11 * fx;
                Put<T>(d + c * sizeof(T), FromSum<T>(top * (1 - fy) + bottom * fy));
            }
        }
    });
}

template <class T>
void Cubic(const WarpKernelArgs& k) {
    using F = std::conditional_t<std::is_same_v<T, float>, float, double>;
    WalkSpans<false>(k, sizeof(T), [&](uint8_t* d, double x, double y) {
        const int32_t x0 = CubicFirst(x, k.src.width), y0 = CubicFirst(y, k.src.height);
        F wx[4], wy[4];
        CubicWeightsAt(F(x - x0), wx);
        CubicWeightsAt(F(y - y0), wy);
        const intptr_t next = intptr_t(k.src.imageChannels) * sizeof(T);
        for (int32_t c = k.src.channels - 1; c >= 0; --c) {
            F sum = 0;
            for (int j = 0; j < 4; ++j) {
                const uint8_t* p = SampleAt<T>(k, x0, y0 + j, c);
                F row = 0;
                for (int i = 0; i < 4; ++i) row += F(Load<T>(p + i * next)) * wx[i];
                sum += row * wy[j];
            }
            Put<T>(d + c * sizeof(T), FromSum<T>(sum));
        }
    });
}

}  // namespace

void WarpNearest16(const WarpKernelArgs& k) { Nearest<uint16_t>(k); }
void WarpLinear16(const WarpKernelArgs& k) { Linear<uint16_t>(k); }
void WarpCubic16(const WarpKernelArgs& k) { Cubic<uint16_t>(k); }
void WarpNearest32(const WarpKernelArgs& k) { Nearest<float>(k); }
void WarpLinear32(const WarpKernelArgs& k) { Linear<float>(k); }
void WarpCubic32(const WarpKernelArgs& k) { Cubic<float>(k); }

void WarpNearestBits(const WarpKernelArgs& k) {
    const bool narrow = k.src.rowBytes < kShortRowLimit;
    const InverseAffine& m = k.inverse;
    FixedSteps steps(m, k.firstRow, 0x8000);
    uint8_t* dstRow = k.dstRow;
    for (int32_t row = k.firstRow; row <= k.lastRow; ++row, steps.NextRow(), dstRow += k.dst.rowBytes) {
        const int32_t i = row - k.firstRow, left = k.spanLeft[i];
        uint32_t x = steps.rowX + steps.stepXx * uint32_t(left), y = steps.rowY + steps.stepYx * uint32_t(left);
        for (int32_t col = left; col <= k.spanRight[i]; ++col, x += steps.stepXx, y += steps.stepYx) {
            const int32_t sx = NearestIndex(x, narrow, k.src.width), sy = NearestIndex(y, narrow, k.src.height);
            const bool set = k.srcBase[intptr_t(sy) * k.src.rowBytes + sx / 8] & (128 >> (sx & 7));
            uint8_t& t = dstRow[col / 8];
            const uint8_t bit = uint8_t(128 >> (col & 7));
            t = set ? uint8_t(t | bit) : uint8_t(t & ~bit);
        }
    }
}

}  // namespace tarn
