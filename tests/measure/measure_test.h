// Shared fixture of the measure tests. The measure functions report failures from source lines
// that carry no fixed number, so failedWith takes the line from the logged text and then checks
// everything else exactly through the shared LastFailureIs (level, code, function, message and
// the last error).
#pragma once

#include <regex>
#include <string>

#include "QV_Tools.h"
#include "support/log_capture.h"

namespace qvtest {

class MeasureTest : public LogTest {
protected:
    static ::testing::AssertionResult failedWith(int level, int code, const std::string& function,
                                                 const std::string& message) {
        const std::string body = withoutTime(lastLine());
        std::smatch m;
        if (!std::regex_search(body, m, std::regex("^" + function + R"(\((\d+)\): )")))
            return ::testing::AssertionFailure()
                   << "last line is \"" << lastLine() << "\", expected a failure of " << function;
        return LastFailureIs(level, code, function + "(" + m[1].str() + "): " + message);
    }
};

}  // namespace qvtest

#define EXPECT_FAILED_WITH(level, code, fn, msg) EXPECT_TRUE(failedWith((level), (code), (fn), (msg)))
