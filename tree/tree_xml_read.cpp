// Reading trees from XML: ReadTreeNodeFromXML turns a node element of a managed document
// (with its property list, value and children) back into a tree; LoadTreeNode does so for a
// file in one call, reading a plain file as an element tree rather than a DOM document (one
// reader serves both through a model of the elements). Missing attributes take their
// defaults; a file that asks for absurd child slots or nests too deeply is refused rather
// than trusted.
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/XMLString.hpp>

#include "logging/frame.h"
#include "qvtools/xml.h"
#include "tree/tree_internal.h"
#include "tree/tree_xml_internal.h"
#include "xml/xml_element_tree.h"
#include "xml/xml_internal.h"

using namespace xercesc;
using namespace qv::tree;
using namespace qv::tree::xmlform;

namespace {

constexpr const char* kFn = "ReadTreeNodeFromXML";

// The decimal number at the start of `text` as atoi reads it (leading blanks, a sign, digits),
// held within the range of 32-bit ints and unsigned ints instead of overflowing.
long long readNumber(const XMLCh* text) {
    if (!text) return 0;
    while (*text == ' ' || *text == '\t' || *text == '\n' || *text == '\r') ++text;
    bool negative = false;
    if (*text == '-' || *text == '+') negative = *text++ == '-';
    long long value = 0;
    for (; *text >= '0' && *text <= '9'; ++text)
        if (value <= UINT_MAX) value = value * 10 + (*text - '0');
    if (negative) value = -value;
    if (value < INT_MIN) return INT_MIN;
    if (value > UINT_MAX) return UINT_MAX;
    return value;
}

// The elements of a DOM document.
class DomModel {
public:
    using Element = DOMElement;
    const XMLCh* tag(const Element& element) const { return element.getTagName(); }
    const XMLCh* attribute(const Element& element, const XMLCh* name) const {
        const DOMAttr* attribute = element.getAttributeNode(name);
        return attribute ? attribute->getValue() : nullptr;
    }
    const Element* firstChild(const Element& element) const { return element.getFirstElementChild(); }
    const Element* nextSibling(const Element& element) const { return element.getNextElementSibling(); }
    // The text of the element's own text and CDATA children, as bytes.
    std::string text(const Element& element) const {
        std::string text;
        for (const DOMNode* c = element.getFirstChild(); c; c = c->getNextSibling()) {
            const auto type = c->getNodeType();
            if (type == DOMNode::TEXT_NODE || type == DOMNode::CDATA_SECTION_NODE)
                text += qv::xml::narrow(c->getNodeValue());
        }
        return text;
    }
};

// The elements of a file read as a plain element tree: the same answers as the DOM document
// of that file would give.
class ElementTreeModel {
public:
    using Element = qv::xml::ElementTree::Element;
    explicit ElementTreeModel(const qv::xml::ElementTree& tree) : m_tree(tree) {}
    const XMLCh* tag(const Element& element) const { return m_tree.tag(element); }
    const XMLCh* attribute(const Element& element, const XMLCh* name) const {
        return m_tree.attribute(element, name);
    }
    const Element* firstChild(const Element& element) const { return m_tree.firstChild(element); }
    const Element* nextSibling(const Element& element) const { return m_tree.nextSibling(element); }
    std::string text(const Element& element) const { return qv::xml::narrow(m_tree.text(element)); }

private:
    const qv::xml::ElementTree& m_tree;
};

bool isPoint(int dataType) {
    switch (dataType) {
    case eIntPoint2d:
    case eFloatPoint2d:
    case eIntPoint3d:
    case eFloatPoint3d:
    case eDoublePoint2d:
    case eDoublePoint3d: return true;
    default: return false;
    }
}

// Releases a value the reader parsed. ReleaseData leaves points alone on purpose (a caller's
// tree may hold them in its own storage); a point the reader parsed itself is its own to free.
void releaseValue(void* value, int dataType) {
    if (!value) return;
    if (isPoint(dataType))
        std::free(value);
    else
        ReleaseData(value, dataType, 0);
}

// Makes the property-list node read from "Properties" the node's property list: any value read
// for it gives way to a fresh valid list holding all its properties.
void attachProperties(QVTreeNode* node, QVTreeNode* properties) {
    if (properties->data && ownsData(properties)) releaseValue(properties->data, properties->dataType);
    QVArray* list = CreateArray(eQVPropertyList, 0, properties->numChildren > 8 ? properties->numChildren : 8);
    for (int i = 0; list && i < properties->childArraySize; ++i)
        if (QVTreeNode* property = properties->children[i]) AppendValue(list, property);
    properties->data = list;
    properties->dataType = eQVPropertyList;
    properties->dataFlags = 1;
    properties->parent = node;
    node->properties = properties;
    setLevels(properties, node->level + 1);
}

// Reads node elements through a model of the document's elements.
template <class Model>
class Reader {
public:
    using Element = typename Model::Element;
    explicit Reader(const Model& model) : m_model(model) {}
    QVTreeNode* read(const Element* element, int depth);

private:
    bool isNamed(const Element* element, const XMLCh* name) const {
        return XMLString::compareIString(m_model.tag(*element), name) == 0;
    }
    // An int attribute, or `missing` when the element does not have it.
    int intAttribute(const Element* element, const XMLCh* name, int missing) const {
        const XMLCh* text = m_model.attribute(*element, name);
        if (!text) return missing;
        const long long value = readNumber(text);
        return value > INT_MAX ? INT_MAX : static_cast<int>(value);
    }
    void readChildren(QVTreeNode* node, const Element* container, int count, int depth);

