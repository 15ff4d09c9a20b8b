/* QV_Tools imaging family: image record, histograms, thresholds, filters and blobs. */
#ifndef QVTOOLS_IMAGING_H
#define QVTOOLS_IMAGING_H

#include "qvtools/export.h"

#endif
