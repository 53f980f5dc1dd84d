// The memory traffic of a case and nothing else, for the matrix's floor
// rows: every byte of the source read once, in 32-byte loads four at a
// time, and the bytes the case must leave in the caller's buffer written
// once, by memset or around the caches. No arithmetic, no second pass: whatever a case computes
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

// The same reads, and the first `streamed` bytes of the writes stored
// around the caches in whole 32-byte lines (no line is read in before it is
// overwritten), the rest by memset. For a target far larger than the
// caches this is the cheapest way found here to leave the bytes there: the
// memset of the last third of a frame that doubles in size beats streaming
// it too, and so does streaming the rest rather than setting all of it.
__attribute__((target("avx2"))) inline long long BytesFloorStreamed(const uint8_t* in, size_t inBytes, uint8_t* out,
                                                                     size_t streamed, size_t outBytes, uint8_t value) {
    const long long fold = BytesFloor(in, inBytes, out, 0, value);
    size_t i = 0;
    for (; i < streamed && reinterpret_cast<uintptr_t>(out + i) % 32; ++i) out[i] = value;
    const Bytes32 v = Bytes32{} + static_cast<long long>(0x0101010101010101ull * value);
    for (; i + 32 <= streamed; i += 32)
        __asm__ volatile("vmovntdq %1, %0" : "=m"(*reinterpret_cast<Bytes32*>(out + i)) : "x"(v));
    __builtin_ia32_sfence();
    std::memset(out + i, value, outBytes - i);
    return fold;
}

}  // namespace tarn::bench

#endif
