// Whole jobs, one image each, for every mode family: the rows the print file carries, rebuilt
// by the raster decoder, are the image's pixels as the readers convert them. The jobs are listed
// in raster_modes.cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "raster_job.h"
#include "support/image_support.h"
#include "zelpgen/zelpgen.h"

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
// Their names in the cases file.
constexpr std::string_view kKinds[] = {"bmp",       "bmp-rgb",  "tiff-gray",
                                       "tiff-cmyk", "tiff-rgb", "tiff-1bit"};

struct File {
  std::string name;
  Kind kind;
  std::uint32_t seed;
  bool packBits = false;
};

// A plane as the band holds it: the file and channel it comes from, its depth, whether the
// reader inverts light into ink, and the levels of a 2- or 4-bit reduction.
struct Plane {
  int file, channel, depth;  // file -1: a band that is never read
  bool invert = false;
  int levels = 0;
};

struct ModeCase {
  std::string name;
  std::vector<File> files;
  std::string keys;
  std::vector<Plane> planes;  // in the order they are sent
  bool pixel = false;         // planes interleaved into one row
  std::uint8_t blank = 0;
  Bytes configuration;
  std::string prelude;  // commands from the page's start to the first row
  std::set<int> compressions;
  bool withoutMode = false;
};

std::vector<ModeCase> readCases() {
  std::vector<ModeCase> cases;
  std::ifstream in(ZELPGEN_RASTER_MODES_CASES);
  for (std::string line; std::getline(in, line);) {
    std::istringstream head(line);
    std::string field, rest, word;
    std::getline(head >> field >> std::ws, rest);
    std::istringstream words(rest);
    if (field.empty() || field[0] == '#') continue;
    if (field == "case" || cases.empty()) cases.emplace_back();
    ModeCase& c = cases.back();
    if (field == "case") {
      c.name = rest;
    } else if (field == "file") {
      File& f = c.files.emplace_back();
      words >> f.name >> word >> f.seed;
      f.kind = static_cast<Kind>(std::find(std::begin(kKinds), std::end(kKinds), word) - kKinds);
      f.packBits = words >> word && word == "packbits";
    } else if (field == "key") {
      c.keys += rest + "\n";
    } else if (field == "plane") {
      Plane& p = c.planes.emplace_back();
      words >> word >> p.channel >> p.depth;
      p.file = word == "-" ? -1 : std::stoi(word);
      while (words >> word) {
        if (word == "invert") p.invert = true;
        if (word.starts_with("levels=")) p.levels = std::stoi(word.substr(7));
      }
    } else if (field == "pixel" || field == "without-mode") {
      (field == "pixel" ? c.pixel : c.withoutMode) = true;
    } else if (field == "blank") {
      c.blank = static_cast<std::uint8_t>(std::stoi(rest, nullptr, 16));
    } else if (field == "configuration") {
      while (words >> word) c.configuration.push_back(std::stoi(word, nullptr, 16));
    } else if (field == "prelude") {
      c.prelude = rest;
    } else if (field == "compressions") {
      for (int n; words >> n;) c.compressions.insert(n);
    } else {
      ADD_FAILURE() << "unknown field: " << line;
    }
  }
  return cases;
}

Source sourceOf(const File& f) {
  const int channels = f.kind == Kind::kTiffCMYK                             ? 4
                       : f.kind == Kind::kTiffRGB || f.kind == Kind::kBmpRGB ? 3
                                                                             : 1;
  const bool ink = f.kind == Kind::kTiffCMYK || f.kind == Kind::kTiffOneBit;
  return rasterjob::makeSource(kWidth, kHeight, channels, ink ? 0 : 255, f.seed);
}

