// Boxes four or eight samples wide that follow one another along a row
// (box_quads.h), AVX-512 form: the AVX2 form's arithmetic on four runs of
// four samples a register instead of two. Each run's sample pairs are
// interleaved channel by channel and added by one multiply-add with ones,
// the rows are added in 16-bit lanes, and the fours of a box joined at the
// end; the sums are integers, so the order differs from the AVX2 form's
// without changing a byte.
#include <immintrin.h>

#include "scale/box_quads.h"

namespace tarn {
namespace {

// The constants of the sums, set up once a call: in a loop the compiler
// keeps them in registers.
struct PairConsts {
    __m512i pairs;   // per 128-bit lane: bytes of samples 0+1 and 2+3 side by side
    __m512i spread;  // 3-byte samples: bytes 12k..12k+15 into lane k
    __m512i ones;
};

template <uint32_t SP>
PairConsts MakePairConsts() {
    // The byte orders as little-endian dwords, one lane's four repeated.
    const int a = SP == 4 ? 0x05010400 : 0x04010300, b = SP == 4 ? 0x07030602 : 0x06030502;
    const int c = SP == 4 ? 0x0D090C08 : 0x0A070906, d = SP == 4 ? 0x0F0B0E0A : 0x0C090B08;
    return {_mm512_setr_epi32(a, b, c, d, a, b, c, d, a, b, c, d, a, b, c, d),
            _mm512_setr_epi32(0, 1, 2, 3, 3, 4, 5, 6, 9, 10, 11, 12, 12, 13, 14, 15), _mm512_set1_epi8(1)};
}

// Four runs of four samples from p, one per 128-bit lane: words 0-3 of a
// lane hold the channel sums of samples 0+1, words 4-7 of samples 2+3.
// The 64 bytes come in two 32-byte loads: sources are rarely aligned to
// 64 bytes, a 64-byte load from one spans two cache lines every time, and
// with the rows coming from memory that measured slower than two loads
// (of which half span two lines). 3-byte
// samples: each run is the 16 bytes from its first sample, as the AVX2
// form reads them (the fourth sample's load and the three bytes after it);
// the four runs span 52 bytes, loaded as bytes 0-31 and 20-51 and spread
// a dword at a time.
template <uint32_t SP>
inline __m512i PairSums(const uint8_t* p, const PairConsts& k) {
    constexpr uint32_t second = SP == 4 ? 32 : 20;
    __m512i v = _mm512_inserti64x4(_mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))),
                                   _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + second)), 1);
    if constexpr (SP == 3) v = _mm512_permutexvar_epi32(k.spread, v);
    return _mm512_maddubs_epi16(_mm512_shuffle_epi8(v, k.pairs), k.ones);
}

// The chain on 16-bit lanes (box_chains.h), as the AVX2 form runs it.
inline __m512i Divide(__m512i s, const BoxChain& ch) {
    if (ch.preShift) s = _mm512_srli_epi16(s, 1);
    __m512i a = s, t = s;
    for (uint32_t i = 0; i < ch.count; ++i) {
        t = _mm512_srl_epi16(t, _mm_cvtsi32_si128(ch.k[i]));
        a = _mm512_add_epi16(a, t);
    }
    return _mm512_srl_epi16(a, _mm_cvtsi32_si128(ch.finalShift));
}

// Each block walks `rows` rows side by side, a few cache lines of each:
// the hardware sees several short streams and fetches them late, so with a
// row count known only at run time every row is fetched ahead by hand.
constexpr uint32_t kAhead = 1024;

template <uint32_t Bytes>
inline void FetchAhead(const uint8_t* p) {
    for (uint32_t o = 0; o < Bytes; o += 64) _mm_prefetch(reinterpret_cast<const char*>(p + kAhead + o), _MM_HINT_T0);
}

// Lanes (0, 2) of a and of b, and lanes (1, 3) of both, added: with a box
// in each pair of neighbouring lanes of a and b, the four boxes in order.
inline __m512i JoinLanePairs(__m512i a, __m512i b) {
    return _mm512_add_epi16(_mm512_shuffle_i64x2(a, b, 0x88), _mm512_shuffle_i64x2(a, b, 0xDD));
}

// The eight boxes of a block from their pair sums (2K registers): joining
// the lanes that belong to one box, then the two halves of each lane,
// leaves boxes 2k and 2k + 1 in lane k, which narrow to the eight target
// pixels in order.
struct EmitConsts {
    __m256i squeeze, close;
    __m512i half;
    BoxChain chain;
};

inline EmitConsts MakeEmitConsts(const QuadBoxes& q) {
    // Rounding is a chain without steps after adding half the divisor.
    const bool round = q.end == QuadBoxes::Round;
    // Per 128-bit lane: its four 3-byte pixels first; then dwords 0-2 and
    // 4-6 side by side, the 24 bytes of the eight pixels.
    return {_mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -128, -128, -128, -128,
                             0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -128, -128, -128, -128),
            _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7), _mm512_set1_epi16(round ? int16_t(1 << (q.shift - 1)) : 0),
            round ? BoxChain{0, uint8_t(q.shift), 0, {}} : q.chain};
}

