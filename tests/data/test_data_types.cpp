// Data types: type names and their reading, element sizes, text forms and record constructors.
#include <cstring>
#include <string>

#include "data/data_internal.h"
#include "data_test.h"

namespace {

using datatest::DataTest;

class DataTypes : public DataTest {
protected:
    std::string text(const void* data, int type, unsigned precision = 6) {
        char out[QV_STRING_SIZE];
        std::memset(out, '#', sizeof out);
        rc = DataToString(data, type, precision, out);
        return out;
    }
    int rc = 0;
};

TEST_F(DataTypes, EveryNumberHasItsName) {
    const char* names[] = {"no_data",  "undef",       "bool",        "int",        "double",
                           "float",    "string",      "char",        "point_2i",   "point_2f",
                           "point_3i", "point_3f",    "qv_prop",     "bin_data",   "ref_to_node",
                           "qv_prop_lst", "opt_lst",  "loc_node",    "short",      "user_data",
                           "qv_rect",  "opt_lst_mult", "unknown_dt", "hex_int",    "qv_rectf",
                           "qv_array", "unknown_dt",  "point_2d",    "point_3d"};
    for (int type = -1; type >= -29; --type) {
        char buffer[QV_TYPE_NAME_SIZE];
        EXPECT_EQ(GetDataTypeStr(type, buffer), 0);
        EXPECT_STREQ(buffer, names[-type - 1]) << type;
    }
    for (int type : {0, 1, -30, -1000}) {
        char buffer[QV_TYPE_NAME_SIZE];
        EXPECT_EQ(GetDataTypeStr(type, buffer), 0);
        EXPECT_STREQ(buffer, "unknown_dt");
    }
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(GetDataTypeStr(eInt, nullptr), -2);
    EXPECT_FAILED(1, -2, "GetDataTypeStr", "output argument is NULL");
}

TEST_F(DataTypes, ParseDataTypeTakesTheFirstSubstringInItsFixedOrder) {
    const std::pair<const char*, int> cases[] = {
        {"int", -4},          {"string", -7},       {"bool", -3},        {"double", -5},
        {"float", -6},        {"no_data", -1},      {"empty", -1},       {"bin_data", -14},
        {"binary_data", -14}, {"ref_to_node", -15}, {"ref_to_treenode", -15},
        {"opt_lst_mult", -22}, {"option_list_multi", -22}, {"opt_lst", -17}, {"option_list", -17},
        {"char", -8},         {"Char", -8},         {"qv_rect", -21},    {"rect", -21},
        // Surprises kept on purpose: "int" wins over hex and the point names, "rect" over rectf.
        {"qv_rectf", -21},    {"rectf", -21},       {"hex_int", -4},     {"hex", -24},
        {"point_2i", -4},     {"point_3i", -4},     {"point_2f", -4},    {"point_3f", -4},
        {"point_2d", -4},     {"point_3d", -4},
        // Substrings, not whole names: "double_string" holds "string", tested before "double".
        {"double_string", -7}, {"my_bool_flag", -3},
        {"", -2}, {"short", -2}, {"user_data", -2}, {"loc_node", -2}, {"qv_prop", -2},
        {"qv_prop_lst", -2},  {"qv_array", -2},     {"INT", -2}};
    for (const auto& [name, type] : cases) EXPECT_EQ(ParseDataType(name), type) << name;
    EXPECT_EQ(ParseDataType(nullptr), eUndef);
    EXPECT_EQ(count(), 0u);
}

TEST_F(DataTypes, TypeSizes) {
    const std::pair<int, int> sizes[] = {
        {eNoData, 0},     {eBool, 4},        {eInt, 4},          {eDouble, 8},
        {eFloat, 4},      {eString, 512},    {eChar, 1},         {eIntPoint2d, 8},
        {eFloatPoint2d, 8}, {eIntPoint3d, 12}, {eFloatPoint3d, 12}, {eOptionList, 4},
        {eShort, 2},      {eQVRect, 16},     {eOptionListMulti, 4}, {eHexInt, 4}};
    for (const auto& [type, size] : sizes) EXPECT_EQ(GetTypeSize(type), size) << type;
    EXPECT_EQ(count(), 0u);
    for (int type : {-13, -14, -15, -16, -18, -20}) {
        EXPECT_EQ(GetTypeSize(type), -5);
        EXPECT_FAILED(1, -5, "GetTypeSize", "cannot achieve size of spezified datatype");
    }
    // The rectangle of floats, the array and the double points have no size, deliberately.
    for (int type : {-2, -23, -25, -26, -27, -28, -29, 0, -30, 7}) {
        EXPECT_EQ(GetTypeSize(type), -5);
        EXPECT_FAILED(1, -5, "GetTypeSize", "cannot achieve size of unknown datatype");
    }
}

TEST_F(DataTypes, NumbersAsText) {
    int i = 255;
    EXPECT_EQ(text(&i, eHexInt), "0XFF");
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(text(&i, eInt), "255");
    i = 0;
    EXPECT_EQ(text(&i, eHexInt), "0");
    i = -1;
    EXPECT_EQ(text(&i, eHexInt), "0XFFFFFFFF");
    EXPECT_EQ(text(&i, eBool), "-1");
    EXPECT_EQ(text(&i, eOptionList), "-1");
    EXPECT_EQ(text(&i, eOptionListMulti), "-1");
    const signed char c = -5;
    EXPECT_EQ(text(&c, eChar), "-5");  // a number, not a character
    const char letter = 'A';
    EXPECT_EQ(text(&letter, eChar), "65");
    const short s = -300;
    EXPECT_EQ(text(&s, eShort), "-300");
    const float f = 1.25f;
    EXPECT_EQ(text(&f, eFloat, 3), "1.250");
    EXPECT_EQ(text(&f, eFloat, 0), "1");
    const double d = -2.5;
    EXPECT_EQ(text(&d, eDouble, 2), "-2.50");
    EXPECT_EQ(count(), 0u);
}

TEST_F(DataTypes, HugeDoubleWithManyDecimalsStaysInsideTheBuffer) {
    const double d = 1e300;
    const std::string t = text(&d, eDouble, 400);
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(t.size(), 511u);
    EXPECT_EQ(t.substr(0, 4), "1000");
}

TEST_F(DataTypes, PointsAndRectanglesAsText) {
    const QVPoint2f p2f = QV_CreatePoint2f(1.5f, 2.0f);
    EXPECT_EQ(text(&p2f, eFloatPoint2d), "1.500000;2.000000");
    const QVPoint3f p3f = QV_CreatePoint3f(-1.0f, 0.25f, 3.0f);
    EXPECT_EQ(text(&p3f, eFloatPoint3d), "-1.000000;0.250000;3.000000");
    const QVPoint2i p2i = QV_CreatePoint2i(-3, 4);
    EXPECT_EQ(text(&p2i, eIntPoint2d), "-3;4");
    const QVPoint3i p3i = QV_CreatePoint3i(1, 2, -3);
    EXPECT_EQ(text(&p3i, eIntPoint3d), "1;2;-3");
    const QVPoint2d p2d = QV_CreatePoint2d(0.5, 1e6);
    EXPECT_EQ(text(&p2d, eDoublePoint2d), "0.500000;1000000.000000");
    const QVPoint3d p3d = QV_CreatePoint3d(1, 2, 3);
    EXPECT_EQ(text(&p3d, eDoublePoint3d), "1.000000;2.000000;3.000000");
    const QVRect r = QV_CreateRect(1, 2, 3, 4);
    EXPECT_EQ(text(&r, eQVRect), "1;2;3;4");
    const QVRectF rf = QV_CreateRectF(0.5f, 1.0f, 2.0f, -4.0f);
    EXPECT_EQ(text(&rf, eQVRectF), "0.500000;1.000000;2.000000;-4.000000");
    // The precision applies to floats and doubles only.
    EXPECT_EQ(text(&p2f, eFloatPoint2d, 1), "1.500000;2.000000");
}

TEST_F(DataTypes, ConstructorsFillFieldsInArgumentOrder) {
    const QVRect r = QV_CreateRect(1, 2, 3, 4);
    EXPECT_EQ(r.x, 1);
    EXPECT_EQ(r.y, 2);
    EXPECT_EQ(r.width, 3);
    EXPECT_EQ(r.height, 4);
    const QVRectF rf = QV_CreateRectF(5, 6, 7, 8);
    EXPECT_EQ(rf.x, 5);
    EXPECT_EQ(rf.height, 8);
    const QVPoint3d p = QV_CreatePoint3d(1.5, 2.5, 3.5);
    EXPECT_EQ(p.x, 1.5);
    EXPECT_EQ(p.y, 2.5);
    EXPECT_EQ(p.z, 3.5);
    static_assert(sizeof(QVRect) == 16 && sizeof(QVRectF) == 16 && sizeof(QVPoint3i) == 12);
    static_assert(sizeof(QVPoint2d) == 16 && sizeof(QVPoint3d) == 24);
}

TEST_F(DataTypes, ContainersAndTextsAsText) {
    char element[QV_STRING_SIZE] = "hello; world";
    EXPECT_EQ(text(element, eString), "hello; world");
    // A string element without terminator is cut to 511 characters.
    std::memset(element, 'x', sizeof element);
    EXPECT_EQ(text(element, eString), std::string(511, 'x'));
    EXPECT_EQ(text(element, eNoData), "");
    EXPECT_EQ(text(element, eQVPropertyList), "PropertyList");

    unsigned char bytes[4] = {};
    QVBinaryData* bin = CreateBinaryData(bytes, 4, "block.bin");
    EXPECT_EQ(text(bin, eQVBinaryData), "block.bin");
    bin->size = 0;  // the name only when the record holds bytes
    EXPECT_EQ(text(bin, eQVBinaryData), "");
    ReleaseBinaryData(bin, 0);

    QVArray* array = CreateArray(eInt, 0, 0);
    for (int i = 1; i <= 12; ++i) AppendIntValue(array, i);
    EXPECT_EQ(text(array, eQVArray), "-4\n1;2;3;4;5;6;7;8;9;10\n11;12\n");
    EXPECT_EQ(rc, 0);
    ReleaseArray(array, 0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(DataTypes, TypesWithoutTextFormWriteUnknownData) {
    GetDataTypeStr(eInt, nullptr);  // sets the last error to -2
    int value = 0;
    for (int type : {-2, -13, -18, -20, -23, -27, 0, 5, -15}) {
        EXPECT_EQ(text(&value, type), "unknown_data");
        EXPECT_EQ(rc, -5);
        EXPECT_FAILED(5, 0, "DataToString", "cannot parse unknown data type to string: " + std::to_string(type));
    }
    EXPECT_EQ(QV_GetLastError(), -2);  // notices leave it alone
}

TEST_F(DataTypes, ReferenceNodesUseTheInstalledFormatter) {
    qv::data::setRefNodeTextHook([](const void* data, char* out) {
        std::strcpy(out, static_cast<const char*>(data));
        return 0;
    });
    const char target[] = "root|child";
    EXPECT_EQ(text(target, eRefToNode), "root|child");
    EXPECT_EQ(rc, 0);
    qv::data::setRefNodeTextHook(nullptr);
}

TEST_F(DataTypes, NullDataOrTextIsRefused) {
    int value = 1;
    char out[QV_STRING_SIZE];
    EXPECT_EQ(DataToString(nullptr, eInt, 2, out), -5);
    EXPECT_FAILED(2, -5, "DataToString", "input data or output string is NULL");
    EXPECT_EQ(DataToString(&value, eInt, 2, nullptr), -5);
    EXPECT_FAILED(2, -5, "DataToString", "input data or output string is NULL");
}

}  // namespace
