// Reference counting under each object's own lock.
#include "object/ved_unknown.h"

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
    PlatEnterCriticalSection(&refLock);
    --refCount;
    PlatLeaveCriticalSection(&refLock);
    const int32_t count = refCount.load();
    if (count == 0) delete this;
    return static_cast<uint32_t>(count);
}

VedResult CVedUnknown::QueryInterface(const VedId&, void**) { return VED_E_NOTSUPPORTED; }

}  // namespace VideoEdit
