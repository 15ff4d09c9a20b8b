// Creation, naming and the child operations under the three order modes: placement, shifting,
// holes, growth, sibling links, levels, moves between parents and the failure paths.
#include <cstring>
#include <string>

#include "tree/tree_test.h"

namespace {

using treetest::TreeTest;

class Children : public TreeTest {};

TEST_F(Children, CreationDefaultsAndPropertyList) {
    int value = 5;
    QVTreeNode* n = CreateTreeNode(eInt, &value, nullptr, 7, eInsertFree);
    ASSERT_NE(n, nullptr);
    EXPECT_STREQ(n->name, "node");
    EXPECT_STREQ(n->baseName, "node");
    EXPECT_EQ(n->data, &value);
    EXPECT_EQ(n->access, 6u);
    EXPECT_EQ(n->dataFlags, 1u);
    EXPECT_EQ(n->refCount, 0);
    EXPECT_EQ(n->childArraySize, 8);
    QVTreeNode* props = n->properties;
    ASSERT_NE(props, nullptr);
    EXPECT_STREQ(props->baseName, "Properties");
    EXPECT_EQ(props->id, -16);
    EXPECT_EQ(props->dataType, eQVPropertyList);
    EXPECT_EQ(props->parent, n);
    EXPECT_EQ(props->refCount, 0);
    const auto* list = static_cast<const QVArray*>(props->data);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->capacity, 8);
    EXPECT_EQ(list->inlineValues, 0);
    EXPECT_EQ(n->numChildren, 0);  // the property list is not a child
    EXPECT_EQ(ReleaseTreeNode(n, 0), 0);

