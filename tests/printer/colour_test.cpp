#include "colour.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <vector>

#include "support/support.h"

#ifdef ZELPGEN_HAVE_LCMS
#include <lcms2.h>
#endif

namespace {

using Rgb = std::array<std::uint8_t, 3>;
using Cmyk = std::array<std::uint8_t, 4>;

std::vector<Cmyk> convert(const zp::InkConverter& converter, const std::vector<Rgb>& colours) {
  std::vector<Cmyk> out(colours.size());
  converter.toCmyk(colours.front().data(), out.front().data(), colours.size());
  return out;
}

TEST(InkConverter, FormulaTakesTheGrayPartOnBlack) {
  const std::vector<std::pair<Rgb, Cmyk>> cases = {
      {{255, 255, 255}, {0, 0, 0, 0}},    {{0, 0, 0}, {0, 0, 0, 255}},
      {{128, 128, 128}, {0, 0, 0, 127}},  {{255, 0, 0}, {0, 255, 255, 0}},
      {{0, 255, 0}, {255, 0, 255, 0}},    {{0, 0, 255}, {255, 255, 0, 0}},
      {{0, 255, 255}, {255, 0, 0, 0}},    {{255, 0, 255}, {0, 255, 0, 0}},
      {{255, 255, 0}, {0, 0, 255, 0}},    {{200, 100, 50}, {0, 100, 150, 55}},
      {{10, 250, 130}, {240, 0, 120, 5}},
  };
  std::string error;
  auto converter = zp::InkConverter::create("", &error);
  ASSERT_TRUE(converter) << error;
  // Repeated to a length that is no multiple of any vector width, so every tail is exercised.
  std::vector<Rgb> rgb;
  for (int repeat = 0; repeat < 7; ++repeat)
    for (const auto& c : cases) rgb.push_back(c.first);
  std::vector<Cmyk> cmyk = convert(*converter, rgb);
  for (std::size_t i = 0; i < rgb.size(); ++i)
    EXPECT_EQ(cmyk[i], cases[i % cases.size()].second) << "pixel " << i;

  // Over a grid of colours: one chromatic ink at least is empty, and each ink with the black
  // grows as its light channel darkens.
  rgb.clear();
  for (int r = 0; r < 256; r += 17)
    for (int g = 0; g < 256; g += 15)
      for (int b = 0; b < 256; b += 51)
        rgb.push_back({std::uint8_t(r), std::uint8_t(g), std::uint8_t(b)});
  cmyk = convert(*converter, rgb);
  for (std::size_t i = 0; i < rgb.size(); ++i) {
    const Cmyk& ink = cmyk[i];
    EXPECT_EQ(std::min({ink[0], ink[1], ink[2]}), 0);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(ink[c] + ink[3], 255 - rgb[i][c]);
  }

  const std::vector<std::uint8_t> gray = {0, 1, 127, 254, 255};
  std::vector<std::uint8_t> k(gray.size());
  converter->grayToK(gray.data(), k.data(), gray.size());
  EXPECT_EQ(k, (std::vector<std::uint8_t>{255, 254, 128, 1, 0}));
}

TEST(InkConverter, RefusesProfilesItCannotUse) {
  testsupport::TempDir dir;
  testsupport::writeFile(dir / "junk.icc", std::string("not a profile"));
  for (const std::string& path : {(dir / "missing.icc").string(), (dir / "junk.icc").string()}) {
    std::string error;
    EXPECT_FALSE(zp::InkConverter::create(path, &error));
    EXPECT_NE(error.find(path), std::string::npos) << error;
  }
}

#ifdef ZELPGEN_HAVE_LCMS
// A CMYK output profile whose Lab to CMYK table applies the built-in formula to the Lab colour's
// sRGB value: through LittleCMS the result must come out near the formula's. Not equal: the
// perceptual intent lifts black to the reference medium's and pulls primaries into the table.
int formulaSampler(const cmsUInt16Number in[], cmsUInt16Number out[], void* cargo) {
  cmsUInt16Number rgb[3];
  cmsDoTransform(static_cast<cmsHTRANSFORM>(cargo), in, rgb, 1);
  cmsUInt16Number k = 65535 - std::max({rgb[0], rgb[1], rgb[2]});
  for (int c = 0; c < 3; ++c) out[c] = static_cast<cmsUInt16Number>(65535 - rgb[c] - k);
  out[3] = k;
  return 1;
}

void saveFormulaProfile(const std::string& path) {
  cmsHPROFILE lab = cmsCreateLab4Profile(nullptr);
  cmsHPROFILE srgb = cmsCreate_sRGBProfile();
  cmsHTRANSFORM toRgb =
      cmsCreateTransform(lab, TYPE_Lab_16, srgb, TYPE_RGB_16, INTENT_RELATIVE_COLORIMETRIC, 0);
  cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
  cmsSetProfileVersion(profile, 4.3);
  cmsSetDeviceClass(profile, cmsSigOutputClass);
  cmsSetColorSpace(profile, cmsSigCmykData);
  cmsSetPCS(profile, cmsSigLabData);
  cmsPipeline* table = cmsPipelineAlloc(nullptr, 3, 4);
  cmsStage* clut = cmsStageAllocCLut16bit(nullptr, 33, 3, 4, nullptr);
  cmsStageSampleCLut16bit(clut, formulaSampler, toRgb, 0);
  // A v4 table keeps curves around its grid; identity ones here.
  cmsPipelineInsertStage(table, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
  cmsPipelineInsertStage(table, cmsAT_END, clut);
  cmsPipelineInsertStage(table, cmsAT_END, cmsStageAllocToneCurves(nullptr, 4, nullptr));
  cmsWriteTag(profile, cmsSigBToA0Tag, table);
  cmsWriteTag(profile, cmsSigMediaWhitePointTag, cmsD50_XYZ());
  ASSERT_TRUE(cmsSaveProfileToFile(profile, path.c_str()));
  cmsPipelineFree(table);
  cmsCloseProfile(profile);
  cmsDeleteTransform(toRgb);
  cmsCloseProfile(srgb);
  cmsCloseProfile(lab);
}

TEST(InkConverter, ProfileGoesThroughLittleCms) {
  testsupport::TempDir dir;
  const std::string path = (dir / "formula.icc").string();
  saveFormulaProfile(path);
  std::string error;
  auto viaProfile = zp::InkConverter::create(path, &error);
  ASSERT_TRUE(viaProfile) << error;
  auto formula = zp::InkConverter::create("", &error);
  const std::vector<Rgb> colours = {{255, 255, 255}, {0, 0, 0},   {128, 128, 128}, {255, 0, 0},
                                    {0, 255, 0},     {0, 0, 255}, {200, 100, 50},  {60, 180, 220}};
  std::vector<Cmyk> got = convert(*viaProfile, colours), want = convert(*formula, colours);
  for (std::size_t i = 0; i < colours.size(); ++i)
    for (int c = 0; c < 4; ++c)
      EXPECT_NEAR(got[i][c], want[i][c], 32) << "colour " << i << " ink " << c;

  // An RGB profile is no way to ink.
  cmsHPROFILE srgb = cmsCreate_sRGBProfile();
  cmsSaveProfileToFile(srgb, (dir / "srgb.icc").c_str());
  cmsCloseProfile(srgb);
  EXPECT_FALSE(zp::InkConverter::create((dir / "srgb.icc").string(), &error));
  EXPECT_NE(error.find("not a CMYK profile"), std::string::npos) << error;
}
#endif

}  // namespace
