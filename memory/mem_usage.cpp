// Working-set size of the process, for quick before/after comparisons.
#include <cstdint>
#include <cstdio>

#include "memory/memory_internal.h"
#include "system/platform.h"

extern "C" {

QV_API size_t GetCurrentMemUsage(void) { return qv::platform::residentBytes(); }

QV_API unsigned MemUseStart(void) {
    const auto start = static_cast<std::uint32_t>(qv::platform::residentBytes());
    qv::memory::tables().memUseStart = start;
    // The text is formatted for a debugger's eyes only; nothing writes or logs it.
    char text[128];
    std::snprintf(text, sizeof text, "***** MEM-Usage at the moment: %lu *****",
                  static_cast<unsigned long>(start));
    return start;
}

QV_API unsigned MemUseTest(void) {
    const auto now = static_cast<std::uint32_t>(qv::platform::residentBytes());
    // The difference is taken as a 32-bit signed number and handed back unsigned: a working set
    // that shrank gives a large value.
    const auto diff = static_cast<std::int32_t>(now - qv::memory::tables().memUseStart);
    char text[128];
    if (diff >= 1)
        std::snprintf(text, sizeof text, "***** MEM-Usage increased: %lu *****",
                      static_cast<unsigned long>(diff));
    else
        std::snprintf(text, sizeof text, "***** MEM-Usage <= 0!");
    return static_cast<unsigned>(diff);
}

}  // extern "C"
