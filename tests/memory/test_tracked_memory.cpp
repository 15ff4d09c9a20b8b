// Tracked memory: the records of QV_Malloc/QV_Calloc/QV_Realloc/QV_Free, the outstanding-bytes
// arithmetic (a reallocated record keeps its old size), stray frees, the cut of the stack field,
// SyncMemInfos' log lines and the working-set readings. Every block a test allocates is freed
// before it ends, and records made on purpose under fake addresses are taken out again.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include "QV_Tools.h"
#include "memory/memory_internal.h"
#include "support/log_capture.h"

namespace {

using qv::memory::tables;
using qvtest::LogTest;

class TrackedMemory : public LogTest {
protected:
    void SetUp() override {
        LogTest::SetUp();
        m_allocs = tables().allocationCount;
        m_frees = tables().freeCount;
        m_bytes = tables().bytesOutstanding;
    }
    long long allocsSinceStart() const { return tables().allocationCount - m_allocs; }
    long long freesSinceStart() const { return tables().freeCount - m_frees; }
    std::int64_t bytesSinceStart() const { return tables().bytesOutstanding - m_bytes; }
    static const MemInfo* recordOf(void* block) {
        const auto it = tables().allocations.find(block);
        return it == tables().allocations.end() ? nullptr : &it->second;
    }

private:
    long long m_allocs = 0, m_frees = 0;
    std::int64_t m_bytes = 0;
};

const char kFile[] = "caller.cpp";
const char kWhat[] = "image buffer";

// A chain of distinct frames that allocates at its far end.
template <int N>
__attribute__((noinline)) void* deepMalloc() {
    void* p = deepMalloc<N - 1>();
    asm volatile("" ::: "memory");
    return p;
}
template <>
__attribute__((noinline)) void* deepMalloc<0>() {
    void* p = QV_Malloc(8, kFile, kWhat, 1);
    asm volatile("" ::: "memory");
    return p;
}

TEST_F(TrackedMemory, MallocAndCallocRecords) {
    void* m = QV_Malloc(100, kFile, kWhat, 12);
    ASSERT_NE(m, nullptr);
    const MemInfo* r = recordOf(m);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->line, 12);
    EXPECT_EQ(r->address, m);
    EXPECT_EQ(r->text1, kFile);  // the pointers themselves, not copies
    EXPECT_EQ(r->text2, kWhat);
    EXPECT_STREQ(r->module, "QV_Tools");
    EXPECT_EQ(r->size, 100u);
    const std::string stack = r->callStack;
    EXPECT_EQ(stack.rfind("QV_Malloc\n", 0), 0u) << stack;
    EXPECT_NE(stack.find("TrackedMemory_MallocAndCallocRecords_Test::TestBody"), std::string::npos) << stack;

    auto* c = static_cast<unsigned char*>(QV_Calloc(5, 8, kFile, kWhat, 13));
    ASSERT_NE(c, nullptr);
    for (int i = 0; i < 40; ++i) ASSERT_EQ(c[i], 0);
    r = recordOf(c);
    ASSERT_NE(r, nullptr);
    EXPECT_STREQ(r->module, "qv_tools");
    EXPECT_EQ(r->size, 40u);
    EXPECT_EQ(std::string(r->callStack).rfind("QV_Calloc\n", 0), 0u) << r->callStack;

    EXPECT_EQ(allocsSinceStart(), 2);
    EXPECT_EQ(bytesSinceStart(), 140);
    QV_Free(m, kFile, kWhat, 20);
    QV_Free(c, kFile, kWhat, 21);
    EXPECT_EQ(freesSinceStart(), 2);
    EXPECT_EQ(bytesSinceStart(), 0);
    EXPECT_EQ(recordOf(m), nullptr);
    EXPECT_EQ(recordOf(c), nullptr);
    EXPECT_EQ(count(), 0u);  // tracking logs nothing
}

