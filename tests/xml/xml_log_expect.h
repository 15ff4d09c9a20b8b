// Assertion on the last log line of the xml tests, for messages that carry the call site's own
// line number: the number is left out of the comparison, everything else is exact.
#pragma once

#include <regex>
#include <string>

#include "QV_Tools.h"
#include "support/log_capture.h"

namespace qvtest {

// Asserts that the last captured line is "[level] hh:mm:ss: Function(<n>): message" for any n,
// with the given level and code, and that a nonzero code is the last error.
inline ::testing::AssertionResult LastLineIs(int level, int code, const std::string& function,
                                             const std::string& message) {
    if (records().empty()) return ::testing::AssertionFailure() << "no line was logged";
    const LogRecord& r = records().back();
    static const std::regex shape(R"(^\[(-?\d+)\] \d\d:\d\d:\d\d: ([^(]*)\(\d+\): ([\s\S]*)$)");
    std::smatch m;
    const bool ok = std::regex_match(r.line, m, shape) && r.level == level && r.code == code &&
                    m[1] == std::to_string(level) && m[2] == function && m[3] == message;
    if (!ok)
        return ::testing::AssertionFailure() << "last line: level " << r.level << ", code " << r.code
                                             << ", \"" << r.line << "\"; expected level " << level
                                             << ", code " << code << ", " << function << "(n): " << message;
    if (code != 0 && QV_GetLastError() != code)
        return ::testing::AssertionFailure() << "last error is " << QV_GetLastError() << ", expected " << code;
    return ::testing::AssertionSuccess();
}

}  // namespace qvtest

#define EXPECT_LAST_LINE(level, code, function, message) \
    EXPECT_TRUE(::qvtest::LastLineIs((level), (code), (function), (message)))
