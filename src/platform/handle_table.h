// Checked handles of the portable platform objects (global memory blocks and
// image containers). A handle is a number the table gave out, never the
// address of the object, so a stale or made-up handle is looked up and
// refused instead of being followed. Numbers are not reused.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>

namespace tarn::platform {

template <class Object>
class HandleTable {
public:
    // Stores `object` and answers its new handle, or 0 when the table
    // cannot grow: the platform functions answer failures, never throw.
    uintptr_t Insert(std::unique_ptr<Object> object) {
        if (!object) return 0;
        std::lock_guard<std::mutex> guard(mutex_);
        // Multiples of 16 that no small integer matches.
        const uintptr_t handle = (counter_ + 1) << 4;
        try {
            objects_.emplace(handle, std::move(object));
        } catch (const std::bad_alloc&) {
            return 0;
        }
        ++counter_;
        return handle;
    }

    // Runs `work(object)` under the table's lock and answers its result; for
    // a handle that is not in the table answers `refused` and runs nothing.
    template <class Result, class Work>
    Result With(uintptr_t handle, Result refused, Work work) {
        std::lock_guard<std::mutex> guard(mutex_);
        const auto found = objects_.find(handle);
        if (found == objects_.end()) return refused;
        return work(*found->second);
    }

    // Takes the object out; null for a handle that is not in the table.
    std::unique_ptr<Object> Remove(uintptr_t handle) {
        std::lock_guard<std::mutex> guard(mutex_);
        const auto found = objects_.find(handle);
        if (found == objects_.end()) return nullptr;
        std::unique_ptr<Object> object = std::move(found->second);
        objects_.erase(found);
        return object;
    }

private:
    std::mutex mutex_;
    uintptr_t counter_ = 0;
    std::unordered_map<uintptr_t, std::unique_ptr<Object>> objects_;
};

// Largest pixel store of a portable platform object: what a signed 32-bit
// byte count reaches, as on the 32-bit system.
inline constexpr size_t kMaxPlatformBytes = 0x7FFFFFFF;

// A platform object's pixel store: zeroed, with the same tail slack that the
// library's own pixel buffers carry, because some kernels touch a few bytes
// past the last pixel. Null when `count` is too large or memory is short.
inline std::unique_ptr<uint8_t[]> NewZeroedBytes(size_t count) {
    constexpr size_t kTailSlack = 64;
    if (count > kMaxPlatformBytes) return nullptr;
    return std::unique_ptr<uint8_t[]>(new (std::nothrow) uint8_t[count + kTailSlack]());
}

}  // namespace tarn::platform
