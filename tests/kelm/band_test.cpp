#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <tuple>

#include "harness.h"
#include "image/lxgworld.h"
#include "kelm/kelm.h"
#include "kelm/state.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using kelmtest::captureCodes;

// The planes of one image with their band buffers.
struct Image {
  std::vector<std::unique_ptr<LXGWorld>> bands;
  std::unique_ptr<KELMPlane> planes;

  Image(const std::vector<int>& depths, int width, int height) {
    for (int depth : depths) {
      EXPECT_EQ(LXNewGWorld(&bands.emplace_back(), depth, LXRect{0, 0, height, width}), 0);
      KELMPlane* plane = addPlane(planes);
      plane->world = bands.back().get();
      plane->depth = static_cast<std::int8_t>(depth);
    }
  }
  unsigned char* row(std::size_t plane, int r) {
    return bands[plane]->baseAddr + std::size_t{bands[plane]->rowBytes} * r;
  }
  // The plane keeps its place in the list but has no band buffer.
  void dropBand(std::size_t plane) {
    KELMPlane* p = planes.get();
    for (std::size_t i = 0; i < plane; ++i) p = p->next.get();
    p->world = nullptr;
  }
  // Sends `rows` of the bands the way the driver does, with the working memory kept around.
  void send(int mode, std::initializer_list<int> bandRows, const std::function<void(int)>& fill) {
    KELM_SendStartRasterMode();
    ASSERT_EQ(KELM_KeepWorkingMemory(planes.get(), mode), 0);
    int band = 0;
    for (int rows : bandRows) {
      fill(band++);
      KELM_SendBand(planes.get(), rows, mode);
    }
    KELM_SendEndRasterMode();
    KELM_FreeWorkingMemory(mode);
  }
};

void setUp(int colorSpace, int planes, int mode, int deviceWidth) {
  kelmtest::resetEncoder();
  const int remainder = mode % 1000;
  KELM_SetColorSpace(static_cast<std::uint8_t>(colorSpace));
  KELM_SetNumOfPlanes(static_cast<std::uint8_t>(planes));
  KELM_SetCompressionMode(static_cast<std::uint8_t>(remainder == 256 ? 2 : std::max(remainder, 0)));
  KELM_SetPrintableWidthInPixel(deviceWidth);
}

// ---- Every mode family and compression round-trips through the decoder -----------------------

struct Family {
  const char* name;
  int family, colorSpace, planes;
  std::vector<int> depths;
};
const Family kFamilies[] = {
    {"RowRGBOnePlane", 2000, 2, 1, {8}},        {"RowRGB", 3000, 2, 3, {8, 8, 8}},
    {"KCMY", 4000, 3, 4, {8, 8, 8, 8}},         {"KCMYOddDepths", 4000, 3, 4, {1, 2, 4, 10}},
    {"KCcMmY", 5000, 3, 6, {8, 8, 8, 8, 8, 8}}, {"PixelRGB", 10000, 18, 1, {8, 8, 8}},
};
constexpr int kWidth = 301, kBandRows[] = {140, 30}, kImageRows = 170;

// Row contents cycled over the image: literals, repeats (empty delta rows), small and far
// changes (offset bytes), runs, blank rows, rows blank but for one plane or for a head.
enum Kind { kRandom, kRepeat, kSmall, kFar, kRuns, kBlank, kFirstPlane, kBlankTail };
// Image row 140, the first of the second band, repeats row 139.
constexpr Kind kKinds[] = {kRandom, kRepeat, kSmall,  kSmall, kFar,        kBlank,     kRuns,
                           kRepeat, kBlank,  kBlank,  kSmall, kFirstPlane, kBlankTail, kRepeat,
                           kRuns,   kBlank,  kRandom, kFar,   kRandom};

class RoundTrip : public testing::TestWithParam<std::tuple<int, int, int>> {
 protected:
  const Family& family = kFamilies[std::get<0>(GetParam())];
  const int mode = family.family + std::get<1>(GetParam());
  const int deviceWidth = std::get<2>(GetParam());
  const bool pixel = family.family == 10000;
  const unsigned char blank = family.family == 4000 || family.family == 5000 ? 0x00 : 0xFF;
  std::vector<std::vector<Bytes>> expected;  // [image row][plane, or the interleaved row]

