#include <gtest/gtest.h>

#include "harness.h"
#include "kelm/kelm.h"

namespace {

using kelmtest::esc;

std::string bytes(std::initializer_list<int> values) {
  return std::string(values.begin(), values.end());
}

TEST(TopOfPage, ChoosesThePlaneConfigurationForm) {
  // Depths in the order R G B K C M Y c m Gy Pgy. Bi-level inks name gray only when it is
  // set; light inks of depth 0 still count.
  using Setter = void (*)(std::uint8_t);
  const Setter setters[] = {KELM_SetPixelDepthR,  KELM_SetPixelDepthG,  KELM_SetPixelDepthB,
                            KELM_SetPixelDepthK,  KELM_SetPixelDepthC,  KELM_SetPixelDepthM,
                            KELM_SetPixelDepthY,  KELM_SetPixelDepthc,  KELM_SetPixelDepthm,
                            KELM_SetPixelDepthGy, KELM_SetPixelDepthPgy};
  constexpr int x = 255;  // absent
  const struct {
    int colorSpace, planes;
    std::vector<int> depths;
    std::string configuration;  // the bytes after "ESC*v<n>W"
  } cases[] = {
      {18, 1, {8, 8, 8}, bytes({18, 1, 0, 8, 8, 8})},               // pixel RGB
      {2, 2, {8, x, x, 8}, bytes({2, 2, 0, 8, 0, 0})},              // row RGB and black
      {2, 3, {x, x, x, 8}, bytes({2, 1, 0, 0, 0, 0, 8, 0, 0, 0})},  // black only
      {5, 6, {x, x, x, 1, 1, 1, 1, 1, 1, x, 1}, bytes({5, 6, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1})},
      {5, 7, {x, x, x, 1, 1, 1, 1, 1, 1, 1, 2}, bytes({5, 7, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 2})},
      {3, 4, {x, x, x, 8, 8, 8, 8, 0, 0}, bytes({3, 4, 0, 0, 0, 0, 8, 8, 8, 8, 0, 0})},
      {3, x, {x, x, x, 8, 8, 8, 8, x, 8}, bytes({3, 255, 0, 0, 0, 0, 8, 8, 8, 8})},  // no c
  };
  for (const auto& c : cases) {
    kelmtest::resetEncoder();
    KELM_SetColorSpace(static_cast<std::uint8_t>(c.colorSpace));
    KELM_SetNumOfPlanes(static_cast<std::uint8_t>(c.planes));
    for (std::size_t i = 0; i < c.depths.size(); ++i) {
      setters[i](static_cast<std::uint8_t>(c.depths[i]));
    }
    EXPECT_EQ(kelmtest::captureRaster([] { KELM_SendTopOfPage(0, 1, 1); }),
              esc("ESC*v" + std::to_string(c.configuration.size()) + "W") + c.configuration)
        << c.colorSpace << " " << c.planes;
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
      {"moves; relative ones keep their sign",
       [] {
         KELM_SendMoveCAP(10, -20);
         KELM_SendMoveCAPX(-5);
         KELM_SendMoveCAPY(7);
         KELM_SendMoveCAPXRelative(20);
         KELM_SendMoveCAPXRelative(-20);
         KELM_SendMoveCAPYRelative(0);
         KELM_SendMoveCAPYRelative(-3);
       },
       esc("ESC*p10x-20YESC*p-5XESC*p7YESC*p+20XESC*p-20XESC*p0YESC*p-3Y")},
      {"negative offsets are dropped",
       [] {
         KELM_SendYOffset(-1);
         KELM_SendYOffset(12);
         KELM_SendYOffsetRelative(-3);
         KELM_SendYOffsetRelative(0);
         KELM_SendYOffsetRelative(4);
       },
       esc("ESC*b12YESC*b0YESC*b+4Y")},
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
