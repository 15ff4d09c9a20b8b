// Shared fixture of the data-family tests (failures are checked with EXPECT_FAILED, which
// ignores the source line number: the data family documents none).
#pragma once

#include "QV_Tools.h"
#include "support/log_capture.h"

namespace datatest {

class DataTest : public qvtest::LogTest {};

}  // namespace datatest
