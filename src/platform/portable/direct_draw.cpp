// Portable DirectDraw: one default device that makes system-memory offscreen
// surfaces of 24- and 32-bit RGB. Rows are stored top first, lPitch apart,
// each a whole number of 4-byte words as the system lays them out.
#include "tarn/Platform.h"

#include <atomic>
#include <mutex>

#include "platform/handle_table.h"

namespace tarn::platform {

namespace {

constexpr DWORD kRequiredFlags = DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH;
constexpr DWORD kKnownCaps = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_SYSTEMMEMORY;
constexpr DWORD kRed = 0xFF0000, kGreen = 0xFF00, kBlue = 0xFF;

bool SameId(REFIID a, REFIID b) { return a == b; }

// The pixel formats made here: 24 or 32 bits of RGB, with the usual masks or
// none given (which means the usual ones).
bool PixelFormatSupported(const DDPIXELFORMAT& pf) {
    if (pf.dwSize != sizeof(DDPIXELFORMAT)) return false;
    if ((pf.dwFlags & ~DDPF_ALPHAPIXELS) != DDPF_RGB) return false;
    if (pf.dwRGBBitCount != 24 && pf.dwRGBBitCount != 32) return false;
    const bool noMasks = !pf.dwRBitMask && !pf.dwGBitMask && !pf.dwBBitMask;
    const bool usualMasks = pf.dwRBitMask == kRed && pf.dwGBitMask == kGreen && pf.dwBBitMask == kBlue;
    return noMasks || usualMasks;
}

// The system's reference counting and id query for an interface with id `Id`:
// one count, the object deleted when it reaches zero.
template <class Interface, const IID& Id>
class Counted : public Interface {
public:
    HRESULT TARN_CALL QueryInterface(REFIID iid, void** out) override {
        if (!out) return DDERR_INVALIDPARAMS;
        if (!SameId(iid, Id) && !SameId(iid, IID_IUnknown)) {
            *out = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        *out = static_cast<Interface*>(this);
        return S_OK;
    }
    ULONG TARN_CALL AddRef() override { return ++refs_; }
    ULONG TARN_CALL Release() override {
        const ULONG left = --refs_;
        if (left == 0) delete this;
        return left;
    }

protected:
    virtual ~Counted() = default;

private:
    std::atomic<ULONG> refs_{1};
};

class CDirectDrawSurface final : public Counted<IDirectDrawSurface7, IID_IDirectDrawSurface7> {
public:
    CDirectDrawSurface(IDirectDraw7* owner, const DDSURFACEDESC2& desc,
                       std::unique_ptr<uint8_t[]> pixels)
        : owner_(owner), desc_(desc), pixels_(std::move(pixels)) {
        owner_->AddRef();  // the device lives while its surfaces do
    }
    ~CDirectDrawSurface() { owner_->Release(); }

    HRESULT TARN_CALL GetSurfaceDesc(DDSURFACEDESC2* desc) override {
        if (!desc || desc->dwSize != sizeof(DDSURFACEDESC2)) return DDERR_INVALIDPARAMS;
        *desc = desc_;
        return DD_OK;
    }

    HRESULT TARN_CALL Lock(RECT* rect, DDSURFACEDESC2* desc, DWORD, HANDLE) override {
        if (!desc || desc->dwSize != sizeof(DDSURFACEDESC2)) return DDERR_INVALIDPARAMS;
        size_t offset = 0;
        if (rect) {
            if (rect->left < 0 || rect->top < 0 || rect->right <= rect->left ||
                rect->bottom <= rect->top || DWORD(rect->right) > desc_.dwWidth ||
                DWORD(rect->bottom) > desc_.dwHeight)
                return DDERR_INVALIDRECT;
            offset = size_t(rect->top) * size_t(desc_.lPitch) +
                     size_t(rect->left) * (desc_.ddpfPixelFormat.dwRGBBitCount / 8);
        }
        std::lock_guard<std::mutex> guard(lock_);
        if (locked_) return DDERR_SURFACEBUSY;
        locked_ = true;
        *desc = desc_;
        desc->dwFlags |= DDSD_LPSURFACE;
        desc->lpSurface = pixels_.get() + offset;
        return DD_OK;
    }

