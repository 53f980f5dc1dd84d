// The whole matrix through the public interface at 1920x1080: every format
// pair SetFormat converts, and Resize for every mode x format x factor (2/3,
// 1/2, 1/4, 1/8 down; 3/2, 2 up), each followed by CopyOut into a caller's
// buffer, beside the peer's nearest call and a memcpy of as many bytes as
// the case reads and writes. One table at the end, worst ratio first; with
// --matrix_out=FILE the same rows as tab-separated values.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bench_support.h"
#include "bytes_floor.h"
#include "blur_floor.h"
#include "object/surface_builder.h"
#include "scale/sharpen.h"
#include "tarn/TarnSurface.h"
#if defined(TARN_HAVE_PEER)
#include <libyuv.h>
#include <libyuv/scale_rgb.h>
#endif

namespace {

constexpr int kW = 1920, kH = 1080;

struct Format {
    SurfaceFormat id;
    const char* name;
    int bits;
};
const Format kFormats[] = {{SURFACE_FORMAT_RGB24, "RGB24", 24},
                           {SURFACE_FORMAT_RGB32, "RGB32", 32},
                           {SURFACE_FORMAT_GRAY8, "GRAY8", 8},
                           {SURFACE_FORMAT_YUV420, "YUV420", 12},
                           {SURFACE_FORMAT_YUV422, "YUV422", 16}};

// Bytes of a w x h frame and the stride of its first plane.
size_t FrameBytes(const Format& f, int w, int h) {
    return f.id == SURFACE_FORMAT_YUV420 ? size_t(w) * h + 2 * size_t((w + 1) / 2) * ((h + 1) / 2)
                                         : size_t(w) * h * f.bits / 8;
}
int32_t StrideOf(const Format& f, int w) { return f.id == SURFACE_FORMAT_YUV420 ? w : w * f.bits / 8; }

struct Row {
    std::string name, peerName;
    double ours = 0, peer = 0, copy = 0;
    bool failed = false;
};
std::vector<Row>& Rows() {
    static std::vector<Row> rows;
    return rows;
}

// A 1080p surface of `f` holding random bytes, one per format, reused by
// every case: Resize and SetFormat only queue, and CopyOut runs the queue
// into the caller's buffer, leaving the surface as it was.
ITarnSurface* Source(const Format& f) {
    static std::map<int, tarn::Ref<ITarnSurface>> made;
    tarn::Ref<ITarnSurface>& s = made[f.id];
    if (!s) {
        SurfaceInfo info{};
        info.size = sizeof info;
        info.width = kW;
        info.height = kH;
        info.format = f.id;
        info.bitsPerPixel = f.bits;
        info.stride = StrideOf(f, kW);
        info.topDown = 1;
        tarn::CSurfaceBuilder builder;
        int32_t count = 0;
        builder.CreateBlank(&info, &count, s.put());
        uint8_t* p = nullptr;
        s->GetPixels(&p);
        const auto bytes = tarn::bench::RandomFrame(size_t(count), uint32_t(f.id));
        std::memcpy(p, bytes.data(), size_t(count));
    }
    return s.get();
}

// Random source bytes for the peer, one frame per format.
const std::vector<uint8_t>& PeerSource(const Format& f) {
    static std::map<int, std::vector<uint8_t>> made;
    auto& v = made[f.id];
    if (v.empty()) v = tarn::bench::RandomFrame(FrameBytes(f, kW, kH) * 2, uint32_t(f.id) + 10);
    return v;
}

// Four buffers as large as the largest buffer any case writes (a direct
// resize paints stride x height x 3/2 bytes black first, whatever the
// format: 4-byte pixels at twice the size), made once so that the pointers
// cases hold stay valid.
std::vector<uint8_t>& Scratch(int which, size_t bytes) {
    static std::vector<uint8_t> buffers[4];
    const size_t most = size_t(kW) * kH * 24 + 64;
    if (bytes + 64 > most) std::abort();
    if (buffers[which].empty()) buffers[which].assign(most, 1);
    return buffers[which];
}

// Ours, the peer's and the copy run in turn, one call each per iteration,
// and each keeps its best time: on a machine shared with other work the
// minimum is the figure least disturbed, and taking turns keeps all three
// under the same conditions.
void TimeCase(benchmark::State& state, Row& row, const std::function<bool()>& ours,
              const std::function<void()>& peer, size_t copyBytes) {
    using Clock = std::chrono::steady_clock;
    auto& from = Scratch(2, copyBytes);
    auto& to = Scratch(3, copyBytes);
    const std::function<void()> copy = [&] { std::memcpy(to.data(), from.data(), copyBytes); };
    auto once = [](const std::function<void()>& f) {
        const auto t0 = Clock::now();
        f();
        benchmark::ClobberMemory();
        return std::chrono::duration<double>(Clock::now() - t0).count();
    };
    if (!ours()) {
        row.failed = true;
        state.SkipWithError("refused");
        return;
    }
    if (peer) peer();
    copy();
    double best[3] = {1e9, 1e9, 1e9};
    auto round = [&] {
        best[0] = std::min(best[0], once([&] { ours(); }));
        if (peer) best[1] = std::min(best[1], once(peer));
        best[2] = std::min(best[2], once(copy));
    };
    // At least four turns each, however long a case takes: one or two would
    // leave the figure to chance.
    for (int i = 0; i < 3; ++i) round();
    for (auto _ : state) round();
    row.ours = best[0];
    row.peer = peer ? best[1] : 0;
    row.copy = best[2];
}

void Register(const std::string& name, const std::string& peerName, std::function<bool()> ours,
              std::function<void()> peer, size_t copyBytes) {
    Rows().push_back({name, peerName});
    const size_t at = Rows().size() - 1;
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& s) {
        TimeCase(s, Rows()[at], ours, peer, copyBytes);
    })->Unit(benchmark::kMillisecond);
}

