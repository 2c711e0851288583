// The extra PJL lines the configuration hands to the raster encoder.
#pragma once

#include <memory>

struct newPJLLine {
  char text[256] = {};
  std::unique_ptr<newPJLLine> next;
};
