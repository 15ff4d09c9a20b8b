// Call-stack capture: the text of GetCurrentCallStack (cut at the last mention of a name, left
// out when too long), the names of failed look-ups and the walker's stop on a frame that returns
// to itself.
#include <cstring>
#include <string>

#include "QV_Tools.h"
#include "support/log_capture.h"

namespace {

using qvtest::LogTest;

class CallStack : public LogTest {};

std::string capture(const char* name) {
    char out[QV_CALLSTACK_SIZE] = "";
    EXPECT_EQ(GetCurrentCallStack(out, name), 0);
    return out;
}

// Two frames whose names share a prefix: a search for the prefix must land on the outer one.
__attribute__((noinline)) std::string StackProbeInner() {
    std::string text = capture("StackProbe");
    asm volatile("" ::: "memory");  // keeps the call from becoming a tail call
    return text;
}
__attribute__((noinline)) std::string StackProbeOuter() {
    std::string text = StackProbeInner();
    asm volatile("" ::: "memory");
    return text;
}

// A chain of `N` distinct frames, deep enough to push the text past the caller's buffer.
template <int N>
__attribute__((noinline)) void deepCapture(char* out) {
    deepCapture<N - 1>(out);
    asm volatile("" ::: "memory");
}
template <>
__attribute__((noinline)) void deepCapture<0>(char* out) {
    GetCurrentCallStack(out, "GetCurrentCallStack");
    asm volatile("" ::: "memory");
}

// Direct recursion from one call site: the second frame returns to where the first does.
__attribute__((noinline)) int recurseThenCapture(int depth, std::string* text) {
    if (depth == 0) {
        *text = capture(nullptr);
        return 0;
    }
    const int r = recurseThenCapture(depth - 1, text);
    asm volatile("" ::: "memory");
    return r + 1;
}

TEST_F(CallStack, NullOutputIsRefused) {
    EXPECT_EQ(GetCurrentCallStack(nullptr, "x"), QV_ERR_NULL_ARGUMENT);
    EXPECT_LAST_FAILURE(1, QV_ERR_NULL_ARGUMENT, "GetCurrentCallStack(185): output argument is NULL");
}

TEST_F(CallStack, NamedCaptureStartsAtTheNameAndListsTheCallers) {
    const std::string text = capture("GetCurrentCallStack");
    // The export's own frame line ends with its name; the callers follow, this test among them.
    EXPECT_EQ(text.rfind("GetCurrentCallStack\n", 0), 0u) << text;
    EXPECT_NE(text.find("CallStack_NamedCaptureStartsAtTheNameAndListsTheCallers_Test::TestBody"),
              std::string::npos) << text;
    EXPECT_EQ(text.back(), '\n');
    EXPECT_EQ(count(), 0u);  // a capture logs nothing

    // The last mention wins: the outer of two frames that both contain the name.
    const std::string probe = StackProbeOuter();
    EXPECT_EQ(probe.find("StackProbeOuter"), 0u) << probe;
    EXPECT_EQ(probe.find("StackProbeInner"), std::string::npos) << probe;
}

TEST_F(CallStack, UnknownOrEmptyNameGivesTheWholeText) {
    for (const char* name : {"no-frame-is-called-like-this", "", static_cast<const char*>(nullptr)}) {
        const std::string text = capture(name);
        // The whole walk: the capture's own frames come before the export and this test.
        const std::size_t exportAt = text.find("GetCurrentCallStack\n");
        ASSERT_NE(exportAt, std::string::npos) << text;
        EXPECT_GT(exportAt, 0u);
        EXPECT_NE(text.find("CallStack_UnknownOrEmptyNameGivesTheWholeText_Test::TestBody"), std::string::npos);
    }
}

TEST_F(CallStack, FailedLookUpsNameTheirStep) {
    const std::string text = capture(nullptr);
    // The program's entry code carries no line information: its line look-up fails.
    EXPECT_NE(text.find("ERROR: SymGetLineFromAddr64, GetLastError: 0 (Address: 0x"), std::string::npos)
        << text;
    EXPECT_EQ(text.find("look-up"), std::string::npos) << text;
}

TEST_F(CallStack, TooLongTextLeavesTheOutputUntouched) {
    char out[QV_CALLSTACK_SIZE];
    std::strcpy(out, "untouched");
    deepCapture<80>(out);
    EXPECT_STREQ(out, "untouched");
}

TEST_F(CallStack, FrameReturningToItselfEndsTheWalk) {
    std::string text;
    recurseThenCapture(3, &text);
    EXPECT_NE(text.find("ERROR: StackWalk64-Endless-Callstack!, GetLastError: 0 (Address: 0x"),
              std::string::npos) << text;
    // Nothing after the stop: the test's own frame is not reached.
    EXPECT_EQ(text.find("FrameReturningToItselfEndsTheWalk"), std::string::npos) << text;
}

}  // namespace
