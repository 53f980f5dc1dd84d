// Last-level cache size from Windows' description of the processors.
#include "platform/cache_size.h"

#include <windows.h>

#include <vector>

namespace tarn::platform {

size_t LastLevelCacheBytes() {
    static const size_t bytes = [] {
        DWORD length = 0;
        GetLogicalProcessorInformation(nullptr, &length);
        std::vector<SYSTEM_LOGICAL_PROCESSOR_INFORMATION> info(
            length / sizeof(SYSTEM_LOGICAL_PROCESSOR_INFORMATION));
        size_t found = 0;
        BYTE level = 0;
        if (!info.empty() && GetLogicalProcessorInformation(info.data(), &length)) {
            for (const auto& entry : info) {
                if (entry.Relationship != RelationCache || entry.Cache.Level < level) continue;
                level = entry.Cache.Level;
                found = entry.Cache.Size;
            }
        }
        return found > 0 ? found : size_t(8) << 20;
    }();
    return bytes;
}

}  // namespace tarn::platform
