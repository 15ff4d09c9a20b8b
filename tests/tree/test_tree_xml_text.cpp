// SaveTreeNode writes a tree straight as XML text. These tests hold it to the document path it
// stands for (CreateXMLDocument, WriteTreeNodeToXML, SaveXMLDocument, ReleaseXMLDocument):
// the same file bytes, return value and log lines, flat and indented, for random trees with
// awkward names and values: characters that need references, Latin-1 letters, white space that
// changes the indentation, names the XML library refuses (the write stops with -4) and
// characters XML cannot hold (the save fails with -8 and a cut file).
#include <regex>
#include <string>
#include <vector>

#include "tree/persist_test.h"
#include "tree/random_tree.h"

namespace {

using namespace persisttest;
using treetest::RandomTree;
using treetest::TreeTest;

class TreeXmlText : public TreeTest {
protected:
    struct Result {
        int rc;
        std::string file;
        std::vector<std::string> log;
    };

    Result throughDocument(QVTreeNode* tree, int options) {
        const std::string path = (tempDir() / "tree.xml").string();
        qvtest::clear();
        const int handle = CreateXMLDocument(nullptr);
        WriteTreeNodeToXML(handle, tree, nullptr, QV_WRITE_NULL_NODE);
        const int rc = SaveXMLDocument(handle, path.c_str(), options);
        ReleaseXMLDocument(handle);
        return {rc, readFile(path), maskedLog()};
    }

    Result throughText(QVTreeNode* tree, int options) {
        const std::string path = (tempDir() / "tree.xml").string();
        qvtest::clear();
        const int rc = SaveTreeNode(tree, path.c_str(), options);
        return {rc, readFile(path), maskedLog()};
    }

    // Saves two copies of the same tree both ways and compares everything observable.
    void expectSame(unsigned seed, bool refusedNames, int options) {
        QVTreeNode* a = RandomTree(seed, refusedNames).build();
        QVTreeNode* b = RandomTree(seed, refusedNames).build();
        const Result expected = throughDocument(a, options);
        const Result got = throughText(b, options);
        SCOPED_TRACE("seed " + std::to_string(seed) + ", options " + std::to_string(options));
        EXPECT_EQ(got.rc, expected.rc);
        EXPECT_EQ(got.file, expected.file);
        EXPECT_EQ(got.log, expected.log);
        releaseTree(a);
        releaseTree(b);
    }
};

TEST_F(TreeXmlText, RandomTreesGiveTheDocumentsBytesAndLog) {
    for (unsigned seed = 1; seed <= 300; ++seed) {
        for (int options : {0, QV_XML_PRETTY_PRINT}) expectSame(seed, seed % 3 == 0, options);
        if (HasFailure()) break;  // one seed's differences are enough to read
    }
}

// The cases the random trees are there to reach, each made sure of once.
TEST_F(TreeXmlText, AwkwardCasesAreCovered) {
    int refusedName = 0, cutFile = 0, indentShortened = 0;
    for (unsigned seed = 1; seed <= 300; ++seed) {
        QVTreeNode* tree = RandomTree(seed, seed % 3 == 0).build();
        const Result result = throughText(tree, QV_XML_PRETTY_PRINT);
        for (const auto& line : result.log) {
            if (line.find("xml error occured during TreeNodeToXML function") != std::string::npos) ++refusedName;
            if (line.find("could not write xml file") != std::string::npos) ++cutFile;
        }
        // A start tag that follows a text ending in white space on the same line.
        if (std::regex_search(result.file, std::regex("</val> *<"))) ++indentShortened;
        releaseTree(tree);
    }
    EXPECT_GT(refusedName, 5);
    EXPECT_GT(cutFile, 5);
    EXPECT_GT(indentShortened, 5);
}

TEST_F(TreeXmlText, TextThatXmlCannotHoldCutsTheFile) {
    QVTreeNode* tree = CreateTreeNodeN(eNoData, nullptr, "root", 1, eShift, 0, 0);
    QVTreeNode* bad = CreateTreeNodeN(eNoData, nullptr, "bad", 2, eShift, 0, 0);
    SetNodeData(bad, "a\x02z", eString, eAllocNewPtr);
    AppendChild(tree, bad);
    const Result result = throughText(tree, 0);
    EXPECT_EQ(result.rc, -4);
    EXPECT_EQ(result.file,
              "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?><XML_Root_Node><root id=\"1\" "
              "idx=\"0\" order=\"3\"><children count=\"1\"><bad id=\"2\" idx=\"0\" order=\"3\">"
              "<val access=\"6\" type=\"string\" type_id=\"-7\">");
    EXPECT_EQ(QV_GetLastError(), QV_ERR_XML);
    ReleaseTreeNode(tree, 1);
}

TEST_F(TreeXmlText, RefusedNameEndsTheWriteButTheRestIsSaved) {
    QVTreeNode* tree = CreateTreeNodeN(eNoData, nullptr, "root", 1, eShift, 0, 0);
    AppendChild(tree, CreateTreeNodeN(eNoData, nullptr, "ok", 2, eShift, 0, 0));
    AppendChild(tree, CreateTreeNodeN(eNoData, nullptr, "9lives", 3, eShift, 0, 0));
    AppendChild(tree, CreateTreeNodeN(eNoData, nullptr, "never", 4, eShift, 0, 0));
    const Result result = throughText(tree, QV_XML_PRETTY_PRINT);
    EXPECT_EQ(result.rc, 0);
    EXPECT_EQ(result.file,
              "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>\n<XML_Root_Node>\n\n"
              "  <root id=\"1\" idx=\"0\" order=\"3\">\n    <children count=\"3\">\n"
              "      <ok id=\"2\" idx=\"0\" order=\"3\"/>\n    </children>\n  </root>\n\n</XML_Root_Node>\n");
    const std::string failure =
        "-4 WriteTreeNodeToXML(" ;
    bool found = false;
    for (const auto& line : result.log)
        if (line.rfind(failure, 0) == 0 &&
            line.find("xml error occured during TreeNodeToXML function, last parsed node: 9lives") != std::string::npos)
            found = true;
    EXPECT_TRUE(found);
    ReleaseTreeNode(tree, 1);
}

}  // namespace
