// The image library's affine entries: iplWarpAffine with fuzzed
// coefficients, iplRotate by any angle with shifts, and about a centre, in
// every interpolation (with and without edge smoothing) on 8-bit images of
// 1, 3 and 4 channels, with regions of interest now and then and the same
// image as source and target. Reports go to a handler that keeps the process
// alive; the status and the target's bytes are compared between forms. The
// target's bytes are exactly its rows, so ASan sees a write past them.
#include "fuzz_support.h"

#include "ipl/ipl_error.h"
#include "ipl/ipl_image.h"
#include "ipl/iplwarp.h"

namespace {

using namespace tarn::fuzz;
using tarn::ImageHeader;
using tarn::ImageRoi;

constexpr int kInterpolations[] = {tarn::IPL_INTER_NN,
                                   tarn::IPL_INTER_LINEAR,
                                   tarn::IPL_INTER_CUBIC,
                                   tarn::IPL_INTER_NN | tarn::IPL_SMOOTH_EDGE,
                                   tarn::IPL_INTER_LINEAR | tarn::IPL_SMOOTH_EDGE,
                                   tarn::IPL_INTER_CUBIC | tarn::IPL_SMOOTH_EDGE,
                                   7};
constexpr int32_t kChannels[] = {1, 3, 4};
constexpr double kExtremes[] = {0.0, 1.0, -1.0, 0.5, 1e-9, 1e4, -1e4};

int32_t KeepGoing(int32_t status, const char*, const char*, const char*, int32_t) { return status; }

// An 8-bit image over bytes of its own, exactly its rows long.
class Image {
public:
    Image(FuzzInput& in, int32_t channels) {
        const int32_t w = 1 + int32_t(in.Take(40)), h = 1 + int32_t(in.Take(40));
        header_ = tarn::ImageWrapHeader(w, h, channels * 8);
        if (!header_) return;
        const int32_t step = w * channels + int32_t(in.Take(4)) * 4;
        bytes_.resize(size_t(step) * h);
        in.SomePixels(bytes_.data(), bytes_.size());
        header_->widthStep = step;
        header_->imageData = header_->imageDataOrigin = bytes_.data();
        if (in.Take(4) == 0) {
            roi_ = {0, int32_t(in.Take(w)), int32_t(in.Take(h)), 1 + int32_t(in.Take(w)), 1 + int32_t(in.Take(h))};
            header_->roi = &roi_;
        }
    }
    ~Image() {
        if (!header_) return;
        header_->imageData = header_->imageDataOrigin = nullptr;
        header_->roi = nullptr;
        tarn::iplDeallocateHeader(header_);
    }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    ImageHeader* get() const { return header_; }
    const std::vector<uint8_t>& bytes() const { return bytes_; }

private:
    ImageHeader* header_ = nullptr;
    ImageRoi roi_{};
    std::vector<uint8_t> bytes_;
};

double TakeDouble(FuzzInput& in, double scale) {
    if (in.Take(8) == 0) return in.Pick(kExtremes);
    return (double(in.Take(0)) - 32768.0) / scale;
}

void Run(FuzzInput& in, Outcome& out) {
    const tarn::IplErrorHandler previous = tarn::iplRedirectError(KeepGoing);
    const int32_t mode = tarn::iplGetErrMode();
    tarn::iplSetErrMode(tarn::IPL_ERRMODE_RETURN);
    tarn::iplSetErrStatus(0);
    {
        const int32_t channels = in.Pick(kChannels);
        Image source(in, channels);
        Image target(in, in.Take(8) ? channels : in.Pick(kChannels));
        ImageHeader* to = in.Take(16) ? target.get() : source.get();  // now and then in place
        const int interpolate = in.Pick(kInterpolations);
        switch (in.Take(3)) {
            case 0: {
                double c[6];
                for (double& v : c) v = TakeDouble(in, 4096.0);
                out.Note("iplWarpAffine(%g %g %g %g %g %g, %d)", c[0], c[1], c[2], c[3], c[4], c[5], interpolate);
                tarn::iplWarpAffine(source.get(), to, c, interpolate);
                double quad[8];
                if (source.get()) tarn::iplGetAffineQuad(source.get(), c, quad);
                break;
            }
            case 1: {
                const double angle = TakeDouble(in, 64.0), x = TakeDouble(in, 512.0), y = TakeDouble(in, 512.0);
                out.Note("iplRotate(%g, %g, %g, %d)", angle, x, y, interpolate);
                tarn::iplRotate(source.get(), to, angle, x, y, interpolate);
                break;
            }
            default: {
                const double angle = in.Take(4) ? 90.0 * in.Take(5) : TakeDouble(in, 64.0);
                double x = 0, y = 0;
                tarn::GetRotateShift(TakeDouble(in, 1024.0), TakeDouble(in, 1024.0), angle, &x, &y);
                out.Note("iplRotate about a centre (%g, %g, %g, %d)", angle, x, y, interpolate);
                tarn::iplRotate(source.get(), to, angle, x, y, interpolate);
                break;
            }
        }
        out.Add(tarn::iplGetErrStatus());
        out.Bytes(target.bytes().data(), target.bytes().size(), "target image");
        out.Bytes(source.bytes().data(), source.bytes().size(), "source image");
    }
    tarn::iplSetErrStatus(0);
    tarn::iplSetErrMode(mode);
    tarn::iplRedirectError(previous);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    RunInEveryForm(data, size, Run);
    return 0;
}
