/* QV_Tools data family: data types, points and rectangles, binary data and the generic array. */
#ifndef QVTOOLS_DATA_H
#define QVTOOLS_DATA_H

#include "qvtools/export.h"

#endif
