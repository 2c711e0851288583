// Print-file decoder: walks the job-control packets of a print file and reassembles the
// raster stream carried by its data packets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace inspect {

struct Packet {
  std::size_t offset = 0;  // of the header in the file
  std::uint8_t flags = 0;
  std::uint16_t operation = 0;
  std::uint16_t parameterLength = 0;
  std::vector<std::uint8_t> parameters;
};

constexpr std::uint16_t kDataOperation = 0x001A;

// Splits `bytes` into packets. False, with a message naming the offset, when the file is not
// a well-formed packet sequence.
bool decodePackets(std::span<const std::uint8_t> bytes, std::vector<Packet>* packets,
                   std::string* error);

// The raster bytes of all data packets, in order (the one-byte lead parameter dropped).
std::vector<std::uint8_t> rasterStream(const std::vector<Packet>& packets);

}  // namespace inspect
