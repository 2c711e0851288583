// Band contents of the TIFF readers against libtiff's own decoding of the same files.
#include <gtest/gtest.h>
#include <tiffio.h>

#include <algorithm>
#include <string>

#include "image/lxbmp.h"
#include "support/image_support.h"
#include "support/support.h"

namespace {

using imagetest::Bytes;

enum class Reader { kGray, kRGB, kCMYK };

struct DecodeCase {
  const char* name;
  bool bigEndian;
  std::uint16_t bits, samples, photometric, compression;
  std::uint32_t width;
  Reader reader;
  int depth;
  int channel = 0;
  const unsigned char* table = nullptr;
};

constexpr std::uint32_t kHeight = 10;
constexpr std::uint32_t kRowsPerStrip = 3;
constexpr int kBandRows = 4;
constexpr std::uint16_t kNone = COMPRESSION_NONE;
constexpr std::uint16_t kPackBits = COMPRESSION_PACKBITS;

void writeTiff(const std::string& path, const DecodeCase& c) {
  TIFF* tif = TIFFOpen(path.c_str(), c.bigEndian ? "wb" : "wl");
  ASSERT_NE(tif, nullptr);
  TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, c.width);
  TIFFSetField(tif, TIFFTAG_IMAGELENGTH, kHeight);
  TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, c.bits);
  TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, c.samples);
  TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, c.photometric);
  TIFFSetField(tif, TIFFTAG_COMPRESSION, c.compression);
  TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, kRowsPerStrip);
  TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  if (c.photometric == PHOTOMETRIC_SEPARATED) TIFFSetField(tif, TIFFTAG_INKSET, INKSET_CMYK);
  const auto lineBytes = static_cast<std::size_t>(TIFFScanlineSize(tif));
  for (std::uint32_t row = 0; row < kHeight; ++row) {
    const Bytes b = imagetest::patternBytes(lineBytes, row + 7 * c.width);
    std::vector<std::uint16_t> wide(lineBytes / 2);
    for (std::size_t i = 0; i < wide.size(); ++i)
      wide[i] = std::uint16_t(b[2 * i] << 8 | b[2 * i + 1]);
    void* line =
        c.bits == 16 ? static_cast<void*>(wide.data()) : const_cast<std::uint8_t*>(b.data());
    ASSERT_EQ(TIFFWriteScanline(tif, line, row, 0), 1);
  }
  TIFFClose(tif);
}

// libtiff's decoding: bytes for 1-bit rows, one value a sample otherwise.
std::vector<std::vector<std::uint16_t>> decode(const std::string& path, std::uint16_t bits) {
  TIFF* tif = TIFFOpen(path.c_str(), "r");
  std::vector<std::vector<std::uint16_t>> rows;
  const auto lineBytes = static_cast<std::size_t>(TIFFScanlineSize(tif));
  for (std::uint32_t r = 0; r < kHeight; ++r) {
    std::vector<std::uint16_t> wide(lineBytes / 2);
    Bytes line(lineBytes);
    TIFFReadScanline(tif, bits == 16 ? static_cast<void*>(wide.data()) : line.data(), r, 0);
    rows.push_back(bits == 16 ? wide : std::vector<std::uint16_t>(line.begin(), line.end()));
  }
  TIFFClose(tif);
  return rows;
}

// Ten-bit values of 16-bit samples: sample 0 of each group keeps its high byte and the two
// lowest bits, the others their top ten bits.
std::vector<std::uint16_t> tenBitsOf16(const std::vector<std::uint16_t>& samples) {
  std::vector<std::uint16_t> out;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::uint16_t s = samples[i];
    out.push_back(i % 4 == 0 ? std::uint16_t((s >> 8) << 2 | (s & 3)) : std::uint16_t(s >> 6));
  }
  return out;
}

