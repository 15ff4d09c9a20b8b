/* QV_Tools xml family: XML documents and value texts.
 *
 * Every XML document of the library lives in one process-wide table of the XML manager
 * (CXMLManager) and is handed to C callers as a small integer handle. Handles start at 1, only
 * grow, and are never given out twice. The plain C functions below create, load, serialise,
 * save and release documents by handle; C++ callers reach the DOM documents themselves
 * (Xerces-C xercesc::DOMDocument*) through CXMLManager.
 *
 * Texts crossing this interface are 8-bit byte strings; each byte stands for the character of
 * the same number (ISO-8859-1), so every text goes into a document and comes back out byte for
 * byte. Files and serialised documents are written in the XML library's default encoding
 * (UTF-8). */
#ifndef QVTOOLS_XML_H
#define QVTOOLS_XML_H

#include "qvtools/export.h"

QV_EXTERN_C_BEGIN

/* Options word of the writers: this bit indents the output (pretty printing). */
#define QV_XML_PRETTY_PRINT 2

/* Makes a new document whose root element is `rootName` ("XML_Root_Node" when null or empty)
 * and enters it in the table. Returns the handle, or -1 when the document could not be made
 * (for example a root name that is not a valid XML name; logged with code -1). Logs the new
 * handle at level 5. */
QV_API int CreateXMLDocument(const char* rootName);

/* Parses the file `path` and enters the document in the table. Returns the handle; -2 for a
 * null path ("path is NULL"); -8 when the file cannot be read or is not well-formed XML
 * ("could not load xml document from \"<path>\""; the parser's own message goes to standard
 * error). */
QV_API int LoadXMLFile(const char* path);

/* Parses `length` bytes of XML text and enters the document in the table. Returns the handle;
 * -2 for null bytes ("input bytes are NULL"); -8 when the text is not well-formed XML
 * ("could not create xml document from input buffer"; the parser's message goes to standard
 * error). */
QV_API int XMLDocumentFromString(const char* bytes, unsigned int length);

/* Serialises the document of `handle` without indentation into `buffer` as zero-terminated
 * text. There is no size argument: the caller must provide room for the whole text. Stores the
 * text length (without the terminator) in `lengthOut` when it is not null. Returns 0; -5 for
 * an unknown handle ("could not achieve specified xml document"); -2 for a null buffer; -8 on
 * an XML error. */
QV_API int XMLDocumentToString(int handle, char* buffer, unsigned int* lengthOut);

/* Writes the document of `handle` to the file `path`; `options` bit QV_XML_PRETTY_PRINT
 * indents it. Returns 0, or -4 when the handle is unknown or the file could not be written
 * (the cause is logged). */
QV_API int SaveXMLDocument(int handle, const char* path, int options);

/* Releases the document of `handle` and removes it from the table. Returns 0, or -4 when the
 * handle is unknown or held no document. The handle is never given out again. */
QV_API int ReleaseXMLDocument(int handle);

/* Parses the text form of a value of QVDataType `dataType` (as DataToString writes it) into a
 * new zero-initialised value, owned by the caller (release it with the library's data release).
 * Returns null for a type outside -29..-1, for types without a text form, and for array texts
 * that cannot be read. Point and rectangle texts that lack numbers are logged at level 2 with
 * code -5 and still returned, the missing fields 0. Kept on purpose: integer 2-D points and
 * double points are read through single-precision variables, so ordinary values come out as
 * 0; a char always parses to 0. A string longer than 511 characters is cut. `text` must not be
 * null for the types that read it. */
QV_API void* ParseData(const char* text, int dataType);

QV_EXTERN_C_END

#ifdef __cplusplus
#include <map>

#include <xercesc/util/XercesDefs.hpp>

XERCES_CPP_NAMESPACE_BEGIN
class DOMDocument;
class DOMElement;
class DOMImplementation;
class DOMNode;
class XercesDOMParser;
XERCES_CPP_NAMESPACE_END

/* The XML manager: the one owner of the XML library's initialisation (from library load to
 * unload), of the file and buffer parsers, and of the table of documents by handle. The
 * document pointers are Xerces-C DOM documents; a document entered in the table belongs to the
 * manager until it is released by handle. Not thread-safe: one caller at a time. No XML
 * library exception leaves any method. */
