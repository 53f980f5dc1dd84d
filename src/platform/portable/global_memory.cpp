// Portable global memory: movable blocks behind checked handles, with a lock
// count each. Blocks never move here, so a lock only counts; the pointer stays
// good until GlobalFree.
#include "tarn/Platform.h"

#include "platform/handle_table.h"

namespace tarn::platform {

namespace {

struct GlobalBlock {
    size_t size = 0;
    uint32_t locks = 0;
    std::unique_ptr<uint8_t[]> bytes;
};

HandleTable<GlobalBlock>& Blocks() {
    static HandleTable<GlobalBlock> table;
    return table;
}

uintptr_t Key(HGLOBAL block) { return reinterpret_cast<uintptr_t>(block); }

}  // namespace

HGLOBAL GlobalAlloc(UINT, SIZE_T bytes) {
    std::unique_ptr<GlobalBlock> block(new (std::nothrow) GlobalBlock);
    if (!block) return nullptr;
    block->size = bytes;
    block->bytes = NewZeroedBytes(bytes);
    if (!block->bytes) return nullptr;
    return reinterpret_cast<HGLOBAL>(Blocks().Insert(std::move(block)));
}

LPVOID GlobalLock(HGLOBAL block) {
    return Blocks().With(Key(block), LPVOID(nullptr), [](GlobalBlock& b) -> LPVOID {
        ++b.locks;
        return b.bytes.get();
    });
}

BOOL GlobalUnlock(HGLOBAL block) {
    return Blocks().With(Key(block), BOOL(0), [](GlobalBlock& b) -> BOOL {
        if (b.locks == 0) return 0;
        --b.locks;
        return b.locks != 0;
    });
}

HGLOBAL GlobalFree(HGLOBAL block) {
    return Blocks().Remove(Key(block)) ? nullptr : block;
}

SIZE_T GlobalSize(HGLOBAL block) {
    return Blocks().With(Key(block), SIZE_T(0), [](GlobalBlock& b) { return b.size; });
}

}  // namespace tarn::platform
