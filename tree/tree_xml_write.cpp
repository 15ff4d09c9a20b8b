// Writing trees as XML: WriteTreeNodeToXML appends a node's element, with its property list,
// value and children, to a managed document; SaveTreeNode writes a tree into a new document and
// saves it to a file. XML library exceptions end here as logged -4 codes.
#include <cstring>
#include <string>
#include <vector>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/util/XMLString.hpp>

#include "logging/frame.h"
#include "qvtools/xml.h"
#include "tree/tree_internal.h"
#include "tree/tree_xml_internal.h"
#include "xml/xml_internal.h"

using namespace xercesc;
using namespace qv::tree::xmlform;

namespace {

constexpr const char* kFn = "WriteTreeNodeToXML";

// XML characters from the XML manager, released when the holder goes.
class XmlText {
public:
    explicit XmlText(XMLCh* text) : m_text(text) {}
    ~XmlText() { XMLString::release(&m_text); }
    XmlText(const XmlText&) = delete;
    XmlText& operator=(const XmlText&) = delete;
    const XMLCh* get() const { return m_text; }

private:
    XMLCh* m_text;
};

void trimTrailingBlanks(char* text) {
    std::size_t n = std::strlen(text);
    while (n > 0 && text[n - 1] == ' ') text[--n] = '\0';
}

// A decimal attribute, formatted straight into XML characters (a tree of many nodes writes
// several numbers per node, so this avoids the formatted-output machinery).
void setNumber(DOMElement* element, const XMLCh* name, long long value) {
    XMLCh text[24];
    XMLCh* end = text + 23;
    *end = 0;
    unsigned long long magnitude = value < 0 ? 0ULL - static_cast<unsigned long long>(value)
                                             : static_cast<unsigned long long>(value);
    XMLCh* p = end;
    do {
        *--p = static_cast<XMLCh>(u'0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude);
    if (value < 0) *--p = u'-';
    element->setAttribute(name, p);
}

// The type name of `dataType` as XML characters, made once for every number from -29 to 0
// (0 and every number outside the types: "unknown_dt").
const XMLCh* typeName(int dataType) {
    struct Names {
        Names() {
            for (int type = -29; type <= 0; ++type) {
                char name[QV_TYPE_NAME_SIZE];
                GetDataTypeStr(type, name);
                for (int i = 0; i < QV_TYPE_NAME_SIZE; ++i) text[-type][i] = static_cast<unsigned char>(name[i]);
            }
        }
        XMLCh text[30][QV_TYPE_NAME_SIZE] = {};
    };
    static const Names names;
    return names.text[dataType >= -29 && dataType <= 0 ? -dataType : 0];
}

class Writer {
public:
    explicit Writer(DOMDocument* document) : m_document(document) {}
    void write(DOMElement* parent, QVTreeNode* node);
    const std::string& lastNode() const { return m_lastNode; }

private:
    void writeValue(DOMElement* element, QVTreeNode* node);

    DOMDocument* m_document;
    std::string m_lastNode;
};

void Writer::write(DOMElement* parent, QVTreeNode* node) {
    QV_NOTE(7, __LINE__, "writing tree node to xml");
    m_lastNode = node->name;
    if (node->dataType == eRefToNode) {
        if (int rc = InitRefNode(node))
            static_cast<void>(QV_FAIL(2, rc, __LINE__, "refNode could not be initialised"));
    }
    QV_NOTE(7, __LINE__, "writing node: %s", node->name);

    // The element is named after the base name; both names lose their trailing blanks and the
    // base name its inner blanks, in the node itself, so that the tree matches its file.
    trimTrailingBlanks(node->baseName);
    for (char* c = node->baseName; *c; ++c)
        if (*c == ' ') *c = '_';
    trimTrailingBlanks(node->name);
    XmlText tag(CXMLManager::checkTranscode(node->baseName));
    DOMElement* element = m_document->createElement(tag.get());
    parent->appendChild(element);

    if (std::strcmp(node->name, node->baseName) != 0) {
        XmlText name(CXMLManager::checkTranscode(node->name));
        element->setAttribute(kName, name.get());
    }
    setNumber(element, kId, node->id);
    setNumber(element, kOrder, node->childOrderMode);
    if (node->childArraySize != 0 && node->childArraySize != kDefaultChildSlots)
        setNumber(element, kChildArray, node->childArraySize);
    setNumber(element, kIndex, node->indexInParent);

    if (node->properties && node->properties->numChildren > 0) write(element, node->properties);
    if (node->dataType != eNoData) writeValue(element, node);
    if (node->numChildren > 0) {
        DOMElement* children = m_document->createElement(kChildren);
        element->appendChild(children);
        setNumber(children, kCount, node->numChildren);
        for (int i = 0; i < node->childArraySize; ++i)
            if (QVTreeNode* child = node->children[i]) write(children, child);
    }
}

void Writer::writeValue(DOMElement* element, QVTreeNode* node) {
    DOMElement* value = m_document->createElement(kValue);
    element->appendChild(value);
    setNumber(value, kTypeId, node->dataType);
    setNumber(value, kAccess, node->access);
    value->setAttribute(kType, typeName(node->dataType));
    if (node->dataType == eQVBinaryData) {
        const auto* binary = static_cast<const QVBinaryData*>(node->data);
        if (!binary)
            static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                                      "node dataType is eQVBinaryData, but node data is NULL"));
        else if (binary->size < 0)
            static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "invalid size of binary data"));
        else
            setNumber(value, kBinarySize, binary->size);
    }
    if (!node->data) return;

    // Text forms fit 512 bytes, except a reference's name path (up to 32 names of 127
    // characters) and an array's, which says itself how long it gets.
    char small[QV_MAX_PATH_DEPTH * QV_NAME_SIZE + 1];
    std::vector<char> large;
    char* text = small;
    if (node->dataType == eQVArray) {
        const int length = QVWriteArrayData(static_cast<const QVArray*>(node->data), nullptr, 0, 10, ';');
        if (length < 0) return;
        large.assign(static_cast<std::size_t>(length) + QV_STRING_SIZE, '\0');
        text = large.data();
    }
    text[0] = '\0';
    if (DataToString(node->data, node->dataType, 10, text) != 0) return;
    XmlText content(CXMLManager::Transcode(text));
    value->appendChild(m_document->createTextNode(content.get()));
}

