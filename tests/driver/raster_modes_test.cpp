// Whole jobs, one image each, for every mode family: the rows the print file carries, rebuilt
// by the raster decoder, are the image's pixels as the readers convert them.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "raster_job.h"
#include "support/image_support.h"

#ifdef ZELPGEN_HAVE_PNG
#include <png.h>

#include "inspect/job.h"
#include "inspect/render.h"
#include "png_pages.h"
#endif

namespace {

using rasterjob::Bytes;
using rasterjob::Source;

constexpr int kWidth = 45, kHeight = 310;

enum class Kind { kBmp, kBmpRGB, kTiffGray, kTiffCMYK, kTiffRGB, kTiffOneBit };

struct File {
  const char* name;
  Kind kind;
  std::uint32_t seed;
  bool packBits = false;
};

// A plane as the band holds it: the file and channel it comes from, its depth, whether the
// reader inverts light into ink, and the levels of a 2- or 4-bit reduction.
struct Plane {
  int file, channel, depth;  // file -1: a band that is never read
  bool invert;
  int levels = 0;
};

struct ModeCase {
  const char* name;
  std::vector<File> files;
  std::string keys;
  std::vector<Plane> planes;  // in the order they are sent
  bool pixel;                 // planes interleaved into one row
  std::uint8_t blank;
  Bytes configuration;
  std::string prelude;  // commands from the page's start to the first row
  std::set<int> compressions;
  // No mode matches the image: its rows go out uncompressed under the announced compression.
  bool withoutMode = false;
};

Source sourceOf(const File& f) {
  const int channels = f.kind == Kind::kTiffCMYK                             ? 4
                       : f.kind == Kind::kTiffRGB || f.kind == Kind::kBmpRGB ? 3
                                                                             : 1;
  const bool ink = f.kind == Kind::kTiffCMYK || f.kind == Kind::kTiffOneBit;
  return rasterjob::makeSource(kWidth, kHeight, channels, ink ? 0 : 255, f.seed);
}

void writeFile(const testsupport::TempDir& dir, const File& f, const Source& s) {
  const std::string path = (dir / f.name).string();
  switch (f.kind) {
    case Kind::kBmp:
    case Kind::kBmpRGB:
      rasterjob::writeBmp(path, s);
      break;
    case Kind::kTiffGray:
    case Kind::kTiffRGB:
      rasterjob::writeTiff(path, s,
                           {.photometric = std::uint16_t(f.kind == Kind::kTiffRGB ? 2 : 1),
                            .packBits = f.packBits,
                            .bigEndian = true});
      break;
    case Kind::kTiffCMYK:
      rasterjob::writeTiff(path, s, {.photometric = 5, .packBits = f.packBits});
      break;
    case Kind::kTiffOneBit:
      rasterjob::writeTiff(path, s, {.photometric = 0, .oneBit = true, .rowsPerStrip = 100});
      break;
  }
}

// Row r of a plane's band, ceil(depth × width / 8) bytes.
Bytes expectedRow(const Source& s, const File& f, const Plane& p, int r) {
  std::vector<int> v;
  for (int x = 0; x < s.width; ++x) {
    const int value = s.at(r, x, p.channel);
    v.push_back(p.invert ? 255 - value : value);
  }
  // A bitmap row's padding bytes (zeros) are converted like pixels when packing.
  if (f.kind == Kind::kBmp && (p.depth == 2 || p.depth == 4 || p.depth == 10)) {
    while (v.size() % 4 != 0) v.push_back(p.invert ? 255 : 0);
  }
  Bytes out;
  switch (p.depth) {
    case 1:
    case 2:
    case 4: {
      const int levels = p.levels != 0 ? p.levels : 1 << p.depth;
      const int perByte = 8 / p.depth;
      out.assign((v.size() + perByte - 1) / perByte, 0);
      for (std::size_t x = 0; x < v.size(); ++x) {
        const int level = p.depth == 1 ? v[x] >= 128 : v[x] * levels / 256;
        out[x / perByte] |= level << (8 - p.depth * (x % perByte + 1));
      }
      break;
    }
    case 10: {
      // A short last group is filled with white.
      while (v.size() % 4 != 0) v.push_back(p.invert ? 0 : 255);
      std::vector<std::uint16_t> wide(v.begin(), v.end());
      for (auto& w : wide) w = static_cast<std::uint16_t>(w * 4);
      out = imagetest::packTenBit(wide);
      break;
    }
    default:
      out.assign(v.begin(), v.end());
  }
  out.resize((static_cast<std::size_t>(p.depth) * s.width + 7) / 8);
  return out;
}

const std::string kCommon = "GraphicResolutionH=300\nGraphicResolutionV=300\n";

const ModeCase kCases[] = {
    {"KOnlyBitmapWithoutMode",
     {{"k.bmp", Kind::kBmp, 1}},
     "ImageFileK=\"k.bmp\"\nColorSpace=4\nCompressionMode=2\nNumOfPlanes=1\nPixelDepthK=8\n",
     {{0, 0, 8, true}},
     false,
     0,
     {4, 1, 0, 0, 0, 0, 8, 0, 0, 0},
     "ESC*v10W ESC*t300R ESC*r1A ESC*b2M",
     {0},
     true},
    {"KOnlyPackBitsTiff",
     {{"k.tif", Kind::kTiffGray, 2, true}},
     "ImageFileK=\"k.tif\"\nColorSpace=5\nCompressionMode=0\nNumOfPlanes=1\nPixelDepthK=8\n",
     {{0, 0, 8, true}},
     false,
     0,
     {5, 1, 0, 0, 0, 0, 8, 0, 0, 0},
     "ESC*v10W ESC*t300R ESC*r1A ESC*b0M",
     {0}},
    {"CMYKPackBits",
     {{"cmyk.tif", Kind::kTiffCMYK, 3}},
     "ImageFileCMYK=\"cmyk.tif\"\nColorSpace=3\nCompressionMode=2\nNumOfPlanes=4\n"
     "PixelDepthK=8\nPixelDepthC=8\nPixelDepthM=8\nPixelDepthY=8\n",
     {{0, 3, 8, false}, {0, 0, 8, false}, {0, 1, 8, false}, {0, 2, 8, false}},
     false,
     0,
     {3, 4, 0, 0, 0, 0, 8, 8, 8, 8},
     "ESC*v10W ESC*t300R ESC*r1A ESC*b2M",
     {2}},
    {"CMYKWithGrayFileOpenedButNotRead",
     {{"cmyk.tif", Kind::kTiffCMYK, 23}, {"g.bmp", Kind::kBmp, 24}},
     "ImageFileCMYK=\"cmyk.tif\"\nImageFileGy=\"g.bmp\"\nColorSpace=5\nCompressionMode=2\n"
     "NumOfPlanes=5\nPixelDepthK=8\nPixelDepthC=8\nPixelDepthM=8\nPixelDepthY=8\nPixelDepthGy=8\n",
     {{0, 3, 8, false}, {0, 0, 8, false}, {0, 1, 8, false}, {0, 2, 8, false}, {-1, 0, 8, false}},
     false,
     0,
     {5, 5, 0, 0, 0, 0, 8, 8, 8, 8},
     "ESC*v10W ESC*t300R ESC*r1A ESC*b2M",
     {2}},
    {"CMYKSeedRowFromPackBitsTiff",
     {{"cmyk.tif", Kind::kTiffCMYK, 4, true}},
     "ImageFileCMYK=\"cmyk.tif\"\nColorSpace=3\nCompressionMode=3\nNumOfPlanes=4\n"
     "PixelDepthK=8\nPixelDepthC=8\nPixelDepthM=8\nPixelDepthY=8\n",
     {{0, 3, 8, false}, {0, 0, 8, false}, {0, 1, 8, false}, {0, 2, 8, false}},
     false,
     0,
     {3, 4, 0, 0, 0, 0, 8, 8, 8, 8},
     "ESC*v10W ESC*t300R ESC*r1A ESC*b3M",
     {0, 3}},
    {"SixColoursFromCMYKAndLightFiles",
     {{"cmyk.tif", Kind::kTiffCMYK, 5},
      {"lc.tif", Kind::kTiffCMYK, 6},
      {"lm.tif", Kind::kTiffCMYK, 7}},
     "ImageFileCMYK=\"cmyk.tif\"\nImageFilec=\"lc.tif\"\nImageFilem=\"lm.tif\"\nColorSpace=3\n"
     "CompressionMode=256\nNumOfPlanes=6\nPixelDepthK=8\nPixelDepthC=8\nPixelDepthM=8\n"
     "PixelDepthY=8\nPixelDepthc=8\nPixelDepthm=8\n",
     {{0, 3, 8, false},
      {0, 0, 8, false},
      {1, 0, 8, false},
      {0, 1, 8, false},
      {2, 1, 8, false},
      {0, 2, 8, false}},
     false,
     0,
     {3, 6, 0, 0, 0, 0, 8, 8, 8, 8, 8, 8},
     "ESC*v12W ESC*t300R ESC*r1A ESC*b2M",
     {2, 3}},
    {"SixColourBitmapsInBlocks",
     {{"k.bmp", Kind::kBmp, 8},
      {"c.bmp", Kind::kBmp, 9},
      {"m.bmp", Kind::kBmp, 10},
      {"y.bmp", Kind::kBmp, 11},
      {"lc.bmp", Kind::kBmp, 12},
      {"lm.bmp", Kind::kBmp, 13}},
     "ImageFileK=\"k.bmp\"\nImageFileC=\"c.bmp\"\nImageFileM=\"m.bmp\"\nImageFileY=\"y.bmp\"\n"
     "ImageFilec=\"lc.bmp\"\nImageFilem=\"lm.bmp\"\nColorSpace=4\nCompressionMode=128\n"
     "NumOfPlanes=6\nPixelDepthK=8\nPixelDepthC=8\nPixelDepthM=8\nPixelDepthY=8\n"
     "PixelDepthc=8\nPixelDepthm=8\n",
     {{0, 0, 8, true},
      {1, 0, 8, true},
      {4, 0, 8, true},
      {2, 0, 8, true},
      {5, 0, 8, true},
      {3, 0, 8, true}},
     false,
     0,
     {4, 6, 0, 0, 0, 0, 8, 8, 8, 8, 8, 8},
     "ESC*v12W ESC*t300R ESC*r1A ESC*b128M",
     {128}},
    {"RowRGBOnePlaneFromPackBitsTiff",
     {{"k.tif", Kind::kTiffGray, 14, true}},
     "ImageFileK=\"k.tif\"\nColorSpace=2\nCompressionMode=3\nNumOfPlanes=1\nPixelDepthK=8\n",
     {{0, 0, 8, false}},
     false,
     0xFF,
     {2, 1, 0, 0, 0, 0, 8, 0, 0, 0},
     "ESC*v10W ESC*t300R ESC*r1A ESC*b3M",
     {0, 3}},
    {"RowRGBThreePlanesSeedRow",
     {{"rgb.tif", Kind::kTiffRGB, 15}},
     "ImageFileRGB=\"rgb.tif\"\nColorSpace=2\nCompressionMode=3\nNumOfPlanes=3\n"
     "PixelDepthR=8\nPixelDepthG=8\nPixelDepthB=8\n",
     {{0, 0, 8, false}, {0, 1, 8, false}, {0, 2, 8, false}},
     false,
     0xFF,
     {2, 3, 0, 8, 8, 8},
     "ESC*v6W ESC*t300R ESC*r1A ESC*b3M",
     {0, 3}},
    {"RowRGBTenBit",
     {{"rgb.tif", Kind::kTiffRGB, 16}},
     "ImageFileRGB=\"rgb.tif\"\nColorSpace=2\nCompressionMode=0\nNumOfPlanes=3\n"
     "PixelDepthR=10\nPixelDepthG=10\nPixelDepthB=10\n",
     {{0, 0, 10, false}, {0, 1, 10, false}, {0, 2, 10, false}},
     false,
     0xFF,
     {2, 3, 0, 10, 10, 10},
     "ESC*v6W ESC*t300R ESC*r1A ESC*b0M",
     {0}},
    {"PixelRGBBitmap",
     {{"rgb.bmp", Kind::kBmpRGB, 17}},
     "ImageFileRGB=\"rgb.bmp\"\nColorSpace=18\nCompressionMode=2\nNumOfPlanes=1\n"
     "PixelDepthR=8\nPixelDepthG=8\nPixelDepthB=8\n",
     {{0, 0, 8, false}, {0, 1, 8, false}, {0, 2, 8, false}},
     true,
     0xFF,
     {18, 1, 0, 8, 8, 8},
     "ESC*v6W ESC*t300R ESC*r1A ESC*b2M",
     {2}},
    {"PixelRGBPackBitsSeedRow",
     {{"rgb.tif", Kind::kTiffRGB, 18}},
     "ImageFileRGB=\"rgb.tif\"\nColorSpace=18\nCompressionMode=256\nNumOfPlanes=1\n"
     "PixelDepthR=8\nPixelDepthG=8\nPixelDepthB=8\n",
     {{0, 0, 8, false}, {0, 1, 8, false}, {0, 2, 8, false}},
     true,
     0xFF,
     {18, 1, 0, 8, 8, 8},
     "ESC*v6W ESC*t300R ESC*r1A ESC*b2M",
     {2, 3}},
    {"OneBitUncompressed",
     {{"k.tif", Kind::kTiffOneBit, 19}},
     "ImageFileK=\"k.tif\"\nColorSpace=5\nCompressionMode=0\nNumOfPlanes=1\nPixelDepthK=1\n",
     {{0, 0, 1, false}},
     false,
     0,
     {5, 1, 0, 0, 0, 0, 1, 0, 0, 0},
     "ESC*v10W ESC*t300R ESC*r1A ESC*b0M",
     {0}},
    {"TwoBitReducedBitmaps",
     {{"k.bmp", Kind::kBmp, 20}},
     "ImageFileK=\"k.bmp\"\nImageFileC=\"k.bmp\"\nImageFileM=\"k.bmp\"\nImageFileY=\"k."
     "bmp\"\nColorSpace=4\nCompressionMode=2\nNumOfPlanes=4\nPixelDepthK=2\nPixelDepthC=2\n"
     "PixelDepthM=2\nPixelDepthY=2\nIndexLevelK=4\nIndexLevelC=3\nIndexLevelY=3\n",
     {{0, 0, 2, true, 4}, {0, 0, 2, true, 3}, {0, 0, 2, true}, {0, 0, 2, true, 3}},
     false,
     0,
     {4, 4, 0, 0, 0, 0, 2, 2, 2, 2},
     "ESC*v10W ESC*t300R ESC*r1A ESC*b2M",
     {2}},
    {"FourBitCMYKWithThreeCyanLevelsInBlocks",
     {{"cmyk.tif", Kind::kTiffCMYK, 21}},
     "ImageFileCMYK=\"cmyk.tif\"\nColorSpace=4\nCompressionMode=128\nNumOfPlanes=4\n"
     "PixelDepthK=4\nPixelDepthC=4\nPixelDepthM=4\nPixelDepthY=4\nIndexLevelC=3\n",
     {{0, 3, 4, false}, {0, 0, 4, false, 3}, {0, 1, 4, false}, {0, 2, 4, false}},
     false,
     0,
     {4, 4, 0, 0, 0, 0, 4, 4, 4, 4},
     "ESC*v10W ESC*t300R ESC*r1A ESC*b128M",
     {128}},
    {"TenBitBitmapsSeedRow",
     {{"k.bmp", Kind::kBmp, 22}},
     "ImageFileK=\"k.bmp\"\nImageFileC=\"k.bmp\"\nImageFileM=\"k.bmp\"\nImageFileY=\"k."
     "bmp\"\nColorSpace=3\nCompressionMode=3\nNumOfPlanes=4\nPixelDepthK=10\nPixelDepthC=10\n"
     "PixelDepthM=10\nPixelDepthY=10\n",
     {{0, 0, 10, true}, {0, 0, 10, true}, {0, 0, 10, true}, {0, 0, 10, true}},
     false,
     0,
     {3, 4, 0, 0, 0, 0, 10, 10, 10, 10},
     "ESC*v10W ESC*t300R ESC*r1A ESC*b3M",
     {0, 3}},
};

void PrintTo(const ModeCase& c, std::ostream* os) {
  *os << c.name;
}

class RasterModes : public testing::TestWithParam<ModeCase> {};

TEST_P(RasterModes, RowsAreTheConvertedPixels) {
  const ModeCase& c = GetParam();
  testsupport::TempDir dir;
  std::vector<Source> sources;
  for (const File& f : c.files) {
    sources.push_back(sourceOf(f));
    writeFile(dir, f, sources.back());
  }
  const std::vector<inspect::RasterCommand> commands =
      rasterjob::printJob(dir, "", "", "[Image]\n" + c.keys + kCommon);
  std::vector<inspect::RasterCommand> asSent = commands;
  for (auto& command : asSent) {
    if (c.withoutMode && command.is("*b", 'M')) command.number = 0;
  }
  const std::vector<inspect::RasterImage> images = rasterjob::rebuild(asSent);
  ASSERT_EQ(images.size(), 1u);
  const inspect::RasterImage& image = images[0];
  EXPECT_EQ(image.configuration, c.configuration);

  const auto header =
      std::find_if(commands.begin(), commands.end(), [](const auto& x) { return x.is("&a", 'N'); });
  ASSERT_NE(header, commands.end());
  EXPECT_EQ(rasterjob::outline(commands, header - commands.begin() + 1, image.firstCommand + 2),
            c.prelude);
  EXPECT_EQ(rasterjob::outline(commands, image.endCommand - 1, commands.size()),
            "ESC*rC ESC$E ESC%-12345X");

  std::set<int> used;
  for (const auto& plane : image.compression) {
    for (int compression : plane) {
      if (compression != -1) used.insert(compression);
    }
  }
  // Seed-row modes must really code rows against their seed.
  EXPECT_EQ(used, c.compressions);
  if (c.compressions.count(128) != 0) {
    EXPECT_EQ(image.blockWidth, kWidth);
  }

  const std::size_t planesSent = c.pixel ? 1 : c.planes.size();
  ASSERT_EQ(image.planes.size(), planesSent);
  ASSERT_LE(image.rows(), static_cast<std::size_t>(kHeight));
  for (int r = 0; r < kHeight; ++r) {
    std::vector<Bytes> rows;
    for (const Plane& p : c.planes) {
      rows.push_back(p.file < 0 ? Bytes{} : expectedRow(sources[p.file], c.files[p.file], p, r));
    }
    if (c.pixel) {
      // Byte by byte over the band's row stride; the stride's padding is white.
      const std::size_t stride = (rows[0].size() + 3) / 4 * 4;
      Bytes interleaved;
      for (std::size_t i = 0; i < stride; ++i) {
        for (const Bytes& row : rows) interleaved.push_back(i < row.size() ? row[i] : c.blank);
      }
      rows = {interleaved};
    }
    for (std::size_t p = 0; p < planesSent; ++p) {
      const Bytes sent = static_cast<std::size_t>(r) < image.rows() ? image.planes[p][r] : Bytes{};
      ASSERT_EQ(testsupport::hex(rasterjob::trimmed(sent, c.blank)),
                testsupport::hex(rasterjob::trimmed(rows[p], c.blank)))
          << "row " << r << " plane " << p;
    }
  }
}

#ifdef ZELPGEN_HAVE_PNG
// Drawn at one pixel per printer dot, each pixel of the image (300 dpi on a 600 dpi printer) is
// a square of 2 x 2 in the colour its planes mix to, placed at the page's corner.
TEST_P(RasterModes, RenderedPageIsThePlanesMixed) {
  const ModeCase& c = GetParam();
  if (c.withoutMode) return;  // the rows do not decode as the compression they announce
  testsupport::TempDir dir;
  for (const File& f : c.files) writeFile(dir, f, sourceOf(f));
  rasterjob::printJob(dir, "", "", "[Image]\n" + c.keys + kCommon);
  cli::PngPages pages((dir / "page-%d.png").string());
  std::string error;
  ASSERT_TRUE(inspect::renderJob((dir / "job.dat").string(), {}, &pages, &error)) << error;

  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  ASSERT_TRUE(png_image_begin_read_from_file(&png, (dir / "page-1.png").c_str()));
  png.format = PNG_FORMAT_RGB;
  Bytes page(PNG_IMAGE_SIZE(png));
  ASSERT_TRUE(png_image_finish_read(&png, nullptr, page.data(), 0, nullptr));

  std::vector<Source> sources;
  for (const File& f : c.files) sources.push_back(sourceOf(f));
  const inspect::ColourModel model(c.configuration);
  Bytes want(kWidth * 3);
  for (int r = 0; r < kHeight; ++r) {
    std::vector<Bytes> rows;
    for (const Plane& p : c.planes) {
      rows.push_back(p.file < 0 ? Bytes{} : expectedRow(sources[p.file], c.files[p.file], p, r));
    }
    if (c.pixel) {
      Bytes interleaved;
      for (std::size_t i = 0; i < rows[0].size(); ++i) {
        for (const Bytes& row : rows) interleaved.push_back(row[i]);
      }
      rows = {interleaved};
    }
    model.rgb(rows, kWidth, want.data());
    for (std::uint32_t y = 2 * r; y < 2u * r + 2; ++y) {
      for (std::uint32_t x = 0; x < 2 * kWidth; ++x) {
        const bool inside = x < png.width && y < png.height;
        for (int k = 0; k < 3; ++k) {
          ASSERT_EQ(inside ? page[(y * png.width + x) * 3 + k] : 255, want[x / 2 * 3 + k])
              << "dot " << x << "," << y;
        }
      }
    }
  }
}
#endif

INSTANTIATE_TEST_SUITE_P(Jobs, RasterModes, testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Damaged files print what they hold and no more: a header claiming two billion rows stays a
// small print file.
TEST(DamagedImages, PrintWhatTheFileHolds) {
  using imagetest::grayFile;
  const Bytes noTypeStrips = imagetest::directoryBytes(false, {{273, 0xFFFF, 1, 12}}, 0);
  const struct {
    const char* name;
    Bytes file;
    std::string error;
    std::size_t rows;
  } cases[] = {
      {"k.tif", grayFile({.height = 0x7FFFFFFF}), "", 22},
      {"k.bmp", imagetest::bmpFile(4, 0x7FFFFFFF, 8, {{1, 2, 3, 4}}), "", 14},
      {"k.tif", grayFile({.extra = noTypeStrips, .next = imagetest::kExtraAt}), "", 4},
      {"k.tif", grayFile({.width = 0x80000000, .drop = {273}}), "ERROR! LXewGWorld failed.(12)\n",
       0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    testsupport::TempDir dir;
    testsupport::writeFile(dir / c.name, c.file);
    testing::internal::CaptureStderr();
    const auto commands = rasterjob::printJob(
        dir, "", "",
        "[Image]\nImageFileK=\"" + std::string(c.name) +
            "\"\nColorSpace=5\nCompressionMode=0\nNumOfPlanes=1\nPixelDepthK=8\n" + kCommon);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.error);
    const auto images = rasterjob::rebuild(commands);
    EXPECT_EQ(images.empty() ? 0 : images[0].rows(), c.rows);
    EXPECT_LT(std::filesystem::file_size(dir / "job.dat"), 1u << 20);
  }
}

}  // namespace
