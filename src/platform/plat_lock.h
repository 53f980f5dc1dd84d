// The platform's mutual-exclusion lock, over a standard mutex. Enterable
// from any thread; not re-entrant within the library's own use.
#pragma once

#include <mutex>

namespace tarn::platform {

// The mutex lives in the record itself, so making a lock never allocates and
// cannot fail: an object's constructor throws nothing out of the library.
struct PlatCriticalSection {
    std::mutex mutex;
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
