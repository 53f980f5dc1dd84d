// CTarnSurface: the state of one frame as the host sees it (descriptor,
// overlay properties, overlay list, queue of deferred operations). It holds no
// pixels; CTarnSurfaceBuffer adds them and every operation that touches them.
#pragma once

#include <cstdint>
#include <optional>

#include "operations/picture.h"
#include "operations/resize.h"
#include "surface/bounded_list.h"
#include "surface/ved_unknown.h"

namespace tarn {

// One queued operation: kind 1 resizes, kind 2 changes the format.
struct OperationRecord {
    uint32_t kind;
    int32_t width;
    int32_t height;
    int32_t keepAspect;
    int32_t quality;
    SurfaceFormat format;
};
inline constexpr uint32_t kRecordResize = 1;
inline constexpr uint32_t kRecordSetFormat = 2;

// ownership bits: 1 the library allocated the buffer, 4 it was copied in from
// an external image. Either bit means the surface frees the buffer.
inline constexpr uint32_t kOwnsBufferMask = 5;

class CTarnSurface : public ITarnSurface, public VideoEdit::CVedUnknown {
public:
    explicit CTarnSurface(const SurfaceInfo& info);
    ~CTarnSurface() override;

    uint32_t TARN_CALL AddRef() override { return CVedUnknown::AddRef(); }
    uint32_t TARN_CALL Release() override { return CVedUnknown::Release(); }
    VedResult TARN_CALL QueryInterface(const VedId& id, void** out) override;

    // Properties.
    VedResult TARN_CALL GetInfo(SurfaceInfo* out) override;
    VedResult TARN_CALL GetAspect(int32_t* x, int32_t* y) override;
    VedResult TARN_CALL SetAspect(int32_t x, int32_t y) override;
    VedResult TARN_CALL SetFlattenInPlace(uint32_t inPlace) override;
    VedResult TARN_CALL GetFlattenInPlace(uint32_t* inPlace) override;
    VedResult TARN_CALL SetBackColor(uint32_t color) override;
    VedResult TARN_CALL GetBackColor(uint32_t* color) override;
    VedResult TARN_CALL SetAlpha(uint32_t value) override;
    VedResult TARN_CALL GetAlpha(uint32_t* value) override;
    VedResult TARN_CALL SetMask(ITarnSurface* newMask) override;
    VedResult TARN_CALL GetMask(ITarnSurface** out) override;
    VedResult TARN_CALL SetSourceRect(int32_t left, int32_t top, int32_t right, int32_t bottom) override;
    VedResult TARN_CALL GetSourceRect(VedRect* rect) override;
    VedResult TARN_CALL SetDestRect(int32_t left, int32_t top, int32_t right, int32_t bottom) override;
    VedResult TARN_CALL GetDestRect(VedRect* rect) override;
    uint32_t TARN_CALL SetOwnership(uint32_t value) override;
    void TARN_CALL ComputeFitRect(int32_t targetWidth, int32_t targetHeight, VedRect* rect) override;

    // Overlay list (overlay_list.cpp).
    int32_t TARN_CALL GetOverlayCount() override;
    VedResult TARN_CALL AddOverlay(ITarnSurface* overlay) override;
    VedResult TARN_CALL RemoveOverlay(int32_t index) override;
    VedResult TARN_CALL MoveOverlay(ITarnSurface* overlay, int32_t newIndex) override;
    int32_t TARN_CALL FindOverlay(ITarnSurface* overlay) override;
    ITarnSurface* TARN_CALL GetOverlay(int32_t index) override;

    // Queue and the operations that drain it first (operation_queue.cpp).
    VedResult TARN_CALL Resize(int32_t width, int32_t height, int32_t keepAspect, int32_t quality) override;
    VedResult TARN_CALL SetFormat(SurfaceFormat format) override;
    VedResult TARN_CALL Flush() override;
    VedResult TARN_CALL Rotate(int32_t degrees) override;
    VedResult TARN_CALL Transform(int32_t first, int32_t second, double a, double b, double c,
                                  double d, int32_t last) override;
    VedResult TARN_CALL DrawToBuffer(VedRect* sourceRect, VedRect* destRect, uint8_t* buffer,
                                     int32_t bufferWidth, int32_t bufferHeight, int32_t bufferStride,
                                     int32_t quality) override;
    VedResult TARN_CALL DrawToSurface(VedRect* destRect, ITarnSurface* source, VedRect* sourceRect,
                                      int32_t quality) override;
    VedResult TARN_CALL Fill(VedRect* rect, uint32_t color) override;

    // Runs queued records under operationLock. With `last` the last record
    // writes into that memory of the caller and leaves the surface as the
    // records before it made it (CopyOut).
    VedResult Drain(const Destination* last);

    // The queued operations: sent to `to` when it is not null, into the
    // surface otherwise (operations in CTarnSurfaceBuffer).
    virtual VedResult RunResize(const ResizeRequest& request, const Destination* to) = 0;
    virtual VedResult RunSetFormat(SurfaceFormat format, const Destination* to) = 0;
    // The planar first step of a packed resize sent to `to`: the conversion
    // to YUV420 there, of which the bytes the resize is sure to write over
    // (DirectResizeCovered) are left out as far as they can be. Where the
    // step writes the resize's rows as well, it sets request.rowsInPlace.
    virtual VedResult RunPlanarStepBefore(ResizeRequest& request, const Destination& to) = 0;

    // Where resizes and format changes write while the surface is directed at
    // a caller's memory, or null.
    const Destination* DirectOutput() const { return directOutput ? &*directOutput : nullptr; }

    // Fields, in the descriptor's order of meaning; internal code and tests
    // reach them directly.
    SurfaceInfo info;
    uint32_t ownership = 0;
    int32_t aspectX = 0;
    int32_t aspectY = 0;
    uint32_t backColor = 0xFF000000u;  // 0xFF000000: no key colour
    uint32_t alpha = 0;
    VedRect destRect{0, 0, 0, 0};
    VedRect sourceRect{0, 0, 0, 0};
    ITarnSurface* mask = nullptr;
    BoundedList<ITarnSurface*, 0x3FFFFFFF> overlays;
    BoundedList<OperationRecord, 0xAAAAAAA> operations;
    // Set by a drain for CopyOut as its last record starts, cleared by CopyOut
    // once that record has succeeded. A last record that fails leaves it set:
    // every resize and format change then still writes into that memory of
    // the caller and leaves the surface alone, so hosts must not go on with a
    // surface after a failed CopyOut.
    std::optional<Destination> directOutput;
    platform::PlatCriticalSection operationLock;

private:
    VedResult RunRecord(const OperationRecord& record, const Destination* to);  // memory shortage as a result
    VedResult RunRecordOnce(const OperationRecord& record, const Destination* to);
    VedResult RunRecords(size_t count, const Destination* to);
};

}  // namespace tarn
