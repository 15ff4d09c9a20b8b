// Tracked allocation: QV_Malloc, QV_Calloc, QV_Realloc and QV_Free keep one record per block
// (caller texts, line, size, call stack) in an ordered table by address; frees of addresses the
// table does not know are kept in a second table; SyncMemInfos logs every block still recorded.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "logging/frame.h"
#include "memory/memory_internal.h"

namespace qv::memory {

TrackedTables& tables() {
    static TrackedTables t;
    return t;
}

namespace {
// Built when the library is loaded, so that the tables outlive the host program's own globals:
// a global object may still free its blocks through QV_Free when the program ends.
[[maybe_unused]] const TrackedTables* const g_buildAtLoad = &tables();
}  // namespace

namespace {

constexpr const char* kModuleMalloc = "QV_Tools";  // the name QV_Malloc writes
constexpr const char* kModuleOthers = "qv_tools";  // the name every other call writes

// Fills the record's call-stack field from the stack captured under `name`, cut to the field.
void captureInto(MemInfo& info, const char* name) {
    char stack[QV_CALLSTACK_SIZE] = "";
    GetCurrentCallStack(stack, name);
    const std::size_t n = strnlen(stack, sizeof info.callStack - 1);
    std::memcpy(info.callStack, stack, n);
    info.callStack[n] = '\0';
}

MemInfo makeRecord(int line, void* address, const char* text1, const char* text2,
                   const char* module, std::size_t size, const char* stackName) {
    MemInfo info;
    std::memset(&info, 0, sizeof info);
    info.line = line;
    info.address = address;
    info.text2 = text2;
    info.text1 = text1;
    info.module = module;
    info.size = size;
    captureInto(info, stackName);
    return info;
}

// Records a new block (a null one too, under the null address), replacing any record there.
void recordAllocation(void* block, std::int32_t size, MemInfo info) {
    TrackedTables& t = tables();
    ++t.allocationCount;
    t.bytesOutstanding += size;
    t.allocations[block] = info;
}

// Stores a copy of a caller's record under its address in `table`, with the caller's module
// name set on both; a null record is refused under the export `kFn`.
template <typename Table>
int storeRecord(MemInfo* info, const char* module, Table& table, const char* kFn, int line) {
    QV_CHECK_NULL(info, line, "record is NULL");
    info->module = module;
    table[info->address] = *info;
    return 0;
}

}  // namespace

}  // namespace qv::memory

using qv::memory::tables;
using qv::memory::TrackedTables;

extern "C" {

QV_API void* QV_Malloc(int size, const char* text1, const char* text2, int line) {
    // A negative size can never be satisfied: it gets malloc's null result without asking
    // malloc for an impossible amount.
    void* block = size >= 0 ? std::malloc(static_cast<std::size_t>(size)) : nullptr;
    qv::memory::recordAllocation(
        block, size,
        qv::memory::makeRecord(line, block, text1, text2, qv::memory::kModuleMalloc,
                               static_cast<std::size_t>(static_cast<std::int64_t>(size)), "QV_Malloc"));
    return block;
}

QV_API void* QV_Calloc(int count, int size, const char* text1, const char* text2, int line) {
    // calloc sees the two numbers as size_t, so a negative one is a huge count. A product that
    // overflows or exceeds any object size gets calloc's null result without asking for it; a
    // zero product (a negative count times zero) is a valid request and gets its block.
    const auto n = static_cast<std::size_t>(static_cast<std::int64_t>(count));
    const auto each = static_cast<std::size_t>(static_cast<std::int64_t>(size));
    std::size_t bytes = 0;
    const bool possible = !__builtin_mul_overflow(n, each, &bytes) &&
                          bytes <= static_cast<std::size_t>(PTRDIFF_MAX);
    void* block = possible ? std::calloc(n, each) : nullptr;
    // The recorded size is the product in 32-bit signed arithmetic (wrapping), then widened.
    const auto total = static_cast<std::int32_t>(static_cast<std::uint32_t>(count) *
                                                 static_cast<std::uint32_t>(size));
    qv::memory::recordAllocation(
        block, total,
        qv::memory::makeRecord(line, block, text1, text2, qv::memory::kModuleOthers,
                               static_cast<std::size_t>(static_cast<std::int64_t>(total)), "QV_Calloc"));
    return block;
}

QV_API void* QV_Realloc(void* block, int size) {
    // A negative size fails like an impossible request: null, the block left as it was.
    void* moved = size >= 0 ? std::realloc(block, static_cast<std::size_t>(size)) : nullptr;
    TrackedTables& t = tables();
    const auto it = t.allocations.find(block);
    if (it == t.allocations.end()) return moved;
    // The record keeps its old size (and stack) in both cases; a later QV_Free subtracts that
    // old size, so the outstanding bytes keep the growth.
    t.bytesOutstanding += static_cast<std::int64_t>(size) - static_cast<std::int64_t>(it->second.size);
    if (moved != block) {
        MemInfo copy = it->second;
        copy.address = moved;
        copy.module = qv::memory::kModuleOthers;
        t.allocations.erase(it);
        t.allocations[moved] = copy;
    }
    return moved;
}

QV_API void QV_Free(void* block, const char* text1, const char* text2, int line) {
    if (!block) return;
    TrackedTables& t = tables();
    ++t.freeCount;
    const auto it = t.allocations.find(block);
    if (it != t.allocations.end()) {
        t.bytesOutstanding -= static_cast<std::int64_t>(it->second.size);
        t.allocations.erase(it);
    } else {
        t.strayFrees[block] = qv::memory::makeRecord(line, block, text1, text2,
                                                     qv::memory::kModuleOthers, 0, "QV_Free");
    }
    std::free(block);
}

QV_API int AddMallocMemInfo(MemInfo* info, const char* module) {
    return qv::memory::storeRecord(info, module, tables().allocations, "AddMallocMemInfo", __LINE__);
}

QV_API int AddFreeMemInfo(MemInfo* info, const char* module) {
    return qv::memory::storeRecord(info, module, tables().strayFrees, "AddFreeMemInfo", __LINE__);
}

QV_API int SyncMemInfos(void) {
    constexpr const char* kFn = "SyncMemInfos";
    TrackedTables& t = tables();
    // Each step finds the next address afresh: a logger that frees or allocates tracked blocks
    // while a record is being reported must not leave the walk on an erased entry.
    for (auto it = t.allocations.begin(); it != t.allocations.end();) {
        void* const address = it->first;
        const MemInfo& copy = t.report[address] = it->second;
        // A record handed in through AddMallocMemInfo may fill its stack field to the brim:
        // read no further than the field.
        QV_NOTE(1, 173, "%.*s", static_cast<int>(sizeof copy.callStack), copy.callStack);
        it = t.allocations.upper_bound(address);
    }
    return 0;
}

}  // extern "C"
