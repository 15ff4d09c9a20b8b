// Node data: SetData and SetNodeData under every data-set mode with the ownership rule,
// ReleaseData, ReleaseNodeData, updateDataType and the text form of a node's value.
#include <cstdlib>
#include <cstring>
#include <string>

#include "tree/tree_test.h"

namespace {

using treetest::TreeTest;

int* heapInt(int value) {
    int* p = static_cast<int*>(std::malloc(sizeof(int)));
    *p = value;
    return p;
}

int g_deleteCalls = 0;
int countingDelete(void* data, int, int) {
    ++g_deleteCalls;
    std::free(data);
    return 0;
}

class NodeData : public TreeTest {};

TEST_F(NodeData, TypeRules) {
    QVTreeNode* n = CreateTreeNode(eDouble, nullptr, "n", 1, eShift);
    int v = 3;
    EXPECT_EQ(SetNodeData(n, &v, eInt, eSetPtr), -5);
    EXPECT_FAILED(1, -5, "SetNodeData", "data types do not fit: n->double [-5]; newDataType: int [-4]");
    EXPECT_EQ(n->dataType, eDouble);
    QVTreeNode* e = CreateEmptyTreeNode("e", 2);
    EXPECT_EQ(SetNodeData(e, &v, eInt, eSetPtr), 0);
    EXPECT_EQ(e->dataType, eInt);
    EXPECT_EQ(e->data, &v);
    EXPECT_EQ(e->dataFlags, 4u);
    // A null value or a caller-defined type is left alone unless the mode sets a pointer.
    EXPECT_EQ(SetNodeData(e, nullptr, eInt, eOverwriteData), 0);
    EXPECT_FAILED(5, 0, "SetNodeData", "e: user defined datatype or new Data is NULL, cannot set node data");
    EXPECT_EQ(e->data, &v);
    QVTreeNode* user = CreateTreeNode(7, &v, "user", 3, eShift);
    EXPECT_EQ(SetNodeData(user, &v, 7, eOverwriteData), 0);
    EXPECT_EQ(linesContaining("user: user defined datatype").size(), 1u);
    EXPECT_EQ(SetNodeData(nullptr, &v, eInt, eSetPtr), -2);
    EXPECT_FAILED(1, -2, "SetNodeData", "node is NULL");
    for (QVTreeNode* x : {n, e, user}) ReleaseTreeNode(x, 1);
    EXPECT_EQ(v, 3);
}

TEST_F(NodeData, PointerModesAndOwnership) {
    int callerA = 1, callerB = 2;
    QVTreeNode* n = CreateEmptyTreeNode("n", 1);
    EXPECT_EQ(SetNodeData(n, &callerA, eInt, eSetPtr), 0);
    // Not owned: replacing it only notes that the old data is not the library's.
    EXPECT_EQ(SetNodeData(n, &callerB, eInt, eSwapPtr), 0);
    EXPECT_FAILED(2, -5, "SetNodeData",
                     "---- cannot RELEASE old Data in QVTools, data is not managed by QVTools ----");
    EXPECT_EQ(n->data, &callerB);
    EXPECT_EQ(n->dataFlags, 2u);
    // eReplacePtr always warns that the pointers are the same (kept).
    EXPECT_EQ(SetNodeData(n, &callerA, eInt, eReplacePtr), 0);
    EXPECT_EQ(linesContaining("did not overwrite pointer, old pointer and new pointer are the same").size(), 1u);
    EXPECT_EQ(n->dataFlags, 2u);  // mode 1 does not change the ownership record
    EXPECT_EQ(SetNodeData(n, &callerA, eInt, eSetPtr), 0);
    EXPECT_EQ(linesContaining("did not overwrite pointer").size(), 2u);

    // Owned storage: eAllocNewPtr copies, and every later replacement frees it.
    EXPECT_EQ(SetNodeData(n, &callerA, eInt, eAllocNewPtr), 0);
    EXPECT_NE(n->data, &callerA);
    EXPECT_EQ(*static_cast<int*>(n->data), 1);
    EXPECT_EQ(n->dataFlags, 16u);
    EXPECT_EQ(SetNodeData(n, &callerB, eInt, eReallocData), 0);  // old copy freed
    EXPECT_EQ(*static_cast<int*>(n->data), 2);
    EXPECT_EQ(SetNodeData(n, n->data, eInt, eAllocNewPtr), 0);  // copy of itself, then freed
    EXPECT_EQ(*static_cast<int*>(n->data), 2);
    // eReplacePtr on owned data frees the old value and the node owns the new one.
    EXPECT_EQ(SetNodeData(n, heapInt(9), eInt, eReplacePtr), 0);
    EXPECT_EQ(n->dataFlags, 16u);
    EXPECT_EQ(SetNodeData(n, &callerA, eInt, eClearPtr), 0);  // owned: freed, then cleared
    EXPECT_EQ(n->data, nullptr);
    // eReallocData never frees what the node does not own.
    EXPECT_EQ(SetNodeData(n, &callerA, eInt, eSetPtr), 0);
    EXPECT_EQ(SetNodeData(n, &callerB, eInt, eReallocData), 0);
    EXPECT_EQ(callerA, 1);
    EXPECT_EQ(SetNodeData(n, &callerB, eInt, eKeepData), 0);
    EXPECT_EQ(SetNodeData(n, &callerB, eInt, 3), -5);
    ASSERT_GE(count(), 2u);
    EXPECT_EQ(withoutTime(logs()[count() - 2].line).find("SetData("), 0u);
    EXPECT_NE(logs()[count() - 2].line.find("unknown dataSetMode"), std::string::npos);
    EXPECT_FAILED(1, -5, "SetNodeData", "could not set data for node n (dataType: int [-4])");
    EXPECT_EQ(ReleaseTreeNode(n, 1), 0);
}

TEST_F(NodeData, OverwriteByType) {
    char text[QV_STRING_SIZE] = "old";
    QVTreeNode* s = CreateTreeNode(eString, text, "s", 1, eShift);
    EXPECT_EQ(OverwriteNodeData(s, "new text"), 0);
    EXPECT_STREQ(text, "new text");
    QVPoint3d p3{1, 2, 3}, target{};
    QVTreeNode* p = CreateTreeNode(eDoublePoint3d, &target, "p", 2, eShift);
    EXPECT_EQ(OverwriteNodeData(p, &p3), 0);
    EXPECT_EQ(target.z, 3);
    QVTreeNode* empty = CreateTreeNode(eInt, nullptr, "empty", 3, eShift);
    int v = 5;
    EXPECT_EQ(OverwriteNodeData(empty, &v), -5);
    EXPECT_EQ(linesContaining("*data is null, cannot set data").size(), 1u);
    void* slot = &v;
    EXPECT_EQ(SetData(&slot, nullptr, eInt, eOverwriteData), -2);
    EXPECT_FAILED(7, 0, "SetData", "newData is null, cannot set data");
    EXPECT_EQ(SetData(&slot, &v, eRefToNode, eOverwriteData), -5);
    EXPECT_FAILED(1, -5, "SetData",
                     "unknown dataType to set data in mode eOverwriteData, only eInt,eDouble and eString supported");

    unsigned char srcBytes[4] = {1, 2, 3, 4}, dstBytes[2] = {};
    QVBinaryData* src = CreateBinaryData(srcBytes, 4, "a.bin");
    QVBinaryData* dst = CreateBinaryData(dstBytes, 2, "old.bin");
    void* binSlot = dst;
    EXPECT_EQ(SetData(&binSlot, src, eQVBinaryData, eOverwriteData), 0);
    EXPECT_FAILED(2, -5, "SetData", "data sizes of binary data to copy do not match (srcData: 4, destData: 2)");
    EXPECT_EQ(dstBytes[1], 2);
    EXPECT_STREQ(dst->name, "a.bin");
    dst->data = nullptr;
    EXPECT_EQ(SetData(&binSlot, src, eQVBinaryData, eOverwriteData), -5);
    EXPECT_FAILED(1, -5, "SetData", "data size of QVBinaryData do not match for eOverwriteData");
    ReleaseBinaryData(src, 0);
    ReleaseBinaryData(dst, 0);
    for (QVTreeNode* x : {s, p, empty}) ReleaseTreeNode(x, 1);
}

TEST_F(NodeData, AllocNewByType) {
    void* slot = nullptr;
    char c = 'x';
    EXPECT_EQ(SetData(&slot, &c, eChar, eAllocNewPtr), -1);  // the copied char reports -1, kept
    EXPECT_EQ(*static_cast<char*>(slot), 'x');
    EXPECT_EQ(ReleaseData(slot, eChar, 0), 0);
    slot = nullptr;
    EXPECT_EQ(SetData(&slot, nullptr, eDouble, eAllocNewPtr), 0);
    EXPECT_EQ(*static_cast<double*>(slot), 0.0);
    ReleaseData(slot, eDouble, 0);

    // Through a node the char failure is reported, and the storage still belongs to the node.
    QVTreeNode* n = CreateTreeNode(eChar, nullptr, "n", 1, eShift);
    EXPECT_EQ(SetNodeData(n, &c, eChar, eAllocNewPtr), -5);
    EXPECT_FAILED(1, -5, "SetNodeData", "could not set data for node n (dataType: char [-8])");
    EXPECT_EQ(n->dataFlags, 16u);
    ReleaseTreeNode(n, 1);

    // Arrays are copied with their own elements, double points included.
    QVArray* points = CreateArray(eDoublePoint2d, 0, 2);
    auto* pt = static_cast<QVPoint2d*>(std::malloc(sizeof(QVPoint2d)));
    *pt = {1.5, 2.5};
    AppendValue(points, pt);
    slot = nullptr;
    EXPECT_EQ(SetData(&slot, points, eQVArray, eAllocNewPtr), 0);
    auto* copy = static_cast<QVArray*>(slot);
    EXPECT_EQ(copy->count, 1);
    EXPECT_EQ(copy->capacity, 2);
    auto* copied = static_cast<QVPoint2d*>(GetValue(copy, 0));
    EXPECT_NE(copied, pt);
    EXPECT_EQ(copied->y, 2.5);
    EXPECT_EQ(ReleaseData(copy, eQVArray, 0), 0);
    EXPECT_EQ(ReleaseData(points, eQVArray, 0), 0);
    slot = nullptr;
    EXPECT_EQ(SetData(&slot, nullptr, eQVArray, eAllocNewPtr), 0);
    EXPECT_EQ(static_cast<QVArray*>(slot)->dataType, eNoData);
    EXPECT_EQ(static_cast<QVArray*>(slot)->elementSize, 8);
    ReleaseData(slot, eQVArray, 0);

    unsigned char bytes[3] = {7, 8, 9};
    QVBinaryData* bin = CreateBinaryData(bytes, 3, "b.bin");
    slot = nullptr;
    EXPECT_EQ(SetData(&slot, bin, eQVBinaryData, eAllocNewPtr), 0);
    auto* binCopy = static_cast<QVBinaryData*>(slot);
    EXPECT_NE(binCopy->data, bytes);
    EXPECT_EQ(static_cast<unsigned char*>(binCopy->data)[2], 9);
    EXPECT_STREQ(binCopy->name, "b.bin");
    EXPECT_EQ(binCopy->ownsData, 1);
    EXPECT_EQ(ReleaseData(binCopy, eQVBinaryData, 0), 0);
    ReleaseBinaryData(bin, 0);

    slot = nullptr;
    EXPECT_EQ(SetData(&slot, &c, eRefToNode, eAllocNewPtr), -5);
    EXPECT_FAILED(1, -5, "SetData",
                     "unknown dataType to set data in mode eAllocNewPtr, only eBool,eInt,eDouble and eString supported");
    EXPECT_EQ(SetData(&slot, nullptr, eUndef, eAllocNewPtr), -5);
    EXPECT_FAILED(1, -5, "SetData",
                     "unknown dataType to set data in mode eAllocNewPtr, only eInt,eDouble and eString supported");
    EXPECT_EQ(slot, nullptr);
}

TEST_F(NodeData, ReleaseDataLeavesPointsAlone) {
    auto* point = static_cast<QVPoint2f*>(std::malloc(sizeof(QVPoint2f)));
    EXPECT_EQ(ReleaseData(point, eFloatPoint2d, 0), -5);
    EXPECT_FAILED(5, 0, "ReleaseData", "cannot delete data with data type point_2f");
    std::free(point);  // still ours: nothing was freed
    // A null value goes the same way as any other of its type: freeing nothing is fine for a
    // plain value, the array and binary releases report their null record, points stay refused.
    EXPECT_EQ(ReleaseData(nullptr, eInt, 0), 0);
    EXPECT_EQ(ReleaseData(nullptr, eQVArray, 0), -2);
    EXPECT_FAILED(4, 0, "ReleaseArray", "array is NULL");
    EXPECT_EQ(ReleaseData(nullptr, eQVBinaryData, 0), -2);
    EXPECT_FAILED(1, -2, "ReleaseBinaryData", "binary data is NULL, cannot release data");
    EXPECT_EQ(ReleaseData(nullptr, eDoublePoint3d, 0), -5);
    EXPECT_FAILED(5, 0, "ReleaseData", "cannot delete data with data type point_3d");
    EXPECT_EQ(ReleaseData(nullptr, eNoData, 0), 0);
}

TEST_F(NodeData, ReleaseNodeDataByOwnership) {
    QVTreeNode* n = CreateEmptyTreeNode("n", 4);
    int v = 6;
    SetNodeData(n, &v, eInt, eAllocNewPtr);
    EXPECT_EQ(ReleaseNodeData(n, ReleaseData), 0);  // owned: freed
    EXPECT_EQ(n->data, nullptr);
    EXPECT_EQ(ReleaseNodeData(n, ReleaseData), -2);
    EXPECT_FAILED(1, -2, "ReleaseNodeData", "node or node data is NULL");

    SetNodeData(n, &v, eInt, eSetPtr);
    EXPECT_EQ(ReleaseNodeData(n, ReleaseData), 0);  // not owned: only cleared
    EXPECT_EQ(n->data, nullptr);
    g_deleteCalls = 0;
    SetNodeData(n, heapInt(1), eInt, eSetPtr);
    EXPECT_EQ(ReleaseNodeData(n, countingDelete), 0);  // the caller's routine frees it
    EXPECT_EQ(g_deleteCalls, 1);
    SetNodeData(n, &v, eInt, eSetPtr);
    EXPECT_EQ(ReleaseNodeData(n, nullptr), 0);
    EXPECT_EQ(g_deleteCalls, 1);

    // An array the caller owns: its elements go to the delete function one by one.
    QVTreeNode* a = CreateTreeNode(eQVArray, nullptr, "a", 5, eShift);
    QVArray* items = CreateArray(eDoublePoint3d, 0, 4);
    for (int i = 0; i < 3; ++i) AppendValue(items, std::calloc(1, sizeof(QVPoint3d)));
    SetNodeData(a, items, eQVArray, eSetPtr);
    EXPECT_EQ(ReleaseNodeData(a, countingDelete), 0);
    EXPECT_EQ(g_deleteCalls, 4);
    EXPECT_EQ(a->data, nullptr);
    ReleaseTreeNode(n, 1);
    ReleaseTreeNode(a, 1);
}

TEST_F(NodeData, ConversionAndText) {
    QVTreeNode* n = CreateEmptyTreeNode("n", 1);
    int v = 42;
    SetNodeData(n, &v, eInt, eSetPtr);
    EXPECT_EQ(updateDataType(n, eString), 0);  // caller's value kept, parsed one owned
    EXPECT_EQ(n->dataType, eString);
    EXPECT_STREQ(static_cast<char*>(n->data), "42");
    EXPECT_EQ(v, 42);
    EXPECT_EQ(updateDataType(n, eDouble), 0);
    EXPECT_EQ(*static_cast<double*>(n->data), 42.0);
    char text[QV_STRING_SIZE] = "";
    EXPECT_EQ(NodeDataToString(n, 2, text), 0);
    EXPECT_STREQ(text, "42.00");
    EXPECT_EQ(updateDataType(n, eRefToNode), -5);
    EXPECT_EQ(updateDataType(nullptr, eInt), -2);
    EXPECT_FAILED(1, -2, "updateDataType", "node is NULL");
    qvtest::clear();
    EXPECT_EQ(NodeDataToString(nullptr, 2, text), -2);
    EXPECT_EQ(count(), 0u);

    // A reference writes the name path of the node it refers to.
    QVTreeNode* root = CreateEmptyTreeNode("root", 0);
    QVTreeNode* a = CreateEmptyTreeNode("a", 1);
    AppendChild(root, a);
    QVTreeNode* ref = CreateTreeNode(eRefToNode, a, "ref", -15, eShift);
    EXPECT_EQ(NodeDataToString(ref, 0, text), 0);
    EXPECT_STREQ(text, "root|a");
    for (QVTreeNode* x : {n, root, ref}) ReleaseTreeNode(x, 1);
}

}  // namespace
