// Drawing: DrawToSurface from a surface of any format into another, and
// DrawToBuffer into a caller's buffer, with rectangles in, on the edge of and
// outside either side, every mode. The caller's buffer is as large as the
// public header asks and no larger.
#include "fuzz_support.h"

namespace {

using namespace tarn::fuzz;

void DrawToSurface(ISurfaceBuilder* builder, FuzzInput& in, Outcome& out) {
    tarn::Ref<ITarnSurface> target = TakeSurface(builder, in);
    tarn::Ref<ITarnSurface> source = TakeSurface(builder, in);
    if (!target || !source) return;
    SurfaceInfo ti{}, si{};
    target->GetInfo(&ti);
    source->GetInfo(&si);
    out.Note("target", ti);
    out.Note("source", si);
    VedRect d = in.Rect(70), s = in.Rect(70);
    const bool withDest = in.Take(4) != 0, withSource = in.Take(4) != 0;
    if (in.Flag()) {  // drained by the draw
        const int32_t w = 4 + int32_t(in.Take(40)), h = 4 + int32_t(in.Take(40));
        out.Note("source Resize(%d, %d)", w, h);
        source->Resize(w, h, 0, 0);
    }
    const int32_t mode = in.Pick(kModes);
    out.Note("DrawToSurface(%d: %d, %d, %d, %d; %d: %d, %d, %d, %d; %#x)", int(withDest), d.left, d.top, d.right,
             d.bottom, int(withSource), s.left, s.top, s.right, s.bottom, mode);
    out.Add(target->DrawToSurface(withDest ? &d : nullptr, source.get(), withSource ? &s : nullptr, mode));
    out.Surface(target.get());
    out.Surface(source.get());
}

void DrawToBuffer(ISurfaceBuilder* builder, FuzzInput& in, Outcome& out) {
    tarn::Ref<ITarnSurface> s = TakeSurface(builder, in);
    if (!s) return;
    SurfaceInfo info{};
    s->GetInfo(&info);
    out.Note("surface", info);
    VedRect sr = in.Rect(70), dr = in.Rect(70);
    const bool withSource = in.Take(4) != 0, withDest = in.Take(4) != 0;
    const int32_t w = int32_t(in.Take(80)), h = int32_t(in.Take(80));
    const int32_t row = info.format == SURFACE_FORMAT_YUV420 ? w : ((info.bitsPerPixel * w + 31) / 32) * 4;
    int32_t stride = 0;
    switch (in.Take(3)) {
        case 0: stride = 0; break;  // the library works the stride out
        case 1: stride = row + int32_t(in.Take(8)); break;
        default: stride = int32_t(in.Take(0)) - 0x8000; break;
    }
    const int32_t used = stride < 1 ? row : stride;
    // A planar buffer's chroma planes lie where stride and height put them,
    // each (h + 1) / 2 rows of stride / 2 (the public header's rule).
    const bool planar = info.format == SURFACE_FORMAT_YUV420;
    const size_t lumaBytes = size_t(std::max(used, 0)) * size_t(std::max(h, 0));
    const size_t chromaBytes = planar ? 2 * (size_t(std::max(used, 0)) / 2 + 1) * (size_t(std::max(h, 0)) / 2 + 1) : 0;
    // A stride shorter than a row overlaps the rows, and the last row of the
    // last plane still reaches a whole row from where it starts.
    const int32_t lastRow = planar ? (row + 1) / 2 : row, lastStride = planar ? used / 2 : used;
    const size_t overhang = h > 0 ? size_t(std::max(lastRow - std::max(lastStride, 0), 0)) : 0;
    std::vector<uint8_t> buffer(lumaBytes + chromaBytes + overhang + 16);
    const bool withBuffer = in.Flag();
    const int32_t mode = in.Pick(kModes);
    out.Note("DrawToBuffer(%d: %d, %d, %d, %d; %d: %d, %d, %d, %d; %d, %d x %d, stride %d, %#x)", int(withSource),
             sr.left, sr.top, sr.right, sr.bottom, int(withDest), dr.left, dr.top, dr.right, dr.bottom,
             int(withBuffer), w, h, stride, mode);
    out.Add(s->DrawToBuffer(withSource ? &sr : nullptr, withDest ? &dr : nullptr, withBuffer ? buffer.data() : nullptr,
                            w, h, stride, mode));
    out.Bytes(buffer.data(), buffer.size());
    out.Surface(s.get());
}

void Run(FuzzInput& in, Outcome& out) {
    tarn::Ref<ISurfaceBuilder> builder = MakeBuilder();
    if (in.Flag())
        DrawToSurface(builder.get(), in, out);
    else
        DrawToBuffer(builder.get(), in, out);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    RunInEveryForm(data, size, Run);
    return 0;
}
