// Error reporting of the image library: one status word for the process, an
// error mode and a replaceable handler. The library's functions answer
// nothing; a caller learns of a failure from the status word, if the process
// survives the report (with the default handler and mode it does not).
#pragma once

#include <cstdint>

namespace tarn {

// Statuses the library stores; the full list of texts is in iplErrorText.
inline constexpr int32_t IPL_STS_OK = 0;
inline constexpr int32_t IPL_STS_BACKTRACE = -1;
inline constexpr int32_t IPL_STS_INTERNAL = -3;
inline constexpr int32_t IPL_STS_NOMEM = -4;
inline constexpr int32_t IPL_STS_BADARG = -5;
inline constexpr int32_t IPL_STS_NOTSUPPORTED = -6;
inline constexpr int32_t IPL_STS_AUTOTRACE = -8;

// Error modes. Fatal ends the process on any report; the other answers the
// status to the caller of iplError.
inline constexpr int32_t IPL_ERRMODE_FATAL = 0;
inline constexpr int32_t IPL_ERRMODE_RETURN = 1;

using IplErrorHandler = int32_t (*)(int32_t status, const char* functionName, const char* message,
                                    const char* fileName, int32_t line);

struct ErrorContext {
    int32_t status;
    int32_t mode;
    IplErrorHandler handler;
};

// The one record of the process. It is not guarded: the library's callers
// run it from one thread at a time.
ErrorContext* iplErrorContext();

int32_t iplGetErrStatus();
void iplSetErrStatus(int32_t status);
int32_t iplGetErrMode();
// Nothing in the library changes the mode or the handler; these exist so that
// a host (or a test) can stay alive through reports. The entries continue from
// their status tests when a report returns.
void iplSetErrMode(int32_t mode);
IplErrorHandler iplRedirectError(IplErrorHandler handler);  // answers the previous one

// Stores `status` (except -1 and -8, which pass an earlier error upwards and
// leave the first status readable), then calls the handler, unless the
// status is 0.
int32_t iplError(int32_t status, const char* functionName, const char* message, const char* fileName,
                  int32_t line);

// Ends the process with exit code 1 in the fatal mode, answers the status otherwise.
int32_t DefaultErrorHandler(int32_t status, const char* functionName, const char* message, const char* fileName,
                            int32_t line);

const char* iplErrorText(int32_t status);

}  // namespace tarn