  // Fills band row r with image row g; `previous` holds image row g - 1 (or is -1).
  void fill(Image& image, int r, int g, int previous, std::mt19937& rng) {
    const Kind kind = g >= kImageRows - 5 ? kBlank : kKinds[g % std::size(kKinds)];
    for (std::size_t p = 0; p < image.bands.size(); ++p) {
      unsigned char* row = image.row(p, r);
      const int n = (family.depths[p] * kWidth + 7) / 8;
      std::memset(row, blank, static_cast<std::size_t>(n));
      const bool copies = kind == kRepeat || kind == kSmall || kind == kFar;
      if (copies && previous >= 0) {
        std::memcpy(row, image.row(p, previous), static_cast<std::size_t>(n));
      } else if (copies || kind == kRandom || kind == kBlankTail ||
                 (kind == kFirstPlane && p == 0)) {
        for (int i = 0; i < (kind == kBlankTail ? n / 3 : n); ++i) row[i] = rng() & 0xFF;
      }
      for (int at : {5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 60}) {
        if (kind == kSmall && at < n) row[at] ^= 0x33;
      }
      if (kind == kFar) row[0] ^= 0x33, row[n - 1] ^= 0x33;
      for (int i = 0; kind == kRuns && i < n;) {
        const int length = std::min<int>(n - i, 1 + static_cast<int>(rng() % 200));
        const std::uint32_t pick = rng() % 3;
        std::memset(row + i, pick == 0 ? blank : pick == 1 ? 0x80 : rng() & 0xFF, length);
        i += length;
      }
      // Padding is never sent outside the pixel modes; there it is part of the row.
      std::memset(row + n, pixel ? blank : 0x5A, image.bands[p]->rowBytes - n);
    }
    std::vector<Bytes> want;
    const std::size_t planes = image.bands.size(), stride = image.bands[0]->rowBytes;
    for (std::size_t p = 0; !pixel && p < planes; ++p) {
      want.emplace_back(image.row(p, r), image.row(p, r) + (family.depths[p] * kWidth + 7) / 8);
    }
    if (pixel) want.emplace_back(stride * planes);
    for (std::size_t i = 0; pixel && i < stride * planes; ++i) {
      want[0][i] = image.row(i % planes, r)[i / planes];
    }
    expected.push_back(want);
  }

  bool blankRow(std::size_t g) const {
    for (const Bytes& plane : expected[g]) {
      if (std::count(plane.begin(), plane.end(), blank) != static_cast<long>(plane.size())) {
        return false;
      }
    }
    return true;
  }
};

TEST_P(RoundTrip, RowsComeBackAsTheBandsHeldThem) {
  const bool seedRow = mode % 1000 == 3 || mode % 1000 == 256;
  setUp(family.colorSpace, family.planes, mode, deviceWidth);
  Image image(family.depths, kWidth, 150);
  std::mt19937 rng(static_cast<std::uint32_t>(mode + deviceWidth));
  const std::string raster = kelmtest::captureRaster([&] {
    KELM_SendTopOfPage(0, 0, 0);
    image.send(mode, {kBandRows[0], kBandRows[1]}, [&](int band) {
      for (int r = 0, g = band * kBandRows[0]; r < kBandRows[band]; ++r, ++g) {
        fill(image, r, g, r > 0 ? r - 1 : g > 0 ? kBandRows[0] - 1 : -1, rng);
      }
    });
  });
  const std::vector<inspect::RasterCommand> commands = kelmtest::parse(raster);
  std::vector<inspect::RasterImage> images;
  std::string error;
  ASSERT_TRUE(inspect::rebuildRasterImages(commands, &images, &error)) << error;
  ASSERT_EQ(images.size(), 1u);
  const inspect::RasterImage& decoded = images[0];

  std::size_t sent = kImageRows;  // rows held back at the end of an image are dropped
  while (seedRow && blankRow(sent - 1)) --sent;
  ASSERT_EQ(decoded.rows(), sent);
  ASSERT_EQ(decoded.planes.size(), expected[0].size());
  std::size_t deltaRows = 0;
  for (std::size_t g = 0; g < sent; ++g) {
    for (std::size_t p = 0; p < decoded.planes.size(); ++p) {
      Bytes got = decoded.planes[p][g];
      ASSERT_LE(got.size(), expected[g][p].size()) << "row " << g << " plane " << p;
      got.resize(expected[g][p].size(), blank);
      ASSERT_EQ(got, expected[g][p]) << "row " << g << " plane " << p;
      // Delta rows only against the row sent just before, in the same band.
      if (decoded.compression[p][g] != 3) continue;
      ++deltaRows;
      EXPECT_TRUE(g != 0 && g != std::size_t{kBandRows[0]} && !blankRow(g - 1)) << "row " << g;
    }
  }
  EXPECT_EQ(deltaRows > 0, seedRow);

  // A compression command only at a real change; vertical skips only where rows are held back.
  int announced = -1, skips = 0;
  for (std::size_t i = decoded.firstCommand; i < decoded.endCommand; ++i) {
    if (commands[i].is("*b", 'M')) {
      EXPECT_NE(commands[i].number, announced) << "command " << i;
      announced = static_cast<int>(commands[i].number);
    }
    skips += commands[i].is("*b", 'Y');
  }
  EXPECT_EQ(skips > 0, seedRow);
  const bool block = mode % 1000 == 128;
  const std::vector<std::size_t> blocks = {128, 12, 30};
  EXPECT_EQ(decoded.blockRows, block ? blocks : std::vector<std::size_t>{});
  EXPECT_EQ(decoded.blockWidth, block ? deviceWidth : -1);
}

