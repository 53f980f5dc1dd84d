// Shared pieces of the libFuzzer targets: a reader that turns the fuzzer's
// bytes into sizes, formats, rectangles and pixels; surfaces made the way a
// host makes them; a record of what an operation left behind; and the run of
// one input in every kernel form of a tier, which must all give the same
// record. Each target is one file, fuzz/<name>.cpp, built as tarn_fuzz_<name>,
// and includes this header once (it replaces the allocation functions).
#pragma once

#include <tarn/TarnSurface.h>

#include "platform/cpu_features.h"
#include "platform/form_table.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

namespace tarn::fuzz {

// Fresh heap memory is filled with a byte that changes from one form's run to
// the next, so a result that depends on bytes nobody wrote shows up as forms
// that disagree, on every run of the same input.
inline uint8_t g_freshFill = 0xA5;

inline void* FilledAllocation(size_t n) {
    void* p = std::malloc(n ? n : 1);
    if (p) std::memset(p, g_freshFill, n);
    return p;
}

}  // namespace tarn::fuzz

void* operator new(size_t n) {
    if (void* p = tarn::fuzz::FilledAllocation(n)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t n) {
    if (void* p = tarn::fuzz::FilledAllocation(n)) return p;
    throw std::bad_alloc();
}
void* operator new(size_t n, const std::nothrow_t&) noexcept { return tarn::fuzz::FilledAllocation(n); }
void* operator new[](size_t n, const std::nothrow_t&) noexcept { return tarn::fuzz::FilledAllocation(n); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }

namespace tarn::fuzz {

// Reads the fuzzer's bytes front to back; past the end every value is 0, so
// any input, even an empty one, describes a complete run.
class FuzzInput {
public:
    FuzzInput(const uint8_t* data, size_t size) : p_(data), end_(data + size) {}
    bool empty() const { return p_ == end_; }
    uint8_t Byte() { return p_ != end_ ? *p_++ : 0; }
    // 0 .. limit - 1 from up to two bytes (limit 0: the raw 16-bit value).
    uint32_t Take(uint32_t limit) {
        uint32_t v = Byte();
        v = v << 8 | Byte();
        return limit ? v % limit : v;
    }
    bool Flag() { return Byte() & 1; }
    uint32_t Word() { return Take(0) << 16 | Take(0); }
    template <class T, size_t N>
    T Pick(const T (&values)[N]) {
        return values[Take(N)];
    }
    // A rectangle around a surface of up to `span` pixels a side, sometimes
    // reaching a little outside it so that the range tests are walked too.
    VedRect Rect(int32_t span) {
        const int32_t l = int32_t(Take(span + 6)) - 3, t = int32_t(Take(span + 6)) - 3;
        return {l, t, l + int32_t(Take(span + 6)), t + int32_t(Take(span + 6))};
    }
    // The rest of the input as pixel bytes, repeated to fill `count`.
    void Pixels(uint8_t* out, size_t count) {
        const size_t left = size_t(end_ - p_);
        for (size_t i = 0; i < count; ++i) out[i] = left ? p_[i % left] ^ uint8_t(i / left) : uint8_t(i);
    }
    // A few bytes of pixels, the rest of the buffer follows from them, so
    // that the operations after it still get input of their own.
    void SomePixels(uint8_t* out, size_t count) {
        uint8_t seed[16];
        for (uint8_t& b : seed) b = Byte();
        for (size_t i = 0; i < count; ++i) out[i] = uint8_t(seed[i % 16] + (i / 16) * seed[(i / 7) % 16]);
    }

private:
    const uint8_t* p_;
    const uint8_t* end_;
};

inline constexpr SurfaceFormat kFormats[] = {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_RGB32, SURFACE_FORMAT_GRAY8,
                                             SURFACE_FORMAT_YUV420, SURFACE_FORMAT_YUV422};
// Formats SetFormat is given: the stored ones, the swap, and two it refuses.
inline constexpr SurfaceFormat kTargetFormats[] = {
    SURFACE_FORMAT_RGB24,          SURFACE_FORMAT_RGB32,   SURFACE_FORMAT_GRAY8,         SURFACE_FORMAT_YUV420,
    SURFACE_FORMAT_YUV422,         SURFACE_FORMAT_YUV420_SWAPPED, SurfaceFormat(0), SurfaceFormat(99)};
inline constexpr int32_t kModes[] = {SCALE_NEAREST,        SCALE_BILINEAR, SCALE_BILINEAR_FADE,  SCALE_BOX,
                                     SCALE_BOX_FADE,       SCALE_FIELD_BILINEAR, SCALE_AREA, SCALE_PLANAR_NEAREST,
                                     SCALE_PLANAR_SHARPEN, SCALE_PLANAR_AREA};

inline int32_t BitsOf(SurfaceFormat f) {
    switch (f) {
        case SURFACE_FORMAT_RGB24: return 24;
        case SURFACE_FORMAT_RGB32: return 32;
        case SURFACE_FORMAT_GRAY8: return 8;
        case SURFACE_FORMAT_YUV422: return 16;
        default: return 12;
    }
}

// Bytes a surface of this description holds, as the builder sizes it.
inline size_t BufferBytes(const SurfaceInfo& info) {
    if (info.format == SURFACE_FORMAT_YUV420) return size_t(info.width) * info.height * 3 / 2;
    return info.stride > 0 ? size_t(info.stride) * info.height : 0;
}

inline Ref<ISurfaceBuilder> MakeBuilder() {
    Ref<ISurfaceBuilder> builder;
    CreateObject(CLSID_TarnSurfaceLibrary, IID_ISurfaceBuilder, builder.put_void());
    return builder;
}

// The description a host gives for a blank surface of this format and size:
// the padded stride of a bitmap row, the width for planar pictures.
inline SurfaceInfo Describe(SurfaceFormat f, uint32_t width, uint32_t height, uint32_t topDown) {
    SurfaceInfo info{};
    info.size = sizeof info;
    info.width = width;
    info.height = height;
    info.format = f;
    info.bitsPerPixel = BitsOf(f);
    info.stride = f == SURFACE_FORMAT_YUV420 ? int32_t(width) : ((BitsOf(f) * int32_t(width) + 31) / 32) * 4;
    info.topDown = topDown;
    return info;
}

// A blank surface of this description, its pixels taken from the input.
inline Ref<ITarnSurface> BlankWithPixels(ISurfaceBuilder* builder, const SurfaceInfo& info, FuzzInput& in) {
    Ref<ITarnSurface> s;
    int32_t bytes = 0;
    if (builder->CreateBlank(&info, &bytes, s.put()) < 0) return {};
    uint8_t* p = nullptr;
    if (s->GetPixels(&p) >= 0 && p) in.SomePixels(p, size_t(bytes));
    return s;
}

// A surface of a fuzzed format (one of `formats`) and size (4 .. 4 + span - 1
// a side, planar sizes even), with fuzzed pixels.
template <size_t N>
Ref<ITarnSurface> TakeSurface(ISurfaceBuilder* builder, FuzzInput& in, const SurfaceFormat (&formats)[N],
                              uint32_t span = 60) {
    const SurfaceFormat f = in.Pick(formats);
    uint32_t w = 4 + in.Take(span), h = 4 + in.Take(span);
    if (f == SURFACE_FORMAT_YUV420) w &= ~1u, h &= ~1u;
    return BlankWithPixels(builder, Describe(f, w, h, in.Flag()), in);
}

inline Ref<ITarnSurface> TakeSurface(ISurfaceBuilder* builder, FuzzInput& in, uint32_t span = 60) {
    return TakeSurface(builder, in, kFormats, span);
}

// A mask for an overlay of this size: one byte per pixel, rows of the width.
inline Ref<ITarnSurface> TakeMask(ISurfaceBuilder* builder, FuzzInput& in, uint32_t width, uint32_t height) {
    SurfaceInfo info = Describe(SURFACE_FORMAT_GRAY8, width, height, 1);
    info.stride = int32_t(width);
    return BlankWithPixels(builder, info, in);
}

// What a run left behind, compared between kernel forms: result codes, the
// descriptors and pixels of surfaces, the bytes of a caller's buffer.
class Outcome {
public:
    void Add(int32_t v) { Bytes(&v, sizeof v, "result"); }
    void Bytes(const void* p, size_t n, const char* what = "caller's buffer") {
        parts_.push_back({data_.size(), what, {}});
        const auto* b = static_cast<const uint8_t*>(p);
        data_.insert(data_.end(), b, b + n);
    }
    // Descriptor and pixels, after draining what is queued.
    void Surface(ITarnSurface* s) {
        if (!s) return Add(-1);
        Add(s->Flush());
        SurfaceInfo info{};
        s->GetInfo(&info);
        Bytes(&info, sizeof info, "descriptor");
        uint8_t* p = nullptr;
        if (s->GetPixels(&p) >= 0 && p) {
            Bytes(p, BufferBytes(info), "pixels");
            parts_.back().info = info;
        }
    }
    // A line on what the run did, printed when forms disagree; not compared.
    template <class... Args>
    void Note(const char* format, Args... args) {
        char line[256];
        // Every caller passes a literal; the template only hides it from the
        // format check.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat-security"
#endif
        std::snprintf(line, sizeof line, format, args...);
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
        notes_ += line;
        notes_ += '\n';
    }
    // Notes on each surface made by the helpers below.
    void Note(const char* what, const SurfaceInfo& i) {
        Note("%s: format %d, %u x %u, stride %d, top-down %u", what, int(i.format), i.width, i.height, i.stride,
             i.topDown);
    }
    const std::vector<uint8_t>& data() const { return data_; }
    const std::string& notes() const { return notes_; }
    // Where byte `at` of the record came from, for the report of a mismatch.
    void Describe(size_t at) const {
        for (size_t i = parts_.size(); i-- > 0;) {
            if (parts_[i].start > at) continue;
            const Part& p = parts_[i];
            std::fprintf(stderr, "  in part %zu (%s), byte %zu; surface format %d, %u x %u, stride %d\n", i,
                         p.what, at - p.start, int(p.info.format), p.info.width, p.info.height, p.info.stride);
            return;
        }
    }

private:
    struct Part {
        size_t start;
        const char* what;
        SurfaceInfo info;
    };
    std::vector<uint8_t> data_;
    std::vector<Part> parts_;
    std::string notes_;
};

// Runs `run(FuzzInput&, Outcome&)` on the same bytes in every kernel form this
// machine has, within one tier chosen by the first byte, and stops the fuzzer
// when two forms disagree: every fast form must give its plain form's bytes.
template <class Run>
void RunInEveryForm(const uint8_t* data, size_t size, Run run) {
    FuzzInput head(data, size);
    static const uint32_t detected = g_cpuFeatures;
    const uint32_t tiers[] = {detected, kCpuMmx, 0};
    const uint32_t tier = tiers[head.Byte() % 3];
    data += size ? 1 : 0;
    size -= size ? 1 : 0;

    std::vector<uint8_t> first;
    SimdForm firstForm = HostSimdForm();
    for (int f = int(HostSimdForm()); f >= 0; --f) {
        Outcome outcome;
        g_freshFill = uint8_t(0xA5 ^ (0x3C * (f + 1)));
        {
            ScopedKernelChoice choice(tier, SimdForm(f));
            FuzzInput in(data, size);
            run(in, outcome);
        }
        if (f == int(firstForm)) {
            first = outcome.data();
        } else if (outcome.data() != first) {
            const std::vector<uint8_t>& other = outcome.data();
            size_t at = 0;
            while (at < first.size() && at < other.size() && first[at] == other[at]) ++at;
            std::fprintf(stderr, "form %s differs from form %s (feature word %#x) at byte %zu of %zu/%zu\n",
                         FormName(SimdForm(f)), FormName(firstForm), tier, at, other.size(), first.size());
            outcome.Describe(at);
            std::fprintf(stderr, "the run:\n%s", outcome.notes().c_str());
            __builtin_trap();
        }
    }
}

}  // namespace tarn::fuzz
