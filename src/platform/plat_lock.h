// The platform's mutual-exclusion lock: a critical section on Windows, a
// standard mutex elsewhere. Enterable from any thread; not re-entrant within
// the library's own use.
#pragma once

#include <cstddef>

namespace tarn::platform {

// The system's lock object lives in the record itself, so making a lock never
// allocates and cannot fail: an object's constructor throws nothing out of the
// library. The storage is sized for the largest of those objects; each
// platform's file checks that its own fits.
inline constexpr size_t kPlatLockBytes = 64;

struct PlatCriticalSection {
    alignas(16) unsigned char storage[kPlatLockBytes];
};

void PlatInitCriticalSection(PlatCriticalSection* lock);
void PlatDeleteCriticalSection(PlatCriticalSection* lock);
void PlatEnterCriticalSection(PlatCriticalSection* lock);
void PlatLeaveCriticalSection(PlatCriticalSection* lock);

// Scope guard over Enter/Leave.
class PlatLockGuard {
public:
    explicit PlatLockGuard(PlatCriticalSection* lock) : lock_(lock) { PlatEnterCriticalSection(lock_); }
    ~PlatLockGuard() { PlatLeaveCriticalSection(lock_); }
    PlatLockGuard(const PlatLockGuard&) = delete;
    PlatLockGuard& operator=(const PlatLockGuard&) = delete;

private:
    PlatCriticalSection* lock_;
};

}  // namespace tarn::platform
