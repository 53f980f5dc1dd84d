// Terminal detection is the one platform call of the tool.
#include "progress.h"

#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#define TARNSURF_ISATTY(fd) _isatty(fd)
#else
#include <unistd.h>
#define TARNSURF_ISATTY(fd) isatty(fd)
#endif

namespace tarnsurf {

Progress::Progress(std::string name)
    : name_(std::move(name)), enabled_(TARNSURF_ISATTY(2) != 0), start_(std::chrono::steady_clock::now()),
      lastDraw_(start_) {}

void Progress::Frame(long written) {
    if (!enabled_) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - lastDraw_ < std::chrono::milliseconds(250)) return;
    lastDraw_ = now;
    Draw(written);
}

void Progress::Done(long written) {
    if (!enabled_) return;
    Draw(written);
    std::fputc('\n', stderr);
}

void Progress::Draw(long written) {
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    std::fprintf(stderr, "\rtarnsurf: %s: %ld frames, %.1f fps   ", name_.c_str(), written,
                 seconds > 0 ? double(written) / seconds : 0.0);
    std::fflush(stderr);
}

}  // namespace tarnsurf
