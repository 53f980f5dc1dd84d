// The frame pipeline: output in read order whatever the threads do, and a
// failure anywhere stopping it and reaching the caller.
#include "ordered_pipeline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>

namespace tarnsurf {
namespace {

struct TestJob {
    long index = 0;
    std::vector<uint8_t> input, output;
};

struct Recorder {
    explicit Recorder(long count) : frames(count) {}
    long frames;
    long failAtWork = -1;
    long failAtRead = -1;
    std::vector<long> written;
    long next = 0;
    std::set<const TestJob*> inFlight;  // read and write both run on this thread
    std::set<const TestJob*> seen;

    bool Read(TestJob& job) {
        if (next == failAtRead) throw std::runtime_error("read failed");
        if (next == frames) return false;
        // A job is read into again only once it was written.
        EXPECT_EQ(inFlight.count(&job), 0u);
        inFlight.insert(&job);
        seen.insert(&job);
        job.input.assign(1, uint8_t(next++ & 0xFF));
        return true;
    }
    void Work(TestJob& job) {
        if (job.index == failAtWork) throw std::runtime_error("work failed");
        // Uneven work so that later frames often finish first.
        thread_local std::minstd_rand random(unsigned(std::hash<std::thread::id>()(std::this_thread::get_id())));
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 400));
        job.output.assign(1, uint8_t(job.input[0] ^ 0x5A));
    }
    void Write(TestJob& job) {
        EXPECT_EQ(job.output.size(), 1u);
        EXPECT_EQ(job.output[0], uint8_t((job.index & 0xFF) ^ 0x5A));
        written.push_back(job.index);
        inFlight.erase(&job);
    }
    long Run(int threads) {
        return OrderedPipeline<TestJob>::Run(
            threads, [this](TestJob& j) { return Read(j); }, [this](TestJob& j) { Work(j); },
            [this](TestJob& j) { Write(j); });
    }
};

TEST(OrderedPipeline, WritesEveryFrameInReadOrderOnAnyNumberOfThreads) {
    for (int threads : {1, 2, 3, 8}) {
        for (long frames : {0L, 1L, 5L, 300L}) {
            Recorder r(frames);
            EXPECT_EQ(r.Run(threads), frames);
            ASSERT_EQ(long(r.written.size()), frames) << threads << " threads";
            for (long i = 0; i < frames; ++i) ASSERT_EQ(r.written[size_t(i)], i) << threads << " threads";
            // Jobs are reused from a ring of twice as many as threads.
            EXPECT_LE(r.seen.size(), size_t(std::max(1, 2 * threads)));
        }
    }
}

TEST(OrderedPipeline, AFailureStopsItAndNothingAfterTheFailedFrameIsWritten) {
    for (int threads : {1, 4}) {
        Recorder work(100);
        work.failAtWork = 37;
        EXPECT_THROW(work.Run(threads), std::runtime_error);
        EXPECT_LE(work.written.size(), 37u);
        for (size_t i = 0; i < work.written.size(); ++i) EXPECT_EQ(work.written[i], long(i));

        Recorder read(100);
        read.failAtRead = 12;
        EXPECT_THROW(read.Run(threads), std::runtime_error);
        EXPECT_LE(read.written.size(), 12u);
    }
}

}  // namespace
}  // namespace tarnsurf
