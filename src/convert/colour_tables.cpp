// The five colour lookup tables, filled at load.
#include "convert/colour_tables.h"

namespace tarn {

int32_t g_lumaTable[256];
int32_t g_blueFromU[256];
int32_t g_greenFromU[256];
int32_t g_greenFromV[256];
int32_t g_redFromV[256];

void FillColourTables() {
    // One accumulator per table; the luma one runs from 9535 x (0 - 16) while
    // below 9535 x (256 - 16), which is exactly 256 steps.
    int32_t luma = -152560, blue = -2115968, greenU = -409984, greenV = -852480, red = -1673472;
    for (int i = 0; luma < 2288400; ++i) {
        g_lumaTable[i] = luma;
        g_blueFromU[i] = blue;
        g_greenFromU[i] = greenU;
        g_greenFromV[i] = greenV;
        g_redFromV[i] = red;
        luma += 9535;
        blue += 16531;
        greenU += 3203;
        greenV += 6660;
        red += 13074;
    }
}

}  // namespace tarn
