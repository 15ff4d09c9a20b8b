// Call-stack capture: the library's one capture walker collects every line of a walk into one
// process-wide text, which is handed out from the caller's frame on.
#include "system/call_stack.h"

#include <cstring>

#include "system/stack_walker.h"

namespace qv::stack {

namespace {

// A walker whose output is appended to one text instead of the diagnostic channel.
class CaptureWalker : public StackWalker {
public:
    // Symbols, lines and module names of the frames; the loaded modules are not listed, so that
    // the first capture of the process reads like every later one (apart from the engine's
    // start report).
    CaptureWalker() : StackWalker(RetrieveSymbol | RetrieveLine | RetrieveModuleInfo | SymBuildPath) {}

    std::string text;

protected:
    void OnOutput(const char* line) override { text += line; }
};

CaptureWalker& captureWalker() {
    static CaptureWalker walker;
    return walker;
}

// Built when the library is loaded (the symbol engine itself starts at the first walk), so that
// the walker outlives the host program's globals, which may still allocate or free through the
// tracked-memory calls when the program ends.
[[maybe_unused]] const CaptureWalker* const g_buildAtLoad = &captureWalker();

}  // namespace

std::string captureCallStack(const char* name) {
    CaptureWalker& walker = captureWalker();
    walker.text.clear();
    walker.ShowCallstack();
    std::string& text = walker.text;
    if (name && *name) {
        // The callers' frames follow their own: start at the last mention of the name, so that
        // the frames of the capture itself are left out.
        const std::size_t at = text.rfind(name);
        if (at != std::string::npos && at > 0) return text.substr(at);
    }
    return text;
}

void copyCallStack(char* out, const char* name) {
    const std::string text = captureCallStack(name);
    // Texts that do not fit the caller's buffer, and empty ones, leave it as it was.
    if (text.size() < kCallStackTextSize && text.size() > 1)
        std::memcpy(out, text.c_str(), text.size() + 1);
}

}  // namespace qv::stack
