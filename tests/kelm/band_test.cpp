#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <tuple>

#include "harness.h"
#include "inspect/raster.h"
#include "kelm/kelm.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using kelmtest::captureRaster;
using kelmtest::makeBand;

struct Family {
  const char* name;
  int family;
  int colorSpace;
  int numOfPlanes;
  std::vector<int> depths;
};

const Family kFamilies[] = {
    {"RowRGBOnePlane", 2000, 2, 1, {8}},        {"RowRGB", 3000, 2, 3, {8, 8, 8}},
    {"KCMY", 4000, 3, 4, {8, 8, 8, 8}},         {"KCMYMixedDepths", 4000, 3, 4, {1, 2, 4, 10}},
    {"KCcMmY", 5000, 3, 6, {8, 8, 8, 8, 8, 8}}, {"PixelRGB", 10000, 18, 1, {8, 8, 8}},
};

bool rgbKind(int family) {
  return family == 2000 || family == 3000 || family == 10000;
}

// The planes of one image with their band buffers.
struct Image {
  std::vector<std::unique_ptr<LXGWorld>> bands;
  std::unique_ptr<KELMPlane> planes;

  Image(const std::vector<int>& depths, int width, int height) {
    for (int depth : depths) {
      bands.push_back(makeBand(depth, width, height));
      KELMPlane* plane = addPlane(planes);
      plane->world = bands.back().get();
      plane->depth = static_cast<std::int8_t>(depth);
    }
  }
  unsigned char* row(std::size_t plane, int r) {
    return bands[plane]->baseAddr + std::size_t{bands[plane]->rowBytes} * r;
  }
};

// Everything the encoder wrote between raster start and end, as one image.
inspect::RasterImage decodeOne(const std::string& raster,
                               std::vector<inspect::RasterCommand>* commands) {
  std::string error;
  std::vector<inspect::RasterImage> images;
  EXPECT_TRUE(inspect::parseRaster(
      {reinterpret_cast<const std::uint8_t*>(raster.data()), raster.size()}, commands, &error))
      << error;
  EXPECT_TRUE(inspect::rebuildRasterImages(*commands, &images, &error)) << error;
  EXPECT_EQ(images.size(), 1u);
  return images.empty() ? inspect::RasterImage{} : images.front();
}

// The commands of the image's rows (after the raster start and its compression), joined.
std::string rowCodes(const std::string& raster) {
  std::vector<inspect::RasterCommand> commands;
  const inspect::RasterImage image = decodeOne(raster, &commands);
  std::string out;
  for (std::size_t i = image.firstCommand + 2; i + 1 < image.endCommand; ++i) {
    out += (out.empty() ? "" : " ") + commands[i].code();
  }
  return out;
}

// ---- Round trip of every mode family and compression ----------------------------------------

constexpr int kWidth = 301;
constexpr int kBandHeight = 150;
constexpr int kBandRows[] = {140, 30};
constexpr int kImageRows = 170;

enum RowKind {
  kRandom,
  kRepeat,        // the previous row again: an empty delta row
  kSmallChanges,  // a few changed bytes
  kFarChanges,    // first and last byte changed: a long offset
  kRuns,
  kBlank,
  kFirstPlaneOnly,
  kBlankTail,
  kLastByteOnly,
};
constexpr RowKind kKinds[] = {
    kRandom,       kRepeat,    kSmallChanges, kSmallChanges,   kFarChanges, kRuns,
    kBlank,        kBlank,     kSmallChanges, kFirstPlaneOnly, kBlankTail,  kLastByteOnly,
    kRepeat,       kRuns,      kBlank,        kRandom,         kRepeat,     kRepeat,
    kSmallChanges, kBlankTail, kFarChanges,   kRuns,           kRandom};

class RoundTrip : public testing::TestWithParam<std::tuple<int, int, int>> {
 protected:
  const Family& family() const { return kFamilies[std::get<0>(GetParam())]; }
  int remainder() const { return std::get<1>(GetParam()); }
  int deviceWidth() const { return std::get<2>(GetParam()); }
  bool pixel() const { return family().family == 10000; }
  unsigned char blank() const { return rgbKind(family().family) ? 0xFF : 0x00; }
  int rowBytes(std::size_t plane) const { return (family().depths[plane] * kWidth + 7) / 8; }

