// The XML documents by handle: numbering, creation, parsing from text and files, serialising,
// saving with and without indentation, releasing, and every failure path.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <xercesc/dom/DOM.hpp>

#include "QV_Tools.h"
#include "support/log_capture.h"
#include "support/log_capture.h"

namespace {

using qvtest::LogTest;

class XmlDocument : public LogTest {
protected:
    void TearDown() override {
        for (int handle : m_handles) ReleaseXMLDocument(handle);
        LogTest::TearDown();
    }
    // Remembers a handle so that the document is released after the test.
    int keep(int handle) {
        if (handle > 0) m_handles.push_back(handle);
        return handle;
    }
    int fromText(const std::string& text) {
        return keep(XMLDocumentFromString(text.c_str(), static_cast<unsigned>(text.size())));
    }
    static std::string toText(int handle) {
        std::vector<char> buffer(1 << 16, '#');
        unsigned length = 0;
        if (XMLDocumentToString(handle, buffer.data(), &length) != 0) return "<failed>";
        EXPECT_EQ(std::strlen(buffer.data()), length);
        return buffer.data();
    }
    static std::string readFile(const std::filesystem::path& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    }

private:
    std::vector<int> m_handles;
};

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>";

// A fresh process starts the handles at 1; a released handle is not given out again.
TEST(XmlHandlesDeathTest, FreshProcessNumbersFromOne) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const int first = CreateXMLDocument("a");
            const int second = CreateXMLDocument("b");
            ReleaseXMLDocument(first);
            const int third = CreateXMLDocument("c");
            std::fprintf(stderr, "%d %d %d", first, second, third);
            std::_Exit(0);
        },
        ::testing::ExitedWithCode(0), "^1 2 3$");
}

TEST_F(XmlDocument, HandlesGrowAndAreLoggedAsNotices) {
    const int a = keep(CreateXMLDocument("a"));
    EXPECT_FAILED(5, 0, "CXMLManager::AddDocument",
                     "Add xml document to xmlManager -> idx: " + std::to_string(a));
    const int b = keep(CreateXMLDocument("b"));
    EXPECT_EQ(b, a + 1);
    EXPECT_EQ(ReleaseXMLDocument(a), 0);
    const int c = keep(fromText("<c/>"));
    EXPECT_EQ(c, b + 1);
    // The released handle stays unknown.
    EXPECT_EQ(ReleaseXMLDocument(a), -4);
    EXPECT_EQ(CXMLManager::GetInstance()->GetDocument(a), nullptr);
    EXPECT_NE(CXMLManager::GetInstance()->GetDocument(c), nullptr);
}

TEST_F(XmlDocument, RootNameDefaultsForNullAndEmpty) {
    EXPECT_EQ(toText(keep(CreateXMLDocument(nullptr))), std::string(kDeclaration) + "<XML_Root_Node/>");
    EXPECT_EQ(toText(keep(CreateXMLDocument(""))), std::string(kDeclaration) + "<XML_Root_Node/>");
    EXPECT_EQ(toText(keep(CreateXMLDocument("Tree"))), std::string(kDeclaration) + "<Tree/>");
}

TEST_F(XmlDocument, InvalidRootNameGivesMinusOne) {
    const int before = keep(CreateXMLDocument("x"));
    EXPECT_EQ(CreateXMLDocument("1 bad"), -1);
    EXPECT_FAILED(1, -1, "CreateXMLDocument", "could not create xml document with root node \"1 bad\"");
    // No handle was used up by the failure.
    EXPECT_EQ(keep(CreateXMLDocument("y")), before + 1);
}

TEST_F(XmlDocument, StringRoundTrips) {
    const std::vector<std::string> bodies = {
        "<a/>",
        "<a x=\"1\" y=\"two\"><b>text</b><c><d/></c></a>",
        "<r><!--note--><v type_id=\"-4\">12</v>mixed<![CDATA[<raw>]]></r>",
        "<r a=\"&lt;&amp;&quot;\">&lt;&gt;&amp;</r>",
    };
    for (const std::string& body : bodies) {
        const int handle = fromText(body);
        ASSERT_GT(handle, 0) << body;
        EXPECT_EQ(toText(handle), kDeclaration + body);
        // Parsing the serialised text again gives the same text.
        EXPECT_EQ(toText(fromText(toText(handle))), kDeclaration + body);
    }
}

