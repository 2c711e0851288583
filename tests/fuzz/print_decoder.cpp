// The print-file decoder: packets, their attributes and methods, the job check and the raster
// stream behind the data packets. The input also goes in as a bare raster stream, which
// reaches the raster parser without first having to form packets.
#include <string>
#include <vector>

#include "fuzz.h"
#include "inspect/packets.h"
#include "inspect/raster.h"

namespace {

void decodeRaster(std::span<const std::uint8_t> stream) {
  std::vector<inspect::RasterCommand> commands;
  std::string error;
  if (!inspect::parseRaster(stream, &commands, &error)) return;
  for (const inspect::RasterCommand& command : commands) (void)command.code();
  std::vector<inspect::RasterImage> images;
  inspect::rebuildRasterImages(commands, &images, &error);
  inspect::rebuildRasterImages(commands, &images, &error, 1 + static_cast<int>(stream.size() % 6));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> bytes(data, size);
  std::string listing;
  inspect::listPackets(bytes, &listing);
  std::vector<inspect::Packet> packets;
  std::string error;
  inspect::decodePackets(bytes, &packets, &error);
  inspect::checkJob(packets, &error);
  for (const inspect::Packet& packet : packets) {
    (void)inspect::describePacket(packet);
    (void)inspect::describePacketJson(packet);
    (void)inspect::setAttribute(packet);
    (void)inspect::openJobEntries(packet);
    if (const auto call = inspect::executeMethod(packet)) (void)inspect::methodName(*call);
  }
  decodeRaster(inspect::rasterStream(packets));
  decodeRaster(bytes);
  return 0;
}
