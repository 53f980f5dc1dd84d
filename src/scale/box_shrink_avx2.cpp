// Box shrink, AVX2 form. Boxes two samples wide over consecutive samples
// are summed 4 target pixels at a time (4-byte sources within any run,
// 3-byte sources in runs paired throughout), boxes four or eight samples
// wide that follow one another 8 at a time (box_quads.h), in 16-bit lanes,
// and divided by the same chain as the plain kernels (the chain's shifts
// and adds on each lane are the plain arithmetic). Other pixels, count 0
// with its lagging offsets included, go to the plain kernels.
#include <immintrin.h>

#include <bit>
#include <cstring>

#include "scale/box_quads.h"
#include "scale/box_shrink.h"

namespace tarn {
namespace {

__m256i Divide(__m256i s, const BoxChain& ch) {
    if (ch.preShift) s = _mm256_srli_epi16(s, 1);
    __m256i a = s, t = s;
    for (uint32_t i = 0; i < ch.count; ++i) {
        t = _mm256_srl_epi16(t, _mm_cvtsi32_si128(ch.k[i]));
        a = _mm256_add_epi16(a, t);
    }
    return _mm256_srl_epi16(a, _mm_cvtsi32_si128(ch.finalShift));
}

// The same chain known while compiling: immediate shifts, no loop.
template <BoxChain ch>
__m256i Divide(__m256i s) {
    if constexpr (ch.preShift != 0) s = _mm256_srli_epi16(s, 1);
    __m256i a = s, t = s;
    for (uint32_t i = 0; i < ch.count; ++i) {
        t = _mm256_srl_epi16(t, _mm_cvtsi32_si128(ch.k[i]));
        a = _mm256_add_epi16(a, t);
    }
    return _mm256_srli_epi16(a, ch.finalShift);
}

// PairedRun eight entries at a time: counts of 2 and offsets 8 bytes apart.
uint32_t PairedRunWide(const uint32_t* offsets, const uint32_t* counts, uint32_t j, uint32_t k, uint32_t len) {
    if (j >= len || counts[j] != 2) return 0;
    uint32_t n = 1;
    const __m256i two = _mm256_set1_epi32(2), eight = _mm256_set1_epi32(8);
    while (j + n + 8 <= len) {
        const __m256i c = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(counts + j + n));
        const __m256i o = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(offsets + k + n));
        const __m256i prev = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(offsets + k + n - 1));
        const __m256i ok = _mm256_and_si256(_mm256_cmpeq_epi32(c, two),
                                            _mm256_cmpeq_epi32(o, _mm256_add_epi32(prev, eight)));
        const uint32_t mask = static_cast<uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(ok)));
        if (mask != 0xFF) return n + static_cast<uint32_t>(std::countr_zero(~mask));
        n += 8;
    }
    while (j + n < len && counts[j + n] == 2 && offsets[k + n] == offsets[k + n - 1] + 8) ++n;
    return n;
}

// Two runs of four samples, one per 128-bit half (4-byte samples: one
// 32-byte load; 3-byte samples: two 16-byte loads 12 bytes apart, each
// half holding its four samples and the byte after them, the fourth lane
// of the last). The bytes of each sample pair are interleaved channel by
// channel and added by one multiply-add with ones (at most 510, no
// saturation), which leaves the sums of samples 0+1 in words 0-3 and of
// samples 2+3 in words 4-7 of each half.
template <uint32_t SP>
inline __m256i PairSums(const uint8_t* p) {
    if constexpr (SP == 4) {
        const __m256i pairs = _mm256_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15,
                                               0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        return _mm256_maddubs_epi16(_mm256_shuffle_epi8(v, pairs), _mm256_set1_epi8(1));
    } else {
        const __m256i pairs = _mm256_setr_epi8(0, 3, 1, 4, 2, 5, 3, 6, 6, 9, 7, 10, 8, 11, 9, 12,
                                               0, 3, 1, 4, 2, 5, 3, 6, 6, 9, 7, 10, 8, 11, 9, 12);
        const __m256i v = _mm256_inserti128_si256(
            _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))),
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 12)), 1);
        return _mm256_maddubs_epi16(_mm256_shuffle_epi8(v, pairs), _mm256_set1_epi8(1));
    }
}

