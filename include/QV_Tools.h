/* QV_Tools: the umbrella header. Includes every family header of the library. */
#ifndef QV_TOOLS_H
#define QV_TOOLS_H

#include "qvtools/export.h"
#include "qvtools/logging.h"
#include "qvtools/system.h"
/* QV_FAMILY_HEADERS: one line per family header, in dependency order. */

#endif
