// Multiplier constants for the SIMD forms. Included only by files built for
// an instruction set.
//
// GCC and Clang turn a vector multiply by a constant into shifts and adds,
// four or five instructions where one multiply does, and the colour rows pay
// for it. Passing the constant through an empty asm statement hides its value
// from that rewrite; the statement has no effect and is hoisted out of loops.
#pragma once

namespace tarn {
namespace {

template <class V>
inline V Multiplier(V v) {
#if defined(__GNUC__) || defined(__clang__)
    __asm__("" : "+x"(v));
#endif
    return v;
}

}  // namespace
}  // namespace tarn
