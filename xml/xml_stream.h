// A streaming XML writer that produces, byte for byte, what the XML library's serialiser writes
// for the same document (UTF-8, its declaration, its escapes, and its indentation when pretty
// printing), without building the document. Element and attribute texts are bytes, each byte
// the character of the same number, as CXMLManager::Transcode maps them.
//
// Like the serialiser, it refuses characters that XML cannot hold (the control characters other
// than tab, line feed and carriage return): the serialiser stops at the attribute value or text
// that holds one, so the text written here ends at the same place and invalid() turns true.
// An element name that the XML library would not take throws the DOMException that creating
// such an element throws, before anything of it is written.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <xercesc/util/XercesDefs.hpp>

namespace qv::xml {

// Writes `value` in decimal into the characters that end just before `end` (24 are enough)
// and returns where it begins; the caller terminates the text.
template <class Char>
Char* decimal(Char* end, long long value) {
    unsigned long long magnitude = value < 0 ? 0ULL - static_cast<unsigned long long>(value)
                                             : static_cast<unsigned long long>(value);
    Char* p = end;
    do {
        *--p = static_cast<Char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude);
    if (value < 0) *--p = static_cast<Char>('-');
    return p;
}

class TextWriter {
public:
    // Starts a document with the serialiser's declaration; `pretty` indents as its
    // pretty-print option does.
    explicit TextWriter(bool pretty);

    // Starts an element below the open one (the first is the document element).
    void open(const char* tag);
    // An attribute of the element just opened; attributes must come in the order of their
    // names (the serialiser writes them sorted), before anything below the element.
    void attribute(const XMLCh* name, const char* value);
    void number(const XMLCh* name, long long value);
    // A text below the open element.
    void text(const char* text);
    // Ends the open element.
    void close();
    // Ends every open element and the document.
    void finish();

    // The document text, up to where the serialiser stops when invalid().
    const std::string& bytes() const { return m_out; }
    bool invalid() const { return m_cut != std::string::npos; }

private:
    struct Open {
        std::string tag;
        bool startPending;  // the start tag still lacks its ">" (no content yet)
        std::size_t line;   // the line the start tag is on
    };

    void beginContent();
    void newline();
    void breakLine(bool documentLevel);
    void indent(std::size_t level);
    void name(const char* tag);
    void putByte(char c);
    void escaped(const char* text, bool inAttribute);

    bool m_pretty;
    std::string m_out;
    std::vector<Open> m_open;
    // Pretty printing: line breaks written so far; whether the last text (white space with a
    // line break) ended a line; what that text holds after its last line break.
    std::size_t m_line = 0;
    bool m_textBrokeLine = false;
    std::size_t m_trailingSpace = 0;
    std::size_t m_cut = std::string::npos;
};

}  // namespace qv::xml
