// Writing trees as XML: WriteTreeNodeToXML appends a node's element, with its property list,
// value and children, to a managed document; SaveTreeNode writes a tree to a file as the text
// that saving such a document gives. XML library exceptions end here as logged -4 codes.
#include <cstring>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/XMLFormatter.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/util/XMLString.hpp>

#include "logging/frame.h"
#include "qvtools/xml.h"
#include "tree/tree_internal.h"
#include "tree/tree_xml_internal.h"
#include "xml/xml_internal.h"
#include "xml/xml_stream.h"

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

// The type name of `dataType`, made once for every number from -29 to 0 (0 and every number
// outside the types: "unknown_dt").
const char* typeName(int dataType) {
    struct Names {
        Names() {
            for (int type = -29; type <= 0; ++type) GetDataTypeStr(type, text[-type]);
        }
        char text[30][QV_TYPE_NAME_SIZE] = {};
    };
    static const Names names;
    return names.text[dataType >= -29 && dataType <= 0 ? -dataType : 0];
}

// Elements go into a document of the XML manager, below a given element.
class DomSink {
public:
    DomSink(DOMDocument* document, DOMElement* parent) : m_document(document), m_open{parent} {}

    void open(const char* tag) {
        XmlText name(CXMLManager::Transcode(tag));
        DOMElement* element = m_document->createElement(name.get());
        m_open.back()->appendChild(element);
        m_open.push_back(element);
    }
    void attribute(const XMLCh* name, const char* value) {
        XmlText text(CXMLManager::Transcode(value));
        m_open.back()->setAttribute(name, text.get());
    }
    // A decimal attribute, formatted straight into XML characters (a tree of many nodes writes
    // several numbers per node, so this avoids the formatted-output machinery).
    void number(const XMLCh* name, long long value) {
        XMLCh text[24];
        text[23] = 0;
        m_open.back()->setAttribute(name, qv::xml::decimal(text + 23, value));
    }
    void text(const char* text) {
        XmlText content(CXMLManager::Transcode(text));
        m_open.back()->appendChild(m_document->createTextNode(content.get()));
    }
    void close() { m_open.pop_back(); }

private:
    DOMDocument* m_document;
    std::vector<DOMElement*> m_open;
};

// Writes a node's element through a sink: DomSink or qv::xml::TextWriter. Attributes are
// given in the order of their names, the order in which the document keeps them.
template <class Sink>
class Writer {
public:
    // `lastNode` receives the name of each node as its writing starts.
    Writer(Sink& sink, std::string& lastNode) : m_sink(sink), m_lastNode(lastNode) {}
    void write(QVTreeNode* node);

private:
    void writeValue(QVTreeNode* node);

    Sink& m_sink;
    std::string& m_lastNode;
};

template <class Sink>
void Writer<Sink>::write(QVTreeNode* node) {
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
    m_sink.open(qv::xml::cleanName(node->baseName).c_str());

    if (node->childArraySize != 0 && node->childArraySize != kDefaultChildSlots)
        m_sink.number(kChildArray, node->childArraySize);
    m_sink.number(kId, node->id);
    m_sink.number(kIndex, node->indexInParent);
    if (std::strcmp(node->name, node->baseName) != 0)
        m_sink.attribute(kName, qv::xml::cleanName(node->name).c_str());
    m_sink.number(kOrder, node->childOrderMode);

    if (node->properties && node->properties->numChildren > 0) write(node->properties);
    if (node->dataType != eNoData) writeValue(node);
    if (node->numChildren > 0) {
        m_sink.open(kChildrenTag);
        m_sink.number(kCount, node->numChildren);
        for (int i = 0; i < node->childArraySize; ++i)
            if (QVTreeNode* child = node->children[i]) write(child);
        m_sink.close();
    }
    m_sink.close();
}

