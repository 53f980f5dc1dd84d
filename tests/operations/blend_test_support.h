// What the blend tests share: the blend formula as stated, a byte comparison
// that names the first difference, and a loop over the forms this processor
// can run.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/cpu_features.h"
#include "platform/form_table.h"

namespace tarn::blend_test {

using Bytes = std::vector<uint8_t>;

inline uint8_t Mix(int o, int t, int w) { return uint8_t(((256 - w) * o + w * t) >> 8); }

// Index of the first differing byte, -1 when equal.
inline int FirstDiff(const Bytes& a, const Bytes& b) {
    for (size_t i = 0; i < a.size() && i < b.size(); ++i)
        if (a[i] != b[i]) return int(i);
    return a.size() == b.size() ? -1 : int(a.size());
}

// Runs body(form) with each form up to the host's forced in turn, on the
// processor's own tier.
template <class Body>
void ForEachHostForm(Body body) {
    for (SimdForm form : {SimdForm::Plain, SimdForm::Sse2, SimdForm::Avx2}) {
        if (form > HostSimdForm()) continue;
        ScopedKernelChoice choice(g_cpuFeatures, form);
        body(form);
    }
}

}  // namespace tarn::blend_test