TEST_F(XmlDocument, Latin1BytesComeBackUnchanged) {
    // Element and attribute texts of the library are 8-bit bytes; a document keeps them.
    const int handle = keep(CreateXMLDocument("r"));
    xercesc::DOMDocument* doc = CXMLManager::GetInstance()->GetDocument(handle);
    XMLCh* name = CXMLManager::Transcode("Gr\xf6\xdf" "e");
    XMLCh* value = CXMLManager::Transcode("\xe4\xfc");
    doc->getDocumentElement()->setAttribute(name, value);
    const std::string text = toText(handle);
    EXPECT_EQ(text, std::string(kDeclaration) + "<r Gr\xc3\xb6\xc3\x9f" "e=\"\xc3\xa4\xc3\xbc\"/>");
    const int again = fromText(text);
    char* back = CXMLManager::Transcode(
        CXMLManager::GetInstance()->GetDocument(again)->getDocumentElement()->getAttribute(name));
    EXPECT_STREQ(back, "\xe4\xfc");
    xercesc::XMLString::release(&back);
    xercesc::XMLString::release(&name);
    xercesc::XMLString::release(&value);
}

TEST_F(XmlDocument, BadTextsFailWithoutADocument) {
    const std::vector<std::string> bad = {
        "", "garbage", "<a>", "<a><b></a>", "<a/><b/>", "<a x=1/>", std::string("<a>\0</a>", 8),
        "\xff\xfe\x00<\x00", "<a>\xe4</a>",
        // External entities and document types are not fetched.
        "<!DOCTYPE a SYSTEM \"file:///etc/hostname\"><a/>",
        "<!DOCTYPE a [<!ENTITY e SYSTEM \"file:///etc/hostname\">]><a>&e;</a>",
        // Entity expansion is bounded.
        "<!DOCTYPE a [<!ENTITY a \"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\">"
        "<!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\">"
        "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\">"
        "<!ENTITY d \"&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;\">"
        "<!ENTITY e \"&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;\">]><a>&e;</a>",
    };
    for (const std::string& text : bad) {
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(fromText(text), -8) << text;
        const std::string err = ::testing::internal::GetCapturedStderr();
        EXPECT_FAILED(1, -8, "XMLDocumentFromString", "could not create xml document from input buffer");
        EXPECT_EQ(err.rfind("Exception Occurred \"", 0), 0u) << err;
        EXPECT_EQ(err.substr(err.size() - 5), "\".  \n") << err;
    }
    // The length bounds the parse: a valid prefix parses on its own.
    const std::string text = "<a/>trailing junk";
    EXPECT_GT(keep(XMLDocumentFromString(text.c_str(), 4)), 0);
}

// Reading an XML 1.1 document, well-formed or not, leaves no trace on the next parse: a 1.0
// document with a character that only 1.1 restricts (0x7F) still loads, from text and file.
TEST_F(XmlDocument, AnXml11DocumentDoesNotChangeTheNextParse) {
    const std::string plain = "<a x='\x7F'/>";
    for (const std::string& before : {std::string("<?xml version=\"1.1\"?><a/>"),
                                      std::string("<?xml version=\"1.1\"?><a><b></a>")}) {
        SCOPED_TRACE(before);
        ::testing::internal::CaptureStderr();
        fromText(before);
        EXPECT_GT(fromText(plain), 0);
        const auto first = tempDir() / "before.xml", second = tempDir() / "plain.xml";
        std::ofstream(first, std::ios::binary) << before;
        std::ofstream(second, std::ios::binary) << plain;
        keep(LoadXMLFile(first.string().c_str()));
        EXPECT_GT(keep(LoadXMLFile(second.string().c_str())), 0);
        ::testing::internal::GetCapturedStderr();
    }
}

