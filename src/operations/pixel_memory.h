// Pixel buffers of the library: the array form of new, with tail slack.
//
// Some kernels write or read a few bytes past the last pixel on purpose (the
// 24-bit stores go 4 bytes at a time, wide loads take whole vectors); the
// slack keeps those bytes inside memory the library owns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

namespace tarn {

inline constexpr size_t kPixelTailSlack = 64;

// Null when `bytes` is not positive, too large, or memory is short. The
// slack is zero: a 24-bit pixel read four bytes at a time at the end of the
// last row takes a byte of it into a 32-bit result, which must not depend on
// what the heap held.
inline uint8_t* NewPixelArray(int64_t bytes, size_t extraSlack = 0) {
    if (bytes <= 0 || static_cast<uint64_t>(bytes) > (uint64_t(1) << 40)) return nullptr;
    const size_t n = static_cast<size_t>(bytes), slack = kPixelTailSlack + extraSlack;
    uint8_t* p = new (std::nothrow) uint8_t[n + slack];
    if (p) std::memset(p + n, 0, slack);
    return p;
}

inline void DeletePixelArray(uint8_t* p) { delete[] p; }

// A new buffer not yet handed to its surface: freed if the work on it ends
// early, as when a kernel cannot have its scratch rows and throws.
class PendingPixels {
public:
    explicit PendingPixels(uint8_t* p = nullptr) : p_(p) {}
    ~PendingPixels() { DeletePixelArray(p_); }
    PendingPixels(const PendingPixels&) = delete;
    PendingPixels& operator=(const PendingPixels&) = delete;
    void reset(uint8_t* p) {
        DeletePixelArray(p_);
        p_ = p;
    }
    uint8_t* get() const { return p_; }
    uint8_t* release() {
        uint8_t* p = p_;
        p_ = nullptr;
        return p;
    }

private:
    uint8_t* p_;
};

}  // namespace tarn