  // Fills band row r with the content of image row g; `previous` is the band row that holds
  // image row g - 1 (the last row of the band before, for a band's first row), or -1.
  void fillRow(Image& image, int r, int g, int previous, std::mt19937& rng) const {
    const RowKind kind = g >= kImageRows - 5 ? kBlank : kKinds[g % std::size(kKinds)];
    const std::size_t planes = image.bands.size();
    for (std::size_t p = 0; p < planes; ++p) {
      unsigned char* row = image.row(p, r);
      const int n = rowBytes(p);
      const auto random = [&] {
        for (int i = 0; i < n; ++i) row[i] = static_cast<unsigned char>(rng());
      };
      const auto repeat = [&] {
        if (previous >= 0) {
          std::memcpy(row, image.row(p, previous), static_cast<std::size_t>(n));
        } else {
          random();
        }
      };
      std::memset(row, blank(), static_cast<std::size_t>(n));
      switch (kind) {
        case kRandom:
          random();
          break;
        case kRepeat:
          repeat();
          break;
        case kSmallChanges:
          repeat();
          for (int at : {5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 60}) {
            if (at < n) row[at] ^= 0x33;
          }
          break;
        case kFarChanges:
          repeat();
          row[0] ^= 0x33;
          row[n - 1] ^= 0x33;
          break;
        case kRuns:
          for (int i = 0; i < n;) {
            const int length = std::min<int>(n - i, 1 + static_cast<int>(rng() % 200));
            const std::uint32_t pick = rng() % 3;
            const auto v = static_cast<unsigned char>(pick == 0   ? blank()
                                                      : pick == 1 ? 0x80
                                                                  : rng());
            std::memset(row + i, v, static_cast<std::size_t>(length));
            i += length;
          }
          break;
        case kBlank:
          break;
        case kFirstPlaneOnly:
          if (p == 0) random();
          break;
        case kBlankTail:
          random();
          std::memset(row + n / 3, blank(), static_cast<std::size_t>(n - n / 3));
          break;
        case kLastByteOnly:
          if (p == planes - 1) row[n - 1] = blank() ^ 1;
          break;
      }
      // Padding is never sent outside the pixel modes; there it is part of the row.
      std::memset(row + n, pixel() ? blank() : 0x5A, image.bands[p]->rowBytes - n);
    }
  }

  // What the decoder must give back for band row r: each plane's row, or the interleaved row.
  std::vector<Bytes> expectedRow(Image& image, int r) const {
    const std::size_t planes = image.bands.size();
    if (!pixel()) {
      std::vector<Bytes> rows;
      for (std::size_t p = 0; p < planes; ++p) {
        rows.emplace_back(image.row(p, r), image.row(p, r) + rowBytes(p));
      }
      return rows;
    }
    const std::size_t stride = image.bands[0]->rowBytes;
    Bytes interleaved(stride * planes);
    for (std::size_t i = 0; i < stride; ++i) {
      for (std::size_t p = 0; p < planes; ++p) interleaved[i * planes + p] = image.row(p, r)[i];
    }
    return {interleaved};
  }

  bool isBlank(const std::vector<Bytes>& row) const {
    for (const Bytes& plane : row) {
      for (std::uint8_t b : plane) {
        if (b != blank()) return false;
      }
    }
    return true;
  }
};

