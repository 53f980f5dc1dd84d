// Cubic warp rows, AVX2 form: eight target pixels a step. The window start,
// the table index and the weights are found in 32-bit lanes as the plain row
// does (the weights by gathers from the table, whose entries are already the
// 16-bit pairs a multiply-add takes); each window row is two multiply-adds
// of sample pairs, shifted and cut to 16 bits, and the four rows are two
// more by the y weights.
#include <immintrin.h>

#include "ipl/warp_interp_avx2.h"

namespace tarn {

namespace {

using namespace interp_avx2;

struct Window {
    __m256i offset;      // bytes to the top left sample of the 4 x 4 window
    __m256i wx01, wx23;  // (w0, w1) and (w2, w3) as 16-bit pairs
    __m256i wy01, wy23;
};

inline __m256i Start(__m256i X, int32_t size) {
    const __m256i i = _mm256_srai_epi32(X, 16);  // only differs from X / 65536 where X < 65536 decides
    __m256i start = _mm256_sub_epi32(i, _mm256_set1_epi32(1));
    start = _mm256_andnot_si256(_mm256_cmpgt_epi32(_mm256_set1_epi32(65536), X), start);
    return _mm256_blendv_epi8(start, _mm256_set1_epi32(size - 4), _mm256_cmpgt_epi32(i, _mm256_set1_epi32(size - 3)));
}

// The two weight pairs for offset X - start x 65536.
inline void Weights(__m256i X, __m256i start, __m256i* w01, __m256i* w23) {
    // t is cut to +-2^24 first so that t + 64 cannot wrap; that changes no
    // index, which is clamped to the table anyway.
    const __m256i bound = _mm256_set1_epi32(1 << 24);
    __m256i t = _mm256_sub_epi32(X, _mm256_slli_epi32(start, 16));
    t = _mm256_min_epi32(_mm256_max_epi32(t, _mm256_sub_epi32(_mm256_setzero_si256(), bound)), bound);
    __m256i index = _mm256_srai_epi32(_mm256_add_epi32(t, _mm256_set1_epi32(64)), 7);
    index = _mm256_min_epi32(_mm256_max_epi32(index, _mm256_setzero_si256()), _mm256_set1_epi32(kCubicSteps));
    const int* table = CubicWeights();
    *w01 = _mm256_i32gather_epi32(table, index, 4);
    const __m256i mirrored = _mm256_i32gather_epi32(table, _mm256_sub_epi32(_mm256_set1_epi32(kCubicSteps), index), 4);
    *w23 = _mm256_or_si256(_mm256_srli_epi32(mirrored, 16), _mm256_slli_epi32(mirrored, 16));  // (w3, w2) to (w2, w3)
}

inline Window Locate(__m256i X, __m256i Y, const InterpRow& r, int srcPixel) {
    Window w;
    const __m256i x0 = Start(X, r.width), y0 = Start(Y, r.height);
    Weights(X, x0, &w.wx01, &w.wx23);
    Weights(Y, y0, &w.wy01, &w.wy23);
    w.offset = _mm256_add_epi32(_mm256_mullo_epi32(x0, _mm256_set1_epi32(srcPixel)),
                                _mm256_mullo_epi32(y0, _mm256_set1_epi32(r.srcStep)));
    return w;
}

// A window row's sum for the channels of group g, shifted and kept in 16 bits.
template <int G>
inline __m256i RowSum(const __m256i (&p)[4], const Window& w) {
    const __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(Pairs<G>(p[0], p[1]), Spread<G>(w.wx01)),
                                         _mm256_madd_epi16(Pairs<G>(p[2], p[3]), Spread<G>(w.wx23)));
    return _mm256_srai_epi32(sum, 8);
}

inline __m256i Finish(__m256i sum) {
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
            __m256i acc[4] = {};
            __m256i pending[4] = {};  // the even row's sums, waiting for the odd row to pair with
            __m256i rowStart = w.offset;
            for (int j = 0; j < 4; ++j, rowStart = _mm256_add_epi32(rowStart, down)) {
                __m256i p[4];
                __m256i at = rowStart;
                for (int k = 0; k < 4; ++k, at = _mm256_add_epi32(at, right)) p[k] = Tap<kBack>(r.src, at);
                const __m256i sums[4] = {RowSum<0>(p, w), RowSum<1>(p, w), RowSum<2>(p, w), RowSum<3>(p, w)};
                if (j % 2 == 0) {
                    for (int g = 0; g < 4; ++g) pending[g] = sums[g];
                    continue;
                }
                const __m256i wy = j == 1 ? w.wy01 : w.wy23;
                const __m256i spread[4] = {Spread<0>(wy), Spread<1>(wy), Spread<2>(wy), Spread<3>(wy)};
                for (int g = 0; g < 4; ++g)
                    acc[g] = _mm256_add_epi32(acc[g], _mm256_madd_epi16(Join16(pending[g], sums[g]), spread[g]));
            }
            StoreGroups<P>(d, Finish(acc[0]), Finish(acc[1]), Finish(acc[2]), Finish(acc[3]));
        },
        CubicRowPlain<S::kSrc, S::kDst, S::kCount>);
}

