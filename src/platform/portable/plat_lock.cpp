// Portable form of the platform lock: a standard mutex made in the record.
#include "platform/plat_lock.h"

#include <mutex>
#include <new>

namespace tarn::platform {

static_assert(sizeof(std::mutex) <= kPlatLockBytes && alignof(std::mutex) <= alignof(PlatCriticalSection),
              "the lock record holds a standard mutex");

static std::mutex& MutexOf(PlatCriticalSection* lock) {
    return *std::launder(reinterpret_cast<std::mutex*>(lock->storage));
}

// A standard mutex's constructor is noexcept: making a lock cannot fail.
void PlatInitCriticalSection(PlatCriticalSection* lock) { new (lock->storage) std::mutex; }

void PlatDeleteCriticalSection(PlatCriticalSection* lock) { MutexOf(lock).~mutex(); }

void PlatEnterCriticalSection(PlatCriticalSection* lock) { MutexOf(lock).lock(); }

void PlatLeaveCriticalSection(PlatCriticalSection* lock) { MutexOf(lock).unlock(); }

}  // namespace tarn::platform
