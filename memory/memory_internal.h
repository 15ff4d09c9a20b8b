// Private seam of the memory folder: read access to the tracked-memory tables and counters (kept
// for inspection in a debugger and by the tests; no export exposes them).
#pragma once

#include <cstdint>
#include <map>

#include "qvtools/memory.h"

namespace qv::memory {

// Tables and counters of the tracked allocations.
struct TrackedTables {
    std::map<void*, MemInfo> allocations;   // blocks allocated and not yet freed
    std::map<void*, MemInfo> strayFrees;    // freed addresses that were never tracked
    std::map<void*, MemInfo> report;        // filled by SyncMemInfos
    long long allocationCount = 0;          // QV_Malloc and QV_Calloc calls
    long long freeCount = 0;                // QV_Free calls with a block
    std::int64_t bytesOutstanding = 0;
    std::uint32_t memUseStart = 0;          // the start value of MemUseTest
};
TrackedTables& tables();

}  // namespace qv::memory
