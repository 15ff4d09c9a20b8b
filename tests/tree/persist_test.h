// Shared pieces of the persistence and localization tests: releasing trees that hold point
// values, reading files, and building documents from text.
#pragma once

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "support/qvtool_run.h"
#include "tree/tree_test.h"
#include "tree/tree_xml_internal.h"

namespace persisttest {

// ReleaseTreeNode(node, 1) after freeing the point values the nodes own: the library's data
// release leaves points alone on purpose, so their owner frees them.
inline void releaseTree(QVTreeNode* node) { qv::tree::releaseOwnedTree(node); }

using qvtest::readFile;

// The log since the last clear as "<code> <function(line): message>", without the clock and
// with handle numbers masked, so that two runs of the same work compare equal.
inline std::vector<std::string> maskedLog() {
    static const std::regex handle("idx: [0-9]+");
    std::vector<std::string> out;
    for (const auto& record : qvtest::records())
        out.push_back(std::to_string(record.code) + " " +
                      std::regex_replace(qvtest::stripHeader(record.line), handle, "idx: N"));
    return out;
}

inline void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

// The text form of a node's value with 10 decimals ("" without one).
inline std::string valueText(const QVTreeNode* node) {
    char text[4096] = "";
    NodeDataToString(node, 10, text);
    return text;
}

// A managed document parsed from `xml`, released when the holder goes.
class Document {
public:
    explicit Document(const std::string& xml)
        : m_handle(XMLDocumentFromString(xml.c_str(), static_cast<unsigned>(xml.size()))) {}
    ~Document() {
        if (m_handle > 0) ReleaseXMLDocument(m_handle);
    }
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;
    int handle() const { return m_handle; }
    // The tree read from the first element named `name` (null: the first below the root).
    QVTreeNode* read(const char* name = nullptr) const { return ReadTreeNodeFromXML(m_handle, name); }
    // The document as text, without indentation.
    std::string text() const {
        static char buffer[1 << 20];
        unsigned length = 0;
        return XMLDocumentToString(m_handle, buffer, &length) == 0 ? std::string(buffer, length) : "";
    }

private:
    int m_handle;
};

}  // namespace persisttest
