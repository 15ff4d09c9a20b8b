// The file logger: names, banners, failed streams, reopening, and the change to a new file.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "QV_Tools.h"
#include "support/log_capture.h"
#include "system/platform.h"

namespace {

namespace fs = std::filesystem;
using qvtest::LogTest;

// Local times in the test zone (CET/CEST).
constexpr std::time_t k20110307_1405 = 1299503133;  // 2011-03-07 14:05:33
constexpr std::time_t k20110308_0001 = 1299538860;  // 2011-03-08 00:01:00

std::string slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

const std::string kStartup = "===============File-Logger startup at 14:05 - 2011-03-07===============\n";

class FileLogger : public LogTest {
protected:
    void SetUp() override {
        LogTest::SetUp();
        qv::platform::setTestClock(k20110307_1405);
        testing::internal::CaptureStdout();  // the StdOut exit banner of every deleted logger
    }
    void TearDown() override {
        testing::internal::GetCapturedStdout();
        qv::platform::clearTestClock();
        LogTest::TearDown();
    }
};

TEST_F(FileLogger, WritesBannersAndFilteredLines) {
    const fs::path file = tempDir() / "sub" / "dir" / "run.log";  // directories are created
    {
        CFileLogger logger(1, file.string(), -1);
        std::string a = "kept", b = "dropped";
        logger.LogMessage(1, a, -5);
        logger.LogMessage(2, b, -5);
        EXPECT_EQ(logger.GetFilePath(), file.string());
        EXPECT_EQ(logger.GetLoggerType(), 1);
    }
    EXPECT_EQ(slurp(file), kStartup + "kept\n" +
                               "===============File-Logger exit at 14:05 - 2011-03-07===============\n");
    // Deleting a file logger ends in the standard-output exit banner, too.
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "===================StdOut-Logger exit at 14:05 - 2011-03-07===================\n");
    testing::internal::CaptureStdout();  // for TearDown
}

TEST_F(FileLogger, NegativeLevelCreatesAnEmptyFile) {
    const fs::path file = tempDir() / "quiet.log";
    {
        CFileLogger logger(-1, file.string(), -1);
        std::string a = "x";
        logger.LogMessage(-2, a, 0);
    }
    ASSERT_TRUE(fs::exists(file));
    EXPECT_EQ(fs::file_size(file), 0u);
}

TEST_F(FileLogger, UnopenableFileIsReportedAndSilencesTheLogger) {
    const fs::path blocker = tempDir() / "blocker";
    std::ofstream(blocker) << "a file where a directory should be";
    const fs::path file = blocker / "run.log";
    {
        CFileLogger logger(1, file.string(), -1);
        EXPECT_LAST_FAILURE(1, -5, "CFileLogger::CFileLogger(18): could not open filestream for file logger");
        std::string a = "x";
        logger.LogMessage(0, a, 0);
        logger.QueryNewLogFile();
        logger.LogMessage(0, a, 0);  // a failed logger never opens a file again
        EXPECT_FALSE(logger.SaveFile(""));
    }
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(std::distance(fs::directory_iterator(tempDir()), fs::directory_iterator()), 1);
}

TEST_F(FileLogger, SaveFileThenNextLineAppends) {
    const fs::path file = tempDir() / "run.log";
    CFileLogger logger(3, file.string(), -1);
    std::string a = "before", b = "after";
    logger.LogMessage(1, a, 0);
    EXPECT_TRUE(logger.SaveFile("ignored name"));
    EXPECT_EQ(slurp(file), kStartup + "before\n");
    logger.LogMessage(1, b, 0);
    EXPECT_EQ(slurp(file), kStartup + "before\nafter\n");
}

