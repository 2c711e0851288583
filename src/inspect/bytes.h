// The print file's numbers are big-endian whatever the host.
#pragma once

#include <cstdint>
#include <span>

namespace inspect {

// The value of up to four bytes, most significant first.
inline std::uint32_t bigEndian(std::span<const std::uint8_t> bytes) {
  std::uint32_t v = 0;
  for (std::uint8_t byte : bytes) v = (v << 8) | byte;
  return v;
}

}  // namespace inspect
