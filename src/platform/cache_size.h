// Size of the processor's last-level cache, for choosing between cached and
// streaming copies.
#pragma once

#include <cstddef>

namespace tarn::platform {

// Bytes of the largest cache level; a typical 8 MiB where it cannot be read.
size_t LastLevelCacheBytes();

}  // namespace tarn::platform
