// Bilinear Inner of single-channel pixels over the rows of one image,
// blending each source row horizontally once: consecutive target rows that
// share a source row (every enlargement, every shrink below 2 and the row
// pairs of fields) reuse its blend. The blend of a row depends only on the
// row and the column tables, which stay the same for the whole image.
#pragma once

#include <cstdint>
#include <vector>

namespace tarn {

struct GrayRowCache {
    GrayRowCache(uint32_t len, uint32_t srcWidth, bool stream = false)
        : len(len), srcWidth(srcWidth), stream(stream) {}

    // How the column tables of the grouped pixels run, found once per image.
    // Halves: every weight 128 and offsets o0 + step * j, so a blend is the
    // floor of the mean of two neighbours (whole shrinks by 2, 4 and 8).
    // Doubled: from pixel `head` on, offsets o0 + (j - head) / 2 and weights
    // alternating between two values (enlargements by 2). Shuffled: neither;
    // each block of 8 pixels from one or two 16-byte windows of the row.
    enum class Run : uint8_t { Shuffled, Halves, Doubled };

    uint32_t len, srcWidth;
    Run run = Run::Shuffled;
    uint32_t step = 0, origin = 0, head = 0;
    uint8_t evenWeight = 0, oddWeight = 0;
    // Three rows of horizontal blends of the len & ~3 grouped pixels (each
    // blend fits a byte), each tagged with the source row it came from and
    // the call that last used it: the row pairs of fields read three source
    // rows over two target rows.
    static constexpr int kSlots = 3;
    std::vector<uint8_t> blend[kSlots];
    const uint8_t* tag[kSlots] = {nullptr, nullptr, nullptr};
    uint64_t used[kSlots] = {0, 0, 0};
    uint64_t clock = 0;
    // Shuffled runs, per block of 8 pixels: the first of the 16 or 32 row
    // bytes holding both samples of each (-1: the samples spread wider,
    // worked one by one), how many 16-byte windows that is, the byte shuffle
    // of each window that puts each pair in two 16-bit lanes, and per pixel
    // the weight pair (256 - w) | w << 16.
    std::vector<int32_t> base;
    std::vector<uint8_t> windows;
    std::vector<uint8_t> pairs;  // [block][window][16]
    std::vector<uint32_t> weightPairs;
    const uint32_t* plannedFor = nullptr;
    // The source rows the next target row reads (its top row, and the one
    // below when its row weight is not 0), set by the driver before each
    // call: a shrink skips rows, which the processor does not fetch ahead by
    // itself, so the blends ask for one of them while they run.
    const uint8_t* next[2] = {nullptr, nullptr};
    // Set by the driver for a target too large to stay in the caches: a form
    // may then store the target's rows around them (a 4K enlargement writes
    // 8 MB that nothing reads back soon). Such a form leaves `fence`, which
    // the cache calls once the image is done, so that the rows are in
    // memory, in order, before the scale returns; a fence after every row
    // would wait for each row's stores in turn.
    bool stream = false;
    void (*fence)() = nullptr;
    ~GrayRowCache() {
        if (fence) fence();
    }
    GrayRowCache(const GrayRowCache&) = delete;
    GrayRowCache& operator=(const GrayRowCache&) = delete;
};

// Same arguments and bytes as GrayInnerRowPlain, with the cache of the image. The
// caller keeps the column tables and length the same for every call on one
// cache, and uses it only where writing the target cannot change the source.
using CachedGrayInnerFn = void (*)(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                                   uint32_t len, int32_t below, uint32_t rw, GrayRowCache& cache);

// Null where no fast form caches; the caller then runs PickGrayInnerRow's form.
CachedGrayInnerFn PickCachedGrayInnerRow();

#if defined(TARN_HAVE_X86_SIMD)
void GrayInnerRowCachedAvx2(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                            uint32_t len, int32_t below, uint32_t rw, GrayRowCache& cache);
void GrayInnerRowCachedAvx512(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                              uint32_t len, int32_t below, uint32_t rw, GrayRowCache& cache);

// The steps a wider form puts in the AVX2 form's bookkeeping of the cache
// (which rows to blend, keep and reuse stays the same for every form).
// `doubled` works the first of `count` blends of a Doubled run from its
// head on, 2i and 2i + 1 from s[i] and s[i + 1] with `reach` bytes at `s`,
// and answers how many (null: the AVX2 loop does them all); `vertical` mixes
// two blended rows into the target, storing around the caches where
// `stream` says; `streamRow` copies a blended row so.
struct GrayCachedSteps {
    uint32_t (*doubled)(uint8_t* out, const uint8_t* s, uint32_t even, uint32_t odd, uint32_t count, uint32_t reach);
    void (*vertical)(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, uint32_t w8, uint32_t groups,
                     bool stream);
    void (*streamRow)(uint8_t* dst, const uint8_t* src, uint32_t n);
};
void GrayInnerRowCachedWith(const GrayCachedSteps& steps, uint8_t* dst, const uint8_t* row, const uint8_t* weights,
                            const uint32_t* offsets, uint32_t len, int32_t below, uint32_t rw, GrayRowCache& cache);
#endif

}  // namespace tarn