// Four boxes of two samples from `rows` rows: target 0 in words 0-3 and
// target 1 in words 4-7 of each half.
template <uint32_t SP, uint32_t R>
inline __m256i SumFour(const uint8_t* p, intptr_t stride, uint32_t rows) {
    __m256i sum = _mm256_setzero_si256();
    const uint32_t n = R ? R : rows;
    for (uint32_t i = 0; i < n; ++i, p += stride) sum = _mm256_add_epi16(sum, PairSums<SP>(p));
    return sum;
}

template <BoxFamily F, uint32_t R>
inline __m256i DividedSums(const uint8_t* p, intptr_t stride, uint32_t rows, const BoxChain& ch) {
    constexpr uint32_t sp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes34 ? 3 : 4;
    const __m256i sums = SumFour<sp, R>(p, stride, rows);
    if constexpr (R != 0) return Divide<ChainFor(F, R, 2)>(sums);
    else return Divide(sums, ch);
}

template <uint32_t DP>
inline void StorePixels(uint8_t* dst, const uint32_t* v, int n) {
    for (int i = 0; i < n; ++i) std::memcpy(dst + DP * i, &v[i], 4);
}

// Blocks of four boxes, two blocks at a time where there are two: one pack,
// one reorder and one store for eight target pixels. A pack of two blocks
// leaves the pixels as [0 1 4 5 | 2 3 6 7] in 8-byte pieces; the permute
// puts them in order.
// Two blocks: eight target pixels.
template <BoxFamily F, uint32_t R>
inline void Eight(uint8_t* dst, const uint8_t* p, intptr_t stride, uint32_t rows, const BoxChain& ch) {
    constexpr uint32_t dp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes43 ? 3 : 4;
    constexpr uint32_t sp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes34 ? 3 : 4;
    const __m256i lo = DividedSums<F, R>(p, stride, rows, ch);
    const __m256i hi = DividedSums<F, R>(p + 8 * sp, stride, rows, ch);
    const __m256i px = _mm256_permute4x64_epi64(_mm256_packus_epi16(lo, hi), _MM_SHUFFLE(3, 1, 2, 0));
    if constexpr (dp == 4) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), px);
    } else {
        // Each half squeezed to its four 3-byte pixels and the last one's
        // fourth byte, which the 4-byte stores of the plain kernels leave
        // after the run; the low half's is covered by the high half.
        const __m256i squeeze = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, -128, -128, -128,
                                                 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, -128, -128, -128);
        const __m256i packed = _mm256_shuffle_epi8(px, squeeze);
        const __m128i hi = _mm256_extracti128_si256(packed, 1);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(packed));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + 12), hi);
        const uint32_t tail = uint32_t(_mm_extract_epi32(hi, 2));
        std::memcpy(dst + 20, &tail, 4);
        dst[24] = uint8_t(_mm_extract_epi8(hi, 12));
    }
}

template <BoxFamily F, uint32_t R>
void PairedSegment(uint8_t* dst, const uint8_t* p, uint32_t blocks, intptr_t stride, uint32_t rows,
                   const BoxChain& ch) {
    constexpr uint32_t dp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes43 ? 3 : 4;
    constexpr uint32_t sp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes34 ? 3 : 4;
    uint32_t b = 0;
    for (; b + 2 <= blocks; b += 2, p += 16 * sp, dst += 8 * dp) Eight<F, R>(dst, p, stride, rows, ch);
    if (b < blocks) {
        const __m256i packed = _mm256_packus_epi16(DividedSums<F, R>(p, stride, rows, ch), _mm256_setzero_si256());
        const __m128i px = _mm256_castsi256_si128(_mm256_permute4x64_epi64(packed, _MM_SHUFFLE(3, 1, 2, 0)));
        if constexpr (dp == 4) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), px);
        } else {
            uint32_t v[4];
            _mm_storeu_si128(reinterpret_cast<__m128i*>(v), px);
            StorePixels<3>(dst, v, 4);
        }
    }
}

