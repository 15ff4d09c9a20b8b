// Private state of the localization: the process-wide translation node. The exports in
// localization.cpp install and read it; tests reach it here to start from a clean state.
#pragma once

#include "qvtools/tree.h"

namespace qv::tree {

// The installed translation node: null until AddLocalizationNode installs one.
QVTreeNode*& installedTranslation();

}  // namespace qv::tree
