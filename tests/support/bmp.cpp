#include "support/bmp.h"

#include <cstdlib>

namespace testsupport {

namespace {

void putLE(std::vector<std::uint8_t>& out, std::size_t at, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

}  // namespace

std::vector<std::uint8_t> grayBMP(std::uint32_t width, std::uint32_t height,
                                  const std::vector<std::uint8_t>& pixels) {
  if (pixels.size() != std::size_t{width} * height) std::abort();
  constexpr std::uint32_t kHeaderBytes = 54;
  constexpr std::uint32_t kPaletteBytes = 256 * 4;
  const std::uint32_t rowBytes = (width + 3) / 4 * 4;
  const std::uint32_t dataOffset = kHeaderBytes + kPaletteBytes;
  const std::uint32_t fileSize = dataOffset + rowBytes * height;

  std::vector<std::uint8_t> out(fileSize, 0);
  out[0] = 'B';
  out[1] = 'M';
  putLE(out, 2, fileSize, 4);
  putLE(out, 10, dataOffset, 4);
  putLE(out, 14, 40, 4);  // info header size
  putLE(out, 18, width, 4);
  putLE(out, 22, height, 4);
  putLE(out, 26, 1, 2);  // planes
  putLE(out, 28, 8, 2);  // bits per pixel
  putLE(out, 34, rowBytes * height, 4);
  putLE(out, 46, 256, 4);  // colours used
  for (std::uint32_t i = 0; i < 256; ++i) {
    const auto level = static_cast<std::uint8_t>(i);
    out[kHeaderBytes + 4 * i] = level;
    out[kHeaderBytes + 4 * i + 1] = level;
    out[kHeaderBytes + 4 * i + 2] = level;
  }
  for (std::uint32_t r = 0; r < height; ++r) {
    const std::size_t row = dataOffset + std::size_t{rowBytes} * (height - 1 - r);
    for (std::uint32_t x = 0; x < width; ++x) out[row + x] = pixels[std::size_t{r} * width + x];
  }
  return out;
}

}  // namespace testsupport
