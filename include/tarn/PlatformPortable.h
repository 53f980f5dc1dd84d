// The portable platform objects: global memory and DirectDraw as the library
// supplies them where the system has none, with the system's names, record
// layouts and argument lists. Included by Platform.h; not on Windows.
#pragma once

#include <cstddef>
#include <cstdint>

#include "TarnSurface.h"

namespace tarn::platform {

using BOOL = int32_t;
using UINT = uint32_t;
using DWORD = uint32_t;
using LONG = int32_t;
using ULONG = uint32_t;
using HRESULT = int32_t;
using SIZE_T = size_t;
using LPVOID = void*;
using HANDLE = void*;
using HWND = void*;
using GUID = VedId;
using IID = VedId;
using REFIID = const IID&;

// Rectangle with exclusive right and bottom, laid out as the system's RECT.
struct RECT {
    int32_t left, top, right, bottom;
};

// ---------------------------------------------------------------------------
// Global memory

// A movable block of global memory. Not a pointer: GlobalLock gives the bytes.
using HGLOBAL = HANDLE;

inline constexpr UINT GMEM_FIXED = 0x0000;
inline constexpr UINT GMEM_MOVEABLE = 0x0002;
inline constexpr UINT GMEM_ZEROINIT = 0x0040;
inline constexpr UINT GHND = GMEM_MOVEABLE | GMEM_ZEROINIT;  // 66

// Null on failure. The portable blocks are always zeroed, whatever the flags.
TARN_EXPORT HGLOBAL TARN_CALL GlobalAlloc(UINT flags, SIZE_T bytes);
// The block's first byte, and one more lock; null for a bad handle.
TARN_EXPORT LPVOID TARN_CALL GlobalLock(HGLOBAL block);
// One lock less. Answers nonzero while locks remain, 0 when the last one went
// or the block was not locked (or the handle is bad).
TARN_EXPORT BOOL TARN_CALL GlobalUnlock(HGLOBAL block);
// Null when freed (locked or not); the handle itself when it is not valid.
TARN_EXPORT HGLOBAL TARN_CALL GlobalFree(HGLOBAL block);
// Bytes asked for at GlobalAlloc; 0 for a bad handle.
TARN_EXPORT SIZE_T TARN_CALL GlobalSize(HGLOBAL block);

// The 40-byte header of a device-independent bitmap, at the start of its
// block in global memory.
struct BITMAPINFOHEADER {
    uint32_t biSize;
    int32_t biWidth;
    int32_t biHeight;
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression;
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
};
static_assert(sizeof(BITMAPINFOHEADER) == 40, "BITMAPINFOHEADER is 40 bytes");

inline constexpr uint32_t BI_RGB = 0;

// ---------------------------------------------------------------------------
// DirectDraw

inline constexpr HRESULT DD_OK = 0;
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110u);
inline constexpr HRESULT DDERR_UNSUPPORTED = static_cast<HRESULT>(0x80004001u);
inline constexpr HRESULT DDERR_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
inline constexpr HRESULT DDERR_INVALIDPARAMS = static_cast<HRESULT>(0x80070057u);
// DirectDraw's own codes: facility 0x876 with the error bit.
inline constexpr HRESULT DDERR_INVALIDCAPS = static_cast<HRESULT>(0x88760064u);
inline constexpr HRESULT DDERR_INVALIDOBJECT = static_cast<HRESULT>(0x88760082u);
inline constexpr HRESULT DDERR_INVALIDPIXELFORMAT = static_cast<HRESULT>(0x88760091u);
inline constexpr HRESULT DDERR_INVALIDRECT = static_cast<HRESULT>(0x88760096u);
inline constexpr HRESULT DDERR_NOCOOPERATIVELEVELSET = static_cast<HRESULT>(0x887600D4u);
inline constexpr HRESULT DDERR_SURFACEBUSY = static_cast<HRESULT>(0x887601AEu);
inline constexpr HRESULT DDERR_INVALIDDIRECTDRAWGUID = static_cast<HRESULT>(0x88760231u);
inline constexpr HRESULT DDERR_NOTLOCKED = static_cast<HRESULT>(0x88760248u);

