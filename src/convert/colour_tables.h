// Fixed-point BT.601 studio-range products used by the table form of the
// planar-to-RGB kernels. Each entry is factor x 8192 x (sample - offset).
#pragma once

#include <cstdint>

namespace tarn {

extern int32_t g_lumaTable[256];    // 9535  x (i - 16)   1.16394
extern int32_t g_blueFromU[256];    // 16531 x (i - 128)  2.01794
extern int32_t g_greenFromU[256];   // 3203  x (i - 128)  0.39099
extern int32_t g_greenFromV[256];   // 6660  x (i - 128)  0.81299
extern int32_t g_redFromV[256];     // 13074 x (i - 128)  1.59595

// Fills all five in one loop; called once by InitConversionKernels.
void FillColourTables();

}  // namespace tarn
