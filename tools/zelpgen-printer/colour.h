// 8-bit sRGB and gray to ink amounts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace zp {

// Without a profile a documented formula with black generation (colour.cpp); with an ICC
// output profile (CMYK), LittleCMS (perceptual intent).
class InkConverter {
 public:
  static std::unique_ptr<InkConverter> create(const std::string& iccProfile /* "" = built-in */,
                                              std::string* error);
  virtual ~InkConverter() = default;
  // rgb: 3 bytes a pixel; cmyk: 4 bytes a pixel in the order C, M, Y, K, 0 = no ink.
  virtual void toCmyk(const std::uint8_t* rgb, std::uint8_t* cmyk, std::size_t pixels) const = 0;
  // gray: 1 byte a pixel, 0 black; k: 1 byte a pixel, 0 = no ink.
  virtual void grayToK(const std::uint8_t* gray, std::uint8_t* k, std::size_t pixels) const = 0;
};

}  // namespace zp
