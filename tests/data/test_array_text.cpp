// Array text: exact text of the writer, reading back every element type bit for bit, the
// reader's tolerances and refusals, the array files and the array text of DataToString.
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "data_test.h"

namespace {

using datatest::DataTest;

class ArrayText : public DataTest {
protected:
    static std::string write(const QVArray* array, int width, char sep = ';') {
        const int n = QVWriteArrayData(array, nullptr, 0, width, sep);
        if (n < 0) return "error";
        std::string text(static_cast<std::size_t>(n) + 1, '#');
        EXPECT_EQ(QVWriteArrayData(array, text.data(), n + 1, width, sep), n);
        text.resize(static_cast<std::size_t>(n));
        return text;
    }
    template <typename T>
    static QVArray* make(int type, const std::vector<T>& values) {
        QVArray* array = CreateArray(type, 0, 0);
        for (const T& v : values) AppendValue(array, &v);
        return array;
    }
    // Writes, reads back into a fresh array of the same type, and compares the slots.
    static void roundTrip(const QVArray* array, int width, char sep) {
        const std::string text = write(array, width, sep);
        QVArray* back = CreateArray(array->dataType, 0, 0);
        EXPECT_EQ(QVReadArrayData(back, text.c_str(), sep), array->count) << text;
        ASSERT_EQ(back->count, array->count);
        EXPECT_EQ(std::memcmp(back->values, array->values,
                              static_cast<std::size_t>(array->count) * array->elementSize), 0)
            << array->dataType << ": " << text;
        ReleaseArray(back, 0);
    }
};

TEST_F(ArrayText, WriterLayout) {
    QVArray* numbers = make<int>(eInt, {1, -2, 3, 4, 5});
    EXPECT_EQ(write(numbers, 3), "1;-2;3\n4;5\n");
    EXPECT_EQ(write(numbers, 5, ','), "1,-2,3,4,5\n");
    EXPECT_EQ(write(numbers, 0, '|'), "1|-2|3|4|5\n");
    ReleaseArray(numbers, 0);
    QVArray* hex = make<int>(eHexInt, {255, 0, -1});
    EXPECT_EQ(write(hex, 10), "0XFF;0;0XFFFFFFFF\n");
    ReleaseArray(hex, 0);
    QVArray* rects = make<QVRect>(eQVRect, {QV_CreateRect(1, 2, 3, 4)});
    EXPECT_EQ(write(rects, 10), "1 2 3 4\n");
    ReleaseArray(rects, 0);
    QVArray* texts = CreateArray(eString, 0, 0);
    AppendValue(texts, "say \"hi\";\tC:\\x\n\x01");
    AppendValue(texts, "");
    EXPECT_EQ(write(texts, 10), "\"say \\\"hi\\\";\\tC:\\\\x\\n\\x01\";\"\"\n");
    ReleaseArray(texts, 0);
    QVArray* empty = CreateArray(eDouble, 0, 0);
    EXPECT_EQ(write(empty, 10), "");
    ReleaseArray(empty, 0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(ArrayText, EveryInlineTypeReadsBackExactly) {
    std::vector<QVArray*> arrays = {
        make<int>(eInt, {0, 1, -1, INT_MAX, INT_MIN}),
        make<int>(eBool, {0, 1, 7}),
        make<int>(eOptionList, {3, -3}),
        make<int>(eOptionListMulti, {INT_MIN}),
        make<int>(eHexInt, {0, 255, -1, INT_MIN}),
        make<short>(eShort, {0, SHRT_MIN, SHRT_MAX, -1}),
        make<signed char>(eChar, {0, -128, 127, 'a'}),
        make<float>(eFloat, {0.1f, -0.0f, FLT_MAX, FLT_MIN, 1e-45f, 3.4028e38f, 16777217.0f}),
        make<double>(eDouble, {0.1, -0.0, DBL_MAX, DBL_MIN, 5e-324, 1.0 / 3.0, -1e300}),
        make<QVPoint2i>(eIntPoint2d, {QV_CreatePoint2i(1, -2), QV_CreatePoint2i(INT_MAX, INT_MIN)}),
        make<QVPoint3i>(eIntPoint3d, {QV_CreatePoint3i(1, 2, 3)}),
        make<QVPoint2f>(eFloatPoint2d, {QV_CreatePoint2f(0.3f, -7.25f)}),
        make<QVPoint3f>(eFloatPoint3d, {QV_CreatePoint3f(1e10f, 2e-10f, 0.7f)}),
        make<QVRect>(eQVRect, {QV_CreateRect(-1, 0, 640, 480)}),
        make<QVRectF>(eQVRectF, {QV_CreateRectF(0.1f, 0.2f, 0.3f, 0.4f)}),
    };
    QVArray* texts = CreateArray(eString, 0, 0);
    for (const char* t : {"", "plain", "semi;colon,comma", "quote\" back\\slash", "line\nbreak\r\ttab",
                          "\x01\x1f\x7f", "utf-8 \xc3\xa4\xc3\xb6", "  blanks  ", "null"})
        AppendValue(texts, t);
    AppendValue(texts, std::string(511, 'z').c_str());
    arrays.push_back(texts);
    for (QVArray* array : arrays) {
        for (int width : {1, 3, 10, 0})
            for (char sep : {';', ',', '|'}) roundTrip(array, width, sep);
        ReleaseArray(array, 0);
    }
    EXPECT_EQ(count(), 0u);
}

TEST_F(ArrayText, DoublePointsReadBackIntoNewElements) {
    QVPoint2d a = QV_CreatePoint2d(0.1, -2.5e-300);
    QVArray* points = CreateArray(eDoublePoint2d, 0, 0);
    AppendValue(points, &a);
    AppendValue(points, nullptr);
    const std::string text = write(points, 10);
    EXPECT_EQ(text, "0.10000000000000001 -2.5e-300;null\n");
    QVArray* back = CreateArray(eDoublePoint2d, 0, 0);
    ASSERT_EQ(QVReadArrayData(back, text.c_str(), ';'), 2);
    const auto* p = static_cast<const QVPoint2d*>(GetValue(back, 0));
    ASSERT_NE(p, nullptr);
    EXPECT_NE(p, &a);
    EXPECT_EQ(p->x, a.x);
    EXPECT_EQ(p->y, a.y);
    EXPECT_EQ(GetValue(back, 1), nullptr);
    ReleaseArray(back, 1);  // the points were allocated for the caller
    ReleaseArray(points, 0);

    QVPoint3d b = QV_CreatePoint3d(1, 2, 3);
    QVArray* points3 = CreateArray(eDoublePoint3d, 0, 0);
    AppendValue(points3, &b);
    back = CreateArray(eDoublePoint3d, 0, 0);
    ASSERT_EQ(QVReadArrayData(back, write(points3, 10).c_str(), ';'), 1);
    EXPECT_EQ(std::memcmp(GetValue(back, 0), &b, sizeof b), 0);
    ReleaseArray(back, 1);
    ReleaseArray(points3, 0);
}

TEST_F(ArrayText, ReaderToleratesBlanksAndLineEndsAndAppends) {
    QVArray* array = make<int>(eInt, {9});
    EXPECT_EQ(QVReadArrayData(array, " 1 ; 2\r\n\n\t3;4\n", ';'), 4);
    ASSERT_EQ(array->count, 5);
    const int expected[] = {9, 1, 2, 3, 4};
    EXPECT_EQ(std::memcmp(array->values, expected, sizeof expected), 0);
    EXPECT_EQ(QVReadArrayData(array, "", ';'), 0);
    EXPECT_EQ(QVReadArrayData(array, "\n\n", ';'), 0);
    EXPECT_EQ(array->count, 5);
    EXPECT_EQ(count(), 0u);
    ReleaseArray(array, 0);
}

TEST_F(ArrayText, MalformedTextLeavesTheArrayAsItWas) {
    struct Case { int type; const char* text; int element; int line; };
    const Case cases[] = {
        {eInt, "1;;2", 2, 1},        {eInt, "1;", 2, 1},          {eInt, "1;\n2", 2, 1},
        {eInt, "1 2", 1, 1},         {eInt, "abc", 1, 1},         {eInt, "1\n2;x", 3, 2},
        {eInt, "4294967296", 1, 1},  {eChar, "128", 1, 1},        {eShort, "-32769", 1, 1},
        {eHexInt, "0X1FFFFFFFF", 1, 1}, {eHexInt, "-1", 1, 1},   {eIntPoint2d, "1", 1, 1},
        {eIntPoint3d, "1 2 3 4", 1, 1}, {eFloat, "1.5x", 1, 1},   {eString, "\"open", 1, 1},
        {eString, "plain", 1, 1},    {eString, "\"bad \\q\"", 1, 1}, {eString, "\"zero \\x00\"", 1, 1},
        {eDoublePoint2d, "1 2;nul", 2, 1}};
    for (const Case& c : cases) {
        QVArray* array = CreateArray(c.type, 0, 0);
        const bool points = c.type == eDoublePoint2d;
        char first[QV_STRING_SIZE] = "keep";
        QVPoint2d p{};
        AppendValue(array, points ? static_cast<const void*>(&p) : first);
        EXPECT_EQ(QVReadArrayData(array, c.text, ';'), -5) << c.text;
        EXPECT_FAILED(1, -5, "QVReadArrayData",
                      "malformed array text at element " + std::to_string(c.element) + " (line " +
                          std::to_string(c.line) + ")");
        EXPECT_EQ(array->count, 1) << c.text;
        if (!points) {
            EXPECT_EQ(std::memcmp(GetValue(array, 0), first, static_cast<std::size_t>(array->elementSize)), 0);
        }
        ReleaseArray(array, 0);  // the sanitizer build reports points read before the error
    }
}

TEST_F(ArrayText, WriterAndReaderFailures) {
    QVArray* numbers = make<int>(eInt, {100, 200});
    char small[6] = "xxxxx";
    EXPECT_EQ(QVWriteArrayData(numbers, small, 6, 10, ';'), -5);
    EXPECT_FAILED(1, -5, "QVWriteArrayData", "text buffer of 6 bytes is too small, 9 needed");
    EXPECT_STREQ(small, "");
    EXPECT_EQ(QVWriteArrayData(numbers, nullptr, 0, 10, 'a'), -5);
    EXPECT_FAILED(1, -5, "QVWriteArrayData", "invalid separator character 97");
    EXPECT_EQ(QVReadArrayData(numbers, "1", ' '), -5);
    EXPECT_FAILED(1, -5, "QVReadArrayData", "invalid separator character 32");
    EXPECT_EQ(QVWriteArrayData(nullptr, nullptr, 0, 10, ';'), -2);
    EXPECT_FAILED(1, -2, "QVWriteArrayData", "array is NULL");
    EXPECT_EQ(QVReadArrayData(numbers, nullptr, ';'), -2);
    EXPECT_FAILED(1, -2, "QVReadArrayData", "array or text is NULL");
    QVArray* binaries = CreateArray(eQVBinaryData, 0, 0);
    EXPECT_EQ(QVWriteArrayData(binaries, nullptr, 0, 10, ';'), -5);
    EXPECT_FAILED(1, -5, "QVWriteArrayData", "cannot write array elements of data type -14 as text");
    EXPECT_EQ(QVReadArrayData(binaries, "", ';'), -5);
    EXPECT_FAILED(1, -5, "QVReadArrayData", "cannot read array elements of data type -14 from text");
    // A double array copied into a pointer array keeps its pointer layout: no text form.
    QVArray* doubles = make<double>(eDouble, {1.0});
    QVArray* copy = CreateArray(eNoData, 0, 0);
    ASSERT_EQ(CopyArray(copy, doubles), 0);
    EXPECT_EQ(QVWriteArrayData(copy, nullptr, 0, 10, ';'), -5);
    char text[QV_STRING_SIZE];
    EXPECT_EQ(DataToString(binaries, eQVArray, 2, text), -5);
    EXPECT_FAILED(1, -5, "DataToString", "cannot write array elements of data type -14 as text");
    for (QVArray* a : {numbers, binaries, doubles, copy}) ReleaseArray(a, 0);
}

TEST_F(ArrayText, DataToStringTextReadsBackAfterItsTypeLine) {
    QVArray* values = make<float>(eFloat, {0.5f, -1.25f, 1e-3f});
    char text[QV_STRING_SIZE];
    ASSERT_EQ(DataToString(values, eQVArray, 2, text), 0);
    EXPECT_STREQ(text, "-6\n0.5;-1.25;0.00100000005\n");
    const char* rest = std::strchr(text, '\n') + 1;
    QVArray* back = CreateArray(std::atoi(text), GetTypeSize(std::atoi(text)), 0);
    EXPECT_EQ(QVReadArrayData(back, rest, ';'), 3);
    EXPECT_EQ(std::memcmp(back->values, values->values, 3 * sizeof(float)), 0);
    ReleaseArray(back, 0);
    ReleaseArray(values, 0);
}

TEST_F(ArrayText, FilesHoldTheTypeLineAndReadBack) {
    QVArray* texts = CreateArray(eString, 0, 0);
    for (const char* t : {"a", "b;c", "d\ne"}) AppendValue(texts, t);
    const std::string path = (tempDir() / "texts.txt").string();
    ASSERT_EQ(QVWriteArrayFile(texts, path.c_str()), 0);
    std::ifstream in(path, std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(in)), {});
    char text[QV_STRING_SIZE];
    DataToString(texts, eQVArray, 0, text);
    EXPECT_EQ(content, text);
    EXPECT_EQ(content, "-7\n\"a\";\"b;c\";\"d\\ne\"\n");
    QVArray* back = QVReadArrayFile(path.c_str());
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->dataType, eString);
    ASSERT_EQ(back->count, 3);
    EXPECT_STREQ(static_cast<char*>(GetValue(back, 2)), "d\ne");
    ReleaseArray(back, 0);
    ReleaseArray(texts, 0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(ArrayText, FileFailures) {
    const std::string missing = (tempDir() / "missing.txt").string();
    EXPECT_EQ(QVReadArrayFile(missing.c_str()), nullptr);
    EXPECT_FAILED(1, -4, "QVReadArrayFile", "could not read file " + missing);
    const std::string noType = (tempDir() / "notype.txt").string();
    std::ofstream(noType) << "1;2\n";
    EXPECT_EQ(QVReadArrayFile(noType.c_str()), nullptr);
    EXPECT_FAILED(1, -5, "QVReadArrayFile", "file " + noType + " has no element type line");
    const std::string bad = (tempDir() / "bad.txt").string();
    std::ofstream(bad) << "-4\n1;x\n";
    EXPECT_EQ(QVReadArrayFile(bad.c_str()), nullptr);
    // The reader counts lines from the type line on, so the numbers are those of the file.
    EXPECT_FAILED(1, -5, "QVReadArrayData", "malformed array text at element 2 (line 2)");
    QVArray* numbers = make<int>(eInt, {1});
    const std::string noDir = (tempDir() / "no" / "file.txt").string();
    EXPECT_EQ(QVWriteArrayFile(numbers, noDir.c_str()), -4);
    EXPECT_FAILED(1, -4, "QVWriteArrayFile", "could not open file " + noDir + " for writing");
    EXPECT_EQ(QVWriteArrayFile(nullptr, noDir.c_str()), -2);
    EXPECT_FAILED(1, -2, "QVWriteArrayFile", "array or file path is NULL");
    ReleaseArray(numbers, 0);
}

}  // namespace
