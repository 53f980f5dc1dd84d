// A fixed ring of frame slots: a slot is free, queued for a worker, or done
// and waiting to be written. The ring's size bounds the memory in flight, and
// writing strictly from the oldest slot keeps the output in order.
#include "ordered_pipeline.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>

namespace tarnsurf {
namespace {

enum class SlotState { Free, Queued, Done };

class Workers {
public:
    Workers(int threads, size_t slots, const OrderedPipeline::Work& work) : work_(work), state_(slots, SlotState::Free) {
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

    void Queue(size_t slot, FrameJob* job) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            state_[slot] = SlotState::Queued;
            pending_.push_back({slot, job});
        }
        wake_.notify_one();
    }

    // Waits until `slot` is done; rethrows the first worker failure.
    void WaitDone(size_t slot) {
        std::unique_lock<std::mutex> lock(mutex_);
        done_.wait(lock, [&] { return state_[slot] == SlotState::Done || error_; });
        if (error_) std::rethrow_exception(error_);
        state_[slot] = SlotState::Free;
    }

private:
    void Loop() {
        for (;;) {
            std::pair<size_t, FrameJob*> next;
            {
                std::unique_lock<std::mutex> lock(mutex_);
                wake_.wait(lock, [&] { return stop_ || !pending_.empty(); });
                if (stop_) return;
                next = pending_.front();
                pending_.pop_front();
            }
            std::exception_ptr failure;
            try {
                work_(*next.second);
            } catch (...) {
                failure = std::current_exception();
            }
            {
                std::lock_guard<std::mutex> lock(mutex_);
                state_[next.first] = SlotState::Done;
                if (failure && !error_) error_ = failure;
            }
            done_.notify_all();
        }
    }

    const OrderedPipeline::Work& work_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable done_;
    std::deque<std::pair<size_t, FrameJob*>> pending_;
    std::vector<SlotState> state_;
    std::exception_ptr error_;
    bool stop_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace

long OrderedPipeline::Run(int threads, const Read& read, const Work& work, const Write& write) {
    if (threads < 2) {
        FrameJob job;
        while (read(job)) {
            work(job);
            write(job);
            ++job.index;
        }
        return job.index;
    }
    const size_t slots = size_t(threads) * 2;
    std::vector<FrameJob> ring(slots);
    Workers workers(threads, slots, work);  // joined before `ring` goes, on every path
    long nextRead = 0;
    long nextWrite = 0;
    bool ended = false;
    for (;;) {
        if (!ended && size_t(nextRead - nextWrite) < slots) {
            FrameJob& job = ring[size_t(nextRead) % slots];
            job.index = nextRead;
            if (!read(job)) {
                ended = true;
                continue;
            }
            workers.Queue(size_t(nextRead) % slots, &job);
            ++nextRead;
            continue;
        }
        if (nextWrite == nextRead) return nextWrite;
        workers.WaitDone(size_t(nextWrite) % slots);
        write(ring[size_t(nextWrite) % slots]);
        ++nextWrite;
    }
}

}  // namespace tarnsurf
