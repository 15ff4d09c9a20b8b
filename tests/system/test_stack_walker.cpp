// The stack walker: the exact line formats of frames, modules, errors and the symbol-engine
// report, the search path it builds, and which frame closes a walk.
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "system/stack_walker.h"

namespace {

using qv::stack::CallstackEntry;
using qv::stack::CallstackEntryType;
using qv::stack::StackWalker;

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

    EXPECT_STREQ(qv::stack::symTypeName(8), "Virtual");
    EXPECT_EQ(qv::stack::symTypeName(9), nullptr);
}

TEST(StackWalkerLines, EngineStartReportsPathUserAndModulesOnce) {
    ::setenv("_NT_SYMBOL_PATH", "/srv/symbols", 1);
    ::setenv("SYSTEMROOT", "/sysroot", 1);
    ::setenv("SYSTEMDRIVE", "/drv", 1);
    ::setenv("DEBUGINFOD_URLS", "https://symbols.example/ https://second.example/", 1);
    RecordingWalker w(StackWalker::OptionsAll, "/extra/syms");
    ASSERT_TRUE(w.ShowCallstack());
    ::unsetenv("_NT_SYMBOL_PATH");
    ::unsetenv("SYSTEMROOT");
    ::unsetenv("SYSTEMDRIVE");
    ::unsetenv("DEBUGINFOD_URLS");
    ASSERT_GE(w.lines.size(), 3u);
    const std::string& init = w.lines[0];
    EXPECT_EQ(init.rfind("SymInit: Symbol-SearchPath: '/extra/syms;.;", 0), 0u) << init;
    EXPECT_NE(init.find(";/srv/symbols;/sysroot;/sysroot/system32;"
                        "SRV*/drv/websymbols*https://symbols.example/;', symOptions: 528, UserName: '"),
              std::string::npos) << init;
    EXPECT_EQ(w.lines[1].rfind("OS-Version: ", 0), 0u) << w.lines[1];
    // One report per loaded module, the test program among them, before the first frame.
    bool programSeen = false, frameSeen = false;
    for (const std::string& line : w.lines) {
        if (line.find(":test_system (0x") != std::string::npos) programSeen = true;
        if (line.find("StackWalkerLines_EngineStartReportsPathUserAndModulesOnce_Test::TestBody") != std::string::npos)
            frameSeen = true;
    }
    EXPECT_TRUE(programSeen);
    EXPECT_TRUE(frameSeen);

    // A second walk does not start the engine again.
    w.lines.clear();
    ASSERT_TRUE(w.ShowCallstack());
    for (const std::string& line : w.lines) EXPECT_EQ(line.find("SymInit:"), std::string::npos);

    // Without SYSTEMDRIVE the local store sits at the root; without a configured server the
    // entry names none.
    RecordingWalker noDrive(StackWalker::SymBuildPath);
    noDrive.ShowCallstack();
    const std::string& path = noDrive.symbolSearchPath();
    EXPECT_EQ(path.substr(path.find("SRV*")), "SRV*/websymbols*;");

    // Without the path option the search path is the extra path alone.
    RecordingWalker bare(StackWalker::RetrieveSymbol, "/extra/syms");
    bare.ShowCallstack();
    EXPECT_EQ(bare.symbolSearchPath(), "/extra/syms");
}

}  // namespace
