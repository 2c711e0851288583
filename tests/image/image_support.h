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

// Values padded to a multiple of `group` with `fill`.
std::vector<std::uint16_t> padded(std::vector<std::uint16_t> values, std::size_t group,
                                  std::uint16_t fill);

// Pseudo-random bytes with runs, so PackBits writes both literals and repeats.
Bytes patternBytes(std::size_t n, std::uint32_t seed);

// A TIFF assembled byte by byte in either byte order.
class TiffBytes {
 public:
  explicit TiffBytes(bool bigEndian);
  std::uint32_t append(const Bytes& data);  // returns the offset
  // Entries are {tag, type, count, value}; a value that fits the field is placed as the file
  // holds it (SHORT in the first two bytes), otherwise the value is the data's offset.
  struct Entry {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint32_t count;
    std::uint32_t value;
  };
  Bytes entryBytes(const Entry& e) const;
  std::uint32_t directory(const std::vector<Entry>& entries, std::uint32_t next = 0);
  void setFirstDirectory(std::uint32_t offset);
  void patch32(std::uint32_t at, std::uint32_t value);
  Bytes word(std::uint16_t v) const;
  Bytes dword(std::uint32_t v) const;
  const Bytes& bytes() const { return bytes_; }

 private:
  bool big_;
  Bytes bytes_;
};

// A bottom-up Windows bitmap from top-down rows of `rowBytes` (already padded) bytes.
Bytes bmpFile(std::int32_t width, std::int32_t height, int bits, const std::vector<Bytes>& rows);

}  // namespace imagetest
