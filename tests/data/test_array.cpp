// The generic array: slot layout, growth, index checks and their guards, resizing (also when
// the reallocation fails), clearing and release with delete functions, copying and searching.
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "data_test.h"

#if defined(__SANITIZE_ADDRESS__)
// Let a refused huge allocation return null as it does without the sanitizer.
extern "C" __attribute__((visibility("default"), used)) const char* __asan_default_options() { return "allocator_may_return_null=1"; }
#endif

namespace {

using datatest::DataTest;

class Array : public DataTest {
protected:
    static QVArray* ints(std::initializer_list<int> values, int capacity = 0) {
        QVArray* array = CreateArray(eInt, 0, capacity);
        for (int v : values) AppendIntValue(array, v);
        return array;
    }
    static int intAt(const QVArray* array, int index) { return *static_cast<int*>(GetValue(array, index)); }
};

TEST_F(Array, SlotLayoutIsFixedByType) {
    struct Row { int type, size, inlineValues; };
    const Row rows[] = {
        {eQVRectF, 16, 1}, {eQVRect, 16, 1}, {eHexInt, 4, 1}, {eOptionListMulti, 4, 1},
        {eOptionList, 4, 1}, {eFloat, 4, 1}, {eInt, 4, 1}, {eBool, 4, 1}, {eShort, 2, 1},
        {eFloatPoint3d, 12, 1}, {eIntPoint3d, 12, 1}, {eFloatPoint2d, 8, 1}, {eIntPoint2d, 8, 1},
        {eDouble, 8, 1}, {eChar, 1, 1}, {eString, 512, 1},
        // Everything else holds pointers, the double points included.
        {eNoData, 8, 0}, {eUndef, 8, 0}, {eQVArray, 8, 0}, {eDoublePoint2d, 8, 0},
        {eDoublePoint3d, 8, 0}, {eRefToNode, 8, 0}, {eQVProperty, 8, 0}, {eQVBinaryData, 8, 0}};
    for (const Row& row : rows) {
        QVArray* array = CreateArray(row.type, 0, 2);
        ASSERT_NE(array, nullptr) << row.type;
        EXPECT_EQ(array->elementSize, row.size) << row.type;
        EXPECT_EQ(array->inlineValues, row.inlineValues) << row.type;
        EXPECT_EQ(array->dataType, row.type);
        EXPECT_EQ(array->capacity, 2);
        EXPECT_EQ(array->count, 0);
        ReleaseArray(array, 0);
    }
    EXPECT_EQ(count(), 0u);
}

TEST_F(Array, CreateChecksTheGivenTypeSize) {
    QVArray* array = CreateArray(eDouble, 0, 0);
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(array->values, nullptr);
    EXPECT_EQ(array->capacity, 0);
    ReleaseArray(array, 0);
    array = CreateArray(eDouble, 8, 1);
    ASSERT_NE(array, nullptr);
    ReleaseArray(array, 0);
    EXPECT_EQ(CreateArray(eDouble, 4, 1), nullptr);
    EXPECT_FAILED(1, -5, "CreateArray", "calculated type size != specified data type size");
}

TEST_F(Array, GrowsToEightThenDoubles) {
    QVArray* array = CreateArray(eInt, 0, 0);
    std::vector<std::pair<int, int>> seen;  // (count, capacity) whenever the capacity changes
    int capacity = 0;
    for (int i = 0; i < 40; ++i) {
        ASSERT_EQ(AppendValue(array, &i), 0);
        if (array->capacity != capacity) seen.emplace_back(array->count, capacity = array->capacity);
    }
    EXPECT_EQ(seen, (std::vector<std::pair<int, int>>{{1, 8}, {9, 16}, {17, 32}, {33, 64}}));
    for (int i = 0; i < 40; ++i) EXPECT_EQ(intAt(array, i), i);
    ReleaseArray(array, 0);
}

TEST_F(Array, AppendFormsByType) {
    QVArray* array = ints({5});
    EXPECT_EQ(AppendValue(array, nullptr), 0);  // a zeroed slot
    EXPECT_EQ(array->count, 2);
    EXPECT_EQ(intAt(array, 1), 0);
    ReleaseArray(array, 0);

    QVArray* texts = CreateArray(eString, 0, 0);
    const std::string longText(600, 'a');
    AppendValue(texts, "short");
    AppendValue(texts, longText.c_str());  // cut to 511 characters
    EXPECT_STREQ(static_cast<char*>(GetValue(texts, 0)), "short");
    EXPECT_EQ(std::string(static_cast<char*>(GetValue(texts, 1))), longText.substr(0, 511));
    ReleaseArray(texts, 0);

    QVArray* points = CreateArray(eDoublePoint2d, 0, 0);
    QVPoint2d p = QV_CreatePoint2d(1, 2);
    AppendValue(points, &p);  // the pointer itself is stored
    EXPECT_EQ(GetValue(points, 0), &p);
    ReleaseArray(points, 0);

    QVArray* rects = CreateArray(eQVRect, 0, 0);
    const QVRect r = QV_CreateRect(1, 2, 3, 4);
    AppendValue(rects, &r);
    EXPECT_EQ(std::memcmp(GetValue(rects, 0), &r, sizeof r), 0);
    ReleaseArray(rects, 0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(Array, AppendFailures) {
    int v = 1;
    EXPECT_EQ(AppendValue(nullptr, &v), -2);
    EXPECT_FAILED(1, -2, "AppendValue", "array is NULL");
    EXPECT_EQ(AppendIntValue(nullptr, 1), -5);
    EXPECT_FAILED(1, -5, "AppendIntValue", "invalid array pointer or array data type");
    QVArray* doubles = CreateArray(eDouble, 0, 0);
    EXPECT_EQ(AppendIntValue(doubles, 1), -5);
    EXPECT_FAILED(1, -5, "AppendIntValue", "invalid array pointer or array data type");
    EXPECT_EQ(doubles->count, 0);
    ReleaseArray(doubles, 0);
    // A hand-made record without element size is refused instead of written to.
    QVArray bare{};
    bare.dataType = eInt;
    bare.inlineValues = 1;
    EXPECT_EQ(AppendIntValue(&bare, 1), -5);
    EXPECT_FAILED(1, -5, "AppendIntValue", "array has invalid element size 0");
    EXPECT_EQ(ResizeArray(&bare, 4), -5);
    EXPECT_FAILED(1, -5, "ResizeArray", "array has invalid element size 0");
    EXPECT_EQ(bare.values, nullptr);
}

TEST_F(Array, IndexCheckHasNoLowerBoundButNeverLeavesTheStorage) {
    QVArray* array = ints({10, 11, 12});
    EXPECT_EQ(intAt(array, 0), 10);
    EXPECT_EQ(intAt(array, 2), 12);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(GetValue(array, 3), nullptr);
    EXPECT_FAILED(1, -2, "GetValue", "val index is out of range");
    int v = 99;
    EXPECT_EQ(SetValue(array, 3, &v), -2);
    EXPECT_FAILED(1, -2, "SetValue", "val index is out of range");
    qvtest::clear();
    // -1 passes the check (no log line) but lies outside the storage: null, nothing written.
    EXPECT_EQ(GetValue(array, -1), nullptr);
    EXPECT_EQ(SetValue(array, -1, &v), -2);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(GetValue(nullptr, 0), nullptr);
    EXPECT_FAILED(1, -2, "GetValue", "array is NULL");
    EXPECT_EQ(SetValue(nullptr, 0, &v), -2);
    EXPECT_FAILED(1, -2, "SetValue", "array is NULL");
    ReleaseArray(array, 0);
}

TEST_F(Array, SetValueCopiesTheWholeSlotOrZeroesIt) {
    QVArray* texts = CreateArray(eString, 0, 0);
    AppendValue(texts, "old text that is long");
    char element[QV_STRING_SIZE] = "new";
    element[100] = 'z';  // bytes behind the terminator are copied too
    EXPECT_EQ(SetValue(texts, 0, element), 0);
    EXPECT_EQ(std::memcmp(GetValue(texts, 0), element, QV_STRING_SIZE), 0);
    EXPECT_EQ(SetValue(texts, 0, nullptr), 0);
    EXPECT_EQ(std::string(static_cast<char*>(GetValue(texts, 0)), 4), std::string(4, '\0'));
    ReleaseArray(texts, 0);

    QVArray* pointers = CreateArray(eUserData, 0, 0);
    int a = 1, b = 2;
    AppendValue(pointers, &a);
    EXPECT_EQ(SetValue(pointers, 0, &b), 0);
    EXPECT_EQ(GetValue(pointers, 0), &b);
    ReleaseArray(pointers, 0);
}

TEST_F(Array, ResizeKeepsCountAndZeroesNewSlots) {
    QVArray* array = ints({1, 2, 3, 4, 5});
    EXPECT_EQ(ResizeArray(array, 2), 0);
    EXPECT_EQ(array->capacity, 2);
    EXPECT_EQ(array->count, 5);  // kept, even above the capacity
    EXPECT_EQ(intAt(array, 1), 2);
    // Indexes below count but beyond the storage give null without reading it.
    EXPECT_EQ(GetValue(array, 3), nullptr);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(ResizeArray(array, 6), 0);
    for (int i = 2; i < 6; ++i) EXPECT_EQ(static_cast<int*>(array->values)[i], 0) << i;
    EXPECT_EQ(ResizeArray(array, 6), 0);
    EXPECT_EQ(ResizeArray(array, 0), -2);
    EXPECT_FAILED(1, -2, "ResizeArray", "array is NULL or new Size < 1");
    EXPECT_EQ(ResizeArray(nullptr, 4), -2);
    EXPECT_FAILED(1, -2, "ResizeArray", "array is NULL or new Size < 1");
    // Appending after the shrink grows past count again.
    EXPECT_EQ(AppendIntValue(array, 6), 0);
    EXPECT_EQ(AppendIntValue(array, 7), 0);
    EXPECT_EQ(array->count, 7);
    EXPECT_EQ(array->capacity, 12);
    EXPECT_EQ(intAt(array, 6), 7);
    ReleaseArray(array, 0);
}

TEST_F(Array, FailedReallocationIsLoggedAndNeverClaimsSlots) {
    // A hand-made inline array of 1 MiB slots: 2^28 of them cannot be allocated.
    QVArray array{};
    array.elementSize = 1 << 20;
    array.inlineValues = 1;
    array.dataType = eUserData;
    array.capacity = 1;
    array.values = std::calloc(1, static_cast<std::size_t>(array.elementSize));
    EXPECT_EQ(ResizeArray(&array, 1 << 28), 0);
    EXPECT_FAILED(0, -3, "ResizeArray", "could not realloc memory");
    EXPECT_EQ(array.capacity, 1);
    EXPECT_NE(array.values, nullptr);
    std::free(array.values);
}

TEST_F(Array, ClearFreesPointedElementsOnRequest) {
    QVArray* array = CreateArray(eQVArray, 0, 4);
    for (int i = 0; i < 3; ++i) AppendValue(array, std::malloc(16));
    AppendValue(array, nullptr);
    EXPECT_EQ(ClearArray(array, 1), 0);  // the sanitizer build reports any leak
    EXPECT_EQ(array->count, 0);
    EXPECT_EQ(array->capacity, 4);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(static_cast<void**>(array->values)[i], nullptr);
    EXPECT_EQ(ClearArray(nullptr, 1), 0);
    EXPECT_EQ(count(), 0u);
    ReleaseArray(array, 0);
}

std::vector<std::pair<void*, int>> g_deleted;
int recordDelete(void* element, int dataType) {
    g_deleted.emplace_back(element, dataType);
    return 0;
}

TEST_F(Array, ClearExCallsTheDeleteFunctionInIndexOrder) {
    int a = 0, b = 0;
    QVArray* array = CreateArray(eQVBinaryData, 0, 0);
    AppendValue(array, &a);
    AppendValue(array, &b);
    g_deleted.clear();
    EXPECT_EQ(ClearArrayEx(array, recordDelete), 0);
    EXPECT_EQ(g_deleted, (std::vector<std::pair<void*, int>>{{&a, eQVBinaryData}, {&b, eQVBinaryData}}));
    EXPECT_EQ(array->count, 0);
    // Inline arrays are only zeroed.
    QVArray* numbers = ints({1});
    g_deleted.clear();
    EXPECT_EQ(ClearArrayEx(numbers, recordDelete), 0);
    EXPECT_TRUE(g_deleted.empty());
    EXPECT_EQ(numbers->count, 0);

    AppendValue(array, &a);
    EXPECT_EQ(ClearArrayEx(array, nullptr), -2);
    EXPECT_FAILED(1, -2, "ClearArrayEx", "delete function pointer is NULL");
    EXPECT_EQ(array->count, 1);  // nothing cleared
    EXPECT_EQ(ClearArrayEx(nullptr, recordDelete), -2);
    EXPECT_FAILED(1, -2, "ClearArrayEx", "array is NULL");
    ReleaseArray(array, 0);
    ReleaseArray(numbers, 0);
}

TEST_F(Array, ReleaseFailures) {
    GetValue(nullptr, 0);  // last error -2 from another function
    qvtest::clear();
    EXPECT_EQ(ReleaseArray(nullptr, 1), -2);
    EXPECT_FAILED(4, 0, "ReleaseArray", "array is NULL");
    EXPECT_EQ(ReleaseArrayEx(nullptr, recordDelete), -2);
    EXPECT_FAILED(4, 0, "ReleaseArrayEx", "array is NULL");
    EXPECT_EQ(count(), 2u);

    // A null delete function: logged twice, the array is freed all the same (the sanitizer
    // build would report it otherwise), the elements are not deleted.
    int a = 0;
    QVArray* array = CreateArray(eQVBinaryData, 0, 0);
    AppendValue(array, &a);
    qvtest::clear();
    EXPECT_EQ(ReleaseArrayEx(array, nullptr), -2);
    EXPECT_EQ(linesContaining("delete function pointer is NULL").size(), 2u);
    EXPECT_NE(logs()[0].line.find("ClearArrayEx("), std::string::npos);
    EXPECT_FAILED(1, -2, "ReleaseArrayEx", "delete function pointer is NULL");

    array = CreateArray(eQVBinaryData, 0, 0);
    AppendValue(array, &a);
    g_deleted.clear();
    EXPECT_EQ(ReleaseArrayEx(array, recordDelete), 0);
    EXPECT_EQ(g_deleted.size(), 1u);
}

TEST_F(Array, AppendArrayAddsInOrderAndChecksTypes) {
    QVArray* a = ints({1, 2});
    QVArray* b = ints({3, 4, 5});
    EXPECT_EQ(AppendArray(a, b), 0);
    ASSERT_EQ(a->count, 5);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(intAt(a, i), i + 1);
    // An array appended to itself: its elements survive the reallocation on the way.
    QVArray* c = ints({7, 8, 9, 10, 11, 12, 13, 14});
    EXPECT_EQ(AppendArray(c, c), 0);
    ASSERT_EQ(c->count, 16);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(intAt(c, i), 7 + i % 8);

    QVArray* d = CreateArray(eFloat, 0, 0);  // same size, other type
    EXPECT_EQ(AppendArray(a, d), -5);
    EXPECT_FAILED(1, -5, "AppendArray", "the two arrays may not have different type sizes or data types");
    EXPECT_EQ(AppendArray(nullptr, a), -2);
    EXPECT_FAILED(1, -2, "AppendArray", "destination array or array to be appended is NULL");
    for (QVArray* x : {a, b, c, d}) ReleaseArray(x, 0);
}

TEST_F(Array, CopyArrayRules) {
    QVArray* source = CreateArray(eDouble, 0, 5);
    for (double v : {1.5, 2.5, 3.5}) AppendValue(source, &v);
    QVArray* target = CreateArray(eNoData, 0, 0);  // an 8-byte pointer array
    EXPECT_EQ(CopyArray(target, source), 0);
    EXPECT_EQ(target->dataType, eDouble);
    EXPECT_EQ(target->elementSize, 8);
    EXPECT_EQ(target->capacity, 5);
    EXPECT_EQ(target->count, 3);
    EXPECT_EQ(target->inlineValues, 0);  // deliberately not copied
    EXPECT_EQ(std::memcmp(target->values, source->values, 3 * sizeof(double)), 0);
    EXPECT_EQ(count(), 0u);

    // An eInt source into an eNoData target: the type is taken over, then the size differs.
    QVArray* numbers = ints({1});
    QVArray* other = CreateArray(eNoData, 0, 0);
    EXPECT_EQ(CopyArray(other, numbers), -5);
    EXPECT_FAILED(1, -5, "CopyArray", "destination array has invalid data type size");
    EXPECT_EQ(other->dataType, eInt);
    EXPECT_EQ(CopyArray(numbers, source), -5);
    EXPECT_FAILED(1, -5, "CopyArray", "destination array has invalid array type");
    EXPECT_EQ(CopyArray(numbers, other), -5);  // the sizes differ, the type matches now
    EXPECT_FAILED(1, -5, "CopyArray", "destination array has invalid data type size");
    QVArray* empty = CreateArray(eNoData, 0, 0);
    EXPECT_EQ(CopyArray(numbers, empty), -5);
    EXPECT_FAILED(1, -5, "CopyArray", "array to copy has invalid data type or data type size");
    EXPECT_EQ(CopyArray(numbers, nullptr), -2);
    EXPECT_FAILED(1, -2, "CopyArray", "destination array or array to be copied is NULL");

    // An empty source without storage empties the target.
    QVArray* none = CreateArray(eInt, 0, 0);
    qvtest::clear();
    EXPECT_EQ(CopyArray(numbers, none), 0);
    EXPECT_EQ(numbers->count, 0);
    EXPECT_EQ(count(), 0u);
    for (QVArray* x : {source, target, numbers, other, empty, none}) ReleaseArray(x, 0);
}

TEST_F(Array, ContainsIntReadsEveryElementAsInt) {
    QVArray* array = ints({4, -9});
    EXPECT_EQ(ArrayContainsInt(array, -9), 1);
    EXPECT_EQ(ArrayContainsInt(array, 5), 0);
    ReleaseArray(array, 0);
    // Pointer arrays read through the stored pointers, skipping null ones.
    int x = 42;
    QVArray* pointers = CreateArray(eUserData, 0, 0);
    AppendValue(pointers, nullptr);
    AppendValue(pointers, &x);
    EXPECT_EQ(ArrayContainsInt(pointers, 42), 1);
    ReleaseArray(pointers, 0);
    // A char array: four bytes are read from each slot; at the end of the storage the missing
    // bytes count as zero instead of being read from outside.
    QVArray* chars = CreateArray(eChar, 0, 1);
    const char c = 5;
    AppendValue(chars, &c);
    EXPECT_EQ(ArrayContainsInt(chars, 5), 1);
    ReleaseArray(chars, 0);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(ArrayContainsInt(nullptr, 0), 0);
    EXPECT_FAILED(1, -2, "ArrayContainsInt", "array is NULL");
}

TEST_F(Array, FindValue) {
    int a = 1, b = 2, missing = 3;
    QVArray* array = CreateArray(eUserData, 0, 0);
    AppendValue(array, &a);
    AppendValue(array, &b);
    int index = 99;
    EXPECT_EQ(QVArray_FindValue(array, QV_ComparePointerFct, &b, &index), &b);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(QVArray_FindValue(array, nullptr, &a, &index), &a);  // pointer comparison by default
    EXPECT_EQ(index, 0);
    EXPECT_EQ(QVArray_FindValue(array, QV_ComparePointerFct, &missing, &index), nullptr);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(QVArray_FindValue(array, QV_ComparePointerFct, &missing, nullptr), nullptr);
    ReleaseArray(array, 0);

    QVArray* numbers = ints({5, 6, 6});
    auto sameInt = [](const void* e, const void* k) { return *static_cast<const int*>(e) == *static_cast<const int*>(k) ? 0 : 1; };
    const int key = 6;
    EXPECT_EQ(QVArray_FindValue(numbers, sameInt, &key, &index), GetValue(numbers, 1));  // the first match
    EXPECT_EQ(index, 1);
    ReleaseArray(numbers, 0);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(QVArray_FindValue(nullptr, nullptr, &a, &index), nullptr);
    EXPECT_FAILED(1, -2, "QVArray_FindValue", "array is NULL");
}

}  // namespace
