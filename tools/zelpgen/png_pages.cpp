#include "png_pages.h"

#include <png.h>

#include <csetjmp>

namespace cli {

struct PngPages::State {
  std::FILE* file = nullptr;
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::string name;
  ~State() {
    png_destroy_write_struct(&png, &info);
    if (file != nullptr) std::fclose(file);
  }
};

PngPages::PngPages(std::string pattern) : pattern_(std::move(pattern)) {}
PngPages::~PngPages() = default;

std::string PngPages::fileName(const std::string& pattern, int page) {
  const auto at = pattern.find("%d");
  if (at == std::string::npos || pattern.find('%', at + 2) != std::string::npos ||
      pattern.find('%') != at) {
    return {};
  }
  return pattern.substr(0, at) + std::to_string(page) + pattern.substr(at + 2);
}

bool PngPages::begin(int page, std::uint32_t width, std::uint32_t height) {
  state_ = std::make_unique<State>();
  State& s = *state_;
  s.name = fileName(pattern_, page);
  s.file = std::fopen(s.name.c_str(), "wb");
  if (s.file == nullptr) {
    error = "cannot write " + s.name;
    return false;
  }
  s.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  s.info = s.png != nullptr ? png_create_info_struct(s.png) : nullptr;
  if (s.info == nullptr || setjmp(png_jmpbuf(s.png))) {
    error = "cannot write " + s.name;
    return false;
  }
  png_init_io(s.png, s.file);
  png_set_IHDR(s.png, s.info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(s.png, s.info);
  return true;
}

bool PngPages::row(const std::uint8_t* rgb) {
  State& s = *state_;
  if (setjmp(png_jmpbuf(s.png))) {
    error = "cannot write " + s.name;
    return false;
  }
  png_write_row(s.png, rgb);
  return true;
}

bool PngPages::end() {
  State& s = *state_;
  if (setjmp(png_jmpbuf(s.png))) {
    error = "cannot write " + s.name;
    return false;
  }
  png_write_end(s.png, nullptr);
  const bool closed = std::fclose(s.file) == 0;
  s.file = nullptr;
  state_.reset();
  if (!closed) error = "cannot write " + s.name;
  return closed;
}

}  // namespace cli