// Each block walks `rows` rows side by side, a few cache lines of each:
// the hardware sees several short streams and fetches them late, so every
// row is fetched ahead by hand.
constexpr uint32_t kAhead = 1024;

template <uint32_t Bytes>
inline void FetchAhead(const uint8_t* p) {
    for (uint32_t o = 0; o < Bytes; o += 64) _mm_prefetch(reinterpret_cast<const char*>(p + kAhead + o), _MM_HINT_T0);
}

// Eight boxes of K fours each (K = 1: a register holds two boxes; K = 2: one).
// The rows' pair sums add up in place; joining the halves that belong to
// one box and the two words of each channel gives its four lane sums.
// R rows known while compiling (R = 0: q.rows): each register then takes
// all its rows at once, every load of the block free to go ahead, which
// streams the rows fastest; a count known only at run time walks the rows
// one after another and fetches each ahead by hand.
template <uint32_t SP, uint32_t DP, uint32_t K, uint32_t R, uint32_t Shift = 0>
void Blocks(uint8_t* dst, const uint8_t* src, uint32_t blocks, const QuadBoxes& q) {
    constexpr uint32_t regs = 4 * K;
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const __m256i squeeze = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -128, -128, -128, -128,
                                             0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -128, -128, -128, -128);
    // Rounding is a chain without steps after adding half the divisor: one
    // way to a byte for both ends keeps the loop free of a branch.
    const bool round = q.end == QuadBoxes::Round;
    const __m256i half = _mm256_set1_epi16(round ? int16_t(1 << (q.shift - 1)) : 0);
    const BoxChain chain = round ? BoxChain{0, uint8_t(q.shift), 0, {}} : q.chain;
    const intptr_t stride = q.stride;
    for (uint32_t b = 0; b < blocks; ++b, src += 8 * 4 * K * SP, dst += 8 * DP) {
        __m256i acc[regs];
        if constexpr (R != 0) {
            for (uint32_t i = 0; i < regs; ++i) {
                const uint8_t* p = src + 8 * SP * i;
                __m256i v = PairSums<SP>(p);
                for (uint32_t r = 1; r < R; ++r) v = _mm256_add_epi16(v, PairSums<SP>(p + intptr_t(r) * stride));
                acc[i] = v;
            }
        } else {
            for (uint32_t i = 0; i < regs; ++i) acc[i] = PairSums<SP>(src + 8 * SP * i);
            const uint8_t* p = src;
            FetchAhead<32 * K * SP>(src);
            for (uint32_t r = 1; r < q.rows; ++r) {
                p += stride;
                FetchAhead<32 * K * SP>(p);
                for (uint32_t i = 0; i < regs; ++i) acc[i] = _mm256_add_epi16(acc[i], PairSums<SP>(p + 8 * SP * i));
            }
        }
        // x[m]: box 2m in the low half, box 2m + 1 in the high half.
        __m256i x[4];
        for (uint32_t m = 0; m < 4; ++m) {
            if constexpr (K == 1) {
                x[m] = acc[m];
            } else {
                const __m256i a = acc[2 * m], c = acc[2 * m + 1];
                x[m] = _mm256_add_epi16(_mm256_permute2x128_si256(a, c, 0x20), _mm256_permute2x128_si256(a, c, 0x31));
            }
        }
        // Low half: boxes 0, 2 (then 4, 6); high half: 1, 3 (5, 7).
        __m256i s[2];
        for (uint32_t h = 0; h < 2; ++h) {
            const __m256i a = x[2 * h], c = x[2 * h + 1];
            const __m256i sum = _mm256_add_epi16(_mm256_unpacklo_epi64(a, c), _mm256_unpackhi_epi64(a, c));
            if constexpr (Shift != 0) s[h] = _mm256_srli_epi16(_mm256_add_epi16(sum, half), Shift);
            else s[h] = Divide(_mm256_add_epi16(sum, half), chain);
        }
        const __m256i px = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(s[0], s[1]), order);
        if constexpr (DP == 4) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), px);
        } else {
            const __m256i packed = _mm256_shuffle_epi8(px, squeeze);
            const __m128i hi = _mm256_extracti128_si256(packed, 1);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(packed));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + 12), hi);
            const int32_t last = _mm_extract_epi32(hi, 2);
            std::memcpy(dst + 20, &last, 4);
        }
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