TEST_F(TrackedMemory, FailedAllocationsAreRecordedUnderTheNullAddress) {
    // The size is the 32-bit product, widened: -2 x 3 records -6 seen as size_t.
    EXPECT_EQ(QV_Calloc(-2, 3, kFile, kWhat, 5), nullptr);
    const MemInfo* r = recordOf(nullptr);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->size, static_cast<std::size_t>(-6));
    EXPECT_EQ(bytesSinceStart(), -6);
    EXPECT_EQ(QV_Malloc(-1, kFile, kWhat, 6), nullptr);
    r = recordOf(nullptr);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->line, 6);  // replaced
    EXPECT_STREQ(r->module, "QV_Tools");
    EXPECT_EQ(allocsSinceStart(), 2);
    // QV_Free(null) cannot remove it and counts nothing.
    QV_Free(nullptr, kFile, kWhat, 7);
    EXPECT_EQ(freesSinceStart(), 0);
    EXPECT_NE(recordOf(nullptr), nullptr);
    tables().allocations.erase(nullptr);

    // A failed reallocation leaves the block valid, but its record follows the null result, so
    // that freeing the block afterwards counts as a stray free.
    void* a = QV_Malloc(50, kFile, kWhat, 60);
    ASSERT_NE(a, nullptr);
    const std::int64_t bytes = bytesSinceStart();
    EXPECT_EQ(QV_Realloc(a, -1), nullptr);
    EXPECT_EQ(recordOf(a), nullptr);
    r = recordOf(nullptr);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->size, 50u);
    EXPECT_STREQ(r->module, "qv_tools");
    EXPECT_EQ(bytesSinceStart() - bytes, -51);  // -1 - 50
    QV_Free(a, kFile, kWhat, 61);
    EXPECT_EQ(tables().strayFrees.count(a), 1u);
    tables().strayFrees.erase(a);
    tables().allocations.erase(nullptr);
    tables().bytesOutstanding -= bytesSinceStart();
}

TEST_F(TrackedMemory, CallocOfANegativeCountTimesZeroIsAValidRequest) {
    // calloc takes -1 as a huge count; times 0 that is no bytes at all, and calloc hands out a
    // block for it like for any empty request.
    for (const auto& [count, size] : {std::pair{-1, 0}, std::pair{0, -7}}) {
        void* p = QV_Calloc(count, size, kFile, kWhat, 9);
        ASSERT_NE(p, nullptr) << count << " x " << size;
        const MemInfo* r = recordOf(p);
        ASSERT_NE(r, nullptr);
        EXPECT_EQ(r->size, 0u);
        QV_Free(p, kFile, kWhat, 10);
    }
    EXPECT_EQ(tables().allocations.count(nullptr), 0u);
    EXPECT_EQ(bytesSinceStart(), 0);
}

TEST_F(TrackedMemory, ReallocMovingKeepsTheOldSizeUnderTheNewAddress) {
    void* a = QV_Malloc(100, kFile, kWhat, 30);
    void* pin = QV_Malloc(100, kFile, kWhat, 31);  // keeps `a` from growing where it is
    const std::string stack = recordOf(a)->callStack;
    // A growth far beyond the heap's small blocks, with a live block behind it: it moves.
    const int big = 40 << 20;
    void* b = QV_Realloc(a, big);
    ASSERT_NE(b, nullptr);
    ASSERT_NE(b, a) << "a growth to 40 MiB next to a live block was expected to move";
    EXPECT_EQ(recordOf(a), nullptr);
    const MemInfo* r = recordOf(b);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->address, b);
    EXPECT_STREQ(r->module, "qv_tools");
    EXPECT_EQ(r->size, 100u);      // the old size, on purpose
    EXPECT_EQ(r->line, 30);
    EXPECT_EQ(r->callStack, stack);  // and the old stack
    EXPECT_EQ(bytesSinceStart(), 200 + big - 100);
    QV_Free(b, kFile, kWhat, 32);
    EXPECT_EQ(bytesSinceStart(), 100 + big - 100);  // only the recorded 100 came off
    QV_Free(pin, kFile, kWhat, 33);
    EXPECT_EQ(bytesSinceStart(), big - 100);
    tables().bytesOutstanding -= bytesSinceStart();
}

TEST_F(TrackedMemory, ReallocInPlaceLeavesTheRecordAsItWas) {
    void* a = QV_Malloc(300, kFile, kWhat, 40);
    void* b = QV_Realloc(a, 100);  // shrinking: the C runtime keeps the block where it is
    ASSERT_NE(b, nullptr);
    if (b != a) {
        QV_Free(b, kFile, kWhat, 41);
        tables().bytesOutstanding -= bytesSinceStart();
        GTEST_SKIP() << "this allocator moves every reallocated block";
    }
    const MemInfo* r = recordOf(a);
    ASSERT_NE(r, nullptr);
    EXPECT_STREQ(r->module, "QV_Tools");
    EXPECT_EQ(r->size, 300u);
    EXPECT_EQ(bytesSinceStart(), 100);
    QV_Free(a, kFile, kWhat, 42);
    EXPECT_EQ(bytesSinceStart(), -200);
    tables().bytesOutstanding -= bytesSinceStart();
}

