// Portable form of the platform lock.
#include "platform/plat_lock.h"

#include <new>

namespace tarn::platform {

void PlatInitCriticalSection(PlatCriticalSection* lock) { lock->mutex = new std::mutex; }

void PlatDeleteCriticalSection(PlatCriticalSection* lock) {
    delete lock->mutex;
    lock->mutex = nullptr;
}

void PlatEnterCriticalSection(PlatCriticalSection* lock) { lock->mutex->lock(); }

void PlatLeaveCriticalSection(PlatCriticalSection* lock) { lock->mutex->unlock(); }

}  // namespace tarn::platform