// Rounded means of boxes two 4-byte samples wide: sums of R rows (R = 0:
// `rows`) of pair sums, plus half the divisor, shifted down.
template <uint32_t R>
void RoundedPairs(uint8_t* dst, const uint8_t* src, uint32_t eights, intptr_t stride, uint32_t rows, uint32_t shift) {
    const __m256i half = _mm256_set1_epi16(int16_t(1 << (shift - 1)));
    const __m128i count = _mm_cvtsi32_si128(int(shift));
    auto mean = [&](const uint8_t* p) {
        return _mm256_srl_epi16(_mm256_add_epi16(SumFour<4, R>(p, stride, rows), half), count);
    };
    for (uint32_t e = 0; e < eights; ++e, src += 64, dst += 32) {
        const __m256i px = _mm256_permute4x64_epi64(_mm256_packus_epi16(mean(src), mean(src + 32)), _MM_SHUFFLE(3, 1, 2, 0));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), px);
    }
}

// N target rows of boxes two rows tall, eight pixels of each in turn: the
// 2N source rows stream side by side, which the hardware fetches sooner
// than two rows read to their end before the next two start.
template <uint32_t N>
void RoundedPairGroup(uint8_t* const* dst, const uint8_t* const* src, uint32_t eights, intptr_t stride,
                      uint32_t shift) {
    const __m256i half = _mm256_set1_epi16(int16_t(1 << (shift - 1)));
    const __m128i count = _mm_cvtsi32_si128(int(shift));
    auto mean = [&](const uint8_t* p) {
        return _mm256_srl_epi16(_mm256_add_epi16(SumFour<4, 2>(p, stride, 2), half), count);
    };
    uint8_t* d[N];
    const uint8_t* p[N];
    for (uint32_t i = 0; i < N; ++i) d[i] = dst[i], p[i] = src[i];
    for (uint32_t e = 0; e < eights; ++e)
        for (uint32_t i = 0; i < N; ++i) {
            const __m256i px =
                _mm256_permute4x64_epi64(_mm256_packus_epi16(mean(p[i]), mean(p[i] + 32)), _MM_SHUFFLE(3, 1, 2, 0));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d[i]), px);
            d[i] += 32;
            p[i] += 64;
        }
}

}  // namespace

