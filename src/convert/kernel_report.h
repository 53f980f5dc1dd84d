// What runs: for each conversion family the format-conversion functions use,
// the kernel the feature word selects and the form it runs in. For bug
// reports and the diagnostic program; the library itself never prints it.
#pragma once

#include <vector>

#include "platform/form_table.h"

namespace tarn {

struct FamilyReport {
    const char* family;  // "planar to 32-bit"
    const char* kernel;  // the kernel the tier selects
    const char* tier;    // "plain", "MMX" or "SSE2"
    SimdForm form;       // the form of its rows that runs now
};

// With the feature word and form cap in force now (ScopedKernelChoice
// changes both).
std::vector<FamilyReport> ReportConversionFamilies();

// The names of the feature word's bits that are set, "MMX SSE SSE2".
std::vector<const char*> FeatureNames(uint32_t features);

}  // namespace tarn
