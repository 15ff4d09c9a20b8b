// Platform layer: the only place that knows which operating system the library runs on.
// Clock and local time (with a seam that tests use to set the clock), the path separator used
// in file-name patterns, sleeping, the resident set size, directory creation, and what the
// call-stack walker needs from the system: the current thread's return addresses with their
// symbols and source lines, the loaded modules, the user name and the OS version.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace qv::platform {

// Separator put between a directory and a file name in every file-name pattern.
#ifdef _WIN32
inline constexpr char kPathSeparator = '\\';
#else
inline constexpr char kPathSeparator = '/';
#endif

// The stack walker's symbol-server entry: the drive of its local store when SYSTEMDRIVE is
// unset, and the public symbol server of the operating system's maker (on Linux the first server
// the debug-information client is configured with, DEBUGINFOD_URLS; none when it is unset).
#ifdef _WIN32
inline constexpr const char* kDefaultSystemDrive = "C:";
#else
inline constexpr const char* kDefaultSystemDrive = "";  // the root directory
#endif
std::string publicSymbolServer();

// Seconds since 1970 (64-bit); the test clock when one is set.
std::time_t now();
// Local calendar fields of `t`.
std::tm localTime(std::time_t t);
// Local calendar fields of now().
inline std::tm localNow() { return localTime(now()); }
// mktime on a copy-in/copy-out record (normalises its fields like the C function).
std::time_t makeTime(std::tm& t);

// Replaces the clock with a fixed time (tests); clearTestClock() returns to the real clock.
void setTestClock(std::time_t t);
void clearTestClock();

void sleepMs(unsigned ms);

// ---- Shared libraries loaded at run time (device drivers) ----
// The file name of library `stem`: "lib<stem>.so" here, "<stem>.dll" on Windows.
std::string libraryFileName(const std::string& stem);
// Loads library `stem` the way Windows finds a DLL given by its bare name, mapped to this
// system: the running program's directory, then the dynamic linker's own search
// (LD_LIBRARY_PATH, the cache, the system directories), then the current working directory.
// Returns the module handle, or null when no candidate loads.
void* loadLibrary(const std::string& stem);
// The address of `name` in a loaded library, or null.
void* librarySymbol(void* library, const char* name);
void releaseLibrary(void* library);

// Resident set size of this process in bytes (0 when unknown).
std::size_t residentBytes();

// Creates every missing directory of `dir`; true when they all exist afterwards.
bool makePath(const std::string& dir);

// ---- Call stacks and modules -------------------------------------------------------------

// The return addresses of the calling thread's frames, innermost first (the first ones lie in
// this function's own machinery; callers cut the frames they do not want by name). Only the
// calling thread can be walked.
std::vector<const void*> currentStackAddresses();

// What the symbol engine knows about one program counter. Empty texts and a line of 0 mean
// "not found"; the *Found flags tell the look-ups that failed apart from empty results.
struct FrameSymbols {
    bool symbolFound = false;       // some symbol (from debug info or the symbol table)
    std::string rawName;            // the symbol as stored in the module (possibly mangled)
    std::string function;           // the demangled function name with its parameters
    std::uintptr_t offsetFromSymbol = 0;
    bool lineFound = false;         // a source file and line
    std::string file;
    int line = 0;
    bool moduleFound = false;       // the module that holds the address
    std::string modulePath;         // its file, as the dynamic loader names it
    const void* moduleBase = nullptr;
};
// Looks `pc` up; `isReturnAddress` asks for the call instruction just before it, so that the
// line is the one of the call and not of the statement after it.
FrameSymbols describeAddress(const void* pc, bool isReturnAddress);

// One module (executable or shared object) mapped into the process.
struct LoadedModule {
    std::string path;               // empty for the main program when the loader gives no name
    const void* base = nullptr;
    std::size_t size = 0;           // bytes from the lowest to the end of the highest segment
};
std::vector<LoadedModule> loadedModules();

// The file of the running program ("" when unknown).
std::string executablePath();
// The current working directory ("" when unknown).
std::string currentDirectory();
// The name of the effective user ("" when unknown).
std::string userName();

// The operating system's version: the release split into numbers, and two further texts and
// numbers for the stack walker's report.
struct OsVersion {
    int major = 0, minor = 0, build = 0;
    std::string detail;             // the kernel's own version text
    unsigned suiteMask = 0;         // no such flags here: 0
    unsigned productType = 0;       // no such type here: 0
};
OsVersion osVersion();

}  // namespace qv::platform