Bytes packLevels(const std::vector<std::uint16_t>& levels, int bits) {
  Bytes out((levels.size() * bits + 7) / 8, 0);
  for (std::size_t i = 0; i < levels.size(); ++i) {
    out[i * bits / 8] |= std::uint8_t(levels[i] << (8 - bits - int(i * bits % 8)));
  }
  return out;
}

// What the described conversion makes of one decoded row for one band.
Bytes expectedRow(const DecodeCase& c, const std::vector<std::uint16_t>& s, int plane,
                  std::uint32_t stride) {
  const std::size_t w = c.width;
  const bool invert = c.photometric == 1 && c.table != kRGBSenseTable;
  std::vector<std::uint16_t> v;
  if (c.reader == Reader::kGray && c.bits == 1) {
    Bytes out(s.begin(), s.begin() + std::min<std::size_t>(s.size(), stride));
    if (w % 8) out[w / 8] &= std::uint8_t(0xFF << (8 - w % 8));
    return out;
  }
  const std::size_t step = c.reader == Reader::kGray ? 1 : c.samples;
  const int offset = c.reader == Reader::kRGB ? plane : c.channel;
  for (std::size_t i = 0; i < w; ++i) {
    const std::uint16_t x = s[i * step + (c.reader == Reader::kGray ? 0 : offset)];
    v.push_back(invert ? std::uint16_t((c.bits == 16 ? 0xFFFF : 0xFF) - x) : x);
  }
  const std::uint16_t fill = c.reader == Reader::kRGB ? (c.bits == 16 ? 0xFFFF : 0xFF) : 0;
  if (c.depth == 8) return Bytes(v.begin(), v.end());
  if (c.depth == 1) {
    Bytes out((w + 7) / 8, 0);
    for (std::size_t i = 0; i < w; ++i) {
      if (v[i] != 0) out[i / 8] |= std::uint8_t(0x80 >> (i % 8));
    }
    return out;
  }
  if (c.depth == 2 || c.depth == 4) {
    const unsigned char* table = c.table ? c.table : reductionTable(c.depth == 2 ? 4 : 16);
    for (auto& x : v) x = table[c.reader == Reader::kGray ? 255 - s[&x - v.data()] : x];
    return packLevels(v, c.depth);
  }
  // A channel's 16-bit samples are counted against the band's row bytes: the row is cut.
  if (c.reader == Reader::kCMYK && c.bits == 16) v.resize(std::min<std::size_t>(2 * w, stride) / 2);
  while (v.size() % 4 != 0) v.push_back(fill);
  if (c.bits == 16) return imagetest::packTenBit(tenBitsOf16(v));
  for (auto& x : v) x = std::uint16_t(x << 2);
  return imagetest::packTenBit(v);
}

void PrintTo(const DecodeCase& c, std::ostream* os) {
  *os << c.name;
}

class TiffDecode : public testing::TestWithParam<DecodeCase> {};