// Writes the case's image files into `dir`, runs its job there and returns the raster commands;
// `sources` gets the images as written.
std::vector<inspect::RasterCommand> runJob(const testsupport::TempDir& dir, const ModeCase& c,
                                           std::vector<Source>* sources) {
  for (const File& f : c.files) {
    const Source& s = sources->emplace_back(sourceOf(f));
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
  const std::string resolutions = "GraphicResolutionH=300\nGraphicResolutionV=300\n";
  return rasterjob::printJob(dir, "", "", "[Image]\n" + c.keys + resolutions);
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

// Image row r as sent: a row per plane, or the planes interleaved byte by byte over the band's
// row stride, whose padding is white.
std::vector<Bytes> expectedRows(const ModeCase& c, const std::vector<Source>& sources, int r) {
  std::vector<Bytes> rows;
  for (const Plane& p : c.planes) {
    rows.push_back(p.file < 0 ? Bytes{} : expectedRow(sources[p.file], c.files[p.file], p, r));
  }
  if (!c.pixel) return rows;
  const std::size_t stride = (rows[0].size() + 3) / 4 * 4;
  Bytes interleaved;
  for (std::size_t i = 0; i < stride; ++i) {
    for (const Bytes& row : rows) interleaved.push_back(i < row.size() ? row[i] : c.blank);
  }
  return {interleaved};
}

void PrintTo(const ModeCase& c, std::ostream* os) {
  *os << c.name;
}

class RasterModes : public testing::TestWithParam<ModeCase> {};

TEST_P(RasterModes, RowsAreTheConvertedPixels) {
  const ModeCase& c = GetParam();
  testsupport::TempDir dir;
  std::vector<Source> sources;
  const std::vector<inspect::RasterCommand> commands = runJob(dir, c, &sources);
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

  ASSERT_EQ(image.planes.size(), c.pixel ? 1 : c.planes.size());
  ASSERT_LE(image.rows(), static_cast<std::size_t>(kHeight));
  for (int r = 0; r < kHeight; ++r) {
    const std::vector<Bytes> rows = expectedRows(c, sources, r);
    for (std::size_t p = 0; p < rows.size(); ++p) {
      const Bytes sent = static_cast<std::size_t>(r) < image.rows() ? image.planes[p][r] : Bytes{};
      ASSERT_EQ(testsupport::hex(rasterjob::trimmed(sent, c.blank)),
                testsupport::hex(rasterjob::trimmed(rows[p], c.blank)))
          << "row " << r << " plane " << p;
    }
  }
}

// The second band is read on another thread while the first is sent; on the calling thread
// alone the print file is the same, byte for byte.
TEST_P(RasterModes, OneThreadWritesTheSameFile) {
  testsupport::TempDir dir;
  std::vector<Source> sources;
  runJob(dir, GetParam(), &sources);
  const Bytes threaded = testsupport::readFile(dir / "job.dat");
  setenv("ZELPGEN_THREADS", "1", 1);
  const int status = makeZELPData((dir / "job.cfg").c_str());
  unsetenv("ZELPGEN_THREADS");
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(testsupport::readFile(dir / "job.dat") == threaded);
}

#ifdef ZELPGEN_HAVE_PNG
// Drawn at one pixel per printer dot, each pixel of the image (300 dpi on a 600 dpi printer) is
// a square of 2 x 2 in the colour its planes mix to, placed at the page's corner.
TEST_P(RasterModes, RenderedPageIsThePlanesMixed) {
  const ModeCase& c = GetParam();
  if (c.withoutMode) return;  // the rows do not decode as the compression they announce
  testsupport::TempDir dir;
  std::vector<Source> sources;
  runJob(dir, c, &sources);
  cli::PngPages pages((dir / "page-%d.png").string());
  std::string error;
  ASSERT_TRUE(inspect::renderJob((dir / "job.dat").string(), {}, &pages, &error)) << error;

  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  ASSERT_TRUE(png_image_begin_read_from_file(&png, (dir / "page-1.png").c_str()));
  png.format = PNG_FORMAT_RGB;
  Bytes page(PNG_IMAGE_SIZE(png));
  ASSERT_TRUE(png_image_finish_read(&png, nullptr, page.data(), 0, nullptr));

  const inspect::ColourModel model(c.configuration);
  Bytes want(kWidth * 3);
  for (int r = 0; r < kHeight; ++r) {
    model.rgb(expectedRows(c, sources, r), kWidth, want.data());
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

INSTANTIATE_TEST_SUITE_P(Jobs, RasterModes, testing::ValuesIn(readCases()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
