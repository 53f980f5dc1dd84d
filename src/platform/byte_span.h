// Which bytes a kernel may touch: a range of addresses, guarded access
// within it, and the test whether two ranges meet.
//
// Several kernels step outside their rows on purpose: odd widths make each
// later row (or row pair) start one pixel further left, which with a negative
// stride walks below the frame; the MMX planar-to-RGB body runs 8 pixels past
// the rows and drifts right; the 24-bit RGB-to-packed SSE2 body steps its
// source 4 bytes a pixel. Inside the frame these accesses land where they
// always have, and the pictures depend on them. Outside it they would touch
// memory nobody gave us, so there a read gives 0 and a write is dropped.
// The scaler asks the other question of the same ranges: whether the bytes
// it writes can meet the bytes it reads, so that work done once may be
// reused across rows.
//
// A frame's span runs from the lowest row start to the highest row start
// plus one whole stride. Planar frames are one block of memory in the library
// (luma, then the chroma planes), so a kernel with several planes on one
// side takes the union of their spans. Spans are values, handed to the code
// that needs them as arguments.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tarn {

// Addresses are kept as integers until they are known to lie inside the span,
// so that no pointer is ever formed outside memory we were given.
using Addr = uintptr_t;

inline Addr AddrOf(const void* p) { return reinterpret_cast<Addr>(p); }
inline Addr Offset(Addr a, ptrdiff_t bytes) { return a + static_cast<Addr>(bytes); }

// [Lo(), Hi()) as addresses; empty when both are equal.
class ByteSpan {
public:
    ByteSpan() = default;
    ByteSpan(Addr lo, Addr hi) : lo_(lo), hi_(hi) {}

    // n bytes from p.
    static ByteSpan OfBytes(const void* p, size_t n) { return {AddrOf(p), AddrOf(p) + n}; }
    // `rows` rows of `rowBytes` each, |stride| apart, whose first (walk-order)
    // row starts at p: from the lowest row start to the end of the highest row.
    static ByteSpan OfRows(const void* p, ptrdiff_t stride, int32_t rows, size_t rowBytes) {
        if (rows <= 0) return {};
        const Addr first = AddrOf(p);
        const Addr last = Offset(first, stride * (rows - 1));
        return {std::min(first, last), std::max(first, last) + rowBytes};
    }
    // `rows` rows of |stride| bytes whose first (walk-order) row starts at p.
    static ByteSpan OfFrame(const void* p, ptrdiff_t stride, int32_t rows) {
        return OfRows(p, stride, rows, static_cast<size_t>(stride < 0 ? -stride : stride));
    }
    // A planar frame: `rows` rows of luma and rows / 2 of each chroma plane.
    static ByteSpan OfPlanar(const void* luma, const void* firstChroma, const void* secondChroma,
                             ptrdiff_t lumaStride, ptrdiff_t chromaStride, int32_t rows) {
        return OfFrame(luma, lumaStride, rows)
            .Union(OfFrame(firstChroma, chromaStride, rows / 2))
            .Union(OfFrame(secondChroma, chromaStride, rows / 2));
    }

    ByteSpan Union(const ByteSpan& o) const {
        if (Empty()) return o;
        if (o.Empty()) return *this;
        return {std::min(lo_, o.lo_), std::max(hi_, o.hi_)};
    }

    Addr Lo() const { return lo_; }
    Addr Hi() const { return hi_; }
    bool Empty() const { return lo_ == hi_; }

    // Whether n bytes at a lie inside.
    bool Holds(Addr a, size_t n) const { return a >= lo_ && a <= hi_ && n <= hi_ - a; }
    // Whether no byte lies in both spans.
    bool ApartFrom(const ByteSpan& o) const { return hi_ <= o.lo_ || o.hi_ <= lo_; }

    uint8_t Read(Addr a) const { return Holds(a, 1) ? *reinterpret_cast<const uint8_t*>(a) : 0; }
    void Write(Addr a, uint8_t v) const {
        if (Holds(a, 1)) *reinterpret_cast<uint8_t*>(a) = v;
    }

    // n bytes at a: the memory itself when the span holds them all, otherwise
    // a copy in `scratch` with 0 for each byte outside.
    const uint8_t* Fetch(Addr a, size_t n, uint8_t* scratch) const {
        if (Holds(a, n)) return reinterpret_cast<const uint8_t*>(a);
        std::memset(scratch, 0, n);
        size_t from, count;
        if (Overlap(a, n, &from, &count))
            std::memcpy(scratch + from, reinterpret_cast<const uint8_t*>(a + from), count);
        return scratch;
    }
    // Writable n bytes at a: the memory itself, or `scratch` to be handed to
    // Store afterwards.
    uint8_t* Target(Addr a, size_t n, uint8_t* scratch) const {
        return Holds(a, n) ? reinterpret_cast<uint8_t*>(a) : scratch;
    }
    // Completes a Target: copies the bytes of `data` that fall inside.
    void Store(Addr a, const uint8_t* data, size_t n) const {
        if (data == reinterpret_cast<const uint8_t*>(a)) return;
        size_t from, count;
        if (Overlap(a, n, &from, &count))
            std::memcpy(reinterpret_cast<uint8_t*>(a + from), data + from, count);
    }

private:
    // The bytes [a + from, a + from + count) of [a, a + n) that lie inside.
    bool Overlap(Addr a, size_t n, size_t* from, size_t* count) const {
        const Addr end = a + n;  // rows never wrap the address space
        const Addr first = std::max(a, lo_), last = std::min(end, hi_);
        if (first >= last) return false;
        *from = first - a;
        *count = last - first;
        return true;
    }

    Addr lo_ = 0, hi_ = 0;
};

// True when `rows` rows of `rowBytes` at `stride` (at least one row is
// counted) neither overlap each other nor `other`: writing them cannot
// change a byte of `other`.
inline bool RowsApart(const void* p, size_t rowBytes, uint32_t rows, ptrdiff_t stride, const ByteSpan& other) {
    const ByteSpan written = ByteSpan::OfRows(p, stride, int32_t(rows ? rows : 1), rowBytes);
    const size_t pitch = static_cast<size_t>(stride < 0 ? -stride : stride);
    return written.ApartFrom(other) && (rows <= 1 || pitch >= rowBytes);
}

// The walk over rows of one side of a kernel: |height| rows, and with a
// negative height from the last row up.
struct RowWalk {
    int32_t rows;
    Addr base;
    ptrdiff_t step;
};
inline RowWalk WalkOf(const void* p, ptrdiff_t stride, int32_t height) {
    const int32_t rows = height < 0 ? -height : height;
    if (height < 0) return {rows, Offset(AddrOf(p), stride * (rows - 1)), -stride};
    return {rows, AddrOf(p), stride};
}

}  // namespace tarn