TEST_P(TiffDecode, BandsMatchLibtiffRowByRow) {
  const DecodeCase& c = GetParam();
  testsupport::TempDir dir;
  const std::string path = (dir / "image.tif").string();
  writeTiff(path, c);
  const auto decoded = decode(path, c.bits);

  auto handle = LXBMP_New(path.c_str());
  ASSERT_NE(handle, nullptr);
  const int width = static_cast<int>(LXBMP_GetWidth(handle.get()));
  ASSERT_EQ(width, static_cast<int>(c.width));
  const int planes = c.reader == Reader::kRGB ? 3 : 1;
  std::vector<std::unique_ptr<LXGWorld>> bands;
  for (int p = 0; p < planes; ++p) bands.push_back(imagetest::makeBand(c.depth, width, kBandRows));
  const std::uint8_t blank = c.reader == Reader::kRGB || c.table == kRGBSenseTable ? 0xFF : 0x00;

  std::uint32_t done = 0;
  for (int call = 0; call < 5; ++call) {
    const std::int32_t rows =
        c.reader == Reader::kGray ? LXBMP_ReadNextRasterBlock(handle.get(), bands[0].get(), c.table)
        : c.reader == Reader::kCMYK
            ? LXBMP_ReadNextRasterBlockCMYK(handle.get(), bands[0].get(), c.table, c.channel)
            : LXBMP_ReadNextRasterBlockRGB(handle.get(), bands[0].get(), bands[1].get(),
                                           bands[2].get());
    ASSERT_EQ(rows, static_cast<std::int32_t>(std::min<std::uint32_t>(kBandRows, kHeight - done)));
    if (rows == 0) break;
    for (int p = 0; p < planes; ++p) {
      const std::uint32_t stride = bands[p]->rowBytes;
      Bytes expected(stride * kBandRows, blank);
      for (int r = 0; r < rows; ++r) {
        const Bytes row = expectedRow(c, decoded[done + r], p, stride);
        for (std::size_t i = 0; i < row.size() && r * stride + i < expected.size(); ++i) {
          expected[r * stride + i] = row[i];
        }
      }
      const Bytes actual = imagetest::bandContent(*bands[p]);
      for (int r = 0; r < kBandRows; ++r) {
        const auto row = [&](const Bytes& b) {
          return testsupport::hex(Bytes(b.begin() + r * stride, b.begin() + (r + 1) * stride));
        };
        EXPECT_EQ(row(actual), row(expected)) << "plane " << p << ", image row " << done + r;
      }
    }
    done += static_cast<std::uint32_t>(rows);
  }
  EXPECT_EQ(done, kHeight);
  LXBMP_Delete(std::move(handle));
}

const DecodeCase kCases[] = {
    {"Gray1BlackIsZero_MM_PackBits", true, 1, 1, 1, kPackBits, 21, Reader::kGray, 1},
    {"Gray8BlackIsZero_II", false, 8, 1, 1, kNone, 13, Reader::kGray, 8},
    {"Gray8RGBSense_II", false, 8, 1, 1, kNone, 13, Reader::kGray, 8, 0, kRGBSenseTable},
    {"Gray8To2_MM_PackBits", true, 8, 1, 1, kPackBits, 13, Reader::kGray, 2},
    {"Gray8To2ThreeLevels_II", false, 8, 1, 1, kNone, 13, Reader::kGray, 2, 0, reductionTable(3)},
    {"Gray8To4_II", false, 8, 1, 0, kNone, 13, Reader::kGray, 4},
    {"Gray8WhiteIsZeroTo10_MM_PackBits", true, 8, 1, 0, kPackBits, 5, Reader::kGray, 10},
    {"Gray16To10_II", false, 16, 1, 1, kNone, 13, Reader::kGray, 10},
    {"Gray16WhiteIsZeroTo10_MM_PackBits", true, 16, 1, 0, kPackBits, 6, Reader::kGray, 10},
    {"Rgb24To8_II", false, 8, 3, 2, kNone, 13, Reader::kRGB, 8},
    {"Rgb24To10_MM_PackBits", true, 8, 3, 2, kPackBits, 13, Reader::kRGB, 10},
    {"Rgb48To10_II", false, 16, 3, 2, kNone, 13, Reader::kRGB, 10},
    {"Cmyk8MagentaTo10_II", false, 8, 4, 5, kNone, 13, Reader::kCMYK, 10, 1},
    {"Cmyk8YellowTo2_MM", true, 8, 4, 5, kNone, 13, Reader::kCMYK, 2, 2},
    {"Cmyk16BlackTo10_II", false, 16, 4, 5, kNone, 7, Reader::kCMYK, 10, 3},
    // Coded rows longer than the decoder's read-ahead.
    {"Cmyk8CyanTo8_MM_PackBitsWide", true, 8, 4, 5, kPackBits, 1500, Reader::kCMYK, 8, 0},
    {"Gray8WhiteIsZero_II_PackBitsWide", false, 8, 1, 0, kPackBits, 5000, Reader::kGray, 8},
};

INSTANTIATE_TEST_SUITE_P(Cases, TiffDecode, testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
