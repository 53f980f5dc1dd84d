// A product kept a product of its own. Files built with fused multiply-add
// available would otherwise let the compiler fuse a product into the sum
// that follows, and the sum must round the product first, as the plain forms
// do. An empty asm statement hides the value from that contraction and costs
// nothing. For the forms' files only (float or vector registers); "v" lets
// the value sit in any vector register the form has (32 with AVX-512, where
// "x" would allow only the first 16). On a load it keeps the row in one
// register where the compiler would fold it into every multiply that uses it.
#pragma once

namespace tarn {

template <class V>
inline V Rounded(V p) {
#if defined(__GNUC__)
    __asm__("" : "+v"(p));
#endif
    return p;
}

}  // namespace tarn
