// Sizes taken from a file (an image header, a configuration or definition file) pass through
// here once, before any buffer is sized from them.
#pragma once

#include <cstdint>
#include <optional>

namespace lximage {

// No band or row a printer could use comes near a gigabyte; refusing more keeps a hostile
// size from taking the process down.
inline constexpr std::uint64_t kMaxBufferBytes = std::uint64_t{1} << 30;

struct ImageBytes {
  std::uint64_t row = 0;    // rounded up to the alignment
  std::uint64_t total = 0;  // all rows
};

// Bytes of `rows` rows of `width` pixels of `bits` bits, each row rounded up to a multiple of
// `align` bytes; nothing when a row or the whole passes `limit`.
std::optional<ImageBytes> imageBytes(std::uint32_t width, std::uint64_t rows, unsigned bits,
                                     std::uint64_t align, std::uint64_t limit = kMaxBufferBytes);

}  // namespace lximage
