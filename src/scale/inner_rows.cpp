// Plain forms of the hot row kernels (bilinear Inner for 1, 3 and 4 bytes,
// the single-channel gather) and the tables that pick a fast form.
#include "scale/inner_rows.h"

#include <algorithm>
#include <new>

#include "platform/form_table.h"
#include "scale/gray_row_cache.h"
#include "scale/inner_row_cache.h"
#include "scale/pixel_lanes.h"

namespace tarn {
namespace {

template <uint32_t SB, uint32_t DB>
void InnerRow(uint8_t* dst, const uint8_t* row, const uint32_t* cw, const uint32_t* co, uint32_t len,
              int32_t below, uint32_t rw) {
    for (uint32_t j = 0; j < len; ++j, dst += DB) {
        const uint8_t* s = row + co[j];
        const uint32_t top = Lerp(Load4(s), Load4(s + SB), cw[j]);
        const uint32_t bottom = Lerp(Load4(s + below), Load4(s + below + SB), cw[j]);
        Store4(dst, Lerp(top, bottom, rw));
    }
}

}  // namespace

void InnerRow33Plain(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw) { InnerRow<3, 3>(d, r, cw, co, n, b, rw); }
void InnerRow34Plain(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw) { InnerRow<3, 4>(d, r, cw, co, n, b, rw); }
void InnerRow43Plain(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw) { InnerRow<4, 3>(d, r, cw, co, n, b, rw); }
void InnerRow44Plain(uint8_t* d, const uint8_t* r, const uint32_t* cw, const uint32_t* co, uint32_t n, int32_t b, uint32_t rw) { InnerRow<4, 4>(d, r, cw, co, n, b, rw); }

// The run is worked from its right end: first the last (len mod 4) pixels one
// by one, which take their weight from the byte at 4 * j of the table (so
// from further along it, or from the offsets after it), then groups of four
// with weights j to j + 3 as they should be. The output of those trailing
// pixels depends on this and on the block layout; both are kept.
void GrayInnerRowPlain(uint8_t* dst, const uint8_t* row, const uint8_t* weights, const uint32_t* offsets,
                  uint32_t len, int32_t below, uint32_t rw) {
    const uint32_t w8 = rw & 255;
    const uint32_t groups = len & ~3u;
    for (uint32_t j = len; j-- > groups;) {
        const uint8_t* s = row + offsets[j];
        const uint32_t cw = weights[4 * size_t(j)];
        dst[j] = static_cast<uint8_t>(LerpByte(LerpByte(s[0], s[1], cw), LerpByte(s[below], s[below + 1], cw), w8));
    }
    for (uint32_t j = 0; j < groups; ++j) {
        const uint8_t* s = row + offsets[j];
        const uint32_t cw = weights[j];
        dst[j] = static_cast<uint8_t>(LerpByte(LerpByte(s[0], s[1], cw), LerpByte(s[below], s[below + 1], cw), w8));
    }
}

InnerRowFn PickInnerRow(uint32_t srcBytes, uint32_t dstBytes) {
    const unsigned k = (srcBytes == 4 ? 2 : 0) + (dstBytes == 4 ? 1 : 0);
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<InnerRowFn> t33[] = {
        {SimdForm::Avx2, InnerRow33Avx2}, {SimdForm::Sse2, InnerRow33Sse2}, {SimdForm::Plain, InnerRow33Plain}};
    static const FormEntry<InnerRowFn> t34[] = {
        {SimdForm::Avx2, InnerRow34Avx2}, {SimdForm::Sse2, InnerRow34Sse2}, {SimdForm::Plain, InnerRow34Plain}};
    static const FormEntry<InnerRowFn> t43[] = {
        {SimdForm::Avx2, InnerRow43Avx2}, {SimdForm::Sse2, InnerRow43Sse2}, {SimdForm::Plain, InnerRow43Plain}};
    static const FormEntry<InnerRowFn> t44[] = {
        {SimdForm::Avx2, InnerRow44Avx2}, {SimdForm::Sse2, InnerRow44Sse2}, {SimdForm::Plain, InnerRow44Plain}};
    switch (k) {
        case 0: return PickForm(t33);
        case 1: return PickForm(t34);
        case 2: return PickForm(t43);
        default: return PickForm(t44);
    }
#else
    static const InnerRowFn plain[] = {InnerRow33Plain, InnerRow34Plain, InnerRow43Plain, InnerRow44Plain};
    return plain[k];
#endif
}

HalvesInnerFn PickHalvesInnerRow(uint32_t pixelBytes, const uint32_t* cw, const uint32_t* co, uint32_t len) {
#if defined(TARN_HAVE_X86_SIMD)
    if (len < 2 || (pixelBytes != 3 && pixelBytes != 4)) return nullptr;
    uint32_t least = ~0u, most = 0;
    for (uint32_t j = 0; j < len; ++j) {
        if (cw[j] != kHalfWord) return nullptr;
        if (j == 0) continue;
        const uint32_t step = co[j] - co[j - 1];  // wraps to a huge step where offsets fall
        least = std::min(least, step), most = std::max(most, step);
    }
    enum Loads : unsigned { Adjacent3, Adjacent4, Quarter4, Spread4, None };
    Loads loads = None;
    if (pixelBytes == 3 && least == 3 * 2 && most == 3 * 2) loads = Adjacent3;
    else if (pixelBytes == 4 && least == 4 * 2 && most == 4 * 2) loads = Adjacent4;
    else if (pixelBytes == 4 && least == 4 * 4 && most == 4 * 4) loads = Quarter4;
    else if (pixelBytes == 4 && least >= 4 * 2 && most < 0x80000000u) loads = Spread4;
    if (loads == None) return nullptr;
    static const FormEntry<HalvesInnerFn> t[4][2] = {
        {{SimdForm::Avx2, InnerRow33AdjacentHalvesAvx2}, {SimdForm::Plain, nullptr}},
        {{SimdForm::Avx2, InnerRow44AdjacentHalvesAvx2}, {SimdForm::Plain, nullptr}},
        {{SimdForm::Avx2, InnerRow44QuarterHalvesAvx2}, {SimdForm::Plain, nullptr}},
        {{SimdForm::Avx2, InnerRow44SpreadHalvesAvx2}, {SimdForm::Plain, nullptr}}};
    return PickForm(t[loads]);
#else
    (void)pixelBytes, (void)cw, (void)co, (void)len;
    return nullptr;
#endif
}

InnerRowCache::InnerRowCache(uint32_t len, int rowCount) : rows(rowCount < 3 ? 2 : 3) {
    const size_t words = size_t(len & ~3u) * 4;
    if (!words) return;
    for (int i = 0; i < rows; ++i) lanes[i] = new (std::nothrow) uint16_t[words];
    groupBase = new (std::nothrow) int32_t[len / 4];
    groupPieces = new (std::nothrow) int32_t[size_t(len / 4) * 8];
}

InnerRowCache::~InnerRowCache() {
    for (uint16_t* l : lanes) delete[] l;
    delete[] groupBase;
    delete[] groupPieces;
}

CachedInnerRowFn PickCachedInnerRow(uint32_t pixelBytes) {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<CachedInnerRowFn> t33[] = {{SimdForm::Avx2, InnerRow33CachedAvx2},
                                                      {SimdForm::Plain, nullptr}};
    static const FormEntry<CachedInnerRowFn> t44[] = {{SimdForm::Avx2, InnerRow44CachedAvx2},
                                                      {SimdForm::Plain, nullptr}};
    return pixelBytes == 3 ? PickForm(t33) : PickForm(t44);
#else
    (void)pixelBytes;
    return nullptr;
#endif
}

CachedGrayInnerFn PickCachedGrayInnerRow() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<CachedGrayInnerFn> t[] = {{SimdForm::Avx512, GrayInnerRowCachedAvx512},
                                                     {SimdForm::Avx2, GrayInnerRowCachedAvx2},
                                                     {SimdForm::Plain, nullptr}};
    return PickForm(t);
#else
    return nullptr;
#endif
}

GrayInnerFn PickGrayInnerRow() {
#if defined(TARN_HAVE_X86_SIMD)
    static const FormEntry<GrayInnerFn> t[] = {{SimdForm::Sse2, GrayInnerRowSse2}, {SimdForm::Plain, GrayInnerRowPlain}};
    return PickForm(t);
#else
    return GrayInnerRowPlain;
#endif
}

}  // namespace tarn
