#include "image/limits.h"

namespace lximage {

std::optional<ImageBytes> imageBytes(std::uint32_t width, std::uint64_t rows, unsigned bits,
                                     std::uint64_t align, std::uint64_t limit) {
  // 32-bit widths and at most 255 bits a pixel keep the row well inside 64 bits.
  const std::uint64_t bytes = (std::uint64_t{bits} * width + 7) / 8;
  const std::uint64_t row = (bytes + align - 1) / align * align;
  if (row > limit) return std::nullopt;
  // A row within the limit times a 32-bit height stays inside 64 bits as well.
  const std::uint64_t total = row * rows;
  if (rows > 0xFFFFFFFFu || total > limit) return std::nullopt;
  return ImageBytes{row, total};
}

}  // namespace lximage