class QV_API CXMLManager {
public:
    static CXMLManager* GetInstance();

    /* Enters `document` under the next handle (logged at level 5 with code 0 as
     * "Add xml document to xmlManager -> idx: <handle>") and returns the handle. */
    int AddDocument(xercesc::DOMDocument* document);
    /* The document of `handle`, or null when unknown. */
    xercesc::DOMDocument* GetDocument(int handle);

    /* A new document with root element `rootName` ("XML_Root_Node" when null or empty), not
     * entered in the table; null when the name is not a valid element name. */
    static xercesc::DOMDocument* NewDocument(const char* rootName);
    /* Parses a file with the file parser; null on failure (the parser's message goes to
     * standard error). The caller owns the document. */
    static xercesc::DOMDocument* LoadXMLDocument(const char* path);
    /* Parses a memory buffer with the buffer parser; null on failure; null bytes log -2
     * "xmlBytes is NULL". The caller owns the document. */
    static xercesc::DOMDocument* XMLDocumentFromBytes(const char* bytes, unsigned int length);
    /* Serialises `document` (options: QV_XML_PRETTY_PRINT) into `buffer`, which must hold the
     * whole zero-terminated text; the length goes to `lengthOut` when not null. Returns 0; -2
     * for a null buffer ("output argument is NULL") or document ("document is NULL"); -8 on an
     * XML error ("XML error <message> - could not write xml document to string"). */
    static int XMLDocumentToBytes(xercesc::DOMDocument* document, int options, char* buffer,
                                  unsigned int* lengthOut);
    /* Writes `document` to the file `path` (options: QV_XML_PRETTY_PRINT); notices at level 5
     * before and after. Returns true, or false on an XML error (logged with code -8) or a null
     * document or path (logged with code -2). */
    static bool SaveXMLDocument(xercesc::DOMDocument* document, const char* path, int options);
    /* Releases a document; a table entry holding it is removed too. False for null. */
    static bool ReleaseXMLDocument(xercesc::DOMDocument* document);
    /* Releases the document of `handle` and removes the entry: true; an entry holding null is
     * removed and gives false; an unknown handle gives false. */
    bool ReleaseXMLDocument(int handle);

    /* The first element named `name` below `node` (depth first, document order; `node` itself
     * is not considered), or null. */
    static xercesc::DOMElement* FindNode(xercesc::DOMNode* node, const char* name);
    /* The first element named `name` in `document`, the root element included, in document
     * order; with `parentName` the search runs below the first element of that name only.
     * Null when absent. */
    static xercesc::DOMElement* FindFirstNode(xercesc::DOMDocument* document, const char* name,
                                              const char* parentName = nullptr);

    /* `text` as a valid XML name: unchanged when already valid; otherwise trailing blanks are
     * trimmed, blanks become "_", "\\" and "/" become "-", the letters 0xE4, 0xF6, 0xFC become
     * "a", "o", "u", and "&%<>+*" become "-", the number of changes logged at level 0 with code
     * -5. A text that is still not valid is returned as cleaned. Release the result with
     * xercesc::XMLString::release. Null for null. */
    static XMLCh* checkTranscode(const char* text);
    /* `text` as XML characters, byte for byte (ISO-8859-1); release with
     * xercesc::XMLString::release. Null for null. */
    static XMLCh* Transcode(const char* text);
    /* XML characters back to bytes (characters above 0xFF become '?'); release with
     * xercesc::XMLString::release. Null for null. */
    static char* Transcode(const XMLCh* text);

    CXMLManager(const CXMLManager&) = delete;
    CXMLManager& operator=(const CXMLManager&) = delete;

private:
    CXMLManager();
    ~CXMLManager();

    xercesc::DOMImplementation* m_implementation;
    std::map<int, xercesc::DOMDocument*> m_documents;
    int m_lastIndex;
    xercesc::XercesDOMParser* m_fileParser;
    xercesc::XercesDOMParser* m_bufferParser;
};
#endif /* __cplusplus */

#endif