void BoxSum4Avx2(const uint8_t* p, int32_t stride, uint32_t rows, uint32_t cols, uint32_t sum[3]) {
    // Eight samples a load, the last few of a row through a masked load
    // that leaves the bytes after the box unread. Each 16-bit lane takes a
    // pair sum (at most 510) per load, so the lanes are emptied into the
    // sums every 128 loads, before one can carry.
    const uint32_t eights = cols / 8, rest = cols % 8;
    const __m256i mask = _mm256_cmpgt_epi32(_mm256_set1_epi32(int(rest)), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
    const __m256i pairs = _mm256_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15,
                                           0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
    const __m256i ones = _mm256_set1_epi8(1);
    sum[0] = sum[1] = sum[2] = 0;
    __m256i acc = _mm256_setzero_si256();
    uint32_t loads = 0;
    auto empty = [&] {
        uint16_t w[16];
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(w), acc);
        // Words 0-3 and 4-7 of each half: the four channels of a pair sum.
        for (uint32_t ch = 0; ch < 3; ++ch) sum[ch] += uint32_t(w[ch]) + w[4 + ch] + w[8 + ch] + w[12 + ch];
        acc = _mm256_setzero_si256();
        loads = 0;
    };
    auto add = [&](__m256i v) {
        acc = _mm256_add_epi16(acc, _mm256_maddubs_epi16(_mm256_shuffle_epi8(v, pairs), ones));
        if (++loads == 128) empty();
    };
    for (uint32_t i = 0; i < rows; ++i, p += stride) {
        for (uint32_t k = 0; k < eights; ++k) add(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 32 * k)));
        if (rest) add(_mm256_maskload_epi32(reinterpret_cast<const int*>(p + 32 * eights), mask));
    }
    empty();
}

void PairBoxGroupAvx2(uint8_t* const* dst, const uint8_t* const* src, uint32_t n, uint32_t eights, intptr_t stride,
                      uint32_t shift) {
    switch (n) {
        case 4: RoundedPairGroup<4>(dst, src, eights, stride, shift); break;
        case 3: RoundedPairGroup<3>(dst, src, eights, stride, shift); break;
        case 2: RoundedPairGroup<2>(dst, src, eights, stride, shift); break;
        default: RoundedPairGroup<1>(dst, src, eights, stride, shift); break;
    }
}

void PairBoxBlocksAvx2(uint8_t* dst, const uint8_t* src, uint32_t eights, intptr_t stride, uint32_t rows,
                       uint32_t shift) {
    if (rows == 2) RoundedPairs<2>(dst, src, eights, stride, rows, shift);
    else RoundedPairs<0>(dst, src, eights, stride, rows, shift);
}

void QuadBoxBlocksAvx2(uint8_t* dst, const uint8_t* src, uint32_t blocks, const QuadBoxes& q) {
    using Fn = void (*)(uint8_t*, const uint8_t*, uint32_t, const QuadBoxes&);
    static const Fn forms[2][2] = {{BlocksOf<3, 3>, BlocksOf<3, 4>}, {BlocksOf<4, 3>, BlocksOf<4, 4>}};
    forms[q.srcPitch == 4][q.dstPitch == 4](dst, src, blocks, q);
}

// A row of a run whose boxes are all 4 or 8 samples wide and follow one
// another. The pixels past the whole blocks come from one more block, the
// last eight the blocks may cover, worked into a scratch and copied out for
// the pixels not yet stored (the others it gives again, with the same
// bytes, so they stay as they are). The last pixel of a 3-byte source or
// target goes to the plain kernels: a block reads past its last sample and
// does not reproduce the spilled fourth byte. Rows of fewer than eight such
// pixels go to the plain kernels whole. The blocks run in the widest form
// allowed (box_quads.h).
template <BoxFamily F>
void BoxQuadRowAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                    uint32_t len, int32_t stride, uint32_t rowCount) {
    if (rowCount < 1 || rowCount > 16 || len == 0) return;
    constexpr uint32_t sp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes34 ? 3 : 4;
    constexpr uint32_t dp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes43 ? 3 : 4;
    const uint32_t width = counts[0];
    const uint32_t covered = sp == 4 && dp == 4 ? len : len - 1;  // pixels the blocks may give
    const uint32_t blocks = covered / 8;
    QuadBoxes q{sp, dp, width, rowCount, stride, QuadBoxes::Chain, ChainOf(F, rowCount, width), 0};
    const QuadBoxBlocksFn quads = PickQuadBoxBlocks();
    quads(dst, row + offsets[0], blocks, q);
    uint32_t done = 8 * blocks;
    if (blocks > 0 && done < covered) {
        uint8_t last[8 * dp];
        const uint32_t from = covered - 8;
        quads(last, row + offsets[from], 1, q);
        std::memcpy(dst + size_t(done) * dp, last + size_t(done - from) * dp, size_t(covered - done) * dp);
        done = covered;
    }
    if (done < len)
        BoxShrinkRowPlain<F>(dst + size_t(done) * dp, row, offsets + done, counts + done, len - done, stride, rowCount);
}

