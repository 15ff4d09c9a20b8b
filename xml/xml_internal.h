// Private helpers of the xml folder: byte-for-byte transcoding, the library messages of
// XML exceptions, and the parse step shared by the file and buffer parsers.
#pragma once

#include <functional>
#include <string>

#include <xercesc/util/XercesDefs.hpp>

XERCES_CPP_NAMESPACE_BEGIN
class DOMImplementation;
class InputSource;
class XMLFormatTarget;
class XercesDOMParser;
class DOMDocument;
XERCES_CPP_NAMESPACE_END

namespace qv::xml {

// The XML characters as a byte string, as CXMLManager::Transcode maps them ("" for null).
std::string narrow(const XMLCh* text);

// The kind and message text of the exception being handled; call only inside a catch block.
struct XmlFailure {
    bool outOfMemory;
    std::string message;
};
XmlFailure currentFailure();

// Parses the memory source `buffer`, or the file `path` when `buffer` is null, with `parser`,
// and returns the adopted document (the caller owns it), or null when the text is not
// well-formed or the XML library threw. Failures are written to standard error. Afterwards
// `parser` is replaced by a fresh one set up the same way: a parser that has read an XML 1.1
// document keeps reading every later document by the rules of 1.1, which reset() does not
// undo, so that a file could load or not depending on the file read before it.
xercesc::DOMDocument* parseWith(xercesc::XercesDOMParser*& parser,
                                const xercesc::InputSource* buffer, const char* path);

// Serialises `document` into `target`, indented when `options` holds QV_XML_PRETTY_PRINT.
// Returns "" on success, otherwise the XML library's message; throws nothing.
std::string serialize(xercesc::DOMImplementation* implementation, xercesc::DOMDocument* document,
                      int options, xercesc::XMLFormatTarget& target);

// True for a plain ASCII name that the XML library takes as a valid element and notation name
// without asking it: a letter or "_" first, then letters, digits, ".", "-" and "_" (no ":").
// Most names are of this kind; everything else is for the library to check.
bool plainValidName(const char* text);

// `text` made a usable XML name as CXMLManager::checkTranscode makes it (with its log entry),
// as bytes. `text` must not be null.
std::string cleanName(const char* text);

// Writes the file `path` through the XML library's file target, with the argument check and
// the log entries of CXMLManager::SaveXMLDocument: `write` fills the target and returns "" or
// the XML library's message. Returns true when the file was written.
bool saveFile(bool haveDocument, const char* path,
              const std::function<std::string(xercesc::XMLFormatTarget&)>& write);

// The message of the XML library's serialiser for a character that XML cannot hold.
const std::string& invalidCharacterMessage();

// Sets up a parser as both parsers of the manager are set up.
void configureParser(xercesc::XercesDOMParser& parser);

}  // namespace qv::xml
