// Date and time texts and conversions in local time (the test zone is CET/CEST).
#include <gtest/gtest.h>

#include <cstring>

#include "QV_Tools.h"
#include "support/log_capture.h"
#include "system/platform.h"

namespace {

constexpr long long k20110307_140533 = 1299503133;

class DateTime : public qvtest::LogTest {
protected:
    void TearDown() override {
        qv::platform::clearTestClock();
        LogTest::TearDown();
    }
};

TEST_F(DateTime, CurrentTextsUseSharedBuffers) {
    qv::platform::setTestClock(k20110307_140533);
    EXPECT_EQ(currentTimestamp(), k20110307_140533);
    EXPECT_STREQ(currentDateEn(), "2011-03-07");
    EXPECT_STREQ(currentDateDe(), "07-03-11");
    EXPECT_STREQ(currentTime('_'), "14_05");
    const char* detail = currentTimeDetail(':');
    EXPECT_STREQ(detail, "14:05:33");
    EXPECT_EQ(currentTimeDetail('.'), detail);  // the same buffer, overwritten
    EXPECT_STREQ(detail, "14.05.33");
}

TEST_F(DateTime, TimestampFromTimeValidatesAndNormalises) {
    EXPECT_EQ(timestampFromTime(2011, 3, 7, 14, 5, 33), k20110307_140533);
    EXPECT_EQ(timestampFromTime(2011, 1, 32, 0, 0, 0), timestampFromTime(2011, 2, 1, 0, 0, 0));
    // Summer time: the second conversion uses the zone's daylight-saving flag (CEST, UTC+2).
    EXPECT_EQ(timestampFromTime(2011, 7, 1, 12, 0, 0), 1309514400);
    EXPECT_EQ(timestampFromTime(2011, 0, 1, 0, 0, 0), -5);
    EXPECT_LAST_FAILURE(1, -5, "timestampFromTime(164): month must be in [0..12]");
    EXPECT_EQ(timestampFromTime(2011, 13, 1, 0, 0, 0), -5);
    EXPECT_EQ(timestampFromTime(2011, 1, 1, 24, 0, 0), -5);
    EXPECT_LAST_FAILURE(1, -5, "timestampFromTime(168): hour must be in [0..23]");
    EXPECT_EQ(timestampFromTime(2011, 1, 1, -1, 0, 0), -5);
    EXPECT_EQ(timestampFromTime(1800, 1, 1, 0, 0, 0), -5);
    EXPECT_LAST_FAILURE(1, -5, "timestampFromTime(187): time info invalid");
}

TEST_F(DateTime, TimestampToFieldsAndTexts) {
    int y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    EXPECT_EQ(dateTimeFromTimestamp(k20110307_140533, &y, &mo, &d, &h, &mi, &s), 0);
    EXPECT_EQ(y, 2011);
    EXPECT_EQ(mo, 3);
    EXPECT_EQ(d, 7);
    EXPECT_EQ(h, 14);
    EXPECT_EQ(mi, 5);
    EXPECT_EQ(s, 33);
    EXPECT_EQ(dateTimeFromTimestamp(k20110307_140533, nullptr, nullptr, nullptr, nullptr, nullptr, &s), 0);

    char date[16], time[16], hm[16];
    EXPECT_EQ(dateTimeStrFromTimestamp(k20110307_140533, date, '.', time, '-', hm), 0);
    EXPECT_STREQ(date, "2011.03.07");
    EXPECT_STREQ(time, "14-05-33");
    EXPECT_STREQ(hm, "14-05");
    EXPECT_EQ(dateTimeStrFromTimestamp(0, date, '.', nullptr, ':', nullptr), -5);
    EXPECT_LAST_FAILURE(1, -5, "dateTimeStrFromTimestamp(116): timestamp invalid");

    std::tm t{};
    t.tm_year = 111;
    t.tm_mon = 2;
    t.tm_mday = 7;
    t.tm_hour = 14;
    t.tm_min = 5;
    t.tm_sec = 33;
    t.tm_isdst = -1;
    EXPECT_EQ(timestampFromTM(&t), k20110307_140533);
}

TEST_F(DateTime, ParsingDateAndTimeTexts) {
    int a = -1, b = -1, c = -1;
    EXPECT_EQ(dateFromDateStr("2011-03-07", '-', &a, &b, &c), 0);
    EXPECT_EQ(a, 2011);
    EXPECT_EQ(b, 3);
    EXPECT_EQ(c, 7);
    EXPECT_EQ(dateFromDateStr("07.03.2011.extra", '.', &a, nullptr, &c), 0);
    EXPECT_EQ(a, 7);
    EXPECT_EQ(c, 2011);
    EXPECT_EQ(dateFromDateStr("2011-03-07", '.', &a, &b, &c), -5);
    EXPECT_LAST_FAILURE(1, -5, "dateFromDateStr(53): could not extract date from string: 2011-03-07");
    EXPECT_EQ(dateFromDateStr(nullptr, '-', &a, &b, &c), -2);
    EXPECT_LAST_FAILURE(1, -2, "dateFromDateStr(42): date string is NULL");

    int h = -1, m = -1, s = 99;
    EXPECT_EQ(timeFromTimeStr("14:05", ':', &h, &m, &s), 0);
    EXPECT_EQ(h, 14);
    EXPECT_EQ(m, 5);
    EXPECT_EQ(s, 99);  // untouched without a third piece
    EXPECT_EQ(timeFromTimeStr("14:05:09", ':', &h, &m, &s), 0);
    EXPECT_EQ(s, 9);
    EXPECT_EQ(timeFromTimeStr("1405", ':', &h, &m, &s), -5);
    EXPECT_LAST_FAILURE(1, -5, "timeFromTimeStr(92): could not extract time from string: 1405");
    EXPECT_EQ(timeFromTimeStr(nullptr, ':', &h, &m, &s), -2);
    EXPECT_LAST_FAILURE(1, -2, "timeFromTimeStr(81): time string is NULL");
}

TEST_F(DateTime, CipherPlaceholders) {
    char text[] = "secret";
    EXPECT_EQ(QV_EnDecryptText(text, 6), -9);
    EXPECT_STREQ(text, "secret");
    EXPECT_LAST_FAILURE(1, -9, "QV_EnDecryptText(39): cryptlib support not activated");
    EXPECT_EQ(QV_Crypto_EncryptFile("a", "b"), -9);
    EXPECT_LAST_FAILURE(1, -9, "QV_Crypto_EncryptFile(84): cryptlib support not activated");
    EXPECT_EQ(QV_Crypto_DecryptFile("a", "b"), -9);
}

}  // namespace
