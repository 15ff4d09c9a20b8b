// Searches: one-level child searches, FindNodeByID under each flag combination and its order,
// the upward searches, data pointers, collecting by type with its remaining rule, membership
// and the property lookups.
#include "tree/tree_test.h"

namespace {

using treetest::TreeTest;

// root(0) with children a(1), b(2); a has child a1(3) and property 50; a1 has property 60;
// b has property 3 (the same id as a1) and child b1(2).
class Search : public TreeTest {
protected:
    void SetUp() override {
        TreeTest::SetUp();
        root = CreateEmptyTreeNode("root", 0);
        a = CreateEmptyTreeNode("alpha", 1);
        b = CreateEmptyTreeNode("beta", 2);
        a1 = CreateEmptyTreeNode("alpha1", 3);
        b1 = CreateEmptyTreeNode("beta1", 2);
        AppendChild(root, a);
        AppendChild(root, b);
        AppendChild(a, a1);
        AppendChild(b, b1);
        pa = SetProperty(a, 50, "pa", &value, eInt, eSetPtr);
        pa1 = SetProperty(a1, 60, "pa1", &value, eDouble, eSetPtr);
        pb = SetProperty(b, 3, "pb", &value, eInt, eSetPtr);
    }
    void TearDown() override {
        ReleaseTreeNode(root, 0);
        TreeTest::TearDown();
    }
    int value = 1;
    QVTreeNode *root, *a, *b, *a1, *b1, *pa, *pa1, *pb;
};

TEST_F(Search, ChildSearches) {
    EXPECT_EQ(FindChildByID(root, 2), b);
    EXPECT_EQ(FindChildByID(root, 3), nullptr);
    EXPECT_EQ(FindChildByID(nullptr, 3), nullptr);
    EXPECT_EQ(FindChildByName(root, "ph", 0), a);
    EXPECT_EQ(FindChildByName(root, "BETA", 2), b);
    EXPECT_EQ(FindChildByName(root, "BETA", 1), nullptr);
    EXPECT_EQ(FindChildByName(root, "beta", 3), nullptr);
    SetNodeName(a, "alpha");
    std::snprintf(a->name, sizeof a->name, "Alpha shown");
    EXPECT_EQ(FindChildByExternName(root, "Alpha shown", 1), a);
    EXPECT_EQ(FindChildByName(root, "Alpha shown", 1), nullptr);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(FindChildByName(nullptr, "a", 0), nullptr);
    EXPECT_FAILED(1, -2, "FindChildByName", "parent node is NULL");
    b->dataType = eInt;
    EXPECT_EQ(FindChildByType(root, eInt), b);
    EXPECT_EQ(FindChildByType(nullptr, eInt), nullptr);
    EXPECT_FAILED(1, -2, "FindChildByType", "node is NULL");
    // Holes of eFixedIndex are skipped.
    QVTreeNode* fixed = CreateEmptyTreeNodeN("f", 9, eFixedIndex, 0, 8);
    QVTreeNode* k = CreateEmptyTreeNode("k", 4);
    InsertChildAt(fixed, k, 6);
    EXPECT_EQ(FindChildByID(fixed, 4), k);
    ReleaseTreeNode(fixed, 0);
}

TEST_F(Search, SortedByIdUsesBinarySearch) {
    QVTreeNode* sorted = CreateEmptyTreeNodeN("s", 9, eSortedById, 0, 8);
    const int ids[] = {1, 3, 5, 7, 9};
    for (int id : ids) AppendChild(sorted, CreateEmptyTreeNodeN("x", id, eShift, 0, 0));
    for (int id : ids) EXPECT_EQ(FindChildByID(sorted, id)->id, id);
    EXPECT_EQ(FindChildByID(sorted, 4), nullptr);
    sorted->children[1]->id = 8;  // out of order: the existing 8 is missed
    EXPECT_EQ(FindChildByID(sorted, 8), nullptr);
    ReleaseTreeNode(sorted, 0);
}

TEST_F(Search, FindNodeByIdFlags) {
    EXPECT_EQ(FindNodeByID(root, 2, 0x10), b);
    EXPECT_EQ(FindNodeByID(root, 3, 0x10), nullptr);  // children only
    EXPECT_EQ(FindNodeByID(root, 0, 0x90), root);
    EXPECT_EQ(FindNodeByID(root, 3, 0x90), a1);
    // Depth-first: a1's subtree comes before b's; b1 (id 2) after b.
    EXPECT_EQ(FindNodeByID(b, 2, 0x90), b);
    // 0xB0 tries every node before any property: id 3 is a1, not b's property.
    EXPECT_EQ(FindNodeByID(root, 3, 0xB0), a1);
    EXPECT_EQ(FindNodeByID(root, 3, 0xA0), pb);
    EXPECT_EQ(FindNodeByID(root, 60, 0xA0), pa1);
    EXPECT_EQ(FindNodeByID(a, 50, 0x20), pa);
    EXPECT_EQ(FindNodeByID(a, 60, 0x20), nullptr);
    EXPECT_EQ(FindNodeByID(a1, 2, 0x11), b);  // from the root
    EXPECT_EQ(FindNodeByID(root, 3, 0x94), nullptr);
    EXPECT_FAILED(1, -9, "FindNodeByID", "Breadth-First-Search not implemented yet");
    EXPECT_EQ(FindNodeByID(root, 2, 0x94), b);  // falls back to one level
    EXPECT_EQ(FindNodeByID(a1, 1, 0x40), a);
    EXPECT_EQ(FindNodeByID(a1, 3, 0x40), a1);
    EXPECT_EQ(FindNodeByID(a1, 7, 0x40), nullptr);
    qvtest::clear();
    EXPECT_EQ(FindNodeByID(nullptr, 7, 0x40), nullptr);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(FindNodeByID(nullptr, 7, 0x10), nullptr);
    EXPECT_FAILED(1, -2, "FindNodeByID", "start node is NULL");
    EXPECT_EQ(FindPropertyByIDRecursive(root, 60), pa1);
    EXPECT_EQ(FindPropertyByIDRecursive(root, 1), nullptr);
}

TEST_F(Search, UpwardAndMembership) {
    EXPECT_EQ(FindParentByID(a1, 1), a);
    EXPECT_EQ(FindParentByID(a1, 3), a1);
    EXPECT_EQ(FindParentByID(a1, 2), nullptr);
    EXPECT_EQ(FindParentByID(pa1, 3), a1);  // through the property list
    EXPECT_EQ(FindParentByType(pa1, eQVPropertyList), a1->properties);
    EXPECT_EQ(FindParentByType(nullptr, eInt), nullptr);
    EXPECT_EQ(IsNodeChildOf(root, a1, 2, 0), 1);
    EXPECT_EQ(IsNodeChildOf(root, a1, 1, 0), 0);
    EXPECT_EQ(IsNodeChildOf(a, a, 0, 0), 1);
    EXPECT_EQ(IsNodeChildOf(a, pa, 0, 0), 0);
    EXPECT_EQ(IsNodeChildOf(a, pa, 0, 0x20), 1);
    EXPECT_EQ(IsNodeChildOf(root, pa1, -1, 0x20), 1);
    EXPECT_EQ(IsNodeChildOf(nullptr, a, 1, 0), 0);
    EXPECT_FAILED(5, 0, "IsNodeChildOf", "parent or child is NULL");
}

TEST_F(Search, DataPointers) {
    int x = 0, y = 0;
    a1->data = &x;
    b->data = &y;
    EXPECT_EQ(FindNodeByDataPtr(root, &x, 0x80), a1);
    EXPECT_EQ(FindNodeByDataPtr(root, &x, 0x10), nullptr);
    EXPECT_EQ(FindNodeByDataPtr(root, &y, 0x10), b);
    EXPECT_EQ(FindNodeByDataPtr(a1, &y, 0x81), b);
    // Property data is never matched.
    EXPECT_EQ(FindNodeByDataPtr(a, &value, 0xB0), nullptr);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(FindNodeByDataPtr(pb, &value, 0x20), nullptr);  // pb has no property list
    EXPECT_FAILED(1, -2, "FindNodeByDataPtr", "start node is NULL");
}

TEST_F(Search, CollectingByType) {
    QVArray* found = CreateArray(eRefToNode, 0, 0);
    for (QVTreeNode* n : {root, a, b, a1, b1}) n->dataType = eInt;
    EXPECT_EQ(FindMultipleNodesByType(root, eInt, 0x10, -1, found), 5);
    EXPECT_EQ(GetValue(found, 0), root);
    EXPECT_EQ(GetValue(found, 2), a1);  // depth-first
    ClearArray(found, 0);
    EXPECT_EQ(FindMultipleNodesByType(root, eInt, 0x30, -1, found), 7);
    ClearArray(found, 0);
    EXPECT_EQ(FindMultipleNodesByType(root, eInt, 0x10, 0, found), 0);
    // remaining drops by the running total after each child: with 3, root (1) leaves 2, the
    // subtree of a adds 2 (total 3), 2 - 3 < 0 and from then on nothing limits the search.
    EXPECT_EQ(FindMultipleNodesByType(root, eInt, 0x10, 3, found), 5);
    ClearArray(found, 0);
    // With 2: root leaves 1, a's subtree stops at a (total 2), 1 - 2 < 0: b's subtree is added.
    EXPECT_EQ(FindMultipleNodesByType(root, eInt, 0x10, 2, found), 4);
    ClearArray(found, 0);

    // References are searched through their target, also when they loop back.
    QVTreeNode* other = CreateTreeNode(eDouble, nullptr, "other", 8, eShift);
    QVTreeNode* ref = CreateTreeNode(eRefToNode, other, "ref", -15, eShift);
    QVTreeNode* loop = CreateTreeNode(eRefToNode, root, "loop", -15, eShift);
    AppendChild(a1, ref);
    AppendChild(a1, loop);
    EXPECT_EQ(FindMultipleNodesByType(root, eDouble, 0x10, -1, found), 0);
    EXPECT_EQ(FindMultipleNodesByType(root, eDouble, 0x410, -1, found), 1);
    EXPECT_EQ(GetValue(found, 0), other);
    EXPECT_EQ(FindNodeByType(root, eDouble, 0x410), other);
    EXPECT_EQ(FindNodeByType(root, eDouble, 0x30), pa1);
    EXPECT_EQ(FindNodeByType(root, eQVBinaryData, 0x30), nullptr);

    EXPECT_EQ(FindMultipleNodesByType(nullptr, eInt, 0x10, 1, found), 0);
    EXPECT_FAILED(1, -2, "FindMultipleNodesByType", "start node is NULL");
    EXPECT_EQ(FindMultipleNodesByType(root, eInt, 0x10, 1, nullptr), -2);
    EXPECT_FAILED(1, -2, "FindMultipleNodesByType", "outpur array is NULL");
    ReleaseArray(found, 0);
    ReleaseTreeNode(other, 0);
}

TEST_F(Search, PropertyLookups) {
    int type = 0;
    EXPECT_EQ(FindPropertyByID(a1, 60, &type), pa1);
    EXPECT_EQ(type, eDouble);
    EXPECT_EQ(FindPropertyByID(a1, 61, &type), nullptr);
    EXPECT_FAILED(7, 0, "FindPropertyByID", "property 61 not found");
    EXPECT_EQ(FindPropertyByName(a, "PA", 2, nullptr), pa);
    EXPECT_EQ(FindPropertyByName(a, "zz", 0, nullptr), nullptr);
    EXPECT_FAILED(4, 0, "FindPropertyByName", "property zz not found");
    QVTreeNode* bare = CreateEmptyTreeNodeN("bare", 1, eShift, 0, 0);
    EXPECT_EQ(FindPropertyByID(bare, 1, nullptr), nullptr);
    EXPECT_FAILED(1, -2, "FindPropertyByID", "node or node->Properties is NULL");
    EXPECT_EQ(FindPropertyByName(nullptr, "x", 0, nullptr), nullptr);
    EXPECT_FAILED(1, -2, "FindPropertyByName", "node or node->Properties is NULL");
    ReleaseTreeNode(bare, 0);
}

}  // namespace