    HRESULT TARN_CALL Unlock(RECT*) override {
        std::lock_guard<std::mutex> guard(lock_);
        if (!locked_) return DDERR_NOTLOCKED;
        locked_ = false;
        return DD_OK;
    }

private:
    IDirectDraw7* owner_;
    const DDSURFACEDESC2 desc_;
    std::unique_ptr<uint8_t[]> pixels_;
    std::mutex lock_;
    bool locked_ = false;
};

class CDirectDraw final : public Counted<IDirectDraw7, IID_IDirectDraw7> {
public:
    // Only the normal level exists without a window and a display to take.
    HRESULT TARN_CALL SetCooperativeLevel(HWND window, DWORD flags) override {
        if (window || flags != DDSCL_NORMAL) return DDERR_INVALIDPARAMS;
        cooperative_ = true;
        return DD_OK;
    }

    HRESULT TARN_CALL CreateSurface(DDSURFACEDESC2* desc, IDirectDrawSurface7** out,
                                    IUnknown* outer) override {
        if (outer) return CLASS_E_NOAGGREGATION;
        if (!desc || !out || desc->dwSize != sizeof(DDSURFACEDESC2)) return DDERR_INVALIDPARAMS;
        if (!cooperative_) return DDERR_NOCOOPERATIVELEVELSET;
        if ((desc->dwFlags & kRequiredFlags) != kRequiredFlags || desc->dwWidth == 0 ||
            desc->dwHeight == 0)
            return DDERR_INVALIDPARAMS;
        const DWORD caps = desc->ddsCaps.dwCaps;
        if (!(caps & DDSCAPS_OFFSCREENPLAIN) || (caps & ~kKnownCaps)) return DDERR_INVALIDCAPS;
        // No display exists whose format a surface without one could take.
        if (!(desc->dwFlags & DDSD_PIXELFORMAT) || !PixelFormatSupported(desc->ddpfPixelFormat))
            return DDERR_INVALIDPIXELFORMAT;

        const DWORD bits = desc->ddpfPixelFormat.dwRGBBitCount;
        const uint64_t pitch = (uint64_t(desc->dwWidth) * bits + 31) / 32 * 4;
        const uint64_t bytes = pitch * desc->dwHeight;
        if (bytes > kMaxPlatformBytes) return DDERR_OUTOFMEMORY;
        std::unique_ptr<uint8_t[]> pixels = NewZeroedBytes(static_cast<size_t>(bytes));
        if (!pixels) return DDERR_OUTOFMEMORY;

        DDSURFACEDESC2 made{};
        made.dwSize = sizeof made;
        made.dwFlags = kRequiredFlags | DDSD_PITCH | DDSD_PIXELFORMAT;
        made.dwWidth = desc->dwWidth;
        made.dwHeight = desc->dwHeight;
        made.lPitch = static_cast<LONG>(pitch);
        made.ddpfPixelFormat = desc->ddpfPixelFormat;
        made.ddpfPixelFormat.dwRBitMask = kRed;
        made.ddpfPixelFormat.dwGBitMask = kGreen;
        made.ddpfPixelFormat.dwBBitMask = kBlue;
        made.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_SYSTEMMEMORY;
        *out = new (std::nothrow) CDirectDrawSurface(this, made, std::move(pixels));
        return *out ? DD_OK : DDERR_OUTOFMEMORY;
    }

private:
    bool cooperative_ = false;
};

}  // namespace

HRESULT DirectDrawCreateEx(GUID* device, LPVOID* out, REFIID iid, IUnknown* outer) {
    if (outer) return CLASS_E_NOAGGREGATION;
    if (!out || !SameId(iid, IID_IDirectDraw7)) return DDERR_INVALIDPARAMS;
    if (device) return DDERR_INVALIDDIRECTDRAWGUID;
    IDirectDraw7* made = new (std::nothrow) CDirectDraw;
    if (!made) return DDERR_OUTOFMEMORY;
    *out = made;
    return DD_OK;
}

}  // namespace tarn::platform
