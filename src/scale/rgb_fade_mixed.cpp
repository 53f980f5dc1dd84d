// Fade path of the 3-to-4 and 4-to-3 drivers: one template over four lane
// values of four 16-bit lanes each, with different loads per band.
//
// What a band does not load keeps what the previous pixel left, the packed
// P0 and the scaled differences in P1 and P3 included, and P0 carries from
// one kernel to the next within a driver call. So these runs are exact only
// at their first pixel; the output after it depends on the pixels before.
// That is how these two drivers behave, and it is kept.
#include "scale/rgb_drivers.h"

#include "scale/inner_rows.h"

namespace tarn {
namespace {

struct Lanes {
    uint16_t v[4];
};

Lanes Widen(uint32_t px) {
    return {{uint16_t(px & 255), uint16_t((px >> 8) & 255), uint16_t((px >> 16) & 255), uint16_t(px >> 24)}};
}

// d := ((d - base) * w) >> 8 in 16-bit lanes (low half of the product, a
// logical shift), then base := base + d added byte by byte.
void Blend(Lanes& base, Lanes& d, const Lanes& w) {
    for (int i = 0; i < 4; ++i) {
        const uint16_t diff = uint16_t(d.v[i] - base.v[i]);
        d.v[i] = uint16_t(uint16_t(diff * w.v[i]) >> 8);
        const uint16_t lo = uint16_t((base.v[i] + d.v[i]) & 0xFF);
        const uint16_t hi = uint16_t(((base.v[i] >> 8) + (d.v[i] >> 8)) & 0xFF);
        base.v[i] = uint16_t(hi << 8 | lo);
    }
}

struct FadeState {
    Lanes p[4] = {};

    // Steps 2 to 5 of the template; returns the four stored bytes.
    uint32_t Pixel(uint32_t cw, uint32_t rw) {
        const Lanes c = Widen(cw), r = Widen(rw);
        Blend(p[0], p[1], c);
        Blend(p[2], p[3], c);
        Blend(p[0], p[2], r);
        uint8_t b[4];
        for (int i = 0; i < 4; ++i) {
            const int16_t s = int16_t(p[0].v[i]);
            b[i] = s < 0 ? 0 : s > 255 ? 255 : uint8_t(s);
        }
        // The pack fills both halves of P0 with the four bytes.
        const uint16_t lo = uint16_t(b[0] | b[1] << 8), hi = uint16_t(b[2] | b[3] << 8);
        p[0] = {{lo, hi, lo, hi}};
        return uint32_t(b[0]) | uint32_t(b[1]) << 8 | uint32_t(b[2]) << 16 | uint32_t(b[3]) << 24;
    }
};

// Which lane values a band loads per pixel, and which it sets once.
enum class Band { TopLeft, TopMiddle, BottomLeft, BottomMiddle, CentreLeft, CentreRight };

template <uint32_t SB, uint32_t DB>
void FadeRun(FadeState& st, Band band, uint8_t* dst, const uint8_t* row, const uint32_t* cw,
             const uint32_t* co, uint32_t len, int32_t stride, uint32_t rw, uint32_t bgWord) {
    if (!len) return;
    const Lanes bg = Widen(bgWord);
    auto& p = st.p;
    switch (band) {
        case Band::TopLeft: p[0] = p[1] = p[2] = bg; break;
        case Band::TopMiddle: p[0] = p[1] = bg; break;
        case Band::BottomLeft: p[0] = p[2] = p[3] = bg; break;
        case Band::BottomMiddle: p[3] = p[0], p[2] = bg; break;
        case Band::CentreLeft: p[0] = p[2] = bg; break;
        case Band::CentreRight: p[1] = p[3] = bg; break;
    }
    for (uint32_t j = 0; j < len; ++j, dst += DB) {
        const uint8_t* s = row + co[j];
        switch (band) {
            case Band::TopLeft: p[3] = Widen(Load4(s)); break;
            case Band::TopMiddle: p[2] = Widen(Load4(s)), p[3] = Widen(Load4(s + SB)); break;
            case Band::BottomLeft: p[1] = Widen(Load4(s)); break;
            case Band::BottomMiddle: p[0] = Widen(Load4(s)), p[1] = Widen(Load4(s + SB)); break;
            case Band::CentreLeft: p[1] = Widen(Load4(s)), p[3] = Widen(Load4(s + stride)); break;
            case Band::CentreRight: p[0] = Widen(Load4(s)), p[2] = Widen(Load4(s + stride)); break;
        }
        Store4(dst, st.Pixel(cw[j], rw));
    }
}

template <uint32_t SB, uint32_t DB>
void Rows(const ScaleRequest& request, const DriverTables& t, const Bands& b) {
    uint8_t* dst = request.target.pixels;
    const uint8_t* src = request.source.pixels;
    const uint32_t h = request.target.height, bg = request.background;
    const int32_t dstStride = request.target.stride, stride = request.source.stride;
    FadeState st;  // one per driver call; its start value is free
    const InnerRowFn inner = PickInnerRow(SB, DB);
    const AxisTable& c = t.cols;
    for (uint32_t y = 0; y < h; ++y) {
        uint8_t* d = TargetRow(dst, dstStride, y);
        const uint8_t* r = SourceRow(src, t.rows, y);
        const uint32_t rw = t.rows.weights[y];
        const auto [dm, dr, cwm, com, cwr, cor] = SplitRow<DB>(d, c, b);
        const bool top = y < b.rowFirst;
        const bool centre = !top && y < b.rowLast;
        if (centre) {
            FadeRun<SB, DB>(st, Band::CentreLeft, d, r, c.weights, c.offsets, b.left, stride, rw, bg);
            // The full template with every value loaded is exactly Inner, and
            // the centre-right run that follows reloads or resets all it reads.
            if (b.middle) inner(dm, r, cwm, com, b.middle, stride, rw);
            FadeRun<SB, DB>(st, Band::CentreRight, dr, r, cwr, cor, b.right, stride, rw, bg);
            continue;
        }
        FadeRun<SB, DB>(st, top ? Band::TopLeft : Band::BottomLeft, d, r, c.weights, c.offsets, b.left,
                        stride, rw, bg);
        FadeRun<SB, DB>(st, top ? Band::TopMiddle : Band::BottomMiddle, dm, r, cwm, com, b.middle, stride,
                        rw, bg);
        // The right band of the top and bottom rows is a plain copy.
        RunBand<DB, DB == 3>(dr, r, cwr, cor, b.right, [](const uint8_t* s, uint32_t) { return Load4(s); });
    }
}

}  // namespace

void MixedFadeRows(const ScaleRequest& request, const DriverTables& tables, const Bands& bands) {
    if (request.source.pixelBytes == 3) Rows<3, 4>(request, tables, bands);
    else Rows<4, 3>(request, tables, bands);
}

}  // namespace tarn
