// Linux half of the platform layer (see platform.h).
//
// Call stacks come from Boost.Stacktrace with its libbacktrace backend, which reads the DWARF
// debug information of the loaded objects themselves. The stack-trace functions are taken from
// the Boost library rather than compiled in here, so that none of Boost's inline helpers lands
// among this library's own symbols.
#define BOOST_STACKTRACE_LINK
#include "system/platform.h"

#include <boost/core/demangle.hpp>
#include <boost/stacktrace/frame.hpp>
#include <boost/stacktrace/stacktrace.hpp>

#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <thread>

#include <dlfcn.h>
#include <link.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace qv::platform {
namespace {
bool g_testClock = false;
std::time_t g_testTime = 0;
}  // namespace

std::time_t now() { return g_testClock ? g_testTime : std::time(nullptr); }

std::tm localTime(std::time_t t) {
    std::tm out{};
    localtime_r(&t, &out);
    return out;
}

std::time_t makeTime(std::tm& t) { return std::mktime(&t); }

void setTestClock(std::time_t t) {
    g_testClock = true;
    g_testTime = t;
}

void clearTestClock() { g_testClock = false; }

void sleepMs(unsigned ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

std::string publicSymbolServer() {
    // DEBUGINFOD_URLS lists servers separated by blanks; the first one is the public server.
    const char* urls = std::getenv("DEBUGINFOD_URLS");
    if (!urls) return "";
    const std::string all(urls);
    const std::size_t start = all.find_first_not_of(' ');
    if (start == std::string::npos) return "";
    return all.substr(start, all.find(' ', start) - start);
}

std::string libraryFileName(const std::string& stem) { return "lib" + stem + ".so"; }

void* loadLibrary(const std::string& stem) {
    namespace fs = std::filesystem;
    const std::string file = libraryFileName(stem);
    std::error_code ec;
    // By full path, and only when the file is there, so that a miss leaves no loader error.
    auto tryPath = [&](const fs::path& dir) -> void* {
        if (dir.empty()) return nullptr;
        const fs::path candidate = dir / file;
        if (!fs::is_regular_file(candidate, ec)) return nullptr;
        void* found = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!found) dlerror();  // consume the message; the caller logs its own
        return found;
    };
    void* handle = tryPath(fs::read_symlink("/proc/self/exe", ec).parent_path());
    if (!handle) {
        handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!handle) dlerror();  // consume the message; the caller logs its own
    }
    if (!handle) handle = tryPath(fs::current_path(ec));
    return handle;
}

void* librarySymbol(void* library, const char* name) {
    return library && name ? dlsym(library, name) : nullptr;
}

void releaseLibrary(void* library) {
    if (library) dlclose(library);
}

std::size_t residentBytes() {
    std::FILE* f = std::fopen("/proc/self/statm", "r");
    if (!f) return 0;
    unsigned long size = 0, resident = 0;
    int n = std::fscanf(f, "%lu %lu", &size, &resident);
    std::fclose(f);
    if (n != 2) return 0;
    return static_cast<std::size_t>(resident) * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

bool makePath(const std::string& dir) {
    if (dir.empty()) return true;
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    return std::filesystem::is_directory(dir, ec);
}

// ---- Call stacks and modules -------------------------------------------------------------

std::vector<const void*> currentStackAddresses() {
    std::vector<const void*> out;
    const boost::stacktrace::stacktrace trace;
    out.reserve(trace.size());
    for (const boost::stacktrace::frame& f : trace) out.push_back(f.address());
    return out;
}

FrameSymbols describeAddress(const void* pc, bool isReturnAddress) {
    FrameSymbols out;
    if (!pc) return out;
    const auto at = reinterpret_cast<std::uintptr_t>(pc);
    const void* lookup = isReturnAddress && at > 0 ? reinterpret_cast<const void*>(at - 1) : pc;
    const boost::stacktrace::frame frame(lookup);
    out.function = frame.name();
    out.file = frame.source_file();
    const std::size_t line = frame.source_line();
    out.line = line > static_cast<std::size_t>(INT_MAX) ? INT_MAX : static_cast<int>(line);
    out.lineFound = !out.file.empty() && out.line > 0;
    if (!out.lineFound) {
        out.file.clear();
        out.line = 0;
    }

    Dl_info info{};
    if (dladdr(lookup, &info) != 0) {
        out.moduleFound = info.dli_fname != nullptr;
        if (info.dli_fname) out.modulePath = info.dli_fname;
        out.moduleBase = info.dli_fbase;
        if (info.dli_sname) {
            out.rawName = info.dli_sname;
            out.offsetFromSymbol = at - reinterpret_cast<std::uintptr_t>(info.dli_saddr);
            if (out.function.empty()) out.function = boost::core::demangle(info.dli_sname);
        }
    }
    if (out.rawName.empty()) out.rawName = out.function;
    out.symbolFound = !out.function.empty();
    return out;
}

namespace {
int addModule(dl_phdr_info* info, std::size_t, void* data) {
    auto& list = *static_cast<std::vector<LoadedModule>*>(data);
    std::uintptr_t low = UINTPTR_MAX, high = 0;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& seg = info->dlpi_phdr[i];
        if (seg.p_type != PT_LOAD) continue;
        if (seg.p_vaddr < low) low = seg.p_vaddr;
        if (seg.p_vaddr + seg.p_memsz > high) high = seg.p_vaddr + seg.p_memsz;
    }
    if (low > high) return 0;  // nothing mapped
    LoadedModule m;
    // The loader names the main program with an empty text.
    m.path = info->dlpi_name && *info->dlpi_name ? info->dlpi_name
                                                 : (list.empty() ? executablePath() : std::string());
    m.base = reinterpret_cast<const void*>(info->dlpi_addr + low);
    m.size = high - low;
    list.push_back(std::move(m));
    return 0;
}
}  // namespace

std::vector<LoadedModule> loadedModules() {
    std::vector<LoadedModule> list;
    dl_iterate_phdr(&addModule, &list);
    return list;
}

std::string executablePath() {
    std::error_code ec;
    const auto path = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::string() : path.string();
}

std::string currentDirectory() {
    std::error_code ec;
    const auto path = std::filesystem::current_path(ec);
    return ec ? std::string() : path.string();
}

std::string userName() {
    long size = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? static_cast<std::size_t>(size) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found ||
        !found->pw_name)
        return std::string();
    return found->pw_name;
}

OsVersion osVersion() {
    OsVersion out;
    utsname names{};
    if (uname(&names) != 0) return out;
    std::sscanf(names.release, "%d.%d.%d", &out.major, &out.minor, &out.build);
    out.detail = names.version;
    return out;
}

}  // namespace qv::platform