    const Model& m_model;
    bool m_tooDeep = false;
};

template <class Model>
QVTreeNode* Reader<Model>::read(const Element* element, int depth) {
    if (isNamed(element, kEmptyNode)) return nullptr;
    if (depth > kMaxDepth) {
        if (!m_tooDeep)
            static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "xml tree is nested too deeply"));
        m_tooDeep = true;
        return nullptr;
    }
    const Element* propertiesElement = nullptr;
    const Element* childrenElement = nullptr;
    const Element* valueElement = nullptr;
    for (const Element* c = m_model.firstChild(*element); c; c = m_model.nextSibling(*c)) {
        if (!propertiesElement && isNamed(c, kProperties))
            propertiesElement = c;
        else if (!childrenElement && isNamed(c, kChildren))
            childrenElement = c;
        else if (!valueElement && isNamed(c, kValue))
            valueElement = c;
    }

    QVTreeNode* properties = propertiesElement ? read(propertiesElement, depth + 1) : nullptr;
    if (m_tooDeep) {
        releaseOwnedTree(properties);
        return nullptr;
    }

    int dataType = eNoData;
    void* value = nullptr;
    unsigned access = kDefaultAccess;
    if (valueElement) {
        dataType = intAttribute(valueElement, kTypeId, eUndef);
        if (m_model.attribute(*valueElement, kTypeId)) {
            value = ParseData(m_model.text(*valueElement).c_str(), dataType);
            if (value && dataType == eQVBinaryData)
                static_cast<QVBinaryData*>(value)->size = intAttribute(valueElement, kBinarySize, 0);
        }
        if (const XMLCh* text = m_model.attribute(*valueElement, kAccess))
            access = static_cast<unsigned>(readNumber(text));
    }

    const std::string tag = qv::xml::narrow(m_model.tag(*element));
    int slots = intAttribute(element, kChildArray, 0);
    if (slots < 0 || slots >= kMaxChildSlots) {
        static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                                  "child array size %d of node %s is out of range", slots, tag.c_str()));
        slots = 0;
    }
    int count = 0;
    if (childrenElement)
        for (const Element* c = m_model.firstChild(*childrenElement); c; c = m_model.nextSibling(*c)) ++count;
    if (count > slots) {
        slots = kDefaultChildSlots;
        while (slots < count) slots *= 2;
    }

    QVTreeNode* node = CreateTreeNodeN(dataType, value, tag.c_str(), intAttribute(element, kId, 0),
                                       intAttribute(element, kOrder, eFixedIndex), 0, slots);
    if (!node) {
        releaseValue(value, dataType);
        releaseOwnedTree(properties);
        return nullptr;
    }
    node->dataFlags = value ? eAllocNewPtr : 0;
    if (const XMLCh* name = m_model.attribute(*element, kName)) copyName(node->name, qv::xml::narrow(name).c_str());
    if (properties) attachProperties(node, properties);
    node->indexInParent = intAttribute(element, kIndex, 0);
    node->access = access;

    if (childrenElement) readChildren(node, childrenElement, count, depth);
    if (m_tooDeep) {
        releaseOwnedTree(node);
        return nullptr;
    }
    return node;
}

