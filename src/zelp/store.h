// Parts of the job attribute store that are not for the job flow itself: a clock-free time
// setter and the reset of the set flags a fresh process starts with.
#pragma once

#include <cstdint>
#include <ctime>

// ZELP_SetTime for the given instant instead of the current one.
void zelp_SetTimeAt(std::time_t when);

// Every set flag back to -1. The flags survive ZELP_Init and ZELP_Delete on purpose, so only a
// new process (or this) starts without them.
void zelp_ResetSetFlags();
