// Reduction tables: 0..255 to N levels, entry v = floor(v * N / 256).
#pragma once

#include <cstdint>

// Not a table: selects RGB sense (white is all ones, values copied without inversion).
inline const unsigned char* const kRGBSenseTable =
    reinterpret_cast<const unsigned char*>(~std::uintptr_t{0});

// The table for 3, 4, 5, 6 or 16 levels; null for any other count.
const unsigned char* reductionTable(int levels);