TEST_F(XmlDocument, ParserMessageOnStandardError) {
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(fromText("<a><b></a>"), -8);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Exception Occurred \"expected end of tag 'b'\".  \n");
}

TEST_F(XmlDocument, DocumentTypeValidationErrorsDoNotStopTheParse) {
    // With an internal document type the parser validates; a content error is not fatal.
    EXPECT_GT(fromText("<!DOCTYPE a [<!ELEMENT a EMPTY>]><a><b/></a>"), 0);
}

TEST_F(XmlDocument, NullArguments) {
    EXPECT_EQ(XMLDocumentFromString(nullptr, 3), -2);
    EXPECT_FAILED(1, -2, "XMLDocumentFromString", "input bytes are NULL");
    EXPECT_EQ(CXMLManager::XMLDocumentFromBytes(nullptr, 3), nullptr);
    EXPECT_FAILED(1, -2, "CXMLManager::XMLDocumentFromBytes", "xmlBytes is NULL");
    EXPECT_EQ(LoadXMLFile(nullptr), -2);
    EXPECT_FAILED(1, -2, "LoadXMLFile", "path is NULL");
    const int handle = keep(CreateXMLDocument("a"));
    unsigned length = 77;
    EXPECT_EQ(XMLDocumentToString(handle, nullptr, &length), -2);
    EXPECT_FAILED(1, -2, "CXMLManager::XMLDocumentToBytes", "output argument is NULL");
    EXPECT_EQ(length, 77u);
    char buffer[256];
    EXPECT_EQ(CXMLManager::XMLDocumentToBytes(nullptr, 0, buffer, nullptr), -2);
    EXPECT_FAILED(1, -2, "CXMLManager::XMLDocumentToBytes", "document is NULL");
    // The length output is optional.
    EXPECT_EQ(XMLDocumentToString(handle, buffer, nullptr), 0);
    EXPECT_EQ(std::string(buffer), std::string(kDeclaration) + "<a/>");
}

