// Portable form of the platform lock: a standard mutex held in the record.
#include "platform/plat_lock.h"

namespace tarn::platform {

// The record's mutex is made and unmade with the record; these keep the
// platform's calls in their places.
void PlatInitCriticalSection(PlatCriticalSection*) {}

void PlatDeleteCriticalSection(PlatCriticalSection*) {}

void PlatEnterCriticalSection(PlatCriticalSection* lock) { lock->mutex.lock(); }

void PlatLeaveCriticalSection(PlatCriticalSection* lock) { lock->mutex.unlock(); }

}  // namespace tarn::platform
