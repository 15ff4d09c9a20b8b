// The account file: the accounts written as a property tree into an XML document and saved as
// its text, and read back from such a file into the accounts already present.
#include <climits>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>

#include "accounts/accounts_internal.h"
#include "logging/frame.h"
#include "qvtools/system.h"
#include "qvtools/tree.h"
#include "qvtools/xml.h"
#include "tree/tree_xml_internal.h"
#include "xml/xml_internal.h"

namespace {

using namespace qv::accounts;

// The unindented text of the managed document of `handle`; "" (logged) when there is no such
// document or the XML library cannot write it.
std::string documentText(int handle) {
    constexpr const char* kFn = "XMLDocumentToString";
    xercesc::DOMDocument* document = CXMLManager::GetInstance()->GetDocument(handle);
    if (!document)
        return QV_FAIL_VAL(std::string(), 1, QV_ERR_ARGUMENT, 689, "could not achieve specified xml document");
    std::string error;
    std::string text;
    try {
        xercesc::MemBufFormatTarget target(1023);
        error = qv::xml::serialize(xercesc::DOMImplementationRegistry::getDOMImplementation(u"core"),
                                   document, 0, target);
        if (error.empty())
            text.assign(reinterpret_cast<const char*>(target.getRawBuffer()), target.getLen());
    } catch (...) {
        error = qv::xml::currentFailure().message;
    }
    if (!error.empty()) {
        // Reported as the XML manager's document-to-bytes step reports a serialiser failure.
        constexpr const char* kFn = "CXMLManager::XMLDocumentToBytes";
        return QV_FAIL_VAL(std::string(), 1, QV_ERR_XML, __LINE__,
                           "XML error %s - could not write xml document to string", error.c_str());
    }
    return text;
}

// The tree of the account file: root kRootName, one child per account in map order with the
// properties "key" and "level". Only the first entry is compared with the administrator's
// name: the administrator is written whenever another name sorts before "QV_ADMIN". Kept
// deliberately; loading such a file refuses the duplicate administrator and keeps its key.
QVTreeNode* accountTree(const std::map<std::string, QV_UserAccount*>& accounts) {
    QVTreeNode* root = CreateTreeNodeN(eNoData, nullptr, kRootName, 0, eShift, 0, 8);
    if (!root) return nullptr;
    int id = 0;
    bool first = true;
    for (const auto& [name, account] : accounts) {
        const bool skip = first && name == kAdminName;
        first = false;
        if (skip || !account) continue;
        QVTreeNode* child = CreateTreeNodeN(eNoData, nullptr, name.c_str(), ++id, eShift, 2, 0);
        if (!child) continue;
        SetProperty(child, kKeyId, kKeyName, account->key.c_str(), eString, eAllocNewPtr);
        // The level is stored with the bits of the unsigned value in a 32-bit integer property.
        const int level = static_cast<int>(account->level);
        SetProperty(child, kLevelId, kLevelName, &level, eInt, eAllocNewPtr);
        AppendChild(root, child);
    }
    return root;
}

// A path the file functions must not open: a directory opens as a stream on this platform but
// reads as nothing sensible (its "size" may be huge).
bool isDirectory(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_directory(path, error);
}

}  // namespace

int QV_AccountManager::saveAccountSettings(std::string filePath, bool encrypted) {
    constexpr const char* kFn = "QV_AccountManager::saveAccountSettings";
    QVTreeNode* tree = accountTree(m_accounts);
    if (!tree) return QV_FAIL(1, QV_ERR_MEMORY, __LINE__, "could not create the account tree");

    xercesc::DOMDocument* document = CXMLManager::NewDocument(nullptr);
    const int handle = document ? CXMLManager::GetInstance()->AddDocument(document) : -1;
    const int result = WriteTreeNodeToXML(handle, tree, nullptr, 0);
    std::string text = documentText(handle);
    if (handle > 0) ReleaseXMLDocument(handle);

    // Without the cipher (not part of this build) this logs -9 and leaves the text as it is.
    if (encrypted) QV_EnDecryptText(text.data(), static_cast<unsigned>(text.size()));

    std::ofstream out;
    if (!isDirectory(filePath)) out.open(filePath, std::ios::binary | std::ios::trunc);
    if (!out.is_open()) {
        ReleaseTreeNode(tree, 1);
        return QV_FAIL(2, QV_ERR_ACCOUNT_FILE, 159, "could not open account file for writing");
    }
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.close();
    ReleaseTreeNode(tree, 1);
    return result;
}

