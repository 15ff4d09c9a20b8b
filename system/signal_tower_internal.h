// Test seam of the signal-tower layer: the remembered output values and a way back to the
// state before the first initialisation. Not exported from the shared library.
#pragma once

#include <climits>

namespace qv::signal_tower {

// Number of towers whose output values are remembered, and outputs per tower.
inline constexpr int kRememberedTowers = 9;
inline constexpr int kOutputs = 5;

// The last value written to output `io` of `tower` (INT_MIN outside 1..9 and 1..5).
int rememberedValue(int tower, int io);
// Releases the driver and forgets the tower count and every remembered value.
void resetState();

}  // namespace qv::signal_tower
