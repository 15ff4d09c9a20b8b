// The streaming XML writer. What it mirrors of the serialiser:
// - the declaration <?xml version="1.0" encoding="UTF-8" standalone="no" ?> and UTF-8 text;
// - an element without content as <tag/>, one with content (an empty text counts) as
//   <tag>...</tag>;
// - in attribute values &, <, " and tab, line feed, carriage return as references, ">" kept;
//   in texts &, <, > and carriage return as references, tab, line feed and quotes kept;
// - pretty printing: a line break and two blanks a level before every start tag, one more
//   line break before each child of the document element; before an end tag the same, but
//   only when the element's content went over more than one line (so an element holding just
//   a text stays on one line); a line break at the end. A text of white space alone that holds
//   a line break stands in for the next line break, and its characters from the last line
//   break on shorten the next indent by one level for every two.
#include "xml/xml_stream.h"

#include <algorithm>
#include <string>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLChar.hpp>

#include "xml/xml_internal.h"

using namespace xercesc;

namespace qv::xml {

namespace {

// How one byte is written in attribute values and in texts: kept, replaced by a reference,
// or refused (the character cannot be in an XML document).
struct Escapes {
    const char* attribute[256] = {};
    const char* text[256] = {};
    bool refused[256] = {};

    Escapes() {
        for (int c = 1; c < 0x20; ++c) refused[c] = c != '\t' && c != '\n' && c != '\r';
        attribute['&'] = text['&'] = "&amp;";
        attribute['<'] = text['<'] = "&lt;";
        text['>'] = "&gt;";
        attribute['"'] = "&quot;";
        attribute['\t'] = "&#x9;";
        attribute['\n'] = "&#xA;";
        attribute['\r'] = text['\r'] = "&#xD;";
    }
};

const Escapes& escapes() {
    static const Escapes table;
    return table;
}

bool isXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Element names are checked as the XML library checks them when it creates an element.
bool validElementName(const char* tag) {
    if (plainValidName(tag)) return true;
    std::u16string name;
    for (const char* c = tag; *c; ++c) name += static_cast<char16_t>(static_cast<unsigned char>(*c));
    return XMLChar1_0::isValidName(name.c_str());
}

}  // namespace

TextWriter::TextWriter(bool pretty) : m_pretty(pretty) {
    m_out = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\" ?>";
}

void TextWriter::newline() {
    if (!m_pretty) return;
    ++m_line;
    m_out += '\n';
}

// Two blanks a level, less one level for every two characters that the last text held from its
// last line break on (none when that is more than the level).
void TextWriter::indent(std::size_t level) {
    if (!m_pretty) return;
    if (m_trailingSpace) {
        const std::size_t levels = m_trailingSpace / 2;
        m_trailingSpace = 0;
        level = levels < level ? level - levels : 0;
    }
    m_out.append(2 * level, ' ');
}

// The line break before a start or end tag, unless the last text ended a line itself.
void TextWriter::breakLine(bool documentLevel) {
    if (m_textBrokeLine) {
        m_textBrokeLine = false;
    } else {
        if (documentLevel) newline();  // child of the document element: a blank line first
        newline();
    }
}

// Element names are written in UTF-8 like every other text.
void TextWriter::name(const char* tag) {
    for (const char* c = tag; *c; ++c) putByte(*c);
}

void TextWriter::escaped(const char* text, bool inAttribute) {
    const Escapes& table = escapes();
    const char* const* replace = inAttribute ? table.attribute : table.text;
    const std::size_t start = m_out.size();
    for (const char* c = text; *c; ++c) {
        const auto byte = static_cast<unsigned char>(*c);
        if (table.refused[byte]) {
            if (!invalid()) m_cut = start;
            return;
        }
        if (replace[byte])
            m_out += replace[byte];
        else
            putByte(*c);
    }
}

// A byte of a text as UTF-8: the character of the same number, in two bytes from 0x80 on.
void TextWriter::putByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
        m_out += c;
    } else {
        m_out += static_cast<char>(0xC0 | (byte >> 6));
        m_out += static_cast<char>(0x80 | (byte & 0x3F));
    }
}

// Content follows in the open element: its start tag is ended.
void TextWriter::beginContent() {
    Open& parent = m_open.back();
    if (parent.startPending) {
        m_out += '>';
        parent.startPending = false;
    }
}

void TextWriter::open(const char* tag) {
    if (!validElementName(tag))
        throw DOMException(DOMException::INVALID_CHARACTER_ERR, 0, XMLPlatformUtils::fgMemoryManager);
    const std::size_t level = m_open.size();
    if (level > 0) beginContent();
    breakLine(level == 1);
    indent(level);
    m_out += '<';
    name(tag);
    m_open.push_back({tag, true, m_line});
}

void TextWriter::attribute(const XMLCh* attributeName, const char* value) {
    m_out += ' ';
    for (const XMLCh* c = attributeName; *c; ++c) m_out += static_cast<char>(*c);
    m_out += "=\"";
    escaped(value, true);
    m_out += '"';
}

void TextWriter::number(const XMLCh* attributeName, long long value) {
    char digits[24];
    digits[23] = '\0';
    attribute(attributeName, decimal(digits + 23, value));
}

// A text of white space only that holds a line break ends a line itself; its characters from
// the last line break (or, without one, the last carriage return) on shorten the next indent.
void TextWriter::text(const char* text) {
    beginContent();
    escaped(text, false);
    if (!m_pretty) return;
    m_textBrokeLine = false;
    m_trailingSpace = 0;
    const std::size_t length = std::char_traits<char>::length(text);
    const char* end = text + length;
    if (std::find_if_not(text, end, isXmlSpace) != end) return;
    const char* lineBreak = nullptr;
    for (const char* c = text; c < end; ++c)
        if (*c == '\n') lineBreak = c;
    if (!lineBreak)
        for (const char* c = text; c < end; ++c)
            if (*c == '\r') lineBreak = c;
    if (lineBreak) {
        m_textBrokeLine = true;
        m_trailingSpace = static_cast<std::size_t>(end - lineBreak);
    }
}

void TextWriter::close() {
    const Open element = std::move(m_open.back());
    m_open.pop_back();
    if (element.startPending) {
        m_out += "/>";
        return;
    }
    // An element whose content went over more than one line ends on a line of its own.
    if (element.line != m_line) {
        if (m_textBrokeLine) {
            m_textBrokeLine = false;
        } else {
            newline();
        }
        if (m_open.empty()) newline();
        indent(m_open.size());
    }
    m_out += "</";
    name(element.tag.c_str());
    m_out += '>';
}

void TextWriter::finish() {
    while (!m_open.empty()) close();
    newline();
    if (invalid()) m_out.resize(m_cut);
}

}  // namespace qv::xml
