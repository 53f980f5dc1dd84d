// Frames read one after another, worked on by several threads at once, and
// handed back in the order they were read. Reading and writing stay on the
// calling thread; only the work runs on the workers.
//
// Jobs live in a fixed ring of slots and are reused: a job (with whatever
// buffers or surfaces it holds) is read into again only after it was
// written. A slot is free, queued for a worker, or done and waiting to be
// written; the ring's size bounds the memory in flight, and writing strictly
// from the oldest slot keeps the output in order.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tarnsurf {

// Job: default-constructible, with a `long index` that the pipeline sets.
template <class Job>
class OrderedPipeline {
public:
    using Read = std::function<bool(Job&)>;   // fills the job; false at the end
    using Work = std::function<void(Job&)>;   // any thread
    using Write = std::function<void(Job&)>;  // calling thread, in read order

    // With `threads` below 2 everything runs on the calling thread. Otherwise
    // up to 2 x `threads` jobs are in flight. An exception from any of the
    // three stops the pipeline and reaches the caller. Answers the number of
    // jobs written.
    static long Run(int threads, const Read& read, const Work& work, const Write& write) {
        if (threads < 2) {
            Job job;
            for (job.index = 0; read(job); ++job.index) {
                work(job);
                write(job);
            }
            return job.index;
        }
        const size_t slots = size_t(threads) * 2;
        std::vector<Job> ring(slots);
        Workers workers(threads, work);  // joined before `ring` goes, on every path
        long nextRead = 0;
        long nextWrite = 0;
        bool ended = false;
        for (;;) {
            if (!ended && size_t(nextRead - nextWrite) < slots) {
                Job& job = ring[size_t(nextRead) % slots];
                job.index = nextRead;
                if (!read(job)) {
                    ended = true;
                    continue;
                }
                workers.Queue(&job);
                ++nextRead;
                continue;
            }
            if (nextWrite == nextRead) return nextWrite;
            Job& oldest = ring[size_t(nextWrite) % slots];
            workers.WaitDone(&oldest);
            write(oldest);
            ++nextWrite;
        }
    }

private:
    class Workers {
    public:
        Workers(int threads, const Work& work) : work_(work) {
            for (int i = 0; i < threads; ++i) threads_.emplace_back([this] { Loop(); });
        }
        ~Workers() {
            {
                std::lock_guard<std::mutex> lock(mutex_);
                stop_ = true;
            }
            wake_.notify_all();
            for (std::thread& t : threads_) t.join();
        }

        void Queue(Job* job) {
            {
                std::lock_guard<std::mutex> lock(mutex_);
                pending_.push_back(job);
            }
            wake_.notify_one();
        }

        // Waits until `job` is done; rethrows the first failure of any worker.
        void WaitDone(Job* job) {
            std::unique_lock<std::mutex> lock(mutex_);
            done_.wait(lock, [&] { return error_ || IsDone(job); });
            if (error_) std::rethrow_exception(error_);
            finished_.erase(std::find(finished_.begin(), finished_.end(), job));
        }

    private:
        bool IsDone(Job* job) const { return std::find(finished_.begin(), finished_.end(), job) != finished_.end(); }

        void Loop() {
            for (;;) {
                Job* job = nullptr;
                {
                    std::unique_lock<std::mutex> lock(mutex_);
                    wake_.wait(lock, [&] { return stop_ || !pending_.empty(); });
                    if (stop_) return;
                    job = pending_.front();
                    pending_.pop_front();
                }
                std::exception_ptr failure;
                try {
                    work_(*job);
                } catch (...) {
                    failure = std::current_exception();
                }
                {
                    std::lock_guard<std::mutex> lock(mutex_);
                    finished_.push_back(job);
                    if (failure && !error_) error_ = failure;
                }
                done_.notify_all();
            }
        }

        const Work& work_;
        std::mutex mutex_;
        std::condition_variable wake_;
        std::condition_variable done_;
        std::deque<Job*> pending_;
        std::vector<Job*> finished_;  // at most the ring's size
        std::exception_ptr error_;
        bool stop_ = false;
        std::vector<std::thread> threads_;
    };
};

}  // namespace tarnsurf
