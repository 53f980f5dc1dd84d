// What hosts do from several threads at once: reference counting of one
// surface, overlays shared by frames composed on different threads, queues of
// distinct surfaces drained at once, one builder used by many threads. Each
// thread's result is checked against the same work done on one thread; the
// ThreadSanitizer build of CI runs these and must report nothing.
#include "host_support.h"

#include <atomic>
#include <thread>
#include <vector>

namespace {

using host::Builder;
using host::Describe;

constexpr int kThreads = 4;

// Runs body(t) on `count` threads released together.
template <class Body>
void OnThreads(Body body, int count = kThreads) {
    std::atomic<int> waiting{count};
    std::vector<std::thread> threads;
    for (int t = 0; t < count; ++t)
        threads.emplace_back([&, t] {
            waiting.fetch_sub(1);
            while (waiting.load() > 0) std::this_thread::yield();
            body(t);
        });
    for (std::thread& th : threads) th.join();
}

// work(t) run ten times on each thread t at once gives what it gave alone.
template <class Work>
void SameOnEveryThread(Work work) {
    std::vector<std::vector<uint8_t>> expected;
    for (int t = 0; t < kThreads; ++t) expected.push_back(work(uint32_t(t)));
    std::vector<std::vector<uint8_t>> got(kThreads);
    OnThreads([&](int t) {
        for (int i = 0; i < 10; ++i) got[t] = work(uint32_t(t));
    });
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(got[t], expected[t]) << "thread " << t;
}

tarn::Ref<ITarnSurface> Planar(uint32_t w, uint32_t h, uint32_t seed) {
    return host::FromData(Describe(SURFACE_FORMAT_YUV420, w, h), host::Ramp(size_t(w) * h * 3 / 2, seed));
}

TEST(Concurrency, AddRefAndReleaseOfOneSurface) {
    tarn::Ref<ITarnSurface> s = host::Blank(Describe(SURFACE_FORMAT_RGB32, 8, 8));
    OnThreads([&](int) {
        for (int i = 0; i < 2000; ++i) {
            s->AddRef();
            s->Release();
        }
    });
    EXPECT_EQ(host::RefCount(s.get()), 1u);
}

// The last two references released at once: exactly one thread sees the
// count reach zero, and the object is deleted once (the sanitizers watch).
TEST(Concurrency, LastTwoReleasesDeleteOnce) {
    for (int round = 0; round < 100; ++round) {
        ITarnSurface* s = host::Blank(Describe(SURFACE_FORMAT_GRAY8, 4, 4)).detach();
        s->AddRef();
        std::atomic<int> zeros{0};
        OnThreads([&](int) { zeros.fetch_add(s->Release() == 0); }, 2);
        ASSERT_EQ(zeros.load(), 1) << "round " << round;
    }
}

// One overlay with a mask, stretched and placed onto each thread's own frame;
// every frame must come out as the same composition done on one thread.
TEST(Concurrency, SharedOverlayComposedOntoFramesOnEveryThread) {
    tarn::Ref<ITarnSurface> overlay = Planar(16, 16, 7);
    tarn::Ref<ITarnSurface> mask = host::FromData(Describe(SURFACE_FORMAT_RGB32, 16, 16), host::Ramp(16 * 16 * 4, 3));
    ASSERT_EQ(mask->SetFormat(SURFACE_FORMAT_YUV420), VED_S_OK);  // its alpha becomes a GRAY8 mask
    ASSERT_EQ(mask->Flush(), VED_S_OK);
    tarn::Ref<ITarnSurface> gray;
    ASSERT_EQ(mask->GetMask(gray.put()), VED_S_OK);
    ASSERT_TRUE(gray);
    overlay->SetMask(gray.get());
    tarn::Ref<ITarnSurface> keyed = Planar(8, 8, 11);
    overlay->SetSourceRect(0, 0, 16, 16);
    overlay->SetDestRect(4, 4, 28, 24);  // stretched through copies of its own
    keyed->SetSourceRect(0, 0, 8, 8);
    keyed->SetDestRect(2, 2, 10, 10);
    keyed->SetAlpha(64);

    const auto compose = [&](uint32_t seed) {
        tarn::Ref<ITarnSurface> frame = Planar(32, 32, seed);
        frame->AddOverlay(overlay.get());
        frame->AddOverlay(keyed.get());
        frame->SetFlattenInPlace(1);
        tarn::Ref<ITarnSurface> result;
        EXPECT_EQ(frame->Flatten(result.put()), VED_S_OK);
        const uint8_t* p = host::PixelsOf(result.get());
        return std::vector<uint8_t>(p, p + 32 * 32 * 3 / 2);
    };
    SameOnEveryThread(compose);
}

// Distinct surfaces resized, converted and copied out at once.
TEST(Concurrency, QueuesOfDistinctSurfacesDrainedAtOnce) {
    const auto work = [](uint32_t seed) {
        tarn::Ref<ITarnSurface> s = host::FromData(Describe(SURFACE_FORMAT_RGB24, 40, 30), host::Ramp(40 * 30 * 3, seed));
        EXPECT_EQ(s->Resize(64, 48, 1, SCALE_BILINEAR), VED_S_OK);
        EXPECT_EQ(s->SetFormat(SURFACE_FORMAT_YUV420), VED_S_OK);
        EXPECT_EQ(s->Flush(), VED_S_OK);
        EXPECT_EQ(s->Resize(32, 24, 0, SCALE_BOX), VED_S_OK);
        EXPECT_EQ(s->SetFormat(SURFACE_FORMAT_RGB32), VED_S_OK);
        std::vector<uint8_t> out(32 * 4 * 24 * 3 / 2);
        EXPECT_EQ(s->CopyOut(out.data(), 32 * 4, 1), VED_S_OK);
        return out;
    };
    SameOnEveryThread(work);
}

// One builder making surfaces for every thread.
TEST(Concurrency, OneBuilderUsedByManyThreads) {
    tarn::Ref<ISurfaceBuilder> builder = Builder();
    std::atomic<int> failures{0};
    OnThreads([&](int t) {
        for (int i = 0; i < 50; ++i) {
            const SurfaceInfo info = Describe(i & 1 ? SURFACE_FORMAT_YUV420 : SURFACE_FORMAT_RGB32, 16 + 2 * t, 8);
            tarn::Ref<ITarnSurface> blank;
            int32_t bytes = 0;
            if (builder->CreateBlank(&info, &bytes, blank.put()) != VED_S_OK) failures.fetch_add(1);
            host::Pixels data(host::Ramp(size_t(bytes), uint32_t(i)));
            tarn::Ref<ITarnSurface> copy;
            if (builder->CreateFromData(&info, &data, copy.put()) != VED_S_OK) failures.fetch_add(1);
            tarn::Ref<ITarnSurface> clone;
            if (copy->Clone(clone.put()) != VED_S_OK) failures.fetch_add(1);
        }
    });
    EXPECT_EQ(failures.load(), 0);
}

}  // namespace
