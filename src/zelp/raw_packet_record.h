// The raw packets the configuration hands to the packet layer.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

// A job-control packet given byte by byte ([ZELP_Raw]) or built from a command definition.
// Its length is data.size().
struct rawPacket {
  std::vector<unsigned char> data;
  std::uint32_t operation = 0;
  int lineNumber = 0;
  std::unique_ptr<rawPacket> next;
};
