// Row coders of the raster language: PackBits (declared in kelm.h), seed-row coding and the
// scans for blank bytes. Stateless; the band emission owns the buffers they write into.
#pragma once

#include <cstdint>

// Most bytes packBits writes for `count` input bytes: every segment of literals covers 128
// bytes for one header byte, and a run never costs more than the bytes it replaces.
constexpr std::int64_t kelm_PackBitsBound(std::int64_t count) {
  return count <= 0 ? 0 : count + count / 128 + 1;
}

// Codes `row` against `seed` (both `n` bytes) as delta-row commands into `out`, which holds at
// least n bytes. Returns the coded length, or -1 when the code would reach n bytes.
std::int32_t kelm_SeedRowCode(const unsigned char* seed, const unsigned char* row, std::int32_t n,
                              unsigned char* out);

// Length of the row up to and including its last byte that differs from `blank`.
std::int32_t kelm_TrimmedLength(const unsigned char* row, std::int32_t n, unsigned char blank);
