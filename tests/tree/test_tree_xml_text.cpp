// SaveTreeNode writes a tree straight as XML text. These tests hold it to the document path it
// stands for (CreateXMLDocument, WriteTreeNodeToXML, SaveXMLDocument, ReleaseXMLDocument):
// the same file bytes, return value and log lines, flat and indented, for random trees with
// awkward names and values: characters that need references, Latin-1 letters, white space that
// changes the indentation, names the XML library refuses (the write stops with -4) and
// characters XML cannot hold (the save fails with -8 and a cut file).
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "tree/persist_test.h"

namespace {

using namespace persisttest;
using treetest::TreeTest;

// Builds the same random tree for the same seed.
class RandomTree {
public:
    RandomTree(unsigned seed, bool refusedNames) : m_rng(seed), m_refusedNames(refusedNames) {}

    QVTreeNode* build() {
        QVTreeNode* root = node(0);
        // A reference to some node of the tree, written as its name path.
        if (m_nodes.size() > 2 && chance(50)) {
            QVTreeNode* target = m_nodes[pick(static_cast<int>(m_nodes.size()))];
            AppendChild(root, CreateRefNode(nullptr, target, 0));
        }
        return root;
    }

private:
    int pick(int n) { return static_cast<int>(m_rng() % static_cast<unsigned>(n)); }
    bool chance(int percent) { return pick(100) < percent; }

    // Texts mixing characters that are kept, replaced by references, encoded in two bytes,
    // white space at the end (which moves the indentation) and, rarely, a character that XML
    // cannot hold.
    std::string text() {
        static const char* const pieces[] = {"a", "Zz", " ", "  ", "\t", "\n", "\r", "&", "<", ">",
                                             "\"", "'", "\xE9", "\xFF", "\x7F", "]]>", "0.5"};
        std::string out;
        for (int n = pick(7); n > 0; --n) out += pieces[pick(17)];
        if (chance(15)) out += std::string(pick(9), ' ') + (chance(50) ? "\n" : "");
        if (chance(2)) out += "\x01";
        return out;
    }

    std::string baseName() {
        static const char* const plain[] = {"value", "Lage X ", "x/y", "L\xE4nge", "a.b-c_d", "\xE9t\xE9",
                                            "a:b", "ns:", "_u", " lead", "A&B*C", "sp ace  ", "k"};
        static const char* const refused[] = {"1st", "x\xD7y", "tab\tx", "q\"t", ""};
        if (m_refusedNames && chance(4)) return refused[pick(5)];
        return plain[pick(13)];
    }

    void setValue(QVTreeNode* n) {
        switch (pick(10)) {
            case 0: {
                int v = pick(2000) - 1000;
                SetNodeData(n, &v, eInt, eAllocNewPtr);
                break;
            }
            case 1: {
                double v = (pick(20001) - 10000) / 7.0;
                SetNodeData(n, &v, eDouble, eAllocNewPtr);
                break;
            }
            case 2:
            case 3: {
                char v[QV_STRING_SIZE] = "";
                std::snprintf(v, sizeof v, "%s", text().c_str());
                SetNodeData(n, v, eString, eAllocNewPtr);
                break;
            }
            case 4: {
                const QVRect v{pick(9), pick(9), pick(99), pick(99)};
                SetNodeData(n, &v, eQVRect, eAllocNewPtr);
                break;
            }
            case 5: {
                char bytes[] = "abcd";
                QVBinaryData* record = CreateBinaryData(bytes, 4, text().c_str());
                SetNodeData(n, record, eQVBinaryData, eAllocNewPtr);
                ReleaseBinaryData(record, 0);
                break;
            }
            case 6: {
                QVArray* array = CreateArray(eInt, 0, 4);
                for (int i = pick(4); i > 0; --i) AppendIntValue(array, pick(50));
                SetNodeData(n, array, eQVArray, eAllocNewPtr);
                ReleaseArray(array, 0);
                break;
            }
            case 7:
                n->dataType = eQVBinaryData;  // a binary node without a record
                break;
            default:
                break;  // no value
        }
    }

    QVTreeNode* node(int depth) {
        const bool fixed = chance(30);
        const int slots = fixed ? 4 + pick(12) : (chance(20) ? 16 : 0);
        QVTreeNode* n = CreateTreeNodeN(eNoData, nullptr, baseName().c_str(), ++m_id, fixed ? eFixedIndex : eShift,
                                        0, slots);
        m_nodes.push_back(n);
        if (chance(25)) std::snprintf(n->name, sizeof n->name, "%s", text().c_str());
        setValue(n);
        n->access = static_cast<unsigned>(pick(8));
        for (int p = chance(30) ? 1 + pick(2) : 0; p > 0; --p) {
            const std::string value = text();
            SetProperty(n, p, chance(50) ? "unit" : "min x", value.c_str(), eString, eAllocNewPtr);
        }
        if (depth < 4) {
            for (int c = pick(depth == 0 ? 5 : 4); c > 0; --c) {
                const std::size_t known = m_nodes.size();
                QVTreeNode* child = node(depth + 1);
                const int placed = fixed ? InsertChildAt(n, child, pick(n->childArraySize)) : AppendChild(n, child);
                if (placed != 0) {  // a taken slot: the subtree goes, and no reference may point into it
                    m_nodes.resize(known);
                    qv::tree::releaseOwnedTree(child);
                }
            }
        }
        return n;
    }

    std::mt19937 m_rng;
    bool m_refusedNames;
    int m_id = 0;
    std::vector<QVTreeNode*> m_nodes;
};

class TreeXmlText : public TreeTest {
protected:
    struct Result {
        int rc;
        std::string file;
        std::vector<std::string> log;
    };

    // The log since the last clear, without the clock and with handle numbers masked.
    static std::vector<std::string> logLines() {
        static const std::regex handle("idx: [0-9]+");
        std::vector<std::string> out;
        for (const auto& record : logs())
            out.push_back(std::to_string(record.code) + " " +
                          std::regex_replace(withoutTime(record.line), handle, "idx: N"));
        return out;
    }

    Result throughDocument(QVTreeNode* tree, int options) {
        const std::string path = (tempDir() / "tree.xml").string();
        qvtest::clear();
        const int handle = CreateXMLDocument(nullptr);
        WriteTreeNodeToXML(handle, tree, nullptr, QV_WRITE_NULL_NODE);
        const int rc = SaveXMLDocument(handle, path.c_str(), options);
        ReleaseXMLDocument(handle);
        return {rc, readFile(path), logLines()};
    }

    Result throughText(QVTreeNode* tree, int options) {
        const std::string path = (tempDir() / "tree.xml").string();
        qvtest::clear();
        const int rc = SaveTreeNode(tree, path.c_str(), options);
        return {rc, readFile(path), logLines()};
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
