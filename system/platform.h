// Platform layer: the only place that knows which operating system the library runs on.
// Clock and local time (with a seam that tests use to set the clock), the path separator used
// in file-name patterns, sleeping, the resident set size and directory creation.
#pragma once

#include <cstddef>
#include <ctime>
#include <string>

namespace qv::platform {

// Separator put between a directory and a file name in every file-name pattern.
#ifdef _WIN32
inline constexpr char kPathSeparator = '\\';
#else
inline constexpr char kPathSeparator = '/';
#endif

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

}  // namespace qv::platform
