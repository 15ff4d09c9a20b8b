// Shared fixture of the data-family tests: the log capture, plus a check of the last failure
// that ignores the source line number (the data family documents none).
#pragma once

#include <regex>
#include <string>

#include "QV_Tools.h"
#include "support/log_capture.h"

namespace datatest {

class DataTest : public qvtest::LogTest {
protected:
    // The last line is "[level] hh:mm:ss: function(<line>): message" with this level and code,
    // and a nonzero code is the last error.
    static ::testing::AssertionResult failed(int level, int code, const std::string& function,
                                             const std::string& message) {
        if (!last()) return ::testing::AssertionFailure() << "nothing was logged";
        static const std::regex lineNumber(R"(^(\w+)\(\d+\): )");
        const std::string body =
            std::regex_replace(withoutTime(lastLine()), lineNumber, "$1: ", std::regex_constants::format_first_only);
        const std::string expected = function + ": " + message;
        if (last()->level != level || last()->code != code || body != expected)
            return ::testing::AssertionFailure()
                   << "got level " << last()->level << ", code " << last()->code << ", \"" << lastLine()
                   << "\"; expected level " << level << ", code " << code << ", \"" << expected << "\"";
        if (code != 0 && QV_GetLastError() != code)
            return ::testing::AssertionFailure() << "last error " << QV_GetLastError();
        return ::testing::AssertionSuccess();
    }
};

}  // namespace datatest

#define EXPECT_FAILED(level, code, function, message) \
    EXPECT_TRUE(failed((level), (code), (function), (message)))
