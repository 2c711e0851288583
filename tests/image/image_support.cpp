#include "image/image_support.h"

#include <gtest/gtest.h>

namespace imagetest {

std::unique_ptr<LXGWorld> makeBand(int pixelSize, int width, int rows) {
  std::unique_ptr<LXGWorld> band;
  EXPECT_EQ(LXNewGWorld(&band, pixelSize, LXRect{0, 0, rows, width}), 0);
  return band;
}

Bytes bandContent(const LXGWorld& band) {
  return Bytes(band.baseAddr, band.baseAddr + band.pixels.size());
}

Bytes packTenBit(const std::vector<std::uint16_t>& values) {
  Bytes out;
  std::uint32_t acc = 0;
  int bits = 0;
  for (std::uint16_t v : values) {
    acc = (acc << 10) | (v & 0x3FF);
    bits += 10;
    while (bits >= 8) {
      bits -= 8;
      out.push_back(static_cast<std::uint8_t>(acc >> bits));
    }
  }
  if (bits > 0) out.push_back(static_cast<std::uint8_t>(acc << (8 - bits)));
  return out;
}

std::vector<std::uint16_t> padded(std::vector<std::uint16_t> values, std::size_t group,
                                  std::uint16_t fill) {
  while (values.size() % group != 0) values.push_back(fill);
  return values;
}

Bytes patternBytes(std::size_t n, std::uint32_t seed) {
  Bytes out;
  std::uint32_t x = seed * 2654435761u + 1;
  while (out.size() < n) {
    x = x * 1664525u + 1013904223u;
    const std::size_t run = (x >> 8) % 3 == 0 ? (x >> 12) % 6 + 2 : 1;
    const std::uint32_t pick = (x >> 5) % 6;
    const auto value = static_cast<std::uint8_t>(pick == 0 ? 0 : pick == 1 ? 0xFF : x >> 24);
    for (std::size_t i = 0; i < run && out.size() < n; ++i) out.push_back(value);
  }
  return out;
}

TiffBytes::TiffBytes(bool bigEndian) : big_(bigEndian) {
  bytes_ = big_ ? Bytes{'M', 'M', 0, 42, 0, 0, 0, 0} : Bytes{'I', 'I', 42, 0, 0, 0, 0, 0};
}

Bytes TiffBytes::word(std::uint16_t v) const {
  return big_ ? Bytes{std::uint8_t(v >> 8), std::uint8_t(v)}
              : Bytes{std::uint8_t(v), std::uint8_t(v >> 8)};
}

Bytes TiffBytes::dword(std::uint32_t v) const {
  Bytes out;
  for (int i = 0; i < 4; ++i) out.push_back(std::uint8_t(v >> (big_ ? 24 - 8 * i : 8 * i)));
  return out;
}

std::uint32_t TiffBytes::append(const Bytes& data) {
  const auto at = static_cast<std::uint32_t>(bytes_.size());
  bytes_.insert(bytes_.end(), data.begin(), data.end());
  return at;
}

Bytes TiffBytes::entryBytes(const Entry& e) const {
  Bytes out = word(e.tag);
  for (const Bytes& part : {word(e.type), dword(e.count)})
    out.insert(out.end(), part.begin(), part.end());
  const bool shortInline = (e.type == 3 || e.type == 8) && e.count <= 2;
  const bool byteInline = (e.type == 1 || e.type == 6) && e.count <= 4;
  Bytes value = shortInline  ? word(static_cast<std::uint16_t>(e.value))
                : byteInline ? Bytes{std::uint8_t(e.value)}
                             : dword(e.value);
  value.resize(4, 0);
  out.insert(out.end(), value.begin(), value.end());
  return out;
}

std::uint32_t TiffBytes::directory(const std::vector<Entry>& entries, std::uint32_t next) {
  Bytes d = word(static_cast<std::uint16_t>(entries.size()));
  for (const Entry& e : entries) {
    const Bytes b = entryBytes(e);
    d.insert(d.end(), b.begin(), b.end());
  }
  const Bytes n = dword(next);
  d.insert(d.end(), n.begin(), n.end());
  return append(d);
}

void TiffBytes::setFirstDirectory(std::uint32_t offset) {
  patch32(4, offset);
}

void TiffBytes::patch32(std::uint32_t at, std::uint32_t value) {
  const Bytes v = dword(value);
  std::copy(v.begin(), v.end(), bytes_.begin() + at);
}

Bytes bmpFile(std::int32_t width, std::int32_t height, int bits, const std::vector<Bytes>& rows) {
  Bytes out(54, 0);
  const auto put32 = [&out](std::size_t at, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) out[at + i] = std::uint8_t(v >> (8 * i));
  };
  out[0] = 'B';
  out[1] = 'M';
  put32(10, 54);
  put32(14, 40);
  put32(18, static_cast<std::uint32_t>(width));
  put32(22, static_cast<std::uint32_t>(height));
  out[26] = 1;
  out[28] = static_cast<std::uint8_t>(bits);
  for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
    out.insert(out.end(), row->begin(), row->end());
  }
  put32(2, static_cast<std::uint32_t>(out.size()));
  return out;
}

}  // namespace imagetest