// Four-byte pixels: a window row is 16 adjacent bytes, read with one load,
// and two window rows are worked together, one in each lane. That takes
// fewer reads than a gather per tap, pixel by pixel.
template <InterpPixel P>
void RowOfWords(const InterpRow& r) {
    using S = Shape<P>;
    // (p0, p1) and (p2, p3) of each channel side by side.
    const __m256i order = _mm256_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15, 0, 4, 1, 5, 2, 6, 3, 7,
                                           8, 12, 9, 13, 10, 14, 11, 15);
    const intptr_t step = r.srcStep;
    EightAtATime<S::kDst>(
        r,
        [&](uint8_t* d, __m256i x, __m256i y) {
            const Window w = Locate(x, y, r, 4);
            alignas(32) int32_t offset[8], wx01[8], wx23[8], wy01[8], wy23[8];
            _mm256_store_si256(reinterpret_cast<__m256i*>(offset), w.offset);
            _mm256_store_si256(reinterpret_cast<__m256i*>(wx01), w.wx01);
            _mm256_store_si256(reinterpret_cast<__m256i*>(wx23), w.wx23);
            _mm256_store_si256(reinterpret_cast<__m256i*>(wy01), w.wy01);
            _mm256_store_si256(reinterpret_cast<__m256i*>(wy23), w.wy23);
            __m128i result[8];
            for (int i = 0; i < 8; ++i) {
                const uint8_t* p = r.src + offset[i];
                const __m256i a = _mm256_set1_epi32(wx01[i]), b = _mm256_set1_epi32(wx23[i]);
                const auto rows = [&](const uint8_t* top) {
                    const __m256i both = _mm256_inserti128_si256(
                        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(top))),
                        _mm_loadu_si128(reinterpret_cast<const __m128i*>(top + step)), 1);
                    const __m256i s = _mm256_shuffle_epi8(both, order), zero = _mm256_setzero_si256();
                    const __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(_mm256_unpacklo_epi8(s, zero), a),
                                                         _mm256_madd_epi16(_mm256_unpackhi_epi8(s, zero), b));
                    const __m256i kept = _mm256_srai_epi32(sum, 8);
                    // The two rows' sums, cut to 16 bits, as pairs (upper row low).
                    return _mm_or_si128(_mm_and_si128(_mm256_castsi256_si128(kept), _mm_set1_epi32(0xFFFF)),
                                        _mm_slli_epi32(_mm256_extracti128_si256(kept, 1), 16));
                };
                const __m128i acc = _mm_add_epi32(_mm_madd_epi16(rows(p), _mm_set1_epi32(wy01[i])),
                                                  _mm_madd_epi16(rows(p + 2 * step), _mm_set1_epi32(wy23[i])));
                result[i] = _mm_srai_epi32(_mm_add_epi32(acc, _mm_set1_epi32(0x80000)), 20);
            }
            const __m128i low = _mm_packus_epi16(_mm_packs_epi32(result[0], result[1]),
                                                 _mm_packs_epi32(result[2], result[3]));
            const __m128i high = _mm_packus_epi16(_mm_packs_epi32(result[4], result[5]),
                                                  _mm_packs_epi32(result[6], result[7]));
            StoreWords<S::kDst, S::kCount>(d, _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1));
        },
        CubicRowPlain<S::kSrc, S::kDst, S::kCount>);
}

// One channel: a window row is four adjacent bytes, one word.
template <>
void Row<InterpPixel::Gray>(const InterpRow& r) {
    const __m256i down = _mm256_set1_epi32(r.srcStep);
    const __m256i first = _mm256_setr_epi8(0, -1, 1, -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1, 0, -1, 1, -1, 4,
                                           -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1);
    const __m256i second = _mm256_setr_epi8(2, -1, 3, -1, 6, -1, 7, -1, 10, -1, 11, -1, 14, -1, 15, -1, 2, -1, 3, -1,
                                            6, -1, 7, -1, 10, -1, 11, -1, 14, -1, 15, -1);
    EightAtATime<1>(
        r,
        [&](uint8_t* d, __m256i x, __m256i y) {
            const Window w = Locate(x, y, r, 1);
            __m256i acc = _mm256_setzero_si256(), pending = acc;
            __m256i at = w.offset;
            for (int j = 0; j < 4; ++j, at = _mm256_add_epi32(at, down)) {
                const __m256i word = Tap<0>(r.src, at);
                const __m256i sum = _mm256_srai_epi32(
                    _mm256_add_epi32(_mm256_madd_epi16(_mm256_shuffle_epi8(word, first), w.wx01),
                                     _mm256_madd_epi16(_mm256_shuffle_epi8(word, second), w.wx23)),
                    8);
                if (j % 2 == 0) {
                    pending = sum;
                    continue;
                }
                acc = _mm256_add_epi32(acc, _mm256_madd_epi16(Join16(pending, sum), j == 1 ? w.wy01 : w.wy23));
            }
            StoreGray(d, Finish(acc));
        },
        CubicRowPlain<1, 1, 1>);
}

}  // namespace

InterpRowFn CubicRowAvx2(InterpPixel pixel) {
    static constexpr InterpRowFn kRows[] = {Row<InterpPixel::Gray>, Row<InterpPixel::Rgb>,
                                            RowOfWords<InterpPixel::Rgba>, RowOfWords<InterpPixel::RgbOfRgba>, nullptr};
    return kRows[int(pixel)];
}

}  // namespace tarn
