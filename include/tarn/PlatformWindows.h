// The platform objects on Windows: the system's own global memory, bitmap
// header and DirectDraw, brought into tarn::platform so that the library's
// code names them the same way on every system. Included by Platform.h.
//
// The system spells its constants (GHND, DDSD_CAPS, DD_OK, ...) as macros,
// which no namespace can hold: code that must build on both kinds of system
// writes them unqualified, inside `using namespace tarn::platform`.
#pragma once

#include <windows.h>
#include <ddraw.h>

namespace tarn::platform {

using ::BOOL;
using ::DWORD;
using ::GUID;
using ::HANDLE;
using ::HRESULT;
using ::HWND;
using ::IID;
using ::LONG;
using ::LPVOID;
using ::SIZE_T;
using ::UINT;
using ::ULONG;
using ::RECT;

using ::HGLOBAL;
using ::GlobalAlloc;
using ::GlobalFree;
using ::GlobalLock;
using ::GlobalSize;
using ::GlobalUnlock;
using ::BITMAPINFOHEADER;

using ::DDCOLORKEY;
using ::DDPIXELFORMAT;
using ::DDSCAPS2;
using ::DDSURFACEDESC2;
using ::IDirectDraw7;
using ::IDirectDrawSurface7;
using ::IUnknown;

// Its value comes from the system's id library (dxguid), which the library
// links and so must a host that names it.
using ::IID_IDirectDraw7;

// The system's DirectDrawCreateEx, looked up in ddraw.dll when first called,
// so that neither the library nor its host needs DirectDraw just to load.
// Answers DDERR_UNSUPPORTED where ddraw.dll or the function is missing. The
// module stays loaded for the life of the process: surfaces outlive the call.
inline HRESULT DirectDrawCreateEx(GUID* device, LPVOID* out, const IID& iid, IUnknown* outer) {
    using Create = HRESULT(WINAPI*)(GUID*, LPVOID*, REFIID, IUnknown*);
    static const Create create = [] {
        const HMODULE module = LoadLibraryW(L"ddraw.dll");
        return module ? reinterpret_cast<Create>(
                            reinterpret_cast<void*>(GetProcAddress(module, "DirectDrawCreateEx")))
                      : nullptr;
    }();
    return create ? create(device, out, iid, outer) : DDERR_UNSUPPORTED;
}

}  // namespace tarn::platform
