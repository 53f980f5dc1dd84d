// Bilinear Inner of single-channel pixels over the rows of one image,
// blending each source row horizontally once: consecutive target rows that
// share a source row (every enlargement and every shrink below 2) reuse its
// blend. The blend of a row depends only on the row and the column tables,
// which stay the same for the whole image.
#pragma once

#include <cstdint>
#include <vector>

namespace tarn {

struct GrayRowCache {
    GrayRowCache(uint32_t len, uint32_t srcWidth) : len(len), srcWidth(srcWidth) {}

    uint32_t len, srcWidth;
    // Two rows of horizontal blends of the len & ~3 grouped pixels, each
    // tagged with the source row it came from.
    std::vector<uint16_t> blend[2];
    const uint8_t* tag[2] = {nullptr, nullptr};
    // Planned from the column tables on first use, per block of 8 pixels:
    // the first of the 16 or 32 row bytes holding both samples of each (-1:
    // the samples spread wider, worked one by one), how many 16-byte windows
    // that is, the byte shuffle of each window that puts each pair in two
    // 16-bit lanes, and per pixel the weight pair (256 - w) | w << 16.
    std::vector<int32_t> base;
    std::vector<uint8_t> windows;
    std::vector<uint8_t> pairs;  // [block][window][16]
    std::vector<uint32_t> weightPairs;
    const uint32_t* plannedFor = nullptr;
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
#endif

}  // namespace tarn