// Logs the exception being handled as the failure of a write; call only inside a catch block.
int writeFailure(const std::string& lastNode) {
    try {
        throw;
    } catch (const DOMException&) {
    } catch (const XMLException&) {
    } catch (const OutOfMemoryException&) {
    } catch (const std::exception& e) {
        return QV_FAIL(1, QV_ERR_IO, __LINE__, "runtime error: %s", e.what());
    } catch (...) {
        return QV_FAIL(1, QV_ERR_IO, __LINE__, "unknown exception was thrown");
    }
    return QV_FAIL(1, QV_ERR_IO, __LINE__,
                   "xml error occured during TreeNodeToXML function, last parsed node: %s",
                   lastNode.c_str());
}

}  // namespace

extern "C" {

QV_API int WriteTreeNodeToXML(int handle, QVTreeNode* node, const char* parentName, int options) {
    if (!node && !(options & QV_WRITE_NULL_NODE))
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "node to write to xml is NULL");
    DOMDocument* document = CXMLManager::GetInstance()->GetDocument(handle);
    if (!document)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__,
                       "specified document is NULL -> load document with LoadXMLFile function first");
    QV_NOTE(5, __LINE__, "start parsing node");

    DOMElement* parent = nullptr;
    try {
        parent = document->getDocumentElement();
        if (!parent) return QV_FAIL(1, QV_ERR_XML, __LINE__, "xml root node is NULL");
        if (parentName) {
            XmlText cleaned(CXMLManager::checkTranscode(parentName));
            parent = CXMLManager::FindFirstNode(document, qv::xml::narrow(cleaned.get()).c_str());
            if (!parent) return QV_FAIL(1, QV_ERR_XML, __LINE__, "could not find xml root node");
        }
    } catch (...) {
        return QV_FAIL(1, QV_ERR_IO, __LINE__, "xml error occured during root node initialization");
    }

    Writer writer(document);
    try {
        if (node) {
            writer.write(parent, node);
        } else {
            QV_NOTE(5, __LINE__, "writing empty node");
            parent->appendChild(document->createElement(kNullNode));
        }
    } catch (...) {
        return writeFailure(writer.lastNode());
    }
    QV_NOTE(5, __LINE__, "node parsing done");
    return 0;
}

QV_API int SaveTreeNode(QVTreeNode* node, const char* path, int options) {
    constexpr const char* kFn = "SaveTreeNode";
    // The document's root element is "XML_Root_Node", the default of CreateXMLDocument.
    const int handle = CreateXMLDocument(nullptr);
    if (handle <= 0) return QV_FAIL(1, QV_ERR_IO, __LINE__, "could not create an XML document");
    // The write logs its own failures; the result is that of the save.
    WriteTreeNodeToXML(handle, node, nullptr, QV_WRITE_NULL_NODE);
    const int rc = SaveXMLDocument(handle, path, options);
    ReleaseXMLDocument(handle);
    return rc;
}

}  // extern "C"
