/* QV_Tools xml family: XML documents and value texts. */
#ifndef QVTOOLS_XML_H
#define QVTOOLS_XML_H

#include "qvtools/export.h"

#endif
