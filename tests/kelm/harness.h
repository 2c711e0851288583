// Runs encoder calls against a fresh print file and hands back what they wrote.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "inspect/raster.h"

namespace kelmtest {

std::string captureRaster(const std::function<void()>& body);
// The raster commands `body` writes, as codes ("ESC*b2W") joined by blanks, each followed by
// its data in hex when `withData` is set.
std::string captureCodes(const std::function<void()>& body, bool withData = false);
std::vector<inspect::RasterCommand> parse(const std::string& raster);

// Encoder state as a job starts, the settings KELM_New leaves alone included.
void resetEncoder();

}  // namespace kelmtest
