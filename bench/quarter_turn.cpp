// The exact quarter turns of the image library (iplRotate with whole shifts)
// on a 1920x1080 8-bit plane in each form, against the peer's plane
// rotations RotatePlane90/180/270, side by side in one run.
// Run: configure with -DTARN_BUILD_BENCH=ON, build tarn_bench_quarter_turn,
// then ./bench/tarn_bench_quarter_turn (argument /0 /1 /2: plain, SSE2, AVX2)
#include <vector>

#include "bench_support.h"
#include "form_cases.h"
#include "ipl/ipl_image.h"
#include "ipl/iplwarp.h"

#if defined(TARN_HAVE_PEER)
#include <libyuv.h>
#endif

namespace {

using tarn::bench::Ours;
using tarn::bench::Peer;

constexpr int kW = 1920, kH = 1080;

// An image header over a buffer of random bytes, released with the case.
class Image {
public:
    Image(int width, int height, int channels, uint32_t seed)
        : bytes_(tarn::bench::RandomFrame(size_t(width) * height * channels, seed)) {
        header_ = tarn::ImageWrapHeader(width, height, channels * 8);
        header_->widthStep = width * channels;
        header_->imageData = header_->imageDataOrigin = bytes_.data();
    }
    ~Image() {
        header_->imageData = header_->imageDataOrigin = nullptr;
        tarn::iplDeallocateHeader(header_);
    }
    tarn::ImageHeader* get() { return header_; }
    uint8_t* data() { return bytes_.data(); }

private:
    std::vector<uint8_t> bytes_;
    tarn::ImageHeader* header_;
};

struct Turn {
    const char* family;
    int degrees;
    double xShift, yShift;  // whole: land the turned picture exactly in its target
    int dstW, dstH;
};

const Turn kPlane90{"plane_rotate90", 90, 0, kW - 1, kH, kW};
const Turn kPlane180{"plane_rotate180", 180, kW - 1, kH - 1, kW, kH};
const Turn kPlane270{"plane_rotate270", 270, kH - 1, 0, kH, kW};

void RunOurs(benchmark::State& state, const Turn& turn) {
    Image src(kW, kH, 1, 1), dst(turn.dstW, turn.dstH, 1, 2);
    Ours(state, turn.family, kW, kH, [&] {
        tarn::iplRotate(src.get(), dst.get(), turn.degrees, turn.xShift, turn.yShift, 0);
    });
}

void BM_Plane90(benchmark::State& st) { RunOurs(st, kPlane90); }
void BM_Plane180(benchmark::State& st) { RunOurs(st, kPlane180); }
void BM_Plane270(benchmark::State& st) { RunOurs(st, kPlane270); }
BENCHMARK(BM_Plane90)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Plane180)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Plane270)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

#if defined(TARN_HAVE_PEER)
using PlaneRotation = void (*)(const uint8_t*, int, uint8_t*, int, int, int);

void RunPeerPlane(benchmark::State& state, const Turn& turn, PlaneRotation rotate, bool swapsSides) {
    Image src(kW, kH, 1, 1), dst(swapsSides ? kH : kW, swapsSides ? kW : kH, 1, 2);
    Peer(state, turn.family, kW, kH, [&] { rotate(src.data(), kW, dst.data(), swapsSides ? kH : kW, kW, kH); });
}

void BM_PeerPlane90(benchmark::State& st) { RunPeerPlane(st, kPlane90, libyuv::RotatePlane90, true); }
void BM_PeerPlane180(benchmark::State& st) { RunPeerPlane(st, kPlane180, libyuv::RotatePlane180, false); }
void BM_PeerPlane270(benchmark::State& st) { RunPeerPlane(st, kPlane270, libyuv::RotatePlane270, true); }
BENCHMARK(BM_PeerPlane90)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeerPlane180)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeerPlane270)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

TARN_BENCH_MAIN()
