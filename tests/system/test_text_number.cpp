// Number and text helpers, including their deliberate oddities.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "QV_Tools.h"
#include "support/log_capture.h"

namespace {

class TextNumber : public qvtest::LogTest {};

TEST_F(TextNumber, NumberToTextFormats) {
    char out[64];
    EXPECT_EQ(itoc(-42, out), 0);
    EXPECT_STREQ(out, "-42");
    EXPECT_EQ(uitoc(4294967295u, out), 0);
    EXPECT_STREQ(out, "4294967295");
    EXPECT_EQ(lltoc(-9000000000LL, out), 0);
    EXPECT_STREQ(out, "-9000000000");
    EXPECT_EQ(ulltoc(18446744073709551615ULL, out), 0);
    EXPECT_STREQ(out, "18446744073709551615");
    EXPECT_EQ(dtoc(2.71828, 3, out), 0);
    EXPECT_STREQ(out, "2.718");
    EXPECT_EQ(ftoc(0.5f, 2, out), 0);
    EXPECT_STREQ(out, "0.50");
    EXPECT_EQ(itos(17), "17");

    char* p = itocp(123);
    EXPECT_STREQ(p, "123");
    QV_Release(p);
    p = itohexcp(0xBEEFu);
    EXPECT_STREQ(p, "0x0000beef");
    QV_Release(p);
    p = dtocp(1234567.891, 2);
    EXPECT_STREQ(p, "1234567.89");
    QV_Release(p);
    p = ftocp(1.25f, 1);
    EXPECT_STREQ(p, "1.2");  // round-half-even of the binary value, as printf does
    QV_Release(p);
}

TEST_F(TextNumber, NullOutputsAreReportedWithTheirLines) {
    struct Case {
        int result;
        const char* text;
    };
    const Case cases[] = {
        {itoc(1, nullptr), "itoc(129): output parameter is NULL"},
        {uitoc(1, nullptr), "uitoc(139): output parameter is NULL"},
        {lltoc(1, nullptr), "lltoc(150): output parameter is NULL"},
        {ulltoc(1, nullptr), "ulltoc(160): output parameter is NULL"},
        {dtoc(1, 1, nullptr), "dtoc(277): output parameter is NULL"},
        {ftoc(1, 1, nullptr), "ftoc(288): output parameter is NULL"},
        {AllCharsEqual(nullptr), "AllCharsEqual(452): source string is NULL"},
        {FindDifferentChar(nullptr, 'a'), "FindDifferentChar(432): source string is NULL"},
        {replaceChar(nullptr, 'a', 'b'), "replaceChar(475): source string is NULL"},
        {RemoveTrailingSpaces(nullptr), "RemoveTrailingSpaces(514): string is NULL"},
        {strToUpper(nullptr, nullptr), "strToUpper(704): input is NULL"},
    };
    const auto& all = logs();
    ASSERT_EQ(all.size(), std::size(cases));
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(cases[i].result, -2);
        EXPECT_EQ(all[i].level, 1);
        EXPECT_EQ(all[i].code, -2);
        EXPECT_EQ(withoutTime(all[i].line), cases[i].text);
    }
}

TEST_F(TextNumber, TextToNumber) {
    EXPECT_EQ(hextol("ff"), 255);
    EXPECT_EQ(hextol("0x1A"), 26);
    EXPECT_EQ(cptoll(" \t-123abc"), -123);
    EXPECT_EQ(cptoll("+77"), 77);
    EXPECT_EQ(cptoll("abc"), 0);
    EXPECT_EQ(cptoll("- 5"), 0);
    double v = 0;
    EXPECT_TRUE(isNumeric("12abc", &v));  // trailing text accepted on purpose
    EXPECT_EQ(v, 12.0);
    EXPECT_FALSE(isNumeric("abc", &v));
    EXPECT_FALSE(isNumeric("", &v));
    EXPECT_FALSE(isNumeric(nullptr, &v));
    EXPECT_TRUE(isNumeric("-1e3", nullptr));
}

TEST_F(TextNumber, TestsAndEdits) {
    EXPECT_EQ(AllCharsEqual("aaaa"), 1);
    EXPECT_EQ(AllCharsEqual(""), 1);
    EXPECT_EQ(AllCharsEqual("aab"), 0);
    EXPECT_EQ(FindDifferentChar("xxx", 'x'), 0);
    EXPECT_EQ(FindDifferentChar("", 'x'), 0);
    EXPECT_EQ(FindDifferentChar("xxy", 'x'), 1);

    char text[] = "a-b-c";
    EXPECT_EQ(replaceChar(text, '-', '+'), 2);
    EXPECT_STREQ(text, "a+b+c");
    EXPECT_EQ(replaceChar(text, '+', '+'), 0);

    char both[] = " ab ";
    EXPECT_EQ(RemoveTrailingSpaces(both), 2);
    EXPECT_STREQ(both, "ab");
    char trailingOnly[] = "ab ";
    EXPECT_EQ(RemoveTrailingSpaces(trailingOnly), -5);
    EXPECT_STREQ(trailingOnly, "ab ");
    char leading[] = "  ab";
    EXPECT_EQ(RemoveTrailingSpaces(leading), 1);  // only one space goes
    EXPECT_STREQ(leading, " ab");
    // At most 511 characters are kept after the leading space.
    std::string longText = " " + std::string(600, 'x');
    EXPECT_EQ(RemoveTrailingSpaces(longText.data()), 1);
    EXPECT_EQ(std::strlen(longText.c_str()), 511u);
    char tiny[] = " ";
    EXPECT_EQ(RemoveTrailingSpaces(tiny), -5);
    EXPECT_EQ(count(), 0u);  // no message for -5
}

