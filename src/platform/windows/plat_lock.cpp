// Windows form of the platform lock: the system's critical section, made in
// the record.
#include "platform/plat_lock.h"

#include <windows.h>

namespace tarn::platform {

static_assert(sizeof(CRITICAL_SECTION) <= kPlatLockBytes &&
                  alignof(CRITICAL_SECTION) <= alignof(PlatCriticalSection),
              "the lock record holds a critical section");

static CRITICAL_SECTION* SectionOf(PlatCriticalSection* lock) {
    return reinterpret_cast<CRITICAL_SECTION*>(lock->storage);
}

// Since Windows Vista InitializeCriticalSection cannot fail.
void PlatInitCriticalSection(PlatCriticalSection* lock) { InitializeCriticalSection(SectionOf(lock)); }

void PlatDeleteCriticalSection(PlatCriticalSection* lock) { DeleteCriticalSection(SectionOf(lock)); }

void PlatEnterCriticalSection(PlatCriticalSection* lock) { EnterCriticalSection(SectionOf(lock)); }

void PlatLeaveCriticalSection(PlatCriticalSection* lock) { LeaveCriticalSection(SectionOf(lock)); }

}  // namespace tarn::platform
