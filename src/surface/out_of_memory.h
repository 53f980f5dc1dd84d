// Result codes, never exceptions, leave the library: work that runs short of
// memory deep inside (a list node, a kernel's scratch rows, whose functions
// have no result) answers VED_E_OUTOFMEMORY at the surface's door. Only
// std::bad_alloc is caught; the lists' length error is not, as hosts expect.
#pragma once

#include <new>

#include "tarn/TarnSurface.h"

namespace tarn {

template <class Work>
VedResult AnswerOutOfMemory(Work&& work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return VED_E_OUTOFMEMORY;
    }
}

}  // namespace tarn
