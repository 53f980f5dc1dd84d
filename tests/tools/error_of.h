// The message of the ToolError a call throws, for tests of refusals.
#pragma once

#include <string>

#include "tool_error.h"

namespace tarnsurf {

// Message of the ToolError that `fn` throws, or "" when it throws none.
template <class Fn>
std::string ErrorOf(Fn fn) {
    try {
        fn();
    } catch (const ToolError& e) {
        return e.what();
    }
    return "";
}

}  // namespace tarnsurf