template <uint32_t DP, uint32_t K, uint32_t Shift>
inline void Emit(uint8_t* dst, const __m512i* acc, const EmitConsts& e) {
    // Boxes 0-3 and 4-7, one a lane.
    __m512i lo, hi;
    if constexpr (K == 1) {
        lo = acc[0], hi = acc[1];
    } else {
        lo = JoinLanePairs(acc[0], acc[1]);
        hi = JoinLanePairs(acc[2], acc[3]);
    }
    // Boxes 0, 2, 4, 6 and 1, 3, 5, 7; then lane k holds box 2k in its
    // low half and box 2k + 1 in its high half.
    const __m512i even = _mm512_shuffle_i64x2(lo, hi, 0x88), odd = _mm512_shuffle_i64x2(lo, hi, 0xDD);
    __m512i s = _mm512_add_epi16(_mm512_add_epi16(_mm512_unpacklo_epi64(even, odd), _mm512_unpackhi_epi64(even, odd)), e.half);
    // Every lane is below 32768 here, where narrowing with unsigned
    // saturation gives what the AVX2 form's signed packing gives.
    if constexpr (Shift != 0) s = _mm512_srli_epi16(s, Shift);
    else s = Divide(s, e.chain);
    const __m256i px = _mm512_cvtusepi16_epi8(s);
    if constexpr (DP == 4) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), px);
    } else {
        const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(px, e.squeeze), e.close);
        _mm256_mask_storeu_epi8(dst, 0x00FFFFFFu, packed);
    }
}

// Eight boxes of K fours each (K = 1: a register holds four boxes, one a
// lane; K = 2: two, one in each pair of lanes), the rows' pair sums added
// in place. R rows known while compiling (R = 0: q.rows): each register
// then takes all its rows at once, every load of the block free to go
// ahead. (Rows summed one after another into a buffer, so that each is
// read from start to end, and fetching ahead by hand both measured slower.)
template <uint32_t SP, uint32_t DP, uint32_t K, uint32_t R, uint32_t Shift = 0>
void Blocks(uint8_t* dst, const uint8_t* src, uint32_t blocks, const QuadBoxes& q) {
    constexpr uint32_t regs = 2 * K;
    const PairConsts k = MakePairConsts<SP>();
    const EmitConsts e = MakeEmitConsts(q);
    const intptr_t stride = q.stride;
    for (uint32_t b = 0; b < blocks; ++b, src += 8 * 4 * K * SP, dst += 8 * DP) {
        __m512i acc[regs];
        if constexpr (R != 0) {
            for (uint32_t i = 0; i < regs; ++i) {
                const uint8_t* p = src + 16 * SP * i;
                __m512i v = PairSums<SP>(p, k);
                for (uint32_t r = 1; r < R; ++r) v = _mm512_add_epi16(v, PairSums<SP>(p + intptr_t(r) * stride, k));
                acc[i] = v;
            }
        } else {
            for (uint32_t i = 0; i < regs; ++i) acc[i] = PairSums<SP>(src + 16 * SP * i, k);
            const uint8_t* p = src;
            FetchAhead<32 * K * SP>(src);
            for (uint32_t r = 1; r < q.rows; ++r) {
                p += stride;
                FetchAhead<32 * K * SP>(p);
                for (uint32_t i = 0; i < regs; ++i) acc[i] = _mm512_add_epi16(acc[i], PairSums<SP>(p + 16 * SP * i, k));
            }
        }
        Emit<DP, K, Shift>(dst, acc, e);
    }
}

// The kernel box_quads.h picks for q.
template <uint32_t SP, uint32_t DP>
void BlocksOf(uint8_t* dst, const uint8_t* src, uint32_t blocks, const QuadBoxes& q) {
    using Fn = void (*)(uint8_t*, const uint8_t*, uint32_t, const QuadBoxes&);
    // In the order of QuadKernel.
    static const Fn kernels[] = {Blocks<SP, DP, 1, 0>, Blocks<SP, DP, 1, 4>, Blocks<SP, DP, 1, 4, 4>,
                                 Blocks<SP, DP, 2, 0>, Blocks<SP, DP, 2, 8>, Blocks<SP, DP, 2, 8, 6>};
    kernels[static_cast<int>(QuadKernelFor(q))](dst, src, blocks, q);
}

}  // namespace

void QuadBoxBlocksAvx512(uint8_t* dst, const uint8_t* src, uint32_t blocks, const QuadBoxes& q) {
    using Fn = void (*)(uint8_t*, const uint8_t*, uint32_t, const QuadBoxes&);
    static const Fn forms[2][2] = {{BlocksOf<3, 3>, BlocksOf<3, 4>}, {BlocksOf<4, 3>, BlocksOf<4, 4>}};
    forms[q.srcPitch == 4][q.dstPitch == 4](dst, src, blocks, q);
}

}  // namespace tarn
