/* QV_Tools measure family: measurement mathematics and profile analysis. */
#ifndef QVTOOLS_MEASURE_H
#define QVTOOLS_MEASURE_H

#include "qvtools/export.h"

#endif