INSTANTIATE_TEST_SUITE_P(AllModes, RoundTrip,
                         testing::Combine(testing::Range(0, 6), testing::Values(0, 2, 3, 128, 256),
                                          testing::Values(kWidth, 7)),
                         [](const auto& info) {
                           return std::string(kFamilies[std::get<0>(info.param)].name) + "_" +
                                  std::to_string(std::get<1>(info.param)) + "_Width" +
                                  std::to_string(std::get<2>(info.param));
                         });

// ---- Row commands of blank rows and of planes without band buffer ----------------------------

TEST(SendBand, BlankRowsAndMissingPlanes) {
  // Four 8-bit ink planes of 8 pixels; rows 0 and 1 blank, row 2 with K, M and Y inked.
  const std::string blank = "ESC*b0V ESC*b0V ESC*b0V ESC*b0W ";
  const struct {
    const char* name;
    int mode, planes;
    std::size_t missing;  // a plane without band buffer, or 4 for none
    std::string codes;
    bool unsentInk = false;  // row 1 inked only in Y, which a 3-plane image never sends
  } cases[] = {
      {"none", 4000, 4, 4, blank + blank + "ESC*b1V ESC*b0V ESC*b1V ESC*b1W"},
      {"no mode", -1, 4, 4, blank + blank + "ESC*b1V ESC*b0V ESC*b1V ESC*b1W"},
      {"packbits", 4002, 4, 4, blank + blank + "ESC*b2V ESC*b0V ESC*b2V ESC*b2W"},
      {"seed row", 4003, 4, 4, "ESC*b2Y ESC*b0M ESC*b8V ESC*b8V ESC*b8V ESC*b8W"},
      {"packbits seed row", 4256, 4, 4, "ESC*b2Y ESC*b4V ESC*b2V ESC*b4V ESC*b4W"},
      {"block", 4128, 4, 4, "ESC*b22W"},
      {"seed row, no K buffer", 4003, 4, 0, "ESC*b2Y ESC*b0V ESC*b0M ESC*b8V ESC*b8V ESC*b8W"},
      {"block, no K buffer", 4128, 4, 0, "ESC*b20W"},
      {"more planes than the list", 4002, 5, 4,
       "ESC*b0V ESC*b0V ESC*b0V ESC*b0V ESC*b0W ESC*b0V ESC*b0V ESC*b0V ESC*b0V ESC*b0W ESC*b2V "
       "ESC*b0V ESC*b2V ESC*b2V ESC*b0W"},
      {"seed row, ink only in an unsent plane", 4003, 3, 4,
       "ESC*b1Y ESC*b0M ESC*b8V ESC*b8V ESC*b8W ESC*b3M ESC*b2V ESC*b0V ESC*b2W", true},
      // An empty plane row never changes the compression, before or after a delta row.
      {"seed row, unsent ink, no K buffer", 4003, 3, 0,
       "ESC*b1Y ESC*b0V ESC*b0M ESC*b8V ESC*b8W ESC*b0V ESC*b3M ESC*b0V ESC*b2W", true},
  };
  for (const auto& c : cases) {
    setUp(3, c.planes, c.mode, 8);
    Image image({8, 8, 8, 8}, 8, 3);
    for (std::size_t p : {0, 2, 3}) image.row(p, 2)[0] = 0x44;
    if (c.unsentInk) image.row(3, 1)[0] = 0x44;
    if (c.missing < 4) image.dropBand(c.missing);
    const std::string codes = captureCodes([&] { image.send(c.mode, {3}, [](int) {}); });
    EXPECT_EQ(codes, "ESC*r1A ESC*b" +
                         std::to_string(
                             std::max(c.mode % 1000, 0) == 256 ? 2 : std::max(c.mode % 1000, 0)) +
                         "M " + c.codes + " ESC*rC")
        << c.name;
  }
}

