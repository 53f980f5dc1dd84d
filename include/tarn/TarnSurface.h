// TarnSurface public interface: the one header a host needs.
//
// Hosts call CreateObject with CLSID_TarnSurfaceLibrary and IID_ISurfaceBuilder,
// make surfaces through the builder, and work on them through ITarnSurface.
// Every interface pointer handed out carries one reference for the receiver.
//
// Caller memory. Buffers a host passes in must hold what the call describes;
// the library stays inside them:
// - CreateFromData reads stride x height bytes (x 3 / 2 for YUV420).
// - CopyOut writes the picture at the caller's stride and row order. A format
//   conversion run straight into the buffer stays inside stride x height (for
//   YUV420 output the two chroma planes behind the luma as well, x 3 / 2 in
//   all). When the last queued operation is a Resize, the buffer is first
//   painted black as a planar picture, so it must hold stride x height x 3 / 2
//   bytes whatever the format. A packed (YUV422) surface is resized by way of
//   the planar format, and straight into the buffer that first step converts
//   the picture at its present size: the stride must hold a row of the
//   present width and the buffer the taller of the two pictures, x 3 / 2.
// - DrawToBuffer writes rows at the buffer's stride (a stride shorter than a
//   row overlaps them, and the last row still needs its whole width); 24-bit
//   pixels are stored four bytes at a time, so allow 16 bytes after the last
//   row. For YUV420 the
//   first chroma plane starts stride x height bytes in and the second
//   (stride / 2 x height) / 2 bytes after it, each with (height + 1) / 2 rows
//   of stride / 2: at odd heights that is more than stride x height x 3 / 2.
// The library's own pixel buffers carry slack for such stores.
//
// Refusals. Where the contract leaves input undefined, the library answers
// instead of reading or writing amiss; valid input is never refused:
// - A null result pointer is refused first (VED_E_INVALIDARG), before
//   anything is made: CreateBlank, CreateFromData, GetInfo.
// - CreateBlank and CreateFromData: a stride shorter than a row of the format
//   (3, 4, 1 or 2 bytes per pixel), a planar stride other than the width, and
//   a buffer of more than 2^31 - 1 bytes answer VED_E_INVALIDARG.
// - Resize below 4 x 4 answers VED_E_INVALIDARG with nothing queued.
// - A resize or drawing of 24- or 32-bit pixels in a plane-only mode
//   (SCALE_PLANAR_NEAREST and above) answers VED_E_INVALIDARG: those modes
//   have no tables for such pixels. 8-bit pixels take them as bilinear.
// - A stored stride too short for bitsPerPixel x width (a descriptor whose
//   bit depth disagrees with its stride) makes resize, fill and drawing
//   answer VED_E_INVALIDARG.
// - A resize into a caller's buffer (CopyOut) whose rows would reach past
//   stride x height x 3 / 2 bytes, or past 2^31 - 1, answers
//   VED_E_INVALIDARG; shorter strides whose rows stay inside are written.
// - A format conversion into a caller's buffer (CopyOut) at a stride shorter
//   than a row of the new format answers VED_E_INVALIDARG.
// - DrawToSurface of a format pair the library does not convert (8-bit with
//   24- or 32-bit pixels, planar with packed or 8-bit) answers
//   VED_E_NOTSUPPORTED; a source rectangle that its conversion leaves outside
//   the source answers VED_E_INVALIDARG.
// - Flatten: an overlay whose blend would touch pixels outside the target,
//   the overlay or its mask answers VED_E_INVALIDARG from its compositor and
//   paints nothing (the packed and keyed blends need D and S inside their
//   pictures; the masked planar blend needs D's whole 2 x 2 blocks inside the
//   target, and S's inside the overlay's buffers). Flatten goes on with the
//   next overlay, as for any compositor's failure.
// - Running short of memory anywhere answers VED_E_OUTOFMEMORY (an RGB
//   resize, as it always has, VED_E_FAIL); no exception but the lists' length
//   error leaves the library.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32) && !defined(_WIN64)
#define TARN_CALL __stdcall
#else
#define TARN_CALL
#endif

#if defined(_WIN32) && defined(TARN_STATIC) && !defined(TARN_BUILDING_LIBRARY)
#define TARN_EXPORT
#elif defined(_WIN32)
#if defined(TARN_BUILDING_LIBRARY)
#define TARN_EXPORT __declspec(dllexport)
#else
#define TARN_EXPORT __declspec(dllimport)
#endif
#else
#define TARN_EXPORT __attribute__((visibility("default")))
#endif