TEST_F(TrackedMemory, UntrackedBlocksInReallocAndFree) {
    // A block the library does not know: reallocated, nothing recorded.
    void* raw = std::malloc(16);
    void* grown = QV_Realloc(raw, 64);
    ASSERT_NE(grown, nullptr);
    EXPECT_EQ(recordOf(raw), nullptr);
    EXPECT_EQ(recordOf(grown), nullptr);
    EXPECT_EQ(bytesSinceStart(), 0);

    // Freed through the library all the same, and remembered as a stray free.
    QV_Free(grown, kFile, kWhat, 77);
    EXPECT_EQ(freesSinceStart(), 1);
    EXPECT_EQ(bytesSinceStart(), 0);
    const auto it = tables().strayFrees.find(grown);
    ASSERT_NE(it, tables().strayFrees.end());
    const MemInfo& r = it->second;
    EXPECT_EQ(r.line, 77);
    EXPECT_EQ(r.text1, kFile);
    EXPECT_EQ(r.text2, kWhat);
    EXPECT_STREQ(r.module, "qv_tools");
    EXPECT_EQ(r.size, 0u);
    EXPECT_EQ(std::string(r.callStack).rfind("QV_Free\n", 0), 0u) << r.callStack;
    tables().strayFrees.erase(it);
}

TEST_F(TrackedMemory, StackFieldIsCutToItsSize) {
    // A moderately deep caller: longer than the field, shorter than the capture buffer.
    void* p = deepMalloc<12>();
    const MemInfo* r = recordOf(p);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(std::strlen(r->callStack), QV_MEMINFO_STACK_SIZE - 1u);
    EXPECT_EQ(std::string(r->callStack).rfind("QV_Malloc\n", 0), 0u);
    QV_Free(p, kFile, kWhat, 2);

    // Too deep for the capture buffer: the record keeps no stack at all.
    p = deepMalloc<80>();
    r = recordOf(p);
    ASSERT_NE(r, nullptr);
    EXPECT_STREQ(r->callStack, "");
    QV_Free(p, kFile, kWhat, 3);
}

TEST_F(TrackedMemory, AddMemInfoStoresCopiesAndReplaces) {
    MemInfo info{};
    info.address = reinterpret_cast<void*>(0x1000);
    info.size = 7;
    EXPECT_EQ(AddMallocMemInfo(&info, "host"), 0);
    EXPECT_STREQ(info.module, "host");  // the caller's record is set too
    info.size = 9;
    EXPECT_EQ(recordOf(info.address)->size, 7u);  // a copy
    EXPECT_EQ(AddMallocMemInfo(&info, "again"), 0);
    EXPECT_EQ(recordOf(info.address)->size, 9u);  // replaced
    EXPECT_EQ(AddFreeMemInfo(&info, "stray"), 0);
    EXPECT_STREQ(tables().strayFrees[info.address].module, "stray");
    EXPECT_EQ(allocsSinceStart(), 0);  // records alone change no counter
    tables().allocations.erase(info.address);
    tables().strayFrees.erase(info.address);
    EXPECT_EQ(AddMallocMemInfo(nullptr, "x"), QV_ERR_NULL_ARGUMENT);
}

TEST_F(TrackedMemory, SyncReadsAHandedInStackNoFurtherThanItsField) {
    ASSERT_TRUE(tables().allocations.empty()) << "an earlier test left a record";
    MemInfo info{};
    info.address = reinterpret_cast<void*>(0x2000);
    std::memset(info.callStack, 's', sizeof info.callStack);  // no terminator inside the field
    ASSERT_EQ(AddMallocMemInfo(&info, "host"), 0);
    EXPECT_EQ(SyncMemInfos(), 0);
    ASSERT_EQ(count(), 1u);
    EXPECT_EQ(withoutTime(lastLine()), "SyncMemInfos(173): " + std::string(511 - 14 - 19, 's'));
    tables().allocations.erase(info.address);
    tables().report.clear();
}

