#include "harness.h"

#include "inspect/packets.h"
#include "kelm/kelm.h"
#include "support/support.h"
#include "zelp/zelp.h"

namespace kelmtest {

std::string captureRaster(const std::function<void()>& body) {
  testsupport::TempDir dir;
  const std::string path = (dir / "out.dat").string();
  ZELP_NewWithName(path.c_str());
  EXPECT_EQ(ZELP_Open(), 0);
  body();
  ZELP_Flush(0);
  EXPECT_EQ(ZELP_Close(), 0);
  ZELP_Delete();
  std::vector<inspect::Packet> packets;
  std::string error;
  EXPECT_TRUE(inspect::decodePackets(testsupport::readFile(path), &packets, &error)) << error;
  const std::vector<std::uint8_t> raster = inspect::rasterStream(packets);
  return std::string(raster.begin(), raster.end());
}

std::vector<inspect::RasterCommand> parse(const std::string& raster) {
  std::vector<inspect::RasterCommand> commands;
  std::string error;
  EXPECT_TRUE(inspect::parseRaster(
      {reinterpret_cast<const std::uint8_t*>(raster.data()), raster.size()}, &commands, &error))
      << error;
  return commands;
}

std::string captureCodes(const std::function<void()>& body, bool withData) {
  std::string codes;
  for (const auto& c : parse(captureRaster(body))) {
    if (!codes.empty()) codes += ' ';
    codes += c.code();
    if (withData && !c.data.empty()) codes += ' ' + testsupport::hex(c.data);
  }
  return codes;
}

void resetEncoder() {
  KELM_New();
  KELM_SetPrinterResolution(600, 300);
  KELM_SetGraphicResolution(300, 300);
  KELM_SetPaperSizeInDeciMilliMeter(0, 0);
  KELM_SetPrintableWidthInPixel(0);
}

}  // namespace kelmtest
