// Reading trees from XML: ReadTreeNodeFromXML turns a node element of a managed document
// (with its property list, value and children) back into a tree; LoadTreeNode does so for a
// file in one call. Missing attributes take their defaults; a file that asks for absurd child
// slots or nests too deeply is refused rather than trusted.
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/XMLString.hpp>

#include "logging/frame.h"
#include "qvtools/xml.h"
#include "tree/tree_internal.h"
#include "tree/tree_xml_internal.h"
#include "xml/xml_internal.h"

using namespace xercesc;
using namespace qv::tree;
using namespace qv::tree::xmlform;

namespace {

constexpr const char* kFn = "ReadTreeNodeFromXML";

bool isNamed(const DOMElement* element, const XMLCh* name) {
    return XMLString::compareIString(element->getTagName(), name) == 0;
}

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

// An int attribute, or `missing` when the element does not have it.
int intAttribute(const DOMElement* element, const XMLCh* name, int missing) {
    const DOMAttr* attribute = element->getAttributeNode(name);
    if (!attribute) return missing;
    const long long value = readNumber(attribute->getValue());
    return value > INT_MAX ? INT_MAX : static_cast<int>(value);
}

// The text of an element's own text children, as bytes.
std::string textOf(const DOMElement* element) {
    std::string text;
    for (const DOMNode* c = element->getFirstChild(); c; c = c->getNextSibling()) {
        const auto type = c->getNodeType();
        if (type == DOMNode::TEXT_NODE || type == DOMNode::CDATA_SECTION_NODE)
            text += qv::xml::narrow(c->getNodeValue());
    }
    return text;
}

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

class Reader {
public:
    QVTreeNode* read(const DOMElement* element, int depth);

private:
    void readChildren(QVTreeNode* node, const DOMElement* container, int count, int depth);
    bool m_tooDeep = false;
};

QVTreeNode* Reader::read(const DOMElement* element, int depth) {
    if (isNamed(element, kEmptyNode)) return nullptr;
    if (depth > kMaxDepth) {
        if (!m_tooDeep)
            static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "xml tree is nested too deeply"));
        m_tooDeep = true;
        return nullptr;
    }
    const DOMElement* propertiesElement = nullptr;
    const DOMElement* childrenElement = nullptr;
    const DOMElement* valueElement = nullptr;
    for (const DOMElement* c = element->getFirstElementChild(); c; c = c->getNextElementSibling()) {
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
        if (valueElement->getAttributeNode(kTypeId)) {
            value = ParseData(textOf(valueElement).c_str(), dataType);
            if (value && dataType == eQVBinaryData)
                static_cast<QVBinaryData*>(value)->size = intAttribute(valueElement, kBinarySize, 0);
        }
        if (const DOMAttr* a = valueElement->getAttributeNode(kAccess))
            access = static_cast<unsigned>(readNumber(a->getValue()));
    }

    const std::string tag = qv::xml::narrow(element->getTagName());
    int slots = intAttribute(element, kChildArray, 0);
    if (slots < 0 || slots >= kMaxChildSlots) {
        static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                                  "child array size %d of node %s is out of range", slots, tag.c_str()));
        slots = 0;
    }
    int count = 0;
    if (childrenElement)
        for (const DOMElement* c = childrenElement->getFirstElementChild(); c; c = c->getNextElementSibling())
            ++count;
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
    if (const DOMAttr* name = element->getAttributeNode(kName))
        copyName(node->name, qv::xml::narrow(name->getValue()).c_str());
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

void Reader::readChildren(QVTreeNode* node, const DOMElement* container, int count, int depth) {
    if (intAttribute(container, kCount, 0) != count)
        static_cast<void>(QV_FAIL(2, QV_ERR_XML, __LINE__,
                                  "numChildren and number of child-xml nodes are different"));
    int position = 0;
    for (const DOMElement* c = container->getFirstElementChild(); c; c = c->getNextElementSibling(), ++position) {
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

}  // namespace

namespace qv::tree {

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
    if (!element)
        return QV_FAIL_NULL(1, QV_ERR_XML, __LINE__, "xml node \"%s\" could not be found ",
                            elementName ? elementName : "");
    try {
        Reader reader;
        return reader.read(element, 0);
    } catch (const std::exception& e) {
        return QV_FAIL_NULL(1, QV_ERR_IO, __LINE__, "runtime error: %s", e.what());
    }
}

QV_API QVTreeNode* LoadTreeNode(const char* path, const char* elementName) {
    constexpr const char* kFn = "LoadTreeNode";
    if (!path) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "path is NULL");
    const int handle = LoadXMLFile(path);
    if (handle <= 0) return QV_FAIL_NULL(1, QV_ERR_XML, __LINE__, "could not load XML document from %s", path);
    QVTreeNode* tree = ReadTreeNodeFromXML(handle, elementName);
    ReleaseXMLDocument(handle);
    if (!tree) return QV_FAIL_NULL(1, QV_ERR_XML, __LINE__, "could not read tree node from XML document %s", path);
    return tree;
}

}  // extern "C"
