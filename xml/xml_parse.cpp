// Parsing: XML files with the manager's file parser and memory buffers with its buffer
// parser. A text that is not well-formed gives no document; the parser's message goes to
// standard error and nothing is thrown to the caller.
#include <cstdio>
#include <filesystem>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/ErrorHandler.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include "logging/frame.h"
#include "qvtools/xml.h"
#include "xml/xml_internal.h"

using namespace xercesc;

namespace {

// Without an error handler the parser carries on after a fatal error and hands out a partial
// document. This handler stops the parse at the first fatal error instead; validation errors
// and warnings (only possible with a document type) do not stop it.
class StopAtFatalError : public ErrorHandler {
public:
    void warning(const SAXParseException&) override {}
    void error(const SAXParseException&) override {}
    void fatalError(const SAXParseException& e) override { throw e; }
    void resetErrors() override {}
};

// Writes the failure of a parse to standard error; `path` is null for a memory buffer.
void reportFailure(const qv::xml::XmlFailure& failure, const char* path) {
    if (failure.outOfMemory) {
        if (path)
            std::fprintf(stderr, "OutOfMemoryException during parsing: %s\n", path);
        else
            std::fprintf(stderr, "OutOfMemoryException during parsing of xml bytes");
        return;
    }
    std::fprintf(stderr, "Exception Occurred \"%s\".  \n", failure.message.c_str());
    if (path) std::fprintf(stderr, "File being parsed is \"%s\".\n", path);
}

}  // namespace

namespace qv::xml {

void configureParser(XercesDOMParser& parser) {
    parser.setValidationScheme(XercesDOMParser::Val_Auto);
    // External entities and document types are never fetched (no network or file access
    // from inside a document); a document that needs one fails to parse.
    parser.setDisableDefaultEntityResolution(true);
}

DOMDocument* parseWith(XercesDOMParser*& parser, const InputSource* buffer, const char* path) {
    StopAtFatalError handler;
    // Limits entity expansion, so that a small document cannot expand into gigabytes.
    SecurityManager limits;
    parser->setErrorHandler(&handler);
    parser->setSecurityManager(&limits);
    DOMDocument* document = nullptr;
    try {
        if (buffer)
            parser->parse(*buffer);
        else
            parser->parse(path);
        document = parser->adoptDocument();
    } catch (...) {
        reportFailure(currentFailure(), buffer ? nullptr : path);
        document = nullptr;
    }
    try {
        auto* fresh = new XercesDOMParser;
        configureParser(*fresh);
        delete parser;
        parser = fresh;
    } catch (...) {
        // No fresh parser: the old one is reset and kept.
        try {
            parser->reset();
            parser->resetDocumentPool();
        } catch (...) {
        }
        parser->setErrorHandler(nullptr);
        parser->setSecurityManager(nullptr);
    }
    return document;
}

}  // namespace qv::xml

DOMDocument* CXMLManager::LoadXMLDocument(const char* path) {
    if (!path) return nullptr;
    // Reading a folder as a file leaks inside the XML library; it fails here instead.
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) {
        reportFailure({false, "path is a directory"}, path);
        return nullptr;
    }
    // Parsed documents are adopted: the manager's table (or the caller) owns them, not the
    // parser, so that releasing one later cannot free it twice.
    return qv::xml::parseWith(GetInstance()->m_fileParser, nullptr, path);
}

DOMDocument* CXMLManager::XMLDocumentFromBytes(const char* bytes, unsigned int length) {
    constexpr const char* kFn = "CXMLManager::XMLDocumentFromBytes";
    if (!bytes) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "xmlBytes is NULL");
    MemBufInputSource source(reinterpret_cast<const XMLByte*>(bytes), length, "test");
    return qv::xml::parseWith(GetInstance()->m_bufferParser, &source, nullptr);
}
