// Status word, error mode, handler and the status texts of the image library.
#include "ipl/ipl_error.h"

#include <array>
#include <cstdlib>

namespace tarn {

namespace {

ErrorContext g_errorContext{IPL_STS_OK, IPL_ERRMODE_FATAL, DefaultErrorHandler};

constexpr int kTextRows = 126;  // statuses 0 to -125

struct TextRow {
    int32_t status;
    const char* text;
};

// Rows with a mask counterpart are kept once, as the mask text; the plain
// row is that text after its "Mask. " prefix (see TextTable).
constexpr TextRow kRows[] = {
    {0, "No Error"},
    {-1, "Backtrace"},
    {-3, "Internal error (bad state)"},
    {-4, "Insufficient memory"},
    {-5, "Bad argument"},
    {-6, "Unsupported function"},
    {-7, "Iteration convergence failed"},
    {-8, "Autotrace call"},
    {-9, "Null pointer to an image header"},
    {-16, "Number of channels for 1U depth image must be one"},
    {-22, "Null pointer to callback function"},
    {-23, "Incorrect size of the tile"},
    {-26, "Mask image is taled"},
    {-27, "Null pointer"},
    {-28, "Incorrect vector length"},
    {-29, "Incorrect filter structure content"},
    {-30, "Incorrect transform kernel content"},
    {-31, "Incorrect filter ofset value"},
    {-110, "Mask. Incorrect image size"},
    {-111, "Mask. Incorrect offset of ROI of the image"},
    {-112, "Mask. Image must be tiled or must have nonzero data pointer"},
    {-113, "Mask. Incorrect widthStep of the image"},
    {-114, "Mask. Incorrect Color model or channel sequence of the image"},
    {-115, "Mask. Incorrect number of channels in the image"},
    {-117, "Mask. Incorrect depth value in the image header"},
    {-118, "Mask. Incorrect alpha channel number in the image header"},
    {-119, "Mask. Incorrect data order value in the image header"},
    {-120, "Mask. Incorrect data origin value in the image header"},
    {-121, "Mask. Incorrect data alignment value in the image header"},
    {-124, "Mask. Incorrect COI of the image"},
    {-125, "Mask. Incorrect size of ROI in the image header"},
};

constexpr int kMaskOffset = 100;
constexpr int kMaskPrefixLength = 6;  // "Mask. "

constexpr std::array<const char*, kTextRows> TextTable() {
    std::array<const char*, kTextRows> rows{};
    for (const TextRow& r : kRows) rows[size_t(-r.status)] = r.text;
    for (int i = kMaskOffset; i < kTextRows; ++i)
        if (rows[size_t(i)]) rows[size_t(i - kMaskOffset)] = rows[size_t(i)] + kMaskPrefixLength;
    return rows;
}

constexpr std::array<const char*, kTextRows> kTexts = TextTable();

}  // namespace

ErrorContext* iplErrorContext() { return &g_errorContext; }

int32_t iplGetErrStatus() { return iplErrorContext()->status; }
void iplSetErrStatus(int32_t status) { iplErrorContext()->status = status; }
int32_t iplGetErrMode() { return iplErrorContext()->mode; }
void iplSetErrMode(int32_t mode) { iplErrorContext()->mode = mode; }

IplErrorHandler iplRedirectError(IplErrorHandler handler) {
    ErrorContext* context = iplErrorContext();
    const IplErrorHandler previous = context->handler;
    context->handler = handler ? handler : DefaultErrorHandler;
    return previous;
}

int32_t iplError(int32_t status, const char* functionName, const char* message, const char* fileName,
                 int32_t line) {
    ErrorContext* context = iplErrorContext();
    if (status != IPL_STS_BACKTRACE && status != IPL_STS_AUTOTRACE) {
        context->status = status;
        if (status == IPL_STS_OK) return 0;
    }
    return context->handler(status, functionName, message, fileName, line);
}

int32_t DefaultErrorHandler(int32_t status, const char*, const char*, const char*, int32_t) {
    // Silent on purpose: the report has no channel of its own, and the
    // process ends with code 1.
    if (iplGetErrMode() == IPL_ERRMODE_FATAL) std::exit(1);
    return status;
}

const char* iplErrorText(int32_t status) {
    if (status <= 0 && status > -kTextRows && kTexts[size_t(-status)]) return kTexts[size_t(-status)];
    return "Unknown error or status code";
}

}  // namespace tarn