TEST_F(XmlDocument, UnknownAndReleasedHandles) {
    const int handle = CreateXMLDocument("a");
    ASSERT_GT(handle, 0);
    EXPECT_EQ(ReleaseXMLDocument(handle), 0);
    char buffer[256] = "untouched";
    EXPECT_EQ(XMLDocumentToString(handle, buffer, nullptr), -5);
    EXPECT_FAILED(1, -5, "XMLDocumentToString", "could not achieve specified xml document");
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_EQ(XMLDocumentToString(0, buffer, nullptr), -5);
    EXPECT_EQ(XMLDocumentToString(-3, buffer, nullptr), -5);
    EXPECT_EQ(ReleaseXMLDocument(handle), -4);
    EXPECT_EQ(ReleaseXMLDocument(0), -4);
    const std::string path = (tempDir() / "x.xml").string();
    EXPECT_EQ(SaveXMLDocument(handle, path.c_str(), 0), -4);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(XmlDocument, EntryHoldingNullIsRemovedAndFails) {
    CXMLManager* manager = CXMLManager::GetInstance();
    const int handle = manager->AddDocument(nullptr);
    EXPECT_FALSE(manager->ReleaseXMLDocument(handle));
    EXPECT_EQ(ReleaseXMLDocument(handle), -4);  // gone now
}

TEST_F(XmlDocument, ReleasingByPointerClearsItsHandle) {
    CXMLManager* manager = CXMLManager::GetInstance();
    const int handle = CreateXMLDocument("a");
    EXPECT_TRUE(CXMLManager::ReleaseXMLDocument(manager->GetDocument(handle)));
    EXPECT_EQ(manager->GetDocument(handle), nullptr);
    EXPECT_EQ(ReleaseXMLDocument(handle), -4);
    EXPECT_FALSE(CXMLManager::ReleaseXMLDocument(static_cast<xercesc::DOMDocument*>(nullptr)));
}

TEST_F(XmlDocument, SaveIndentsOnlyWithOptionTwo) {
    const int handle = fromText("<a><b><c>1</c></b></a>");
    const auto flat = tempDir() / "flat.xml";
    const auto pretty = tempDir() / "pretty.xml";
    EXPECT_EQ(SaveXMLDocument(handle, flat.c_str(), 0), 0);
    EXPECT_FAILED(5, 0, "CXMLManager::SaveXMLDocument", "successfully wrote: " + flat.string());
    EXPECT_EQ(linesContaining("trying to write xml file: " + flat.string()).size(), 1u);
    EXPECT_EQ(readFile(flat), std::string(kDeclaration) + "<a><b><c>1</c></b></a>");
    // Other bits are ignored.
    EXPECT_EQ(SaveXMLDocument(handle, pretty.c_str(), 2 | 1 | 8), 0);
    EXPECT_EQ(readFile(pretty), std::string(kDeclaration) +
                                    "\n<a>\n\n  <b>\n    <c>1</c>\n  </b>\n\n</a>\n");
}

TEST_F(XmlDocument, SaveToUnwritablePathFails) {
    const int handle = keep(CreateXMLDocument("a"));
    const std::string path = (tempDir() / "missing" / "x.xml").string();
    EXPECT_EQ(SaveXMLDocument(handle, path.c_str(), 0), -4);
    ASSERT_NE(last(), nullptr);
    EXPECT_EQ(last()->code, -8);
    const std::string line = qvtest::LogTest::withoutTime(lastLine());
    EXPECT_NE(line.find("): XML error "), std::string::npos) << line;
    EXPECT_NE(line.find(" - could not write xml file: " + path), std::string::npos) << line;
    EXPECT_EQ(SaveXMLDocument(handle, "", 0), -4);
    EXPECT_EQ(last()->code, -8);
    EXPECT_EQ(SaveXMLDocument(handle, nullptr, 0), -4);
    EXPECT_FAILED(1, -2, "CXMLManager::SaveXMLDocument", "document or path is NULL");
}

TEST_F(XmlDocument, LoadFileRoundTripAndFailures) {
    const int handle = fromText("<cfg><p name=\"x\">1</p></cfg>");
    const auto path = tempDir() / "cfg.xml";
    ASSERT_EQ(SaveXMLDocument(handle, path.c_str(), 2), 0);
    const int loaded = keep(LoadXMLFile(path.c_str()));
    ASSERT_GT(loaded, 0);
    EXPECT_FAILED(5, 0, "CXMLManager::AddDocument",
                     "Add xml document to xmlManager -> idx: " + std::to_string(loaded));

    const auto missing = tempDir() / "none.xml";
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(LoadXMLFile(missing.c_str()), -8);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "Exception Occurred \"unable to open primary document entity '" + missing.string() +
                  "'\".  \nFile being parsed is \"" + missing.string() + "\".\n");
    EXPECT_FAILED(1, -8, "LoadXMLFile", "could not load xml document from \"" + missing.string() + "\"");

    const auto truncated = tempDir() / "truncated.xml";
    const auto empty = tempDir() / "empty.xml";
    const auto binary = tempDir() / "binary.xml";
    std::ofstream(truncated) << "<cfg><p name=\"x\">1</p";
    std::ofstream(empty).flush();
    std::ofstream(binary, std::ios::binary) << std::string("\x00\x01\x02\xff\x80<a/>", 9);
    for (const auto& bad : {truncated, empty, binary, tempDir(), std::filesystem::path()}) {
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(LoadXMLFile(bad.c_str()), -8) << bad;
        const std::string err = ::testing::internal::GetCapturedStderr();
        EXPECT_NE(err.find("File being parsed is \"" + bad.string() + "\".\n"), std::string::npos) << err;
        EXPECT_FAILED(1, -8, "LoadXMLFile", "could not load xml document from \"" + bad.string() + "\"");
    }
}

}  // namespace
