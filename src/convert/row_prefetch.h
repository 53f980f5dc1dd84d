// Asking ahead for the source rows a kernel reads next.
//
// The kernels that read each source row once (packed to RGB, RGB to planar
// and to packed) spend their time waiting on the source: every new row
// starts a new stream, which the processor's prefetcher picks up late, and
// for a mirrored picture, walked from its last row up, hardly at all. A
// mirrored frame ran twice as long as an upright one, and an upright row
// pair kernel half as long again as its bytes ask. So these kernels convert
// each row in chunks and, before each chunk, hint the same columns of the
// rows they read next, with the non-temporal hint, as the source is read
// once. Hinting a whole row at its start instead fills the processor's
// queue of misses and stalls the row's own loads. The smoothing kernels,
// which read each row three times and mostly from cache, ran up to twice as
// long with hints, and have none.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "platform/byte_span.h"

namespace tarn {

// One cache line. A hint changes nothing the compiler can see, and GCC
// drops loops of nothing but hints as dead code; the empty asm statement,
// which takes the address, keeps the loop and emits no instruction.
inline void Hint(Addr a) {
#if defined(__GNUC__) || defined(__clang__)
    __builtin_prefetch(reinterpret_cast<const void*>(a), 0, 0);
    __asm__ volatile("" : : "r"(a));
#else
    (void)a;
#endif
}

// Hints the cache lines of n bytes at `at`, those inside `span` only.
inline void HintBytes(const ByteSpan& span, Addr at, size_t n) {
    const Addr lo = std::max(at, span.Lo()), hi = std::min(at + n, span.Hi());
    for (Addr a = lo & ~Addr(63); a < hi; a += 64) Hint(a);
}

// The rows a kernel reads after the present ones, hinted a chunk at a time.
class NextRows {
public:
    explicit NextRows(const ByteSpan& span) : span_(span) {}
    // A row that starts at `at` and has `halfBytes` half bytes a unit of the
    // chunks (2 for a luma row in pixels, 1 for its chroma rows).
    void Add(Addr at, size_t halfBytes) {
        if (count_ < kMost) rows_[count_++] = {at, halfBytes};
    }
    bool Empty() const { return count_ == 0; }
    // Units [from, from + n) of each row.
    void Hint(size_t from, size_t n) const {
        for (int i = 0; i < count_; ++i)
            HintBytes(span_, Offset(rows_[i].at, ptrdiff_t(from * rows_[i].halfBytes / 2)), n * rows_[i].halfBytes / 2);
    }

private:
    static constexpr int kMost = 4;
    struct Row {
        Addr at;
        size_t halfBytes;
    };
    ByteSpan span_;
    Row rows_[kMost] = {};
    int count_ = 0;
};

// Runs convert(from, n) over units [0, total) in chunks of `chunk` (a
// multiple of the row form's block, so that the bytes are those of one
// call), hinting the same units of the next rows before each.
template <class Convert>
void InChunks(const NextRows& ahead, size_t total, size_t chunk, Convert&& convert) {
    if (ahead.Empty()) {
        convert(size_t(0), total);
        return;
    }
    for (size_t x = 0; x < total; x += chunk) {
        const size_t n = std::min(chunk, total - x);
        ahead.Hint(x, n);
        convert(x, n);
    }
}

}  // namespace tarn
