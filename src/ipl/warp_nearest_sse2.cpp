// Nearest-neighbour warp rows, SSE2 form: four target pixels a step. The
// offsets come from the packed 16-bit multiply of (x, y) with (pixel bytes,
// row bytes), as the plain form's sums; SSE2 has no gather, so the pixels
// are then fetched one by one (a 4-byte pixel as one word, four of them
// stored together).
#include <immintrin.h>

#include <cstring>

#include "ipl/warp_nearest.h"

namespace tarn {

namespace {

template <NearestPixel P>
void Row(const NearestRow& r) {
    constexpr int32_t Src = kShapeOf<P>.src, Dst = kShapeOf<P>.dst, Count = kShapeOf<P>.count;
    const auto spread = [](uint32_t start, uint32_t step) {
        return _mm_setr_epi32(int32_t(start), int32_t(start + step), int32_t(start + 2 * step),
                              int32_t(start + 3 * step));
    };
    __m128i x = spread(r.x, r.stepX), y = spread(r.y, r.stepY);
    const __m128i stepX = _mm_set1_epi32(int32_t(r.stepX * 4u)), stepY = _mm_set1_epi32(int32_t(r.stepY * 4u));
    const __m128i weights = _mm_set1_epi32(int32_t(uint32_t(r.srcStep) << 16 | uint32_t(Src)));
    const __m128i high = _mm_set1_epi32(int32_t(0xFFFF0000u));
    alignas(16) int32_t offsets[4];
    int32_t i = 0;
    uint8_t* d = r.dst;
    for (; i + 4 <= r.count; i += 4, d += 4 * Dst) {
        const __m128i pairs = _mm_or_si128(_mm_srli_epi32(x, 16), _mm_and_si128(y, high));
        _mm_store_si128(reinterpret_cast<__m128i*>(offsets), _mm_madd_epi16(pairs, weights));
        if constexpr (Src == 4 && Dst == 4 && Count == 4) {
            uint32_t w[4];
            for (int k = 0; k < 4; ++k) std::memcpy(&w[k], r.src + offsets[k], 4);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_setr_epi32(int32_t(w[0]), int32_t(w[1]),
                                                                             int32_t(w[2]), int32_t(w[3])));
        } else {
            for (int k = 0; k < 4; ++k) {
                const uint8_t* s = r.src + offsets[k];
                uint8_t* t = d + k * Dst;
                for (int c = Count - 1; c >= 0; --c) t[c] = s[c];
            }
        }
        x = _mm_add_epi32(x, stepX);
        y = _mm_add_epi32(y, stepY);
    }
    NearestRowRest<P>(r, i);
}

}  // namespace

NearestRowFn NearestRowSse2(NearestPixel pixel) {
    static constexpr NearestRowFn kRows[] = {Row<NearestPixel::Gray>, Row<NearestPixel::Rgb>, Row<NearestPixel::Rgba>,
                                             Row<NearestPixel::RgbOfRgba>};
    return kRows[int(pixel)];
}

}  // namespace tarn
