// The chroma of a packed row pair alone, AVX2 form: the arithmetic of
// SmoothPairFromYuy2Avx2 without its luma, 32 pairs a step.
#include <immintrin.h>

#include "convert/packed_chroma.h"

namespace tarn {

namespace {

inline __m256i Load32(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }

// 32 pairs from pair i into u and v. Between the first and last pairs of a
// picture the two rows share their centre and a neighbour, and four loads
// serve both.
template <bool Shared>
inline void ChromaBlock(uint8_t* u, uint8_t* v, const Rows3& a, const Rows3& b, size_t i) {
    // Per 128-bit lane of four pairs, u to bytes 0-3 and v to bytes 8-11 of
    // the first of two vectors, 4-7 and 12-15 of the second.
    const __m256i first = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(1, 5, 9, 13, -1, -1, -1, -1, 3, 7, 11, 15, -1, -1, -1, -1));
    const __m256i second = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(-1, -1, -1, -1, 1, 5, 9, 13, -1, -1, -1, -1, 3, 7, 11, 15));
    // The dwords then hold pairs 0-3, 8-11, 16-19, 24-27 | 4-7, 12-15, ...
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    __m256i c[4];
    if (Shared) HintNextPairRows(a, b, 4 * i);
    for (int k = 0; k < 4; ++k) {
        const size_t at = 4 * i + 32 * size_t(k);
        const __m256i ac = Load32(a.c + at), ab = Load32(a.b + at);
        const __m256i ba = Shared ? ac : Load32(b.a + at), bc = Shared ? ab : Load32(b.c + at);
        const __m256i f0 = _mm256_avg_epu8(_mm256_avg_epu8(Load32(a.a + at), ab), ac);
        const __m256i f1 = _mm256_avg_epu8(_mm256_avg_epu8(ba, Load32(b.b + at)), bc);
        c[k] = _mm256_avg_epu8(f0, f1);
    }
    const __m256i c01 = _mm256_or_si256(_mm256_shuffle_epi8(c[0], first), _mm256_shuffle_epi8(c[1], second));
    const __m256i c23 = _mm256_or_si256(_mm256_shuffle_epi8(c[2], first), _mm256_shuffle_epi8(c[3], second));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(u + i),
                        _mm256_permutevar8x32_epi32(_mm256_unpacklo_epi64(c01, c23), order));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(v + i),
                        _mm256_permutevar8x32_epi32(_mm256_unpackhi_epi64(c01, c23), order));
}

}  // namespace

void PackedChromaAvx2(uint8_t* u, uint8_t* v, Rows3 a, Rows3 b, size_t pairs) {
    // Blocks may overlap (to keep the loads off cache-line boundaries) where
    // neither output meets the rows read.
    const bool overlap = ApartFromRows(u, pairs, a, b, pairs) && ApartFromRows(v, pairs, a, b, pairs);
    const size_t i = b.a == a.c && b.c == a.b
                         ? PairBlocks(a.c, pairs, overlap, [&](size_t at) { ChromaBlock<true>(u, v, a, b, at); })
                         : PairBlocks(a.c, pairs, overlap, [&](size_t at) { ChromaBlock<false>(u, v, a, b, at); });
    PackedChromaPlain(u + i, v + i, RowsFrom(a, 4 * i), RowsFrom(b, 4 * i), pairs - i);
}

}  // namespace tarn