TEST_P(RoundTrip, RowsComeBackAsTheBandsHeldThem) {
  const int mode = family().family + remainder();
  const bool seedRow = remainder() == 3 || remainder() == 256;
  kelmtest::resetEncoder();
  KELM_SetColorSpace(static_cast<std::uint8_t>(family().colorSpace));
  KELM_SetNumOfPlanes(static_cast<std::uint8_t>(family().numOfPlanes));
  KELM_SetCompressionMode(static_cast<std::uint8_t>(remainder() == 256 ? 2 : remainder()));
  KELM_SetPrintableWidthInPixel(deviceWidth());

  Image image(family().depths, kWidth, kBandHeight);
  std::vector<std::vector<Bytes>> expected;  // [row][plane]
  std::mt19937 rng(static_cast<std::uint32_t>(mode * 7 + deviceWidth()));
  const std::string raster = captureRaster([&] {
    KELM_SendTopOfPage(0, 0, 0);
    KELM_SendStartRasterMode();
    ASSERT_EQ(KELM_KeepWorkingMemory(image.planes.get(), mode), 0);
    int g = 0;
    for (int rows : kBandRows) {
      for (int r = 0; r < rows; ++r, ++g) {
        fillRow(image, r, g, r > 0 ? r - 1 : g > 0 ? kBandRows[0] - 1 : -1, rng);
        expected.push_back(expectedRow(image, r));
      }
      KELM_SendBand(image.planes.get(), rows, mode);
    }
    KELM_SendEndRasterMode();
    KELM_FreeWorkingMemory(mode);
  });

  std::vector<inspect::RasterCommand> commands;
  const inspect::RasterImage decoded = decodeOne(raster, &commands);
  std::size_t sentRows = expected.size();
  if (seedRow) {  // blank rows at the end of the image are held back and dropped
    while (sentRows > 0 && isBlank(expected[sentRows - 1])) --sentRows;
    ASSERT_LT(sentRows, expected.size());
  }
  ASSERT_EQ(decoded.rows(), sentRows);
  ASSERT_EQ(decoded.planes.size(), expected[0].size());
  for (std::size_t r = 0; r < sentRows; ++r) {
    for (std::size_t p = 0; p < decoded.planes.size(); ++p) {
      Bytes got = decoded.planes[p][r];
      const Bytes& want = expected[r][p];
      ASSERT_LE(got.size(), want.size()) << "row " << r << " plane " << p;
      got.resize(want.size(), blank());
      ASSERT_EQ(got, want) << "row " << r << " plane " << p;
    }
  }

  // A compression command only at a real change; skips only where rows are held back.
  int announced = -1;
  std::size_t skips = 0;
  for (std::size_t i = decoded.firstCommand; i < decoded.endCommand; ++i) {
    if (commands[i].is("*b", 'M')) {
      EXPECT_NE(commands[i].number, announced) << "at command " << i;
      announced = static_cast<int>(commands[i].number);
    }
    if (commands[i].is("*b", 'Y')) ++skips;
  }
  EXPECT_EQ(skips > 0, seedRow);

  // A row is delta-coded only against a row sent just before it in the same band, and the
  // repeated rows are.
  std::size_t deltaRows = 0;
  for (std::size_t r = 0; r < sentRows; ++r) {
    for (std::size_t p = 0; p < decoded.planes.size(); ++p) {
      if (decoded.compression[p][r] != 3) continue;
      ++deltaRows;
      EXPECT_TRUE(r != 0 && r != static_cast<std::size_t>(kBandRows[0])) << "row " << r;
      EXPECT_FALSE(isBlank(expected[r - 1])) << "row " << r;
    }
  }

  EXPECT_EQ(deltaRows > 0, seedRow);

  if (remainder() == 128) {
    EXPECT_EQ(decoded.blockRows, (std::vector<std::size_t>{128, 12, 30}));
    EXPECT_EQ(decoded.blockWidth, deviceWidth());
  } else {
    EXPECT_TRUE(decoded.blockRows.empty());
  }
}

INSTANTIATE_TEST_SUITE_P(AllModes, RoundTrip,
                         testing::Combine(testing::Range(0, static_cast<int>(std::size(kFamilies))),
                                          testing::Values(0, 2, 3, 128, 256),
                                          testing::Values(kWidth, 7)),
                         [](const testing::TestParamInfo<std::tuple<int, int, int>>& info) {
                           return std::string(kFamilies[std::get<0>(info.param)].name) + "_" +
                                  std::to_string(std::get<1>(info.param)) + "_Width" +
                                  std::to_string(std::get<2>(info.param));
                         });

// ---- Blank rows, missing planes, seeds across bands -------------------------------------------

