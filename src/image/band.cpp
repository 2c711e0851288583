// Row helpers shared by the image readers: band access and depth conversions.
#include "image/band.h"

#include <algorithm>
#include <array>
#include <string>

#include "diag/diag.h"

namespace lximage {

namespace {

const LXGWorld* target(const LXGWorld* world) {
  return world->self != nullptr ? world->self : world;
}

// Four 10-bit values into five bytes, first value in the top bits.
void put10(const std::array<std::uint32_t, 4>& x, std::vector<unsigned char>& out) {
  const std::uint64_t bits = (std::uint64_t{x[0]} << 30) | (std::uint64_t{x[1]} << 20) |
                             (std::uint64_t{x[2]} << 10) | x[3];
  for (int i = 0; i < 5; ++i) out.push_back(static_cast<unsigned char>(bits >> (32 - 8 * i)));
}

}  // namespace

std::uint64_t fileSize(std::FILE* stream) {
  if (std::fseek(stream, 0, SEEK_END) != 0) return 0;
  const long size = std::ftell(stream);
  std::fseek(stream, 0, SEEK_SET);
  return size > 0 ? static_cast<std::uint64_t>(size) : 0;
}

std::uint32_t rowsTheFileHolds(std::uint32_t height, std::uint64_t rowBytes, bool packBits,
                               std::uint64_t fileSize) {
  const std::uint64_t bytes = packBits ? fileSize * 64 : fileSize;
  return static_cast<std::uint32_t>(
      std::min<std::uint64_t>(height, bytes / std::max<std::uint64_t>(rowBytes, 1)));
}

void reportCannotOpen(const char* who, const char* path, int error) {
  std::string message = who;
  message += " can't open '";
  message += path;
  message += "'. (errno=" + std::to_string(error) + ")\n";
  diag::imageError(message, error);
}

std::span<unsigned char> bandBytes(LXGWorld* world) {
  if (world == nullptr) return {};
  LXGWorld* w = const_cast<LXGWorld*>(target(world));
  if (w->baseAddr == nullptr) return {};
  std::uint64_t size = std::uint64_t{bandHeight(w)} * w->rowBytes;
  // A band made by LXNewGWorld owns its rows: never reach past them, whatever its bounds say.
  if (w->baseAddr == w->pixels.data()) size = std::min<std::uint64_t>(size, w->pixels.size());
  return {w->baseAddr, static_cast<std::size_t>(size)};
}

std::uint32_t bandHeight(const LXGWorld* world) {
  const LXGWorld* w = target(world);
  const std::int64_t h = std::int64_t{w->bounds.bottom} - w->bounds.top;
  return h > 0 ? static_cast<std::uint32_t>(h) : 0;
}

std::uint32_t bandRowBytes(const LXGWorld* world) {
  return target(world)->rowBytes;
}

std::uint16_t bandPixelSize(const LXGWorld* world) {
  return target(world)->pixelSize;
}

void putRow(LXGWorld* world, std::uint32_t row, std::span<const unsigned char> bytes) {
  const std::span<unsigned char> band = bandBytes(world);
  const std::uint64_t start = std::uint64_t{row} * bandRowBytes(world);
  if (start >= band.size()) return;
  const std::size_t n =
      static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), band.size() - start));
  std::copy_n(bytes.begin(), n, band.begin() + static_cast<std::ptrdiff_t>(start));
}

void pack8To10(std::span<const unsigned char> values, unsigned char fill, bool invert,
               std::vector<unsigned char>& out) {
  out.clear();
  for (std::size_t i = 0; i < values.size(); i += 4) {
    std::array<std::uint32_t, 4> x{};
    for (std::size_t k = 0; k < 4; ++k) {
      std::uint32_t v = i + k < values.size() ? values[i + k] : fill;
      if (invert) v = 255 - v;
      x[k] = v << 2;
    }
    put10(x, out);
  }
}

void pack16To10(std::span<const unsigned char> bytes, std::size_t samples, bool littleEndian,
                unsigned char fill, bool invert, std::vector<unsigned char>& out) {
  out.clear();
  for (std::size_t s = 0; s < samples; s += 4) {
    std::array<unsigned char, 8> b{};
    for (std::size_t k = 0; k < 4; ++k) {
      const std::size_t at = (s + k) * 2;
      unsigned char hi = fill;
      unsigned char lo = fill;
      if (s + k < samples) {
        const unsigned char first = at < bytes.size() ? bytes[at] : 0;
        const unsigned char second = at + 1 < bytes.size() ? bytes[at + 1] : 0;
        hi = littleEndian ? second : first;
        lo = littleEndian ? first : second;
      }
      b[2 * k] = invert ? static_cast<unsigned char>(~hi) : hi;
      b[2 * k + 1] = invert ? static_cast<unsigned char>(~lo) : lo;
    }
    // Sample 0 keeps bits 1..0 of its low byte where bits 7..6 belong; the device expects it.
    out.push_back(b[0]);
    out.push_back(static_cast<unsigned char>(((b[1] & 0x03) << 6) | (b[2] >> 2)));
    out.push_back(
        static_cast<unsigned char>(((b[2] & 0x03) << 6) | ((b[3] >> 6) << 4) | (b[4] >> 4)));
    out.push_back(
        static_cast<unsigned char>(((b[4] & 0x0F) << 4) | ((b[5] >> 6) << 2) | (b[6] >> 6)));
    out.push_back(static_cast<unsigned char>(((b[6] & 0x3F) << 2) | (b[7] >> 6)));
  }
}

void pack8To12(std::span<const unsigned char> values, std::vector<unsigned char>& out) {
  out.clear();
  for (std::size_t i = 0; i < values.size(); i += 2) {
    const unsigned char v0 = values[i];
    const unsigned char v1 = i + 1 < values.size() ? values[i + 1] : 255;
    out.push_back(v0);
    out.push_back(static_cast<unsigned char>(v1 >> 4));
    out.push_back(static_cast<unsigned char>((v1 & 0x0F) << 4));
  }
}

void packLevels(std::span<const unsigned char> values, const unsigned char* table, int bits,
                std::vector<unsigned char>& out) {
  const std::size_t perByte = static_cast<std::size_t>(8 / bits);
  out.assign((values.size() + perByte - 1) / perByte, 0);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const int shift = 8 - bits * static_cast<int>(i % perByte + 1);
    out[i / perByte] |= static_cast<unsigned char>(table[values[i]] << shift);
  }
}

void clearPastWidth(std::vector<unsigned char>& row, std::uint64_t width, int bits) {
  const std::uint64_t usedBits = width * static_cast<std::uint64_t>(bits);
  std::uint64_t full = usedBits / 8;
  if (usedBits % 8 != 0 && full < row.size()) {
    row[full] &= static_cast<unsigned char>(0xFF << (8 - usedBits % 8));
    ++full;
  }
  for (std::uint64_t i = full; i < row.size(); ++i) row[i] = 0;
}

unsigned clearRGBBands(LXGWorld* red, LXGWorld* green, LXGWorld* blue) {
  for (LXGWorld* band : {red, green, blue}) {
    if (band != nullptr) LXClearGWorldRGB(band);
  }
  if (red == nullptr || green == nullptr || blue == nullptr) return 0;
  const unsigned size = bandPixelSize(red);
  return bandPixelSize(green) == size && bandPixelSize(blue) == size ? size : 0;
}

}  // namespace lximage
