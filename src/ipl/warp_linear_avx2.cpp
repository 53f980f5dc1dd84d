// Linear warp rows, AVX2 form: eight target pixels a step. The clamp, the
// window and the 14-bit weights are worked in 32-bit lanes as the plain row
// does; each blend of two samples is one multiply-add of 16-bit pairs
// (sample, sample) by (16384 - f, f), which is exact.
#include <immintrin.h>

#include "ipl/warp_interp_avx2.h"

namespace tarn {

namespace {

using namespace interp_avx2;

struct Window {
    __m256i offset;  // bytes to the top left sample of the 2 x 2 window
    __m256i wx, wy;  // (16384 - f, f) as 16-bit pairs
};

inline Window Locate(__m256i x, __m256i y, const InterpRow& r, int srcPixel) {
    const __m256i zero = _mm256_setzero_si256(), one = _mm256_set1_epi32(kWeightOne);
    const __m256i X = _mm256_min_epi32(_mm256_max_epi32(x, zero), _mm256_set1_epi32(LinearLimit(r.width)));
    const __m256i Y = _mm256_min_epi32(_mm256_max_epi32(y, zero), _mm256_set1_epi32(LinearLimit(r.height)));
    // The last column or row moves the window back by one: add the all-ones of the compare.
    const __m256i ix = _mm256_add_epi32(_mm256_srai_epi32(X, 16),
                                        _mm256_cmpgt_epi32(_mm256_srai_epi32(X, 16), _mm256_set1_epi32(r.width - 2)));
    const __m256i iy = _mm256_add_epi32(_mm256_srai_epi32(Y, 16),
                                        _mm256_cmpgt_epi32(_mm256_srai_epi32(Y, 16), _mm256_set1_epi32(r.height - 2)));
    const __m256i fx = _mm256_srai_epi32(_mm256_sub_epi32(X, _mm256_slli_epi32(ix, 16)), 2);
    const __m256i fy = _mm256_srai_epi32(_mm256_sub_epi32(Y, _mm256_slli_epi32(iy, 16)), 2);
    Window w;
    w.offset = _mm256_add_epi32(_mm256_mullo_epi32(ix, _mm256_set1_epi32(srcPixel)),
                                _mm256_mullo_epi32(iy, _mm256_set1_epi32(r.srcStep)));
    w.wx = _mm256_or_si256(_mm256_sub_epi32(one, fx), _mm256_slli_epi32(fx, 16));
    w.wy = _mm256_or_si256(_mm256_sub_epi32(one, fy), _mm256_slli_epi32(fy, 16));
    return w;
}

// One group's channels: the two rows blended by x, then by y, rounded.
template <int G>
inline __m256i Blend(__m256i a, __m256i b, __m256i c, __m256i d, const Window& w) {
    const __m256i wx = Spread<G>(w.wx);
    const __m256i r0 = _mm256_srai_epi32(_mm256_madd_epi16(Pairs<G>(a, b), wx), 8);
    const __m256i r1 = _mm256_srai_epi32(_mm256_madd_epi16(Pairs<G>(c, d), wx), 8);
    const __m256i sum = _mm256_madd_epi16(Join16(r0, r1), Spread<G>(w.wy));
    return _mm256_srai_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(0x80000)), 20);
}

template <InterpPixel P>
void Row(const InterpRow& r) {
    using S = Shape<P>;
    constexpr int kBack = 4 - S::kSrc;
    const __m256i right = _mm256_set1_epi32(S::kSrc), down = _mm256_set1_epi32(r.srcStep);
    EightAtATime<S::kDst>(
        r,
        [&](uint8_t* d, __m256i x, __m256i y) {
            const Window w = Locate(x, y, r, S::kSrc);
            const __m256i below = _mm256_add_epi32(w.offset, down);
            const __m256i a = Tap<kBack>(r.src, w.offset), b = Tap<kBack>(r.src, _mm256_add_epi32(w.offset, right));
            const __m256i c = Tap<kBack>(r.src, below), e = Tap<kBack>(r.src, _mm256_add_epi32(below, right));
            StoreGroups<P>(d, Blend<0>(a, b, c, e, w), Blend<1>(a, b, c, e, w), Blend<2>(a, b, c, e, w),
                           Blend<3>(a, b, c, e, w));
        },
        LinearRowPlain<S::kSrc, S::kDst, S::kCount>);
}

// One channel: the two samples of a window row are adjacent, so one word
// read ending at the right one holds both.
template <>
void Row<InterpPixel::Gray>(const InterpRow& r) {
    const __m256i down = _mm256_set1_epi32(r.srcStep);
    const __m256i spread = _mm256_setr_epi8(0, -1, 1, -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1, 0, -1, 1, -1,
                                            4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1);
    EightAtATime<1>(
        r,
        [&](uint8_t* d, __m256i x, __m256i y) {
            const Window w = Locate(x, y, r, 1);
            const __m256i top = _mm256_shuffle_epi8(Tap<2>(r.src, w.offset), spread);
            const __m256i bottom = _mm256_shuffle_epi8(Tap<2>(r.src, _mm256_add_epi32(w.offset, down)), spread);
            const __m256i r0 = _mm256_srai_epi32(_mm256_madd_epi16(top, w.wx), 8);
            const __m256i r1 = _mm256_srai_epi32(_mm256_madd_epi16(bottom, w.wx), 8);
            const __m256i sum = _mm256_madd_epi16(Join16(r0, r1), w.wy);
            StoreGray(d, _mm256_srai_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(0x80000)), 20));
        },
        LinearRowPlain<1, 1, 1>);
}

}  // namespace

InterpRowFn LinearRowAvx2(InterpPixel pixel) {
    static constexpr InterpRowFn kRows[] = {Row<InterpPixel::Gray>, Row<InterpPixel::Rgb>, Row<InterpPixel::Rgba>,
                                            Row<InterpPixel::RgbOfRgba>, nullptr};
    return kRows[int(pixel)];
}

}  // namespace tarn
