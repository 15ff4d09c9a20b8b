// Writing documents: serialisation into a caller's buffer and into a file, with optional
// indentation. XML library exceptions end here as logged -8 codes or false.
#include <cstring>
#include <memory>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/LocalFileFormatTarget.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "logging/frame.h"
#include "qvtools/xml.h"
#include "xml/xml_internal.h"

using namespace xercesc;

namespace qv::xml {

std::string serialize(DOMImplementation* implementation, DOMDocument* document, int options,
                      XMLFormatTarget& target) {
    if (!implementation) return "no DOM implementation";
    DOMLSSerializer* serializer = nullptr;
    DOMLSOutput* output = nullptr;
    std::string error;
    try {
        serializer = implementation->createLSSerializer();
        output = implementation->createLSOutput();
        DOMConfiguration* config = serializer->getDomConfig();
        if ((options & QV_XML_PRETTY_PRINT) &&
            config->canSetParameter(XMLUni::fgDOMWRTFormatPrettyPrint, true))
            config->setParameter(XMLUni::fgDOMWRTFormatPrettyPrint, true);
        output->setByteStream(&target);
        if (!serializer->write(document, output)) error = "the document could not be serialized";
        target.flush();
    } catch (...) {
        error = currentFailure().message;
    }
    if (output) output->release();
    if (serializer) serializer->release();
    return error;
}

}  // namespace qv::xml

int CXMLManager::XMLDocumentToBytes(DOMDocument* document, int options, char* buffer,
                                    unsigned int* lengthOut) {
    constexpr const char* kFn = "CXMLManager::XMLDocumentToBytes";
    if (!buffer) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "output argument is NULL");
    if (!document) return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "document is NULL");
    std::string error;
    try {
        MemBufFormatTarget target(1023);
        error = qv::xml::serialize(GetInstance()->m_implementation, document, options, target);
        if (error.empty()) {
            const XMLSize_t length = target.getLen();
            std::memcpy(buffer, target.getRawBuffer(), length);
            buffer[length] = '\0';
            if (lengthOut) *lengthOut = static_cast<unsigned int>(length);
        }
    } catch (...) {
        error = qv::xml::currentFailure().message;
    }
    if (!error.empty())
        return QV_FAIL(1, QV_ERR_XML, __LINE__, "XML error %s - could not write xml document to string",
                       error.c_str());
    return QV_OK;
}

bool CXMLManager::SaveXMLDocument(DOMDocument* document, const char* path, int options) {
    return qv::xml::saveFile(document != nullptr, path, [document, options](XMLFormatTarget& target) {
        return qv::xml::serialize(GetInstance()->m_implementation, document, options, target);
    });
}

namespace qv::xml {

bool saveFile(bool haveDocument, const char* path,
              const std::function<std::string(XMLFormatTarget&)>& write) {
    constexpr const char* kFn = "CXMLManager::SaveXMLDocument";
    if (!haveDocument || !path)
        return QV_FAIL_VAL(false, 1, QV_ERR_NULL_ARGUMENT, __LINE__, "document or path is NULL");
    QV_NOTE(5, __LINE__, "trying to write xml file: %s", path);
    std::string error;
    try {
        LocalFileFormatTarget target(path);
        error = write(target);
    } catch (...) {
        error = currentFailure().message;
    }
    if (!error.empty())
        return QV_FAIL_VAL(false, 1, QV_ERR_XML, __LINE__, "XML error %s - could not write xml file: %s",
                           error.c_str(), path);
    QV_NOTE(5, __LINE__, "successfully wrote: %s", path);
    return true;
}

// Asked of the serialiser itself, once, so that it reads exactly as the library words it.
const std::string& invalidCharacterMessage() {
    static const std::string message = [] {
        DOMImplementation* implementation = DOMImplementationRegistry::getDOMImplementation(u"core");
        DOMDocument* document = implementation->createDocument(nullptr, u"probe", nullptr);
        const XMLCh bad[] = {1, 0};
        document->getDocumentElement()->appendChild(document->createTextNode(bad));
        MemBufFormatTarget target;
        std::string error = serialize(implementation, document, 0, target);
        document->release();
        return error;
    }();
    return message;
}

}  // namespace qv::xml