// ---- Resize ----

struct Mode {
    int32_t id;
    const char* name;
};
const Mode kModes[] = {{SCALE_NEAREST, "nearest"},        {SCALE_BILINEAR, "bilinear"},
                       {SCALE_BILINEAR_FADE, "bil-fade"}, {SCALE_BOX, "box"},
                       {SCALE_BOX_FADE, "box-fade"},      {SCALE_FIELD_BILINEAR, "field"},
                       {SCALE_AREA, "area"},              {SCALE_PLANAR_NEAREST, "p-nearest"},
                       {SCALE_PLANAR_SHARPEN, "p-sharpen"}, {SCALE_PLANAR_AREA, "p-area"}};

struct Factor {
    int num, den;
};
const Factor kFactors[] = {{2, 3}, {1, 2}, {1, 4}, {1, 8}, {3, 2}, {2, 1}};

#if defined(TARN_HAVE_PEER)
libyuv::FilterMode PeerFilter(int32_t mode) {
    switch (mode) {
        case SCALE_NEAREST:
        case SCALE_PLANAR_NEAREST: return libyuv::kFilterNone;
        case SCALE_BOX:
        case SCALE_BOX_FADE:
        case SCALE_AREA:
        case SCALE_PLANAR_AREA: return libyuv::kFilterBox;
        default: return libyuv::kFilterBilinear;
    }
}

// The peer's scaler for the format, from its own source into `out`.
std::function<void()> PeerScale(const Format& f, int dw, int dh, libyuv::FilterMode filter, uint8_t* out,
                                std::string& name) {
    const uint8_t* s = PeerSource(f).data();
    switch (f.id) {
        case SURFACE_FORMAT_RGB24:
            name = "RGBScale";
            return [=] { libyuv::RGBScale(s, kW * 3, kW, kH, out, dw * 3, dw, dh, filter); };
        case SURFACE_FORMAT_RGB32:
            name = "ARGBScale";
            return [=] { libyuv::ARGBScale(s, kW * 4, kW, kH, out, dw * 4, dw, dh, filter); };
        case SURFACE_FORMAT_GRAY8:
            name = "ScalePlane";
            return [=] { libyuv::ScalePlane(s, kW, kW, kH, out, dw, dw, dh, filter); };
        case SURFACE_FORMAT_YUV420: {
            name = "I420Scale";
            const int cw = (dw + 1) / 2, ch = (dh + 1) / 2;
            return [=] {
                libyuv::I420Scale(s, kW, s + kW * kH, kW / 2, s + kW * kH * 5 / 4, kW / 2, kW, kH, out, dw,
                                  out + dw * dh, cw, out + dw * dh + cw * ch, cw, dw, dh, filter);
            };
        }
        default: {
            // Packed 4:2:2 has no scaler there: its planar 4:2:2, the same samples.
            name = "I422Scale";
            const int cw = (dw + 1) / 2;
            return [=] {
                libyuv::I422Scale(s, kW, s + kW * kH, kW / 2, s + kW * kH * 3 / 2, kW / 2, kW, kH, out, dw,
                                  out + dw * dh, cw, out + dw * dh + cw * dh, cw, dw, dh, filter);
            };
        }
    }
}
#endif

