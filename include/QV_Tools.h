/* QV_Tools: the umbrella header. Includes every family header of the library. */
#ifndef QV_TOOLS_H
#define QV_TOOLS_H

#include "qvtools/export.h"
#include "qvtools/logging.h"
#include "qvtools/system.h"
#include "qvtools/memory.h"
#include "qvtools/data.h"
#include "qvtools/xml.h"
#include "qvtools/tree.h"
#include "qvtools/imaging.h"
#include "qvtools/measure.h"
#include "qvtools/accounts.h"

#endif
