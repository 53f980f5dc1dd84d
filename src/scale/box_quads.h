// Boxes four or eight samples wide that follow one another along a row (a
// shrink by 4 or 8 on the columns), summed eight target pixels at a time;
// and boxes two 4-byte samples wide, rounded.
// Each run of four samples is added pairwise as it is read, the rows are
// added, and the fours of a box joined at the end, all in 16-bit lanes (at
// most 256 samples of 255 fit). The sums are integers, so their order is
// free; what differs between the users is how a sum becomes a byte.
#pragma once

#include <cstdint>

#include "scale/box_chains.h"

namespace tarn {

struct QuadBoxes {
    enum End : uint8_t {
        Chain,  // the box shrink's division chain, then saturation at 255
        Round,  // (sum + 2^(shift-1)) >> shift, the exact area shrink
    };
    uint32_t srcPitch;  // 3 or 4; a 3-byte sample's fourth lane is the byte after it
    uint32_t dstPitch;  // 3 or 4; a 3-byte target gets its three bytes only
    uint32_t width;     // samples per box: 4 or 8
    uint32_t rows;      // rows per box: 1..16 with Chain, 1..64 with Round
    intptr_t stride;    // source bytes from row to row
    End end;
    BoxChain chain;
    uint32_t shift;
};

// The kernels a form of the blocks keeps, and the one that serves q. Boxes
// as tall as they are wide (4 x 4, 8 x 8) get their row count fixed while
// compiling, and a box of 16 or 64 samples its shift too (its chain has no
// steps); the others take both at run time.
enum class QuadKernel : uint8_t { Four, FourSquare, FourSquareShifted, Eight, EightSquare, EightSquareShifted };

inline QuadKernel QuadKernelFor(const QuadBoxes& q) {
    const uint32_t shift = q.end == QuadBoxes::Round                         ? q.shift
                           : q.chain.preShift == 0 && q.chain.count == 0 ? q.chain.finalShift
                                                                          : 0;
    if (q.width == 4)
        return q.rows != 4 ? QuadKernel::Four : shift == 4 ? QuadKernel::FourSquareShifted : QuadKernel::FourSquare;
    return q.rows != 8 ? QuadKernel::Eight : shift == 6 ? QuadKernel::EightSquareShifted : QuadKernel::EightSquare;
}

#if defined(TARN_HAVE_X86_SIMD)
// `blocks` blocks of eight boxes from `src` (the first sample of the first
// box). With 3-byte samples each four is read as 16 bytes, three past the
// fourth sample's 4-byte load: the caller keeps them inside its memory.
using QuadBoxBlocksFn = void (*)(uint8_t* dst, const uint8_t* src, uint32_t blocks, const QuadBoxes& q);
void QuadBoxBlocksAvx2(uint8_t* dst, const uint8_t* src, uint32_t blocks, const QuadBoxes& q);
void QuadBoxBlocksAvx512(uint8_t* dst, const uint8_t* src, uint32_t blocks, const QuadBoxes& q);
// The fastest of them allowed: the rows of boxes 4 or 8 wide, AVX2 forms
// themselves, take their blocks from it (the AVX2 form at the least).
QuadBoxBlocksFn PickQuadBoxBlocks();

// `eights` runs of eight boxes two 4-byte samples wide and `rows` rows tall
// (at most 256 samples a box), one after another from `src`: each channel's
// (sum + 2^(shift-1)) >> shift, as 4-byte target pixels.
void PairBoxBlocksAvx2(uint8_t* dst, const uint8_t* src, uint32_t eights, intptr_t stride, uint32_t rows,
                       uint32_t shift);
// The same boxes two rows tall for n (1 to 4) target rows at once, `eights`
// runs of each, taken eight pixels of each row in turn: dst[i] from src[i].
// The caller makes sure no target row meets a source row of the group.
void PairBoxGroupAvx2(uint8_t* const* dst, const uint8_t* const* src, uint32_t n, uint32_t eights, intptr_t stride,
                      uint32_t shift);
#endif

}  // namespace tarn
