// TIFF files built byte by byte: header forms, directory walks, strip tables, PackBits state
// and hostile files.
#include "image/tiff.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>

#include "support/image_support.h"
#include "support/support.h"

namespace {

using imagetest::Bytes;
using imagetest::grayFile;
using imagetest::kExtraAt;

enum : std::uint16_t { kByte = 1, kAscii = 2, kShort = 3, kLong = 4, kSByte = 6, kSShort = 8 };
enum : std::uint16_t { kWidth = 256, kBits = 258, kCompression = 259, kPhotometric = 262 };
enum : std::uint16_t { kStrips = 273, kRowsPerStrip = 278 };

// Opening writes nothing to stderr, whether the file is taken or refused.
std::unique_ptr<LXTiffRecT> openTiff(const Bytes& bytes) {
  testsupport::TempDir dir;
  testsupport::writeFile(dir / "t.tif", bytes);
  testing::internal::CaptureStderr();
  auto rec = LXTiff_New((dir / "t.tif").c_str());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  return rec;
}

// One band of 8-bit rows read without inversion: the raw bytes of the file's rows.
std::vector<Bytes> readRaw(LXTiffRecT* rec, int width, int rows, std::int32_t* count = nullptr) {
  auto band = imagetest::makeBand(8, width, rows);
  const std::int32_t n = LXTiff_ReadNextRasterBlock(rec, band.get(), kRGBSenseTable);
  if (count != nullptr) *count = n;
  std::vector<Bytes> out;
  for (std::int32_t r = 0; r < n; ++r) {
    const unsigned char* row = band->baseAddr + r * band->rowBytes;
    out.emplace_back(row, row + width);
  }
  return out;
}

TEST(TiffOpen, DirectoryWalkAndStripTables) {
  using imagetest::directoryBytes;
  using imagetest::grayEntries;
  const Bytes second = directoryBytes(false, grayEntries(2, 3, 12), 0);  // 66 bytes
  Bytes truncated = grayFile({.big = true});
  truncated[kExtraAt] = truncated[kExtraAt + 1] = 0xFF;  // 65535 entries in a short file
  const auto withHead = [](Bytes head) {
    Bytes file = grayFile({});
    std::copy(head.begin(), head.end(), file.begin());
    if (head.size() < 4) file.resize(head.size());
    return file;
  };
  Bytes secondAndTable = second;
  secondAndTable.insert(secondAndTable.end(), {8, 0, 0, 0});
  const struct {
    const char* name;
    Bytes file;
    bool opens;
    std::uint32_t width, height;
    std::uint8_t bitsPerPixel;
    std::uint32_t firstStrip, rowsLeft;
  } cases[] = {
      {"MixedByteOrderII", withHead({'I', 'I', 0, 42}), false, 0, 0, 1, 0, 0},
      {"ShortHeader", withHead({'I', 'I'}), false, 0, 0, 1, 0, 0},
      {"NoRowsPerStripIsOneStrip", grayFile({.big = true, .drop = {kRowsPerStrip}}), true, 4, 4, 8,
       8, 0xFFFFFFFF},
      {"TextStripOffsets", grayFile({.set = {{kStrips, kAscii, 1, 8}}}), false, 4, 4, 8, 0, 0},
      {"EmptyStripOffsets", grayFile({.set = {{kStrips, kLong, 0, 8}}}), true, 4, 4, 8, 0, 4},
      {"ShortStripOffsetInline", grayFile({.big = true, .set = {{kStrips, kShort, 1, 8}}}), true, 4,
       4, 8, 8, 4},
      // SHORT tables are indexed as 32-bit little-endian entries: two offsets make one.
      {"ShortStripOffsetTable",
       grayFile(
           {.big = true, .set = {{kStrips, kShort, 3, kExtraAt}}, .extra = {0, 8, 0, 12, 0, 16}}),
       true, 4, 4, 8, 0x000C0008, 4},
      {"WidthBeyondFile", grayFile({.width = 0x7FFFFFFF}), false, 0, 0, 8, 0, 0},
      // No more rows than the file holds: 102 bytes of PackBits decode to 6528 at most.
      {"PackBitsRowFitsCompressed",
       grayFile({.width = 4000, .set = {{kCompression, kShort, 1, 32773}}}), true, 4000, 1, 8, 8,
       4},
      {"HeightCutToFile", grayFile({.height = 0x80000000}), true, 4, 22, 8, 8, 0x80000000},
      // The last directory wins; a chain back to a walked directory ends the walk.
      {"TwoDirectories", grayFile({.extra = second, .next = kExtraAt}), true, 2, 3, 8, 12, 3},
      {"LaterStripsOfNoTypeKeepTheTable",
       grayFile({.extra = directoryBytes(false, {{kStrips, 0xFFFF, 1, 12}}, 0), .next = kExtraAt}),
       true, 4, 4, 8, 8, 4},
      {"DirectoryLoop",
       grayFile({.extra = directoryBytes(false, grayEntries(2, 3, 12), kExtraAt + 66),
                 .next = kExtraAt}),
       true, 2, 3, 8, 12, 3},
      // A table running past the end is a failed read: the walk stops at its directory.
      {"StripTablePastEndEndsWalk",
       grayFile({.set = {{kStrips, kLong, 0x40000000, kExtraAt + 66}},
                 .extra = secondAndTable,
                 .next = kExtraAt}),
       true, 4, 4, 8, 8, 4},
      {"TruncatedDirectory", truncated, true, 4, 4, 8, 8, 4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto tif = openTiff(c.file);
    ASSERT_NE(tif.get(), nullptr);
    EXPECT_EQ(tif->stream != nullptr, c.opens);
    EXPECT_EQ(tif->width, c.width);
    EXPECT_EQ(tif->height, c.height);
    EXPECT_EQ(tif->bitsPerPixel, c.bitsPerPixel);
    if (!c.opens) {
      EXPECT_EQ(readRaw(tif.get(), 4, 1).size(), 0u);
      continue;
    }
    EXPECT_EQ(tif->firstStripOffset, c.firstStrip);
    EXPECT_EQ(tif->rowsLeftInStrip, c.rowsLeft);
    EXPECT_EQ(tif->sampleRowBytes[3], c.bitsPerPixel == 24 ? c.width : (c.width + 7) / 8);
  }
}

TEST(TiffOpen, ReadOneIntegerByTypeAndCount) {
  // At offset 8 of the file: 9C 01 02 03.
  const struct {
    std::uint16_t type;
    std::uint32_t count;
    Bytes value;  // the value field, or empty for "the offset 8"
    std::int32_t little, big;
  } cases[] = {
      {kByte, 4, {0xF0, 1, 2, 3}, 0xF0, 0xF0},
      {kByte, 5, {}, 0x9C, 0x9C},
      {kSByte, 4, {0xF0, 1, 2, 3}, -16, -16},
      {kSByte, 5, {}, -100, -100},
      {kShort, 2, {0x12, 0x34, 0, 0}, 0x3412, 0x1234},
      {kShort, 3, {}, 0x019C, 0x9C01},
      {kSShort, 1, {0xFF, 0xFE, 0, 0}, -257, -2},
      {9, 2, {}, 0x0302019C, static_cast<std::int32_t>(0x9C010203)},
      {kAscii, 1, {7, 0, 0, 0}, 0, 0},
      {5, 1, {}, 0, 0},
      {12, 1, {7, 0, 0, 0}, 0, 0},
  };
  testsupport::TempDir dir;
  testsupport::writeFile(dir / "v", Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0x9C, 1, 2, 3});
  for (char order : {'I', 'M'}) {
    LXTiffRecT rec;
    rec.byteOrder = order;
    rec.stream.reset(std::fopen((dir / "v").c_str(), "rb"));
    for (const auto& c : cases) {
      LXTiffIFDT e{kWidth, c.type, c.count, {}};
      const Bytes offset = order == 'I' ? Bytes{8, 0, 0, 0} : Bytes{0, 0, 0, 8};
      const Bytes& v = c.value.empty() ? offset : c.value;
      std::copy(v.begin(), v.end(), e.value.begin());
      EXPECT_EQ(readOneInteger(&rec, e), order == 'I' ? c.little : c.big)
          << order << " type " << c.type << " count " << c.count;
    }
  }
}

TEST(TiffPackBits, RunStateAcrossRows) {
  const struct {
    Bytes stream;
    std::vector<std::size_t> rows;
    std::vector<Bytes> expected;
  } cases[] = {
      {{0x80, 0xFE, 0xAA}, {3}, {{0xAA, 0xAA, 0xAA}}},
      // A literal run continues into the next row; a repeat is cut at the row's end.
      {{0x02, 1, 2, 3, 0xFF, 9, 0x01, 7, 8}, {2, 2, 2}, {{1, 2}, {3, 9}, {7, 8}}},
      {{0x05, 1}, {3}, {{1, 0, 0}}},
  };
  testsupport::TempDir dir;
  for (const auto& c : cases) {
    testsupport::writeFile(dir / "p", c.stream);
    LXTiffRecT rec;
    rec.stream.reset(std::fopen((dir / "p").c_str(), "rb"));
    for (std::size_t i = 0; i < c.rows.size(); ++i) {
      Bytes row(c.rows[i], 0);
      unpackbits(&rec, row);
      EXPECT_EQ(row, c.expected[i]) << testsupport::hex(c.stream) << " row " << i;
    }
  }
}

TEST(TiffPackBits, StateResetsAtStripStart) {
  // Strip 0 (offset 8) ends inside a ten-byte literal; strip 1 (offset 21) starts with a header.
  const Bytes strips = {0x09, 1,    2,    3,    4,    5,    6,    7,    8,    99,
                        100,  0x55, 0x55, 0xFD, 0x11, 0x03, 0x22, 0x33, 0x44, 0x55};
  auto tif = openTiff(grayFile({.set = {{kCompression, kShort, 1, 32773},
                                        {kStrips, kLong, 2, 28},
                                        {kRowsPerStrip, kShort, 1, 2}},
                                .extra = {8, 0, 0, 0, 21, 0, 0, 0},
                                .pixels = strips}));
  const std::vector<Bytes> rows = {
      {1, 2, 3, 4}, {5, 6, 7, 8}, {0x11, 0x11, 0x11, 0x11}, {0x22, 0x33, 0x44, 0x55}};
  EXPECT_EQ(readRaw(tif.get(), 4, 4), rows);
  LXTiff_Rewind(tif.get());
  EXPECT_EQ(readRaw(tif.get(), 4, 1), std::vector<Bytes>{rows[0]});
}

// Hostile files open, and every read stays inside its buffers (run under ASan).
TEST(TiffHostile, ReadsStayInBounds) {
  const struct {
    const char* name;
    Bytes file;
    std::int32_t firstRead;
  } cases[] = {
      {"StripPastEnd", grayFile({.height = 2, .set = {{kStrips, kLong, 1, 0x7FFFFFF0}}}), 2},
      {"ZeroRowsPerStrip",
       grayFile({.big = true, .height = 2, .set = {{kRowsPerStrip, kLong, 1, 0}}}), 2},
      {"HugeHeight", grayFile({.height = 0xFFFFFFFF}), 3},
      {"HugeStripCount",
       grayFile(
           {.height = 2, .set = {{kStrips, kLong, 0xFFFFFFFF, 8}, {kRowsPerStrip, kLong, 1, 1}}}),
       2},
      {"AbsurdBitsPerSample",
       grayFile(
           {.width = 1, .set = {{kBits, kShort, 3, kExtraAt}}, .extra = {255, 0, 255, 0, 255, 0}}),
       0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto tif = openTiff(c.file);
    ASSERT_NE(tif->stream, nullptr);
    std::int32_t n = -1;
    readRaw(tif.get(), 4, 3, &n);
    EXPECT_EQ(n, c.firstRead);
    for (int channel = 0; channel < 4; ++channel) {
      auto band = imagetest::makeBand(8, 4, 3);
      LXTiff_Rewind(tif.get());
      LXTiff_ReadNextRasterBlockCMYK(tif.get(), band.get(), nullptr, channel);
    }
  }
}

TEST(TiffCmyk, ChannelsOfShortRowsAndOneBitInk) {
  // An RGB row read as CMYK: the black channel of the last pixel lies past the row.
  auto rgb = openTiff(grayFile({.width = 3,
                                .height = 1,
                                .set = {{kBits, kShort, 3, kExtraAt}, {kPhotometric, kShort, 1, 5}},
                                .extra = {8, 0, 8, 0, 8, 0},
                                .pixels = Bytes(9, 0x40)}));
  auto band = imagetest::makeBand(8, 3, 1);
  EXPECT_EQ(LXTiff_ReadNextRasterBlockCMYK(rgb.get(), band.get(), nullptr, 3), 1);
  EXPECT_EQ(Bytes(band->baseAddr, band->baseAddr + 3), (Bytes{0x40, 0x40, 0}));

  // One-bit ink from 8-bit channels: light images ink where the inverted value is 0.
  const Bytes pixels = {0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0, 1, 0, 0, 0, 0};
  for (const auto& [photometric, expected] :
       std::vector<std::pair<std::uint32_t, std::uint8_t>>{{1, 0x40}, {5, 0x60}, {0, 0x60}}) {
    auto tif = openTiff(
        grayFile({.height = 1,
                  .set = {{kBits, kShort, 4, kExtraAt}, {kPhotometric, kShort, 1, photometric}},
                  .extra = {8, 0, 8, 0, 8, 0, 8, 0},
                  .pixels = pixels}));
    auto bits = imagetest::makeBand(1, 4, 1);
    EXPECT_EQ(LXTiff_ReadNextRasterBlockCMYK(tif.get(), bits.get(), nullptr, 3), 1);
    EXPECT_EQ(bits->baseAddr[0], expected) << photometric;
  }
}

}  // namespace

TEST(TiffBands, EightBitReadsLeaveNoStaleBandBytes) {
  // Five rows of three pixels into a band of four rows whose stride has a byte past the width;
  // the band starts dirty before every call, and the second call reads the one row left.
  Bytes pixels(60);
  for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>(i * 7);
  struct Case {
    bool cmyk;
    std::uint32_t photometric;
    const unsigned char* table;
    std::uint8_t clear;
    std::uint8_t flip;
  };
  for (const Case& c :
       {Case{true, 5, nullptr, 0x00, 0x00}, Case{true, 1, nullptr, 0x00, 0xFF},
        Case{true, 1, kRGBSenseTable, 0xFF, 0x00}, Case{false, 1, nullptr, 0x00, 0xFF},
        Case{false, 0, nullptr, 0x00, 0x00}, Case{false, 1, kRGBSenseTable, 0xFF, 0x00}}) {
    SCOPED_TRACE(testing::Message() << c.cmyk << " " << c.photometric << " " << int{c.clear});
    const std::size_t samples = c.cmyk ? 4 : 1;
    imagetest::Gray file{.width = 3,
                         .height = 5,
                         .set = {{kPhotometric, kShort, 1, c.photometric}},
                         .pixels = Bytes(pixels.begin(), pixels.begin() + 15 * samples)};
    if (c.cmyk) {
      file.set.push_back({kBits, kShort, 4, 68});
      file.extra = {8, 0, 8, 0, 8, 0, 8, 0};
    }
    auto tif = openTiff(grayFile(file));
    auto band = imagetest::makeBand(8, 3, 4);
    ASSERT_EQ(band->rowBytes, 4u);
    const auto read = [&] {
      std::fill(band->pixels.begin(), band->pixels.end(), 0xAB);
      return c.cmyk ? LXTiff_ReadNextRasterBlockCMYK(tif.get(), band.get(), c.table, 1)
                    : LXTiff_ReadNextRasterBlock(tif.get(), band.get(), c.table);
    };
    const auto expect = [&](int firstRow, int rows) {
      Bytes want(16, c.clear);
      for (int r = 0; r < rows; ++r) {
        for (int x = 0; x < 3; ++x) {
          const std::size_t pixel = static_cast<std::size_t>((firstRow + r) * 3 + x);
          want[r * 4 + x] = pixels[pixel * samples + (c.cmyk ? 1 : 0)] ^ c.flip;
        }
      }
      EXPECT_EQ(imagetest::bandContent(*band), want);
    };
    EXPECT_EQ(read(), 4);
    expect(0, 4);
    EXPECT_EQ(read(), 1);
    expect(4, 1);
    EXPECT_EQ(read(), 0);
    expect(0, 0);
  }
}

// Four ink readers of one file, alone or sharing its reads row by row, see the file's rows:
// strip 0 crosses the window's refill size; strip 1 starts 9008 bytes before the file's end,
// so its third row reads 1000 bytes and keeps the rest of the row before it. A file cut short
// after the first band still gives the rows counted.
TEST(TiffSharedReads, InkReadersAloneOrInStep) {
  constexpr std::size_t kRow = 4004;
  const auto extraAt = static_cast<std::uint32_t>(8 + kRow * 75);
  Bytes file = grayFile({.width = 1001,
                         .height = 75,
                         .set = {{kBits, kShort, 4, extraAt},
                                 {kPhotometric, kShort, 1, 5},
                                 {kStrips, kLong, 2, extraAt + 8},
                                 {kRowsPerStrip, kShort, 1, 70}},
                         .extra = {8, 0, 8, 0, 8, 0, 8, 0, 8, 0, 0, 0, 0, 0, 0, 0},
                         .pixels = imagetest::patternBytes(kRow * 75, 3)});
  const std::size_t strip1 = file.size() - 2 * kRow - 1000;
  for (int i = 0; i < 4; ++i) file[extraAt + 12 + i] = static_cast<std::uint8_t>(strip1 >> 8 * i);
  Bytes row(kRow), want;  // each row's four channels one after another
  for (std::size_t r = 0, at = 8; r < 75; ++r, at = r == 70 ? strip1 : at + kRow) {
    const auto from = [&](std::size_t i) { return file.begin() + std::min(i, file.size()); };
    std::copy(from(at), from(at + kRow), row.begin());
    for (std::size_t i = 0; i < kRow; ++i) want.push_back(row[i % 1001 * 4 + i / 1001]);
  }
  for (const int pass : {0, 1, 2}) {
    testsupport::TempDir dir;
    testsupport::writeFile(dir / "c.tif", file);
    std::array<std::unique_ptr<LXTiffRecT>, 4> readers;
    std::array<std::unique_ptr<LXGWorld>, 4> bands;
    std::array<LXTiffChannelRead, 4> reads;
    for (int k = 0; k < 4; ++k) {
      readers[k] = LXTiff_New((dir / "c.tif").c_str());
      if (pass > 0) LXTiff_ShareReads(readers[0].get(), readers[k].get());
      bands[k] = imagetest::makeBand(8, 1001, 32);
      reads[k] = {readers[k].get(), bands[k].get(), nullptr, k};
    }
    Bytes got;
    std::vector<std::int32_t> counts;
    for (std::int32_t rows = 32; rows == 32; counts.push_back(rows)) {
      for (int k = 0; k < (pass > 0 ? 1 : 4); ++k) {
        rows = pass > 0
                   ? LXTiff_ReadNextRasterBlocksCMYK(reads)
                   : LXTiff_ReadNextRasterBlockCMYK(readers[k].get(), bands[k].get(), nullptr, k);
      }
      for (std::int32_t r = 0; r < rows * 4; ++r) {
        const unsigned char* at = bands[r % 4]->baseAddr + r / 4 * bands[0]->rowBytes;
        got.insert(got.end(), at, at + 1001);
      }
      if (pass == 2) std::filesystem::resize_file(dir / "c.tif", 100000);
    }
    EXPECT_EQ(counts, (std::vector<std::int32_t>{32, 32, 11})) << "pass " << pass;
    if (pass < 2) {
      EXPECT_EQ(got, want) << "pass " << pass;
    }
  }
}
