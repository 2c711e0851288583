#include "inspect/packets.h"

#include <cstdio>

namespace inspect {
namespace {

std::uint16_t word(std::span<const std::uint8_t> b, std::size_t at) {
  return static_cast<std::uint16_t>((b[at] << 8) | b[at + 1]);
}

bool fail(std::string* error, std::size_t offset, const char* what) {
  if (error != nullptr) {
    char text[160];
    std::snprintf(text, sizeof text, "offset %zu: %s", offset, what);
    *error = text;
  }
  return false;
}

}  // namespace

bool decodePackets(std::span<const std::uint8_t> bytes, std::vector<Packet>* packets,
                   std::string* error) {
  packets->clear();
  std::size_t at = 0;
  while (at < bytes.size()) {
    if (bytes.size() - at < 20) return fail(error, at, "truncated packet header");
    if (bytes[at] != 0xCD || bytes[at + 1] != 0xCA || bytes[at + 2] != 0x10) {
      return fail(error, at, "packet does not start with CD CA 10");
    }
    Packet p;
    p.offset = at;
    p.flags = bytes[at + 3];
    p.operation = word(bytes, at + 4);
    p.parameterLength = word(bytes, at + 8);
    if (bytes.size() - at - 20 < p.parameterLength) return fail(error, at, "truncated parameters");
    p.parameters.assign(bytes.begin() + static_cast<std::ptrdiff_t>(at + 20),
                        bytes.begin() + static_cast<std::ptrdiff_t>(at + 20 + p.parameterLength));
    if (p.operation == kDataOperation) {
      if (p.parameterLength < 2 || p.parameters[0] != 0x01) {
        return fail(error, at, "data packet without its lead byte and payload");
      }
      if (p.flags != 0x00 && p.flags != 0x02) return fail(error, at, "data packet flags");
    }
    at += 20 + p.parameterLength;
    packets->push_back(std::move(p));
  }
  return true;
}

std::vector<std::uint8_t> rasterStream(const std::vector<Packet>& packets) {
  std::vector<std::uint8_t> out;
  for (const Packet& p : packets) {
    if (p.operation == kDataOperation && !p.parameters.empty()) {
      out.insert(out.end(), p.parameters.begin() + 1, p.parameters.end());
    }
  }
  return out;
}

}  // namespace inspect
