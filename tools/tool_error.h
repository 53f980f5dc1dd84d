// The one error type of the command-line host: a message that already names
// the file or option at fault, printed as it stands before a non-zero exit.
#pragma once

#include <stdexcept>
#include <string>

namespace tarnsurf {

class ToolError : public std::runtime_error {
public:
    explicit ToolError(const std::string& message) : std::runtime_error(message) {}
};

// "NAME: PROBLEM", the shape of every message about a file or option.
[[noreturn]] inline void Fail(const std::string& name, const std::string& problem) {
    throw ToolError(name + ": " + problem);
}

}  // namespace tarnsurf
