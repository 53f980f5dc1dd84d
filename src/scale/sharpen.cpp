// The sharpening path of planar scaling: a Gaussian blur in single-precision
// floats and an unsharp mask normalised by the plane's own extremes. Float
// roundings are taken where the values are stored as float, and they are
// part of the result.
//
// The blur runs a row at a time: the horizontal pass keeps only the rows the
// vertical pass still needs, in a ring as tall as the kernel, so its floats
// stay in cache instead of filling a plane of their own; the extremes of the
// difference are taken from each blurred row as it is made. Only the mask
// waits for the whole plane, since it needs the extremes of all of it.
#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <memory>
#include <vector>

#include "scale/sharpen.h"

#include "platform/form_table.h"

namespace tarn {

void MakeGaussianKernel(double sigma, float** kernel, int32_t* size) {
    const int32_t t = static_cast<int32_t>(sigma * 3.0);
    const int32_t n = 2 * t + 1;
    float* k = new float[size_t(n)];
    const float root = static_cast<float>(std::sqrt(6.283185005187988));
    float sum = 0;
    for (int32_t i = 0; i < n; ++i) {
        const float x = static_cast<float>(i - (n >> 1));
        const float arg = static_cast<float>(x * -0.5 * x / (sigma * sigma));
        const float e = static_cast<float>(std::exp(static_cast<double>(arg)));
        k[i] = static_cast<float>(e / (root * sigma));
        sum += k[i];
    }
    for (int32_t i = 0; i < n; ++i) k[i] /= sum;
    *kernel = k;
    *size = n;
}

float BlurRowAt(const uint8_t* row, int32_t width, int32_t x, const float* k, int32_t n) {
    const int32_t r = n / 2;
    float sum = 0, weight = 0;
    for (int32_t i = 0; i < n; ++i) {
        const int32_t col = x + i - r;
        if (col < 0 || col >= width) continue;
        sum += row[col] * k[i];
        weight += k[i];
    }
    return sum / weight;
}

uint8_t BlurColumnAt(const BlurColumnTaps& taps, int32_t x) {
    float sum = 0;
    for (int32_t i = 0; i < taps.count; ++i) sum += taps.rows[i][x] * taps.k[i];
    const int32_t whole = static_cast<int32_t>(sum) & 255;
    return static_cast<uint8_t>(static_cast<int32_t>(whole / taps.weight));
}

// A difference of `high` or more goes all the way to white and one of `low`
// or less to black; a direction with no difference beyond 30 is left alone.
void ApplySharpenAt(uint8_t* to, int32_t bv, int32_t high, int32_t low) {
    const int32_t av = *to;
    const int32_t d = av - bv;
    int32_t v;
    if (d > 0 && high > 0) v = av + (255 - av) * d / high;
    else if (d < 0 && low < 0) v = av - av * d / low;
    else return;
    *to = static_cast<uint8_t>(v >= 255 ? 255 : v <= 0 ? 0 : v);
}

BlurRowTaps MakeBlurRowTaps(const float* k, int32_t n, int32_t width, float* weights) {
    const int32_t r = n / 2;
    float whole = 0;
    bool normal = true;
    for (int32_t i = 0; i < n; ++i) {
        whole += k[i];
        normal = normal && k[i] >= FLT_MIN;
    }
    // A pixel whose taps all lie inside the row adds them all, in the
    // order `whole` does.
    for (int32_t x = 0; x < width; ++x) {
        if (x >= r && x < width - r) {
            weights[x] = whole;
            continue;
        }
        float weight = 0;
        for (int32_t i = 0; i < n; ++i)
            if (x + i - r >= 0 && x + i - r < width) weight += k[i];
        weights[x] = weight;
    }
    return {k, n, whole, whole == 0x1.fffffep-1f && normal, weights};
}

void BlurHorizontalPlain(const uint8_t* row, int32_t width, const BlurRowTaps& taps, float*, float* out) {
    for (int32_t x = 0; x < width; ++x) out[x] = BlurRowAt(row, width, x, taps.k, taps.n);
}

void BlurVerticalPlain(const BlurColumnTaps& taps, int32_t width, uint8_t* out) {
    for (int32_t x = 0; x < width; ++x) out[x] = BlurColumnAt(taps, x);
}

void BlurVerticalPairPlain(const BlurColumnTaps& taps, int32_t width, uint8_t* out, uint8_t* next) {
    BlurVerticalPlain(taps, width, out);
    BlurColumnTaps below = taps;
    ++below.rows;
    BlurVerticalPlain(below, width, next);
}

void SharpenExtremesPlain(const uint8_t* a, intptr_t aStride, const uint8_t* b, intptr_t bStride, int32_t width,
                          int32_t rows, int32_t* largest, int32_t* smallest) {
    for (int32_t y = 0; y < rows; ++y, a += aStride, b += bStride)
        for (int32_t x = 0; x < width; ++x) {
            const int32_t d = int32_t(a[x]) - b[x];
            *largest = std::max(*largest, d);
            *smallest = std::min(*smallest, d);
        }
}

void ApplySharpenPlain(uint8_t* row, const uint8_t* b, int32_t width, int32_t high, int32_t low) {
    for (int32_t x = 0; x < width; ++x) ApplySharpenAt(row + x, b[x], high, low);
}

SharpenForms PickSharpenForms() {
    static constexpr SharpenForms plain = {BlurHorizontalPlain, BlurVerticalPlain, BlurVerticalPairPlain,
                                           SharpenExtremesPlain, ApplySharpenPlain, nullptr,
                                           nullptr,             nullptr,           nullptr};
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<SharpenForms> t[] = {
        {SimdForm::Avx512, kSharpenAvx512}, {SimdForm::Avx2, kSharpenAvx2}, {SimdForm::Sse2, kSharpenSse2},
        {SimdForm::Plain, plain}};
    return PickForm(t);
#else
    return plain;
#endif
}

namespace {

// The tail every working buffer of pixels carries beyond what it holds.
constexpr size_t kSlack = 64;

// Blurs `in` (rows `stride` apart) into the tight `out`, calling done(y)
// once row y of `out` is made. Row j of the horizontal pass lives in slot
// j % slots of the ring, slots being n + band - 1: the n rows one output row
// reads, or the n + band - 1 that a band of neighbouring rows reads, are
// consecutive rows, and the row made next replaces the one just left
// behind. Rows whose taps all lie inside the plane go a band (or two) at a
// time, which reads each ring row once for all of them.
//
// With `dealt`, in a form with the dealt horizontal pass and for a kernel of
// nine symmetric taps (the sharpen's, sigma 1.5, whose taps for x and -x
// are worked out alike), the rows of the horizontal pass and of `out` are
// dealt four ways, DealtSpan(width) long.
template <class Done>
void BlurRows(const SharpenForms& forms, const uint8_t* in, int32_t width, int32_t height, intptr_t stride,
              double sigma, bool dealt, uint8_t* out, Done done) {
    float* k = nullptr;
    int32_t n = 0;
    MakeGaussianKernel(sigma, &k, &n);
    // A form with bands takes the sharpen's kernel a band of rows at a time
    // (see SharpenForms::verticalBand); other kernels, and other forms, go
    // two rows at a time.
    bool symmetric = n == 9;
    for (int32_t i = 0; i < n; ++i) symmetric = symmetric && k[i] == k[n - 1 - i];
    const int32_t band = forms.verticalBand != nullptr && symmetric ? kSharpenBandRows : 2;
    const int32_t r = n / 2, slots = n + band - 1, span = dealt ? DealtSpan(width) : width;
    // Every float of the ring is made before it is read: only the slack is
    // zeroed, not the whole ring.
    const size_t ringFloats = size_t(slots) * size_t(span);
    std::unique_ptr<float[]> ring(new float[ringFloats + kSlack]);
    std::fill_n(ring.get() + ringFloats, kSlack, 0.0f);
    // The in-order horizontal pass widens its row into a scratch; the dealt
    // one works from the bytes.
    std::vector<float> scratch(dealt ? 0 : 2 * (size_t(width) + size_t(n)) + 48 + kSlack);
    std::vector<const float*> rows(static_cast<size_t>(slots));
    std::vector<float> taps(static_cast<size_t>(n));
    std::vector<float> weights(size_t(width) + kSlack), dealtWeights(dealt ? size_t(span) + kSlack : 0);
    BlurRowTaps across = MakeBlurRowTaps(k, n, width, weights.data());
    if (dealt) {
        for (int32_t x = 0; x < span; ++x) {
            const bool inside = x >= r && x < width - r;
            dealtWeights[size_t(DealtAt(x))] = x >= width ? 1.0f : inside ? across.whole : weights[size_t(x)];
        }
        across.dealtWeights = dealtWeights.data();
    }
    auto horizontal = [&](const uint8_t* row, float* to) {
        if (dealt) forms.horizontalDealt(row, width, across, to);
        else forms.horizontal(row, width, across, scratch.data(), to);
    };
    auto slot = [&](int32_t row) { return ring.get() + size_t(row % slots) * span; };
    int32_t made = 0;
    float checked = 0;
    bool keepsWholes = false;
    for (int32_t y = 0; y < height;) {
        // The rows made with this one: a band's or a pair's where all their
        // taps lie inside the plane.
        const int32_t more = y < r ? 0 : y + band - 1 + r < height ? band - 1 : y + 1 + r < height ? 1 : 0;
        for (; made <= std::min(height - 1, y + r + more); ++made)
            horizontal(in + made * stride, slot(made));
        BlurColumnTaps column{rows.data(), taps.data(), 0, 0.0f, false};
        for (int32_t i = 0; i < n; ++i) {
            const int32_t row = y + i - r;
            if (row < 0 || row >= height) continue;
            rows[size_t(column.count)] = slot(row);
            taps[size_t(column.count++)] = k[i];
            column.weight += k[i];
        }
        // Rows away from the edges all have the same weight: checked once.
        if (column.weight != checked) {
            checked = column.weight;
            keepsWholes = true;
            for (int32_t w = 0; w < 256; ++w)
                keepsWholes = keepsWholes && static_cast<int32_t>(float(w) / column.weight) == w;
        }
        column.keepsWholes = keepsWholes;
        uint8_t* to = out + size_t(y) * span;
        if (more > 0) {
            for (int32_t i = 1; i <= more; ++i) rows[size_t(n - 1 + i)] = slot(y + r + i);
            if (more == 1) forms.verticalPair(column, span, to, to + span);
            else forms.verticalBand(column, span, to);
            for (int32_t i = 0; i <= more; ++i) done(y + i);
            y += more + 1;
        } else {
            forms.vertical(column, span, to);
            done(y++);
        }
    }
    delete[] k;
}

}  // namespace

void GaussianBlurPlane(const uint8_t* in, int32_t width, int32_t height, double sigma, uint8_t* out) {
    if (width <= 0 || height <= 0) return;
    BlurRows(PickSharpenForms(), in, width, height, width, sigma, false, out, [](int32_t) {});
}

// The mask reads the plane itself where a copy of it might be expected: each
// pixel is read just before it is written, and nothing else reads it then.
// Where the form has the dealt passes the blur's rows are dealt four ways,
// which the extremes and the mask read as such.
void SharpenPlane(uint8_t* plane, int32_t width, int32_t height, int32_t stride) {
    if (width <= 0 || height <= 0) return;
    const SharpenForms forms = PickSharpenForms();
    const bool dealt = forms.horizontalDealt != nullptr;
    const int32_t span = dealt ? DealtSpan(width) : width;
    auto extremes = dealt ? forms.extremesDealt : forms.extremes;
    auto apply = dealt ? forms.applyDealt : forms.apply;
    // Every byte of the blur is written before it is read; only the slack is
    // left over, and it is zeroed rather than the whole buffer.
    const size_t bytes = size_t(span) * size_t(height);
    std::unique_ptr<uint8_t[]> blur(new uint8_t[bytes + kSlack]);
    std::fill_n(blur.get() + bytes, kSlack, uint8_t(0));
    // The extremes go a band of rows at a time, as the blur makes them,
    // gathered in registers over all of the band's rows.
    int32_t largest = INT_MIN, smallest = INT_MAX, first = 0, pending = 0;
    auto gather = [&] {
        extremes(plane + intptr_t(first) * stride, stride, blur.get() + size_t(first) * span, span, width, pending,
                 &largest, &smallest);
        first += pending;
        pending = 0;
    };
    BlurRows(forms, plane, width, height, stride, 1.5, dealt, blur.get(), [&](int32_t) {
        if (++pending == kSharpenBandRows) gather();
    });
    if (pending > 0) gather();
    for (int32_t y = 0; y < height; ++y)
        apply(plane + intptr_t(y) * stride, blur.get() + size_t(y) * span, width, largest - 30, smallest + 30);
}

}  // namespace tarn