void RegisterResizes() {
    for (const Format& f : kFormats)
        for (const Mode& m : kModes)
            for (const Factor& k : kFactors) {
                const int dw = kW * k.num / k.den, dh = kH * k.num / k.den;
                const std::string name = std::string("Resize/") + f.name + "/" + m.name + "/" +
                                         std::to_string(k.num) + "-" + std::to_string(k.den);
                const size_t outBytes = FrameBytes(f, dw, dh);
                uint8_t* out = Scratch(0, size_t(StrideOf(f, dw)) * dh * 3 / 2).data();
                const Format fmt = f;
                const int32_t mode = m.id;
                auto ours = [fmt, mode, dw, dh, out] {
                    ITarnSurface* s = Source(fmt);
                    return s->Resize(dw, dh, 0, ScaleMode(mode)) == VED_S_OK && s->CopyOut(out, StrideOf(fmt, dw), 1) == VED_S_OK;
                };
                std::string peerName;
                std::function<void()> peer;
#if defined(TARN_HAVE_PEER)
                peer = PeerScale(f, dw, dh, PeerFilter(m.id), Scratch(1, outBytes).data(), peerName);
#endif
                Register(name, peerName, ours, peer, (FrameBytes(f, kW, kH) + outBytes) / 2);
            }
}

// ---- Floor ----

// The float work alone of the planar sharpen's blur over the 1080p luma
// plane (blur_floor.h), beside the peer's whole scale of the frame for each
// factor of the YUV420 p-sharpen rows, and the bytes alone that the YUV422
// 1/2 and RGB32 2/1 rows must read and write (bytes_floor.h): where such a
// ratio is above 1, the stated work by itself costs more than the peer's
// scale.
void RegisterFloors() {
#if defined(TARN_BENCH_BLUR_FLOOR)
    if (!__builtin_cpu_supports("avx2")) return;
    static float* k = nullptr;
    int32_t n = 0;
    tarn::MakeGaussianKernel(1.5, &k, &n);
    if (n != 9) std::abort();
    for (int32_t i = 0; i < 4; ++i)
        if (k[i] != k[8 - i]) std::abort();
    const Format& f = kFormats[3];
    for (const Factor& m : kFactors) {
        const int dw = kW * m.num / m.den, dh = kH * m.num / m.den;
        std::string peerName;
        std::function<void()> peer;
#if defined(TARN_HAVE_PEER)
        peer = PeerScale(f, dw, dh, libyuv::kFilterBilinear, Scratch(1, FrameBytes(f, dw, dh)).data(), peerName);
#endif
        auto ours = [] {
            static const bool wide = __builtin_cpu_supports("avx512f");
            const int64_t pixels = int64_t(kW) * kH;
            benchmark::DoNotOptimize(wide ? tarn::bench::BlurFloor16(k, pixels) : tarn::bench::BlurFloor(k, pixels));
            return true;
        };
        Register(std::string("Floor/YUV420/p-sharpen-blur/") + std::to_string(m.num) + "-" + std::to_string(m.den),
                 peerName, ours, peer, size_t(kW) * kH);
    }
#endif
#if defined(TARN_BENCH_BYTES_FLOOR) && defined(TARN_HAVE_PEER)
    // A packed frame resized to half size into the caller's memory first
    // converts to planar there, at the target's stride, which is the
    // source's width: every chroma row of that step smooths four source
    // rows, so the whole source is read, and every byte of the planar frame
    // is left written (by the step, the paint or the rows). Those bytes
    // alone, beside the peer's scale for each of its filters the YUV422 1/2
    // rows meet.
    if (!__builtin_cpu_supports("avx2")) return;
    const Format& packed = kFormats[4];
    const size_t written = size_t(kW) * kH * 3 / 2;
    uint8_t* out = Scratch(0, written).data();
    const std::pair<libyuv::FilterMode, const char*> filters[] = {
        {libyuv::kFilterNone, "nearest"}, {libyuv::kFilterBilinear, "bilinear"}, {libyuv::kFilterBox, "box"}};
    for (const auto& [filter, filterName] : filters) {
        std::string peerName;
        const std::function<void()> peer =
            PeerScale(packed, kW / 2, kH / 2, filter, Scratch(1, FrameBytes(packed, kW / 2, kH / 2)).data(), peerName);
        auto ours = [packed, out, written] {
            uint8_t* in = nullptr;
            if (Source(packed)->GetPixels(&in) != VED_S_OK) return false;
            benchmark::DoNotOptimize(tarn::bench::BytesFloor(in, FrameBytes(packed, kW, kH), out, written, 0x80));
            return true;
        };
        Register(std::string("Floor/YUV422/bytes/1-2/") + filterName, peerName, ours, peer,
                 (FrameBytes(packed, kW, kH) + FrameBytes(packed, kW / 2, kH / 2)) / 2);
    }
    // A 4-byte frame resized to twice its size into the caller's memory:
    // the caller's buffer is painted as a planar picture of the target's
    // stride, and the rows the scaler stores whole are left out of the
    // paint, so every byte of the stride x height x 3 / 2 is written once
    // (the rows, then the 128s of the rest), and the source read once. Those
    // bytes alone, the rows' written around the caches, beside the peer's
    // nearest scale and the case's own copy column.
    {
        const Format& rgb = kFormats[1];
        const int dw = 2 * kW, dh = 2 * kH;
        const size_t painted = size_t(StrideOf(rgb, dw)) * dh * 3 / 2;
        uint8_t* to = Scratch(0, painted).data();
        std::string peerName;
        const std::function<void()> peer = PeerScale(rgb, dw, dh, libyuv::kFilterNone,
                                                     Scratch(1, FrameBytes(rgb, dw, dh)).data(), peerName);
        auto ours = [rgb, to, painted] {
            uint8_t* in = nullptr;
            if (Source(rgb)->GetPixels(&in) != VED_S_OK) return false;
            const size_t rows = FrameBytes(rgb, 2 * kW, 2 * kH);
            benchmark::DoNotOptimize(
                tarn::bench::BytesFloorStreamed(in, FrameBytes(rgb, kW, kH), to, rows, painted, 0x80));
            return true;
        };
        Register("Floor/RGB32/bytes/2-1", peerName, ours, peer, (FrameBytes(rgb, kW, kH) + FrameBytes(rgb, dw, dh)) / 2);
    }
#endif
}

