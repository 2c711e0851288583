// Windows bitmaps built byte by byte: bottom-up rows, depth conversions, refused headers.
#include "image/bmp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/image_support.h"
#include "support/support.h"

namespace {

using imagetest::Bytes;
using testsupport::hex;

// Opening writes nothing to stderr, whether the file is taken or refused.
std::unique_ptr<LXWindowsBMPRecT> openBmp(const Bytes& bytes) {
  testsupport::TempDir dir;
  testsupport::writeFile(dir / "b.bmp", bytes);
  testing::internal::CaptureStderr();
  auto rec = LXWindowsBMP_New((dir / "b.bmp").c_str());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  return rec;
}

// Two rows of a 3-pixel 8-bit image, stored with one padding byte each.
const std::vector<Bytes> kGrayRows = {{0x00, 0x10, 0xFF, 0x77}, {0x01, 0x02, 0x03, 0x04}};
const std::vector<Bytes> kOneBitRows = {{0xFF, 0xFF, 0xAB, 0xCD}, {0x12, 0xC0, 0, 0}};
const std::vector<Bytes> kRgbRows = {{1, 2, 3, 0}, {4, 5, 6, 0}};

TEST(BmpRead, ConvertsRowsTopDown) {
  const struct {
    int width, bits;
    std::vector<Bytes> rows;
    int depth;
    const unsigned char* table;
    const char* band;  // three band rows
    const char* name;
  } cases[] = {
      {10, 1, kOneBitRows, 1, nullptr, "FF C0 00 00 12 C0 00 00 00 00 00 00", "bits in the width"},
      {3, 8, kGrayRows, 8, nullptr, "FF EF 00 00 FE FD FC 00 00 00 00 00", "ink inverts"},
      {3, 8, kGrayRows, 8, kRGBSenseTable, "00 10 FF FF 01 02 03 FF FF FF FF FF", "RGB sense"},
      // Padding bytes are packed as pixels too.
      {3, 8, kGrayRows, 2, nullptr, "F2 00 00 00 FF 00 00 00 00 00 00 00", "four levels"},
      {3, 8, kGrayRows, 4, nullptr, "FE 08 00 00 FF FF 00 00 00 00 00 00", "sixteen levels"},
      // Five bytes a group in rows of four: each row runs one byte into the next.
      {3, 8, kGrayRows, 10, nullptr, "FF 3B C0 02 FE 3F 4F C3 EC 00 00 00", "ten bits"},
      {1, 24, kRgbRows, 24, nullptr, "00 00 00 00 00 00 00 00 00 00 00 00",
       "24-bit rows stay blank"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto bmp = openBmp(imagetest::bmpFile(c.width, 2, c.bits, c.rows));
    auto band = imagetest::makeBand(c.depth, c.width, 3);
    ASSERT_EQ(band->rowBytes, 4u);
    EXPECT_EQ(LXWindowsBMP_ReadNextRasterBlock(bmp.get(), band.get(), c.table), 2);
    EXPECT_EQ(hex(imagetest::bandContent(*band)), c.band);
    EXPECT_EQ(LXWindowsBMP_ReadNextRasterBlock(bmp.get(), band.get(), c.table), 0);
  }
}

TEST(BmpRead, SplitsRgbPixelsStoredBlueGreenRed) {
  // Pixels (B, G, R) = (10, 20, 30) and (40, 50, 60), then two padding bytes.
  const Bytes file = imagetest::bmpFile(2, 1, 24, {{0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0, 0}});
  const struct {
    int depth;
    std::vector<std::string> planes;  // red, green, blue; the rest of each band stays white
  } cases[] = {
      {8, {"30 60", "20 50", "10 40"}},
      // v * 4 in ten bits, the short group filled with 255; the fifth byte runs into row 1.
      {10, {"30 18 0F F3 FC", "20 14 0F F3 FC", "10 10 0F F3 FC"}},
      {12, {"30 06 00", "20 05 00", "10 04 00"}},
  };
  for (const auto& c : cases) {
    auto bmp = openBmp(file);
    std::unique_ptr<LXGWorld> bands[3];
    for (auto& band : bands) band = imagetest::makeBand(c.depth, 2, 2);
    ASSERT_EQ(LXWindowsBMP_ReadNextRasterBlockRGB(bmp.get(), bands[0].get(), bands[1].get(),
                                                  bands[2].get()),
              1);
    for (int p = 0; p < 3; ++p) {
      const Bytes content = imagetest::bandContent(*bands[p]);
      const auto n = static_cast<std::ptrdiff_t>(c.planes[p].size() + 1) / 3;
      EXPECT_EQ(hex(Bytes(content.begin(), content.begin() + n)), c.planes[p]) << c.depth;
      EXPECT_EQ(std::count(content.begin() + n, content.end(), 0xFF),
                content.end() - n - content.begin());
    }
  }
}

// Five rows in bands of two, top row first: 2, 2, 1, then 0.
TEST(BmpRead, BandsAdvanceAndRewind) {
  std::vector<Bytes> rows;
  for (std::uint8_t r = 0; r < 5; ++r) rows.push_back({r, r, r, r});
  auto bmp = openBmp(imagetest::bmpFile(4, 5, 8, rows));
  auto band = imagetest::makeBand(8, 4, 2);
  for (const auto& [count, first] :
       std::vector<std::pair<int, int>>{{2, 0}, {2, 2}, {1, 4}, {0, 4}}) {
    EXPECT_EQ(LXWindowsBMP_ReadNextRasterBlock(bmp.get(), band.get(), kRGBSenseTable), count);
    EXPECT_EQ(band->baseAddr[0], count ? first : 0xFF);
  }
  LXWindowsBMP_Rewind(bmp.get());
  EXPECT_EQ(LXWindowsBMP_ReadNextRasterBlock(bmp.get(), band.get(), kRGBSenseTable), 2);
  EXPECT_EQ(band->baseAddr[0], 0);
}

TEST(BmpOpen, RefusedHeaders) {
  Bytes notBM = imagetest::bmpFile(3, 2, 8, kGrayRows);
  notBM[1] = 'A';
  const struct {
    const char* name;
    Bytes file;
    bool opens;
    std::uint32_t width;
    std::int32_t grayRows = 0;
  } cases[] = {
      {"NotBM", notBM, false, 0},
      {"ShortHeader", Bytes{'B', 'M', 0, 0}, false, 0},
      {"TopDown", imagetest::bmpFile(3, -2, 8, kGrayRows), false, 3},
      {"HugeWidth", imagetest::bmpFile(0x7FFFFFFF, 2, 24, kGrayRows), false, 0},
      {"NegativeBitCount", imagetest::bmpFile(3, 2, 0x88, kGrayRows), false, 0},
      // Never more rows than the file's 62 bytes hold; rows past its end read short but count.
      {"Truncated", imagetest::bmpFile(3, 400, 8, kGrayRows), true, 3, 15},
      // A 48-bit image is accepted, its rows left white.
      {"FortyEightBit", imagetest::bmpFile(1, 1, 48, {Bytes(8, 0x12)}), true, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto bmp = openBmp(c.file);
    ASSERT_NE(bmp, nullptr);
    EXPECT_EQ(bmp->stream != nullptr, c.opens);
    EXPECT_EQ(bmp->width, c.width);
    auto gray = imagetest::makeBand(8, 3, 300);
    auto r = imagetest::makeBand(10, 3, 300);
    EXPECT_EQ(LXWindowsBMP_ReadNextRasterBlock(bmp.get(), gray.get(), nullptr), c.grayRows);
    LXWindowsBMP_Rewind(bmp.get());
    EXPECT_EQ(LXWindowsBMP_ReadNextRasterBlockRGB(bmp.get(), r.get(), r.get(), r.get()),
              c.opens && bmp->bitsPerPixel == 48 ? 1 : 0);
    EXPECT_EQ(imagetest::bandContent(*r), Bytes(r->pixels.size(), 0xFF));
  }
}

}  // namespace