    QVTreeNode* bare = CreateEmptyTreeNodeN("bare", 1, eFixedIndex, 0, 0);
    EXPECT_EQ(bare->properties, nullptr);
    EXPECT_EQ(bare->children, nullptr);
    EXPECT_EQ(bare->dataType, eNoData);
    ReleaseTreeNode(bare, 0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(Children, NamesAreBoundedAndSetTogether) {
    const std::string longName(130, 'x');
    QVTreeNode* n = CreateEmptyTreeNode(longName.c_str(), 1);
    EXPECT_FAILED(0, -5, "CreateTreeNodeN", "Node name too long");
    EXPECT_EQ(std::string(n->name), std::string(127, 'x'));
    EXPECT_EQ(std::string(n->baseName), std::string(127, 'x'));
    EXPECT_EQ(SetNodeName(n, "short"), 0);
    EXPECT_STREQ(n->name, "short");
    EXPECT_STREQ(n->baseName, "short");
    EXPECT_EQ(SetNodeName(n, nullptr), -2);
    EXPECT_FAILED(1, -2, "SetNodeName", "node or new name is NULL");
    ReleaseTreeNode(n, 0);
}

TEST_F(Children, AppendGrowsAndLinksSiblings) {
    QVTreeNode* p = node("p", 0);
    auto c = children(p, 9);
    EXPECT_EQ(p->childArraySize, 16);
    EXPECT_EQ(p->numChildren, 9);
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(c[i]->indexInParent, i);
        EXPECT_EQ(c[i]->refCount, 1);
        EXPECT_EQ(c[i]->level, 1);
        EXPECT_EQ(c[i]->prevSibling, i ? c[i - 1] : nullptr);
        EXPECT_EQ(c[i]->nextSibling, i < 8 ? c[i + 1] : nullptr);
    }
    // A parent without slots grows to 8 first.
    QVTreeNode* empty = node("e", 0, eShift, 0);
    EXPECT_EQ(AppendChild(empty, node("x", 1)), 0);
    EXPECT_EQ(empty->childArraySize, 8);
    EXPECT_EQ(AppendChild(p, c[0]), -5);
    EXPECT_FAILED(1, -5, "AppendChild", "node is already a child of specified parent");
    EXPECT_EQ(AppendChild(nullptr, c[0]), -2);
    EXPECT_FAILED(1, -2, "AppendChild", "parent or newChild is NULL");
    ReleaseTreeNode(p, 0);
    ReleaseTreeNode(empty, 0);
}

TEST_F(Children, ShiftModeInsertAndRemove) {
    QVTreeNode* p = node("p", 0, eShift, 4);
    auto c = children(p, 3);
    // Removing slot 0 shifts the rest down, with a trace per moved child.
    EXPECT_EQ(RemoveChildAt(p, 0), c[0]);
    EXPECT_EQ(slots(p), "c1,c2,-,-");
    EXPECT_EQ(c[1]->indexInParent, 0);
    EXPECT_EQ(c[2]->indexInParent, 1);
    EXPECT_EQ(c[1]->prevSibling, nullptr);
    EXPECT_EQ(linesContaining("removed child at 0").size(), 2u);
    EXPECT_FAILED(7, 0, "RemoveChildAt",
                     "removed child at 0 -> index of child# 1 = 1, (numChildren=3, arraySize=4)");
    EXPECT_EQ(c[0]->parent, nullptr);
    EXPECT_EQ(c[0]->refCount, 0);
    EXPECT_EQ(c[0]->level, 0);

    // Inserting at 1 shifts up; a full array doubles.
    EXPECT_EQ(InsertChildAt(p, c[0], 1), 0);
    EXPECT_EQ(slots(p), "c1,c0,c2,-");
    EXPECT_EQ(c[2]->indexInParent, 2);
    EXPECT_EQ(c[1]->nextSibling, c[0]);
    EXPECT_EQ(c[2]->prevSibling, c[0]);
    QVTreeNode* d = node("d", 9);
    EXPECT_EQ(InsertChildAt(p, d, 7), 0);  // past the last child: appended
    EXPECT_EQ(slots(p), "c1,c0,c2,d");
    QVTreeNode* e = node("e", 10);
    EXPECT_EQ(InsertChildAt(p, e, 0), 0);
    EXPECT_EQ(p->childArraySize, 8);
    EXPECT_EQ(slots(p), "e,c1,c0,c2,d,-,-,-");
    EXPECT_EQ(d->indexInParent, 4);
    EXPECT_EQ(RemoveChild(p, c[0]), c[0]);
    EXPECT_EQ(slots(p), "e,c1,c2,d,-,-,-,-");
    EXPECT_EQ(c[1]->nextSibling, c[2]);
    EXPECT_EQ(c[2]->prevSibling, c[1]);
    ReleaseTreeNode(c[0], 0);
    ReleaseTreeNode(p, 0);
}

TEST_F(Children, InsertFreeModeRefillsHoles) {
    QVTreeNode* p = node("p", 0, eInsertFree, 4);
    auto c = children(p, 3);
    EXPECT_EQ(RemoveChildAt(p, 1), c[1]);
    EXPECT_EQ(slots(p), "c0,-,c2,-");
    EXPECT_EQ(c[0]->nextSibling, c[2]);
    EXPECT_EQ(InsertChild(p, c[1]), 0);
    EXPECT_EQ(slots(p), "c0,c1,c2,-");
    EXPECT_EQ(c[1]->indexInParent, 1);
    // A hole before numChildren: appending must not overwrite the child behind it.
    EXPECT_EQ(RemoveChildAt(p, 0), c[0]);
    QVTreeNode* x = node("x", 9);
    EXPECT_EQ(AppendChild(p, x), 0);
    EXPECT_EQ(slots(p), "-,c1,c2,x");
    // Shifting at an occupied slot stops at the first hole instead of overwriting.
    QVTreeNode* y = node("y", 10);
    EXPECT_EQ(RemoveChildAt(p, 2), c[2]);
    EXPECT_EQ(InsertChildAt(p, y, 1), 0);
    EXPECT_EQ(slots(p), "-,y,c1,x");
    EXPECT_EQ(c[1]->indexInParent, 2);
    EXPECT_EQ(c[1]->nextSibling, x);
    // A child behind a hole past numChildren has no index among the counted slots, but is
    // still found and removed.
    EXPECT_EQ(GetChildIndex(x), -5);
    EXPECT_EQ(RemoveChild(p, x), x);
    ReleaseTreeNode(x, 0);
    ReleaseTreeNode(c[0], 0);
    ReleaseTreeNode(c[2], 0);
    ReleaseTreeNode(p, 0);
}

TEST_F(Children, FixedIndexModeGrowsToTheIndex) {
    QVTreeNode* p = node("p", 0, eFixedIndex, 8);
    QVTreeNode* a = node("a", 1);
    EXPECT_EQ(InsertChildAt(p, a, 20), 0);
    EXPECT_FAILED(3, 0, "InsertChildAt", "resizing child array: oldSize: 8 -> newSize will be: 64");
    EXPECT_EQ(p->childArraySize, 64);
    EXPECT_EQ(p->children[20], a);
    EXPECT_EQ(a->indexInParent, 20);
    QVTreeNode* b = node("b", 2);
    EXPECT_EQ(InsertChildAt(p, b, 20), -5);
    EXPECT_FAILED(1, -5, "InsertChildAt",
                     "cannot insert new child b at index 20: there's already a child node at this position: a");
    EXPECT_EQ(InsertChild(p, b), -5);
    EXPECT_FAILED(1, -5, "InsertChild",
                     "cannot insert child if OrderMode is 'eFixedIndex' an index must be specified");
    EXPECT_EQ(InsertChildAt(p, b, 19), 0);
    EXPECT_EQ(a->prevSibling, b);
    EXPECT_EQ(RemoveChildAt(p, 20), a);  // leaves a hole, no shifting
    EXPECT_EQ(p->children[19], b);
    EXPECT_EQ(p->children[20], nullptr);
    EXPECT_EQ(p->numChildren, 1);
    ReleaseTreeNode(a, 0);

    // Growth sizes: 2^(ceil(log2(index)) + 1).
    const std::pair<int, int> sizes[] = {{1, 2}, {5, 16}, {8, 16}, {0, 2}};
    for (auto [index, size] : sizes) {
        QVTreeNode* q = node("q", 0, eFixedIndex, 0);
        QVTreeNode* k = node("k", 1);
        EXPECT_EQ(InsertChildAt(q, k, index), 0) << index;
        EXPECT_EQ(q->childArraySize, size) << index;
        ReleaseTreeNode(q, 0);
    }
    ReleaseTreeNode(p, 0);
}

TEST_F(Children, SortedAndUnknownModesFail) {
    QVTreeNode* sorted = node("s", 0, eSortedById);
    QVTreeNode* odd = node("o", 0, 9);
    QVTreeNode* c = node("c", 1);
    EXPECT_EQ(InsertChild(sorted, c), -9);
    EXPECT_FAILED(1, -9, "InsertChild", " sorting child nodes is not implemented yet");
    EXPECT_EQ(InsertChildAt(sorted, c, 0), -9);
    EXPECT_EQ(InsertChild(odd, c), -5);
    EXPECT_FAILED(1, -5, "InsertChild", "unknown ChildOrder Type");
    EXPECT_EQ(InsertChildAt(odd, c, 0), -5);
    EXPECT_FAILED(1, -5, "InsertChildAt", "unknown ChildOrder Type");
    EXPECT_EQ(InsertChildAt(odd, c, -1), -5);
    EXPECT_FAILED(1, -5, "InsertChildAt", "Index is invalid, must be >= 0");
    EXPECT_EQ(InsertChildAt(nullptr, c, 0), -2);
    EXPECT_FAILED(1, -2, "InsertChildAt", "parent or child is NULL, or index < 0");
    // Appending ignores the mode; removing then meets the unknown mode and changes nothing.
    EXPECT_EQ(AppendChild(odd, c), 0);
    EXPECT_EQ(RemoveChildAt(odd, 0), nullptr);
    EXPECT_FAILED(1, -5, "RemoveChildAt", "unknown ChildOrder Type");
    EXPECT_EQ(odd->children[0], c);
    EXPECT_EQ(odd->numChildren, 1);
    odd->childOrderMode = eShift;
    ReleaseTreeNode(odd, 0);
    ReleaseTreeNode(sorted, 0);
}

TEST_F(Children, MovingBetweenParentsAndCycles) {
    QVTreeNode* a = node("a", 1);
    QVTreeNode* b = node("b", 2);
    auto c = children(a, 2);
    EXPECT_EQ(AppendChild(b, c[0]), 0);
    EXPECT_EQ(a->numChildren, 1);
    EXPECT_EQ(c[0]->parent, b);
    EXPECT_EQ(c[0]->refCount, 1);
    EXPECT_EQ(InsertChild(b, c[1]), 0);
    EXPECT_FAILED(2, -5, "InsertChild",
                     "the node was a child node of another parent node, and has been removed there");
    EXPECT_EQ(a->numChildren, 0);
    EXPECT_EQ(slots(b), "c0,c1,-,-,-,-,-,-");
    // A property-list node has a parent but no slot there: it cannot be moved.
    QVTreeNode* owner = CreateEmptyTreeNode("owner", 3);
    EXPECT_EQ(InsertChild(b, owner->properties), -5);
    EXPECT_FAILED(1, -5, "InsertChild",
                     "the node is already a child node of another parent node, but cannot be removed there");
    // No node may become its own descendant.
    EXPECT_EQ(AppendChild(c[0], b), -5);
    EXPECT_EQ(AppendChild(b, b), -5);
    EXPECT_EQ(b->parent, nullptr);
    ReleaseTreeNode(owner, 0);
    ReleaseTreeNode(a, 0);
    ReleaseTreeNode(b, 0);
}

TEST_F(Children, AppendTakesANodeItsOldParentDoesNotHold) {
    // A copy made for `a` names `a` as its parent without sitting in any of its slots: there is
    // nothing to remove it from, and appending it elsewhere simply attaches it.
    QVTreeNode* a = node("a", 1);
    QVTreeNode* b = node("b", 2);
    auto kids = children(a, 2);
    QVTreeNode* source = node("src", 4);
    QVTreeNode* copy = CopyTreeNode(source, a, 0, eSetPtr);
    ASSERT_NE(copy, nullptr);
    ASSERT_EQ(copy->parent, a);
    qvtest::clear();
    EXPECT_EQ(AppendChild(b, copy), 0);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(copy->parent, b);
    EXPECT_EQ(copy->refCount, 1);
    EXPECT_EQ(copy->indexInParent, 0);
    EXPECT_EQ(slots(b), "src,-,-,-,-,-,-,-");
    EXPECT_EQ(slots(a), "c0,c1,-,-,-,-,-,-");
    EXPECT_EQ(a->numChildren, 2);
    // The property-list node of another node is never moved: its owner keeps pointing at it.
    QVTreeNode* owner = CreateEmptyTreeNode("owner", 3);
    EXPECT_EQ(AppendChild(b, owner->properties), -5);
    EXPECT_FAILED(1, -5, "AppendChild",
                     "the node is already a child node of another parent node, but cannot be removed there");
    EXPECT_EQ(owner->properties->parent, owner);
    EXPECT_EQ(b->numChildren, 1);
    for (QVTreeNode* x : {owner, a, b, source}) ReleaseTreeNode(x, 0);
}

TEST_F(Children, RemoveFailures) {
    QVTreeNode* p = node("p", 0, eShift, 4);
    auto c = children(p, 1);
    EXPECT_EQ(RemoveChildAt(nullptr, 0), nullptr);
    EXPECT_FAILED(1, -2, "RemoveChildAt", "parent NULL");
    EXPECT_EQ(RemoveChildAt(p, 4), nullptr);
    EXPECT_FAILED(1, -5, "RemoveChildAt", "childIndex 4 is invaild -> parent->childArraySize = 4");
    EXPECT_EQ(RemoveChildAt(p, -1), nullptr);
    EXPECT_EQ(RemoveChildAt(p, 2), nullptr);
    EXPECT_FAILED(4, 0, "RemoveChildAt", "p->child[2] is NULL");
    EXPECT_EQ(RemoveChild(nullptr, nullptr), nullptr);
    EXPECT_FAILED(1, -2, "RemoveChild", "child and parent are NULL");
    EXPECT_EQ(RemoveChild(p, nullptr), nullptr);
    EXPECT_FAILED(1, -2, "RemoveChild", "child to remove from p is NULL");
    qvtest::clear();
    QVTreeNode* stranger = node("s", 5);
    EXPECT_EQ(RemoveChild(p, stranger), nullptr);
    EXPECT_EQ(count(), 0u);
    QVTreeNode* bare = node("bare", 0, eShift, 0);
    EXPECT_EQ(RemoveChildAt(bare, 0), nullptr);  // no slots at all: out of range, no read
    ReleaseTreeNode(bare, 0);
    ReleaseTreeNode(stranger, 0);
    ReleaseTreeNode(p, 0);
}

TEST_F(Children, QueriesAndLevels) {
    QVTreeNode* root = CreateEmptyTreeNode("root", 0);
    auto a = children(root, 3, 10);
    auto b = children(a[1], 2, -7);
    EXPECT_EQ(GetHighestChildId(root), 12);
    EXPECT_EQ(GetHighestChildId(a[1]), -6);  // the greatest id, also when all are below -1
    EXPECT_EQ(GetHighestChildId(a[0]), -1);
    EXPECT_EQ(GetHighestChildId(nullptr), -2);
    EXPECT_FAILED(1, -2, "GetHighestChildId", "parent node is NULL");
    EXPECT_EQ(GetRoot(b[1]), root);
    EXPECT_EQ(GetRoot(nullptr), nullptr);
    EXPECT_EQ(GetNodeDepth(root), 0);
    EXPECT_EQ(GetNodeDepth(b[1]), 2);
    EXPECT_EQ(GetChildIndex(a[2]), 2);
    EXPECT_EQ(GetChildIndex(root), -2);
    EXPECT_FAILED(1, -2, "GetChildIndex", "parent node is NULL");
    EXPECT_EQ(GetChildIndexByID(root, 11), 1);
    EXPECT_EQ(GetChildIndexByID(root, 99), -1);
    EXPECT_FAILED(2, -5, "GetChildIndexByID", "child with specified ID could not be found");
    EXPECT_EQ(b[0]->level, 2);
    EXPECT_EQ(root->properties->level, 0);  // a root's list keeps the level of a new record
    EXPECT_EQ(findParentOfLevel(b[0], 1), a[1]);
    EXPECT_EQ(findParentOfLevel(b[0], 3), nullptr);
    EXPECT_EQ(setNodeLevel(a[1], 5), 0);
    EXPECT_EQ(b[1]->level, 6);
    EXPECT_EQ(findParentOfLevel(b[1], 5), a[1]);
    EXPECT_EQ(findParentOfLevel(b[1], 3), nullptr);  // levels 6, 5, then the root's 0 < 3
    EXPECT_EQ(setNodeLevel(nullptr, 1), -2);
    EXPECT_FAILED(1, -2, "setNodeLevel", "node is NULL");
    ReleaseTreeNode(root, 0);
}

TEST_F(Children, SetChildNodeFindsMovesOrCreates) {
    QVTreeNode* g = CreateEmptyTreeNode("g", 0);
    QVTreeNode* p = CreateEmptyTreeNode("p", 1);
    AppendChild(g, p);
    QVTreeNode* uncle = node("u", 7);
    AppendChild(g, uncle);
    int v1 = 1, v2 = 2;
    // Found under the grandparent: moved here, value and names replaced.
    EXPECT_EQ(SetChildNode(p, 7, "seven", &v1, eInt), uncle);
    EXPECT_EQ(uncle->parent, p);
    EXPECT_EQ(g->numChildren, 1);
    EXPECT_EQ(uncle->data, &v1);
    EXPECT_STREQ(uncle->baseName, "seven");
    // Not found: created and appended; without data the type is set afterwards.
    QVTreeNode* made = SetChildNode(p, 8, "eight", nullptr, eDouble);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->parent, p);
    EXPECT_EQ(made->dataType, eDouble);
    EXPECT_NE(made->properties, nullptr);
    EXPECT_EQ(SetChildNode(p, 8, "eight", &v2, eInt), made);
    EXPECT_EQ(made->data, &v2);
    EXPECT_EQ(SetChildNode(nullptr, 1, "x", nullptr, eInt), nullptr);
    EXPECT_FAILED(1, -2, "SetChildNode", "parent node is NULL");
    ReleaseTreeNode(g, 0);
}

}  // namespace
