// Shared helpers of the imaging tests.
#pragma once

#include <regex>
#include <string>

#include "support/log_capture.h"

namespace imagingtest {

// The last line is "[level] hh:mm:ss: function(<line>): message" with level, code and last error
// as given; the line number is whatever the source says.
inline ::testing::AssertionResult failedWith(int level, int code, const std::string& function,
                                             const std::string& message) {
    const std::string line = qvtest::records().empty() ? std::string() : qvtest::records().back().line;
    std::smatch m;
    const std::regex where(function + R"(\((\d+)\): )");
    if (!std::regex_search(line, m, where))
        return ::testing::AssertionFailure() << "last line \"" << line << "\" is not from " << function;
    return qvtest::LastFailureIs(level, code, function + "(" + m[1].str() + "): " + message);
}

}  // namespace imagingtest

#define EXPECT_FAILED(level, code, function, message) \
    EXPECT_TRUE(::imagingtest::failedWith((level), (code), (function), (message)))