// A 16-byte id laid out as a Windows GUID.
struct VedId {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
};

// Ids compare as four 32-bit words in storage order.
inline bool operator==(const VedId& a, const VedId& b) noexcept {
    const auto word = [](const VedId& id, int i) {
        const uint8_t* p = reinterpret_cast<const uint8_t*>(&id) + 4 * i;
        return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
    };
    for (int i = 0; i < 4; ++i)
        if (word(a, i) != word(b, i)) return false;
    return true;
}
inline bool operator!=(const VedId& a, const VedId& b) noexcept { return !(a == b); }

inline constexpr VedId CLSID_TarnSurfaceLibrary = {
    0x49BE0814, 0x4606, 0x4468, {0xA9, 0xD3, 0x95, 0x73, 0x6E, 0xDC, 0x91, 0x0B}};
inline constexpr VedId IID_ISurfaceBuilder = {
    0x30C98E58, 0xABA6, 0x448F, {0x88, 0x35, 0x2F, 0x54, 0xC4, 0xA5, 0x43, 0xCD}};
inline constexpr VedId IID_ITarnSurface = {
    0x704FC983, 0xA9B8, 0x4FCC, {0xB2, 0x9A, 0xAA, 0x5F, 0x97, 0x3C, 0xAD, 0x99}};
inline constexpr VedId IID_IVedUnknown = {
    0xC9339D5D, 0xAEFF, 0x4970, {0xB0, 0xFA, 0xF9, 0xD6, 0x84, 0x2E, 0x9D, 0x8D}};

using VedResult = int32_t;

inline constexpr VedResult VED_S_OK = 0;
inline constexpr VedResult VED_E_FAIL = static_cast<VedResult>(0x80004005u);
inline constexpr VedResult VED_E_NOTSUPPORTED = static_cast<VedResult>(0x81000001u);
inline constexpr VedResult VED_E_INVALIDARG = static_cast<VedResult>(0x81000002u);
inline constexpr VedResult VED_E_BADSTATE = static_cast<VedResult>(0x81000003u);
inline constexpr VedResult VED_E_OUTOFMEMORY = static_cast<VedResult>(0x81000004u);
inline constexpr VedResult VED_E_KERNELFAILED = static_cast<VedResult>(0x82000002u);

// Right and bottom are exclusive. Same layout as the platform rectangle.
struct VedRect {
    int32_t left, top, right, bottom;
};

enum SurfaceFormat : int32_t {
    SURFACE_FORMAT_RGB24 = 1,   // bytes blue, green, red
    SURFACE_FORMAT_RGB32 = 2,   // bytes blue, green, red, alpha
    SURFACE_FORMAT_GRAY8 = 3,   // one plane; used as a composition mask
    SURFACE_FORMAT_YUV420 = 4,  // Y plane, then two half-size chroma planes
    SURFACE_FORMAT_YUV422 = 5,  // packed, four bytes per pixel pair
    // Never stored: planar data with its chroma planes in the other order.
    SURFACE_FORMAT_YUV420_SWAPPED = 6,
};

enum ScaleMode : int32_t {
    SCALE_NEAREST = 0,
    SCALE_BILINEAR = 1,
    SCALE_BILINEAR_FADE = 2,
    SCALE_BOX = 3,
    SCALE_BOX_FADE = 4,
    SCALE_FIELD_BILINEAR = 5,
    SCALE_AREA = 6,
    SCALE_PLANAR_NEAREST = 0xFF00,
    SCALE_PLANAR_SHARPEN = 0xFF01,
    SCALE_PLANAR_AREA = 0xFF02,
};

// The surface descriptor: thirteen 32-bit fields.
struct SurfaceInfo {
    uint32_t size;           // 52; forced by the library
    uint32_t width;          // pixels
    uint32_t height;         // rows (of the luma plane for planar formats)
    SurfaceFormat format;
    uint32_t storage;        // always 4: pixels in memory held by the surface
    int32_t bitsPerPixel;    // 24, 32, 8, 12 or 16
    int32_t stride;          // bytes per row of the first plane
    int32_t contentLeft;     // the part of the frame that holds picture
    int32_t contentTop;
    int32_t contentRight;
    int32_t contentBottom;
    uint32_t topDown;        // 1: first stored row is the top of the picture
    uint32_t flattenInPlace; // 1: Flatten composes onto this surface itself
};
static_assert(sizeof(SurfaceInfo) == 52, "SurfaceInfo is thirteen 32-bit fields");
static_assert(sizeof(VedRect) == 16, "VedRect is four 32-bit fields");

