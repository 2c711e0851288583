#include <gtest/gtest.h>

#include <functional>

#include "harness.h"
#include "kelm/kelm.h"

namespace {

using kelmtest::captureRaster;
using kelmtest::esc;

std::string bytes(std::initializer_list<int> values) {
  std::string out;
  for (int v : values) out += static_cast<char>(v);
  return out;
}

TEST(TopOfPage, ChoosesThePlaneConfigurationForm) {
  const auto depths = [](int k, int c, int m, int y, int lc, int lm) {
    KELM_SetPixelDepthK(static_cast<std::uint8_t>(k));
    KELM_SetPixelDepthC(static_cast<std::uint8_t>(c));
    KELM_SetPixelDepthM(static_cast<std::uint8_t>(m));
    KELM_SetPixelDepthY(static_cast<std::uint8_t>(y));
    KELM_SetPixelDepthc(static_cast<std::uint8_t>(lc));
    KELM_SetPixelDepthm(static_cast<std::uint8_t>(lm));
  };
  const auto rgb = [] {
    KELM_SetPixelDepthR(8);
    KELM_SetPixelDepthG(8);
    KELM_SetPixelDepthB(8);
  };
  const struct {
    const char* name;
    int colorSpace;
    int planes;
    std::function<void()> setup;
    std::string command;
  } cases[] = {
      {"pixel RGB", 18, 1, rgb, esc("ESC*v6W") + bytes({18, 1, 0, 8, 8, 8})},
      {"row RGB", 2, 3, rgb, esc("ESC*v6W") + bytes({2, 3, 0, 8, 8, 8})},
      {"row RGB with black and red", 2, 2,
       [] {
         KELM_SetPixelDepthK(8);
         KELM_SetPixelDepthR(8);
       },
       esc("ESC*v6W") + bytes({2, 2, 0, 8, 0, 0})},
      {"row RGB black only", 2, 3, [] { KELM_SetPixelDepthK(8); },
       esc("ESC*v10W") + bytes({2, 1, 0, 0, 0, 0, 8, 0, 0, 0})},
      {"bi-level with gray", 5, 7,
       [&] {
         depths(1, 1, 1, 1, 1, 1);
         KELM_SetPixelDepthGy(1);
         KELM_SetPixelDepthPgy(2);
       },
       esc("ESC*v14W") + bytes({5, 7, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 2})},
      {"bi-level without gray", 5, 6,
       [&] {
         depths(1, 1, 1, 1, 1, 1);
         KELM_SetPixelDepthPgy(1);
       },
       esc("ESC*v12W") + bytes({5, 6, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1})},
      {"light inks of depth 0 count", 3, 4, [&] { depths(8, 8, 8, 8, 0, 0); },
       esc("ESC*v12W") + bytes({3, 4, 0, 0, 0, 0, 8, 8, 8, 8, 0, 0})},
      {"no light cyan", 3, 4, [&] { depths(8, 8, 8, 8, 255, 8); },
       esc("ESC*v10W") + bytes({3, 4, 0, 0, 0, 0, 8, 8, 8, 8})},
      {"unset plane count", 3, 255, [&] { depths(8, 8, 8, 8, 255, 255); },
       esc("ESC*v10W") + bytes({3, 255, 0, 0, 0, 0, 8, 8, 8, 8})},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    kelmtest::resetEncoder();
    KELM_SetColorSpace(static_cast<std::uint8_t>(c.colorSpace));
    KELM_SetNumOfPlanes(static_cast<std::uint8_t>(c.planes));
    c.setup();
    EXPECT_EQ(captureRaster([] { KELM_SendTopOfPage(0, 1, 1); }), c.command);
  }
}

TEST(TopOfPage, SendsResolutionUnlessBothSwitchesAreSet) {
  const struct {
    int h, v;
    int noConfigure, noResolutionA, noResolutionB;
    std::string sent;
  } cases[] = {
      {300, 300, 1, 0, 0, esc("ESC*t300R")},
      {300, 600, 1, 0, 0, esc("ESC$r300XESC$r600Y")},
      {300, 600, 1, 1, 0, esc("ESC$r300XESC$r600Y")},
      {300, 600, 1, 0, 1, esc("ESC$r300XESC$r600Y")},
      {300, 600, 1, 1, 1, ""},
      {300, 300, 0, 1, 1, esc("ESC*v10W") + std::string(10, '\0')},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.noConfigure << c.noResolutionA << c.noResolutionB);
    kelmtest::resetEncoder();
    KELM_SetGraphicResolution(c.h, c.v);
    EXPECT_EQ(
        captureRaster([&] { KELM_SendTopOfPage(c.noConfigure, c.noResolutionA, c.noResolutionB); }),
        c.sent);
    EXPECT_EQ(kelm_GetState().numOfPages, 1);
  }
}

