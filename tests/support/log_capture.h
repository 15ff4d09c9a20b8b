// Log capture for the unit tests.
//
// Each test binary registers one callback logger (level 100, so every line passes) before the
// first test runs; the logger cannot be removed, so it lives for the whole binary. LogTest
// clears the record before each test and offers helpers to assert on exact lines, levels and
// codes. TempDir gives each test its own directory, removed afterwards.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace qvtest {

struct LogRecord {
    int level;
    std::string line;
    int code;
};

// Every line the capture logger received since the last clear().
const std::vector<LogRecord>& records();
void clear();
// The part of a library failure line after its "[level] hh:mm:ss: " header.
std::string stripHeader(const std::string& line);

class LogTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    static const std::vector<LogRecord>& logs() { return records(); }
    // The last captured line ("" when none).
    static std::string lastLine();
    static const LogRecord* last();
    // Lines containing `text`.
    static std::vector<std::string> linesContaining(const std::string& text);
    static std::size_t count() { return records().size(); }
    // The part of a library failure line after the "[level] hh:mm:ss: " header, so that tests
    // compare "Function(line): message" exactly without depending on the clock.
    static std::string withoutTime(const std::string& line) { return stripHeader(line); }

    // A fresh directory for this test, removed in TearDown.
    std::filesystem::path tempDir();

private:
    std::filesystem::path m_tempDir;
};

// Asserts that the last captured line is "[level] hh:mm:ss: <functionAndMessage>" with the
// given level and code, and that the last error is that code.
::testing::AssertionResult LastFailureIs(int level, int code, const std::string& functionAndMessage);

// The same for a failure whose source line carries no fixed number: the last line is
// "[level] hh:mm:ss: <function>(<any number>): <message>".
::testing::AssertionResult LastFailureFrom(int level, int code, const std::string& function,
                                           const std::string& message);

}  // namespace qvtest

#define EXPECT_LAST_FAILURE(level, code, text) EXPECT_TRUE(::qvtest::LastFailureIs((level), (code), (text)))
#define EXPECT_FAILED(level, code, function, message) \
    EXPECT_TRUE(::qvtest::LastFailureFrom((level), (code), (function), (message)))
