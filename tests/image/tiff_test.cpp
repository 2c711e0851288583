// TIFF files built byte by byte: header forms, directory walks, strip tables, PackBits state
// and hostile files.
#include "image/tiff.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "image/image_support.h"
#include "support/support.h"

namespace {

using imagetest::Bytes;
using imagetest::TiffBytes;
using Entry = TiffBytes::Entry;
using Entries = std::vector<Entry>;

enum : std::uint16_t { kByte = 1, kAscii = 2, kShort = 3, kLong = 4, kSByte = 6, kSShort = 8 };
enum : std::uint16_t { kWidth = 256, kHeight = 257, kBits = 258, kCompression = 259 };
enum : std::uint16_t { kStrips = 273, kRowsPerStrip = 278 };

Entries grayEntries(std::uint32_t width, std::uint32_t height, std::uint32_t stripAt) {
  return {{kWidth, kLong, 1, width},
          {kHeight, kLong, 1, height},
          {kBits, kShort, 1, 8},
          {kStrips, kLong, 1, stripAt},
          {kRowsPerStrip, kLong, 1, height}};
}

void set(Entries& e, Entry entry) {
  std::erase_if(e, [&](const Entry& x) { return x.tag == entry.tag; });
  e.push_back(entry);
  std::sort(e.begin(), e.end(), [](const Entry& a, const Entry& b) { return a.tag < b.tag; });
}

void drop(Entries& e, std::uint16_t tag) {
  std::erase_if(e, [&](const Entry& x) { return x.tag == tag; });
}

// An 8-bit gray image with its pixel data first; `edit` may change the entries.
Bytes grayFile(bool big, std::uint32_t width, std::uint32_t height, const Bytes& data,
               const std::function<void(TiffBytes&, Entries&)>& edit = {}) {
  TiffBytes t(big);
  Entries e = grayEntries(width, height, t.append(data));
  if (edit) edit(t, e);
  t.setFirstDirectory(t.directory(e));
  return t.bytes();
}

class TiffFile {
 public:
  explicit TiffFile(const Bytes& bytes) {
    testsupport::writeFile(dir_ / "t.tif", bytes);
    rec_ = LXTiff_New((dir_ / "t.tif").c_str());
  }
  LXTiffRecT* operator->() const { return rec_.get(); }
  LXTiffRecT* get() const { return rec_.get(); }