TEST(Commands, CursorOffsetAndModeCommands) {
  const struct {
    const char* name;
    std::function<void()> call;
    const char* sent;
  } cases[] = {
      {"move", [] { KELM_SendMoveCAP(10, -20); }, "ESC*p10x-20Y"},
      {"move x", [] { KELM_SendMoveCAPX(-5); }, "ESC*p-5X"},
      {"move y", [] { KELM_SendMoveCAPY(7); }, "ESC*p7Y"},
      {"relative x forward", [] { KELM_SendMoveCAPXRelative(20); }, "ESC*p+20X"},
      {"relative x back", [] { KELM_SendMoveCAPXRelative(-20); }, "ESC*p-20X"},
      {"relative y zero", [] { KELM_SendMoveCAPYRelative(0); }, "ESC*p0Y"},
      {"relative y back", [] { KELM_SendMoveCAPYRelative(-3); }, "ESC*p-3Y"},
      {"offset", [] { KELM_SendYOffset(0); }, "ESC*b0Y"},
      {"negative offset", [] { KELM_SendYOffset(-1); }, ""},
      {"relative offset", [] { KELM_SendYOffsetRelative(4); }, "ESC*b+4Y"},
      {"relative offset zero", [] { KELM_SendYOffsetRelative(0); }, "ESC*b0Y"},
      {"negative relative offset", [] { KELM_SendYOffsetRelative(-3); }, ""},
      {"start raster, block compression",
       [] {
         KELM_SetCompressionMode(128);
         KELM_SendStartRasterMode();
       },
       "ESC*r1AESC*b128M"},
      {"end raster", [] { KELM_SendEndRasterMode(); }, "ESC*rC"},
      {"compression only at a change",
       [] {
         kelm_ChangeCompressionMode(3);
         kelm_ChangeCompressionMode(3);
         kelm_ChangeCompressionMode(0);
         kelm_ChangeCompressionMode(0);
       },
       "ESC*b3MESC*b0M"},
      {"feed white page", [] { KELM_SendEndOfPage(); }, "ESC$E"},
      {"save white page",
       [] {
         KELM_SetSaveWhitePage();
         KELM_SendEndOfPage();
         KELM_SetFeedWhitePage();
         KELM_SendFormFeed();
       },
       "ESCEESC$E"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    kelmtest::resetEncoder();
    EXPECT_EQ(captureRaster(c.call), esc(c.sent));
  }
}

TEST(Settings, NewForgetsTheImageButKeepsTheDevice) {
  kelmtest::resetEncoder();
  KELM_SetGraphicResolution(150, 150);
  KELM_SetCompressionMode(3);
  KELM_SetPaperName("A0");
  captureRaster([] { KELM_SendTopOfPage(1, 1, 1); });
  KELM_New();
  const KELMState state = kelm_GetState();
  EXPECT_EQ(state.compressionMode, 0);
  EXPECT_EQ(state.paperName, "");
  EXPECT_EQ(state.numOfPages, 0);
  EXPECT_EQ(captureRaster([] { KELM_SendTopOfPage(1, 0, 0); }), esc("ESC*t150R"));
}

}  // namespace