template <BoxFamily F>
void BoxShrinkRowAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                      uint32_t len, int32_t stride, uint32_t rowCount) {
    if (rowCount < 1 || rowCount > 16) return;
    constexpr uint32_t dp = F == BoxFamily::Bytes43 ? 3 : 4;
    const BoxChain& ch = ChainOf(F, rowCount, 2);
    uint32_t j = 0, k = 0;
    while (j < len) {
        // A whole segment of paired boxes at once, in blocks of four.
        const uint32_t blocks = PairedRunWide(offsets, counts, j, k, len) / 4;
        if (blocks) {
            const uint8_t* p = row + offsets[k];
            if (rowCount == 2) PairedSegment<F, 2>(dst, p, blocks, stride, 2, ch);
            else PairedSegment<F, 0>(dst, p, blocks, stride, rowCount, ch);
            j += 4 * blocks, k += 4 * blocks, dst += 4 * blocks * dp;
            continue;
        }
        BoxShrinkRowSse2<F>(dst, row, offsets + k, counts + j, 1, stride, rowCount);
        k += counts[j] != 0;
        ++j, dst += dp;
    }
}

template <BoxFamily F>
void BoxPairedRowAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* offsets, const uint32_t* counts,
                      uint32_t len, int32_t stride, uint32_t rowCount) {
    if (rowCount < 1 || rowCount > 16 || len == 0) return;
    constexpr bool threeBytes = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes34;
    constexpr uint32_t dp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes43 ? 3 : 4;
    const BoxChain& ch = ChainOf(F, rowCount, 2);
    // With 3-byte samples a block reads 3 bytes past its last sample's load,
    // so the last block stops one pixel early: reads stay within the plain form's.
    const uint32_t blocks = threeBytes ? (len >= 5 ? (len - 1) / 4 : 0) : len / 4;
    if (rowCount == 2) PairedSegment<F, 2>(dst, row + offsets[0], blocks, stride, 2, ch);
    else PairedSegment<F, 0>(dst, row + offsets[0], blocks, stride, rowCount, ch);
    const uint32_t done = 4 * blocks;
    if (done == len) return;
    if constexpr (threeBytes)
        BoxShrinkRowPlain<F>(dst + done * dp, row, offsets + done, counts + done, len - done, stride, rowCount);
    else
        BoxShrinkRowSse2<F>(dst + done * dp, row, offsets + done, counts + done, len - done, stride, rowCount);
}

// N rows of a group, eight pixels of each in turn; N known while compiling
// keeps every row's pointers in registers.
template <BoxFamily F, uint32_t N>
void GroupEights(uint8_t* const* dst, const uint8_t* const* rows, uint32_t first, uint32_t eights, int32_t stride,
                 const BoxChain& ch) {
    constexpr uint32_t dp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes43 ? 3 : 4;
    constexpr uint32_t sp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes34 ? 3 : 4;
    uint8_t* d[N];
    const uint8_t* p[N];
    for (uint32_t i = 0; i < N; ++i) d[i] = dst[i], p[i] = rows[i] + first;
    for (uint32_t e = 0; e < eights; ++e)
        for (uint32_t i = 0; i < N; ++i) {
            Eight<F, 2>(d[i], p[i], stride, 2, ch);
            d[i] += 8 * dp;
            p[i] += 16 * sp;
        }
}

