// The value parser: every type from its text form, the oddities kept on purpose, the messages
// of incomplete point and rectangle texts, and the types without a value.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>

#include "QV_Tools.h"
#include "support/log_capture.h"
#include "support/log_capture.h"

namespace {

using qvtest::LogTest;

class ValueParse : public LogTest {
protected:
    // Parses and keeps the plain value for release after the test.
    template <typename T>
    T parsed(const char* text, int type) {
        void* value = ParseData(text, type);
        EXPECT_NE(value, nullptr) << text << " as " << type;
        if (!value) return T{};
        T out;
        std::memcpy(&out, value, sizeof out);
        std::free(value);
        return out;
    }
};

TEST_F(ValueParse, IntegerLikeTypes) {
    EXPECT_EQ(parsed<int>("12", eInt), 12);
    EXPECT_EQ(parsed<int>("-7", eBool), -7);
    EXPECT_EQ(parsed<int>("3", eOptionList), 3);
    EXPECT_EQ(parsed<int>("12abc", eOptionListMulti), 12);
    EXPECT_EQ(parsed<int>("abc", eInt), 0);
    EXPECT_EQ(parsed<int>("ff", eHexInt), 255);
    EXPECT_EQ(parsed<int>("0XFF", eHexInt), 255);
    EXPECT_EQ(parsed<int>("0XFFFFFFFF", eHexInt), -1);
    EXPECT_EQ(parsed<std::int16_t>("-300", eShort), -300);
    EXPECT_EQ(parsed<std::int16_t>("65537", eShort), 1);  // stored as 16 bits
    EXPECT_EQ(count(), 0u);
}

TEST_F(ValueParse, CharIsAlwaysZero) {
    for (const char* text : {"65", "-1", "x", ""}) {
        void* value = ParseData(text, eChar);
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(*static_cast<char*>(value), 0) << text;
        std::free(value);
    }
}

TEST_F(ValueParse, FloatingTypes) {
    EXPECT_FLOAT_EQ(parsed<float>("1.25", eFloat), 1.25f);
    EXPECT_DOUBLE_EQ(parsed<double>("-2.0000000001", eDouble), -2.0000000001);
    EXPECT_DOUBLE_EQ(parsed<double>("x", eDouble), 0.0);
}

TEST_F(ValueParse, StringsAreCopiedAndCutTo511) {
    char* value = static_cast<char*>(ParseData("hello world", eString));
    ASSERT_NE(value, nullptr);
    EXPECT_STREQ(value, "hello world");
    EXPECT_EQ(value[QV_STRING_SIZE - 1], '\0');
    std::free(value);
    const std::string longText(600, 'q');
    value = static_cast<char*>(ParseData(longText.c_str(), eString));
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(std::string(value), longText.substr(0, 511));
    std::free(value);
}

TEST_F(ValueParse, PointsAndRectanglesFromTheirTextForms) {
    const QVPoint2f p2f = parsed<QVPoint2f>("1.500000;2.000000", eFloatPoint2d);
    EXPECT_FLOAT_EQ(p2f.x, 1.5f);
    EXPECT_FLOAT_EQ(p2f.y, 2.0f);
    const QVPoint3i p3i = parsed<QVPoint3i>("1;-2;3", eIntPoint3d);
    EXPECT_EQ(p3i.x, 1);
    EXPECT_EQ(p3i.y, -2);
    EXPECT_EQ(p3i.z, 3);
    const QVPoint3f p3f = parsed<QVPoint3f>("0.5;-1;2e3", eFloatPoint3d);
    EXPECT_FLOAT_EQ(p3f.x, 0.5f);
    EXPECT_FLOAT_EQ(p3f.y, -1.0f);
    EXPECT_FLOAT_EQ(p3f.z, 2000.0f);
    const QVRect r = parsed<QVRect>("1;2;3;4", eQVRect);
    EXPECT_EQ(r.x, 1);
    EXPECT_EQ(r.y, 2);
    EXPECT_EQ(r.width, 3);
    EXPECT_EQ(r.height, 4);
    const QVRectF rf = parsed<QVRectF>("0.250000;1.000000;-2.500000;8.000000", eQVRectF);
    EXPECT_FLOAT_EQ(rf.x, 0.25f);
    EXPECT_FLOAT_EQ(rf.y, 1.0f);
    EXPECT_FLOAT_EQ(rf.width, -2.5f);
    EXPECT_FLOAT_EQ(rf.height, 8.0f);
    EXPECT_EQ(count(), 0u);
}

// What DataToString writes (precision 10, as the tree files use) parses back to the same bytes
// for every type whose parse is not odd on purpose.
TEST_F(ValueParse, RoundTripThroughTheTextForm) {
    const int i = -123456;
    const int hex = static_cast<int>(0xDEADBEEF);
    const std::int16_t s = -32000;
    const float f = -0.15625f;
    const double d = 12345.0625;
    char str[QV_STRING_SIZE] = "a text; with \"quotes\"";
    const QVPoint2f p2f = {1.5f, -2.25f};
    const QVPoint3i p3i = {-1, 0, 2147483647};
    const QVPoint3f p3f = {0.5f, 100.0f, -3.0f};
    const QVRect r = {-5, 6, 700, 80};
    const QVRectF rf = {0.25f, -1.5f, 1024.0f, 0.125f};
    struct Case {
        int type;
        const void* value;
        std::size_t size;
    };
    const Case cases[] = {
        {eInt, &i, sizeof i},       {eBool, &i, sizeof i},       {eOptionList, &i, sizeof i},
        {eOptionListMulti, &i, sizeof i}, {eHexInt, &hex, sizeof hex}, {eShort, &s, sizeof s},
        {eFloat, &f, sizeof f},     {eDouble, &d, sizeof d},     {eString, str, sizeof str},
        {eFloatPoint2d, &p2f, sizeof p2f}, {eIntPoint3d, &p3i, sizeof p3i},
        {eFloatPoint3d, &p3f, sizeof p3f}, {eQVRect, &r, sizeof r}, {eQVRectF, &rf, sizeof rf},
    };
    for (const Case& c : cases) {
        char text[QV_STRING_SIZE];
        ASSERT_EQ(DataToString(c.value, c.type, 10, text), 0) << c.type;
        void* value = ParseData(text, c.type);
        ASSERT_NE(value, nullptr) << c.type;
        EXPECT_EQ(std::memcmp(value, c.value, c.size), 0) << c.type << " from " << text;
        std::free(value);
    }
    EXPECT_EQ(count(), 0u);
}

TEST_F(ValueParse, IntPoint2dGoesThroughFloatVariables) {
    // Kept on purpose: ordinary integers are read as float bit patterns and truncate to 0.
    const QVPoint2i small = parsed<QVPoint2i>("1;2", eIntPoint2d);
    EXPECT_EQ(small.x, 0);
    EXPECT_EQ(small.y, 0);
    EXPECT_EQ(count(), 0u);
    // 0x4B000000 is the float 8388608, 0x3FC00000 the float 1.5.
    const QVPoint2i wide = parsed<QVPoint2i>("1258291200;1069547520", eIntPoint2d);
    EXPECT_EQ(wide.x, 8388608);
    EXPECT_EQ(wide.y, 1);
    // Bit patterns of NaN or of floats beyond the integer range do not convert; they give INT_MIN.
    const QVPoint2i odd = parsed<QVPoint2i>("2143289344;1602224128", eIntPoint2d);
    EXPECT_EQ(odd.x, INT32_MIN);
    EXPECT_EQ(odd.y, INT32_MIN);
}

TEST_F(ValueParse, DoublePointsHoldFloatBitsInTheirLowBytes) {
    const QVPoint2d p2 = parsed<QVPoint2d>("1.5;-2", eDoublePoint2d);
    std::uint64_t bits;
    std::memcpy(&bits, &p2.x, sizeof bits);
    EXPECT_EQ(bits, 0x3FC00000u);
    std::memcpy(&bits, &p2.y, sizeof bits);
    EXPECT_EQ(bits, 0xC0000000u);
    EXPECT_LT(p2.x, 1e-300);  // in effect 0
    const QVPoint3d p3 = parsed<QVPoint3d>("1;2;0", eDoublePoint3d);
    std::memcpy(&bits, &p3.y, sizeof bits);
    EXPECT_EQ(bits, 0x40000000u);
    EXPECT_EQ(p3.z, 0.0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(ValueParse, IncompleteTextsLogAndStillGiveTheValue) {
    const QVPoint3i p3i = parsed<QVPoint3i>("1.5", eIntPoint3d);
    EXPECT_FAILED(2, -5, "ParseData", "could not parse QV_Point3i correctly");
    EXPECT_EQ(p3i.x, 1);
    EXPECT_EQ(p3i.y, 0);
    EXPECT_EQ(p3i.z, 0);

    struct Case {
        int type;
        const char* text;
        const char* message;
    };
    const Case cases[] = {
        {eIntPoint2d, "7", "could not parse QV_RectF correctly"},
        {eFloatPoint2d, "1.5;", "could not parse QV_RectF correctly"},
        {eQVRect, "1;2;3", "could not parse QV_RectF correctly"},
        {eQVRectF, "", "could not parse QV_RectF correctly"},
        {eFloatPoint3d, "1;2", "could not parse eFloatPoint3d correctly"},
        {eDoublePoint3d, "x", "could not parse eFloatPoint3d correctly"},
        {eDoublePoint2d, "1", "could not parse eDoublePoint2d correctly"},
    };
    for (const Case& c : cases) {
        qvtest::clear();
        void* value = ParseData(c.text, c.type);
        EXPECT_NE(value, nullptr) << c.type;
        EXPECT_EQ(count(), 1u) << c.type;
        EXPECT_FAILED(2, -5, "ParseData", c.message);
        std::free(value);
    }
    const QVRect r = parsed<QVRect>("9;8", eQVRect);
    EXPECT_EQ(r.x, 9);
    EXPECT_EQ(r.y, 8);
    EXPECT_EQ(r.width, 0);
    EXPECT_EQ(r.height, 0);
}

TEST_F(ValueParse, TypesWithoutValue) {
    for (int type : std::initializer_list<int>{eNoData, eUndef, eRefToNode, eQVProperty, eQVPropertyList, eLocNode, eUserData,
                     -23, -27, 0, 5, -30, -1000}) {
        EXPECT_EQ(ParseData("1", type), nullptr) << type;
    }
    EXPECT_EQ(count(), 0u);
    // A missing text gives no value rather than a crash, for every type that reads one.
    for (int type = -29; type <= -1; ++type) {
        if (type == eChar || type == eQVBinaryData) continue;
        EXPECT_EQ(ParseData(nullptr, type), nullptr) << type;
    }
}

TEST_F(ValueParse, BinaryDataIsARecordNamedByTheText) {
    auto* record = static_cast<QVBinaryData*>(ParseData("blob_0001.bin", eQVBinaryData));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->data, nullptr);
    EXPECT_EQ(record->size, 0);
    EXPECT_STREQ(record->name, "blob_0001.bin");
    EXPECT_EQ(ReleaseBinaryData(record, 1), 0);
}

TEST_F(ValueParse, ArraysReadBackWhatTheWriterWrites) {
    QVArray* source = CreateArray(eInt, 0, 0);
    for (int i = -3; i < 20; ++i) AppendIntValue(source, i * 7);
    char text[QV_STRING_SIZE];
    ASSERT_EQ(DataToString(source, eQVArray, 0, text), 0);
    ASSERT_EQ(std::string(text, 3), "-4\n");
    auto* array = static_cast<QVArray*>(ParseData(text, eQVArray));
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(array->dataType, eInt);
    ASSERT_EQ(array->count, source->count);
    for (int i = 0; i < array->count; ++i)
        EXPECT_EQ(*static_cast<int*>(GetValue(array, i)), *static_cast<int*>(GetValue(source, i)));
    ReleaseArray(array, 1);
    ReleaseArray(source, 1);

    array = static_cast<QVArray*>(ParseData("-3\n1;0;1\n", eQVArray));
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(array->dataType, eBool);
    EXPECT_EQ(array->count, 3);
    ReleaseArray(array, 1);

    // An empty element list is an empty array.
    array = static_cast<QVArray*>(ParseData("-7\n", eQVArray));
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(array->count, 0);
    ReleaseArray(array, 1);
}

TEST_F(ValueParse, ArraysThatCannotBeMade) {
    EXPECT_EQ(ParseData("-4", eQVArray), nullptr);          // no newline
    EXPECT_EQ(ParseData("", eQVArray), nullptr);
    EXPECT_EQ(count(), 0u);
    // Element types without a size: the size call logs, the result is null.
    EXPECT_EQ(ParseData("-28\n1 2\n", eQVArray), nullptr);
    EXPECT_FAILED(1, -5, "GetTypeSize", "cannot achieve size of unknown datatype");
    EXPECT_EQ(ParseData("x\n1;2\n", eQVArray), nullptr);   // type stays eUndef
    EXPECT_FAILED(1, -5, "GetTypeSize", "cannot achieve size of unknown datatype");
    // Malformed elements leave the new array empty.
    auto* array = static_cast<QVArray*>(ParseData("-4\n1;zz;3\n", eQVArray));
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(array->count, 0);
    EXPECT_EQ(last()->code, -5);
    ReleaseArray(array, 1);
}

}  // namespace
