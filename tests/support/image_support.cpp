#include "support/image_support.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace imagetest {

namespace {

Bytes word(bool big, std::uint32_t v) {
  return big ? Bytes{std::uint8_t(v >> 8), std::uint8_t(v)}
             : Bytes{std::uint8_t(v), std::uint8_t(v >> 8)};
}

Bytes dword(bool big, std::uint32_t v) {
  Bytes out;
  for (int i = 0; i < 4; ++i) out.push_back(std::uint8_t(v >> (big ? 24 - 8 * i : 8 * i)));
  return out;
}

void add(Bytes& to, const Bytes& part) {
  to.insert(to.end(), part.begin(), part.end());
}

}  // namespace

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

Bytes directoryBytes(bool big, const std::vector<Entry>& entries, std::uint32_t next) {
  Bytes d = word(big, static_cast<std::uint32_t>(entries.size()));
  for (const Entry& e : entries) {
    add(d, word(big, e.tag));
    add(d, word(big, e.type));
    add(d, dword(big, e.count));
    const bool shortInline = (e.type == 3 || e.type == 8) && e.count <= 2;
    const bool byteInline = (e.type == 1 || e.type == 6) && e.count <= 4;
    Bytes value = shortInline  ? word(big, e.value)
                  : byteInline ? Bytes{std::uint8_t(e.value)}
                               : dword(big, e.value);
    value.resize(4, 0);
    add(d, value);
  }
  add(d, dword(big, next));
  return d;
}

std::vector<Entry> grayEntries(std::uint32_t width, std::uint32_t height, std::uint32_t stripAt) {
  return {{256, 4, 1, width},
          {257, 4, 1, height},
          {258, 3, 1, 8},
          {273, 4, 1, stripAt},
          {278, 4, 1, height}};
}

Bytes grayFile(const Gray& g) {
  Bytes file = g.big ? Bytes{'M', 'M', 0, 42} : Bytes{'I', 'I', 42, 0};
  Bytes pixels = g.pixels;
  pixels.resize(std::max<std::size_t>(pixels.size(), 16), 0);
  const auto directoryAt = static_cast<std::uint32_t>(8 + pixels.size() + g.extra.size());
  add(file, dword(g.big, directoryAt));
  add(file, pixels);
  add(file, g.extra);
  std::vector<Entry> e = grayEntries(g.width, g.height, 8);
  std::erase_if(e, [&](const Entry& x) {
    return std::count(g.drop.begin(), g.drop.end(), x.tag) > 0 ||
           std::any_of(g.set.begin(), g.set.end(), [&](const Entry& s) { return s.tag == x.tag; });
  });
  e.insert(e.end(), g.set.begin(), g.set.end());
  std::sort(e.begin(), e.end(), [](const Entry& a, const Entry& b) { return a.tag < b.tag; });
  add(file, directoryBytes(g.big, e, g.next));
  return file;
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
  for (auto row = rows.rbegin(); row != rows.rend(); ++row) add(out, *row);
  put32(2, static_cast<std::uint32_t>(out.size()));
  return out;
}

}  // namespace imagetest
