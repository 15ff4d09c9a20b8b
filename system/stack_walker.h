// The stack walker: turns the calling thread's call stack into text, one line per frame, with
// the function, source file and line where debug information allows, else the address and the
// module. Each step reports through a virtual operation (symbol-engine start, loaded module,
// frame, look-up error) and every finished text line goes to OnOutput, which a derived walker
// overrides to collect the lines.
#pragma once

#include <cstdint>
#include <string>

namespace qv::stack {

inline constexpr int kWalkerTextSize = 1024;  // every field and every output line, terminator included

// Names of the symbol types, indexed by type; other values have no name (null).
const char* symTypeName(int type);

// One frame as reported.
struct CallstackEntry {
    const void* offset = nullptr;        // program counter (0 for an empty frame)
    char name[kWalkerTextSize] = "";              // symbol as stored
    char undName[kWalkerTextSize] = "";           // undecorated, name only
    char undFullName[kWalkerTextSize] = "";       // completely undecorated
    std::uintptr_t offsetFromSymbol = 0;
    int lineNumber = 0;
    char lineFileName[kWalkerTextSize] = "";
    char moduleName[kWalkerTextSize] = "";
    int symType = 0;
    const char* symTypeString = nullptr;
    char imageName[kWalkerTextSize] = "";
    char loadedImageName[kWalkerTextSize] = "";
};

enum class CallstackEntryType { firstEntry, nextEntry, lastEntry };

class StackWalker {
public:
    // What the walker looks up and reports (bits of `options`).
    enum Options {
        RetrieveNone = 0,
        RetrieveSymbol = 0x01,        // function names
        RetrieveLine = 0x02,          // source files and lines
        RetrieveModuleInfo = 0x04,    // module of each frame
        ReportModules = 0x08,         // one report per loaded module when the engine starts
        SymBuildPath = 0x10,          // build the symbol search path from the usual places
        OptionsAll = 0x1F
    };
    // The symbol options added to the engine's defaults: line numbers, and no dialogs on
    // critical errors.
    static constexpr unsigned kSymOptionsAdded = 0x210;

    explicit StackWalker(int options = OptionsAll, const char* extraSymbolPath = nullptr);
    virtual ~StackWalker();
    StackWalker(const StackWalker&) = delete;
    StackWalker& operator=(const StackWalker&) = delete;

    // Walks the calling thread's stack, starting the symbol engine first if needed. Returns
    // false when the engine could not be started.
    bool ShowCallstack();

    // The search path that the last start of the engine reported.
    const std::string& symbolSearchPath() const { return m_searchPath; }

protected:
    virtual void OnSymInit(const char* searchPath, unsigned symOptions, const char* userName);
    virtual void OnLoadModule(const char* img, const char* mod, const void* baseAddr, unsigned size,
                              unsigned result, const char* symType, const char* pdbName,
                              unsigned long long fileVersion);
    virtual void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry);
    virtual void OnDbgHelpErr(const char* function, int lastError, const void* address);
    // Writes one finished line; the base walker writes it to standard error, the system's
    // channel for diagnostic output.
    virtual void OnOutput(const char* text);

    // Formats into kWalkerTextSize characters (longer text is cut) and passes the line on.
    void output(const char* format, ...) __attribute__((format(printf, 2, 3)));

private:
    bool initialize();
    std::string buildSymbolSearchPath() const;
    void fillEntry(const void* pc, bool isReturnAddress, CallstackEntry& entry);

    int m_options;
    std::string m_extraSymbolPath;
    std::string m_searchPath;
    bool m_initialized = false;
    unsigned m_symOptions = 0;
};

}  // namespace qv::stack
