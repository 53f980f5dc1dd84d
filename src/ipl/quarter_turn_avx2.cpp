// Quarter-turn copies of 1-byte samples, AVX2 form. 180 degrees: rows copied
// in reverse, 32 bytes at a time. 90 and 270: blocks of 16 source rows by 32
// source columns transposed in registers, each 128-bit lane holding one
// 16 x 16 block (the interleaves work within lanes); what the blocks leave
// over goes as the plain form does it.
#include <immintrin.h>

#include "ipl/quarter_turn.h"

namespace tarn {

namespace {

void ReverseRows(const QuarterBlock& b) {
    const __m256i reverse = _mm256_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12,
                                             11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    const int32_t full = b.width & ~31;
    for (int32_t j = 0; j < b.height; ++j) {
        uint8_t* d = b.dst + intptr_t(j) * b.dstStep;
        const uint8_t* s = b.src + intptr_t(j) * b.dj;  // di is -1: target i reads s[-i]
        for (int32_t i = 0; i < full; i += 32) {
            const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s - i - 31));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i),
                                _mm256_permute4x64_epi64(_mm256_shuffle_epi8(v, reverse), _MM_SHUFFLE(1, 0, 3, 2)));
        }
    }
    QuarterCopyPlain<1>(b, full, b.width, 0, b.height);
}

// As in the SSE2 form: four rounds of interleaves of register k with k + 8
// swap register and byte index, here in both lanes at once.
void Transpose16(__m256i (&x)[16]) {
    for (int round = 0; round < 4; ++round) {
        __m256i y[16];
        for (int k = 0; k < 8; ++k) {
            y[2 * k] = _mm256_unpacklo_epi8(x[k], x[k + 8]);
            y[2 * k + 1] = _mm256_unpackhi_epi8(x[k], x[k + 8]);
        }
        for (int k = 0; k < 16; ++k) x[k] = y[k];
    }
}

void TransposeBlocks(const QuarterBlock& b) {
    const int32_t fullI = b.width & ~15, fullJ = b.height & ~31;
    const bool down = b.dj > 0;
    for (int32_t j = 0; j < fullJ; j += 32) {
        const uint8_t* column = b.src + intptr_t(down ? j : j + 31) * b.dj;  // leftmost source column
        for (int32_t i = 0; i < fullI; i += 16) {
            __m256i x[16];
            for (int k = 0; k < 16; ++k)
                x[k] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(column + intptr_t(i + k) * b.di));
            Transpose16(x);
            // Lane 0 of register k is source column k of the block, lane 1 column 16 + k.
            for (int k = 0; k < 16; ++k) {
                const int32_t row0 = j + (down ? k : 31 - k), row1 = j + (down ? 16 + k : 15 - k);
                _mm_storeu_si128(reinterpret_cast<__m128i*>(b.dst + intptr_t(row0) * b.dstStep + i),
                                 _mm256_castsi256_si128(x[k]));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(b.dst + intptr_t(row1) * b.dstStep + i),
                                 _mm256_extracti128_si256(x[k], 1));
            }
        }
        QuarterCopyPlain<1>(b, fullI, b.width, j, j + 32);
    }
    QuarterCopyPlain<1>(b, 0, b.width, fullJ, b.height);
}

}  // namespace

void QuarterCopyBytesAvx2(const QuarterBlock& b) {
    if (b.di == -1) ReverseRows(b);
    else if (b.dj == 1 || b.dj == -1) TransposeBlocks(b);
    else QuarterCopyAll<1>(b);
}

}  // namespace tarn