namespace VideoEdit {

class IVedUnknown {
public:
    virtual uint32_t TARN_CALL AddRef() = 0;
    virtual uint32_t TARN_CALL Release() = 0;
    virtual VedResult TARN_CALL QueryInterface(const VedId& id, void** out) = 0;

protected:
    ~IVedUnknown() = default;
};

}  // namespace VideoEdit

// The caller's pixel data for CreateFromData. The library calls only GetData,
// during the call, and takes no reference.
class IPixelSource : public VideoEdit::IVedUnknown {
public:
    virtual uint8_t* TARN_CALL GetData() = 0;

protected:
    ~IPixelSource() = default;
};

class ITarnSurface;

class ISurfaceBuilder : public VideoEdit::IVedUnknown {
public:
    virtual VedResult TARN_CALL CreateFromSource(void* source, int32_t kind, int32_t format,
                                                 uint32_t flags, ITarnSurface** result) = 0;
    virtual VedResult TARN_CALL CreateBlank(const SurfaceInfo* info, int32_t* byteCount,
                                            ITarnSurface** result) = 0;
    virtual VedResult TARN_CALL CreateFromData(const SurfaceInfo* info, IPixelSource* source,
                                               ITarnSurface** result) = 0;

protected:
    ~ISurfaceBuilder() = default;
};

