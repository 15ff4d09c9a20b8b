// The log calls: line assembly in both layouts, bare lines for positive codes, the last error.
#include <cstring>

#include "QV_Tools.h"
#include "support/log_capture.h"

namespace {

using qvtest::LogTest;

class LogCall : public LogTest {};

TEST_F(LogCall, ErrorNamesIncludingTheUnnamedGap) {
    const std::pair<int, const char*> table[] = {
        {0, ""}, {-1, "UnknownError"}, {-2, "NullArgumentError"}, {-3, "MemoryError"},
        {-4, "IOError"}, {-5, "ArgumentError"}, {-6, "NetworkError"}, {-7, "AssertError"},
        {-8, "XMLError"}, {-9, "NotImplementedError"}, {-10, "OutOfBoundsError"},
        {-11, "user-defined error(-11)"}, {-12, "DatabaseError"}, {-13, "user-defined error(-13)"},
        {-1001, "user-defined error(-1001)"}, {5, "user-defined error(5)"}};
    for (const auto& [code, name] : table) {
        char out[QV_NAME_SIZE] = "garbage";
        EXPECT_EQ(ErrorCode2String(code, out), 0);
        EXPECT_STREQ(out, name) << code;
    }
    EXPECT_EQ(count(), 0u);
}

TEST_F(LogCall, ErrorCode2StringRejectsNullOutput) {
    EXPECT_EQ(ErrorCode2String(-5, nullptr), -2);
    EXPECT_LAST_FAILURE(1, -2, "ErrorCode2String(217): output arg is NULL");
}

TEST_F(LogCall, LogMsgWorkedExample) {
    LogMsg(1, "bad size", -5, "2011-03-07", "14:05:33", nullptr, "QV_Foo", 88);
    ASSERT_NE(last(), nullptr);
    EXPECT_EQ(lastLine(), "[1] ArgumentError: 2011-03-07 14:05:33 QV_Foo::88: bad size");
    EXPECT_EQ(last()->level, 1);
    EXPECT_EQ(last()->code, -5);
    char msg[QV_STRING_SIZE];
    EXPECT_EQ(QV_GetLastErrorMsg(msg), -5);
    EXPECT_STREQ(msg, "[1] ArgumentError: 2011-03-07 14:05:33 QV_Foo::88: bad size");
}

TEST_F(LogCall, LogMsgGenericWorkedExampleAndLongHeader) {
    LogMsgGeneric(1, -5, "2011-03-07", "14:05:33", nullptr, "QV_Foo", 88, "bad %s", "size");
    EXPECT_EQ(lastLine(), "[1] 14:05:33: QV_Foo(88): bad size");
    LogMsgGeneric(2, -8, "2011-03-07", "14:05:33", "CXMLManager", "LoadXMLFile", 12, "n=%d", 3);
    EXPECT_EQ(lastLine(), "[2] 2011-03-07 14:05:33 XMLError: CXMLManager::LoadXMLFile(12): n=3");
    // A class without a date keeps the short header.
    LogMsgGeneric(1, -5, nullptr, "14:05:33", "CXMLManager", "LoadXMLFile", 12, "x");
    EXPECT_EQ(lastLine(), "[1] 14:05:33: LoadXMLFile(12): x");
    EXPECT_EQ(QV_GetLastError(), -5);
    // A positive code keeps the header here (only LogMsg, LogIDMsg and LogMsgStack send the
    // bare message) and still becomes the last error.
    LogMsgGeneric(3, 4, nullptr, "14:05:33", nullptr, "F", 2, "info");
    EXPECT_EQ(lastLine(), "[3] 14:05:33: F(2): info");
    EXPECT_EQ(QV_GetLastError(), 4);
    LogMsgGeneric(3, 4, "2011-03-07", "14:05:33", "C", "F", 2, "info");
    EXPECT_EQ(lastLine(), "[3] 2011-03-07 14:05:33 user-defined error(4): C::F(2): info");
}

TEST_F(LogCall, LogMsgOptionalPieces) {
    LogMsg(3, "note", 0, nullptr, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(lastLine(), "[3] : note");
    LogMsg(2, "m", -1, nullptr, "10:00:00", "CClass", nullptr, 5);
    EXPECT_EQ(lastLine(), "[2] UnknownError: 10:00:00 CClass: m");
    LogMsg(2, "m", -1, nullptr, nullptr, "CClass", "Method", 0);
    EXPECT_EQ(lastLine(), "[2] UnknownError: CClass::Method: m");
    LogMsg(2, "m", -1, "2011-01-01", nullptr, nullptr, "F", 7);
    EXPECT_EQ(lastLine(), "[2] UnknownError: 2011-01-01 F::7: m");
}

TEST_F(LogCall, LastErrorRules) {
    LogMsg(1, "first", -4, nullptr, nullptr, nullptr, "F", 1);
    // Code 0 leaves the last error alone.
    LogMsg(1, "notice", 0, nullptr, nullptr, nullptr, "F", 2);
    char msg[QV_STRING_SIZE];
    EXPECT_EQ(QV_GetLastErrorMsg(msg), -4);
    EXPECT_STREQ(msg, "[1] IOError: F::1: first");
    // A positive code sends the bare message and still becomes the last error.
    LogMsg(3, "x", 4, "2011-01-01", "10:00:00", nullptr, "F", 3);
    EXPECT_EQ(lastLine(), "x");
    EXPECT_EQ(last()->code, 4);
    EXPECT_EQ(QV_GetLastErrorMsg(nullptr), 4);
    EXPECT_EQ(QV_GetLastErrorMsg(msg), 4);
    EXPECT_STREQ(msg, "x");
}

TEST_F(LogCall, IdMessagesReachOnlyTheIdLogger) {
    const std::size_t before = count();
    LogIDMsg(1, 424242, "to nobody", -7, nullptr, nullptr, nullptr, "F", 1);
    EXPECT_EQ(count(), before);  // the capture logger is in the list, not the id map
    EXPECT_EQ(QV_GetLastError(), -7);
    EXPECT_TRUE(CLogManager::GetLogManager()->HasIdEntry(424242));
}

TEST_F(LogCall, StackLineLayout) {
    LogMsgStack(1, "msg", -3, "2011-03-07", "14:05:33");
    const std::string line = lastLine();
    // The stack starts at the log call's own frame and lists its callers, one line each; the
    // message follows on a line of its own. (The cut is at the last mention of "LogMsgStack",
    // so no caller, this test included, may carry that text in its name.)
    EXPECT_EQ(line.rfind("[1] MemoryError: 2011-03-07 14:05:33 LogMsgStack\n", 0), 0u) << line;
    EXPECT_NE(line.find("LogCall_StackLineLayout_Test::TestBody"), std::string::npos) << line;
    EXPECT_EQ(line.substr(line.size() - 5), "\n\nmsg") << line;
    EXPECT_EQ(QV_GetLastError(), -3);
    LogMsgStack(4, "note", 0, nullptr, nullptr);
    EXPECT_EQ(lastLine().rfind("[4] LogMsgStack\n", 0), 0u) << lastLine();
    EXPECT_EQ(QV_GetLastError(), -3);
    LogMsgStack(1, "bare", 2, nullptr, nullptr);
    EXPECT_EQ(lastLine(), "bare");
    // A positive code still becomes the last error, with the bare message.
    char msg[QV_STRING_SIZE];
    EXPECT_EQ(QV_GetLastErrorMsg(msg), 2);
    EXPECT_STREQ(msg, "bare");
}

TEST_F(LogCall, LongMessagesAreCutTo511Characters) {
    const std::string longText(2000, 'x');
    LogMsgGeneric(1, -5, nullptr, "14:05:33", nullptr, "F", 1, "%s", longText.c_str());
    EXPECT_EQ(lastLine().size(), 511u);
}

}  // namespace
