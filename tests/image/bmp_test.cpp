// Windows bitmaps built byte by byte: bottom-up rows, depth conversions, refused headers.
#include "image/bmp.h"

#include <gtest/gtest.h>

#include <string>

#include "image/image_support.h"
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
  // Two pixels a row: (B, G, R) = (0x10, 0x20, 0x30), (0x40, 0x50, 0x60); then two padding bytes.
  const std::vector<Bytes> rows = {{0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0xAA, 0xAA}};
  const Bytes file = imagetest::bmpFile(2, 1, 24, rows);
  const std::vector<std::vector<std::uint16_t>> planes = {{0x30, 0x60}, {0x20, 0x50}, {0x10, 0x40}};
  for (int depth : {8, 10, 12}) {
    BmpFile bmp(file);
    auto r = imagetest::makeBand(depth, 2, 2);
    auto g = imagetest::makeBand(depth, 2, 2);
    auto b = imagetest::makeBand(depth, 2, 2);
    ASSERT_EQ(LXWindowsBMP_ReadNextRasterBlockRGB(bmp.get(), r.get(), g.get(), b.get()), 1);
    const LXGWorld* bands[] = {r.get(), g.get(), b.get()};
    for (int p = 0; p < 3; ++p) {
      const std::vector<std::uint16_t>& v = planes[p];
      Bytes expected(bands[p]->pixels.size(), 0xFF);
      Bytes row;
      if (depth == 8) {
        row.assign(v.begin(), v.end());
      } else if (depth == 10) {
        row = imagetest::packTenBit(
            {std::uint16_t(v[0] << 2), std::uint16_t(v[1] << 2), 0x3FC, 0x3FC});
      } else {
        row = {std::uint8_t(v[0]), std::uint8_t(v[1] >> 4), std::uint8_t(v[1] << 4)};
      }
      std::copy(row.begin(), row.end(), expected.begin());
      EXPECT_EQ(testsupport::hex(imagetest::bandContent(*bands[p])), testsupport::hex(expected))
          << "depth " << depth << " plane " << p;
    }
  }
}

TEST(BmpRead, BandsAdvanceAndRewind) {
  std::vector<Bytes> rows;
  for (std::uint8_t r = 0; r < 5; ++r) rows.push_back({r, r, r, r});
  BmpFile bmp(imagetest::bmpFile(4, 5, 8, rows));
  auto band = imagetest::makeBand(8, 4, 2);
  std::vector<std::int32_t> counts;
  std::vector<std::uint8_t> firstPixels;
  while (const std::int32_t n =
             LXWindowsBMP_ReadNextRasterBlock(bmp.get(), band.get(), kRGBSenseTable)) {
    counts.push_back(n);
    firstPixels.push_back(band->baseAddr[0]);
  }
  EXPECT_EQ(counts, (std::vector<std::int32_t>{2, 2, 1}));
  EXPECT_EQ(firstPixels, (std::vector<std::uint8_t>{0, 2, 4}));
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
    auto g = imagetest::makeBand(10, 3, 300);
    auto b = imagetest::makeBand(10, 3, 300);
    const std::int32_t grayRows = LXWindowsBMP_ReadNextRasterBlock(bmp.get(), gray.get(), nullptr);
    LXWindowsBMP_Rewind(bmp.get());
    const std::int32_t rgbRows =
        LXWindowsBMP_ReadNextRasterBlockRGB(bmp.get(), r.get(), g.get(), b.get());
    EXPECT_EQ(grayRows, c.opens && bmp->bitsPerPixel == 8 ? 300 : 0);
    EXPECT_EQ(rgbRows, c.opens && bmp->bitsPerPixel == 48 ? 1 : 0);
    for (const auto& band : {r.get(), g.get(), b.get()}) {
      const Bytes content = imagetest::bandContent(*band);
      EXPECT_TRUE(
          std::all_of(content.begin(), content.end(), [](std::uint8_t x) { return x == 0xFF; }));
    }
  }
}

}  // namespace