 private:
  testsupport::TempDir dir_;
  std::unique_ptr<LXTiffRecT> rec_;
};

// Reads one band of 8-bit rows without inversion: the raw bytes of the file's rows.
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

TEST(TiffHeader, OnlyMatchingByteOrderMarksOpen) {
  const Bytes image = grayFile(false, 2, 1, {1, 2});
  const struct {
    Bytes head;
    bool opens;
  } cases[] = {{{'I', 'I', 42, 0}, true},
               {{'I', 'I', 0, 42}, false},
               {{'M', 'M', 42, 0}, false},
               {{'I', 'M', 42, 0}, false},
               {{'I', 'I'}, false}};
  for (const auto& c : cases) {
    Bytes file = image;
    std::copy(c.head.begin(), c.head.end(), file.begin());
    if (c.head.size() < 4) file.resize(c.head.size());
    testing::internal::CaptureStderr();
    TiffFile tif(file);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    ASSERT_NE(tif.get(), nullptr);
    EXPECT_EQ(tif->stream != nullptr, c.opens) << testsupport::hex(c.head);
    EXPECT_EQ(readRaw(tif.get(), 2, 1).size(), c.opens ? 1u : 0u);
  }
}

TEST(TiffHeader, BothByteOrdersReadTheSameImage) {
  const Bytes pixels = {9, 8, 7, 6, 5, 4};
  for (bool big : {false, true}) {
    TiffFile tif(grayFile(big, 3, 2, pixels, [](TiffBytes&, Entries& e) {
      set(e, {kWidth, kShort, 1, 3});
      set(e, {kRowsPerStrip, kShort, 1, 2});
    }));
    EXPECT_EQ(tif->width, 3u);
    EXPECT_EQ(tif->height, 2u);
    EXPECT_EQ(readRaw(tif.get(), 3, 4), (std::vector<Bytes>{{9, 8, 7}, {6, 5, 4}})) << big;
  }
}

struct OpenCase {
  const char* name;
  Bytes file;
  bool opens;
  std::uint32_t width, height;
  std::uint8_t bitsPerPixel;
  std::uint32_t firstStrip, rowsLeft;
};

std::vector<OpenCase> openCases() {
  const Bytes px(16, 0x11);  // pixel data at offset 8
  std::vector<OpenCase> cases;
  cases.push_back({"Plain", grayFile(false, 4, 4, px), true, 4, 4, 8, 8, 4});
  cases.push_back({"NoRowsPerStripIsOneStrip",
                   grayFile(true, 4, 4, px, [](TiffBytes&, Entries& e) { drop(e, kRowsPerStrip); }),
                   true, 4, 4, 8, 8, 0xFFFFFFFF});
  cases.push_back({"BitsPerSampleShortTriple",
                   grayFile(false, 2, 2, px,
                            [](TiffBytes& t, Entries& e) {
                              const Bytes eights = {8, 0, 8, 0, 8, 0};
                              set(e, {kBits, kShort, 3, t.append(eights)});
                            }),
                   true, 2, 2, 24, 8, 2});
  cases.push_back({"NoStripOffsets",
                   grayFile(false, 4, 4, px, [](TiffBytes&, Entries& e) { drop(e, kStrips); }),
                   false, 4, 4, 8, 0, 0});
  cases.push_back({"TextStripOffsets",
                   grayFile(false, 4, 4, px,
                            [](TiffBytes&, Entries& e) {
                              set(e, {kStrips, kAscii, 1, 8});
                            }),
                   false, 4, 4, 8, 0, 0});
  cases.push_back({"EmptyStripOffsets",
                   grayFile(false, 4, 4, px,
                            [](TiffBytes&, Entries& e) {
                              set(e, {kStrips, kLong, 0, 8});
                            }),
                   true, 4, 4, 8, 0, 4});
  cases.push_back({"ShortStripOffsetInline",
                   grayFile(true, 4, 4, px,
                            [](TiffBytes&, Entries& e) {
                              set(e, {kStrips, kShort, 1, 8});
                            }),
                   true, 4, 4, 8, 8, 4});
  // SHORT tables are indexed as 32-bit little-endian entries: two offsets make one.
  cases.push_back({"ShortStripOffsetTable",
                   grayFile(true, 4, 4, px,
                            [](TiffBytes& t, Entries& e) {
                              set(e, {kStrips, kShort, 3, t.append({0, 8, 0, 12, 0, 16})});
                            }),
                   true, 4, 4, 8, 0x000C0008, 4});
  cases.push_back({"StripTablePastEnd",
                   grayFile(false, 4, 4, px,
                            [](TiffBytes& t, Entries& e) {
                              set(e, {kStrips, kLong, 0x40000000, t.append(t.dword(8))});
                            }),
                   true, 4, 4, 8, 8, 4});
  {
    // A table that runs past the end is a failed read: the walk stops at its directory.
    TiffBytes t(false);
    const std::uint32_t data = t.append(px);
    const std::uint32_t second = t.directory(grayEntries(2, 3, data));
    Entries e = grayEntries(4, 4, data);
    set(e, {kStrips, kLong, 0x40000000, t.append(t.dword(8))});
    t.setFirstDirectory(t.directory(e, second));
    cases.push_back({"StripTablePastEndEndsWalk", t.bytes(), true, 4, 4, 8, 8, 4});
  }
  cases.push_back({"WidthBeyondFile", grayFile(false, 0x7FFFFFFF, 4, px), false, 0, 0, 8, 0, 0});
  cases.push_back(
      {"UncompressedRowLongerThanFile", grayFile(false, 4000, 4, px), false, 0, 0, 8, 0, 0});
  cases.push_back({"PackBitsRowFitsCompressed",
                   grayFile(false, 4000, 4, px,
                            [](TiffBytes&, Entries& e) {
                              set(e, {kCompression, kShort, 1, 32773});
                            }),
                   true, 4000, 4, 8, 8, 4});
  // Two images: the second directory wins, and a chain back to the first ends the walk.
  for (bool loop : {false, true}) {
    TiffBytes t(false);
    const std::uint32_t data = t.append(px);
    const std::uint32_t second = t.directory(grayEntries(2, 3, data + 4));
    const std::uint32_t first = t.directory(grayEntries(4, 4, data), second);
    t.setFirstDirectory(first);
    if (loop) t.patch32(second + 2 + 5 * 12, first);
    cases.push_back({loop ? "DirectoryLoop" : "TwoDirectories", t.bytes(), true, 2, 3, 8, 12, 3});
  }
  {
    TiffBytes t(true);  // an entry count far beyond the file's end
    Bytes dir = t.word(0xFFFF);
    for (const Entry& e : grayEntries(4, 4, 8)) {
      const Bytes b = t.entryBytes(e);
      dir.insert(dir.end(), b.begin(), b.end());
    }
    t.append(px);
    t.setFirstDirectory(t.append(dir));
    cases.push_back({"TruncatedDirectory", t.bytes(), true, 4, 4, 8, 8, 4});
  }
  return cases;
}

TEST(TiffOpen, DirectoryWalkAndStripTables) {
  for (const OpenCase& c : openCases()) {
    SCOPED_TRACE(c.name);
    TiffFile tif(c.file);
    ASSERT_NE(tif.get(), nullptr);
    EXPECT_EQ(tif->stream != nullptr, c.opens);
    EXPECT_EQ(tif->width, c.width);
    EXPECT_EQ(tif->height, c.height);
    EXPECT_EQ(tif->bitsPerPixel, c.bitsPerPixel);
    if (!c.opens) continue;
    EXPECT_EQ(tif->firstStripOffset, c.firstStrip);
    EXPECT_EQ(tif->rowsLeftInStrip, c.rowsLeft);
    EXPECT_EQ(tif->compression == 1 ? tif->planarConfiguration : 1u, 1u);
  }
}

TEST(TiffOpen, SampleDepthsOfAShortTriple) {
  TiffFile tif(grayFile(false, 5, 1, Bytes(15, 0), [](TiffBytes& t, Entries& e) {
    set(e, {kBits, kShort, 3, t.append({8, 0, 8, 0, 8, 0})});
  }));
  EXPECT_EQ(tif->bitsPerSample, (std::array<std::uint8_t, 4>{8, 8, 8, 8}));
  EXPECT_EQ(tif->sampleRowBytes, (std::array<std::uint32_t, 4>{5, 5, 5, 5}));
  EXPECT_EQ(tif->rowBytes, 15u);
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
      {kSShort, 3, {}, 0x019C, 0x9C01 - 0x10000},
      {kLong, 1, {1, 2, 3, 4}, 0x04030201, 0x01020304},
      {9, 2, {}, 0x0302019C, static_cast<std::int32_t>(0x9C010203)},
      {kAscii, 1, {7, 0, 0, 0}, 0, 0},
      {5, 1, {}, 0, 0},
      {7, 1, {7, 0, 0, 0}, 0, 0},
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
  TiffBytes t(false);
  // Strip 0 ends inside a ten-byte literal; strip 1 must start with a header.
  const std::uint32_t s0 = t.append({0x09, 1, 2, 3, 4, 5, 6, 7, 8, 99, 100});
  t.append({0x55, 0x55});
  const std::uint32_t s1 = t.append({0xFD, 0x11, 0x03, 0x22, 0x33, 0x44, 0x55});
  const std::uint32_t table = t.append(t.dword(s0));
  t.append(t.dword(s1));
  Entries e = grayEntries(4, 4, 0);
  set(e, {kStrips, kLong, 2, table});
  set(e, {kRowsPerStrip, kShort, 1, 2});
  set(e, {kCompression, kShort, 1, 32773});
  t.setFirstDirectory(t.directory(e));
  TiffFile tif(t.bytes());
  const std::vector<Bytes> rows = {
      {1, 2, 3, 4}, {5, 6, 7, 8}, {0x11, 0x11, 0x11, 0x11}, {0x22, 0x33, 0x44, 0x55}};
  EXPECT_EQ(readRaw(tif.get(), 4, 4), rows);
  LXTiff_Rewind(tif.get());
  EXPECT_EQ(readRaw(tif.get(), 4, 1), std::vector<Bytes>{rows[0]});
}

// Hostile files open or not, but every read stays inside its buffers (run under ASan).
TEST(TiffHostile, ReadsStayInBounds) {
  const Bytes px = {1, 2, 3, 4, 5, 6, 7, 8};
  const struct {
    const char* name;
    Bytes file;
    std::int32_t firstRead;
  } cases[] = {
      {"StripPastEnd",
       grayFile(false, 4, 2, px,
                [](TiffBytes&, Entries& e) {
                  set(e, {kStrips, kLong, 1, 0x7FFFFFF0});
                }),
       2},
      {"ZeroRowsPerStrip",
       grayFile(true, 4, 2, px,
                [](TiffBytes&, Entries& e) {
                  set(e, {kRowsPerStrip, kLong, 1, 0});
                }),
       2},
      {"HugeHeight", grayFile(false, 4, 0xFFFFFFFF, px), 3},
      {"HugeStripCount",
       grayFile(false, 4, 2, px,
                [](TiffBytes&, Entries& e) {
                  set(e, {kStrips, kLong, 0xFFFFFFFF, 8});
                  set(e, {kRowsPerStrip, kLong, 1, 1});
                }),
       2},
      {"TruncatedPackBits",
       grayFile(false, 4, 2, {0x7F, 1},
                [](TiffBytes&, Entries& e) {
                  set(e, {kCompression, kShort, 1, 32773});
                }),
       2},
      {"AbsurdBitsPerSample",
       grayFile(false, 1, 2, px,
                [](TiffBytes& t, Entries& e) {
                  set(e, {kBits, kShort, 3, t.append({255, 0, 255, 0, 255, 0})});
                }),
       0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    TiffFile tif(c.file);
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

// An RGB image read as CMYK gathers four-byte pixels from three-byte rows.
TEST(TiffHostile, ChannelGatherPastTheRow) {
  TiffFile tif(grayFile(false, 3, 1, Bytes(9, 0x40), [](TiffBytes& t, Entries& e) {
    set(e, {kBits, kShort, 3, t.append({8, 0, 8, 0, 8, 0})});
    set(e, {262, kShort, 1, 5});
  }));
  auto band = imagetest::makeBand(8, 3, 1);
  EXPECT_EQ(LXTiff_ReadNextRasterBlockCMYK(tif.get(), band.get(), nullptr, 3), 1);
  EXPECT_EQ(Bytes(band->baseAddr, band->baseAddr + 3), (Bytes{0x40, 0x40, 0}));
}

// One-bit ink from 8-bit channels: light images ink where the inverted value is 0.
TEST(TiffCmyk, OneBitInkFollowsPhotometric) {
  const Bytes pixel = {0, 0, 0, 0, 0, 0, 0, 255, 0, 0, 0, 1, 0, 0, 0, 0};
  for (const auto& [photometric, expected] :
       std::vector<std::pair<std::uint32_t, std::uint8_t>>{{1, 0x40}, {5, 0x60}, {0, 0x60}}) {
    TiffFile tif(grayFile(false, 4, 1, pixel, [photometric](TiffBytes& t, Entries& e) {
      set(e, {kBits, kShort, 4, t.append({8, 0, 8, 0, 8, 0, 8, 0})});
      set(e, {262, kShort, 1, photometric});
    }));
    auto band = imagetest::makeBand(1, 4, 1);
    EXPECT_EQ(LXTiff_ReadNextRasterBlockCMYK(tif.get(), band.get(), nullptr, 3), 1);
    EXPECT_EQ(band->baseAddr[0], expected) << photometric;
  }
}

}  // namespace
