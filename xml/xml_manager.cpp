// The XML manager itself: the XML library's initialisation for the library's lifetime, the two
// parsers, and the table of documents by handle (handles from 1, never given out twice).
#include <xercesc/dom/DOM.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "logging/frame.h"
#include "qvtools/xml.h"
#include "xml/xml_internal.h"

using namespace xercesc;

CXMLManager* CXMLManager::GetInstance() {
    static CXMLManager instance;
    return &instance;
}

// Built when the library is loaded, like the other singletons.
namespace {
[[maybe_unused]] const CXMLManager* const g_buildAtLoad = CXMLManager::GetInstance();
}

CXMLManager::CXMLManager()
    : m_implementation(nullptr), m_lastIndex(0), m_fileParser(nullptr), m_bufferParser(nullptr) {
    XMLPlatformUtils::Initialize();
    m_implementation = DOMImplementationRegistry::getDOMImplementation(u"core");
    m_fileParser = new XercesDOMParser;
    m_bufferParser = new XercesDOMParser;
    qv::xml::configureParser(*m_fileParser);
    qv::xml::configureParser(*m_bufferParser);
}

// Documents still in the table and the parsers go before the XML library is shut down.
CXMLManager::~CXMLManager() {
    for (auto& entry : m_documents)
        if (entry.second) entry.second->release();
    m_documents.clear();
    delete m_fileParser;
    delete m_bufferParser;
    XMLPlatformUtils::Terminate();
}

int CXMLManager::AddDocument(DOMDocument* document) {
    constexpr const char* kFn = "CXMLManager::AddDocument";
    ++m_lastIndex;
    QV_NOTE(5, __LINE__, "Add xml document to xmlManager -> idx: %d", m_lastIndex);
    m_documents[m_lastIndex] = document;
    return m_lastIndex;
}

DOMDocument* CXMLManager::GetDocument(int handle) {
    auto it = m_documents.find(handle);
    return it == m_documents.end() ? nullptr : it->second;
}

DOMDocument* CXMLManager::NewDocument(const char* rootName) {
    XMLCh* root = Transcode(rootName && *rootName ? rootName : "XML_Root_Node");
    DOMDocument* document = nullptr;
    try {
        DOMImplementation* implementation = GetInstance()->m_implementation;
        if (implementation) document = implementation->createDocument(nullptr, root, nullptr);
    } catch (...) {
        // An invalid root name: no document.
        document = nullptr;
    }
    XMLString::release(&root);
    return document;
}

bool CXMLManager::ReleaseXMLDocument(DOMDocument* document) {
    if (!document) return false;
    // A released document must not stay reachable through a handle.
    auto& table = GetInstance()->m_documents;
    for (auto it = table.begin(); it != table.end();) {
        if (it->second == document)
            it = table.erase(it);
        else
            ++it;
    }
    document->release();
    return true;
}

bool CXMLManager::ReleaseXMLDocument(int handle) {
    auto it = m_documents.find(handle);
    if (it == m_documents.end()) return false;
    DOMDocument* document = it->second;
    m_documents.erase(it);
    if (!document) return false;
    document->release();
    return true;
}
