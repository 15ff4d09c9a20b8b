// The plain C exports of the XML documents: each checks its arguments, calls the XML manager
// and maps the result to a handle or a code.
#include "logging/frame.h"
#include "qvtools/xml.h"

QV_API int CreateXMLDocument(const char* rootName) {
    constexpr const char* kFn = "CreateXMLDocument";
    xercesc::DOMDocument* document = CXMLManager::NewDocument(rootName);
    if (!document)
        return QV_FAIL(1, QV_ERR_UNKNOWN, __LINE__, "could not create xml document with root node \"%s\"",
                       rootName ? rootName : "");
    return CXMLManager::GetInstance()->AddDocument(document);
}

QV_API int LoadXMLFile(const char* path) {
    constexpr const char* kFn = "LoadXMLFile";
    QV_CHECK_NULL(path, __LINE__, "path is NULL");
    xercesc::DOMDocument* document = CXMLManager::LoadXMLDocument(path);
    if (!document)
        return QV_FAIL(1, QV_ERR_XML, __LINE__, "could not load xml document from \"%s\"", path);
    return CXMLManager::GetInstance()->AddDocument(document);
}

QV_API int XMLDocumentFromString(const char* bytes, unsigned int length) {
    constexpr const char* kFn = "XMLDocumentFromString";
    QV_CHECK_NULL(bytes, __LINE__, "input bytes are NULL");
    xercesc::DOMDocument* document = CXMLManager::XMLDocumentFromBytes(bytes, length);
    if (!document)
        return QV_FAIL(1, QV_ERR_XML, __LINE__, "could not create xml document from input buffer");
    return CXMLManager::GetInstance()->AddDocument(document);
}

QV_API int XMLDocumentToString(int handle, char* buffer, unsigned int* lengthOut) {
    constexpr const char* kFn = "XMLDocumentToString";
    xercesc::DOMDocument* document = CXMLManager::GetInstance()->GetDocument(handle);
    if (!document)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "could not achieve specified xml document");
    return CXMLManager::XMLDocumentToBytes(document, 0, buffer, lengthOut);
}

QV_API int SaveXMLDocument(int handle, const char* path, int options) {
    xercesc::DOMDocument* document = CXMLManager::GetInstance()->GetDocument(handle);
    return CXMLManager::SaveXMLDocument(document, path, options) ? QV_OK : QV_ERR_IO;
}

QV_API int ReleaseXMLDocument(int handle) {
    return CXMLManager::GetInstance()->ReleaseXMLDocument(handle) ? QV_OK : QV_ERR_IO;
}
