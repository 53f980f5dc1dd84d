// Forms within a tier, the per-family form tables, and the one switch that
// tests and benchmarks use to force a tier and a form.
//
// The feature word (cpu_features.h) decides which tier's arithmetic runs.
// Within a tier the fastest form the processor supports runs: each kernel
// family keeps one named table of its forms, best first and its plain form
// last, and picks from it with PickForm. All forms of a tier give the same
// bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

// Avx512 needs AVX-512 F, BW and VL together, and the system saving their
// registers.
enum class SimdForm : uint8_t { Plain = 0, Sse2 = 1, Avx2 = 2, Avx512 = 3 };

// The widest form this processor runs (Plain where the fast forms are not built).
SimdForm HostSimdForm();

// The widest form allowed at the moment: the host's, or less while forced.
SimdForm ActiveSimdForm();

template <class Fn>
struct FormEntry {
    SimdForm form;
    Fn fn;
};

// Whether a table ends, as PickForm needs, in its plain form: each family's
// table is checked with it where it is defined. (Whether the function is
// there cannot be asked while compiling: the address of an inline template
// is not a constant one may compare with null.)
template <class Fn, size_t N>
constexpr bool EndsInPlainForm(const FormEntry<Fn> (&table)[N]) {
    return table[N - 1].form == SimdForm::Plain;
}

// First entry whose form is allowed; the last entry must be the plain form.
template <class Fn, size_t N>
Fn PickForm(const FormEntry<Fn> (&table)[N]) {
    const SimdForm active = ActiveSimdForm();
    for (size_t i = 0; i + 1 < N; ++i)
        if (table[i].form <= active) return table[i].fn;
    return table[N - 1].fn;
}

// Sets g_cpuFeatures and the widest form for its lifetime, then restores both.
// Not for concurrent use: tests run one choice at a time.
class ScopedKernelChoice {
public:
    ScopedKernelChoice(uint32_t features, SimdForm form);
    ~ScopedKernelChoice();
    ScopedKernelChoice(const ScopedKernelChoice&) = delete;
    ScopedKernelChoice& operator=(const ScopedKernelChoice&) = delete;

private:
    uint32_t savedFeatures_;
    SimdForm savedForm_;
};

// "tier SSE2, form AVX2": what runs now, for bug reports and benchmark labels.
const char* DescribeKernelChoice();
const char* FormName(SimdForm form);

}  // namespace tarn
