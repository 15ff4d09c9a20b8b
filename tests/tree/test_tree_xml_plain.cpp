// LoadTreeNode reads plain files as an element tree instead of a DOM document. These tests
// hold it to the document path (LoadXMLFile, ReadTreeNodeFromXML): the same tree, field by
// field, and the same log, for random trees saved flat and indented and for files that stretch
// the reader (case, order and repetition of the elements, comments, CDATA, references, text
// split around other nodes, missing and absurd attributes, Latin-1 and BOMs); and for files
// that are not plain (a document type, broken or missing files), which take the document
// path itself.
#include <string>
#include <vector>

#include "tree/persist_test.h"
#include "support/tree_describe.h"
#include "tree/random_tree.h"
#include "xml/xml_element_tree.h"

namespace {

using namespace persisttest;
using treetest::RandomTree;
using treetest::TreeTest;

class TreeXmlPlain : public TreeTest {
protected:
    struct Result {
        std::string tree;
        std::vector<std::string> log;
    };

    static Result load(const std::string& path, const char* elementName, bool plainAllowed) {
        qvtest::clear();
        QVTreeNode* tree = qv::tree::loadTree(path.c_str(), elementName, plainAllowed);
        Result result{qvtest::describeTree(tree), maskedLog()};
        releaseTree(tree);
        return result;
    }

    static bool plain(const std::string& path) { return qv::xml::ElementTree::parseFile(path.c_str()) != nullptr; }

    // Loads `path` both ways and compares the trees and the logs.
    static void expectSame(const std::string& path, const char* elementName = nullptr) {
        const Result expected = load(path, elementName, false);
        const Result got = load(path, elementName, true);
        EXPECT_EQ(got.tree, expected.tree);
        EXPECT_EQ(got.log, expected.log);
    }

    std::string file(const std::string& text) {
        const std::string path = (tempDir() / ("f" + std::to_string(m_files++) + ".xml")).string();
        writeFile(path, text);
        return path;
    }

private:
    int m_files = 0;
};

TEST_F(TreeXmlPlain, RandomTreesLoadAsFromTheDocument) {
    for (unsigned seed = 1; seed <= 150; ++seed) {
        QVTreeNode* tree = RandomTree(seed, false).build();
        for (int options : {0, QV_XML_PRETTY_PRINT}) {
            const std::string path = (tempDir() / "tree.xml").string();
            const bool saved = SaveTreeNode(tree, path.c_str(), options) == 0;
            SCOPED_TRACE("seed " + std::to_string(seed) + ", options " + std::to_string(options));
            EXPECT_EQ(plain(path), saved);  // a file cut at a character XML cannot hold is broken
            expectSame(path);
            expectSame(path, "Properties");
        }
        releaseTree(tree);
        if (HasFailure()) break;
    }
}

TEST_F(TreeXmlPlain, ReaderCornersLoadAsFromTheDocument) {
    const std::string decl = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    const std::vector<std::string> files = {
        // case, order and repetition of the elements below a node; the first of each kind counts
        decl + "<r><n id='4' idx='2' order='5' childarray='3'><CHILDREN count='2'><a id='1'/><b idx='1'/>"
               "</CHILDREN><VAL type_id='-4' access='3'>7</VAL><val type_id='-7'>no</val>"
               "<properties><val type_id='-16'/><children count='1'><u id='9'><val type_id='-7'>mm</val></u>"
               "</children></properties><Properties/></n></r>",
        // comments, processing instructions, CDATA, references, text split around other nodes
        decl + "<!-- c --><?pi x?><r><n><val type_id='-7'>a&amp;b<!-- x -->&#233;<![CDATA[<c>]]>"
               "<i>inner</i>&#x41;<?p?>z</val></n></r>",
        // attributes: missing, absurd, negative, huge, with references and white space
        decl + "<r><n id=' 12x' childarray='999999999' order='-1' idx='+3' name='a&amp;b&#10;c\td'>"
               "<val type_id='-4' access='-1'>  5 </val><children count='7'><m/><EMPTY_NODE/><empty_node/></children>"
               "</n></r>",
        // values of several types, binary sizes, type ids without text, text without type id
        decl + "<r><n><children count='5'><a><val type_id='-6'>2.5</val></a><b><val type_id='-14' binsize='4'>f.bin"
               "</val></b><c><val type_id='-9'>1;2</val></c><d><val>text</val></d><e><val type_id='-7'/></e>"
               "</children></n></r>",
        // Latin-1 with a declaration that says so, and a UTF-8 byte order mark
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r><L\xE4nge name='Gr\xF6\xDF" "e'>"
        "<val type_id='-7'>\xFC</val></L\xE4nge></r>",
        "\xEF\xBB\xBF" + decl + "<r><n><val type_id='-7'>\xC3\xA9</val></n></r>",
        // the root element alone, and a document whose first element below the root is empty
        decl + "<r/>",
        decl + "<r><EMPTY_NODE/></r>",
        // no declaration, and the version 1.1
        "<r><n id='2'><val type_id='-7'>x</val></n></r>",
        "<?xml version=\"1.1\"?><r><n id='3'/></r>",
        // namespaces are not interpreted
        decl + "<r xmlns:q='urn:x'><q:n q:id='3'><val type_id='-7'>ns</val></q:n></r>",
    };
    for (const std::string& text : files) {
        SCOPED_TRACE(text);
        const std::string path = file(text);
        EXPECT_TRUE(plain(path));
        expectSame(path);
        expectSame(path, "n");
        expectSame(path, "u");
        expectSame(path, "missing");
    }
}

TEST_F(TreeXmlPlain, FilesThatAreNotPlainTakeTheDocumentPath) {
    const std::vector<std::string> files = {
        "<?xml version=\"1.0\"?><!DOCTYPE r [<!ENTITY e 'entity text'><!ATTLIST n id CDATA '77'>]>"
        "<r><n><val type_id='-7'>&e;</val></n></r>",
        "<r><n><val type_id='-7'>open",
        "",
        std::string("\x00\x01\x02\xFF", 4),
        "<r><n id='1' id='2'/></r>",
        // a version that the parser lets through but a DOM document does not take
        "<?xml version=\"1.:\"?><r><n id='1'/></r>",
    };
    for (const std::string& text : files) {
        SCOPED_TRACE(text);
        const std::string path = file(text);
        EXPECT_FALSE(plain(path));
        expectSame(path);
    }
    expectSame((tempDir() / "missing.xml").string());
    expectSame(tempDir().string());
    // The document type is honoured as the document has it: the default attribute is there,
    // and the entity stays a reference node, which is not text of the value.
    QVTreeNode* tree = LoadTreeNode(file(files[0]).c_str(), nullptr);
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(tree->id, 77);
    EXPECT_EQ(valueText(tree), "");
    releaseTree(tree);
}

}  // namespace