TEST_F(TextNumber, CaseHelpers) {
    EXPECT_EQ(strcmpLower("HeLLo", "hello"), 0);
    EXPECT_LT(strcmpLower("a", "B"), 0);
    const char* same = "x";
    EXPECT_EQ(strcmpLower(same, same), 0);
    EXPECT_EQ(strcmpLower(nullptr, "x"), -1);
    EXPECT_EQ(strcmpLower("x", nullptr), -1);
    EXPECT_TRUE(isAlpha('q'));
    EXPECT_FALSE(isAlpha('1'));
    EXPECT_FALSE(isAlpha('\0'));
    EXPECT_TRUE(isAlphaNum('7'));
    EXPECT_FALSE(isAlphaNum('-'));

    char target[8] = {};
    EXPECT_EQ(strToUpper("abC1", target), 4);
    EXPECT_STREQ(target, "ABC1");
    char inPlace[] = "MiXed";
    EXPECT_EQ(strToLower(inPlace, nullptr), 5);
    EXPECT_STREQ(inPlace, "mixed");
}

TEST_F(TextNumber, TokenizeKeepsEmptyFields) {
    using V = std::vector<std::string>;
    EXPECT_EQ(Tokenize("a;b;c", ";"), (V{"a", "b", "c"}));
    EXPECT_EQ(Tokenize("a;;c", ";"), (V{"a", "", "c"}));
    EXPECT_EQ(Tokenize("a;b;", ";"), (V{"a", "b", ""}));
    EXPECT_EQ(Tokenize("a,b;c", ",;"), (V{"a", "b", "c"}));
    EXPECT_EQ(Tokenize("", ";"), V{});
    EXPECT_EQ(Tokenize("abc", ";"), V{"abc"});
}

TEST_F(TextNumber, TokenizeStringResultsAndFailures) {
    char** pieces = tokenizeString("a b,c", " ,");
    ASSERT_NE(pieces, nullptr);
    EXPECT_STREQ(pieces[0], "a");
    EXPECT_STREQ(pieces[1], "b");
    EXPECT_STREQ(pieces[2], "c");
    EXPECT_EQ(pieces[3], nullptr);
    for (char** p = pieces; *p; ++p) QV_Release(*p);
    QV_Release(pieces);

    EXPECT_EQ(tokenizeString(nullptr, ","), nullptr);
    EXPECT_LAST_FAILURE(1, -2, "tokenizeString(376): source string or delimiters string is NULL");
    EXPECT_EQ(tokenizeString("a,b", nullptr), nullptr);
    EXPECT_LAST_FAILURE(1, -2, "tokenizeString(376): source string or delimiters string is NULL");
    EXPECT_EQ(tokenizeString("", ","), nullptr);
    EXPECT_LAST_FAILURE(2, -5, "tokenizeString(388): source string or delimiters is empty");
    EXPECT_EQ(tokenizeString("a,b", ""), nullptr);
    EXPECT_LAST_FAILURE(2, -5, "tokenizeString(388): source string or delimiters is empty");
    EXPECT_EQ(tokenizeString("abc", ";"), nullptr);
    EXPECT_LAST_FAILURE(1, -5, "tokenizeString(398): could not find any of the tokens \";\" in string \"abc\"");
}

TEST_F(TextNumber, NumericUtilities) {
    EXPECT_DOUBLE_EQ(rad2deg(M_PI), 180.0);
    EXPECT_EQ(qv_sin(0.5), std::sin(0.5));
    EXPECT_EQ(round(2.345, 2), 2.35);
    EXPECT_EQ(round(2.5, 0), 3.0);
    EXPECT_EQ(round(-2.5, 0), -2.0);  // half up
    EXPECT_EQ(round(0.123456789, 12), 0.12345679);  // digits above 8 count as 8

    const double values[] = {3, 1, 1, 5, 5};
    double v = 0;
    unsigned i = 99;
    EXPECT_EQ(Min1D(values, 5, &v, &i), 0);
    EXPECT_EQ(v, 1);
    EXPECT_EQ(i, 1u);
    EXPECT_EQ(Max1D(values, 5, &v, &i), 0);
    EXPECT_EQ(v, 5);
    EXPECT_EQ(i, 3u);
    EXPECT_EQ(Min1D(values, 0, &v, &i), -5);
    EXPECT_LAST_FAILURE(1, -5, "Min1D(225): need at least one value");
    EXPECT_EQ(Max1D(values, 0, &v, &i), -5);
    EXPECT_LAST_FAILURE(1, -5, "Max1D(257): need at least one value");

    EXPECT_EQ(clampIntValue(5, 10, 0), 0);  // below lo: the smaller bound
    EXPECT_EQ(clampIntValue(15, 0, 10), 10);
    EXPECT_EQ(clampIntValue(-3, 0, 10), 0);
    EXPECT_EQ(clampIntValue(7, 0, 10), 7);
    EXPECT_EQ(clampDoubleValue(20.0, 10.0, 0.0), 10.0);  // above hi: the larger bound
    EXPECT_EQ(clampIntValueSet(11, 0, 10, -1), -1);
    EXPECT_EQ(clampIntValueSet(10, 0, 10, -1), 10);
    EXPECT_TRUE(isNan(std::nan("")));
    EXPECT_FALSE(isNan(1.0));
}

}  // namespace
