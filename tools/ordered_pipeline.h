// Frames read one after another, worked on by several threads at once, and
// handed back in the order they were read. Reading and writing stay on the
// calling thread; only the work runs on the workers.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace tarnsurf {

struct FrameJob {
    long index = 0;
    std::vector<uint8_t> input;
    std::vector<uint8_t> output;
};

class OrderedPipeline {
public:
    using Read = std::function<bool(FrameJob&)>;   // fills input; false at the end
    using Work = std::function<void(FrameJob&)>;   // fills output; any thread
    using Write = std::function<void(FrameJob&)>;  // calling thread, in read order

    // With `threads` below 2 everything runs on the calling thread. Otherwise
    // up to 2 x `threads` frames are in flight. An exception from any of the
    // three stops the pipeline and reaches the caller. Answers the number of
    // frames written.
    static long Run(int threads, const Read& read, const Work& work, const Write& write);
};

}  // namespace tarnsurf