// Four 8-bit ink planes, 8 pixels wide, set up for `mode`.
struct InkImage : Image {
  explicit InkImage(int mode, int numOfPlanes = 4) : Image({8, 8, 8, 8}, 8, 4) {
    kelmtest::resetEncoder();
    const int remainder = mode % 1000;
    KELM_SetColorSpace(3);
    KELM_SetNumOfPlanes(static_cast<std::uint8_t>(numOfPlanes));
    KELM_SetCompressionMode(
        static_cast<std::uint8_t>(remainder == 256 ? 2 : std::max(remainder, 0)));
    KELM_SetPrintableWidthInPixel(8);
  }
  void setRow(int r, std::uint8_t black) {
    for (std::size_t p = 0; p < bands.size(); ++p) std::memset(row(p, r), 0, 8);
    row(0, r)[0] = black;
    row(2, r)[0] = black;
    row(3, r)[0] = black;
  }
};

TEST(SendBand, BlankRowsAreSentOrHeldBackByMode) {
  const struct {
    int mode;
    const char* rows;
  } cases[] = {
      {4000,
       "ESC*b0V ESC*b0V ESC*b0V ESC*b0W ESC*b0V ESC*b0V ESC*b0V ESC*b0W "
       "ESC*b1V ESC*b0V ESC*b1V ESC*b1W"},
      {4002,
       "ESC*b0V ESC*b0V ESC*b0V ESC*b0W ESC*b0V ESC*b0V ESC*b0V ESC*b0W "
       "ESC*b2V ESC*b0V ESC*b2V ESC*b2W"},
      {4003, "ESC*b2Y ESC*b0M ESC*b8V ESC*b8V ESC*b8V ESC*b8W"},
      {4256, "ESC*b2Y ESC*b4V ESC*b2V ESC*b4V ESC*b4W"},
      {4128, "ESC*b22W"},
      {-1,
       "ESC*b0V ESC*b0V ESC*b0V ESC*b0W ESC*b0V ESC*b0V ESC*b0V ESC*b0W "
       "ESC*b1V ESC*b0V ESC*b1V ESC*b1W"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.mode);
    InkImage image(c.mode);
    image.setRow(0, 0);
    image.setRow(1, 0);
    image.setRow(2, 0x44);
    const std::string raster = captureRaster([&] {
      KELM_SendStartRasterMode();
      ASSERT_EQ(KELM_KeepWorkingMemory(image.planes.get(), c.mode), 0);
      KELM_SendBand(image.planes.get(), 3, c.mode);
      KELM_SendEndRasterMode();
      KELM_FreeWorkingMemory(c.mode);
    });
    EXPECT_EQ(rowCodes(raster), c.rows);
  }
}

TEST(SendBand, HeldBackRowsCarryOverBandsUntilTopOfPage) {
  InkImage image(4003);
  const std::string raster = captureRaster([&] {
    KELM_SendStartRasterMode();
    ASSERT_EQ(KELM_KeepWorkingMemory(image.planes.get(), 4003), 0);
    for (int r = 0; r < 3; ++r) image.setRow(r, 0);
    KELM_SendBand(image.planes.get(), 3, 4003);
    EXPECT_EQ(kelm_GetState().blankLines, 3);
    image.setRow(0, 0);
    image.setRow(1, 0x44);
    image.setRow(2, 0x44);
    KELM_SendBand(image.planes.get(), 3, 4003);
    // The same row again opens the next band: no seed there.
    image.setRow(0, 0x44);
    KELM_SendBand(image.planes.get(), 1, 4003);
    image.setRow(0, 0);
    KELM_SendBand(image.planes.get(), 1, 4003);
    KELM_SendEndRasterMode();
  });
  EXPECT_EQ(kelm_GetState().blankLines, 1);
  EXPECT_EQ(rowCodes(raster), std::string("ESC*b4Y ESC*b0M ESC*b8V ESC*b8V ESC*b8V ESC*b8W "
                                          "ESC*b3M ESC*b0V ESC*b0V ESC*b0V ESC*b0W "
                                          "ESC*b0M ESC*b8V ESC*b8V ESC*b8V ESC*b8W"));
  captureRaster([] { KELM_SendTopOfPage(1, 1, 1); });
  EXPECT_EQ(kelm_GetState().blankLines, 0);
}

