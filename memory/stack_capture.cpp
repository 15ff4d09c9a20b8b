// GetCurrentCallStack: the calling thread's stack as text, from the caller's frame on.
#include "logging/frame.h"
#include "qvtools/memory.h"
#include "system/call_stack.h"

static_assert(qv::stack::kCallStackTextSize == QV_CALLSTACK_SIZE,
              "the exported buffer size is the capture's");

extern "C" {

QV_API int GetCurrentCallStack(char* out, const char* name) {
    constexpr const char* kFn = "GetCurrentCallStack";
    QV_CHECK_NULL(out, 185, "output argument is NULL");
    qv::stack::copyCallStack(out, name);
    return 0;
}

}  // extern "C"
