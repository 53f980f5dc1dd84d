// Bilinear Inner of 4-byte pixels over the rows of one image, blending each
// source row horizontally once: consecutive target rows that share a source
// row (every shrink below 2 and every enlargement) reuse its blend. The
// blend of a row depends only on the row and the band's column tables, which
// stay the same for the whole image.
#pragma once

#include <cstdint>

namespace tarn {

// Two or three rows of horizontal blends (16-bit lanes, in the fast form's
// order), each tagged with the source row it came from. Three for field
// pairs: their rows read rows 2k and 2k + 1, then 2k + 1 and 2k + 2, and when
// the picture grows the next pair starts at 2k again. Two otherwise, which
// is all a bilinear row needs; a third row would only take cache space.
struct InnerRowCache {
    static constexpr int kRows = 3;

    InnerRowCache(uint32_t len, int rowCount);
    ~InnerRowCache();
    InnerRowCache(const InnerRowCache&) = delete;
    InnerRowCache& operator=(const InnerRowCache&) = delete;

    uint16_t* lanes[kRows] = {};  // len rounded down to 4, 4 words per pixel
    const uint8_t* tag[kRows] = {};
    uint32_t used[kRows] = {};  // when each row was last read, for choosing the one to replace
    uint32_t clock = 0;
    int rows = 0;  // rows in use, 2 or 3
    // Per group of four pixels, planned from the column offsets on first
    // use: where 32 bytes holding its S and S+ start (-1: loaded pixel by
    // pixel), and which of those eight 4-byte pieces go where.
    int32_t* groupBase = nullptr;
    int32_t* groupPieces = nullptr;  // 8 per group
    const uint32_t* plannedFor = nullptr;
    // 4-byte rows: stores from the first 32-byte boundary of the run on that
    // bypass the caches, for a large target, where the run starts on a
    // 16-byte boundary. The caller fences once after its last row.
    bool stream = false;

    bool Ready() const { return lanes[0] && lanes[1] && (rows < 3 || lanes[2]) && groupBase && groupPieces; }
};

// Same arguments and bytes as InnerRow33Plain or InnerRow44Plain, with the
// cache of the image. The
// caller keeps the column tables and length the same for every call on one
// cache, and uses it only where writing the target cannot change the source.
using CachedInnerRowFn = void (*)(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co,
                                  uint32_t len, int32_t below, uint32_t rw, InnerRowCache& cache);

// For pixels of 3 bytes to 3, or 4 to 4. Null where no fast form caches; the
// caller then runs PickInnerRow's form.
CachedInnerRowFn PickCachedInnerRow(uint32_t pixelBytes);

#if defined(TARN_HAVE_X86_SIMD)
void InnerRow33CachedAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len,
                          int32_t below, uint32_t rw, InnerRowCache& cache);
void InnerRow44CachedAvx2(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len,
                          int32_t below, uint32_t rw, InnerRowCache& cache);
#endif

}  // namespace tarn
