// The extra PJL lines the configuration hands to the raster encoder.
#pragma once

#include <memory>
#include <string>

struct newPJLLine {
  std::string text;  // at most 255 characters
  std::unique_ptr<newPJLLine> next;
};