TEST(SendBand, PlanesWithoutBandBufferSendEmptyRows) {
  const struct {
    const char* name;
    int mode;
    int numOfPlanes;
    const char* rows;
  } cases[] = {
      {"packbits", 4002, 4, "ESC*b2V ESC*b0V ESC*b2V ESC*b2W"},
      {"seed row", 4003, 4, "ESC*b0M ESC*b8V ESC*b0V ESC*b8V ESC*b8W"},
      {"block", 4128, 4, "ESC*b14W"},
      {"more planes than the list", 4002, 5, "ESC*b2V ESC*b0V ESC*b2V ESC*b2V ESC*b0W"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    InkImage image(c.mode, c.numOfPlanes);
    image.setRow(0, 0x44);
    image.planes->next->world = nullptr;
    const std::string raster = captureRaster([&] {
      KELM_SendStartRasterMode();
      ASSERT_EQ(KELM_KeepWorkingMemory(image.planes.get(), c.mode), 0);
      KELM_SendBand(image.planes.get(), 1, c.mode);
      KELM_SendEndRasterMode();
    });
    EXPECT_EQ(rowCodes(raster), c.rows);
  }
}

TEST(SendBand, PixelRowsTakeZeroForPlanesWithoutBandBuffer) {
  const struct {
    const char* name;
    std::size_t missing;
    const char* rows;
  } cases[] = {
      {"first plane: empty row", 0, "ESC*b0W"},
      {"last plane: zero bytes", 2, "ESC*b24W"},  // 00 00 00, then (FF FF 00) x 7
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    kelmtest::resetEncoder();
    KELM_SetColorSpace(18);
    KELM_SetNumOfPlanes(1);
    KELM_SetCompressionMode(2);
    Image image({8, 8, 8}, 8, 1);
    for (std::size_t p = 0; p < 3; ++p) std::memset(image.row(p, 0), 0xFF, 8);
    image.row(0, 0)[0] = 0;
    image.row(1, 0)[0] = 0;
    KELMPlane* plane = image.planes.get();
    for (std::size_t p = 0; p < c.missing; ++p) plane = plane->next.get();
    plane->world = nullptr;
    const std::string raster = captureRaster([&] {
      KELM_SendStartRasterMode();
      ASSERT_EQ(KELM_KeepWorkingMemory(image.planes.get(), 10002), 0);
      KELM_SendBand(image.planes.get(), 1, 10002);
      KELM_SendEndRasterMode();
    });
    EXPECT_EQ(rowCodes(raster), c.rows);
  }
}

// ---- Plane list and working memory ------------------------------------------------------------

TEST(PlaneList, AppendsAtTheTailAndFreesAll) {
  std::unique_ptr<KELMPlane> list;
  EXPECT_EQ(getLastPlane(list.get()), nullptr);
  KELMPlane* first = addPlane(list);
  EXPECT_EQ(list.get(), first);
  EXPECT_EQ(first->world, nullptr);
  EXPECT_EQ(first->depth, -1);
  KELMPlane* second = addPlane(list);
  EXPECT_EQ(first->next.get(), second);
  EXPECT_EQ(getLastPlane(list.get()), second);
  deletePlane(list);
  EXPECT_EQ(list, nullptr);
}

TEST(WorkingMemory, UncompressedModesKeepNoCodeBuffer) {
  kelmtest::resetEncoder();
  KELM_SetNumOfPlanes(1);
  KELM_SetPrintableWidthInPixel(1000);
  Image image({8, 8, 8}, kWidth, 2);  // rows of 304 bytes
  ASSERT_EQ(KELM_KeepWorkingMemory(image.planes.get(), 10000), 0);
  KELMState state = kelm_GetState();
  EXPECT_FALSE(state.hasCodeData);
  EXPECT_EQ(state.codeDataBytes, 1000);
  EXPECT_EQ(state.pixelByPixelCodeDataBytes, 3 * 304);
  EXPECT_TRUE(state.hasPixelByPixelCodeData);
  KELM_FreeWorkingMemory(10000);
  EXPECT_FALSE(kelm_GetState().hasPixelByPixelCodeData);

  ASSERT_EQ(KELM_KeepWorkingMemory(image.planes.get(), 3000), 0);
  state = kelm_GetState();
  EXPECT_FALSE(state.hasCodeData);
  EXPECT_EQ(state.codeDataBytes, 0);
}

}  // namespace
