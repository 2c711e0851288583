// Source pictures decoded apart from the library's readers, for check to hold the print against:
// TIFF through libtiff, Windows BMP through a small decoder of its own that reads the palette.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace cli {

class Picture {
 public:
  // How the samples of a pixel read: gray and RGB as light, CMYK as ink, all 0 to 65535.
  enum class Model { kGray, kRGB, kCMYK };

  // Null when the file is not a picture this decoder reads (the trial has its own words then).
  static std::unique_ptr<Picture> open(const std::string& path);
  virtual ~Picture() = default;

  // Row `r` from the top as `channels` samples a pixel, and the palette indices when it has a
  // palette. False when the file does not hold that row.
  virtual bool row(std::uint32_t r, std::vector<std::uint16_t>* samples,
                   std::vector<std::uint8_t>* indices) = 0;

  std::uint32_t width = 0, height = 0;  // as the header says
  std::uint32_t held = 0;               // rows the file holds
  Model model = Model::kGray;
  int channels = 1;
  int bits = 8;  // a sample, or an index for a palette
  int paletteSize = 0;
  bool grayRamp = true;  // no palette, or one whose entry i is gray i
  std::string kind;      // "16-bit gray TIFF", "8-bit BMP with a palette of 64 colours", ...

  // A picture of 8-bit samples as they stand (no palette, light or ink as the model says) also
  // gives each row as its bytes, `step` bytes a pixel; set bytesOnly and it gives only those.
  bool direct8 = false;
  bool bytesOnly = false;
  const std::uint8_t* bytes = nullptr;
  std::size_t step = 0;
};

}  // namespace cli
