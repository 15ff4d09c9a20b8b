// The log manager, the standard-output and callback loggers: level filters, banners, id map.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QV_Tools.h"
#include "support/log_capture.h"
#include "system/platform.h"

namespace {

using qvtest::LogTest;

struct Received {
    int level;
    std::string line;
    int code;
};
std::vector<Received> g_received;
void remember(int level, const char* line, int code) { g_received.push_back({level, line, code}); }

class Loggers : public LogTest {
protected:
    void SetUp() override {
        LogTest::SetUp();
        g_received.clear();
        // 7 March 2011, 14:05:33 local time (the test zone is CET).
        qv::platform::setTestClock(1299503133);
    }
    void TearDown() override {
        qv::platform::clearTestClock();
        LogTest::TearDown();
    }
};

TEST_F(Loggers, StdOutLevelFilter) {
    CStdLogger logger(2, 0, -1);
    std::string lines[] = {"L0", "L1", "L2", "L3"};
    testing::internal::CaptureStdout();
    for (int level = 0; level < 4; ++level) logger.LogMessage(level, lines[level], -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "L0\nL1\nL2\n");
}

TEST_F(Loggers, StdOutExitBannerAndNegativeLevel) {
    testing::internal::CaptureStdout();
    { CStdLogger logger(0, 0, -1); }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "===================StdOut-Logger exit at 14:05 - 2011-03-07===================\n");

    testing::internal::CaptureStdout();
    {
        CStdLogger silent(-1, 0, -1);
        std::string line = "x";
        silent.LogMessage(-5, line, -1);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(Loggers, CallbackBannersAndFilter) {
    testing::internal::CaptureStdout();
    {
        CCallbackLogger logger(1, &remember);
        std::string a = "one", b = "two";
        logger.LogMessage(1, a, -5);
        logger.LogMessage(2, b, -5);  // above the logger's level
    }
    const std::string out = testing::internal::GetCapturedStdout();
    ASSERT_EQ(g_received.size(), 3u);
    EXPECT_EQ(g_received[0].level, 0);
    EXPECT_EQ(g_received[0].code, 0);
    EXPECT_EQ(g_received[0].line,
              "=================Callback-Logger startup at 14:05 - 2011-03-07==================");
    EXPECT_EQ(g_received[1].line, "one");
    EXPECT_EQ(g_received[1].code, -5);
    EXPECT_EQ(g_received[2].line,
              "=================Callback-Logger exit at 14:05 - 2011-03-07==================");
    // Every logger's destruction ends in the standard-output exit banner.
    EXPECT_EQ(out, "===================StdOut-Logger exit at 14:05 - 2011-03-07===================\n");
}

TEST_F(Loggers, CallbackWithNegativeLevelOrNoCallbackIsSilent) {
    testing::internal::CaptureStdout();
    {
        CCallbackLogger logger(-1, &remember);
        std::string a = "x";
        logger.LogMessage(-3, a, 0);
        CCallbackLogger none(3, nullptr);
        none.LogMessage(0, a, 0);
    }
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(g_received.empty());
}

TEST_F(Loggers, ManagerListIndexesAndLookup) {
    testing::internal::CaptureStdout();  // the exit banners of the destructor
    {
    CLogManager manager;
    EXPECT_EQ(manager.GetLogger(0), nullptr);  // empty: no wrap-around
    EXPECT_EQ(manager.GetLogger(-1), nullptr);
    auto* first = new CCallbackLogger(5, &remember);
    auto* second = new CCallbackLogger(5, &remember);
    EXPECT_EQ(manager.AddLogger(first), 0);
    EXPECT_EQ(manager.AddLogger(second), 1);
    EXPECT_EQ(manager.GetLogger(1), second);
    EXPECT_EQ(manager.GetLogger(2), nullptr);
    g_received.clear();
    std::string line = "fan out";
    manager.LogMessage(3, line, -1);
    EXPECT_EQ(g_received.size(), 2u);
    }
    testing::internal::GetCapturedStdout();
}

TEST_F(Loggers, AcceptsLevelFollowsTheListLoggersFilters) {
    testing::internal::CaptureStdout();
    {
        CLogManager manager;
        EXPECT_FALSE(manager.AcceptsLevel(0));
        manager.AddLogger(new CStdLogger(-1, 0, -1));  // takes nothing, even negative levels
        EXPECT_FALSE(manager.AcceptsLevel(-3));
        manager.AddIdLogger(new CStdLogger(9, 0, -1), 1);  // id loggers do not count
        EXPECT_FALSE(manager.AcceptsLevel(0));
        manager.AddLogger(new CStdLogger(2, 0, -1));
        EXPECT_TRUE(manager.AcceptsLevel(2));
        EXPECT_TRUE(manager.AcceptsLevel(-1));
        EXPECT_FALSE(manager.AcceptsLevel(3));
    }
    testing::internal::GetCapturedStdout();
}

TEST_F(Loggers, ManagerIdMapReplacesAndWalksIds) {
    testing::internal::CaptureStdout();
    {
        CLogManager manager;
        auto* a = new CCallbackLogger(5, &remember);
        auto* b = new CCallbackLogger(5, &remember);
        EXPECT_EQ(manager.AddIdLogger(a, 3), 1);
        EXPECT_EQ(manager.AddIdLogger(b, 3), 1);  // replaces a without deleting it
        g_received.clear();
        std::string line = "to id 3";
        manager.LogIdMessage(1, line, -1, 3);
        ASSERT_EQ(g_received.size(), 1u);
        manager.LogIdMessage(1, line, -1, 9);  // unknown: nothing, but an entry appears
        EXPECT_EQ(g_received.size(), 1u);
        EXPECT_EQ(manager.IdMapSize(), 2);
        manager.FileLoggersQueryNewFile();
        // Entries 0..largest exist afterwards.
        for (int id = 0; id <= 9; ++id) EXPECT_TRUE(manager.HasIdEntry(id)) << id;
        EXPECT_EQ(manager.IdMapSize(), 10);
        delete a;  // unreachable after the replacement; the test cleans it up itself
    }
    testing::internal::GetCapturedStdout();
}

TEST_F(Loggers, IdWalkEndsWithNegativeIds) {
    testing::internal::CaptureStdout();
    {
        CLogManager manager;
        manager.AddIdLogger(new CCallbackLogger(5, &remember), -4);
        manager.AddIdLogger(new CCallbackLogger(5, &remember), 2);
        manager.FileLoggersQueryNewFile();
        EXPECT_EQ(manager.IdMapSize(), 4);  // -4, 0, 1, 2
        EXPECT_FALSE(manager.HasIdEntry(3));
    }
    testing::internal::GetCapturedStdout();
}

TEST_F(Loggers, SetLogLevelChangesNothing) {
    const int index = AddCallbackLogger(1, &remember);
    SetLogLevel(9);
    CLogManager::GetLogManager()->SetLogLevel(9);
    g_received.clear();
    LogMsg(2, "level two", -1, nullptr, nullptr, nullptr, "F", 1);
    EXPECT_TRUE(g_received.empty());
    EXPECT_EQ(CLogManager::GetLogManager()->GetLogger(index)->GetLogLevel(), 1);
    // The process-wide capture logger did get it.
    EXPECT_EQ(lastLine(), "[2] UnknownError: F::1: level two");
}

}  // namespace