TEST_F(TrackedMemory, SyncLogsEveryRecordInAddressOrder) {
    ASSERT_TRUE(tables().allocations.empty()) << "an earlier test left a record";
    EXPECT_EQ(SyncMemInfos(), 0);
    EXPECT_EQ(count(), 0u);

    void* a = QV_Malloc(10, kFile, kWhat, 1);
    void* b = QV_Malloc(20, kFile, kWhat, 2);
    void* c = QV_Malloc(30, kFile, kWhat, 3);
    const int before = QV_GetLastError();
    EXPECT_EQ(SyncMemInfos(), 0);
    EXPECT_EQ(QV_GetLastError(), before);  // code 0: the last error is kept
    ASSERT_EQ(count(), 3u);
    std::size_t i = 0;
    for (const auto& [address, info] : tables().allocations) {
        const qvtest::LogRecord& rec = logs()[i++];
        EXPECT_EQ(rec.level, 1);
        EXPECT_EQ(rec.code, 0);
        // "[1] hh:mm:ss: " (14 characters), then the frame and the stack, within 511 characters.
        const std::string expected = ("SyncMemInfos(173): " + std::string(info.callStack)).substr(0, 511 - 14);
        EXPECT_EQ(withoutTime(rec.line), expected);
        ASSERT_EQ(tables().report.count(address), 1u);
        EXPECT_EQ(tables().report[address].address, address);
    }
    QV_Free(a, kFile, kWhat, 4);
    QV_Free(b, kFile, kWhat, 5);
    QV_Free(c, kFile, kWhat, 6);
    qvtest::clear();
    EXPECT_EQ(SyncMemInfos(), 0);
    EXPECT_EQ(count(), 0u);
    tables().report.clear();
}

// A host logger that releases tracked blocks while it is being told about them.
void* g_releaseOnReport[2] = {nullptr, nullptr};
void releasingLogger(int, const char*, int) {
    for (void*& p : g_releaseOnReport) {
        if (p) QV_Free(p, kFile, kWhat, 90);
        p = nullptr;
    }
}

TEST_F(TrackedMemory, SyncSurvivesALoggerThatFreesTheReportedBlocks) {
    ASSERT_TRUE(tables().allocations.empty()) << "an earlier test left a record";
    void* blocks[3] = {QV_Malloc(10, kFile, kWhat, 1), QV_Malloc(10, kFile, kWhat, 2),
                       QV_Malloc(10, kFile, kWhat, 3)};
    std::sort(std::begin(blocks), std::end(blocks));
    // At the first report the logger frees the block being reported and the next one; the walk
    // goes on with the third.
    static const int once = AddCallbackLogger(100, releasingLogger);  // its startup line comes first
    (void)once;
    g_releaseOnReport[0] = blocks[0];
    g_releaseOnReport[1] = blocks[1];
    qvtest::clear();
    EXPECT_EQ(SyncMemInfos(), 0);
    EXPECT_EQ(count(), 2u);
    EXPECT_EQ(tables().allocations.size(), 1u);
    EXPECT_EQ(tables().report.count(blocks[0]), 1u);
    EXPECT_EQ(tables().report.count(blocks[1]), 0u);
    EXPECT_EQ(tables().report.count(blocks[2]), 1u);
    QV_Free(blocks[2], kFile, kWhat, 4);
    tables().report.clear();
}

TEST_F(TrackedMemory, WorkingSetReadingsArePlausible) {
    const std::size_t before = GetCurrentMemUsage();
    EXPECT_GT(before, 0u);
    const unsigned start = MemUseStart();
    EXPECT_GT(start, 0u);
    EXPECT_EQ(start, tables().memUseStart);

    const int size = 64 << 20;
    auto* big = static_cast<unsigned char*>(QV_Malloc(size, kFile, kWhat, 1));
    ASSERT_NE(big, nullptr);
    std::memset(big, 0x5a, static_cast<std::size_t>(size));  // touch every page
    EXPECT_GT(GetCurrentMemUsage(), before);
    const unsigned grown = MemUseTest();
    EXPECT_GT(grown, 0u);
    EXPECT_LT(grown, 0x80000000u);  // a growth, not a wrapped shrink
    QV_Free(big, kFile, kWhat, 2);

    // A start above the current reading: the negative difference comes back as a large number.
    tables().memUseStart = static_cast<std::uint32_t>(GetCurrentMemUsage()) + (256u << 20);
    EXPECT_GT(MemUseTest(), 0x80000000u);
    EXPECT_EQ(count(), 0u);  // neither reading logs anything
}

}  // namespace
