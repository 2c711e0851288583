// Windows bitmaps built byte by byte: bottom-up rows, depth conversions, refused headers.
#include "image/bmp.h"

#include <gtest/gtest.h>

#include <string>

#include "support/image_support.h"
#include "support/support.h"

namespace {

using imagetest::Bytes;

class BmpFile {
 public:
  explicit BmpFile(const Bytes& bytes) {
    testsupport::writeFile(dir_ / "b.bmp", bytes);
    testing::internal::CaptureStderr();
    rec_ = LXWindowsBMP_New((dir_ / "b.bmp").c_str());
    stderr_ = testing::internal::GetCapturedStderr();
  }
  LXWindowsBMPRecT* operator->() const { return rec_.get(); }
  LXWindowsBMPRecT* get() const { return rec_.get(); }
  const std::string& messages() const { return stderr_; }

 private:
  testsupport::TempDir dir_;
  std::unique_ptr<LXWindowsBMPRecT> rec_;
  std::string stderr_;
};

// Two rows of a 3-pixel 8-bit image, stored with one padding byte each.
const std::vector<Bytes> kGrayRows = {{0x00, 0x10, 0xFF, 0x77}, {0x01, 0x02, 0x03, 0x04}};

TEST(BmpRead, ConvertsRowsTopDown) {
  const struct {
    const char* name;
    int width, bits;
    std::vector<Bytes> rows;
    int depth;
    const unsigned char* table;
    Bytes band;  // three band rows
  } cases[] = {
      {"OneBitKeepsBitsInsideTheWidth",
       10,
       1,
       {{0xFF, 0xFF, 0xAB, 0xCD}, {0x12, 0xC0, 0, 0}},
       1,
       nullptr,
       {0xFF, 0xC0, 0, 0, 0x12, 0xC0, 0, 0, 0, 0, 0, 0}},
      {"EightBitInkInverts",
       3,
       8,
       kGrayRows,
       8,
       nullptr,
       {0xFF, 0xEF, 0x00, 0x00, 0xFE, 0xFD, 0xFC, 0x00, 0, 0, 0, 0}},
      {"EightBitRGBSenseCopies",
       3,
       8,
       kGrayRows,
       8,
       kRGBSenseTable,
       {0x00, 0x10, 0xFF, 0xFF, 0x01, 0x02, 0x03, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
      // Padding bytes are packed as pixels too.
      {"FourLevels", 3, 8, kGrayRows, 2, nullptr, {0xF2, 0, 0, 0, 0xFF, 0, 0, 0, 0, 0, 0, 0}},
      {"SixteenLevels",
       3,
       8,
       kGrayRows,
       4,
       nullptr,
       {0xFE, 0x08, 0, 0, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0}},
      // Five bytes a group in rows of four: each row runs one byte into the next.
      {"TenBit",
       3,
       8,
       kGrayRows,
       10,
       nullptr,
       {0xFF, 0x3B, 0xC0, 0x02, 0xFE, 0x3F, 0x4F, 0xC3, 0xEC, 0, 0, 0}},
      {"TwentyFourBitRowsStayBlank",
       1,
       24,
       {{1, 2, 3, 0}, {4, 5, 6, 0}},
       24,
       nullptr,
       Bytes(12, 0)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    BmpFile bmp(imagetest::bmpFile(c.width, 2, c.bits, c.rows));
    auto band = imagetest::makeBand(c.depth, c.width, 3);
    ASSERT_EQ(band->rowBytes, 4u);
    EXPECT_EQ(LXWindowsBMP_ReadNextRasterBlock(bmp.get(), band.get(), c.table), 2);
    EXPECT_EQ(testsupport::hex(imagetest::bandContent(*band)), testsupport::hex(c.band));
    EXPECT_EQ(LXWindowsBMP_ReadNextRasterBlock(bmp.get(), band.get(), c.table), 0);
  }
}

TEST(BmpRead, SplitsRgbPixelsStoredBlueGreenRed) {
  // Pixels (B, G, R) = (10, 20, 30) and (40, 50, 60), then two padding bytes.
  const Bytes file = imagetest::bmpFile(2, 1, 24, {{0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0, 0}});
  const struct {
    int depth;
    std::vector<Bytes> planes;  // red, green, blue; the rest of each band stays white
  } cases[] = {
      {8, {{0x30, 0x60}, {0x20, 0x50}, {0x10, 0x40}}},
      // v * 4 in ten bits, the short group filled with 255; the fifth byte runs into row 1.
      {10,
       {{0x30, 0x18, 0x0F, 0xF3, 0xFC},
        {0x20, 0x14, 0x0F, 0xF3, 0xFC},
        {0x10, 0x10, 0x0F, 0xF3, 0xFC}}},
      {12, {{0x30, 0x06, 0x00}, {0x20, 0x05, 0x00}, {0x10, 0x04, 0x00}}},
  };
  for (const auto& c : cases) {
    BmpFile bmp(file);
    std::unique_ptr<LXGWorld> bands[3];
    for (auto& band : bands) band = imagetest::makeBand(c.depth, 2, 2);
    ASSERT_EQ(LXWindowsBMP_ReadNextRasterBlockRGB(bmp.get(), bands[0].get(), bands[1].get(),
                                                  bands[2].get()),
              1);
    for (int p = 0; p < 3; ++p) {
      Bytes expected(bands[p]->pixels.size(), 0xFF);
      std::copy(c.planes[p].begin(), c.planes[p].end(), expected.begin());
      EXPECT_EQ(testsupport::hex(imagetest::bandContent(*bands[p])), testsupport::hex(expected))
          << "depth " << c.depth << " plane " << p;
    }
  }
}

// Five rows in bands of two, top row first: 2, 2, 1, then 0.
TEST(BmpRead, BandsAdvanceAndRewind) {
  std::vector<Bytes> rows;
  for (std::uint8_t r = 0; r < 5; ++r) rows.push_back({r, r, r, r});
  BmpFile bmp(imagetest::bmpFile(4, 5, 8, rows));
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
  Bytes fortyEight = imagetest::bmpFile(1, 1, 48, {Bytes(8, 0x12)});
  const struct {
    const char* name;
    Bytes file;
    bool opens;
    std::uint32_t width;
  } cases[] = {
      {"NotBM", notBM, false, 0},
      {"ShortHeader", Bytes{'B', 'M', 0, 0}, false, 0},
      {"TopDown", imagetest::bmpFile(3, -2, 8, kGrayRows), false, 3},
      {"RowLongerThanFile", imagetest::bmpFile(0x10000, 2, 8, kGrayRows), false, 0},
      {"HugeWidth", imagetest::bmpFile(0x7FFFFFFF, 2, 24, kGrayRows), false, 0},
      {"NegativeBitCount", imagetest::bmpFile(3, 2, 0x88, kGrayRows), false, 0},
      // Rows past the end of the file read short but still count.
      {"Truncated", imagetest::bmpFile(3, 400, 8, kGrayRows), true, 3},
      {"FortyEightBit", fortyEight, true, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    BmpFile bmp(c.file);
    ASSERT_NE(bmp.get(), nullptr);
    EXPECT_EQ(bmp.messages(), "");
    EXPECT_EQ(bmp->stream != nullptr, c.opens);
    EXPECT_EQ(bmp->width, c.width);
    auto gray = imagetest::makeBand(8, 3, 300);
    auto r = imagetest::makeBand(10, 3, 300);
    EXPECT_EQ(LXWindowsBMP_ReadNextRasterBlock(bmp.get(), gray.get(), nullptr),
              c.opens && bmp->bitsPerPixel == 8 ? 300 : 0);
    LXWindowsBMP_Rewind(bmp.get());
    // A 48-bit image is accepted, its rows left white.
    EXPECT_EQ(LXWindowsBMP_ReadNextRasterBlockRGB(bmp.get(), r.get(), r.get(), r.get()),
              c.opens && bmp->bitsPerPixel == 48 ? 1 : 0);
    EXPECT_EQ(imagetest::bandContent(*r), Bytes(r->pixels.size(), 0xFF));
  }
}

}  // namespace
