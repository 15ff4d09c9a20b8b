// Linux half of the platform layer (see platform.h).
#include "system/platform.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <thread>
#include <dlfcn.h>
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

}  // namespace qv::platform
