#include <gtest/gtest.h>

#include "harness.h"
#include "kelm/kelm.h"

namespace {

using kelmtest::esc;

std::string bytes(std::initializer_list<int> values) {
  return std::string(values.begin(), values.end());
}

TEST(TopOfPage, ChoosesThePlaneConfigurationForm) {
  // Depths in the order R G B K C M Y c m Gy Pgy; 255 is absent.
  using Setter = void (*)(std::uint8_t);
  const Setter setters[] = {KELM_SetPixelDepthR,  KELM_SetPixelDepthG,  KELM_SetPixelDepthB,
                            KELM_SetPixelDepthK,  KELM_SetPixelDepthC,  KELM_SetPixelDepthM,
                            KELM_SetPixelDepthY,  KELM_SetPixelDepthc,  KELM_SetPixelDepthm,
                            KELM_SetPixelDepthGy, KELM_SetPixelDepthPgy};
  const struct {
    const char* name;
    int colorSpace, planes;
    std::vector<int> depths;
    std::string command;
  } cases[] = {
      {"pixel RGB", 18, 1, {8, 8, 8}, esc("ESC*v6W") + bytes({18, 1, 0, 8, 8, 8})},
      {"row RGB with black", 2, 2, {8, 255, 255, 8}, esc("ESC*v6W") + bytes({2, 2, 0, 8, 0, 0})},
      {"row RGB black only",
       2,
       3,
       {255, 255, 255, 8},
       esc("ESC*v10W") + bytes({2, 1, 0, 0, 0, 0, 8, 0, 0, 0})},
      {"bi-level with gray",
       5,
       7,
       {255, 255, 255, 1, 1, 1, 1, 1, 1, 1, 2},
       esc("ESC*v14W") + bytes({5, 7, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 2})},
      {"bi-level without gray",
       5,
       6,
       {255, 255, 255, 1, 1, 1, 1, 1, 1, 255, 1},
       esc("ESC*v12W") + bytes({5, 6, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1})},
      {"light inks of depth 0 count",
       3,
       4,
       {255, 255, 255, 8, 8, 8, 8, 0, 0},
       esc("ESC*v12W") + bytes({3, 4, 0, 0, 0, 0, 8, 8, 8, 8, 0, 0})},
      {"no light cyan",
       3,
       255,
       {255, 255, 255, 8, 8, 8, 8, 255, 8},
       esc("ESC*v10W") + bytes({3, 255, 0, 0, 0, 0, 8, 8, 8, 8})},
  };
  for (const auto& c : cases) {
    kelmtest::resetEncoder();
    KELM_SetColorSpace(static_cast<std::uint8_t>(c.colorSpace));
    KELM_SetNumOfPlanes(static_cast<std::uint8_t>(c.planes));
    for (std::size_t i = 0; i < c.depths.size(); ++i) {
      setters[i](static_cast<std::uint8_t>(c.depths[i]));
    }
    EXPECT_EQ(kelmtest::captureRaster([] { KELM_SendTopOfPage(0, 1, 1); }), c.command) << c.name;
  }
}

TEST(Commands, PageCursorOffsetAndModeCommands) {
  const struct {
    const char* name;
    std::function<void()> call;
    std::string sent;
  } cases[] = {
      {"equal resolutions", [] { KELM_SendTopOfPage(1, 0, 1); }, esc("ESC*t300R")},
      {"unequal resolutions",
       [] {
         KELM_SetGraphicResolution(300, 600);
         KELM_SendTopOfPage(1, 1, 0);
       },
       esc("ESC$r300XESC$r600Y")},
      {"no configuration, no resolution", [] { KELM_SendTopOfPage(1, 1, 1); }, ""},
      {"moves",
       [] {
         KELM_SendMoveCAP(10, -20);
         KELM_SendMoveCAPX(-5);
         KELM_SendMoveCAPY(7);
       },
       esc("ESC*p10x-20YESC*p-5XESC*p7Y")},
      {"relative moves keep their sign",
       [] {
         KELM_SendMoveCAPXRelative(20);
         KELM_SendMoveCAPXRelative(-20);
         KELM_SendMoveCAPYRelative(0);
         KELM_SendMoveCAPYRelative(-3);
       },
       esc("ESC*p+20XESC*p-20XESC*p0YESC*p-3Y")},
      {"negative offsets are dropped",
       [] {
         KELM_SendYOffset(-1);
         KELM_SendYOffset(12);
         KELM_SendYOffsetRelative(-3);
         KELM_SendYOffsetRelative(0);
         KELM_SendYOffsetRelative(4);
       },
       esc("ESC*b12YESC*b0YESC*b+4Y")},
      {"raster mode with block compression",
       [] {
         KELM_SetCompressionMode(128);
         KELM_SendStartRasterMode();
         KELM_SendEndRasterMode();
       },
       esc("ESC*r1AESC*b128MESC*rC")},
      {"compression only at a change",
       [] {
         for (std::uint8_t mode : {3, 3, 0, 0}) kelm_ChangeCompressionMode(mode);
       },
       esc("ESC*b3MESC*b0M")},
      {"end of page",
       [] {
         KELM_SendEndOfPage();
         KELM_SetSaveWhitePage();
         KELM_SendEndOfPage();
         KELM_SetFeedWhitePage();
         KELM_SendFormFeed();
       },
       esc("ESC$EESCEESC$E")},
  };
  for (const auto& c : cases) {
    kelmtest::resetEncoder();
    EXPECT_EQ(kelmtest::captureRaster(c.call), c.sent) << c.name;
  }
}

}  // namespace
