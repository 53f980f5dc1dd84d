// Working rows of one conversion call.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace tarn {

// Left uninitialised: every byte is written before it is read, and a frame's
// worth of zeroing would cost a pass.
class Scratch {
public:
    explicit Scratch(size_t bytes) : data_(new uint8_t[bytes]) {}
    uint8_t* data() { return data_.get(); }

private:
    std::unique_ptr<uint8_t[]> data_;
};

}  // namespace tarn
