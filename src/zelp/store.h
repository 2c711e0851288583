// Parts of the job attribute store that are not for the job flow itself: the clock-free time
// setter and the reset of the set flags a fresh process starts with.
#pragma once

#include <array>
#include <cstdint>
#include <ctime>

// The 8-byte time pack of a calendar date and time. `weekday` is 0 (Sunday) to 6 (Saturday),
// as in std::tm; it is packed as 1-6 for Monday-Saturday and 7 for Sunday.
std::array<std::uint8_t, 8> zelp_PackTime(int year, int month, int day, int weekday, int hour,
                                          int minute, int second);

// ZELP_SetTime for the given instant instead of the current one.
void zelp_SetTimeAt(std::time_t when);

// Every set flag back to -1. The flags survive ZELP_Init and ZELP_Delete on purpose, so only a
// new process (or this) starts without them.
void zelp_ResetSetFlags();
