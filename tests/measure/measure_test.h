// Shared fixture of the measure tests. The measure functions report failures from source lines
// that carry no fixed number: they are checked with EXPECT_FAILED, which ignores that number.
#pragma once

#include "QV_Tools.h"
#include "support/log_capture.h"

namespace qvtest {

class MeasureTest : public LogTest {};

}  // namespace qvtest
