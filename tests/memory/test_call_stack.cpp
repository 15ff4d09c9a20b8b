// Call-stack capture: the text of GetCurrentCallStack (cut at the last mention of a name, left
// out when too long), the walker's stop on a frame that returns to itself, and the exact line
// formats of frames, modules, errors and the symbol-engine report.
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "QV_Tools.h"
#include "memory/stack_walker.h"
#include "support/log_capture.h"

namespace {

using qv::memory::CallstackEntry;
using qv::memory::CallstackEntryType;
using qv::memory::StackWalker;
using qvtest::LogTest;

class CallStack : public LogTest {};

std::string capture(const char* name) {
    char out[QV_CALLSTACK_SIZE] = "";
    EXPECT_EQ(GetCurrentCallStack(out, name), 0);
    return out;
}

// Two frames whose names share a prefix: a search for the prefix must land on the outer one.
__attribute__((noinline)) std::string StackProbeInner() {
    std::string text = capture("StackProbe");
    asm volatile("" ::: "memory");  // keeps the call from becoming a tail call
    return text;
}
__attribute__((noinline)) std::string StackProbeOuter() {
    std::string text = StackProbeInner();
    asm volatile("" ::: "memory");
    return text;
}

// A chain of `N` distinct frames, deep enough to push the text past the caller's buffer.
template <int N>
__attribute__((noinline)) void deepCapture(char* out) {
    deepCapture<N - 1>(out);
    asm volatile("" ::: "memory");
}
template <>
__attribute__((noinline)) void deepCapture<0>(char* out) {
    GetCurrentCallStack(out, "GetCurrentCallStack");
    asm volatile("" ::: "memory");
}

// Direct recursion from one call site: the second frame returns to where the first does.
__attribute__((noinline)) int recurseThenCapture(int depth, std::string* text) {
    if (depth == 0) {
        *text = capture(nullptr);
        return 0;
    }
    const int r = recurseThenCapture(depth - 1, text);
    asm volatile("" ::: "memory");
    return r + 1;
}

TEST_F(CallStack, NullOutputIsRefused) {
    EXPECT_EQ(GetCurrentCallStack(nullptr, "x"), QV_ERR_NULL_ARGUMENT);
    EXPECT_LAST_FAILURE(1, QV_ERR_NULL_ARGUMENT, "GetCurrentCallStack(185): output argument is NULL");
}

TEST_F(CallStack, NamedCaptureStartsAtTheNameAndListsTheCallers) {
    const std::string text = capture("GetCurrentCallStack");
    // The export's own frame line ends with its name; the callers follow, this test among them.
    EXPECT_EQ(text.rfind("GetCurrentCallStack\n", 0), 0u) << text;
    EXPECT_NE(text.find("CallStack_NamedCaptureStartsAtTheNameAndListsTheCallers_Test::TestBody"),
              std::string::npos) << text;
    EXPECT_EQ(text.back(), '\n');
    EXPECT_EQ(count(), 0u);  // a capture logs nothing

    // The last mention wins: the outer of two frames that both contain the name.
    const std::string probe = StackProbeOuter();
    EXPECT_EQ(probe.find("StackProbeOuter"), 0u) << probe;
    EXPECT_EQ(probe.find("StackProbeInner"), std::string::npos) << probe;
}

TEST_F(CallStack, UnknownOrEmptyNameGivesTheWholeText) {
    for (const char* name : {"no-frame-is-called-like-this", "", static_cast<const char*>(nullptr)}) {
        const std::string text = capture(name);
        // The whole walk: the capture's own frames come before the export and this test.
        const std::size_t exportAt = text.find("GetCurrentCallStack\n");
        ASSERT_NE(exportAt, std::string::npos) << text;
        EXPECT_GT(exportAt, 0u);
        EXPECT_NE(text.find("CallStack_UnknownOrEmptyNameGivesTheWholeText_Test::TestBody"), std::string::npos);
    }
}

TEST_F(CallStack, FailedLookUpsNameTheirStep) {
    const std::string text = capture(nullptr);
    // The program's entry code carries no line information: its line look-up fails.
    EXPECT_NE(text.find("ERROR: SymGetLineFromAddr64, GetLastError: 0 (Address: 0x"), std::string::npos)
        << text;
    EXPECT_EQ(text.find("look-up"), std::string::npos) << text;
}

TEST_F(CallStack, TooLongTextLeavesTheOutputUntouched) {
    char out[QV_CALLSTACK_SIZE];
    std::strcpy(out, "untouched");
    deepCapture<80>(out);
    EXPECT_STREQ(out, "untouched");
}

TEST_F(CallStack, FrameReturningToItselfEndsTheWalk) {
    std::string text;
    recurseThenCapture(3, &text);
    EXPECT_NE(text.find("ERROR: StackWalk64-Endless-Callstack!, GetLastError: 0 (Address: 0x"),
              std::string::npos) << text;
    // Nothing after the stop: the test's own frame is not reached.
    EXPECT_EQ(text.find("FrameReturningToItselfEndsTheWalk"), std::string::npos) << text;
}

// A walker that keeps its lines and lets the tests report frames directly.
class RecordingWalker : public StackWalker {
public:
    using StackWalker::StackWalker;
    using StackWalker::OnCallstackEntry;
    using StackWalker::OnDbgHelpErr;
    using StackWalker::OnLoadModule;
    std::vector<std::string> lines;

protected:
    void OnOutput(const char* text) override { lines.emplace_back(text); }
};

// A walker that also keeps the kind and function of every frame it reports.
class FrameRecordingWalker : public RecordingWalker {
public:
    using RecordingWalker::RecordingWalker;
    std::vector<std::pair<CallstackEntryType, std::string>> frames;

protected:
    void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) override {
        frames.emplace_back(type, entry.undFullName[0] ? entry.undFullName : entry.name);
        StackWalker::OnCallstackEntry(type, entry);
    }
};

