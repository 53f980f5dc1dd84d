// The memory traffic of a case and nothing else, for the matrix's floor
// rows: every byte of the source read once, in 32-byte loads four at a
// time, and the bytes the case must leave in the caller's buffer written
// once by memset. No arithmetic, no second pass: whatever a case computes
// beyond this, and any byte it reads twice, is on top, so the time of such
// a row is the least the case could take here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))
#define TARN_BENCH_BYTES_FLOOR 1

namespace tarn::bench {

typedef long long Bytes32 __attribute__((vector_size(32), aligned(1)));

// Reads `in` whole (the last bytes below a multiple of 128 one by one) and
// writes `outBytes` bytes of `value` at `out`; answers a fold of what it
// read, so that the reads cannot be left out.
__attribute__((target("avx2"))) inline long long BytesFloor(const uint8_t* in, size_t inBytes, uint8_t* out,
                                                             size_t outBytes, uint8_t value) {
    Bytes32 a{}, b{}, c{}, d{};
    size_t i = 0;
    for (; i + 128 <= inBytes; i += 128) {
        a |= *reinterpret_cast<const Bytes32*>(in + i);
        b |= *reinterpret_cast<const Bytes32*>(in + i + 32);
        c |= *reinterpret_cast<const Bytes32*>(in + i + 64);
        d |= *reinterpret_cast<const Bytes32*>(in + i + 96);
    }
    long long fold = 0;
    for (; i < inBytes; ++i) fold |= in[i];
    const Bytes32 all = a | b | c | d;
    std::memset(out, value, outBytes);
    return fold | all[0] | all[1] | all[2] | all[3];
}

}  // namespace tarn::bench

#endif
