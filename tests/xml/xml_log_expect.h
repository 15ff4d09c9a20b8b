// Forwarding header: the line check that ignores the source line number now lives in the shared
// test support (EXPECT_FAILED).
#pragma once

#include "QV_Tools.h"
#include "support/log_capture.h"

#define EXPECT_LAST_LINE(level, code, function, message) EXPECT_FAILED((level), (code), (function), (message))
