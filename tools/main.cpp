// tarnsurf: the command-line host of the TarnSurface library.
#include "compose.h"
#include "demo.h"
#include "options.h"
#include "tool_error.h"

#include <cstdio>
#include <exception>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

int main(int argc, char** argv) {
#if defined(_WIN32)
    // Streams on standard input and output are binary.
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    const tarnsurf::CommandLine cl = tarnsurf::ParseCommandLine(argc, argv);
    if (cl.finished) {
        std::fputs(cl.message.c_str(), cl.exitCode == 0 ? stdout : stderr);
        return cl.exitCode;
    }
    try {
        if (cl.command == tarnsurf::Command::Demo)
            tarnsurf::RunDemo(cl.demo);
        else
            tarnsurf::RunCompose(cl.compose);
        return 0;
    } catch (const tarnsurf::ToolError& e) {
        std::fprintf(stderr, "tarnsurf: %s\n", e.what());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "tarnsurf: unexpected failure: %s\n", e.what());
    }
    return 1;
}
