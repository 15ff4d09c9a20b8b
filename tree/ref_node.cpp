// Reference nodes: a node of type eRefToNode that stands for another node. It keeps the
// referenced node's name path and id path as two string properties, so that a reference read
// back from a file can find its node again in a loaded tree (LoadRefNode).
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "logging/frame.h"
#include "tree/tree_internal.h"

namespace {

using namespace qv::tree;

constexpr int kNamePathId = 1;
constexpr int kIdPathId = 2;
constexpr const char* kNamePathName = "NodeNamePath";
constexpr const char* kIdPathName = "NodeIDPath";
// Data-set mode and access of the two path properties.
constexpr int kPathMode = eAllocNewPtr;
constexpr unsigned kPathAccess = 16;
constexpr char kSeparator = '|';

// The pieces of `text` between '|' characters; empty pieces are dropped.
std::vector<std::string> splitPath(const char* text) {
    std::vector<std::string> pieces;
    std::string piece;
    for (const char* p = text;; ++p) {
        if (*p == kSeparator || *p == '\0') {
            if (!piece.empty()) pieces.push_back(piece);
            piece.clear();
            if (*p == '\0') break;
        } else {
            piece += *p;
        }
    }
    return pieces;
}

// The text of the string property `id` of `node`, or null when it is missing or no string.
const char* pathProperty(QVTreeNode* node, int id) {
    int type = eUndef;
    QVTreeNode* property = FindPropertyByID(node, id, &type);
    if (!property || type != eString || !property->data) return nullptr;
    return static_cast<const char*>(property->data);
}

QVTreeNode* findByIdPath(QVTreeNode* root, const char* text, unsigned searchMode) {
    std::vector<int> ids;
    for (const std::string& piece : splitPath(text)) ids.push_back(std::atoi(piece.c_str()));
    QVTreeNode* found = GetNodeFromIDPath(root, ids.data(), static_cast<int>(ids.size()), searchMode);
    if (!found) found = GetNodeFromIDPath(root, ids.data(), static_cast<int>(ids.size()), eSearchInPath);
    return found;
}

QVTreeNode* findByNamePath(QVTreeNode* root, const char* text) {
    const std::vector<std::string> pieces = splitPath(text);
    if (pieces.empty()) return nullptr;
    // One 512-byte text per name, as the path lookup takes them.
    std::vector<char> table(pieces.size() * QV_STRING_SIZE, '\0');
    auto* names = reinterpret_cast<char(*)[QV_STRING_SIZE]>(table.data());
    for (size_t i = 0; i < pieces.size(); ++i)
        std::strncpy(names[i], pieces[i].c_str(), QV_STRING_SIZE - 1);
    return GetNodeFromPath(root, names, static_cast<int>(pieces.size()), eSearchInPath);
}

}  // namespace

extern "C" {

QV_API QVTreeNode* CreateRefNode(const char* name, QVTreeNode* nodeToRef, int initialise) {
    constexpr const char* kFn = "CreateRefNode";
    if (!nodeToRef) return QV_FAIL_NULL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "nodeToRef is NULL");
    QVTreeNode* ref = CreateTreeNodeN(eRefToNode, nodeToRef, name ? name : nodeToRef->baseName,
                                      eRefToNode, eShift, 3, 0);
    if (!ref) return nullptr;
    // Without a name of its own the reference shows the referenced node's displayed name.
    if (!name) copyName(ref->name, nodeToRef->name);
    if (initialise == 1 && InitRefNode(ref) != 0) {
        ReleaseTreeNode(ref, 1);
        return nullptr;
    }
    return ref;
}

QV_API int InitRefNode(QVTreeNode* refNode) {
    constexpr const char* kFn = "InitRefNode";
    if (!refNode || !refNode->data)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "ref node or ref node data is NULL");
    if (refNode->properties && refNode->properties->numChildren > 0)
        ReleaseChildNodes(refNode, ReleaseData);
    auto* target = static_cast<QVTreeNode*>(refNode->data);

    // The name path of a node up to 31 levels deep may hold up to 32 names of 127 characters,
    // more than the 512 bytes of a string value: it is built in a buffer large enough for any
    // of them, and a longer path is cut when it is stored as a string.
    std::vector<char> names(static_cast<size_t>(QV_MAX_PATH_DEPTH) * QV_NAME_SIZE + 1, '\0');
    GetPathStrFromNode(target, kSeparator, names.data());
    if (names[0] == '\0')
        static_cast<void>(QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                                  "could not extract node names path from node %s", target->name));
    SetPropertyEx(refNode, kNamePathId, kNamePathName, names.data(), eString, kPathMode,
                  kPathAccess, 1);

    // The id path has no depth limit: room for every id of the walk, at least 1024 bytes.
    const int depth = GetIDPathFromNode(target, nullptr, nullptr);
    std::vector<char> ids(1024 + (depth > 0 ? static_cast<size_t>(depth) * 12 : 0), '\0');
    GetIDPathFromNode(target, nullptr, ids.data());
    SetPropertyEx(refNode, kIdPathId, kIdPathName, ids.data(), eString, kPathMode, kPathAccess, 1);
    return 0;
}

QV_API int LoadRefNode(QVTreeNode* refNode, QVTreeNode* root, unsigned searchMode) {
    constexpr const char* kFn = "LoadRefNode";
    if (!refNode || !root)
        return QV_FAIL(1, QV_ERR_NULL_ARGUMENT, __LINE__, "ref node or root node is NULL");
    if (refNode->data)
        static_cast<void>(QV_FAIL(2, QV_ERR_ARGUMENT, __LINE__, "ref node %s already has data, it refers to",
                                  refNode->name));
    const char* idPath = pathProperty(refNode, kIdPathId);
    if (!idPath)
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "could not find id-path property at reference node");
    if (splitPath(idPath).empty())
        return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "could not extract id-path from reference node");

    QVTreeNode* found = findByIdPath(root, idPath, searchMode);
    if (!found) {
        const char* namePath = pathProperty(refNode, kNamePathId);
        if (!namePath)
            return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__, "could not find get name path property");
        found = findByNamePath(root, namePath);
        if (!found)
            return QV_FAIL(1, QV_ERR_ARGUMENT, __LINE__,
                           "could not find referenced node from name-path \"%s\"", namePath);
    }
    refNode->data = found;
    return 0;
}

}  // extern "C"
