// The queue of deferred operations. Resize and SetFormat only append; a drain
// runs the records when pixels are needed. For CopyOut the last record is run
// with the caller's memory as its destination, so that it writes straight
// there and leaves the surface as the records before it made it.
#include "surface/out_of_memory.h"
#include "surface/tarn_surface.h"

namespace tarn {

using namespace platform;

VedResult CTarnSurface::Resize(int32_t width, int32_t height, int32_t keepAspect, int32_t quality) {
    if (width < 4 || height < 4) return VED_E_INVALIDARG;
    PlatLockGuard guard(&operationLock);
    return AnswerOutOfMemory([&] {
        operations.push_back({kRecordResize, width, height, keepAspect, quality, SurfaceFormat{}});
        return VED_S_OK;
    });
}

VedResult CTarnSurface::SetFormat(SurfaceFormat format) {
    // Not tested here: an unusable format shows when the record runs.
    PlatLockGuard guard(&operationLock);
    return AnswerOutOfMemory([&] {
        operations.push_back({kRecordSetFormat, 0, 0, 0, 0, format});
        return VED_S_OK;
    });
}

VedResult CTarnSurface::RunRecord(const OperationRecord& record, const Destination* to) {
    return AnswerOutOfMemory([&] { return RunRecordOnce(record, to); });
}

VedResult CTarnSurface::RunRecordOnce(const OperationRecord& record, const Destination* to) {
    if (record.kind == kRecordSetFormat) return RunSetFormat(record.format, to);
    ResizeRequest request{record.width, record.height, record.keepAspect, record.quality};
    if (info.format == SURFACE_FORMAT_YUV422) {
        // Packed pictures are resized by way of the planar format. Sent to a
        // destination, the first step writes the caller's buffer and leaves
        // the surface packed, so the resize then scales the packed picture
        // over it; of that step, what the resize writes over is left out.
        VedResult r = to ? RunPlanarStepBefore(request, *to) : RunSetFormat(SURFACE_FORMAT_YUV420, to);
        if (r < 0) return r;
        r = RunResize(request, to);
        if (r < 0) return r;
        // Then the surface is still packed and the caller's buffer already
        // holds the resized picture: the last step has nothing to do, and
        // must not copy the old picture over the result.
        if (to) return r;
        return RunSetFormat(SURFACE_FORMAT_YUV422, to);
    }
    return RunResize(request, to);
}

VedResult CTarnSurface::RunRecords(size_t count, const Destination* to) {
    // A failed record does not stop the ones behind it; the answer is that of
    // the last record run.
    VedResult answer = VED_S_OK;
    for (size_t i = 0; i < count && !operations.empty(); ++i) {
        answer = RunRecord(operations.front(), to);
        operations.pop_front();
    }
    return answer;
}

VedResult CTarnSurface::Drain(const Destination* last) {
    PlatLockGuard guard(&operationLock);
    if (operations.empty()) return VED_S_OK;
    // Records before the last go into the surface, or where a failed CopyOut
    // left it directed.
    if (!last) return RunRecords(operations.size(), DirectOutput());
    if (operations.size() > 1) {
        const VedResult r = RunRecords(operations.size() - 1, DirectOutput());
        if (r < 0) return r;  // the last record stays queued, the surface not directed
    }
    directOutput = *last;
    const OperationRecord record = operations.front();
    const VedResult r = RunRecord(record, last);
    operations.pop_front();
    return r;
}

VedResult CTarnSurface::Flush() { return Drain(nullptr); }

VedResult CTarnSurface::Rotate(int32_t degrees) {
    const VedResult r = Drain(nullptr);
    return r < 0 ? r : AnswerOutOfMemory([&] { return DoRotate(degrees); });
}

VedResult CTarnSurface::Transform(int32_t first, int32_t second, double a, double b, double c,
                                  double d, int32_t last) {
    const VedResult r = Drain(nullptr);
    return r < 0 ? r : AnswerOutOfMemory([&] { return DoTransform(first, second, a, b, c, d, last); });
}

VedResult CTarnSurface::DrawToBuffer(VedRect* source, VedRect* dest, uint8_t* buffer,
                                     int32_t bufferWidth, int32_t bufferHeight,
                                     int32_t bufferStride, int32_t quality) {
    const VedResult r = Drain(nullptr);
    return r < 0 ? r : AnswerOutOfMemory([&] {
        return DoDrawToBuffer(source, dest, buffer, bufferWidth, bufferHeight, bufferStride, quality);
    });
}

VedResult CTarnSurface::DrawToSurface(VedRect* dest, ITarnSurface* source, VedRect* sourceArea,
                                      int32_t quality) {
    const VedResult r = Drain(nullptr);
    return r < 0 ? r : AnswerOutOfMemory([&] { return DoDrawToSurface(dest, source, sourceArea, quality); });
}

VedResult CTarnSurface::Fill(VedRect* rect, uint32_t color) {
    const VedResult r = Drain(nullptr);
    return r < 0 ? r : AnswerOutOfMemory([&] { return DoFill(rect, color); });
}

}  // namespace tarn
