// Last-level cache size from the operating system (Linux; a typical size
// elsewhere).
#include "platform/cache_size.h"

#if defined(__linux__)
#include <unistd.h>
#endif

namespace tarn::platform {

size_t LastLevelCacheBytes() {
    static const size_t bytes = [] {
        long found = 0;
#if defined(__linux__) && defined(_SC_LEVEL3_CACHE_SIZE)
        found = sysconf(_SC_LEVEL3_CACHE_SIZE);
        if (found <= 0) found = sysconf(_SC_LEVEL2_CACHE_SIZE);
#endif
        return found > 0 ? static_cast<size_t>(found) : size_t(8) << 20;
    }();
    return bytes;
}

}  // namespace tarn::platform
