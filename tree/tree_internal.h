// Private helpers of the tree folder: slot handling shared by the child operations, the
// ownership test of node data, the localization hooks and the depth-first walkers used by the
// searches and the bulk operations. Nothing here is exported.
#pragma once

#include <cstdlib>
#include <vector>

#include "qvtools/tree.h"

namespace qv::tree {

// Id and name of the property-list node of every node.
constexpr int kPropertyListId = -16;
constexpr const char* kPropertyListName = "Properties";
// Default access flags of a new node, and the read-only bit of `access`.
constexpr unsigned kDefaultAccess = 6;
constexpr unsigned kReadOnly = 1;

// ---- names ----
// Copies `name` into both name fields; a name of 128 characters or more is cut to 127 and
// logged under `kFn` at level 0 with -5 "Node name too long".
void setBothNames(QVTreeNode* node, const char* name, const char* kFn);
// Bounded copy of `text` into a 128-byte name field (cut to 127 characters).
void copyName(char* field, const char* text);

// ---- child slots ----
// The first child slots of a node are allocated in one block with the node record (they follow
// it), which halves the allocations of a tree. Such slots are never reallocated or freed on
// their own: resizeChildren moves them to a block of their own, freeChildren frees only that.
inline QVTreeNode** embeddedSlots(QVTreeNode* node) {
    return reinterpret_cast<QVTreeNode**>(node + 1);
}
inline void freeChildren(QVTreeNode* node) {
    if (node->children != embeddedSlots(node)) std::free(node->children);
    node->children = nullptr;
}
// Reallocates the slots of `parent` to `newSize` and zeroes the new ones. False (logged -3
// under kFn) when the memory cannot be had; the old slots are then kept.
bool resizeChildren(QVTreeNode* parent, int newSize, const char* kFn);
// Places `child` in slot `index` of `parent`: links the neighbours, sets parent, counts and
// levels. Fails with -5 "index is too big" (logged as "InsertNodeIntoList") beyond the slots.
int insertNodeIntoList(QVTreeNode* parent, QVTreeNode* child, int index);
// Links `child` (in slot `index`) with the occupied neighbouring slots.
void linkNeighbours(QVTreeNode* parent, QVTreeNode* child, int index);
// The slot holding `child` among all slots of `parent` (its recorded index first), or -1.
int findSlot(const QVTreeNode* parent, const QVTreeNode* child);
// True when `node` is `candidate` or one of its ancestors, i.e. attaching `node` under
// `candidate` would close a cycle.
bool isSelfOrAncestor(const QVTreeNode* node, const QVTreeNode* candidate);
// Sets `level` on the subtree (children 0..numChildren-1 and the property-list node).
void setLevels(QVTreeNode* node, int level);

// ---- property lists ----
// A new property-list node for `owner` with a valid list of `listCapacity` (none when 0 or
// below) and `childCapacity` slots; its parent is `owner`. Not stored in owner->properties.
QVTreeNode* createPropertyList(QVTreeNode* owner, int dataType, int listCapacity,
                               int childCapacity);
// The valid list of a property-list node, or null.
inline QVArray* validList(const QVTreeNode* propertyList) {
    return propertyList ? static_cast<QVArray*>(propertyList->data) : nullptr;
}
inline bool isPropertyList(const QVTreeNode* node) {
    return node && node->id == kPropertyListId;
}

// ---- node data ----
inline bool ownsData(const QVTreeNode* node) {
    return (node->dataFlags & QV_DATA_OWNED_MASK) != 0;
}
// Bytes of a value stored by eAllocNewPtr and copied by eOverwriteData, or 0 for types that are
// not plain values (strings, arrays, binary data and the non-value types).
int plainValueSize(int dataType);

// ---- localization ----
// Localizes a node against the process-wide translation node. There is no translation table
// support yet, so the hooks are empty until it installs them; nodes keep their given names.
void localizeNode(QVTreeNode* node);
// Writes the localized display name of `id` into `out` (128 bytes) and returns true, or returns
// false when there is no translation for it.
bool localizedLabel(int id, char* out);
using LocalizeHook = void (*)(QVTreeNode* node);
using LabelHook = bool (*)(int id, char* out);
void setLocalizationHooks(LocalizeHook localize, LabelHook label);

// ---- walks ----
// Depth-first search by id below `node` (flags 0x10 and 0x20 as FindNodeByID).
QVTreeNode* findByIdDepthFirst(QVTreeNode* node, int id, unsigned flags);

// The nodes on the current path of a walk that follows references: a reference to a node on
// that path (itself or an ancestor) is not followed, so that a reference cycle cannot make the
// walk endless.
class RefPath {
public:
    bool contains(const QVTreeNode* node) const;
    // Keeps `node` on the path for the lifetime of the step (one level of the walk).
    class Step {
    public:
        Step(RefPath& path, const QVTreeNode* node) : m_path(path) { path.m_nodes.push_back(node); }
        ~Step() { m_path.m_nodes.pop_back(); }
        Step(const Step&) = delete;
        Step& operator=(const Step&) = delete;

    private:
        RefPath& m_path;
    };

private:
    std::vector<const QVTreeNode*> m_nodes;
};

}  // namespace qv::tree
