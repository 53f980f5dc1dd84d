// The queue of the SSE2 tier's keyed blend, shared by its plain and vector
// forms. Eight Y entries and four chroma entries; pixel n writes Y entry n and
// chroma entry n >> 1, so the second pixel of a pair replaces the first's
// chroma place. At eight entries everything is blended in one go; at the end
// of a row the entries 0..n-1 are blended one at a time and stay, and the
// count goes on into the next row. That carry-over blends the leftovers once
// more and is required: hosts' pictures depend on it.
#pragma once

#include <cstdint>

#include "operations/blend_forms.h"

namespace tarn {

struct KeyedQueue {
    uint8_t* yt[8];
    const uint8_t* yo[8];
    uint8_t* firstT[4];
    uint8_t* secondT[4];
    const uint8_t* firstO[4];
    const uint8_t* secondO[4];
    int32_t n = 0;
};

// False when no sample can equal the key (no key, or a luma above 255).
inline bool KeyedSamplesCanMatch(const KeyedQueueJob& job) {
    const auto sample = [](int32_t v) { return v >= 0 && v <= 255; };
    return sample(job.keyY) && sample(job.keyFirst) && sample(job.keySecond);
}

// True when the overlay's samples of pixel (x, y) all equal the key.
inline bool KeyedPixelMatches(const KeyedQueueJob& job, int32_t x, int32_t y) {
    const ptrdiff_t c = (y >> 1) * job.oChromaPitch + (x >> 1);
    return job.oy[y * job.oPitch + x] == job.keyY && job.oFirst[c] == job.keyFirst &&
           job.oSecond[c] == job.keySecond;
}

// "In one go": every sample of a plane is read before any is written, so a
// chroma place that stands in two entries is blended once by the batch.
inline void KeyedQueueBlendAll(KeyedQueue& q, uint32_t alpha) {
    uint8_t out[8];
    for (int i = 0; i < 8; ++i) out[i] = BlendSample(*q.yo[i], *q.yt[i], alpha);
    for (int i = 0; i < 8; ++i) *q.yt[i] = out[i];
    for (int i = 0; i < 4; ++i) out[i] = BlendSample(*q.firstO[i], *q.firstT[i], alpha);
    for (int i = 0; i < 4; ++i) *q.firstT[i] = out[i];
    for (int i = 0; i < 4; ++i) out[i] = BlendSample(*q.secondO[i], *q.secondT[i], alpha);
    for (int i = 0; i < 4; ++i) *q.secondT[i] = out[i];
    q.n = 0;
}

inline void KeyedQueuePush(KeyedQueue& q, const KeyedQueueJob& job, int32_t x, int32_t y) {
    const int32_t n = q.n;
    q.yt[n] = job.ty + y * job.tPitch + x;
    q.yo[n] = job.oy + y * job.oPitch + x;
    const ptrdiff_t tc = (y >> 1) * job.tChromaPitch + (x >> 1);
    const ptrdiff_t oc = (y >> 1) * job.oChromaPitch + (x >> 1);
    q.firstT[n >> 1] = job.tFirst + tc;
    q.secondT[n >> 1] = job.tSecond + tc;
    q.firstO[n >> 1] = job.oFirst + oc;
    q.secondO[n >> 1] = job.oSecond + oc;
    q.n = n + 1;
    if (q.n == 8) KeyedQueueBlendAll(q, job.alpha);
}

// End of a row: entries one at a time, a chroma entry once per pixel in it.
// The count and the entries stay for the next row.
inline void KeyedQueueRowEnd(const KeyedQueue& q, uint32_t alpha) {
    for (int32_t i = 0; i < q.n; ++i) {
        *q.yt[i] = BlendSample(*q.yo[i], *q.yt[i], alpha);
        *q.firstT[i >> 1] = BlendSample(*q.firstO[i >> 1], *q.firstT[i >> 1], alpha);
        *q.secondT[i >> 1] = BlendSample(*q.secondO[i >> 1], *q.secondT[i >> 1], alpha);
    }
}

}  // namespace tarn
