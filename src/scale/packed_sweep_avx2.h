// How the 4:2:2 scaler's AVX2 forms write a target row: thirty-two bytes at
// a time, and around the caches when the target is far larger than they
// are (WriteAroundCaches). Include only from *_avx2.cpp files; everything
// here is file-local.
#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

namespace tarn {
namespace {

// A target row, thirty-two bytes at a time by `vector(i)` while they end
// by `end` (the whole row by default) and the rest by `scalar(i)`. With
// `around` the row's first bytes up to an aligned address go one by one,
// and the stores after them go around the caches.
template <class Vector, class Scalar>
void Sweep(uint8_t* d, size_t n, bool around, Vector vector, Scalar scalar, size_t end = SIZE_MAX) {
    end = end < n ? end : n;
    size_t i = 0;
    if (around) {
        for (; i < end && (reinterpret_cast<uintptr_t>(d + i) & 31) != 0; ++i) d[i] = scalar(i);
        for (; i + 32 <= end; i += 32) _mm256_stream_si256(reinterpret_cast<__m256i*>(d + i), vector(i));
    }
    for (; i + 32 <= end; i += 32) _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i), vector(i));
    for (; i < n; ++i) d[i] = scalar(i);
}

}  // namespace
}  // namespace tarn
