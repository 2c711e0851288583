// Pages written as PNG files named from a printf pattern with the page number ("page-%d.png").
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "inspect/render.h"

namespace cli {

class PngPages : public inspect::PageWriter {
 public:
  explicit PngPages(std::string pattern);
  ~PngPages() override;
  bool begin(int page, std::uint32_t width, std::uint32_t height) override;
  bool row(const std::uint8_t* rgb) override;
  bool end() override;
  // The file name of a page, or empty when the pattern does not hold one %d.
  static std::string fileName(const std::string& pattern, int page);

 private:
  struct State;
  std::string pattern_;
  std::unique_ptr<State> state_;
};

}  // namespace cli
