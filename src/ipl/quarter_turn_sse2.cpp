// Quarter-turn copies of 1-byte samples, SSE2 form. 180 degrees: rows copied
// in reverse, 16 bytes at a time. 90 and 270: 16 x 16 blocks transposed in
// registers; what the blocks leave over goes as the plain form does it.
#include <immintrin.h>

#include "ipl/quarter_turn.h"

namespace tarn {

namespace {

__m128i Reverse16(__m128i v) {
    v = _mm_shuffle_epi32(v, _MM_SHUFFLE(0, 1, 2, 3));
    v = _mm_shufflelo_epi16(v, _MM_SHUFFLE(2, 3, 0, 1));  // words within each dword
    v = _mm_shufflehi_epi16(v, _MM_SHUFFLE(2, 3, 0, 1));
    return _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8));
}

// Each row starts with single bytes up to a 16-byte boundary of the target,
// so that the stores are aligned; then four vectors a step, so that their
// shuffles overlap.
void ReverseRows(const QuarterBlock& b) {
    for (int32_t j = 0; j < b.height; ++j) {
        uint8_t* d = b.dst + intptr_t(j) * b.dstStep;
        const uint8_t* s = b.src + intptr_t(j) * b.dj;  // di is -1: target i reads s[-i]
        int32_t i = 0;
        const int32_t head = int32_t((16 - (reinterpret_cast<uintptr_t>(d) & 15)) & 15);
        if (head > b.width) {
            for (; i < b.width; ++i) d[i] = s[-i];
            continue;
        }
        for (; i < head; ++i) d[i] = s[-i];
        for (; i + 64 <= b.width; i += 64) {
            __m128i v[4];
            for (int k = 0; k < 4; ++k)
                v[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s - i - 16 * k - 15));
            for (int k = 0; k < 4; ++k)
                _mm_store_si128(reinterpret_cast<__m128i*>(d + i + 16 * k), Reverse16(v[k]));
        }
        for (; i + 16 <= b.width; i += 16) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s - i - 15));
            _mm_store_si128(reinterpret_cast<__m128i*>(d + i), Reverse16(v));
        }
        for (; i < b.width; ++i) d[i] = s[-i];
    }
}

// Four rounds of byte interleaves, register k with register k + 8, make the
// transpose: each round rotates the 8-bit index (register, byte) right by
// one bit, so after four the register and byte indices have swapped.
void Transpose16(__m128i (&x)[16]) {
    for (int round = 0; round < 4; ++round) {
        __m128i y[16];
        for (int k = 0; k < 8; ++k) {
            y[2 * k] = _mm_unpacklo_epi8(x[k], x[k + 8]);
            y[2 * k + 1] = _mm_unpackhi_epi8(x[k], x[k + 8]);
        }
        for (int k = 0; k < 16; ++k) x[k] = y[k];
    }
}

void TransposeBlocks(const QuarterBlock& b) {
    const int32_t fullI = b.width & ~15, fullJ = b.height & ~15;
    const bool down = b.dj > 0;  // target rows follow source columns left to right
    for (int32_t j = 0; j < fullJ; j += 16) {
        // The block's leftmost source column: column j for rising dj, j + 15 for falling.
        const uint8_t* column = b.src + intptr_t(down ? j : j + 15) * b.dj;
        for (int32_t i = 0; i < fullI; i += 16) {
            __m128i x[16];
            for (int k = 0; k < 16; ++k)
                x[k] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(column + intptr_t(i + k) * b.di));
            Transpose16(x);
            for (int k = 0; k < 16; ++k) {
                const int32_t row = j + (down ? k : 15 - k);
                _mm_storeu_si128(reinterpret_cast<__m128i*>(b.dst + intptr_t(row) * b.dstStep + i), x[k]);
            }
        }
        QuarterCopyPlain<1>(b, fullI, b.width, j, j + 16);
    }
    QuarterCopyPlain<1>(b, 0, b.width, fullJ, b.height);
}

}  // namespace

void QuarterCopyBytesSse2(const QuarterBlock& b) {
    if (b.di == -1) ReverseRows(b);
    else if (b.dj == 1 || b.dj == -1) TransposeBlocks(b);
    else QuarterCopyAll<1>(b);
}

}  // namespace tarn
