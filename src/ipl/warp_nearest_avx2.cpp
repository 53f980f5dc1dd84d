// Nearest-neighbour warp rows, AVX2 form: eight target pixels a step. The
// eight offsets come from one packed 16-bit multiply of (x, y) with
// (pixel bytes, row bytes), as the plain form's sums; one gather fetches a
// 32-bit word per pixel.
//
// The word is read ending at the pixel's last byte (starting up to 3 bytes
// before the pixel), and from the image's first byte for the pixels closer
// to it than that, then shifted down to the pixel. So no byte outside the
// image is ever read, yet the driver's rows keep at least 4 bytes of image.
#include <immintrin.h>

#include <cstring>

#include "ipl/warp_nearest.h"
#include "ipl/warp_store_avx2.h"

namespace tarn {

namespace {

// The shared eight-pixel store, in the shape of each pixel kind.
template <NearestPixel P>
inline void Store(uint8_t* d, __m256i v) {
    constexpr int kDst = P == NearestPixel::Gray ? 1 : P == NearestPixel::Rgb ? 3 : 4;
    constexpr int kCount = P == NearestPixel::RgbOfRgba ? 3 : kDst;
    StoreWords<kDst, kCount>(d, v);
}

// A row that walks one source row backwards a whole pixel a step (a half
// turn) reads eight neighbouring words: one load, put in reverse order, gives
// what the eight gathers would. The driver has checked every pixel of the
// row lies in the image, so the load stays in it.
bool ReversedRgba(const NearestRow& r) {
    if (r.stepY != 0 || r.stepX != 0xFFFF0000u) return false;
    const int32_t sx = int32_t(r.x) >> 16, sy = int32_t(r.y) >> 16;
    const uint8_t* s = r.src + (intptr_t(sx) * 4 + intptr_t(sy) * r.srcStep);  // target pixel i reads s - 4 i
    const __m256i reverse = _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0);
    int32_t i = 0;
    for (; i + 8 <= r.count; i += 8) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s - 4 * intptr_t(i + 7)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(r.dst + 4 * intptr_t(i)),
                            _mm256_permutevar8x32_epi32(v, reverse));
    }
    for (; i < r.count; ++i) std::memcpy(r.dst + 4 * intptr_t(i), s - 4 * intptr_t(i), 4);
    return true;
}

template <NearestPixel P>
void Row(const NearestRow& r) {
    constexpr PixelShape S = kShapeOf<P>;
    if constexpr (P == NearestPixel::Rgba)
        if (ReversedRgba(r)) return;
    constexpr int kBack = 4 - S.src;  // bytes read before the pixel
    const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    __m256i x = _mm256_add_epi32(_mm256_set1_epi32(int32_t(r.x)),
                                 _mm256_mullo_epi32(lanes, _mm256_set1_epi32(int32_t(r.stepX))));
    __m256i y = _mm256_add_epi32(_mm256_set1_epi32(int32_t(r.y)),
                                 _mm256_mullo_epi32(lanes, _mm256_set1_epi32(int32_t(r.stepY))));
    const __m256i stepX = _mm256_set1_epi32(int32_t(r.stepX * 8u)), stepY = _mm256_set1_epi32(int32_t(r.stepY * 8u));
    // (x, y) pairs of 16-bit values times (pixel bytes, row bytes), summed.
    const __m256i weights = _mm256_set1_epi32(int32_t(uint32_t(r.srcStep) << 16 | uint32_t(S.src)));
    const __m256i back = _mm256_set1_epi32(kBack), zero = _mm256_setzero_si256();
    const int* base = reinterpret_cast<const int*>(r.src);
    int32_t i = 0;
    uint8_t* d = r.dst;
    for (; i + 8 <= r.count; i += 8, d += 8 * S.dst) {
        const __m256i pairs =
            _mm256_or_si256(_mm256_srli_epi32(x, 16), _mm256_andnot_si256(_mm256_set1_epi32(0xFFFF), y));
        const __m256i offset = _mm256_madd_epi16(pairs, weights);
        const __m256i start = _mm256_max_epi32(_mm256_sub_epi32(offset, back), zero);
        const __m256i shift = _mm256_slli_epi32(_mm256_sub_epi32(offset, start), 3);
        Store<P>(d, _mm256_srlv_epi32(_mm256_i32gather_epi32(base, start, 1), shift));
        x = _mm256_add_epi32(x, stepX);
        y = _mm256_add_epi32(y, stepY);
    }
    NearestRowRest<P>(r, i);
}

}  // namespace

NearestRowFn NearestRowAvx2(NearestPixel pixel) {
    static constexpr NearestRowFn kRows[] = {Row<NearestPixel::Gray>, Row<NearestPixel::Rgb>,
                                             Row<NearestPixel::Rgba>, Row<NearestPixel::RgbOfRgba>};
    return kRows[int(pixel)];
}

}  // namespace tarn
