/* QV_Tools tree family: the property tree: nodes, children, node data, properties, paths, search, persistence, references, localization. */
#ifndef QVTOOLS_TREE_H
#define QVTOOLS_TREE_H

#include "qvtools/export.h"

#endif
