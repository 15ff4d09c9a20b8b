// Localization hooks of the node operations. New nodes, nodes filled by SetChildNode and
// properties set by SetPropertyEx are localized against the process-wide translation node.
// The translation tables are not part of the tree core: until the localization support installs
// its two functions here (setLocalizationHooks), both hooks do nothing and nodes keep the names
// they were given.
#include "tree/tree_internal.h"

namespace qv::tree {

namespace {
LocalizeHook g_localize = nullptr;
LabelHook g_label = nullptr;
}  // namespace

void setLocalizationHooks(LocalizeHook localize, LabelHook label) {
    g_localize = localize;
    g_label = label;
}

void localizeNode(QVTreeNode* node) {
    if (g_localize) g_localize(node);
}

bool localizedLabel(int id, char* out) {
    return g_label ? g_label(id, out) : false;
}

}  // namespace qv::tree