TEST(StackWalkerLines, OutermostFrameIsReportedLastAndWritesNoLine) {
    FrameRecordingWalker w(StackWalker::RetrieveSymbol | StackWalker::RetrieveModuleInfo);
    ASSERT_TRUE(w.ShowCallstack());
    ASSERT_GE(w.frames.size(), 3u);
    EXPECT_EQ(w.frames.front().first, CallstackEntryType::firstEntry);
    int lastReports = 0;
    for (const auto& f : w.frames) lastReports += f.first == CallstackEntryType::lastEntry;
    EXPECT_EQ(lastReports, 1);
    // The closing report is the outermost frame itself: it is looked up but writes nothing,
    // while its caller-side neighbour is written.
    ASSERT_EQ(w.frames.back().first, CallstackEntryType::lastEntry);
    const std::string outermost = w.frames.back().second;
    const std::string inner = w.frames[w.frames.size() - 2].second;
    ASSERT_FALSE(outermost.empty());
    bool innerWritten = false;
    for (const std::string& line : w.lines) {
        EXPECT_EQ(line.find(": " + outermost + "\n"), std::string::npos) << line;
        if (line.find(": " + inner + "\n") != std::string::npos) innerWritten = true;
    }
    EXPECT_TRUE(innerWritten) << inner;
}

TEST(StackWalkerLines, FrameLinesInBothForms) {
    RecordingWalker w;
    CallstackEntry e;
    e.offset = reinterpret_cast<const void*>(0x1234);
    std::strcpy(e.name, "_Z3foov");
    std::strcpy(e.undName, "foo");
    std::strcpy(e.undFullName, "foo()");
    std::strcpy(e.lineFileName, "src/foo.cpp");
    e.lineNumber = 42;
    std::strcpy(e.moduleName, "libfoo.so");
    w.OnCallstackEntry(CallstackEntryType::firstEntry, e);
    // Without a file: the address form; the function falls back name by name.
    e.lineFileName[0] = '\0';
    e.undFullName[0] = '\0';
    w.OnCallstackEntry(CallstackEntryType::nextEntry, e);
    e.undName[0] = '\0';
    e.moduleName[0] = '\0';
    w.OnCallstackEntry(CallstackEntryType::nextEntry, e);
    e.name[0] = '\0';
    w.OnCallstackEntry(CallstackEntryType::nextEntry, e);
    // The closing report and frames without an address write nothing.
    w.OnCallstackEntry(CallstackEntryType::lastEntry, e);
    e.offset = nullptr;
    w.OnCallstackEntry(CallstackEntryType::nextEntry, e);

    const std::vector<std::string> expected = {
        "src/foo.cpp (42): foo()\n",
        "0x1234 (libfoo.so): (filename not available): foo\n",
        "0x1234 ((module-name not available)): (filename not available): _Z3foov\n",
        "0x1234 ((module-name not available)): (filename not available): (function-name not available)\n"};
    EXPECT_EQ(w.lines, expected);
}

