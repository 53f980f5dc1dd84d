// Axis tables: the integer offsets and 8-bit weights the drivers work from.
// Every case row picks the first rule that applies; the order matters.
#include "scale/axis_table.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <optional>

namespace tarn {
namespace {

constexpr double kE = 1e-9;

int64_t Trunc(double v) { return static_cast<int64_t>(v); }

uint32_t Replicate(uint32_t v) { return v * 0x01010101u; }

// Weight word of a fraction; a fraction of 0 or below (the clamp at the near
// edge) gives weight 0.
uint32_t Interp(double f) { return f > 0 ? Replicate(static_cast<uint32_t>(Trunc(f * 255 + 0.5)) & 255) : 0; }

uint32_t Interp8(double f) { return f > 0 ? static_cast<uint32_t>(Trunc(f * 255 + 0.5)) : 0; }

uint32_t Off(int64_t index, int64_t pitch) { return static_cast<uint32_t>(index * pitch); }

// Fade of a box that runs past the far edge; a negative value reads as a
// huge unsigned one and is taken as wholly outside.
uint32_t FarFade(int64_t n, double p, double step) {
    uint32_t h = static_cast<uint32_t>(Trunc(255 - ((n - p) * 255 / step + 0.5)));
    return h > 255 ? 255 : h;
}

struct Marks {
    uint32_t first;
    uint32_t last;
    void Before(uint32_t i) { first = std::max(first, i + 1); }
    void After(uint32_t i) { last = std::min(last, i); }
};

void Nearest(uint32_t m, int64_t n, uint32_t* offsets, int64_t b, double p, double step, Marks& mk) {
    for (uint32_t i = 0; i < m; ++i, p += step) {
        const int64_t k = Trunc(p + kE);
        if (k < 0) {
            offsets[i] = 0;
            mk.Before(i);
        } else if (k >= n - 1) {
            offsets[i] = Off(n - 1, b);
            mk.After(i);
        } else {
            offsets[i] = Off(k, b);
        }
    }
}

void Bilinear(uint32_t m, int64_t n, uint32_t* w, uint32_t* o, int64_t b, double p, double step,
              Marks& mk) {
    // With 3-byte pixels the last two source columns count as the end, so the
    // last but one column is never interpolated from.
    const int64_t limit = b == 3 ? n - 2 : n - 1;
    for (uint32_t i = 0; i < m; ++i, p += step) {
        const int64_t k = Trunc(p + kE);
        if (p < -step || k < 0) {
            o[i] = 0, w[i] = 0xFFFFFFFFu, mk.Before(i);
        } else if (p > n - 1 + step || k >= limit) {
            o[i] = Off(n - 1, b), w[i] = 0xFFFFFFFFu, mk.After(i);
        } else {
            o[i] = Off(k, b), w[i] = Interp(p - k);
        }
    }
}

void BilinearFade(uint32_t m, int64_t n, uint32_t* w, uint32_t* o, int64_t b, double p, double step,
                  Marks& mk) {
    for (uint32_t i = 0; i < m; ++i, p += step) {
        const int64_t k = Trunc(p + kE);
        if (p < -step) {
            o[i] = 0, w[i] = 0, mk.Before(i);
        } else if (p > n - 1 + step) {
            o[i] = Off(n - 1, b), w[i] = 0, mk.After(i);
        } else if (p < 0) {
            o[i] = 0, w[i] = Replicate(static_cast<uint32_t>(Trunc((p + step) / step * 255 + 0.5)) & 255);
            mk.Before(i);
        } else if (k >= n - 1) {
            const uint32_t f = static_cast<uint32_t>(Trunc((p - (n - 1)) / step * 255 + 0.5));
            o[i] = Off(n - 1, b), w[i] = Replicate((255 - f) & 255), mk.After(i);
        } else {
            o[i] = Off(k, b), w[i] = Interp(p - k);
        }
    }
}

// Box and box fade: a box from the sample under the left edge up to, and not
// including, the sample under the right edge; samples are never weighted.
void Box(uint32_t m, int64_t n, uint32_t* w, uint32_t* o, int64_t b, double p, double step, bool fade,
         Marks& mk) {
    const uint32_t outside = fade ? 0x00FF0000u : 0;
    // Each box starts where the last one ended (p takes q's value), so its
    // first sample is the last box's end, truncated once.
    int64_t kb = Trunc(p + kE);
    for (uint32_t i = 0; i < m; ++i) {
        const double q = p + step;
        const int64_t ka = kb;
        kb = Trunc(q + kE);
        if (kb <= 0) {
            o[i] = 0, w[i] = outside, mk.Before(i);
        } else if (ka > n - 1) {
            o[i] = Off(n - 1, b), w[i] = outside, mk.After(i);
        } else if (ka < 0) {
            uint32_t word = static_cast<uint32_t>(kb);
            if (fade) word |= (255 - static_cast<uint32_t>(Trunc(q * 255 / step + 0.5))) << 16;
            o[i] = 0, w[i] = word, mk.Before(i);
        } else if (kb > n - 1) {
            uint32_t word = static_cast<uint32_t>(n - ka);
            if (fade) word |= FarFade(n, p, step) << 16;
            o[i] = Off(ka, b), w[i] = word, mk.After(i);
        } else {
            o[i] = Off(ka, b), w[i] = static_cast<uint32_t>(kb - ka);
        }
        p = q;
    }
}

// Pairs of rows: both rows of a pair share a weight and read from an even
// and the following odd source row. The fourth case is not inverted, unlike
// its counterpart in the bilinear fade.
void FieldPairs(uint32_t m, int64_t n, uint32_t* w, uint32_t* o, int64_t b, double p, double step,
                Marks& mk) {
    const int64_t nf = n >> 1;
    const uint32_t pairs = m >> 1;
    for (uint32_t j = 0; j < pairs; ++j, p += step) {
        const uint32_t i = 2 * j;
        const int64_t k = Trunc(p + kE);
        uint32_t off, wt;
        if (p < -step) {
            off = 0, wt = 0, mk.first = std::max(mk.first, i + 2);
        } else if (p > nf - 1 + step) {
            off = Off((nf - 1) * 2, b), wt = 0xFFFFFFFFu, mk.After(i);
        } else if (k < 0) {
            off = 0, wt = Replicate(static_cast<uint32_t>(Trunc((p + step) / step * 255 + 0.5)) & 255);
            mk.first = std::max(mk.first, i + 2);
        } else if (k >= nf - 1) {
            off = Off((nf - 1) * 2, b);
            wt = Replicate(static_cast<uint32_t>(Trunc((p - (nf - 1)) / step * 255 + 0.5)) & 255);
            mk.After(i);
        } else {
            off = Off(k * 2, b), wt = Interp(p - k);
        }
        o[i] = off, o[i + 1] = off + static_cast<uint32_t>(b);
        w[i] = w[i + 1] = wt;
    }
}

// Area mode as the two mixed drivers see it: the interior word is one number,
// not replicated, so their kernels interpolate the first channel only.
void AreaWord(uint32_t m, int64_t n, uint32_t* w, uint32_t* o, int64_t b, double p, double step,
              Marks& mk) {
    const double kk = step * 0.5 - 1.5;
    for (uint32_t i = 0; i < m; ++i, p += step) {
        const int64_t k = Trunc(p + kE);
        if (k < 0 && p + step < 1e-12) {
            o[i] = 0, w[i] = 0x00FF0000u, mk.Before(i);
        } else if (k < 0) {
            const uint32_t f = static_cast<uint32_t>(Trunc((p + step) * 255 / step + 0.5));
            o[i] = 0, w[i] = ((255 - f) << 16) | 1u, mk.Before(i);
        } else if (k < n - 2) {
            o[i] = Off(k, b);
            w[i] = static_cast<uint32_t>(Trunc((kk + p - k) * 255 / (step * 6.0)));
        } else if (k > n - 1) {
            o[i] = Off(n - 1, b), w[i] = 0x00FF0000u, mk.After(i);
        } else if (p + step < n) {
            o[i] = Off(k, b), w[i] = static_cast<uint32_t>(n - k), mk.After(i);
        } else {
            o[i] = Off(k, b), w[i] = (FarFade(n, p, step) << 16) | static_cast<uint32_t>(n - k);
            mk.After(i);
        }
    }
}

// Whether start + i * step is a double, exactly, for every i up to `count`:
// both are whole multiples of the finer of their lowest set bits, and the
// largest sum stays well within the 53 bits of a double at that grain. Then
// each sum of the running addition p += step the loops make is exact, so it
// equals start + double(i) * step (whose product and sum are exact too), and
// an index's position needs no chain of dependent additions.
bool SumsExact(double start, double step, uint32_t count) {
    if (!std::isfinite(start) || !std::isfinite(step)) return false;
    // The exponent of the lowest set bit of x (x = 0 has no bits: any grain).
    auto grain = [](double x) {
        int e = 0;
        const double f = std::frexp(std::fabs(x), &e);  // |x| = f * 2^e, f in [0.5, 1)
        return e - 53 + std::countr_zero(static_cast<uint64_t>(std::ldexp(f, 53)));
    };
    if (start == 0 && step == 0) return true;
    const int g = start == 0 ? grain(step) : step == 0 ? grain(start) : std::min(grain(start), grain(step));
    return std::ldexp(std::fabs(start) + double(count) * std::fabs(step), -g) < 0x1p52;
}

// The indices [lo, hi) of a single-channel table between its two bands,
// where the table's positions are exact (above) and rise: then the leading
// band (p < 0) is a prefix, the trailing one (p > n - 1, or from n - 1 on
// where `endIncluded`) a suffix, each found by walking in from its end, and
// the interior is one pass without branches that the compiler vectorizes.
// False where the positions do not qualify; the caller then walks the
// running sum.
struct Interior {
    uint32_t lo = 0, hi = 0;
    bool Find(uint32_t m, int64_t n, double start, double step, bool endIncluded) {
        constexpr uint32_t kIntMax = 0x7FFFFFFF;  // indices and offsets as 32-bit signed numbers
        if (!(step > 0) || m > kIntMax || n > kIntMax || !SumsExact(start, step, m)) return false;
        auto at = [&](uint32_t i) { return start + double(i) * step; };
        const double end = double(n - 1);
        lo = 0;
        while (lo < m && at(lo) < 0) ++lo;
        hi = m;
        while (hi > lo && (at(hi - 1) > end || (endIncluded && at(hi - 1) == end))) --hi;
        return true;
    }
    void Mark(uint32_t m, Marks& mk) const {
        if (lo > 0) mk.first = lo;
        if (hi < m) mk.last = hi;
    }
    // The band entries of one array: `before` up to lo, `after` from hi.
    template <class T>
    void Bands(T* values, uint32_t m, T before, T after) const {
        std::fill(values, values + lo, before);
        std::fill(values + hi, values + m, after);
    }
};

// Interior entries of single-channel tables. Positions there lie in
// [0, n - 1], so 32-bit truncations give what the 64-bit ones give; offsets
// multiply in 32 bits, which wrap as Off's 64-bit products do.

// A whole step moves every interior position by a whole number from the
// first: positions there are exact and not below 0, so each one's integer
// part is the first one's plus that number and its fraction (the difference
// of a position and its integer part is exact) is the first one's. The
// first position where the step is whole, else none.
std::optional<double> FirstOfWholeSteps(const Interior& in, double start, double step) {
    if (in.lo < in.hi && step == std::floor(step) && step <= 0x1p30) return start + double(int32_t(in.lo)) * step;
    return std::nullopt;
}

// The interior offsets of whole steps from the integer part k of the first.
void FillWholeSteps(uint32_t* offsets, const Interior& in, int32_t k, double step, uint32_t pitch) {
    const uint32_t advance = uint32_t(step) * pitch;
    uint32_t offset = uint32_t(k) * pitch;
    for (uint32_t i = in.lo; i < in.hi; ++i, offset += advance) offsets[i] = offset;
}

void NearestInterior(uint32_t* offsets, const Interior& in, double start, double step, uint32_t pitch) {
    // At whole steps every position keeps the first one's fraction f. Below
    // 2^31 adding 1e-9 and rounding moves a position by less than 1e-6, so
    // where f stays that far below 1 each index truncates to its position's
    // integer part.
    if (const std::optional<double> p = FirstOfWholeSteps(in, start, step)) {
        const int32_t k = int32_t(*p);
        if (*p - double(k) < 1 - 1e-6) return FillWholeSteps(offsets, in, k, step, pitch);
    }
    for (uint32_t i = in.lo; i < in.hi; ++i) {
        const double p = start + double(int32_t(i)) * step;
        offsets[i] = uint32_t(int32_t(p + kE)) * pitch;
    }
}

// A weight byte, or (for 4-byte words) the byte in each byte of the word.
template <class Weight>
void BilinearInterior(Weight* weights, uint32_t* offsets, const Interior& in, double start, double step,
                      uint32_t pitch) {
    auto word = [](uint32_t w) { return static_cast<Weight>(sizeof(Weight) == 4 ? w | w << 8 | w << 16 | w << 24 : w); };
    // At whole steps every position keeps the first one's fraction, and
    // with it its weight.
    if (const std::optional<double> p = FirstOfWholeSteps(in, start, step)) {
        const int32_t k = int32_t(*p);
        FillWholeSteps(offsets, in, k, step, pitch);
        std::fill(weights + in.lo, weights + in.hi, word(uint32_t(int32_t((*p - double(k)) * 255 + 0.5))));
        return;
    }
    for (uint32_t i = in.lo; i < in.hi; ++i) {
        const double p = start + double(int32_t(i)) * step;
        const int32_t k = int32_t(p);
        // f is never below 0 here, and a fraction of 0 gives weight 0 either way.
        const double f = p - double(k);
        const uint32_t w = uint32_t(int32_t(f * 255 + 0.5));
        offsets[i] = uint32_t(k) * pitch;
        weights[i] = word(w);
    }
}

}  // namespace

RowSpan RowSpanOf(const uint32_t* offsets, uint32_t count) {
    int32_t lo = static_cast<int32_t>(offsets[0]), hi = lo;
    for (uint32_t i = 1; i < count; ++i) {
        const int32_t v = static_cast<int32_t>(offsets[i]);
        lo = v < lo ? v : lo;
        hi = v > hi ? v : hi;
    }
    return {lo, hi};
}

// The differences are or-ed rather than tested one by one, which the
// compiler turns into vectors.
uint32_t WholeStrideOf(const uint32_t* offsets, uint32_t count) {
    if (count < 2) return 0;
    const uint32_t origin = offsets[0], step = offsets[1] - offsets[0];
    if (step != 2 && step != 4 && step != 8) return 0;
    uint32_t off = 0;
    for (uint32_t j = 0; j < count; ++j) off |= offsets[j] ^ (origin + step * j);
    return off == 0 ? step : 0;
}

uint32_t LargestOffset(const uint32_t* offsets, uint32_t count) {
    uint32_t hi = 0;
    for (uint32_t i = 0; i < count; ++i) hi = offsets[i] > hi ? offsets[i] : hi;
    return hi;
}

void BuildAxisTable(uint32_t targetCount, uint32_t sourceCount, uint32_t* weights, uint32_t* offsets,
                    int32_t pitch, double start, double step, uint32_t* first, uint32_t* last, AxisFilter filter) {
    Marks mk{0, targetCount};
    const uint32_t m = targetCount;
    const int64_t n = sourceCount, b = pitch;
    const double centred = start + step * 0.5 - 0.5;
    switch (filter) {
        case AxisFilter::Nearest: Nearest(m, n, offsets, b, start + step * 0.5, step, mk); break;
        case AxisFilter::Bilinear: Bilinear(m, n, weights, offsets, b, centred, step, mk); break;
        case AxisFilter::BilinearFade: BilinearFade(m, n, weights, offsets, b, centred, step, mk); break;
        case AxisFilter::Box: Box(m, n, weights, offsets, b, start, step, false, mk); break;
        case AxisFilter::BoxFade: Box(m, n, weights, offsets, b, start, step, true, mk); break;
        case AxisFilter::FieldPairs: FieldPairs(m, n, weights, offsets, b, centred, step, mk); break;
        case AxisFilter::AreaWord: AreaWord(m, n, weights, offsets, b, start, step, mk); break;
    }
    *first = mk.first;
    *last = mk.last;
}

// Columns of a single-channel plane are centred with every filter, so the
// nearest one samples half a source pixel earlier than the multi-channel
// table, and the others are bilinear with k taken without the 1e-9.
void BuildGrayColumnTable(uint32_t targetCount, uint32_t sourceCount, uint8_t* weights, uint32_t* offsets,
                          double start, double step, uint32_t* first, uint32_t* last, AxisFilter filter) {
    Marks mk{0, targetCount};
    const int64_t n = sourceCount;
    const bool nearest = filter == AxisFilter::Nearest;
    const double p0 = start + step * 0.5 - 0.5;
    Interior in;
    if (in.Find(targetCount, n, p0, step, !nearest)) {
        in.Mark(targetCount, mk);
        in.Bands(offsets, targetCount, 0u, static_cast<uint32_t>(n - 1));
        if (nearest) {
            NearestInterior(offsets, in, p0, step, 1);
        } else {
            in.Bands(weights, targetCount, uint8_t(0), uint8_t(0));
            BilinearInterior(weights, offsets, in, p0, step, 1);
        }
    } else {
        double p = p0;
        for (uint32_t i = 0; i < targetCount; ++i, p += step) {
            if (nearest) {
                if (p < 0) offsets[i] = 0, mk.Before(i);
                else if (p > n - 1) offsets[i] = static_cast<uint32_t>(n - 1), mk.After(i);
                else offsets[i] = static_cast<uint32_t>(Trunc(p + kE));
            } else {
                if (p < 0) {
                    offsets[i] = 0, weights[i] = 0, mk.Before(i);
                } else if (p >= n - 1) {
                    offsets[i] = static_cast<uint32_t>(n - 1), weights[i] = 0, mk.After(i);
                } else {
                    const int64_t k = Trunc(p);
                    offsets[i] = static_cast<uint32_t>(k);
                    weights[i] = static_cast<uint8_t>(Interp8(p - k));
                }
            }
        }
    }
    *first = mk.first;
    *last = mk.last;
}

// Rows of a single-channel plane are not centred (except nearest and field
// pairs), and the marks of field pairs count pairs, not rows.
void BuildGrayRowTable(uint32_t targetCount, uint32_t sourceCount, uint32_t* weights, uint32_t* offsets,
                       int32_t pitch, double start, double step, uint32_t* first, uint32_t* last,
                       AxisFilter filter) {
    Marks mk{0, targetCount};
    const int64_t n = sourceCount, b = pitch;
    const bool nearest = filter == AxisFilter::Nearest;
    Interior in;
    if (filter != AxisFilter::FieldPairs) {
        const double p0 = nearest ? start + step * 0.5 - 0.5 : start;
        if (in.Find(targetCount, n, p0, step, !nearest)) {
            in.Mark(targetCount, mk);
            in.Bands(offsets, targetCount, 0u, Off(n - 1, b));
            if (nearest) {
                NearestInterior(offsets, in, p0, step, static_cast<uint32_t>(pitch));
            } else {
                in.Bands(weights, targetCount, 0u, 0u);
                BilinearInterior(weights, offsets, in, p0, step, static_cast<uint32_t>(pitch));
            }
            *first = mk.first;
            *last = mk.last;
            return;
        }
    }
    if (nearest) {
        double p = start + step * 0.5 - 0.5;
        for (uint32_t i = 0; i < targetCount; ++i, p += step) {
            if (p < 0) offsets[i] = 0, mk.Before(i);
            else if (p > n - 1) offsets[i] = Off(n - 1, b), mk.After(i);
            else offsets[i] = Off(Trunc(p + kE), b);
        }
    } else if (filter == AxisFilter::FieldPairs) {
        const int64_t nf = n >> 1;
        const uint32_t pairs = targetCount >> 1;
        double p = start + step * 0.5 - 0.5;
        for (uint32_t j = 0; j < pairs; ++j, p += step) {
            uint32_t off, wt;
            if (p < 0) {
                off = 0, wt = 0, mk.Before(j);
            } else if (p >= nf - 1) {
                off = Off((nf - 1) * 2, b), wt = 0, mk.After(j);
            } else {
                const int64_t k = Trunc(p);
                off = Off(k * 2, b), wt = Replicate(Interp8(p - k));
            }
            offsets[2 * j] = off, offsets[2 * j + 1] = off + static_cast<uint32_t>(b);
            weights[2 * j] = weights[2 * j + 1] = wt;
        }
    } else {
        double p = start;
        for (uint32_t i = 0; i < targetCount; ++i, p += step) {
            if (p < 0) {
                offsets[i] = 0, weights[i] = 0, mk.Before(i);
            } else if (p >= n - 1) {
                offsets[i] = Off(n - 1, b), weights[i] = 0, mk.After(i);
            } else {
                const int64_t k = Trunc(p);
                offsets[i] = Off(k, b), weights[i] = Replicate(Interp8(p - k));
            }
        }
    }
    *first = mk.first;
    *last = mk.last;
}

}  // namespace tarn
