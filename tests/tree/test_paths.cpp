// Paths: names, separated texts and ids from the root down to a node, the skipped property-list
// level, the 32-level limit, and following paths back to nodes (round trips by names and ids).
#include <cstring>
#include <string>
#include <vector>

#include "tree/tree_test.h"

namespace {

using treetest::TreeTest;

using Names = char[QV_MAX_PATH_DEPTH][QV_STRING_SIZE];

// root(100) / a(1) / b(2) / leaf(3), with property prop(77) on b.
class Paths : public TreeTest {
protected:
    void SetUp() override {
        TreeTest::SetUp();
        root = CreateEmptyTreeNode("root", 100);
        a = CreateEmptyTreeNode("a", 1);
        b = CreateEmptyTreeNode("b", 2);
        leaf = CreateEmptyTreeNode("leaf", 3);
        AppendChild(root, a);
        AppendChild(a, b);
        AppendChild(b, leaf);
        prop = SetProperty(b, 77, "prop", &value, eInt, eSetPtr);
    }
    void TearDown() override {
        ReleaseTreeNode(root, 0);
        TreeTest::TearDown();
    }
    static void fill(Names names, std::vector<std::string> list) {
        for (size_t i = 0; i < list.size(); ++i) std::strcpy(names[i], list[i].c_str());
    }
    int value = 0;
    QVTreeNode *root, *a, *b, *leaf, *prop;
};

TEST_F(Paths, NameArraysSkipThePropertyListLevel) {
    Names names;
    EXPECT_EQ(GetPathFromNode(leaf, names), 4);
    EXPECT_STREQ(names[0], "root");
    EXPECT_STREQ(names[3], "leaf");
    EXPECT_EQ(GetPathFromNode(prop, names), 4);
    EXPECT_STREQ(names[2], "b");
    EXPECT_STREQ(names[3], "prop");
    EXPECT_EQ(GetPathFromNode(root, nullptr), 1);
    std::snprintf(b->name, sizeof b->name, "Bee");
    EXPECT_EQ(GetNamePathFromNode(leaf, names), 4);
    EXPECT_STREQ(names[2], "Bee");
    EXPECT_EQ(GetPathFromNode(nullptr, names), 0);
    EXPECT_FAILED(1, -2, "GetPathFromNode", "node is NULL");
}

TEST_F(Paths, SeparatedTextAppends) {
    char text[QV_STRING_SIZE] = "";
    EXPECT_EQ(GetPathStrFromNode(leaf, '|', text), 4);
    EXPECT_STREQ(text, "root|a|b|leaf");
    EXPECT_EQ(GetPathStrFromNode(leaf, '|', text), 4);
    EXPECT_STREQ(text, "root|a|b|leafroot|a|b|leaf");
    // Below a property list the positions are not contiguous: the last one stays empty and
    // the property's own name is not written (kept exactly so).
    text[0] = '\0';
    EXPECT_EQ(GetPathStrFromNode(prop, '/', text), 4);
    EXPECT_STREQ(text, "root/a/b/");
    EXPECT_EQ(GetPathStrFromNode(a, '/', nullptr), 2);
    EXPECT_EQ(GetPathStrFromNode(nullptr, '/', text), 0);
    EXPECT_FAILED(1, -2, "GetPathStrFromNode", "node is NULL");
}

TEST_F(Paths, IdPaths) {
    int ids[QV_MAX_PATH_DEPTH] = {};
    char text[QV_STRING_SIZE] = "";
    EXPECT_EQ(GetIDPathFromNode(root, ids, text), 1);
    EXPECT_STREQ(text, "100");
    text[0] = '\0';
    EXPECT_EQ(GetIDPathFromNode(prop, ids, text), 4);
    EXPECT_STREQ(text, "100|1|2|77");
    EXPECT_EQ(ids[3], 77);
    EXPECT_EQ(GetIDPathFromNode(nullptr, ids, text), 0);
    EXPECT_FAILED(1, -2, "GetIDPathFromNode", "nodeNames is NULL");
}

TEST_F(Paths, DepthLimit) {
    QVTreeNode* deep = CreateEmptyTreeNodeN("d0", 0, eShift, 0, 1);
    QVTreeNode* tip = deep;
    for (int i = 1; i <= 33; ++i) {
        QVTreeNode* next = CreateEmptyTreeNodeN(("d" + std::to_string(i)).c_str(), i, eShift, 0, 1);
        AppendChild(tip, next);
        tip = next;
    }
    Names names;
    EXPECT_EQ(GetPathFromNode(tip, names), 0);
    EXPECT_FAILED(0, 33, "GetPathFromNode", "node depth too big");
    EXPECT_EQ(GetPathFromNode(tip->parent->parent, names), 32);  // depth 31: 32 names fit
    char text[QV_STRING_SIZE * 4] = "";
    EXPECT_EQ(GetPathStrFromNode(tip, '|', text), 0);
    EXPECT_FAILED(0, 33, "GetPathStrFromNode", "node depth too big");
    int ids[40];
    EXPECT_EQ(GetIDPathFromNode(tip, ids, nullptr), 34);
    EXPECT_EQ(GetNodeFromIDPath(deep, ids, 34, 0), tip);
    ReleaseTreeNode(deep, 0);
}

TEST_F(Paths, RoundTripsByNamesAndIds) {
    for (QVTreeNode* target : {root, a, leaf}) {
        Names names;
        int n = GetPathFromNode(target, names);
        EXPECT_EQ(GetNodeFromPath(leaf, names, n, 0x01), target) << target->name;
        int ids[QV_MAX_PATH_DEPTH];
        int m = GetIDPathFromNode(target, ids, nullptr);
        EXPECT_EQ(GetNodeFromIDPath(leaf, ids, m, 0x01), target) << target->name;
    }
    // A property: the last name (or id) is looked up in the property list too.
    Names names;
    int n = GetPathFromNode(prop, names);
    EXPECT_EQ(GetNodeFromPath(a, names, n, 0x01), nullptr);
    EXPECT_EQ(GetNodeFromPath(a, names, n, 0x21), prop);
    int ids[QV_MAX_PATH_DEPTH];
    int m = GetIDPathFromNode(prop, ids, nullptr);
    EXPECT_EQ(GetNodeFromIDPath(root, ids, m, 0), prop);
    // Displayed names take their own path.
    std::snprintf(a->name, sizeof a->name, "Ah");
    n = GetNamePathFromNode(b, names);
    EXPECT_EQ(GetNodeFromNodeNamePath(root, names, n, 0x01), b);
    EXPECT_EQ(GetNodeFromPath(root, names, n, 0x01), nullptr);
}

TEST_F(Paths, FollowingNamesFlags) {
    Names names;
    fill(names, {"root", "a", "b"});
    EXPECT_EQ(GetNodeFromPath(leaf, names, 3, 0x01), b);
    std::strcpy(names[0], "rot");
    EXPECT_EQ(GetNodeFromPath(leaf, names, 3, 0x01), nullptr);
    fill(names, {"x", "a", "b", "leaf"});
    EXPECT_EQ(GetNodeFromPath(a, names, 4, 0x02), leaf);  // continues after "a"
    EXPECT_EQ(GetNodeFromPath(leaf, names, 4, 0x02), nullptr);  // ends at the start node
    EXPECT_EQ(GetNodeFromPath(root, names, 4, 0x02), nullptr);  // "root" not in the path
    fill(names, {"a", "b"});
    EXPECT_EQ(GetNodeFromPath(root, names, 2, 0), b);
    EXPECT_EQ(GetNodeFromPath(root, names, 0, 0), nullptr);
    fill(names, {"root"});
    EXPECT_EQ(GetNodeFromPath(b, names, 1, 0x01), root);
    fill(names, {"prop"});
    EXPECT_EQ(GetNodeFromPath(a, names, 1, 0x20), nullptr);
    qvtest::clear();
    EXPECT_EQ(GetNodeFromPath(prop, names, 1, 0x20), nullptr);
    EXPECT_FAILED(1, -2, "FindChildByName", "parent node is NULL");
    EXPECT_EQ(GetNodeFromPath(root, nullptr, 1, 0), nullptr);
    EXPECT_FAILED(1, -2, "GetNodeFromPath", "nodeNames is NULL");
}

TEST_F(Paths, FollowingIds) {
    int ids[] = {7, 1, 2, 3};
    EXPECT_EQ(GetNodeFromIDPath(a, ids, 4, 0x02), leaf);
    EXPECT_EQ(GetNodeFromIDPath(leaf, ids, 4, 0x02), leaf);  // the start node is the last id
    EXPECT_EQ(GetNodeFromIDPath(a, ids, 4, 0), nullptr);
    EXPECT_FAILED(6, 0, "GetNodeFromIDPath", "could not extract start node a from id Path");
    int missing[] = {100, 1, 9};
    EXPECT_EQ(GetNodeFromIDPath(b, missing, 3, 0x01), nullptr);
    EXPECT_EQ(GetNodeFromIDPath(nullptr, ids, 4, 0), nullptr);
    EXPECT_FAILED(1, -2, "GetNodeFromIDPath", "start node is NULL");
    EXPECT_EQ(GetNodeFromIDPath(a, ids, 0, 0), nullptr);
    EXPECT_FAILED(1, -2, "GetNodeFromIDPath", "nodeIds is NULL or numNodes < 1");
}

}  // namespace
