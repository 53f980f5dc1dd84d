// Helpers of the image library's tests: a handler that records reports and
// keeps the process alive, and images over pixels the test owns.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ipl/ipl_error.h"
#include "ipl/ipl_image.h"
#include "platform/cpu_features.h"
#include "platform/form_table.h"

namespace tarn::testing_ipl {

struct Report {
    int32_t status;
    std::string function, message, file;
    int32_t line;
};

// While alive, reports are recorded instead of ending the process, and the
// entries continue from their status tests.
class RecordReports {
public:
    RecordReports() : previous_(iplRedirectError(Record)) {
        Log().clear();
        iplSetErrStatus(0);
    }
    ~RecordReports() {
        iplRedirectError(previous_);
        iplSetErrStatus(0);
    }
    const std::vector<Report>& reports() const { return Log(); }
    void Clear() { Log().clear(); }

private:
    static std::vector<Report>& Log() {
        static std::vector<Report> log;
        return log;
    }
    static int32_t Record(int32_t status, const char* function, const char* message, const char* file,
                          int32_t line) {
        Log().push_back({status, function, message, file, line});
        return status;
    }
    IplErrorHandler previous_;
};

// Exactly one report was recorded, with this status, line and (when given) text.
inline void ExpectOneReport(const RecordReports& rec, int32_t status, int32_t line, const char* message = nullptr) {
    ASSERT_EQ(rec.reports().size(), 1u);
    EXPECT_EQ(rec.reports()[0].status, status);
    EXPECT_EQ(rec.reports()[0].line, line);
    if (message) {
        EXPECT_EQ(rec.reports()[0].message, message);
    }
}

// An 8-bit image of `channels` channels in pixel order over its own bytes,
// with `pad` bytes after each row and a canary of `slack` bytes around.
class OwnedImage {
public:
    OwnedImage(int32_t width, int32_t height, int32_t channels, int32_t pad = 0, uint8_t fill = 0,
               size_t slack = 64)
        : slack_(slack) {
        header_ = ImageWrapHeader(width, height, channels * 8);
        step_ = width * channels + pad;
        bytes_.assign(size_t(step_) * height + 2 * slack, kCanary);
        std::fill(bytes_.begin() + slack, bytes_.end() - slack, fill);
        header_->widthStep = step_;
        header_->imageData = header_->imageDataOrigin = bytes_.data() + slack;
    }
    ~OwnedImage() {
        header_->imageData = header_->imageDataOrigin = nullptr;
        iplDeallocateHeader(header_);
    }
    OwnedImage(const OwnedImage&) = delete;
    OwnedImage& operator=(const OwnedImage&) = delete;

    ImageHeader* get() const { return header_; }
    uint8_t* at(int32_t x, int32_t y) { return header_->imageData + y * step_ + x * header_->channels; }
    uint8_t pixel(int32_t x, int32_t y, int32_t c = 0) { return at(x, y)[c]; }
    int32_t step() const { return step_; }
    // The bytes outside the image are untouched.
    bool CanariesIntact() const {
        for (size_t i = 0; i < slack_; ++i)
            if (bytes_[i] != kCanary || bytes_[bytes_.size() - 1 - i] != kCanary) return false;
        return true;
    }
    std::vector<uint8_t> Pixels() const { return {bytes_.begin() + slack_, bytes_.end() - slack_}; }

    static constexpr uint8_t kCanary = 0xA5;

private:
    ImageHeader* header_;
    int32_t step_;
    size_t slack_;
    std::vector<uint8_t> bytes_;
};

// A value for each sample that differs between neighbours and far apart alike.
inline uint8_t Pattern(int32_t x, int32_t y, int32_t c) {
    return uint8_t((uint32_t(x) * 2654435761u + uint32_t(y) * 40503u * 65536u + uint32_t(c) * 0x9E3779B9u) >> 24);
}

// Sets every sample to value(x, y, channel).
template <class Value>
void Fill(OwnedImage& image, Value value) {
    const ImageHeader* h = image.get();
    for (int32_t y = 0; y < h->height; ++y)
        for (int32_t x = 0; x < h->width; ++x)
            for (int32_t c = 0; c < h->channels; ++c) image.at(x, y)[c] = uint8_t(value(x, y, c));
}
inline void FillPattern(OwnedImage& image) { Fill(image, Pattern); }

// Every sample of the image is expected(x, y, channel); the bytes around it
// are untouched.
template <class Expected>
void ExpectSamples(OwnedImage& image, Expected expected, const std::string& what = "") {
    const ImageHeader* h = image.get();
    for (int32_t y = 0; y < h->height; ++y)
        for (int32_t x = 0; x < h->width; ++x)
            for (int32_t c = 0; c < h->channels; ++c)
                ASSERT_EQ(image.at(x, y)[c], expected(x, y, c)) << what << " at " << x << "," << y << " channel " << c;
    EXPECT_TRUE(image.CanariesIntact()) << what;
}

// Runs body(form) with each form this machine runs forced, plain first.
template <class Body>
void ForEachForm(Body body) {
    for (SimdForm form : {SimdForm::Plain, SimdForm::Sse2, SimdForm::Avx2}) {
        if (form > HostSimdForm()) continue;
        ScopedKernelChoice choice(g_cpuFeatures, form);
        body(form);
    }
}

// Warps into a fresh target made by make() in each form this machine runs,
// with no report; every form writes the plain form's bytes.
template <class Make, class Warp>
void ExpectFormsAgree(Make make, Warp warp, const std::string& what) {
    RecordReports rec;
    std::vector<uint8_t> plain;
    ForEachForm([&](SimdForm form) {
        auto target = make();
        warp(target->get());
        ASSERT_TRUE(rec.reports().empty()) << what;
        EXPECT_TRUE(target->CanariesIntact()) << what;
        if (form == SimdForm::Plain) plain = target->Pixels();
        else ASSERT_EQ(target->Pixels(), plain) << FormName(form) << " " << what;
    });
}

}  // namespace tarn::testing_ipl
