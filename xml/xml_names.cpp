// Element names: the name check that turns any text into a usable XML name, and the lookup of
// elements by name below a node or in a document.
#include <cstring>
#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/XMLString.hpp>

#include "logging/frame.h"
#include "qvtools/system.h"
#include "qvtools/xml.h"
#include "xml/xml_internal.h"

using namespace xercesc;

namespace {

// The replacement of one character of a name, or the character itself when it is kept.
char mendNameChar(char c) {
    switch (static_cast<unsigned char>(c)) {
        case ' ': return '_';
        case '\\':
        case '/': return '-';
        case 0xE4: return 'a';
        case 0xF6: return 'o';
        case 0xFC: return 'u';
        case '&':
        case '%':
        case '<':
        case '>':
        case '+':
        case '*': return '-';
        default: return c;
    }
}

// The first element named `name` below `node`, depth first in document order. Walks without
// recursion, so that a deeply nested document cannot exhaust the stack.
DOMElement* findBelow(DOMNode* node, const XMLCh* name) {
    DOMNode* current = node->getFirstChild();
    while (current) {
        if (current->getNodeType() == DOMNode::ELEMENT_NODE &&
            XMLString::equals(current->getNodeName(), name))
            return static_cast<DOMElement*>(current);
        if (DOMNode* child = current->getFirstChild()) {
            current = child;
            continue;
        }
        while (current != node && !current->getNextSibling()) current = current->getParentNode();
        if (current == node) break;
        current = current->getNextSibling();
    }
    return nullptr;
}

}  // namespace

namespace qv::xml {

bool plainValidName(const char* text) {
    auto letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
    if (!letter(*text)) return false;
    for (const char* c = text + 1; *c; ++c)
        if (!letter(*c) && !(*c >= '0' && *c <= '9') && *c != '.' && *c != '-') return false;
    return true;
}

namespace {

bool validNotation(const char* text) {
    if (plainValidName(text)) return true;
    XMLCh* asGiven = CXMLManager::Transcode(text);
    const bool valid = XMLString::isValidNOTATION(asGiven);
    XMLString::release(&asGiven);
    return valid;
}

}  // namespace

std::string cleanName(const char* text) {
    constexpr const char* kFn = "CXMLManager::checkTranscode";
    if (validNotation(text)) return text;

    std::string cleaned(text);
    // The trailing-blank remover of the text helpers is used as it is: it trims a blank at the
    // front, and one at the end only together with it. Kept so, names depend on it.
    const int trimmed = RemoveTrailingSpaces(&cleaned[0]);
    cleaned.resize(std::strlen(cleaned.c_str()));
    int changes = trimmed > 0 ? trimmed : 0;
    for (char& c : cleaned) {
        const char mended = mendNameChar(c);
        if (mended != c) {
            c = mended;
            ++changes;
        }
    }
    if (changes > 0)
        QV_FAIL(0, QV_ERR_ARGUMENT, __LINE__, "there were %d invalid xml chars in: %s", changes, text);
    return cleaned;
}

}  // namespace qv::xml

XMLCh* CXMLManager::checkTranscode(const char* text) {
    if (!text) return nullptr;
    return Transcode(qv::xml::cleanName(text).c_str());
}

DOMElement* CXMLManager::FindNode(DOMNode* node, const char* name) {
    if (!node || !name) return nullptr;
    XMLCh* wanted = Transcode(name);
    DOMElement* found = findBelow(node, wanted);
    XMLString::release(&wanted);
    return found;
}

DOMElement* CXMLManager::FindFirstNode(DOMDocument* document, const char* name,
                                       const char* parentName) {
    if (!document || !name) return nullptr;
    DOMNode* scope = document;
    if (parentName && *parentName) {
        scope = FindNode(document, parentName);
        if (!scope) return nullptr;
    }
    return FindNode(scope, name);
}
