// The reference-counted base of every object the library hands out.
//
// A concrete object has its public interface as first base and CVedUnknown
// as second. The interface's AddRef, Release and QueryInterface forward to the
// CVedUnknown side; a concrete class replaces only QueryInterface and the
// destructor.
#pragma once

#include <atomic>

#include "platform/plat_lock.h"
#include "tarn/TarnSurface.h"

namespace VideoEdit {

class CVedUnknown {
public:
    CVedUnknown();
    virtual ~CVedUnknown();

    // Each returns the count as read after the lock is left, so it may already
    // show another thread's later change.
    virtual uint32_t TARN_CALL AddRef();
    virtual uint32_t TARN_CALL Release();
    // The base answers VED_E_NOTSUPPORTED to every id and touches nothing.
    virtual VedResult TARN_CALL QueryInterface(const VedId& id, void** out);

    CVedUnknown(const CVedUnknown&) = delete;
    CVedUnknown& operator=(const CVedUnknown&) = delete;

protected:
    // Answers for a class whose interface is `self` with id `own`: that id and
    // the base id match; a match with a null `out` is a bad argument, and a
    // mismatch is not supported whatever `out` is.
    template <class Interface>
    static VedResult AnswerQuery(Interface* self, const VedId& own, const VedId& id, void** out) {
        if (!(id == own) && !(id == IID_IVedUnknown)) return VED_E_NOTSUPPORTED;
        if (!out) return VED_E_INVALIDARG;
        *out = self;
        self->AddRef();
        return VED_S_OK;
    }

    // Changed only under refLock; read after the lock is left, hence atomic.
    std::atomic<int32_t> refCount{0};
    tarn::platform::PlatCriticalSection refLock;
};

}  // namespace VideoEdit
