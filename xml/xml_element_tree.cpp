// The element tree, built from the streaming parser's events.
#include "xml/xml_element_tree.h"

#include <filesystem>
#include <memory>

#include <xercesc/framework/XMLDocumentHandler.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUni.hpp>

using namespace xercesc;

namespace qv::xml {

namespace {

// Thrown to end a parse that cannot give a plain tree; nothing is reported.
struct NotPlain {};

// Sees the XML declaration, which the streaming interface does not pass on: a DOM document
// takes only the versions 1.0 and 1.1, while the parser lets others through.
class DeclarationCheck : public XMLDocumentHandler {
public:
    void XMLDecl(const XMLCh* const version, const XMLCh* const, const XMLCh* const, const XMLCh* const) override {
        if (!XMLString::equals(version, XMLUni::fgVersion1_0) && !XMLString::equals(version, XMLUni::fgVersion1_1))
            throw NotPlain{};
    }
    void docCharacters(const XMLCh* const, const XMLSize_t, const bool) override {}
    void docComment(const XMLCh* const) override {}
    void docPI(const XMLCh* const, const XMLCh* const) override {}
    void endDocument() override {}
    void endElement(const XMLElementDecl&, const unsigned int, const bool, const XMLCh* const) override {}
    void endEntityReference(const XMLEntityDecl&) override {}
    void ignorableWhitespace(const XMLCh* const, const XMLSize_t, const bool) override {}
    void resetDocument() override {}
    void startDocument() override {}
    void startElement(const XMLElementDecl&, const unsigned int, const XMLCh* const, const RefVectorOf<XMLAttr>&,
                      const XMLSize_t, const bool, const bool) override {}
    void startEntityReference(const XMLEntityDecl&) override {}
};

}  // namespace

class ElementTreeBuilder : public DefaultHandler {
public:
    explicit ElementTreeBuilder(ElementTree& tree) : m_tree(tree) {}

    void startElement(const XMLCh* const, const XMLCh* const, const XMLCh* const qname,
                      const Attributes& attributes) override {
        const std::size_t index = m_tree.m_elements.size();
        ElementTree::Element element{};
        element.tag = store(qname);
        element.firstAttribute = m_tree.m_attributes.size();
        element.attributes = attributes.getLength();
        element.text = ElementTree::npos;
        element.firstChild = ElementTree::npos;
        element.nextSibling = ElementTree::npos;
        for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
            const std::size_t name = store(attributes.getQName(i));
            m_tree.m_attributes.emplace_back(name, store(attributes.getValue(i)));
        }
        m_tree.m_elements.push_back(element);
        if (!m_open.empty()) {
            Open& parent = m_open.back();
            if (parent.lastChild == ElementTree::npos)
                m_tree.m_elements[parent.index].firstChild = index;
            else
                m_tree.m_elements[parent.lastChild].nextSibling = index;
            parent.lastChild = index;
        }
        if (m_texts.size() <= m_open.size()) m_texts.emplace_back();
        m_texts[m_open.size()].clear();
        m_open.push_back({index, ElementTree::npos});
    }

    void endElement(const XMLCh* const, const XMLCh* const, const XMLCh* const) override {
        std::vector<XMLCh>& text = m_texts[m_open.size() - 1];
        text.push_back(0);
        m_tree.m_elements[m_open.back().index].text = store(text.data(), text.size() - 1);
        m_open.pop_back();
    }

    void characters(const XMLCh* const chars, const XMLSize_t length) override {
        if (m_open.empty()) return;
        std::vector<XMLCh>& text = m_texts[m_open.size() - 1];
        text.insert(text.end(), chars, chars + length);
    }

    // A document type can change what the document means (entities, default attributes,
    // validation): such documents are left to the document path.
    void startDTD(const XMLCh* const, const XMLCh* const, const XMLCh* const) override { throw NotPlain{}; }
    void startEntity(const XMLCh* const) override { throw NotPlain{}; }
    // A warning too: the document path refuses some documents that the parser only warns about
    // (an XML version other than 1.0 or 1.1).
    void warning(const SAXParseException&) override { throw NotPlain{}; }
    void error(const SAXParseException&) override { throw NotPlain{}; }
    void fatalError(const SAXParseException&) override { throw NotPlain{}; }

private:
    struct Open {
        std::size_t index;
        std::size_t lastChild;
    };

    std::size_t store(const XMLCh* text) { return store(text, XMLString::stringLen(text)); }
    std::size_t store(const XMLCh* text, std::size_t length) {
        const std::size_t offset = m_tree.m_chars.size();
        m_tree.m_chars.insert(m_tree.m_chars.end(), text, text + length);
        m_tree.m_chars.push_back(0);
        return offset;
    }

    ElementTree& m_tree;
    std::vector<Open> m_open;
    std::vector<std::vector<XMLCh>> m_texts;  // the direct text of each open element, by depth
};

std::unique_ptr<ElementTree> ElementTree::parseFile(const char* path) {
    if (!path) return nullptr;
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) return nullptr;
    auto tree = std::make_unique<ElementTree>();
    try {
        std::unique_ptr<SAX2XMLReader> reader(XMLReaderFactory::createXMLReader());
        reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
        reader->setFeature(XMLUni::fgSAX2CoreValidation, false);
        reader->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
        reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
        ElementTreeBuilder builder(*tree);
        DeclarationCheck declaration;
        reader->installAdvDocHandler(&declaration);
        reader->setContentHandler(&builder);
        reader->setErrorHandler(&builder);
        reader->setLexicalHandler(&builder);
        reader->parse(path);
    } catch (...) {
        return nullptr;
    }
    if (!tree->root()) return nullptr;
    return tree;
}

const XMLCh* ElementTree::attribute(const Element& element, const XMLCh* name) const {
    for (std::size_t i = 0; i < element.attributes; ++i) {
        const auto& [nameOffset, valueOffset] = m_attributes[element.firstAttribute + i];
        if (XMLString::equals(&m_chars[nameOffset], name)) return &m_chars[valueOffset];
    }
    return nullptr;
}

const ElementTree::Element* ElementTree::find(const XMLCh* name) const {
    for (const Element& element : m_elements)
        if (XMLString::equals(tag(element), name)) return &element;
    return nullptr;
}

}  // namespace qv::xml