// ---- SetFormat ----

void RegisterConversions() {
    struct Pair {
        int from, to;  // indexes into kFormats
        const char* peerName;
    };
    const Pair pairs[] = {{0, 1, "RGB24ToARGB"},         {0, 3, "RGB24ToI420"},
                          {0, 4, "RGB24ToARGB+ARGBToYUY2"}, {1, 0, "ARGBToRGB24"},
                          {1, 3, "ARGBToI420"},          {1, 4, "ARGBToYUY2"},
                          {3, 0, "I420ToRGB24"},         {3, 1, "I420ToARGB"},
                          {3, 4, "I420ToYUY2"},          {4, 0, "YUY2ToARGB+ARGBToRGB24"},
                          {4, 1, "YUY2ToARGB"},          {4, 3, "YUY2ToI420"}};
    for (const Pair& p : pairs) {
        const Format from = kFormats[p.from], to = kFormats[p.to];
        const size_t outBytes = FrameBytes(to, kW, kH);
        uint8_t* out = Scratch(0, outBytes).data();
        auto ours = [from, to, out] {
            ITarnSurface* s = Source(from);
            return s->SetFormat(to.id) == VED_S_OK && s->CopyOut(out, StrideOf(to, kW), 1) == VED_S_OK;
        };
        std::function<void()> peer;
#if defined(TARN_HAVE_PEER)
        const uint8_t* s = PeerSource(from).data();
        uint8_t* d = Scratch(1, outBytes).data();
        static std::vector<uint8_t> argb(size_t(kW) * kH * 4 + 64);
        uint8_t* t = argb.data();
        const uint8_t *u = s + kW * kH, *v = u + kW * kH / 4;
        uint8_t *du = d + kW * kH, *dv = du + kW * kH / 4;
        const std::function<void()> peers[] = {
            [=] { libyuv::RGB24ToARGB(s, kW * 3, d, kW * 4, kW, kH); },
            [=] { libyuv::RGB24ToI420(s, kW * 3, d, kW, du, kW / 2, dv, kW / 2, kW, kH); },
            [=] {
                libyuv::RGB24ToARGB(s, kW * 3, t, kW * 4, kW, kH);
                libyuv::ARGBToYUY2(t, kW * 4, d, kW * 2, kW, kH);
            },
            [=] { libyuv::ARGBToRGB24(s, kW * 4, d, kW * 3, kW, kH); },
            [=] { libyuv::ARGBToI420(s, kW * 4, d, kW, du, kW / 2, dv, kW / 2, kW, kH); },
            [=] { libyuv::ARGBToYUY2(s, kW * 4, d, kW * 2, kW, kH); },
            [=] { libyuv::I420ToRGB24(s, kW, u, kW / 2, v, kW / 2, d, kW * 3, kW, kH); },
            [=] { libyuv::I420ToARGB(s, kW, u, kW / 2, v, kW / 2, d, kW * 4, kW, kH); },
            [=] { libyuv::I420ToYUY2(s, kW, u, kW / 2, v, kW / 2, d, kW * 2, kW, kH); },
            [=] {
                libyuv::YUY2ToARGB(s, kW * 2, t, kW * 4, kW, kH);
                libyuv::ARGBToRGB24(t, kW * 4, d, kW * 3, kW, kH);
            },
            [=] { libyuv::YUY2ToARGB(s, kW * 2, d, kW * 4, kW, kH); },
            [=] { libyuv::YUY2ToI420(s, kW * 2, d, kW, du, kW / 2, dv, kW / 2, kW, kH); },
        };
        peer = peers[&p - pairs];
#endif
        Register(std::string("SetFormat/") + from.name + "To" + to.name, p.peerName, ours, peer,
                 (FrameBytes(from, kW, kH) + outBytes) / 2);
    }
}

