// The memory a kernel may touch, and guarded row access within it.
//
// Several kernels step outside their rows on purpose: odd widths make each
// later row (or row pair) start one pixel further left, which with a negative
// stride walks below the frame; the MMX planar-to-RGB body runs 8 pixels past
// the rows and drifts right; the 24-bit RGB-to-packed SSE2 body steps its
// source 4 bytes a pixel. Inside the frame these accesses land where they
// always have, and the pictures depend on them. Outside it they would touch
// memory nobody gave us, so there a read gives 0 and a write is dropped.
//
// A span is the frame as a range of addresses: from the lowest row start to
// the highest row start plus one whole stride. Planar frames are one block of
// memory in the library (Y, then the chroma planes), so a kernel with several
// planes on one side takes the union of their spans.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace tarn {

// Addresses are kept as integers until they are known to lie inside the span,
// so that no pointer is ever formed outside memory we were given.
using Addr = uintptr_t;

inline Addr AddrOf(const void* p) { return reinterpret_cast<Addr>(p); }
inline Addr Offset(Addr a, ptrdiff_t bytes) { return a + static_cast<Addr>(bytes); }

class Span {
public:
    Span() = default;
    Span(Addr lo, Addr hi) : lo_(lo), hi_(hi) {}

    // `rows` rows of |stride| bytes whose first (walk-order) row starts at p.
    static Span OfFrame(const void* p, ptrdiff_t stride, int32_t rows) {
        if (rows <= 0) return {};
        const Addr first = AddrOf(p);
        const Addr last = Offset(first, stride * (rows - 1));
        const Addr lo = std::min(first, last);
        const Addr hi = std::max(first, last) + static_cast<Addr>(stride < 0 ? -stride : stride);
        return {lo, hi};
    }
    // A planar frame: `rows` rows of luma and rows / 2 of each chroma plane.
    static Span OfPlanar(const void* y, const void* u, const void* v, ptrdiff_t yStride,
                         ptrdiff_t uvStride, int32_t rows) {
        return OfFrame(y, yStride, rows).Union(OfFrame(u, uvStride, rows / 2)).Union(OfFrame(v, uvStride, rows / 2));
    }
    Span Union(const Span& o) const {
        if (lo_ == hi_) return o;
        if (o.lo_ == o.hi_) return *this;
        return {std::min(lo_, o.lo_), std::max(hi_, o.hi_)};
    }

    Addr Lo() const { return lo_; }
    Addr Hi() const { return hi_; }

    bool Holds(Addr a, size_t n) const { return a >= lo_ && a <= hi_ && n <= hi_ - a; }

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

// The walk over the RGB or packed side of a kernel: |height| rows, and with
// a negative height from the last row up.
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

// Working rows of one kernel call. Left uninitialised: every byte is written
// before it is read, and a frame's worth of zeroing would cost a pass.
class Scratch {
public:
    explicit Scratch(size_t bytes) : data_(new uint8_t[bytes]) {}
    uint8_t* data() { return data_.get(); }

private:
    std::unique_ptr<uint8_t[]> data_;
};

}  // namespace tarn
