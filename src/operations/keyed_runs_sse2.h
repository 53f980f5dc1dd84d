// The row walk of the vector forms of the SSE2 tier's keyed blend. Where the
// queue is empty and the next 8, 16 or 32 pixels are all painted, the queue
// would take them as whole batches of eight: pixel i of a batch in Y entry i
// and chroma entry j holding the place of pixel 2j + 1, so the batch touches
// consecutive Y and chroma samples, each once. Those runs are blended straight
// from the planes; every other pixel goes through the queue itself. Include
// only from *_sse2.cpp and *_avx2.cpp files; everything here is file-local.
#pragma once

#include <memory>
#include <new>

#include "operations/blend_bytes_sse2.h"
#include "operations/keyed_queue.h"

namespace tarn {
namespace {

// The samples of a run: Y from its first pixel, chroma of every second pixel
// from its second one.
struct KeyedRun {
    uint8_t *ty, *tFirst, *tSecond;
    const uint8_t *oy, *oFirst, *oSecond;
};

// True when none of the `count` (8, 16 or 32) match flags from `f` is set.
inline bool NoneMatch(const uint8_t* f, int32_t count) {
    __m128i v = count == 8 ? Load8(f) : Load16(f);
    if (count == 32) v = _mm_or_si128(v, Load16(f + 16));
    return _mm_movemask_epi8(v) == 0;
}

// `Runs` names its run lengths, longest first, in kLengths and blends a run
// of each with Blend(length, run).
template <class Runs>
void BlendKeyedRuns(const KeyedQueueJob& job, const Runs runs) {
    constexpr int32_t kLongest = Runs::kLengths[0];
    std::unique_ptr<uint8_t[]> match;
    if (KeyedSamplesCanMatch(job)) {
        // Slack: runs test up to kLongest flags at a time.
        match.reset(new (std::nothrow) uint8_t[size_t(job.width) + kLongest]());
        if (!match) return BlendKeyedQueuePlain(job);
    }
    // Locals throughout: the byte stores could alias the job.
    uint8_t* const flags = match.get();
    const int32_t width = job.width;
    const auto painted = [flags, width](int32_t x, int32_t count) {
        return x + count <= width && (!flags || NoneMatch(flags + x, count));
    };
    KeyedQueue q;
    for (int32_t y = 0; y < job.height; ++y) {
        if (flags) MarkKeyedPixelsSse2(job, y, flags);
        const ptrdiff_t tc = (y >> 1) * job.tChromaPitch, oc = (y >> 1) * job.oChromaPitch;
        const KeyedRun row{job.ty + y * job.tPitch, job.tFirst + tc, job.tSecond + tc,
                           job.oy + y * job.oPitch, job.oFirst + oc, job.oSecond + oc};
        const auto runAt = [row](int32_t x) {
            const int32_t c = (x + 1) >> 1;
            return KeyedRun{row.ty + x, row.tFirst + c, row.tSecond + c, row.oy + x, row.oFirst + c, row.oSecond + c};
        };
        _mm_prefetch(reinterpret_cast<const char*>(row.oy + job.oPitch), _MM_HINT_NTA);
        int32_t x = 0;
        if (q.n == 0 && !flags) {  // no key: whole runs straight away
            for (; x + kLongest <= width; x += kLongest) runs.Blend(kLongest, runAt(x));
        }
        while (x < width) {
            int32_t length = 0;
            if (q.n == 0) {
                for (const int32_t n : Runs::kLengths)
                    if (painted(x, n)) {
                        length = n;
                        break;
                    }
            }
            if (length > 0) {
                runs.Blend(length, runAt(x));
                x += length;
            } else {
                if (!(flags && flags[x])) KeyedQueuePush(q, job, x, y);
                ++x;
            }
        }
        KeyedQueueRowEnd(q, job.alpha);
    }
}

}  // namespace
}  // namespace tarn