// Worst ratio first; rows without a peer figure at the end of the cases.
void PrintTable(const char* tsvPath) {
    std::vector<Row> rows;
    for (const Row& r : Rows())
        if (r.failed || r.ours > 0) rows.push_back(r);
    auto ratio = [](const Row& r) { return r.peer > 0 ? r.ours / r.peer : -1.0; };
    // The floor rows time a part of a case's arithmetic, not a case: they
    // come after every case, so the table's first row is its worst case.
    auto floor = [](const Row& r) { return r.name.rfind("Floor/", 0) == 0; };
    std::stable_sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
        if (floor(a) != floor(b)) return floor(b);
        return ratio(a) > ratio(b);
    });
    std::printf("\n%-34s %-24s %9s %9s %7s %9s %7s\n", "case", "peer", "ours ms", "peer ms", "ratio", "copy ms",
                "/copy");
    FILE* tsv = tsvPath ? std::fopen(tsvPath, "w") : nullptr;
    if (tsv) std::fprintf(tsv, "case\tpeer\tours_ms\tpeer_ms\tratio\tcopy_ms\tours_per_copy\n");
    for (const Row& r : rows) {
        if (r.failed) {
            std::printf("%-34s %-24s %9s\n", r.name.c_str(), r.peerName.c_str(), "refused");
            if (tsv) std::fprintf(tsv, "%s\t%s\trefused\t\t\t\t\n", r.name.c_str(), r.peerName.c_str());
            continue;
        }
        std::printf("%-34s %-24s %9.3f %9.3f %7.2f %9.3f %7.2f\n", r.name.c_str(), r.peerName.c_str(), r.ours * 1e3,
                    r.peer * 1e3, ratio(r), r.copy * 1e3, r.ours / r.copy);
        if (tsv)
            std::fprintf(tsv, "%s\t%s\t%.4f\t%.4f\t%.3f\t%.4f\t%.3f\n", r.name.c_str(), r.peerName.c_str(),
                         r.ours * 1e3, r.peer * 1e3, ratio(r), r.copy * 1e3, r.ours / r.copy);
    }
    if (tsv) std::fclose(tsv);
}

}  // namespace

int main(int argc, char** argv) {
    const char* tsv = nullptr;
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i) {
        const std::string a = argv[i];
        if (a.rfind("--matrix_out=", 0) == 0) tsv = argv[i] + 13;
        else args.push_back(argv[i]);
    }
    int n = int(args.size());
    RegisterConversions();
    RegisterResizes();
    RegisterFloors();
    benchmark::Initialize(&n, args.data());
    benchmark::RunSpecifiedBenchmarks();
    PrintTable(tsv);
    benchmark::Shutdown();
    return 0;
}
