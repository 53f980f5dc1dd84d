// A progress line on standard error for streams, shown only when standard
// error is a terminal, so that logs and pipes stay clean.
#pragma once

#include <chrono>
#include <string>

namespace tarnsurf {

class Progress {
public:
    explicit Progress(std::string name);
    void Frame(long written);  // redraws at most a few times a second
    void Done(long written);   // the last line, with the average rate

private:
    void Draw(long written);

    std::string name_;
    bool enabled_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point lastDraw_;
};

}  // namespace tarnsurf
