// A read-only tree of the elements of a plain XML file: for each element its name, its
// attributes and the text it holds directly (its text and CDATA children joined), in document
// order. It is read with the XML library's streaming parser and takes a fraction of the time
// and memory of a DOM document, for readers that need no more than that.
//
// Only plain documents are read: one with a document type (which can declare entities,
// default attributes and validation), one declaring an XML version other than 1.0 and 1.1
// (which a DOM document refuses), or anything the parser warns about or reports as an error
// gives no tree, so that the caller can take the document path, which handles and reports
// everything.
// Parsing writes nothing to the log or to standard error.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include <xercesc/util/XercesDefs.hpp>

namespace qv::xml {

class ElementTree {
public:
    struct Element {
        std::size_t tag;             // offset of the zero-terminated name in the characters
        std::size_t firstAttribute;  // attributes [firstAttribute, firstAttribute + attributes)
        std::size_t attributes;
        std::size_t text;            // offset of the zero-terminated direct text
        std::size_t firstChild;      // index of the first child element, or npos
        std::size_t nextSibling;     // index of the next sibling element, or npos
    };
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    // The tree of the file `path`, or null when it is not a plain well-formed document.
    static std::unique_ptr<ElementTree> parseFile(const char* path);

    const Element* root() const { return m_elements.empty() ? nullptr : &m_elements.front(); }
    const XMLCh* tag(const Element& element) const { return &m_chars[element.tag]; }
    // The value of the attribute `name`, or null when the element does not have it.
    const XMLCh* attribute(const Element& element, const XMLCh* name) const;
    const Element* firstChild(const Element& element) const { return at(element.firstChild); }
    const Element* nextSibling(const Element& element) const { return at(element.nextSibling); }
    const XMLCh* text(const Element& element) const { return &m_chars[element.text]; }
    // The first element named `name` in document order, the root included; null when none.
    const Element* find(const XMLCh* name) const;

private:
    friend class ElementTreeBuilder;
    const Element* at(std::size_t index) const { return index == npos ? nullptr : &m_elements[index]; }

    std::vector<Element> m_elements;                               // in document order
    std::vector<std::pair<std::size_t, std::size_t>> m_attributes;  // name and value offsets
    std::vector<XMLCh> m_chars;                                    // every text, zero-terminated
};

}  // namespace qv::xml
