#include "inspect/raster.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using Bytes = std::vector<std::uint8_t>;

// `text` with every "ESC" replaced by the escape byte.
Bytes stream(const std::string& text) {
  Bytes out;
  for (std::size_t at = 0; at < text.size();) {
    const bool escape = text.compare(at, 3, "ESC") == 0;
    out.push_back(escape ? 0x1B : static_cast<std::uint8_t>(text[at]));
    at += escape ? 3 : 1;
  }
  return out;
}

bool rebuild(const std::string& text, std::vector<inspect::RasterCommand>* commands,
             std::vector<inspect::RasterImage>* images) {
  std::string error;
  return inspect::parseRaster(stream(text), commands, &error) &&
         inspect::rebuildRasterImages(*commands, images, &error);
}

TEST(RasterDecoder, ParsesCommandsAndRebuildsRowsOfEveryCompression) {
  std::vector<inspect::RasterCommand> commands;
  std::vector<inspect::RasterImage> images;
  ASSERT_TRUE(
      rebuild("ESC%-12345X@PJL\nESCEESC*p+10x-20Y"
              "ESC*v6W\x02\x02\x00\x08\x08\x08"
              "ESC*r1AESC*b0MESC*b2VabESC*b1Wc"  // plain
              "ESC*b2Y"                          // two skipped rows
              "ESC*b2MESC*b5V\x00"
              "d\x80\x00"
              "eESC*b0W"                  // PackBits, a no-op header inside; an empty last plane
              "ESC*b3MESC*b3V!xyESC*b0W"  // delta against "de"; an empty delta row repeats its seed
              "ESC*b128MESC*b12W\x00\x00\x01\x2C\x80\x00q\x80\xFEz\x80\x80"  // a block of two rows
              "ESC*rC"s,
              &commands, &images));
  std::string codes;
  for (std::size_t i = 0; i < 6; ++i) codes += commands[i].code() + " ";
  EXPECT_EQ(codes, "ESC%-12345X @PJL\n ESCE ESC*p+10X ESC*p-20Y ESC*v6W ");
  EXPECT_TRUE(commands[4].continued);
  EXPECT_EQ(commands[4].number, -20);
  ASSERT_EQ(images.size(), 1u);
  const inspect::RasterImage& image = images[0];
  EXPECT_EQ(image.configuration, (Bytes{2, 2, 0, 8, 8, 8}));
  EXPECT_EQ(image.blockWidth, 300);
  EXPECT_EQ(image.blockRows, std::vector<std::size_t>{2});
  const std::vector<std::vector<Bytes>> planes = {
      {{'a', 'b'}, {}, {}, {'d', 'e'}, {'d', 'x', 'y'}, {}, {'z', 'z', 'z'}},
      {{'c'}, {}, {}, {}, {}, {'q'}, {}}};
  EXPECT_EQ(image.planes, planes);
  EXPECT_EQ(image.compression[0], (std::vector<int>{0, -1, -1, 2, 3, 128, 128}));
}

TEST(RasterDecoder, RejectsBrokenStreams) {
  const std::string cases[] = {
      "@PJL\nESC",                     // escape at the end
      "ESC\x01",                       // control byte after escape
      "ESC*b12",                       // cut short
      "ESC*b5Wabc",                    // payload past the end
      "ESC*b1234567890123456789W",     // number too long
      "ESC*b1Wa",                      // row outside raster mode
      "ESC*r1AESC*b1Wa",               // raster not ended
      "ESC*r1AESC*r1A",                // started twice
      "ESC*r1AESC*b1VaESC*rC",         // ends inside a row
      "ESC*r1AESC*b1VaESC*b1YESC*rC",  // skip inside a row
      "ESC*b5MESC*r1AESC*rC",          // unknown compression
      "ESC*b2MESC*r1AESC*b1W\x05"
      "ESC*rC",  // PackBits cut short
      "ESC*b3MESC*r1AESC*b2W\x1F\xFF"
      "ESC*rC",                                     // delta offset cut short
      "ESC*b128MESC*r1AESC*b1VaESC*rC",             // plane row in block mode
      "ESC*b128MESC*r1AESC*b6W\0\0\0\1\0aESC*rC"s,  // block row without end mark
  };
  for (const std::string& text : cases) {
    std::vector<inspect::RasterCommand> commands;
    std::vector<inspect::RasterImage> images;
    EXPECT_FALSE(rebuild(text, &commands, &images)) << text;
  }
}

}  // namespace
