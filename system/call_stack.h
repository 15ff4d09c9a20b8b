// Call-stack capture: the calling thread's stack as text, one line per frame, from the library's
// one capture walker. The log calls and the memory exports both stamp their output with it.
#pragma once

#include <cstddef>
#include <string>

namespace qv::stack {

// Size of a caller's call-stack buffer, terminator included.
inline constexpr std::size_t kCallStackTextSize = 4096;

// The calling thread's stack as text, cut to start at the last mention of `name` (when given,
// not empty and found after the start), so that it begins with the named function and lists its
// callers; the whole text otherwise.
std::string captureCallStack(const char* name);

// Captures under `name` and copies the text into `out` (kCallStackTextSize characters) when it
// fits and is longer than one character; otherwise `out` is left as it was.
void copyCallStack(char* out, const char* name);

}  // namespace qv::stack