template <class Model>
void Reader<Model>::readChildren(QVTreeNode* node, const Element* container, int count, int depth) {
    if (intAttribute(container, kCount, 0) != count)
        static_cast<void>(QV_FAIL(2, QV_ERR_XML, __LINE__,
                                  "numChildren and number of child-xml nodes are different"));
    int position = 0;
    for (const Element* c = m_model.firstChild(*container); c; c = m_model.nextSibling(*c), ++position) {
        QVTreeNode* child = read(c, depth + 1);
        if (m_tooDeep) {
            releaseOwnedTree(child);
            return;
        }
        if (!child) {
            static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "child at index %d is NULL", position));
            continue;
        }
        const int index = child->indexInParent;
        if (node->childOrderMode == eFixedIndex && index >= node->childArraySize && index >= kMaxChildSlots) {
            static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "child index %d of node %s is out of range",
                                      index, node->name));
            releaseOwnedTree(child);
            continue;
        }
        // A child that cannot be placed (the reason is logged) is not kept.
        if (InsertChildAt(node, child, index) != 0) releaseOwnedTree(child);
    }
}

// ReadTreeNodeFromXML on a model: the element named `elementName` (null: the first element
// below the root) read as a tree.
template <class Model>
QVTreeNode* readTree(const Model& model, const typename Model::Element* element, const char* elementName) {
    if (!element)
        return QV_FAIL_NULL(1, QV_ERR_XML, __LINE__, "xml node \"%s\" could not be found ",
                            elementName ? elementName : "");
    try {
        Reader<Model> reader(model);
        return reader.read(element, 0);
    } catch (const std::exception& e) {
        return QV_FAIL_NULL(1, QV_ERR_IO, __LINE__, "runtime error: %s", e.what());
    }
}

// LoadTreeNode's tree of a plain file, read without a DOM document; null when the file is not
// plain (the caller then takes the document path, which also reports every failure). The
// handle a document would have had is still taken and released, with its log line.
std::optional<QVTreeNode*> loadPlain(const char* path, const char* elementName) {
    const std::unique_ptr<qv::xml::ElementTree> tree = qv::xml::ElementTree::parseFile(path);
    if (!tree) return std::nullopt;
    const int handle = CreateXMLDocument(nullptr);
    if (handle <= 0) return std::nullopt;
    const qv::xml::ElementTree::Element* element = nullptr;
    if (elementName) {
        XMLCh* name = CXMLManager::Transcode(elementName);
        element = tree->find(name);
        XMLString::release(&name);
    } else {
        element = tree->firstChild(*tree->root());
    }
    QVTreeNode* result = readTree(ElementTreeModel(*tree), element, elementName);
    ReleaseXMLDocument(handle);
    return result;
}

}  // namespace

namespace qv::tree {

// A plain file is read as an element tree, which gives the same tree and log as the document
// path at a fraction of its time and memory; any other file takes the document path.
QVTreeNode* loadTree(const char* path, const char* elementName, bool plainAllowed) {
    constexpr const char* kFn = "LoadTreeNode";
    if (!path) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "path is NULL");
    QVTreeNode* tree = nullptr;
    std::optional<QVTreeNode*> plain;
    if (plainAllowed) plain = loadPlain(path, elementName);
    if (plain) {
        tree = *plain;
    } else {
        const int handle = LoadXMLFile(path);
        if (handle <= 0)
            return QV_FAIL_NULL(1, QV_ERR_XML, __LINE__, "could not load XML document from %s", path);
        tree = ReadTreeNodeFromXML(handle, elementName);
        ReleaseXMLDocument(handle);
    }
    if (!tree) return QV_FAIL_NULL(1, QV_ERR_XML, __LINE__, "could not read tree node from XML document %s", path);
    return tree;
}

void releaseOwnedTree(QVTreeNode* node) {
    if (!node) return;
    auto dropPoints = [](QVTreeNode* n, auto& self) -> void {
        if (ownsData(n) && isPoint(n->dataType)) {
            std::free(n->data);
            n->data = nullptr;
        }
        if (n->properties) self(n->properties, self);
        for (int i = 0; i < n->childArraySize; ++i)
            if (n->children[i]) self(n->children[i], self);
    };
    dropPoints(node, dropPoints);
    ReleaseTreeNode(node, 1);
}

}  // namespace qv::tree

extern "C" {

QV_API QVTreeNode* ReadTreeNodeFromXML(int handle, const char* elementName) {
    DOMDocument* document = CXMLManager::GetInstance()->GetDocument(handle);
    if (!document) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "could not find document");
    const DOMElement* element = nullptr;
    if (elementName) {
        element = CXMLManager::FindFirstNode(document, elementName);
    } else if (const DOMElement* root = document->getDocumentElement()) {
        element = root->getFirstElementChild();
    }
    return readTree(DomModel(), element, elementName);
}

QV_API QVTreeNode* LoadTreeNode(const char* path, const char* elementName) {
    return qv::tree::loadTree(path, elementName, true);
}

}  // extern "C"