int QV_AccountManager::loadAccountSettings(std::string filePath, bool encrypted) {
    constexpr const char* kFn = "QV_AccountManager::loadAccountSettings";
    std::ifstream in;
    if (!isDirectory(filePath)) in.open(filePath, std::ios::binary | std::ios::ate);
    const long long size = in.is_open() ? static_cast<long long>(in.tellg()) : -1;
    // Sizes beyond what one parse call takes are refused like an unreadable file.
    if (size < 1 || size >= static_cast<long long>(UINT_MAX))
        return QV_FAIL(1, QV_ERR_ACCOUNT_FILE, 40, "could not open account settings file %s",
                       filePath.c_str());

    std::vector<char> buffer(static_cast<std::size_t>(size), '\0');
    in.seekg(0);
    in.read(buffer.data(), static_cast<std::streamsize>(size));
    in.close();
    if (encrypted) QV_EnDecryptText(buffer.data(), static_cast<unsigned>(size));

    // A buffer that does not parse leaves no document under the returned code, so the tree
    // reader reports the missing document before the load is refused.
    const int handle = XMLDocumentFromString(buffer.data(), static_cast<unsigned>(size));
    QVTreeNode* tree = ReadTreeNodeFromXML(handle, kRootName);
    if (handle > 0) ReleaseXMLDocument(handle);
    if (!tree)
        return QV_FAIL(1, QV_ERR_ACCOUNT_FILE, 94, "could not load account settings from %s",
                       filePath.c_str());

    for (int slot = 0; slot < tree->childArraySize; ++slot) {
        QVTreeNode* child = tree->children[slot];
        if (!child) continue;
        // A child without a property list is reported by the property lookups and skipped.
        int keyType = eNoData;
        int levelType = eNoData;
        const QVTreeNode* key = FindPropertyByName(child, kKeyName, 1, &keyType);
        const QVTreeNode* level = FindPropertyByName(child, kLevelName, 1, &levelType);
        if (!key || !level || !key->data || !level->data) continue;
        // The key is read as text and the level as the first 32 bits of its value, whatever its
        // type. Only what would be read past its storage is skipped like an incomplete account:
        // a key that is not a zero-terminated text, a level narrower than 32 bits.
        if (keyType != eString || levelType == eChar || levelType == eShort) continue;
        // The account name is the base name: an installed translation may have replaced the
        // displayed name of a child (found by its id), and must not rename the account.
        addNewAccount(child->baseName, *static_cast<const unsigned int*>(level->data),
                      static_cast<const char*>(key->data));
    }
    qv::tree::releaseOwnedTree(tree);
    return 0;
}

int QV_AccountManager::loadAccountLevelNames(std::string filePath) {
    constexpr const char* kFn = "QV_AccountManager::loadAccountLevelNames";
    std::ifstream in;
    if (!isDirectory(filePath)) in.open(filePath);
    if (!in.is_open()) return QV_FAIL(1, QV_ERR_ACCOUNT_FILE, 420, "filepath %s invalid", filePath.c_str());
    std::string line;
    while (std::getline(in, line)) {
        // Files written with "\r\n" line ends read as those written with "\n".
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const std::size_t comma = line.find(',');
        if (comma == std::string::npos) continue;
        const int level = std::atoi(line.substr(0, comma).c_str());
        setAccountLevelName(static_cast<unsigned int>(level), line.substr(comma + 1));
    }
    return 0;
}

int QV_AccountManager::saveAccountLevelNames(std::string filePath) {
    constexpr const char* kFn = "QV_AccountManager::saveAccountLevelNames";
    std::ofstream out;
    if (!isDirectory(filePath)) out.open(filePath, std::ios::trunc);
    if (!out.is_open())
        return QV_FAIL(1, QV_ERR_ACCOUNT_FILE, 446, "could not create file %s for writing account level names",
                       filePath.c_str());
    // std::to_string keeps the numbers free of any locale's digit grouping.
    for (const auto& [level, name] : m_levelNames) out << std::to_string(level) << ',' << name << '\n';
    return 0;
}
