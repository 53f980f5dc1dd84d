// Allocation failures at every allocation of an entry: the entry answers its
// result code, leaves its out-arguments alone, and no exception leaves the
// library. This executable replaces the global allocation functions so that a
// chosen allocation fails, counted from the moment a test arms it.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "host/host_support.h"

namespace {

// 0: no failure armed; n: the n-th allocation from now fails.
std::atomic<long> g_countdown{0};

bool FailThisOne() {
    long n = g_countdown.load();
    while (n > 0 && !g_countdown.compare_exchange_weak(n, n - 1)) {
    }
    return n == 1;
}

void* Allocate(size_t n) { return FailThisOne() ? nullptr : std::malloc(n ? n : 1); }

}  // namespace

void* operator new(size_t n) {
    if (void* p = Allocate(n)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t n) {
    if (void* p = Allocate(n)) return p;
    throw std::bad_alloc();
}
void* operator new(size_t n, const std::nothrow_t&) noexcept { return Allocate(n); }
void* operator new[](size_t n, const std::nothrow_t&) noexcept { return Allocate(n); }
// Every operator new above takes its memory from malloc, so free is the
// matching release; gcc cannot see that through the replacement and warns.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }

namespace {

class FailAt {
public:
    explicit FailAt(long n) { g_countdown = n; }
    ~FailAt() { g_countdown = 0; }
    bool Fired() const { return g_countdown.load() == 0; }
};

ITarnSurface* const kUntouched = reinterpret_cast<ITarnSurface*>(uintptr_t(0x5A5A5A5A));

// Runs `entry` with the n-th allocation failing, n = 1, 2, ... until a run
// makes no failing allocation; each failed run must answer `failure`, and no
// exception may leave the library. Answers how many runs failed.
template <class Entry>
int EveryAllocationFails(VedResult failure, Entry entry) {
    int failed = 0;
    for (long n = 1; n < 200; ++n) {
        VedResult r = VED_E_KERNELFAILED;
        bool fired;
        {
            FailAt arm(n);
            try {
                r = entry();
            } catch (...) {
                ADD_FAILURE() << "an exception left the library at allocation " << n;
            }
            fired = arm.Fired();
        }
        if (!fired) {
            EXPECT_EQ(r, VED_S_OK) << "no allocation failed";
            return failed;
        }
        if (r == VED_S_OK) continue;  // an allocation the entry can do without
        EXPECT_EQ(r, failure) << "allocation " << n;
        ++failed;
    }
    ADD_FAILURE() << "still allocating after 200 allocations";
    return failed;
}

TEST(AllocationFailure, CreateObjectAnswersFail) {
    const int failed = EveryAllocationFails(VED_E_FAIL, [] {
        void* out = kUntouched;
        const VedResult r = CreateObject(CLSID_TarnSurfaceLibrary, IID_ISurfaceBuilder, &out);
        if (r >= 0) static_cast<ISurfaceBuilder*>(out)->Release();
        else EXPECT_EQ(out, kUntouched);
        return r;
    });
    EXPECT_GE(failed, 1);
}

TEST(AllocationFailure, CreateBlankAnswersOutOfMemory) {
    const tarn::Ref<ISurfaceBuilder> builder = host::Builder();
    for (SurfaceFormat format : {SURFACE_FORMAT_RGB24, SURFACE_FORMAT_YUV420, SURFACE_FORMAT_YUV422}) {
        SCOPED_TRACE(format);
        const SurfaceInfo info = host::Describe(format, 16, 8);
        const int failed = EveryAllocationFails(VED_E_OUTOFMEMORY, [&] {
            ITarnSurface* out = kUntouched;
            int32_t bytes = 0;
            const VedResult r = builder->CreateBlank(&info, &bytes, &out);
            if (r >= 0) out->Release();
            else EXPECT_EQ(out, kUntouched);
            return r;
        });
        EXPECT_GE(failed, 2);  // the surface object and its pixels
    }
}

// An odd RGB picture is trimmed by a resize before its conversion to planar;
// when that resize cannot have its buffer, the conversion reports memory.
TEST(AllocationFailure, TrimBeforePlanarConversionAnswersOutOfMemory) {
    const tarn::Ref<ISurfaceBuilder> builder = host::Builder();
    SurfaceInfo info = host::Describe(SURFACE_FORMAT_RGB24, 9, 9);
    info.stride = 28;
    const int failed = EveryAllocationFails(VED_E_OUTOFMEMORY, [&] {
        tarn::Ref<ITarnSurface> s;
        int32_t bytes = 0;
        {
            const long armed = g_countdown.exchange(0);  // the surface itself is made whole
            EXPECT_EQ(builder->CreateBlank(&info, &bytes, s.put()), VED_S_OK);
            EXPECT_EQ(s->SetFormat(SURFACE_FORMAT_YUV420), VED_S_OK);
            g_countdown = armed;
        }
        return s->Flush();
    });
    EXPECT_GE(failed, 1);
}

}  // namespace
