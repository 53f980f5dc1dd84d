// Reference counting under each object's own lock.
#include "surface/ved_unknown.h"

namespace VideoEdit {

using namespace tarn::platform;

CVedUnknown::CVedUnknown() { PlatInitCriticalSection(&refLock); }

CVedUnknown::~CVedUnknown() { PlatDeleteCriticalSection(&refLock); }

uint32_t CVedUnknown::AddRef() {
    PlatEnterCriticalSection(&refLock);
    ++refCount;
    PlatLeaveCriticalSection(&refLock);
    return static_cast<uint32_t>(refCount.load());
}

uint32_t CVedUnknown::Release() {
    // Only the thread whose decrement reaches zero deletes, and the count it
    // answers is the one it made: reading the count again after leaving the
    // lock could see another thread's last release, and both would delete.
    PlatEnterCriticalSection(&refLock);
    const int32_t count = --refCount;
    PlatLeaveCriticalSection(&refLock);
    if (count == 0) delete this;
    return static_cast<uint32_t>(count);
}

VedResult CVedUnknown::QueryInterface(const VedId&, void**) { return VED_E_NOTSUPPORTED; }

}  // namespace VideoEdit
