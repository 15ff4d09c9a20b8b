// Element names: the name check with its cleaning order and notice, and lookups by name.
#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/XMLString.hpp>

#include "QV_Tools.h"
#include "support/log_capture.h"
#include "support/log_capture.h"

namespace {

using qvtest::LogTest;

class XmlNames : public LogTest {
protected:
    // checkTranscode of `text`, back as bytes ("<null>" for a null result).
    static std::string checked(const char* text) {
        XMLCh* name = CXMLManager::checkTranscode(text);
        if (!name) return "<null>";
        char* bytes = CXMLManager::Transcode(name);
        std::string out(bytes);
        xercesc::XMLString::release(&bytes);
        xercesc::XMLString::release(&name);
        return out;
    }
};

TEST_F(XmlNames, ValidNamesPassUnchangedAndSilently) {
    for (const char* name : {"Lage", "_x", "a.b-c", "Gr\xf6\xdf" "e", "ns:local", "x\xe4y"}) {
        EXPECT_EQ(checked(name), name);
    }
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(checked(nullptr), "<null>");
}

TEST_F(XmlNames, CleaningCountsEveryChange) {
    EXPECT_EQ(checked("Lage X/Y"), "Lage_X-Y");
    EXPECT_FAILED(0, -5, "CXMLManager::checkTranscode", "there were 2 invalid xml chars in: Lage X/Y");
    EXPECT_EQ(checked("a\\b&c%d<e>f+g*h"), "a-b-c-d-e-f-g-h");
    EXPECT_FAILED(0, -5, "CXMLManager::checkTranscode",
                     "there were 7 invalid xml chars in: a\\b&c%d<e>f+g*h");
    // Umlauts are mended only when the name needs mending anyway.
    EXPECT_EQ(checked("H\xf6he \xfc\x62\x65r \xe4"), "Hohe_uber_a");
    EXPECT_FAILED(0, -5, "CXMLManager::checkTranscode",
                     "there were 5 invalid xml chars in: H\xf6he \xfc\x62\x65r \xe4");
}

TEST_F(XmlNames, BlankTrimmingFollowsTheTextHelper) {
    // The helper drops a leading blank, and a trailing one only together with it.
    EXPECT_EQ(checked(" a b "), "a_b");
    EXPECT_FAILED(0, -5, "CXMLManager::checkTranscode", "there were 3 invalid xml chars in:  a b ");
    EXPECT_EQ(checked("ab "), "ab_");
    EXPECT_FAILED(0, -5, "CXMLManager::checkTranscode", "there were 1 invalid xml chars in: ab ");
    EXPECT_EQ(checked(" ab"), "ab");
    EXPECT_FAILED(0, -5, "CXMLManager::checkTranscode", "there were 1 invalid xml chars in:  ab");
}

TEST_F(XmlNames, StillInvalidNamesComeBackCleaned) {
    EXPECT_EQ(checked("1 a"), "1_a");
    EXPECT_EQ(checked("9"), "9");
    EXPECT_EQ(checked(""), "");
    EXPECT_EQ(checked("a#b"), "a#b");
    // No change, so no notice for these.
    EXPECT_EQ(linesContaining("invalid xml chars in: 9").size(), 0u);
    EXPECT_EQ(linesContaining("invalid xml chars in: a#b").size(), 0u);
}

TEST_F(XmlNames, CleanedNamesAreUsableAsElementNames) {
    const int handle = CreateXMLDocument("root");
    xercesc::DOMDocument* doc = CXMLManager::GetInstance()->GetDocument(handle);
    XMLCh* name = CXMLManager::checkTranscode("Lage X/Y <mm>");
    EXPECT_NO_THROW(doc->getDocumentElement()->appendChild(doc->createElement(name)));
    xercesc::XMLString::release(&name);
    EXPECT_NE(CXMLManager::FindFirstNode(doc, "Lage_X-Y_-mm-"), nullptr);
    ReleaseXMLDocument(handle);
}

TEST_F(XmlNames, FindNodeSearchesBelowDepthFirst) {
    const std::string text = "<r><a><x id=\"1\"/></a><x id=\"2\"/><b><x id=\"3\"/><y/></b></r>";
    const int handle = XMLDocumentFromString(text.c_str(), static_cast<unsigned>(text.size()));
    xercesc::DOMDocument* doc = CXMLManager::GetInstance()->GetDocument(handle);
    auto id = [](xercesc::DOMElement* e) {
        if (!e) return std::string("<none>");
        char* v = CXMLManager::Transcode(e->getAttribute(u"id"));
        std::string out(v);
        xercesc::XMLString::release(&v);
        return out;
    };
    xercesc::DOMElement* root = doc->getDocumentElement();
    EXPECT_EQ(id(CXMLManager::FindNode(root, "x")), "1");
    xercesc::DOMElement* b = CXMLManager::FindNode(root, "b");
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(id(CXMLManager::FindNode(b, "x")), "3");
    EXPECT_NE(CXMLManager::FindNode(b, "y"), nullptr);
    // The node itself is not a match, and nothing above or beside it is searched.
    EXPECT_EQ(CXMLManager::FindNode(b, "b"), nullptr);
    EXPECT_EQ(CXMLManager::FindNode(b, "a"), nullptr);
    EXPECT_EQ(CXMLManager::FindNode(root, "X"), nullptr);  // names compare exactly
    EXPECT_EQ(CXMLManager::FindNode(nullptr, "x"), nullptr);
    EXPECT_EQ(CXMLManager::FindNode(root, nullptr), nullptr);

    // In a document the root element counts; a parent name narrows the search.
    EXPECT_EQ(CXMLManager::FindFirstNode(doc, "r"), root);
    EXPECT_EQ(id(CXMLManager::FindFirstNode(doc, "x")), "1");
    EXPECT_EQ(id(CXMLManager::FindFirstNode(doc, "x", "b")), "3");
    EXPECT_EQ(CXMLManager::FindFirstNode(doc, "x", "missing"), nullptr);
    EXPECT_EQ(CXMLManager::FindFirstNode(doc, "missing"), nullptr);
    EXPECT_EQ(CXMLManager::FindFirstNode(nullptr, "x"), nullptr);
    ReleaseXMLDocument(handle);
}

}  // namespace