TEST_F(FileLogger, NewDayContinuesInADoubleSeparatorFile) {
    const fs::path dir = tempDir() / "logs";
    const std::string path = dir.string() + "/run.log";
    CFileLogger logger(2, path, -1);
    std::string early = "early", filtered = "filtered", late = "late";
    logger.LogMessage(1, early, 0);

    qv::platform::setTestClock(k20110308_0001);
    logger.QueryNewLogFile();
    logger.LogMessage(5, filtered, 0);  // filtered out: the request stays pending
    EXPECT_EQ(logger.GetFilePath(), path);
    logger.LogMessage(1, late, 0);

    const std::string expected = dir.string() + "//2011-03-08__00_01_logfile.log";
    EXPECT_EQ(logger.GetFilePath(), expected);
    EXPECT_EQ(slurp(expected), "==*== it\xB4s a new Logger day - continuing file " + path + " ==*==\nlate\n");
    EXPECT_EQ(slurp(path), kStartup + "early\n");  // the old file gets neither note nor banner
}

TEST_F(FileLogger, IdLoggerNewFileCarriesTheId) {
    const std::string path = (tempDir() / "id.log").string();
    CFileLogger logger(2, path, 7);
    qv::platform::setTestClock(k20110308_0001);
    logger.QueryNewLogFile();
    std::string line = "x";
    logger.LogMessage(0, line, 0);
    EXPECT_EQ(logger.GetFilePath(), tempDir().string() + "//007__2011-03-08__00_01_logfile.log");
    EXPECT_TRUE(fs::exists(logger.GetFilePath()));
}

TEST_F(FileLogger, SetFilePathTakesEffectAtTheNextOpening) {
    const fs::path first = tempDir() / "first.log", second = tempDir() / "second.log";
    CFileLogger logger(2, first.string(), -1);
    logger.SetFilePath(second.string());
    std::string a = "still first", b = "now second";
    logger.LogMessage(0, a, 0);
    logger.SaveFile("");
    logger.LogMessage(0, b, 0);
    EXPECT_EQ(slurp(first), kStartup + "still first\n");
    EXPECT_EQ(slurp(second), "now second\n");
}

TEST_F(FileLogger, AutoEntryPointsNameFilesByDateAndTime) {
    const fs::path dir = tempDir();
    const int index = AddFileLoggerAuto(-1, dir.string().c_str());
    CStdLogger* logger = CLogManager::GetLogManager()->GetLogger(index);
    ASSERT_NE(logger, nullptr);
    ASSERT_EQ(logger->GetLoggerType(), 1);
    const std::string expected = dir.string() + "/2011-03-07__14_05_logfile.log";
    EXPECT_EQ(static_cast<CFileLogger*>(logger)->GetFilePath(), expected);
    EXPECT_TRUE(fs::exists(expected));

    AddIdFileLoggerAuto(-1, 12, dir.string().c_str());
    EXPECT_TRUE(fs::exists(dir.string() + "/012__2011-03-07__14_05_logfile.log"));
    EXPECT_TRUE(CLogManager::GetLogManager()->HasIdEntry(12));

    // The id entry point always names the file by the id pattern, a negative id included.
    AddIdFileLoggerAuto(-1, -3, dir.string().c_str());
    EXPECT_TRUE(fs::exists(dir.string() + "/-03__2011-03-07__14_05_logfile.log"));
}

TEST_F(FileLogger, QueryNewFileReachesListAndIdLoggers) {
    const fs::path dir = tempDir();
    const int index = AddFileLogger(7, (dir / "list.log").string().c_str());
    AddIdFileLogger(7, 5, (dir / "id5.log").string().c_str());
    qv::platform::setTestClock(k20110308_0001);
    FileLoggersQueryNewFile();
    LogMsg(1, "to the list", -1, nullptr, nullptr, nullptr, "F", 1);
    LogIDMsg(1, 5, "to id 5", -1, nullptr, nullptr, nullptr, "F", 1);
    auto* listLogger = static_cast<CFileLogger*>(CLogManager::GetLogManager()->GetLogger(index));
    EXPECT_EQ(listLogger->GetFilePath(), dir.string() + "//2011-03-08__00_01_logfile.log");
    const std::string idFile = dir.string() + "//005__2011-03-08__00_01_logfile.log";
    ASSERT_TRUE(fs::exists(idFile));
    EXPECT_NE(slurp(idFile).find("[1] UnknownError: F::1: to id 5\n"), std::string::npos);
    // The list logger stays for the rest of the binary: silence it (the id logger is only
    // reached through id 5, which nothing else uses).
    listLogger->SetLogLevel(-1);
}

}  // namespace
