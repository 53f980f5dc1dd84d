// The platform's rectangle functions, with their platform meaning.
#pragma once

#include "tarn/TarnSurface.h"

namespace tarn::platform {

// Empty when it has no area: right <= left or bottom <= top.
inline bool IsRectEmpty(const VedRect* r) { return r->right <= r->left || r->bottom <= r->top; }

inline int32_t RectWidth(const VedRect& r) { return r.right - r.left; }
inline int32_t RectHeight(const VedRect& r) { return r.bottom - r.top; }

inline void CopyRect(VedRect* dst, const VedRect* src) { *dst = *src; }

// Smallest rectangle holding both; an empty one contributes nothing.
// Answers whether the union is non-empty.
inline bool UnionRect(VedRect* dst, const VedRect* a, const VedRect* b) {
    const bool emptyA = IsRectEmpty(a), emptyB = IsRectEmpty(b);
    if (emptyA && emptyB) {
        *dst = {0, 0, 0, 0};
        return false;
    }
    if (emptyA) { *dst = *b; return true; }
    if (emptyB) { *dst = *a; return true; }
    *dst = {a->left < b->left ? a->left : b->left, a->top < b->top ? a->top : b->top,
            a->right > b->right ? a->right : b->right, a->bottom > b->bottom ? a->bottom : b->bottom};
    return true;
}

}  // namespace tarn::platform
