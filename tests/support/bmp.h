// Small image files for jobs that must name real images.
#pragma once

#include <cstdint>
#include <vector>

namespace testsupport {

// An uncompressed 8-bit Windows bitmap with a gray palette. `pixels` holds `height` rows of
// `width` values, top row first; the file stores them bottom-up, each row padded to 4 bytes.
std::vector<std::uint8_t> grayBMP(std::uint32_t width, std::uint32_t height,
                                  const std::vector<std::uint8_t>& pixels);

}  // namespace testsupport
