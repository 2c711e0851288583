#include "inspect/raster.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using Bytes = std::vector<std::uint8_t>;

// `text` with every "ESC" replaced by the escape byte.
Bytes stream(const std::string& text) {
  Bytes out;
  for (std::size_t at = 0; at < text.size();) {
    if (text.compare(at, 3, "ESC") == 0) {
      out.push_back(0x1B);
      at += 3;
    } else {
      out.push_back(static_cast<std::uint8_t>(text[at++]));
    }
  }
  return out;
}

std::vector<inspect::RasterCommand> parse(const Bytes& bytes) {
  std::vector<inspect::RasterCommand> commands;
  std::string error;
  EXPECT_TRUE(inspect::parseRaster(bytes, &commands, &error)) << error;
  return commands;
}

TEST(ParseRaster, SplitsTextEscapesAndParameterizedCommands) {
  const auto commands =
      parse(stream("ESC%-12345X@PJL\n@PJL SET X=1\nESCEESC*p+10x-20YESC*b3Wa\x1b"
                   "cESC$EESC*rCESC*v2W\x01\x02"));
  std::vector<std::string> codes;
  for (const auto& c : commands) codes.push_back(c.code());
  EXPECT_EQ(codes, (std::vector<std::string>{"ESC%-12345X", "@PJL\n", "@PJL SET X=1\n", "ESCE",
                                             "ESC*p+10X", "ESC*p-20Y", "ESC*b3W", "ESC$E", "ESC*rC",
                                             "ESC*v2W"}));
  EXPECT_EQ(commands[0].number, -12345);
  EXPECT_EQ(commands[4].parameter, 'x');
  EXPECT_FALSE(commands[4].continued);
  EXPECT_TRUE(commands[5].continued);
  EXPECT_EQ(commands[5].number, -20);
  EXPECT_EQ(commands[6].data, (Bytes{'a', 0x1B, 'c'}));
  EXPECT_EQ(commands[6].offset, 40u);
  EXPECT_TRUE(commands[6].is("*b", 'w'));
  EXPECT_EQ(commands[9].data, (Bytes{1, 2}));
}

TEST(ParseRaster, RejectsBrokenStreams) {
  const struct {
    const char* name;
    Bytes bytes;
  } cases[] = {
      {"escape at the end", stream("@PJL\nESC")},
      {"control byte after escape", {0x1B, 0x01}},
      {"sequence cut short", stream("ESC*b12")},
      {"payload past the end", stream("ESC*b5Wabc")},
      {"bad parameter", stream("ESC*b12\x01")},
      {"number too long", stream("ESC*b1234567890123456789W")},
  };
  for (const auto& c : cases) {
    std::vector<inspect::RasterCommand> commands;
    std::string error;
    EXPECT_FALSE(inspect::parseRaster(c.bytes, &commands, &error)) << c.name;
    EXPECT_FALSE(error.empty()) << c.name;
  }
}

TEST(RowCodes, UnpackAndApplySeedRows) {
  Bytes out;
  EXPECT_TRUE(inspect::unpackBits(Bytes{0x01, 7, 8, 0x80, 0xFE, 9}, &out));
  EXPECT_EQ(out, (Bytes{7, 8, 9, 9, 9}));
  out.clear();
  std::size_t used = 0;
  EXPECT_TRUE(inspect::unpackBits(Bytes{0x00, 5, 0x80, 0x00, 6}, &out, true, &used));
  EXPECT_EQ(out, (Bytes{5}));
  EXPECT_EQ(used, 3u);
  EXPECT_FALSE(inspect::unpackBits(Bytes{0x00, 5}, &out, true));  // no end mark
  EXPECT_FALSE(inspect::unpackBits(Bytes{0x03, 5}, &out));
  EXPECT_FALSE(inspect::unpackBits(Bytes{0xFE}, &out));

  Bytes row(4, 0x11);
  EXPECT_TRUE(inspect::applySeedRow(Bytes{0x21, 0xA, 0xB, 31, 255, 0, 0xC}, &row));
  Bytes want(290, 0);
  want[0] = want[3] = 0x11;
  want[1] = 0xA;
  want[2] = 0xB;
  want[289] = 0xC;
  EXPECT_EQ(row, want);
  EXPECT_FALSE(inspect::applySeedRow(Bytes{31, 255}, &row));
  EXPECT_FALSE(inspect::applySeedRow(Bytes{0x20, 1}, &row));
}

TEST(RebuildRasterImages, RebuildsPlaneRowsOfEveryCompression) {
  const Bytes bytes = stream(
      "ESC*v6W\x02\x02\x00\x08\x08\x08"
      "ESC*r1AESC*b0M"
      "ESC*b2VabESC*b1Wc"  // plain row
      "ESC*b2Y"            // two skipped rows
      "ESC*b2MESC*b3V\x01"
      "deESC*b0W"                 // PackBits; an empty last plane
      "ESC*b3MESC*b3V!xyESC*b0W"  // delta against "de"; the seed of an empty row
      "ESC*b128MESC*b12W\x00\x00\x01\x2C\x80\x00q\x80\xFEz\x80\x80"  // a block of two rows
      "ESC*rCESC*b0YESC*r1AESC*rC"s);
  const auto commands = parse(bytes);
  std::vector<inspect::RasterImage> images;
  std::string error;
  ASSERT_TRUE(inspect::rebuildRasterImages(commands, &images, &error)) << error;
  ASSERT_EQ(images.size(), 2u);
  const inspect::RasterImage& image = images[0];
  EXPECT_EQ(image.configuration, (Bytes{2, 2, 0, 8, 8, 8}));
  EXPECT_EQ(image.blockWidth, 300);
  EXPECT_EQ(image.blockRows, (std::vector<std::size_t>{2}));
  const std::vector<std::vector<Bytes>> planes = {
      {{'a', 'b'}, {}, {}, {'d', 'e'}, {'d', 'x', 'y'}, {}, {'z', 'z', 'z'}},
      {{'c'}, {}, {}, {}, {}, {'q'}, {}},
  };
  EXPECT_EQ(image.planes, planes);
  EXPECT_EQ(image.compression[0], (std::vector<int>{0, -1, -1, 2, 3, 128, 128}));
  EXPECT_EQ(commands[image.endCommand - 1].code(), "ESC*rC");
  EXPECT_EQ(images[1].rows(), 0u);
}

TEST(RebuildRasterImages, RejectsRowsThatDoNotFit) {
  const std::string cases[] = {
      "ESC*b1Wa",                      // outside raster mode
      "ESC*r1AESC*b1Wa",               // raster not ended
      "ESC*r1AESC*r1A",                // started twice
      "ESC*rC",                        // ended outside
      "ESC*r1AESC*b1VaESC*rC",         // ends inside a row
      "ESC*r1AESC*b1VaESC*b1YESC*rC",  // skip inside a row
      "ESC*b5MESC*r1AESC*rC",          // unknown compression
      "ESC*b2MESC*r1AESC*b1W\x05"
      "ESC*rC",                                     // PackBits cut short
      "ESC*b128MESC*r1AESC*b1VaESC*rC",             // plane row in block mode
      "ESC*b128MESC*r1AESC*b6W\0\0\0\1\0aESC*rC"s,  // block row without end mark
  };
  for (const std::string& text : cases) {
    const Bytes bytes = stream(text);
    std::vector<inspect::RasterImage> images;
    std::string error;
    EXPECT_FALSE(inspect::rebuildRasterImages(parse(bytes), &images, &error)) << text;
  }
}

}  // namespace