inline constexpr IID IID_IUnknown = {
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
inline constexpr IID IID_IDirectDraw7 = {
    0x15E65EC0, 0x3B9C, 0x11D2, {0xB9, 0x2F, 0x00, 0x60, 0x97, 0x97, 0xEA, 0x5B}};
inline constexpr IID IID_IDirectDrawSurface7 = {
    0x06675A80, 0x3B9B, 0x11D2, {0xB9, 0x2F, 0x00, 0x60, 0x97, 0x97, 0xEA, 0x5B}};

// dwFlags of DDSURFACEDESC2: which members hold values.
inline constexpr DWORD DDSD_CAPS = 0x00000001;
inline constexpr DWORD DDSD_HEIGHT = 0x00000002;
inline constexpr DWORD DDSD_WIDTH = 0x00000004;
inline constexpr DWORD DDSD_PITCH = 0x00000008;
inline constexpr DWORD DDSD_LPSURFACE = 0x00000800;
inline constexpr DWORD DDSD_PIXELFORMAT = 0x00001000;

inline constexpr DWORD DDSCAPS_OFFSCREENPLAIN = 0x00000040;
inline constexpr DWORD DDSCAPS_SYSTEMMEMORY = 0x00000800;

inline constexpr DWORD DDPF_ALPHAPIXELS = 0x00000001;
inline constexpr DWORD DDPF_RGB = 0x00000040;

inline constexpr DWORD DDSCL_NORMAL = 0x00000008;
inline constexpr DWORD DDLOCK_WAIT = 0x00000001;

struct DDCOLORKEY {
    DWORD dwColorSpaceLowValue;
    DWORD dwColorSpaceHighValue;
};

struct DDPIXELFORMAT {
    DWORD dwSize;  // 32
    DWORD dwFlags;
    DWORD dwFourCC;
    union { DWORD dwRGBBitCount; DWORD dwYUVBitCount; };
    union { DWORD dwRBitMask; DWORD dwYBitMask; };
    union { DWORD dwGBitMask; DWORD dwUBitMask; };
    union { DWORD dwBBitMask; DWORD dwVBitMask; };
    union { DWORD dwRGBAlphaBitMask; DWORD dwYUVAlphaBitMask; };
};
static_assert(sizeof(DDPIXELFORMAT) == 32, "DDPIXELFORMAT is 32 bytes");

struct DDSCAPS2 {
    DWORD dwCaps;
    DWORD dwCaps2;
    DWORD dwCaps3;
    DWORD dwCaps4;
};

// The surface description. Its dwSize must hold sizeof(DDSURFACEDESC2),
// checked by every call that takes one: 124 on 32-bit Windows, where the
// surface pointer has 4 bytes, and more on 64-bit systems, where it has 8.
// Code that fills the record writes sizeof, never the number, so the same
// check holds everywhere.
struct DDSURFACEDESC2 {
    DWORD dwSize;
    DWORD dwFlags;
    DWORD dwHeight;
    DWORD dwWidth;
    union { LONG lPitch; DWORD dwLinearSize; };
    union { DWORD dwBackBufferCount; DWORD dwDepth; };
    union { DWORD dwMipMapCount; DWORD dwRefreshRate; DWORD dwSrcVBHandle; };
    DWORD dwAlphaBitDepth;
    DWORD dwReserved;
    LPVOID lpSurface;
    union { DDCOLORKEY ddckCKDestOverlay; DWORD dwEmptyFaceColor; };
    DDCOLORKEY ddckCKDestBlt;
    DDCOLORKEY ddckCKSrcOverlay;
    DDCOLORKEY ddckCKSrcBlt;
    union { DDPIXELFORMAT ddpfPixelFormat; DWORD dwFVF; };
    DDSCAPS2 ddsCaps;
    DWORD dwTextureStage;
};
static_assert(sizeof(void*) != 4 || sizeof(DDSURFACEDESC2) == 124,
              "DDSURFACEDESC2 is 124 bytes where pointers have 4");

// The system's base interface: the order QueryInterface, AddRef, Release.
class IUnknown {
public:
    virtual HRESULT TARN_CALL QueryInterface(REFIID iid, void** out) = 0;
    virtual ULONG TARN_CALL AddRef() = 0;
    virtual ULONG TARN_CALL Release() = 0;

protected:
    ~IUnknown() = default;
};

// A system-memory offscreen surface. Lock hands out the pixels, top row first,
// rows lPitch bytes apart; one lock at a time.
class IDirectDrawSurface7 : public IUnknown {
public:
    virtual HRESULT TARN_CALL GetSurfaceDesc(DDSURFACEDESC2* desc) = 0;
    virtual HRESULT TARN_CALL Lock(RECT* rect, DDSURFACEDESC2* desc, DWORD flags,
                                   HANDLE event) = 0;
    virtual HRESULT TARN_CALL Unlock(RECT* rect) = 0;

protected:
    ~IDirectDrawSurface7() = default;
};

// The device object. Surfaces it makes hold a reference on it, so it may be
// released while they live.
class IDirectDraw7 : public IUnknown {
public:
    virtual HRESULT TARN_CALL CreateSurface(DDSURFACEDESC2* desc, IDirectDrawSurface7** out,
                                            IUnknown* outer) = 0;
    virtual HRESULT TARN_CALL SetCooperativeLevel(HWND window, DWORD flags) = 0;

protected:
    ~IDirectDraw7() = default;
};

// `device` null: the default device, the only one there is. `iid` must be
// IID_IDirectDraw7 and `outer` null.
TARN_EXPORT HRESULT TARN_CALL DirectDrawCreateEx(GUID* device, LPVOID* out, REFIID iid,
                                                 IUnknown* outer);

}  // namespace tarn::platform
