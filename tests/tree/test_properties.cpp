// Properties: creating and replacing them, the valid list and the sweep of unmarked
// properties, AddProperty's own property list, access, and reading and removing by slot or id.
#include <cstring>

#include "tree/tree_test.h"

namespace {

using treetest::TreeTest;

class Properties : public TreeTest {
protected:
    static QVArray* valid(QVTreeNode* n) { return static_cast<QVArray*>(n->properties->data); }
};

TEST_F(Properties, SetCreatesThenReplaces) {
    QVTreeNode* n = node("n", 1);  // no property list yet
    int a = 1, b = 2;
    QVTreeNode* p = SetProperty(n, 10, "width", &a, eInt, eAllocNewPtr);
    ASSERT_NE(p, nullptr);
    ASSERT_NE(n->properties, nullptr);
    EXPECT_EQ(n->properties->childArraySize, 8);
    EXPECT_EQ(valid(n)->capacity, 8);
    EXPECT_EQ(p->parent, n->properties);
    EXPECT_EQ(p->access, 6u);
    EXPECT_EQ(p->dataFlags, 16u);
    EXPECT_NE(p->data, &a);
    // The same id again: one property node, marked valid twice, value replaced.
    EXPECT_EQ(SetPropertyEx(n, 10, "breadth", &b, eInt, eOverwriteData, 2, 0), p);
    EXPECT_EQ(n->properties->numChildren, 1);
    EXPECT_EQ(valid(n)->count, 2);
    EXPECT_EQ(*static_cast<int*>(p->data), 2);
    EXPECT_EQ(p->access, 2u);
    EXPECT_STREQ(p->baseName, "breadth");
    EXPECT_STREQ(p->name, "width");  // only the base name is renamed
    EXPECT_EQ(SetPropertyEx(n, 11, "h", &a, eInt, eSetPtr, 6, 0), nullptr);
    EXPECT_FAILED(1, -5, "SetPropertyEx",
                     "could not set property h (id=11) of node n, property does not exist, addIfNew is set to false");
    EXPECT_EQ(SetProperty(nullptr, 1, "x", &a, eInt, eSetPtr), nullptr);
    EXPECT_FAILED(1, -2, "SetPropertyEx", "node is Null");
    ReleaseTreeNode(n, 1);
}

TEST_F(Properties, TypeChangesUnderSwap) {
    QVTreeNode* n = CreateEmptyTreeNode("n", 1);
    int i = 7, j = 8;
    QVTreeNode* p = SetProperty(n, 1, "p", &i, eInt, eSetPtr);
    // Integer-like types swap pointers.
    EXPECT_EQ(SetProperty(n, 1, "p", &j, eBool, eSwapPtr), p);
    EXPECT_EQ(p->dataType, eBool);
    EXPECT_EQ(p->data, &j);
    // Other types convert the present value first; what cannot convert is replaced.
    double d = 2.5;
    EXPECT_EQ(SetProperty(n, 1, "p", &d, eDouble, eSwapPtr), p);
    EXPECT_EQ(p->dataType, eDouble);
    EXPECT_EQ(p->data, &d);
    QVTreeNode* other = CreateEmptyTreeNode("o", 3);
    EXPECT_EQ(SetProperty(n, 1, "p", other, eRefToNode, eSwapPtr), p);
    EXPECT_EQ(linesContaining("could not convert data type of node p").size(), 1u);
    EXPECT_EQ(p->dataType, eRefToNode);
    EXPECT_EQ(p->data, other);
    ReleaseTreeNode(n, 1);  // the reference's target is not released through it
    ReleaseTreeNode(other, 1);
    EXPECT_EQ(i + j, 15);
}

TEST_F(Properties, SweepRemovesUnmarked) {
    QVTreeNode* n = CreateEmptyTreeNode("n", 1);
    int v = 0;
    QVTreeNode* p[3];
    for (int k = 0; k < 3; ++k) p[k] = SetProperty(n, k, "p", &v, eInt, eSetPtr);
    ClearArray(valid(n), 0);
    SetProperty(n, 0, "p", &v, eInt, eSetPtr);
    SetProperty(n, 2, "p", &v, eInt, eSetPtr);
    EXPECT_EQ(RemoveInvalidProperties(n), 0);
    EXPECT_EQ(n->properties->numChildren, 2);
    EXPECT_EQ(p[1]->parent, nullptr);
    EXPECT_EQ(FindChildByID(n->properties, 2), p[2]);
    ReleaseTreeNode(p[1], 1);  // detached, not released: ours now

    QVTreeNode* bare = node("bare", 2);
    EXPECT_EQ(RemoveInvalidProperties(bare), 0);
    EXPECT_EQ(RemoveInvalidProperties(nullptr), -2);
    EXPECT_FAILED(1, -2, "RemoveInvalidProperties", "node is NULL");
    ReleaseTreeNode(bare, 1);
    ReleaseTreeNode(n, 1);
}

TEST_F(Properties, AddPropertyMakesAListWithoutValidList) {
    QVTreeNode* n = node("n", 1);
    int v = 3;
    QVTreeNode* p = AddProperty(n, 4, "four", &v, eInt, 16);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(linesContaining("property list of node is NULL, creating one").size(), 1u);
    EXPECT_EQ(n->properties->childArraySize, 16);
    EXPECT_EQ(n->properties->data, nullptr);
    EXPECT_EQ(linesContaining("array is NULL").size(), 1u);  // the valid-list append fails
    EXPECT_EQ(p->access, 16u);
    EXPECT_EQ(p->data, &v);  // eReplacePtr: the caller's pointer
    EXPECT_EQ(AddProperty(n, 4, "again", &v, eInt, 6), p);
    EXPECT_FAILED(1, -5, "AddProperty",
                     "Property with again already exists at node \"n\", use SetProperty function to set value of existing property");
    EXPECT_EQ(RemoveInvalidProperties(n), -2);
    EXPECT_FAILED(1, -2, "RemoveInvalidProperties", "could not find property-valid list in property-node");
    EXPECT_EQ(AddProperty(nullptr, 1, "x", &v, eInt, 6), nullptr);
    EXPECT_FAILED(1, -2, "AddProperty", "node or node->Properties is Null");
    ReleaseTreeNode(n, 1);
    EXPECT_EQ(v, 3);
}

TEST_F(Properties, AccessReadAndRemove) {
    QVTreeNode* root = CreateEmptyTreeNode("root", 0);
    QVTreeNode* child = CreateEmptyTreeNode("child", 1);
    AppendChild(root, child);
    int v = 9;
    QVTreeNode* deep = SetProperty(child, 30, "deep", &v, eInt, eSetPtr);
    EXPECT_EQ(SetPropertyAccess(root, 30, 1), 0);
    EXPECT_EQ(deep->access, 1u);
    EXPECT_EQ(SetPropertyAccess(root, 31, 1), -5);
    EXPECT_FAILED(1, -5, "SetPropertyAccess", "could not find property with id 31");
    EXPECT_EQ(SetPropertyAccess(nullptr, 30, 1), 0);
    EXPECT_FAILED(1, -2, "SetPropertyAccess", "node is Null");

    EXPECT_EQ(GetPropertyAt(child, 0), deep);
    EXPECT_EQ(GetPropertyAt(child, 1), nullptr);
    int type = 0;
    EXPECT_EQ(GetPropertyValueAt(child, 0, &type), &v);
    EXPECT_EQ(type, eInt);
    EXPECT_EQ(GetPropertyValueAt(child, 3, &type), nullptr);
    EXPECT_FAILED(2, -2, "GetPropertyValueAt", "property at index is NULL");
    EXPECT_EQ(GetPropertyAt(child, 8), nullptr);
    EXPECT_FAILED(1, -5, "GetPropertyAt", "property index invalid");
    EXPECT_EQ(GetPropertyValueAt(root, -1, &type), nullptr);
    EXPECT_FAILED(1, -5, "GetPropertyValueAt", "property index invalid");
    QVTreeNode* bare = node("bare", 5);
    EXPECT_EQ(GetPropertyAt(bare, 0), nullptr);
    EXPECT_FAILED(1, -2, "GetPropertyAt", "node or node properties is NULL");
    EXPECT_EQ(RemovePropertyAt(bare, 0), nullptr);
    EXPECT_FAILED(1, -2, "RemovePropertyAt", "node or node->Properties is NULL");

    SetProperty(child, 31, "second", &v, eInt, eSetPtr);
    QVTreeNode* removed = RemovePropertyAt(child, 0);
    EXPECT_EQ(removed, deep);
    EXPECT_EQ(GetPropertyAt(child, 0)->id, 31);  // the property list shifts
    QVTreeNode* second = RemovePropertyByID(child, 31);
    EXPECT_EQ(second->id, 31);
    EXPECT_EQ(RemovePropertyByID(child, 31), nullptr);
    EXPECT_EQ(RemovePropertyByID(nullptr, 31), nullptr);
    EXPECT_FAILED(1, -2, "RemovePropertyByID", "node is NULL");
    for (QVTreeNode* x : {removed, second, bare, root}) ReleaseTreeNode(x, 1);
}

}  // namespace
