// Releasing nodes: the order of steps, the refCount rule (a node still held keeps itself without
// its children), the delete function with node data and userData, and ReleaseChildNodes.
#include <cstdlib>
#include <string>
#include <vector>

#include "tree/tree_test.h"

namespace {

using treetest::TreeTest;

struct Deleted {
    void* data;
    int type;
    int id;
};
std::vector<Deleted> g_deleted;

int recordDelete(void* data, int type, int id) {
    g_deleted.push_back({data, type, id});
    return 0;
}

class Release : public TreeTest {
protected:
    void SetUp() override {
        TreeTest::SetUp();
        g_deleted.clear();
    }
};

TEST_F(Release, NodeStillHeldKeepsItselfButNotItsChildren) {
    QVTreeNode* parent = node("parent", 0);
    QVTreeNode* held = node("held", 1);
    AppendChild(parent, held);
    children(held, 2);
    held->refCount = 2;  // held by something besides its parent
    EXPECT_EQ(ReleaseTreeNode(held, 0), -5);
    EXPECT_FAILED(2, -5, "ReleaseTreeNodeEx", "cannot delete node held, refCount > 0");
    EXPECT_EQ(held->refCount, 1);
    EXPECT_EQ(held->numChildren, 0);
    EXPECT_EQ(held->parent, parent);
    // Releasing the parent now frees it as its last holder.
    EXPECT_EQ(ReleaseTreeNode(parent, 0), 0);
}

TEST_F(Release, HeldChildOfAReleasedParentIsLeftDetached) {
    QVTreeNode* parent = node("parent", 0);
    auto c = children(parent, 3);
    c[1]->refCount = 2;
    EXPECT_EQ(ReleaseTreeNode(parent, 0), 0);
    // The kept child points at nothing that was freed.
    EXPECT_EQ(c[1]->parent, nullptr);
    EXPECT_EQ(c[1]->prevSibling, nullptr);
    EXPECT_EQ(c[1]->nextSibling, nullptr);
    EXPECT_EQ(c[1]->refCount, 1);
    EXPECT_EQ(ReleaseTreeNode(c[1], 0), 0);
}

TEST_F(Release, AttachedNodeLeavesItsParent) {
    QVTreeNode* parent = node("parent", 0);
    auto c = children(parent, 3);
    EXPECT_EQ(ReleaseTreeNode(c[0], 0), 0);
    EXPECT_EQ(parent->numChildren, 2);
    EXPECT_EQ(slots(parent), "c1,c2,-,-,-,-,-,-");
    EXPECT_EQ(c[1]->indexInParent, 0);
    ReleaseTreeNode(parent, 0);
}

TEST_F(Release, DeleteFunctionGetsDataAndUserData) {
    int a = 1, b = 2, user = 3;
    QVTreeNode* root = CreateTreeNode(eInt, &a, "root", 10, eFixedIndex);
    QVTreeNode* child = CreateTreeNode(eInt, &b, "child", 11, eShift);
    child->userData = &user;
    InsertChildAt(root, child, 5);
    EXPECT_EQ(ReleaseTreeNodeEx(root, recordDelete), 0);
    ASSERT_EQ(g_deleted.size(), 3u);
    // Children first (found in a sparse slot), then the node's data and its userData.
    EXPECT_EQ(g_deleted[0].data, &b);
    EXPECT_EQ(g_deleted[0].id, 11);
    EXPECT_EQ(g_deleted[1].data, &user);
    EXPECT_EQ(g_deleted[1].type, eUserData);
    EXPECT_EQ(g_deleted[2].data, &a);
    EXPECT_EQ(g_deleted[2].type, eInt);
    // Without a delete function nothing is handed over; ReleaseData never frees caller data.
    QVTreeNode* plain = CreateTreeNode(eInt, &a, "plain", 1, eShift);
    EXPECT_EQ(ReleaseTreeNode(plain, 1), 0);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(ReleaseTreeNode(nullptr, 1), -2);
    EXPECT_FAILED(1, -2, "ReleaseTreeNodeEx", "cannot release TreeNode, Node is NULL");
}

TEST_F(Release, OwnedDataAndPropertiesAreFreedWithTheNode) {
    // Run under the sanitizer and valgrind: every allocation below must be freed exactly once.
    int value = 42;
    QVTreeNode* root = CreateEmptyTreeNode("root", 0);
    QVTreeNode* child = CreateTreeNode(eInt, nullptr, "child", 1, eShift);
    EXPECT_EQ(SetNodeData(child, &value, eInt, eAllocNewPtr), 0);
    AppendChild(root, child);
    SetProperty(child, 5, "text", "hello", eString, eAllocNewPtr);
    SetProperty(root, 6, "shared", &value, eInt, eSetPtr);
    EXPECT_EQ(ReleaseTreeNode(root, 1), 0);
    EXPECT_EQ(value, 42);
}

TEST_F(Release, ReleaseChildNodesEmptiesEverySlot) {
    QVTreeNode* p = node("p", 0, eFixedIndex, 8);
    QVTreeNode* a = node("a", 1);
    QVTreeNode* b = node("b", 2);
    InsertChildAt(p, a, 2);
    InsertChildAt(p, b, 6);
    b->refCount = 2;
    EXPECT_EQ(ReleaseChildNodes(p, nullptr), -5);  // the OR of 0 and -5
    EXPECT_EQ(p->numChildren, 0);
    EXPECT_EQ(slots(p), "-,-,-,-,-,-,-,-");
    EXPECT_EQ(b->parent, nullptr);
    ReleaseTreeNode(b, 0);
    EXPECT_EQ(ReleaseChildNodes(nullptr, nullptr), -2);
    EXPECT_FAILED(1, -2, "ReleaseChildNodes", "cannot release TreeNode, Node is NULL");
    ReleaseTreeNode(p, 0);
}

}  // namespace
