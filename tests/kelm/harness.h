// Runs encoder calls against a fresh print file and hands back what they wrote.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "image/lxgworld.h"
#include "inspect/packets.h"

namespace kelmtest {

// The packets of the print file that `body` writes into.
std::vector<inspect::Packet> capturePackets(const std::function<void()>& body);
// The raster stream that `body` writes.
std::string captureRaster(const std::function<void()>& body);

// `text` with every "ESC" replaced by the escape byte.
std::string esc(std::string_view text);

// Encoder state as a job starts, with the settings KELM_New leaves alone fixed too.
void resetEncoder();

// A zero-filled band buffer laid out as the image readers make them.
std::unique_ptr<LXGWorld> makeBand(int depth, int width, int height);

}  // namespace kelmtest
