// Row primitives of the YUV side: SSE2 forms. Unaligned loads and stores
// throughout; counts of any size, tails done with the scalar rule.
// _mm_avg_epu8 is (a + b + 1) >> 1, which is r(); s() is r(r(a, b), c).
#include "convert/yuv_rows_sse2.h"

#include "convert/smoothing.h"
#include "convert/yuv_rows.h"

namespace tarn {

namespace {

void SmoothSse2(uint8_t* out, const uint8_t* a, const uint8_t* b, const uint8_t* c, size_t n) {
    size_t i = 0;
    for (; i + 16 <= n; i += 16)
        Store(out + i, _mm_avg_epu8(_mm_avg_epu8(Load(a + i), Load(b + i)), Load(c + i)));
    for (; i < n; ++i) out[i] = static_cast<uint8_t>(Smooth(a[i], b[i], c[i]));
}

void AverageSse2(uint8_t* out, const uint8_t* a, const uint8_t* b, size_t n) {
    size_t i = 0;
    for (; i + 16 <= n; i += 16) Store(out + i, _mm_avg_epu8(Load(a + i), Load(b + i)));
    for (; i < n; ++i) out[i] = static_cast<uint8_t>(RoundAvg(a[i], b[i]));
}

void ToBgraSse2(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t pixels) {
    for (size_t i = 0; i < pixels; i += 16, dst += 64) {
        __m128i px[4];
        Interleave(VectorForm16(y + i, u + i / 2, v + i / 2), px);
        for (int k = 0; k < 4; ++k) Store(dst + 16 * k, px[k]);
    }
}

void ToBgrSse2(uint8_t* dst, const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t pixels) {
    for (size_t i = 0; i < pixels; i += 16, dst += 48) {
        __m128i px[4];
        Interleave(VectorForm16(y + i, u + i / 2, v + i / 2), px);
        StoreBgr(dst, px, i + 16 == pixels);
    }
}

// Packed rows are split 16 pixels at a time into luma and chroma, then take
// the planar path.
template <bool Four>
void PackedSse2(uint8_t* dst, const uint8_t* src, size_t pixels) {
    for (size_t i = 0; i < pixels; i += 16, src += 32) {
        uint8_t y[16], u[8], v[8];
        UnpackYuy2Simd(y, u, v, src, 8);
        __m128i px[4];
        Interleave(VectorForm16(y, u, v), px);
        if constexpr (Four) {
            for (int k = 0; k < 4; ++k) Store(dst + 16 * k, px[k]);
            dst += 64;
        } else {
            StoreBgr(dst, px, i + 16 == pixels);
            dst += 48;
        }
    }
}

void SmoothPairToYuy2Sse2(const RowPair& rows, size_t pairs) {
    const uint8_t* us[3] = {rows.u.a, rows.u.b, rows.u.c};
    const uint8_t* vs[3] = {rows.v.a, rows.v.b, rows.v.c};
    for (int r = 0; r < 2; ++r) {
        const uint8_t* ys[3] = {rows.y[r].a, rows.y[r].b, rows.y[r].c};
        SmoothToYuy2Simd(rows.out[r], ys, us, vs, 0, pairs);
    }
}

void SmoothPairToBgraSse2(const RowPair& rows, size_t pixels) {
    const Rows3 u = rows.u, v = rows.v;
    for (int r = 0; r < 2; ++r) {
        const Rows3 y = rows.y[r];
        uint8_t* dst = rows.out[r];
        for (size_t i = 0; i < pixels; i += 16, dst += 64) {
            const size_t c = i / 2;
            __m128i px[4];
            Interleave(VectorForm16(Smooth16(y.a + i, y.b + i, y.c + i), Smooth8(u.a + c, u.b + c, u.c + c),
                                    Smooth8(v.a + c, v.b + c, v.c + c)),
                       px);
            for (int k = 0; k < 4; ++k) Store(dst + 16 * k, px[k]);
        }
    }
}

void SmoothPairFromYuy2Sse2(uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v, Rows3 a, Rows3 b,
                            size_t pairs) {
    const uint8_t* ra[3] = {a.a, a.b, a.c};
    const uint8_t* rb[3] = {b.a, b.b, b.c};
    SmoothPairFromYuy2Simd(y0, y1, u, v, ra, rb, 0, pairs);
}

void NoStreams() {}

}  // namespace

const YuvRowForms kYuvRowsSse2 = {SmoothSse2,           AverageSse2,           ToBgraSse2,
                                  ToBgrSse2,            PackYuy2Simd,          UnpackYuy2Simd,
                                  PackedSse2<true>,     PackedSse2<false>,     SmoothPairToYuy2Sse2,
                                  SmoothPairToBgraSse2, NoStreams,             SmoothPairFromYuy2Sse2};

}  // namespace tarn
