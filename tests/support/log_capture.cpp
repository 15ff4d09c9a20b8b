// Log capture environment and fixture helpers for the unit tests.
#include "support/log_capture.h"

#include <atomic>
#include <cctype>
#include <random>
#include <regex>

#include "qvtools/logging.h"

namespace qvtest {
namespace {

// Held in a heap object that is never freed: the logger's exit banner arrives while the
// process unloads, after ordinary statics may already be gone.
std::vector<LogRecord>& store() {
    static auto* records = new std::vector<LogRecord>();
    return *records;
}

void capture(int level, const char* line, int code) { store().push_back({level, line ? line : "", code}); }

class CaptureEnvironment : public ::testing::Environment {
public:
    void SetUp() override { AddCallbackLogger(100, &capture); }
};

[[maybe_unused]] ::testing::Environment* const g_env =
    ::testing::AddGlobalTestEnvironment(new CaptureEnvironment);

}  // namespace

const std::vector<LogRecord>& records() { return store(); }
void clear() { store().clear(); }

void LogTest::SetUp() { clear(); }

void LogTest::TearDown() {
    if (!m_tempDir.empty()) {
        std::error_code ec;
        std::filesystem::remove_all(m_tempDir, ec);
    }
}

std::string LogTest::lastLine() { return records().empty() ? std::string() : records().back().line; }

const LogRecord* LogTest::last() { return records().empty() ? nullptr : &records().back(); }

std::vector<std::string> LogTest::linesContaining(const std::string& text) {
    std::vector<std::string> out;
    for (const auto& r : records())
        if (r.line.find(text) != std::string::npos) out.push_back(r.line);
    return out;
}

std::string stripHeader(const std::string& line) {
    static const std::regex header(R"(^\[-?\d+\] \d\d:\d\d:\d\d: )");
    return std::regex_replace(line, header, "", std::regex_constants::format_first_only);
}

std::filesystem::path LogTest::tempDir() {
    if (m_tempDir.empty()) {
        static std::atomic<unsigned> counter{0};
        std::random_device rd;
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = info ? std::string(info->test_suite_name()) + "_" + info->name() : "qvtest";
        for (char& c : name)
            if (c == '/') c = '_';
        m_tempDir = std::filesystem::temp_directory_path() /
                    ("qvtest_" + name + "_" + std::to_string(rd()) + "_" + std::to_string(counter++));
        std::filesystem::create_directories(m_tempDir);
    }
    return m_tempDir;
}

::testing::AssertionResult LastFailureIs(int level, int code, const std::string& functionAndMessage) {
    if (records().empty()) return ::testing::AssertionFailure() << "no line was logged";
    const LogRecord& r = records().back();
    const std::string prefix = "[" + std::to_string(level) + "] ";
    std::string rest = r.line.substr(0, prefix.size()) == prefix ? r.line.substr(prefix.size()) : "";
    static const std::regex time(R"(^\d\d:\d\d:\d\d: )");
    std::smatch m;
    const bool timed = std::regex_search(rest, m, time);
    const std::string body = timed ? rest.substr(m.length()) : rest;
    if (r.level != level || r.code != code || !timed || body != functionAndMessage)
        return ::testing::AssertionFailure()
               << "last line: level " << r.level << ", code " << r.code << ", \"" << r.line
               << "\"; expected level " << level << ", code " << code << ", \"" << prefix
               << "hh:mm:ss: " << functionAndMessage << "\"";
    if (code != 0 && QV_GetLastError() != code)
        return ::testing::AssertionFailure() << "last error is " << QV_GetLastError() << ", expected " << code;
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult LastFailureFrom(int level, int code, const std::string& function,
                                           const std::string& message) {
    const std::string body = stripHeader(records().empty() ? std::string() : records().back().line);
    const std::string head = function + "(";
    std::size_t end = head.size();
    while (end < body.size() && std::isdigit(static_cast<unsigned char>(body[end]))) ++end;
    if (body.compare(0, head.size(), head) != 0 || end == head.size() || body.compare(end, 3, "): ") != 0)
        return ::testing::AssertionFailure() << "last line \"" << (records().empty() ? "" : records().back().line)
                                             << "\" is not a failure of " << function;
    return LastFailureIs(level, code, body.substr(0, end + 3) + message);
}

}  // namespace qvtest