template <class Sink>
void Writer<Sink>::writeValue(QVTreeNode* node) {
    m_sink.open(kValueTag);
    m_sink.number(kAccess, node->access);
    if (node->dataType == eQVBinaryData) {
        const auto* binary = static_cast<const QVBinaryData*>(node->data);
        if (!binary)
            static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                                      "node dataType is eQVBinaryData, but node data is NULL"));
        else if (binary->size < 0)
            static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "invalid size of binary data"));
        else
            m_sink.number(kBinarySize, binary->size);
    }
    m_sink.attribute(kType, typeName(node->dataType));
    m_sink.number(kTypeId, node->dataType);

    // Text forms fit 512 bytes, except a reference's name path (up to 32 names of 127
    // characters) and an array's, which says itself how long it gets.
    char small[QV_MAX_PATH_DEPTH * QV_NAME_SIZE + 1];
    std::vector<char> large;
    char* text = small;
    if (node->data && node->dataType == eQVArray) {
        const int length = QVWriteArrayData(static_cast<const QVArray*>(node->data), nullptr, 0, 10, ';');
        if (length >= 0) {
            large.assign(static_cast<std::size_t>(length) + QV_STRING_SIZE, '\0');
            text = large.data();
        } else {
            text = nullptr;
        }
    }
    if (node->data && text) {
        text[0] = '\0';
        if (DataToString(node->data, node->dataType, 10, text) == 0) m_sink.text(text);
    }
    m_sink.close();
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

// WriteTreeNodeToXML through a sink made for the element it writes below.
template <class MakeSink>
int writeTree(int handle, QVTreeNode* node, const char* parentName, int options, MakeSink makeSink) {
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

    std::string lastNode;
    try {
        auto& sink = makeSink(document, parent);
        Writer<std::remove_reference_t<decltype(sink)>> writer(sink, lastNode);
        if (node) {
            writer.write(node);
        } else {
            QV_NOTE(5, __LINE__, "writing empty node");
            sink.open(kNullNodeTag);
            sink.close();
        }
    } catch (...) {
        return writeFailure(lastNode);
    }
    QV_NOTE(5, __LINE__, "node parsing done");
    return 0;
}

}  // namespace

extern "C" {

QV_API int WriteTreeNodeToXML(int handle, QVTreeNode* node, const char* parentName, int options) {
    std::optional<DomSink> sink;
    return writeTree(handle, node, parentName, options,
                     [&sink](DOMDocument* document, DOMElement* parent) -> DomSink& {
                         return sink.emplace(document, parent);
                     });
}

// The tree is not built as a document: it is written straight as the text that serialising
// the document would give (the same bytes, the same log entries, the same handle used and
// released), which takes a fraction of the time and memory on large trees.
QV_API int SaveTreeNode(QVTreeNode* node, const char* path, int options) {
    constexpr const char* kFn = "SaveTreeNode";
    // The document's root element is "XML_Root_Node", the default of CreateXMLDocument.
    const int handle = CreateXMLDocument(nullptr);
    if (handle <= 0) return QV_FAIL(1, QV_ERR_IO, __LINE__, "could not create an XML document");
    qv::xml::TextWriter text((options & QV_XML_PRETTY_PRINT) != 0);
    // The write logs its own failures; the result is that of the save.
    writeTree(handle, node, nullptr, QV_WRITE_NULL_NODE,
              [&text](DOMDocument*, DOMElement* root) -> qv::xml::TextWriter& {
                  text.open(qv::xml::narrow(root->getTagName()).c_str());
                  return text;
              });
    const bool saved = qv::xml::saveFile(true, path, [&text](XMLFormatTarget& target) {
        text.finish();
        const std::string& bytes = text.bytes();
        target.writeChars(reinterpret_cast<const XMLByte*>(bytes.data()), bytes.size(), nullptr);
        target.flush();
        return text.invalid() ? qv::xml::invalidCharacterMessage() : std::string();
    });
    ReleaseXMLDocument(handle);
    return saved ? QV_OK : QV_ERR_IO;
}

}  // extern "C"