template <BoxFamily F>
void BoxPairedRowGroupAvx2(uint8_t* const* dst, const uint8_t* const* rows, const uint32_t* rowCounts, uint32_t n,
                           const uint32_t* offsets, const uint32_t* counts, uint32_t len, int32_t stride) {
    bool allTwo = len > 0 && n <= kBoxRowGroup;
    for (uint32_t i = 0; i < n; ++i) allTwo &= rowCounts[i] == 2;
    if (!allTwo) {
        for (uint32_t i = 0; i < n; ++i) BoxPairedRowAvx2<F>(dst[i], rows[i], offsets, counts, len, stride, rowCounts[i]);
        return;
    }
    constexpr bool threeBytes = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes34;
    constexpr uint32_t dp = F == BoxFamily::Bytes33 || F == BoxFamily::Bytes43 ? 3 : 4;
    const BoxChain& ch = ChainOf(F, 2, 2);
    // Whole pairs of blocks only; the one-row form finishes each row. A
    // 3-byte target keeps at least one pixel for it, so that the byte an eight
    // spills past its last pixel never lands past the row while the rows
    // after it are under way.
    const uint32_t blocks = threeBytes ? (len >= 5 ? (len - 1) / 4 : 0) : len / 4;
    const uint32_t eights = dp == 3 && 8 * (blocks / 2) == len ? blocks / 2 - 1 : blocks / 2;
    switch (n) {
        case 4: GroupEights<F, 4>(dst, rows, offsets[0], eights, stride, ch); break;
        case 3: GroupEights<F, 3>(dst, rows, offsets[0], eights, stride, ch); break;
        default: GroupEights<F, 2>(dst, rows, offsets[0], eights, stride, ch); break;
    }
    const uint32_t done = 8 * eights;
    if (done == len) return;
    // A 3-byte row's last store spills a byte onto the next row's first when
    // the rows touch; one row at a time the next row then overwrote it, so
    // here it gets back the byte it had.
    for (uint32_t i = 0; i < n; ++i) {
        const uint8_t kept = dp == 3 && i + 1 < n ? dst[i + 1][0] : 0;
        BoxPairedRowAvx2<F>(dst[i] + size_t(done) * dp, rows[i], offsets + done, counts + done, len - done, stride, 2);
        if (dp == 3 && i + 1 < n) dst[i + 1][0] = kept;
    }
}

template void BoxQuadRowAvx2<BoxFamily::Bytes33>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxQuadRowAvx2<BoxFamily::Bytes34>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxQuadRowAvx2<BoxFamily::Bytes43>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxQuadRowAvx2<BoxFamily::Bytes44>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxPairedRowGroupAvx2<BoxFamily::Bytes33>(uint8_t* const*, const uint8_t* const*, const uint32_t*, uint32_t, const uint32_t*, const uint32_t*, uint32_t, int32_t);
template void BoxPairedRowGroupAvx2<BoxFamily::Bytes34>(uint8_t* const*, const uint8_t* const*, const uint32_t*, uint32_t, const uint32_t*, const uint32_t*, uint32_t, int32_t);
template void BoxPairedRowGroupAvx2<BoxFamily::Bytes43>(uint8_t* const*, const uint8_t* const*, const uint32_t*, uint32_t, const uint32_t*, const uint32_t*, uint32_t, int32_t);
template void BoxPairedRowGroupAvx2<BoxFamily::Bytes44>(uint8_t* const*, const uint8_t* const*, const uint32_t*, uint32_t, const uint32_t*, const uint32_t*, uint32_t, int32_t);
template void BoxPairedRowAvx2<BoxFamily::Bytes33>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxPairedRowAvx2<BoxFamily::Bytes34>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxPairedRowAvx2<BoxFamily::Bytes43>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxPairedRowAvx2<BoxFamily::Bytes44>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxShrinkRowAvx2<BoxFamily::Bytes43>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);
template void BoxShrinkRowAvx2<BoxFamily::Bytes44>(uint8_t*, const uint8_t*, const uint32_t*, const uint32_t*, uint32_t, int32_t, uint32_t);

}  // namespace tarn
