// Private names of the tree XML form, shared by the writer and the reader: the element and
// attribute names (as XML characters), the limits the reader keeps against hostile files, and
// the release of a tree the reader made.
#pragma once

#include <xercesc/util/XercesDefs.hpp>

#include "qvtools/tree.h"

namespace qv::tree::xmlform {

// Elements below a node element.
constexpr const XMLCh* kValue = u"val";
constexpr const XMLCh* kChildren = u"children";
constexpr const XMLCh* kProperties = u"Properties";
// A node element that stands for a null node (read).
constexpr const XMLCh* kEmptyNode = u"EMPTY_NODE";
// The same names as the writer gives them, and the element it writes for a null node.
constexpr const char* kValueTag = "val";
constexpr const char* kChildrenTag = "children";
constexpr const char* kNullNodeTag = "NULL";

// Attributes of a node element.
constexpr const XMLCh* kName = u"name";
constexpr const XMLCh* kId = u"id";
constexpr const XMLCh* kOrder = u"order";
constexpr const XMLCh* kChildArray = u"childarray";
constexpr const XMLCh* kIndex = u"idx";
// Attributes of the value element and of the children element.
constexpr const XMLCh* kTypeId = u"type_id";
constexpr const XMLCh* kAccess = u"access";
constexpr const XMLCh* kType = u"type";
constexpr const XMLCh* kBinarySize = u"binsize";
constexpr const XMLCh* kCount = u"count";

// A "childarray" of this many slots or more is not believed: it is the one size a file can ask
// for without holding the children that need it.
constexpr int kMaxChildSlots = 1 << 20;
// Node levels nested deeper than this are refused, so that reading a hostile file cannot
// exhaust the stack (the reader, the release and the level updates all recurse per level).
constexpr int kMaxDepth = 1000;

// The child slot count the writer leaves out (the usual creation capacity), besides 0.
constexpr int kDefaultChildSlots = 8;

}  // namespace qv::tree::xmlform

namespace qv::tree {

// Releases a tree with every value its nodes own: ReleaseTreeNode(node, 1) after freeing the
// owned point values, which the library's data release leaves alone on purpose. The reader
// uses it for the nodes it makes and cannot use.
void releaseOwnedTree(QVTreeNode* node);

// LoadTreeNode; with `plainAllowed` false always through a DOM document (LoadXMLFile,
// ReadTreeNodeFromXML), the path that LoadTreeNode takes for files that are not plain.
QVTreeNode* loadTree(const char* path, const char* elementName, bool plainAllowed);

}  // namespace qv::tree