TEST(SendBand, PixelRowsInterleaveOverTheFirstStride) {
  // White bands with a few bytes set: {plane, offset in its band buffer, value}.
  struct Poke {
    std::size_t plane, at;
    std::uint8_t value;
  };
  const std::vector<Poke> rgAt0 = {{0, 0, 0}, {1, 0, 0}}, padding = {{0, 3, 0}, {1, 3, 0}},
                          runOn = {{0, 0, 0x10}, {1, 4, 0x21}, {2, 4, 0x31}};
  const struct {
    const char* name;
    int mode, redDepth, width, rows;  // G and B are 8-bit
    std::size_t missing;              // a plane without band buffer, or 3 for none
    const std::vector<Poke>& pokes;
    std::string codes;
  } cases[] = {
      {"no first band", 10002, 8, 2, 1, 0, rgAt0, "ESC*b2M ESC*b0W"},
      {"no blue band", 10000, 8, 2, 1, 2, rgAt0,
       "ESC*b0M ESC*b12W 00 00 00 FF FF 00 FF FF 00 FF FF 00"},
      // G and B rows are 4 bytes, R rows 8: they run on into their next row, then read 0.
      {"shorter strides run on", 10000, 10, 4, 2, 3, runOn,
       "ESC*b0M ESC*b15W 10 FF FF FF FF FF FF FF FF FF FF FF FF 21 31 ESC*b24W FF 21 31 FF FF FF "
       "FF FF FF FF FF FF FF 00 00 FF\n00 00 FF 00 00 FF 00 00"},
      {"seed row of the run-on row", 10003, 10, 4, 2, 3, runOn,
       "ESC*b3M ESC*b0M ESC*b24W 10 FF FF FF FF FF FF FF FF FF FF FF FF 21 31 FF\nFF FF FF FF FF "
       "FF FF FF ESC*b3M ESC*b16W 40 FF 21 31 2A 00 00 21 00 00 21 00 00 21 00 00"},
      // Blank pixels make a blank row whatever the padding holds.
      {"blank row, inked padding", 10002, 8, 3, 1, 3, padding, "ESC*b2M ESC*b0W"},
      {"blank row in a block", 10128, 8, 3, 1, 3, padding, "ESC*b128M ESC*b5W 00 00 00 08 80"},
  };
  for (const auto& c : cases) {
    setUp(18, 1, c.mode, 8);
    Image image({c.redDepth, 8, 8}, c.width, c.rows);
    for (auto& band : image.bands) std::fill(band->pixels.begin(), band->pixels.end(), 0xFF);
    for (const Poke& poke : c.pokes) image.bands[poke.plane]->baseAddr[poke.at] = poke.value;
    if (c.missing < 3) image.dropBand(c.missing);
    const std::string codes = captureCodes([&] { image.send(c.mode, {c.rows}, [](int) {}); }, true);
    EXPECT_EQ(codes, "ESC*r1A " + c.codes + " ESC*rC") << c.name;
  }
}

TEST(SendBand, HeldBackRowsCarryOverBandsUntilTopOfPage) {
  setUp(3, 4, 4003, 8);
  Image image({8, 8, 8, 8}, 8, 3);
  const auto rows = [&](std::initializer_list<int> black) {
    int r = 0;
    for (int v : black) {
      for (std::size_t p = 0; p < 4; ++p) image.row(p, r)[0] = static_cast<std::uint8_t>(v);
      ++r;
    }
  };
  const std::string codes = captureCodes([&] {
    image.send(4003, {3, 3, 1, 1}, [&](int band) {
      if (band == 0) rows({0, 0, 0});
      if (band == 1) rows({0, 9, 9});
      if (band == 2) rows({9});  // the previous row again, but first in its band
      if (band == 3) rows({0});
    });
  });
  EXPECT_EQ(codes,
            "ESC*r1A ESC*b3M ESC*b4Y ESC*b0M ESC*b8V ESC*b8V ESC*b8V ESC*b8W ESC*b3M ESC*b0V "
            "ESC*b0V ESC*b0V ESC*b0W ESC*b0M ESC*b8V ESC*b8V ESC*b8V ESC*b8W ESC*rC");
  EXPECT_EQ(kelm_GetState().mBlankLines, 1);
  kelmtest::captureRaster([] { KELM_SendTopOfPage(1, 1, 1); });
  EXPECT_EQ(kelm_GetState().mBlankLines, 0);
}

}  // namespace
