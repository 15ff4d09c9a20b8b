/* QV_Tools accounts family: user accounts. */
#ifndef QVTOOLS_ACCOUNTS_H
#define QVTOOLS_ACCOUNTS_H

#include "qvtools/export.h"

#endif