TEST(StackWalkerLines, LinesAreCutTo1023Characters) {
    RecordingWalker w;
    CallstackEntry e;
    e.offset = reinterpret_cast<const void*>(0x10);
    std::memset(e.lineFileName, 'f', 700);
    std::memset(e.undFullName, 'g', 700);
    e.lineNumber = 1;
    w.OnCallstackEntry(CallstackEntryType::firstEntry, e);
    ASSERT_EQ(w.lines.size(), 1u);
    EXPECT_EQ(w.lines[0].size(), 1023u);
    EXPECT_EQ(w.lines[0].substr(700, 6), " (1): ");
}

TEST(StackWalkerLines, ErrorAndModuleReports) {
    RecordingWalker w;
    const void* at = reinterpret_cast<const void*>(0xabc);
    w.OnDbgHelpErr("SymGetLineFromAddr64", 0, at);
    w.OnLoadModule("/lib/libx.so", "libx.so", at, 4096, 0, "-deferred-", "/lib/libx.so", 0);
    w.OnLoadModule("/lib/libx.so", "libx.so", at, 4096, 0, "PDB", "x.pdb",
                   (1ULL << 48) | (2ULL << 32) | (3ULL << 16) | 4ULL);
    const std::vector<std::string> expected = {
        "ERROR: SymGetLineFromAddr64, GetLastError: 0 (Address: 0xabc)\n",
        "/lib/libx.so:libx.so (0xabc), size: 4096 (result: 0), SymType: '-deferred-', PDB: '/lib/libx.so'\n",
        "/lib/libx.so:libx.so (0xabc), size: 4096 (result: 0), SymType: 'PDB', PDB: 'x.pdb', fileVersion: 1.2.3.4\n"};
    EXPECT_EQ(w.lines, expected);

    EXPECT_STREQ(qv::memory::symTypeName(8), "Virtual");
    EXPECT_EQ(qv::memory::symTypeName(9), nullptr);
}

TEST(StackWalkerLines, EngineStartReportsPathUserAndModulesOnce) {
    ::setenv("_NT_SYMBOL_PATH", "/srv/symbols", 1);
    ::setenv("SYSTEMROOT", "/sysroot", 1);
    ::setenv("SYSTEMDRIVE", "/drv", 1);
    RecordingWalker w(StackWalker::OptionsAll, "/extra/syms");
    ASSERT_TRUE(w.ShowCallstack());
    ::unsetenv("_NT_SYMBOL_PATH");
    ::unsetenv("SYSTEMROOT");
    ::unsetenv("SYSTEMDRIVE");
    ASSERT_GE(w.lines.size(), 3u);
    const std::string& init = w.lines[0];
    EXPECT_EQ(init.rfind("SymInit: Symbol-SearchPath: '/extra/syms;.;", 0), 0u) << init;
    EXPECT_NE(init.find(";/srv/symbols;/sysroot;/sysroot/system32;"
                        "SRV*/drv/websymbols*https://debuginfod.debian.net;', symOptions: 528, UserName: '"),
              std::string::npos) << init;
    EXPECT_EQ(w.lines[1].rfind("OS-Version: ", 0), 0u) << w.lines[1];
    // One report per loaded module, the test program among them, before the first frame.
    bool programSeen = false, frameSeen = false;
    for (const std::string& line : w.lines) {
        if (line.find(":test_memory (0x") != std::string::npos) programSeen = true;
        if (line.find("StackWalkerLines_EngineStartReportsPathUserAndModulesOnce_Test::TestBody") != std::string::npos)
            frameSeen = true;
    }
    EXPECT_TRUE(programSeen);
    EXPECT_TRUE(frameSeen);

    // A second walk does not start the engine again.
    w.lines.clear();
    ASSERT_TRUE(w.ShowCallstack());
    for (const std::string& line : w.lines) EXPECT_EQ(line.find("SymInit:"), std::string::npos);

    // Without SYSTEMDRIVE the local store sits at the root.
    RecordingWalker noDrive(StackWalker::SymBuildPath);
    noDrive.ShowCallstack();
    const std::string& path = noDrive.symbolSearchPath();
    EXPECT_EQ(path.substr(path.find("SRV*")), "SRV*/websymbols*https://debuginfod.debian.net;");

    // Without the path option the search path is the extra path alone.
    RecordingWalker bare(StackWalker::RetrieveSymbol, "/extra/syms");
    bare.ShowCallstack();
    EXPECT_EQ(bare.symbolSearchPath(), "/extra/syms");
}

}  // namespace