// The order of these operations is the binary interface; never reorder.
class ITarnSurface : public VideoEdit::IVedUnknown {
public:
    virtual VedResult TARN_CALL GetInfo(SurfaceInfo* info) = 0;
    virtual VedResult TARN_CALL GetAspect(int32_t* x, int32_t* y) = 0;
    virtual VedResult TARN_CALL SetAspect(int32_t x, int32_t y) = 0;
    virtual VedResult TARN_CALL SetFlattenInPlace(uint32_t inPlace) = 0;
    virtual VedResult TARN_CALL GetFlattenInPlace(uint32_t* inPlace) = 0;
    virtual VedResult TARN_CALL Resize(int32_t width, int32_t height, int32_t keepAspect,
                                       int32_t quality) = 0;
    virtual VedResult TARN_CALL SetFormat(SurfaceFormat format) = 0;
    // Turns the picture by whole degrees into a new buffer, after running
    // the queued operations: 90 and 270 swap width and height (and move the
    // content rectangle), 180 keeps the frame, any other angle grows the frame
    // to hold the turned picture with black corners. The mask turns along.
    // RGB24, RGB32, GRAY8 and YUV420 turn; YUV422 answers VED_E_NOTSUPPORTED
    // (at 90 and 270 after the content rectangle has moved). Angles outside
    // 0..360 answer VED_E_OUTOFMEMORY and change nothing. Bytes the turn does
    // not reach (the edge row or column an RGB or GRAY8 right angle leaves
    // out, GRAY8 corners, row padding, a chroma line of an odd half size) are
    // zero, so the same input always gives the same bytes.
    virtual VedResult TARN_CALL Rotate(int32_t degrees) = 0;
    virtual VedResult TARN_CALL Transform(int32_t first, int32_t second, double a, double b,
                                          double c, double d, int32_t last) = 0;
    virtual VedResult TARN_CALL DrawToBuffer(VedRect* sourceRect, VedRect* destRect,
                                             uint8_t* buffer, int32_t bufferWidth,
                                             int32_t bufferHeight, int32_t bufferStride,
                                             int32_t quality) = 0;
    virtual VedResult TARN_CALL DrawToSurface(VedRect* destRect, ITarnSurface* source,
                                              VedRect* sourceRect, int32_t quality) = 0;
    virtual VedResult TARN_CALL Fill(VedRect* rect, uint32_t color) = 0;
    virtual VedResult TARN_CALL CopyOut(uint8_t* destination, int32_t destinationStride,
                                        uint32_t topDown) = 0;
    virtual VedResult TARN_CALL Export(int32_t kind, void** handle, uint32_t* flag) = 0;
    virtual VedResult TARN_CALL GetPixels(uint8_t** out) = 0;
    virtual VedResult TARN_CALL Flush() = 0;
    virtual VedResult TARN_CALL Clone(ITarnSurface** out) = 0;
    virtual VedResult TARN_CALL SetBackColor(uint32_t color) = 0;
    virtual VedResult TARN_CALL GetBackColor(uint32_t* color) = 0;
    virtual VedResult TARN_CALL SetAlpha(uint32_t alpha) = 0;
    virtual VedResult TARN_CALL GetAlpha(uint32_t* alpha) = 0;
    virtual VedResult TARN_CALL SetMask(ITarnSurface* mask) = 0;
    virtual VedResult TARN_CALL GetMask(ITarnSurface** mask) = 0;
    virtual VedResult TARN_CALL SetSourceRect(int32_t left, int32_t top, int32_t right,
                                              int32_t bottom) = 0;
    virtual VedResult TARN_CALL GetSourceRect(VedRect* rect) = 0;
    virtual VedResult TARN_CALL SetDestRect(int32_t left, int32_t top, int32_t right,
                                            int32_t bottom) = 0;
    virtual VedResult TARN_CALL GetDestRect(VedRect* rect) = 0;
    virtual int32_t TARN_CALL GetOverlayCount() = 0;
    virtual VedResult TARN_CALL AddOverlay(ITarnSurface* overlay) = 0;
    virtual VedResult TARN_CALL RemoveOverlay(int32_t index) = 0;
    virtual VedResult TARN_CALL MoveOverlay(ITarnSurface* overlay, int32_t newIndex) = 0;
    virtual int32_t TARN_CALL FindOverlay(ITarnSurface* overlay) = 0;
    virtual ITarnSurface* TARN_CALL GetOverlay(int32_t index) = 0;
    virtual VedResult TARN_CALL Flatten(ITarnSurface** result) = 0;
    // Internal operations: the library calls these on its own surfaces.
    virtual uint32_t TARN_CALL SetOwnership(uint32_t ownership) = 0;
    virtual VedResult TARN_CALL DoResize(int32_t width, int32_t height, int32_t keepAspect,
                                         int32_t quality) = 0;
    virtual VedResult TARN_CALL DoRotate(int32_t degrees) = 0;
    virtual VedResult TARN_CALL DoSetFormat(SurfaceFormat format) = 0;
    virtual VedResult TARN_CALL DoDrawToSurface(VedRect* destRect, ITarnSurface* source,
                                                VedRect* sourceRect, int32_t quality) = 0;
    virtual VedResult TARN_CALL DoDrawToBuffer(VedRect* sourceRect, VedRect* destRect,
                                               uint8_t* buffer, int32_t bufferWidth,
                                               int32_t bufferHeight, int32_t bufferStride,
                                               int32_t quality) = 0;
    virtual VedResult TARN_CALL DoTransform(int32_t first, int32_t second, double a, double b,
                                            double c, double d, int32_t last) = 0;
    virtual VedResult TARN_CALL DoFill(VedRect* rect, uint32_t color) = 0;
    virtual void TARN_CALL ComputeFitRect(int32_t targetWidth, int32_t targetHeight,
                                          VedRect* rect) = 0;

protected:
    ~ITarnSurface() = default;
};

extern "C" TARN_EXPORT VedResult TARN_CALL CreateObject(const VedId& classId,
                                                        const VedId& interfaceId, void** out);

namespace tarn {

// Holds one reference on an interface pointer and releases it at scope end.
template <class T>
class Ref {
public:
    Ref() = default;
    explicit Ref(T* adopted) noexcept : p_(adopted) {}
    Ref(const Ref& other) noexcept : p_(other.p_) { if (p_) p_->AddRef(); }
    Ref(Ref&& other) noexcept : p_(other.p_) { other.p_ = nullptr; }
    Ref& operator=(Ref other) noexcept { T* t = p_; p_ = other.p_; other.p_ = t; return *this; }
    ~Ref() { if (p_) p_->Release(); }

    T* get() const noexcept { return p_; }
    T* operator->() const noexcept { return p_; }
    explicit operator bool() const noexcept { return p_ != nullptr; }
    // Releases what is held and hands out the slot for an out-argument.
    T** put() noexcept { reset(); return &p_; }
    void** put_void() noexcept { return reinterpret_cast<void**>(put()); }
    void reset() noexcept { if (p_) { p_->Release(); p_ = nullptr; } }
    T* detach() noexcept { T* t = p_; p_ = nullptr; return t; }

private:
    T* p_ = nullptr;
};

}  // namespace tarn
