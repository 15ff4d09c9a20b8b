// Fuzz target: arbitrary bytes parsed as an XML document from memory, serialised back when they
// parse, and released. No logger is registered, so failures stay silent in the log; the
// parser's messages still go to standard error (run libFuzzer with -close_fd_mask=2 to hide
// them). Inputs are capped so that single runs stay fast.
#include <cstdint>
#include <vector>

#include <xercesc/dom/DOM.hpp>

#include "QV_Tools.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMaxInput = 64 * 1024;
    if (size > kMaxInput) return 0;
    static const char kEmpty = '\0';
    const char* bytes = data ? reinterpret_cast<const char*>(data) : &kEmpty;
    const int handle = XMLDocumentFromString(bytes, static_cast<unsigned>(size));
    if (handle <= 0) return 0;
    // The writer has no size argument. Without a document type there are no entities to
    // expand, and the text grows only by the declaration, escapes (at most 6 bytes for one
    // input byte) and UTF-8 encoding; documents with a document type are not written back.
    const xercesc::DOMDocument* document = CXMLManager::GetInstance()->GetDocument(handle);
    if (document && !document->getDoctype()) {
        std::vector<char> out(8 * size + 4096);
        unsigned length = 0;
        XMLDocumentToString(handle, out.data(), &length);
    }
    ReleaseXMLDocument(handle);
    return 0;
}
