// The stack walker: starting the symbol engine (search path, user, OS version, modules), walking
// the calling thread's frames, looking each one up, and writing the report lines.
#include "system/stack_walker.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "system/platform.h"

namespace qv::stack {

namespace {

// Copies into a walker field, cut to its size.
void copyField(char (&field)[kWalkerTextSize], const std::string& text) {
    std::snprintf(field, sizeof field, "%s", text.c_str());
}

std::string baseName(const std::string& path) {
    const std::size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// An environment value as read into a 1024-character buffer; "" when unset.
std::string environmentValue(const char* name) {
    const char* value = std::getenv(name);
    if (!value) return std::string();
    return std::string(value).substr(0, kWalkerTextSize - 1);
}

// The symbol type reported for a module: its symbols are read from its own debug information
// on the first look-up, so they are always deferred at the time of the report.
constexpr int kDeferredSymbols = 5;

}  // namespace

const char* symTypeName(int type) {
    static const char* const names[] = {"-nosymbols-", "COFF", "CV",  "PDB",    "-exported-",
                                        "-deferred-",  "SYM",  "DIA", "Virtual"};
    return type >= 0 && type < static_cast<int>(sizeof names / sizeof names[0]) ? names[type] : nullptr;
}

StackWalker::StackWalker(int options, const char* extraSymbolPath)
    : m_options(options), m_extraSymbolPath(extraSymbolPath ? extraSymbolPath : "") {}

StackWalker::~StackWalker() = default;

std::string StackWalker::buildSymbolSearchPath() const {
    std::string path;
    if (!m_extraSymbolPath.empty()) path += m_extraSymbolPath + ";";
    path += ".;";
    const std::string cwd = platform::currentDirectory();
    if (!cwd.empty()) path += cwd + ";";
    // The executable's folder: the path up to its last separator or drive colon.
    const std::string exe = platform::executablePath();
    const std::size_t cut = exe.find_last_of("\\/:");
    if (cut != std::string::npos && cut > 0) path += exe.substr(0, cut) + ";";
    for (const char* name : {"_NT_SYMBOL_PATH", "_NT_ALTERNATE_SYMBOL_PATH"}) {
        const std::string value = environmentValue(name);
        if (!value.empty()) path += value + ";";
    }
    const std::string systemRoot = environmentValue("SYSTEMROOT");
    if (!systemRoot.empty()) {
        path += systemRoot + ";";
        path += systemRoot + platform::kPathSeparator + "system32;";
    }
    // The public symbol server of the system's maker, with a local store for what it hands out
    // on the system drive (the fixed default when SYSTEMDRIVE is unset).
    const std::string drive = environmentValue("SYSTEMDRIVE");
    path += std::string("SRV*") + (drive.empty() ? platform::kDefaultSystemDrive : drive) +
            platform::kPathSeparator + "websymbols*" + platform::publicSymbolServer() + ";";
    if (path.size() > 4095) path.resize(4095);  // the path buffer holds 4096 characters
    return path;
}

bool StackWalker::initialize() {
    m_searchPath = (m_options & SymBuildPath) ? buildSymbolSearchPath() : m_extraSymbolPath;
    m_symOptions = kSymOptionsAdded;
    OnSymInit(m_searchPath.c_str(), m_symOptions, platform::userName().c_str());
    if (m_options & ReportModules) {
        for (const platform::LoadedModule& m : platform::loadedModules()) {
            OnLoadModule(m.path.c_str(), baseName(m.path).c_str(), m.base,
                         static_cast<unsigned>(m.size), 0, symTypeName(kDeferredSymbols),
                         m.path.c_str(), 0);
        }
    }
    m_initialized = true;
    return true;
}

// A failed look-up is reported under the name of the debug-help step it stands for
// (symbol, line, module), so that the reports read the same on every platform.
void StackWalker::fillEntry(const void* pc, bool isReturnAddress, CallstackEntry& entry) {
    const platform::FrameSymbols sym = platform::describeAddress(pc, isReturnAddress);
    if (m_options & RetrieveSymbol) {
        if (sym.symbolFound) {
            copyField(entry.name, sym.rawName);
            // The name only: the full name without its parameter list.
            std::string nameOnly = sym.function;
            const std::size_t paren = nameOnly.find('(');
            if (paren != std::string::npos && paren > 0) nameOnly.resize(paren);
            copyField(entry.undName, nameOnly);
            copyField(entry.undFullName, sym.function);
            entry.offsetFromSymbol = sym.offsetFromSymbol;
        } else {
            OnDbgHelpErr("SymGetSymFromAddr64", 0, pc);
        }
    }
    if (m_options & RetrieveLine) {
        if (sym.lineFound) {
            entry.lineNumber = sym.line;
            copyField(entry.lineFileName, sym.file);
        } else {
            OnDbgHelpErr("SymGetLineFromAddr64", 0, pc);
        }
    }
    if (m_options & RetrieveModuleInfo) {
        if (sym.moduleFound) {
            copyField(entry.moduleName, baseName(sym.modulePath));
            copyField(entry.imageName, sym.modulePath);
            copyField(entry.loadedImageName, sym.modulePath);
            entry.symType = sym.symbolFound ? kDeferredSymbols : 0;
            entry.symTypeString = symTypeName(entry.symType);
        } else {
            OnDbgHelpErr("SymGetModuleInfo64", 0, pc);
        }
    }
}

bool StackWalker::ShowCallstack() {
    if (!m_initialized && !initialize()) {
        OnDbgHelpErr("Error while initializing dbghelp.dll", 0, nullptr);
        return false;
    }
    const std::vector<const void*> frames = platform::currentStackAddresses();
    CallstackEntry entry;
    bool lastReported = false;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const void* pc = frames[i];
        // The outermost frame returns nowhere (0).
        const void* returnAddress = i + 1 < frames.size() ? frames[i + 1] : nullptr;
        // A frame that returns to itself would repeat forever.
        if (pc == returnAddress) {
            OnDbgHelpErr("StackWalk64-Endless-Callstack!", 0, pc);
            break;
        }
        entry = CallstackEntry();
        entry.offset = pc;
        // Every collected address is where a call returns to.
        if (pc) fillEntry(pc, true, entry);
        // The frame that returns nowhere is reported as the last one (which writes no line) and
        // ends the walk.
        CallstackEntryType type = i == 0 ? CallstackEntryType::firstEntry : CallstackEntryType::nextEntry;
        if (!returnAddress) {
            type = CallstackEntryType::lastEntry;
            lastReported = true;
        }
        OnCallstackEntry(type, entry);
        if (!returnAddress) break;
    }
    // A walk that stopped early still closes with a last report.
    if (!lastReported) OnCallstackEntry(CallstackEntryType::lastEntry, entry);
    return true;
}

void StackWalker::output(const char* format, ...) {
    char line[kWalkerTextSize];
    va_list args;
    va_start(args, format);
    std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    OnOutput(line);
}

void StackWalker::OnSymInit(const char* searchPath, unsigned symOptions, const char* userName) {
    output("SymInit: Symbol-SearchPath: '%s', symOptions: %d, UserName: '%s'\n", searchPath,
           static_cast<int>(symOptions), userName);
    const platform::OsVersion os = platform::osVersion();
    output("OS-Version: %d.%d.%d (%s) 0x%x-0x%x\n", os.major, os.minor, os.build, os.detail.c_str(),
           os.suiteMask, os.productType);
}

void StackWalker::OnLoadModule(const char* img, const char* mod, const void* baseAddr, unsigned size,
                               unsigned result, const char* symType, const char* pdbName,
                               unsigned long long fileVersion) {
    if (!symType) symType = "";
    if (fileVersion == 0) {
        output("%s:%s (%p), size: %d (result: %d), SymType: '%s', PDB: '%s'\n", img, mod, baseAddr,
               static_cast<int>(size), static_cast<int>(result), symType, pdbName);
    } else {
        const unsigned v1 = static_cast<unsigned>((fileVersion >> 48) & 0xffff);
        const unsigned v2 = static_cast<unsigned>((fileVersion >> 32) & 0xffff);
        const unsigned v3 = static_cast<unsigned>((fileVersion >> 16) & 0xffff);
        const unsigned v4 = static_cast<unsigned>(fileVersion & 0xffff);
        output("%s:%s (%p), size: %d (result: %d), SymType: '%s', PDB: '%s', fileVersion: %d.%d.%d.%d\n",
               img, mod, baseAddr, static_cast<int>(size), static_cast<int>(result), symType, pdbName,
               v1, v2, v3, v4);
    }
}

void StackWalker::OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) {
    if (type == CallstackEntryType::lastEntry || entry.offset == nullptr) return;
    const char* function = entry.undFullName[0] ? entry.undFullName
                           : entry.undName[0]   ? entry.undName
                           : entry.name[0]      ? entry.name
                                                : "(function-name not available)";
    if (entry.lineFileName[0]) {
        output("%s (%d): %s\n", entry.lineFileName, entry.lineNumber, function);
    } else {
        const char* module = entry.moduleName[0] ? entry.moduleName : "(module-name not available)";
        output("%p (%s): %s: %s\n", entry.offset, module, "(filename not available)", function);
    }
}

void StackWalker::OnDbgHelpErr(const char* function, int lastError, const void* address) {
    output("ERROR: %s, GetLastError: %d (Address: %p)\n", function, lastError, address);
}

void StackWalker::OnOutput(const char* text) { std::fputs(text, stderr); }

}  // namespace qv::stack
