// Text helpers of the xml folder: the byte-for-byte transcoding between the library's 8-bit
// texts and the XML library's characters, and the message of an XML library exception.
#include <cstring>
#include <exception>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/util/XMLString.hpp>

#include "qvtools/xml.h"
#include "xml/xml_internal.h"

using namespace xercesc;

namespace qv::xml {

std::string narrow(const XMLCh* text) {
    char* bytes = CXMLManager::Transcode(text);
    std::string out(bytes ? bytes : "");
    XMLString::release(&bytes);
    return out;
}

XmlFailure currentFailure() {
    try {
        throw;
    } catch (const OutOfMemoryException&) {
        return {true, "out of memory"};
    } catch (const XMLException& e) {
        return {false, narrow(e.getMessage())};
    } catch (const SAXException& e) {
        return {false, narrow(e.getMessage())};
    } catch (const DOMException& e) {
        return {false, narrow(e.getMessage())};
    } catch (const std::bad_alloc&) {
        return {true, "out of memory"};
    } catch (const std::exception& e) {
        return {false, e.what()};
    } catch (...) {
        return {false, "unknown exception"};
    }
}

}  // namespace qv::xml

// Texts are bytes as given: each byte is the character of the same number, so any 8-bit text
// (Latin-1 umlauts included) comes back unchanged, whatever the process locale.
XMLCh* CXMLManager::Transcode(const char* text) {
    if (!text) return nullptr;
    const std::size_t length = std::strlen(text);
    auto* out = static_cast<XMLCh*>(
        XMLPlatformUtils::fgMemoryManager->allocate((length + 1) * sizeof(XMLCh)));
    for (std::size_t i = 0; i < length; ++i) out[i] = static_cast<unsigned char>(text[i]);
    out[length] = 0;
    return out;
}

char* CXMLManager::Transcode(const XMLCh* text) {
    if (!text) return nullptr;
    const XMLSize_t length = XMLString::stringLen(text);
    auto* out = static_cast<char*>(XMLPlatformUtils::fgMemoryManager->allocate(length + 1));
    for (XMLSize_t i = 0; i < length; ++i)
        out[i] = text[i] <= 0xFF ? static_cast<char>(text[i]) : '?';
    out[length] = '\0';
    return out;
}

