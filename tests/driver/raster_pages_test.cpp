// Several pages of several images: what each image entry sends on every page, where it is
// placed, and in how many bands of rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "raster_job.h"

namespace {

using rasterjob::Bytes;

TEST(RasterPages, EveryPagePrintsEveryImageInItsPlace) {
  testsupport::TempDir dir;
  const rasterjob::Source cmyk = rasterjob::makeSource(61, 650, 4, 0, 40);
  const rasterjob::Source gray = rasterjob::makeSource(45, 310, 1, 255, 41);
  rasterjob::writeTiff((dir / "cmyk.tif").string(), cmyk, {.photometric = 5, .packBits = true});
  rasterjob::writeBmp((dir / "k.bmp").string(), gray);

  const std::string images =
      "[Image]\nImageFileCMYK=\"cmyk.tif\"\nColorSpace=3\nCompressionMode=128\nNumOfPlanes=4\n"
      "PixelDepthK=8\nPixelDepthC=8\nPixelDepthM=8\nPixelDepthY=8\n"
      "GraphicResolutionH=300\nGraphicResolutionV=300\nYOffsetC=+7\nYOffset=4\n"
      "[Image]\nImageFileK=\"k.bmp\"\nImageFileC=\"k.bmp\"\nImageFileM=\"k.bmp\"\n"
      "ImageFileY=\"k.bmp\"\nImageFilec=\"k.bmp\"\nImageFilem=\"k.bmp\"\nColorSpace=4\n"
      "CompressionMode=2\nNumOfPlanes=6\nPixelDepthK=8\nPixelDepthC=8\nPixelDepthM=8\n"
      "PixelDepthY=8\nPixelDepthc=8\nPixelDepthm=8\nGraphicResolutionH=300\n"
      "GraphicResolutionV=300\nStartingPositionX=-20\nStartingPositionY=+100\nYOffsetC=5\n"
      "YOffset=-3\n";
  const std::vector<inspect::RasterCommand> commands =
      rasterjob::printJob(dir, "JobImpressions=2\n", "", images);

  const auto header =
      std::find_if(commands.begin(), commands.end(), [](const auto& c) { return c.is("&a", 'N'); });
  ASSERT_NE(header, commands.end());
  // The encoder is renewed between the images of a page but not between pages, so on the
  // second page the first image's plane configuration still carries the light inks' depths.
  const std::string cmykOnFirstPage =
      "ESC*v10W ESC*t300R ESC*b+7Y ESC*r1A ESC*b128M ESC*b4Y ESC*rC";
  const std::string cmykOnSecondPage =
      "ESC*v12W ESC*t300R ESC*b+7Y ESC*r1A ESC*b128M ESC*b4Y ESC*rC";
  const std::string sixColours = "ESC*v12W ESC*p-20X ESC*p+100Y ESC*b5Y ESC*r1A ESC*b2M ESC*rC";
  EXPECT_EQ(rasterjob::outline(commands, header - commands.begin() + 1, commands.size()),
            cmykOnFirstPage + " " + sixColours + " ESC$E " + cmykOnSecondPage + " " + sixColours +
                " ESC$E ESC%-12345X");

  const std::vector<inspect::RasterImage> printed = rasterjob::rebuild(commands);
  ASSERT_EQ(printed.size(), 4u);
  for (int page = 0; page < 2; ++page) {
    const inspect::RasterImage& first = printed[2 * page];
    // Bands of 300 rows, each cut into blocks of at most 128.
    EXPECT_EQ(first.blockRows, (std::vector<std::size_t>{128, 128, 44, 128, 128, 44, 50}));
    EXPECT_EQ(first.blockWidth, 61);  // the widest image of the job
    // The offset sent inside raster mode skips rows ahead of the image.
    ASSERT_EQ(first.rows(), 4u + 650u);
    for (const auto& plane : first.planes) {
      EXPECT_TRUE(std::all_of(plane.begin(), plane.begin() + 4,
                              [](const Bytes& row) { return row.empty(); }));
    }
    constexpr int kChannelOfPlane[] = {3, 0, 1, 2};
    for (int p = 0; p < 4; ++p) {
      for (int r = 0; r < 650; ++r) {
        Bytes row;
        for (int x = 0; x < 61; ++x) row.push_back(cmyk.at(r, x, kChannelOfPlane[p]));
        ASSERT_EQ(first.planes[p][4 + r], rasterjob::trimmed(row, 0))
            << "page " << page << " plane " << p << " row " << r;
      }
    }

    const inspect::RasterImage& second = printed[2 * page + 1];
    ASSERT_EQ(second.planes.size(), 6u);
    ASSERT_EQ(second.rows(), 310u);
    for (int r = 0; r < 310; ++r) {
      Bytes row;
      for (int x = 0; x < 45; ++x) row.push_back(static_cast<std::uint8_t>(255 - gray.at(r, x, 0)));
      for (const auto& plane : second.planes) {
        ASSERT_EQ(plane[r], rasterjob::trimmed(row, 0)) << "page " << page << " row " << r;
      }
    }
  }
}

}  // namespace
