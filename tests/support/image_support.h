// Fixture builders and reference packings for the image reader tests.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "image/lxgworld.h"

namespace imagetest {

using Bytes = std::vector<std::uint8_t>;

// A band of `rows` rows over `width` pixels; fails the test when it cannot be made.
std::unique_ptr<LXGWorld> makeBand(int pixelSize, int width, int rows);
Bytes bandContent(const LXGWorld& band);

// Ten-bit values, big-endian bit order, packed into bytes.
Bytes packTenBit(const std::vector<std::uint16_t>& values);

// Pseudo-random bytes with runs, so PackBits writes both literals and repeats.
Bytes patternBytes(std::size_t n, std::uint32_t seed);

// Directory entries {tag, type, count, value}: a value that fits the field is placed as the
// file holds it (SHORT in the first two bytes), otherwise the value is the data's offset.
struct Entry {
  std::uint16_t tag;
  std::uint16_t type;
  std::uint32_t count;
  std::uint32_t value;
};
Bytes directoryBytes(bool bigEndian, const std::vector<Entry>& entries, std::uint32_t next);

// An 8-bit gray TIFF: the pixels at offset 8 (at least 16 bytes), then `extra`, then the one
// directory, its entries changed by `set` and `drop`.
struct Gray {
  bool big = false;
  std::uint32_t width = 4, height = 4;
  std::vector<Entry> set = {};
  std::vector<std::uint16_t> drop = {};
  Bytes extra = {};
  std::uint32_t next = 0;
  Bytes pixels = Bytes(16, 0x11);
};
constexpr std::uint32_t kExtraAt = 24;  // where `extra` lands with 16 pixel bytes
Bytes grayFile(const Gray& g);
std::vector<Entry> grayEntries(std::uint32_t width, std::uint32_t height, std::uint32_t stripAt);

// A bottom-up Windows bitmap from top-down rows of `rowBytes` (already padded) bytes.
Bytes bmpFile(std::int32_t width, std::int32_t height, int bits, const std::vector<Bytes>& rows);

}  // namespace imagetest
