/* QV_Tools memory family: tracked memory and call stacks. */
#ifndef QVTOOLS_MEMORY_H
#define QVTOOLS_MEMORY_H

#include "qvtools/export.h"

#endif
