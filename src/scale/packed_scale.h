// The 4:2:2 scaler's fast form and the tables it works from. Target byte i
// of a row (pixel i / 2, byte i % 2 of its pair) reads source bytes off0[i]
// and off1[i] of two rows (its pair and the next, clamped into the row) and
// blends them by dx[i], the fraction of its position, as ScalePacked does.
#pragma once

#include <cstdint>

#include "scale/scale.h"

namespace tarn {

using ScalePackedFn = void (*)(const ScaleTarget& target, const ScaleSource& source);

void ScalePackedPlain(const ScaleTarget& target, const ScaleSource& source);

#if defined(TARN_HAVE_X86_SIMD)
// Same arguments and bytes as ScalePacked; the caller makes sure the target
// shares no byte with the source.
void ScalePackedAvx2(const ScaleTarget& target, const ScaleSource& source);
#endif

}  // namespace tarn
