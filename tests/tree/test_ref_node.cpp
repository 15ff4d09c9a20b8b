// Reference nodes: creation with and without the two path properties, finding the referenced
// node again by id path and, after an id change, by name path, every failure of the lookup, and
// that releasing a reference leaves the referenced node alone.
#include <cstring>
#include <string>

#include "tree/tree_test.h"

namespace {

using treetest::TreeTest;

const char* text(QVTreeNode* node, int propertyId) {
    QVTreeNode* property = FindPropertyByID(node, propertyId, nullptr);
    return property ? static_cast<const char*>(property->data) : nullptr;
}

// root(100) / a(1) / b(2), and a second tree other(200) holding the references.
class RefNodes : public TreeTest {
protected:
    void SetUp() override {
        TreeTest::SetUp();
        root = CreateEmptyTreeNode("root", 100);
        a = CreateEmptyTreeNode("a", 1);
        b = CreateEmptyTreeNode("b", 2);
        other = CreateEmptyTreeNode("other", 200);
        AppendChild(root, a);
        AppendChild(a, b);
    }
    void TearDown() override {
        ReleaseTreeNode(other, 1);
        ReleaseTreeNode(root, 1);
        TreeTest::TearDown();
    }
    QVTreeNode *root, *a, *b, *other;
};

TEST_F(RefNodes, CreationWithPathProperties) {
    std::snprintf(b->name, sizeof b->name, "Bee");  // a displayed name of its own
    QVTreeNode* ref = CreateRefNode(nullptr, b, 1);
    ASSERT_NE(ref, nullptr);
    AppendChild(other, ref);
    EXPECT_EQ(ref->dataType, eRefToNode);
    EXPECT_EQ(ref->id, -15);
    EXPECT_EQ(ref->data, b);
    EXPECT_EQ(ref->childOrderMode, eShift);
    EXPECT_EQ(ref->childArraySize, 0);
    EXPECT_STREQ(ref->baseName, "b");
    EXPECT_STREQ(ref->name, "Bee");
    ASSERT_NE(ref->properties, nullptr);
    EXPECT_EQ(ref->properties->childArraySize, 3);
    ASSERT_EQ(ref->properties->numChildren, 2);

    int type = 0;
    QVTreeNode* names = FindPropertyByID(ref, 1, &type);
    ASSERT_NE(names, nullptr);
    EXPECT_EQ(type, eString);
    EXPECT_STREQ(names->baseName, "NodeNamePath");
    EXPECT_STREQ(static_cast<const char*>(names->data), "root|a|b");
    EXPECT_EQ(names->access, 16u);
    EXPECT_EQ(names->dataFlags, 16u);
    QVTreeNode* ids = FindPropertyByID(ref, 2, &type);
    ASSERT_NE(ids, nullptr);
    EXPECT_STREQ(ids->baseName, "NodeIDPath");
    EXPECT_STREQ(static_cast<const char*>(ids->data), "100|1|2");

    // The text form of a reference is the name path.
    char value[QV_STRING_SIZE];
    ASSERT_EQ(NodeDataToString(ref, 10, value), 0);
    EXPECT_STREQ(value, "root|a|b");

    // Initialising again after a move rewrites the same two properties.
    AppendChild(root, b);
    ASSERT_EQ(InitRefNode(ref), 0);
    EXPECT_EQ(ref->properties->numChildren, 2);
    EXPECT_STREQ(text(ref, 1), "root|b");
    EXPECT_STREQ(text(ref, 2), "100|2");
}

TEST_F(RefNodes, NamedAndUninitialised) {
    QVTreeNode* ref = CreateRefNode("link", b, 0);
    ASSERT_NE(ref, nullptr);
    AppendChild(other, ref);
    EXPECT_STREQ(ref->name, "link");
    EXPECT_STREQ(ref->baseName, "link");
    EXPECT_EQ(ref->properties->numChildren, 0);

    EXPECT_EQ(CreateRefNode("x", nullptr, 1), nullptr);
    EXPECT_FAILED(1, -2, "CreateRefNode", "nodeToRef is NULL");
    EXPECT_EQ(InitRefNode(nullptr), -2);
    EXPECT_FAILED(1, -2, "InitRefNode", "ref node or ref node data is NULL");
    ref->data = nullptr;
    EXPECT_EQ(InitRefNode(ref), -2);
}

TEST_F(RefNodes, FoundByIdPathThenByNamePath) {
    QVTreeNode* ref = CreateRefNode(nullptr, b, 1);
    AppendChild(other, ref);
    ref->data = nullptr;
    ASSERT_EQ(LoadRefNode(ref, root, 0), 0);
    EXPECT_EQ(ref->data, b);

    // Renamed: the id path still finds it. A reference with data is looked up again, with a
    // warning.
    SetNodeName(b, "renamed");
    qvtest::clear();
    ASSERT_EQ(LoadRefNode(ref, root, 0), 0);
    EXPECT_EQ(ref->data, b);
    EXPECT_EQ(linesContaining("ref node b already has data, it refers to").size(), 1u);
    EXPECT_EQ(last()->level, 2);

    // New id, old name: found by the name path.
    SetNodeName(b, "b");
    b->id = 77;
    ref->data = nullptr;
    ASSERT_EQ(LoadRefNode(ref, root, 0), 0);
    EXPECT_EQ(ref->data, b);

    // Both changed: not found.
    SetNodeName(b, "gone");
    ref->data = nullptr;
    EXPECT_EQ(LoadRefNode(ref, root, 0), -5);
    EXPECT_FAILED(1, -5, "LoadRefNode", "could not find referenced node from name-path \"root|a|b\"");
    EXPECT_EQ(ref->data, nullptr);
}

TEST_F(RefNodes, IdPathFallsBackToTheLenientSearch) {
    QVTreeNode* ref = CreateRefNode(nullptr, b, 1);
    AppendChild(other, ref);
    ref->data = nullptr;
    // Started below the root: the strict lookup misses (a is not the root), the lenient one
    // finds a inside the path and goes on from there.
    ASSERT_EQ(LoadRefNode(ref, a, 0), 0);
    EXPECT_EQ(ref->data, b);
}

TEST_F(RefNodes, LookupFailures) {
    QVTreeNode* ref = CreateRefNode("link", b, 0);
    AppendChild(other, ref);
    EXPECT_EQ(LoadRefNode(nullptr, root, 0), -2);
    EXPECT_FAILED(1, -2, "LoadRefNode", "ref node or root node is NULL");
    EXPECT_EQ(LoadRefNode(ref, nullptr, 0), -2);

    ref->data = nullptr;
    EXPECT_EQ(LoadRefNode(ref, root, 0), -5);
    EXPECT_FAILED(1, -5, "LoadRefNode", "could not find id-path property at reference node");
    int number = 5;
    SetProperty(ref, 2, "NodeIDPath", &number, eInt, eAllocNewPtr);
    EXPECT_EQ(LoadRefNode(ref, root, 0), -5);
    EXPECT_FAILED(1, -5, "LoadRefNode", "could not find id-path property at reference node");

    QVTreeNode* removed = RemovePropertyByID(ref, 2);
    ReleaseTreeNode(removed, 1);
    SetProperty(ref, 2, "NodeIDPath", "||", eString, eAllocNewPtr);
    EXPECT_EQ(LoadRefNode(ref, root, 0), -5);
    EXPECT_FAILED(1, -5, "LoadRefNode", "could not extract id-path from reference node");

    SetProperty(ref, 2, "NodeIDPath", "100|9", eString, eAllocNewPtr);
    EXPECT_EQ(LoadRefNode(ref, root, 0), -5);
    EXPECT_FAILED(1, -5, "LoadRefNode", "could not find get name path property");
    SetProperty(ref, 1, "NodeNamePath", "root|a|b", eString, eAllocNewPtr);
    EXPECT_EQ(LoadRefNode(ref, root, 0), 0);
    EXPECT_EQ(ref->data, b);
}

TEST_F(RefNodes, ReleasingAReferenceKeepsItsTarget) {
    QVTreeNode* ref = CreateRefNode(nullptr, b, 1);
    ASSERT_EQ(ReleaseTreeNode(ref, 1), 0);
    // b is intact and still in its tree (the sanitizers see any use after free).
    EXPECT_STREQ(b->name, "b");
    EXPECT_EQ(a->children[0], b);
    EXPECT_EQ(FindNodeByID(root, 2, 0x90), b);
}

TEST_F(RefNodes, DeepAndLongPathsStayInBounds) {
    // 31 levels below the root, every name 127 characters: the name path is longer than a
    // string value and is cut to 511 characters; deeper still it cannot be built at all.
    QVTreeNode* tip = root;
    for (int i = 0; i < 33; ++i) {
        const std::string name = std::string(126, 'n') + char('A' + i % 26);
        QVTreeNode* next = CreateEmptyTreeNodeN(name.c_str(), i, eShift, 0, 1);
        AppendChild(tip, next);
        tip = next;
    }
    QVTreeNode* at31 = tip->parent->parent;
    QVTreeNode* ref = CreateRefNode("deep", at31, 1);
    ASSERT_NE(ref, nullptr);
    AppendChild(other, ref);
    EXPECT_EQ(std::strlen(text(ref, 1)), 511u);
    EXPECT_EQ(std::string(text(ref, 2)).substr(0, 6), "100|0|");
    ref->data = nullptr;
    ASSERT_EQ(LoadRefNode(ref, root, 0), 0);
    EXPECT_EQ(ref->data, at31);

    ref->data = tip;  // 33 levels deep
    EXPECT_EQ(InitRefNode(ref), 0);
    EXPECT_EQ(linesContaining("could not extract node names path from node").size(), 1u);
    EXPECT_STREQ(text(ref, 1), "");
    ref->data = nullptr;
    ASSERT_EQ(LoadRefNode(ref, root, 0), 0);
    EXPECT_EQ(ref->data, tip);
}

}  // namespace
