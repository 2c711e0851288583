#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "cmdfile/cmdfile_info.h"
#include "config/raw_packet.h"

namespace {

TEST(CmdText, LongValues) {
  // Ten digits at most, hexadecimal cut to eight; only a lower-case x makes hexadecimal.
  const std::pair<const char*, std::uint32_t> cases[] = {{"", 0},
                                                         {"0x1F", 31},
                                                         {"0X1F", 0},
                                                         {"0xFFFFFFFF", 0xFFFFFFFF},
                                                         {"0x123456789", 0x12345678},
                                                         {"4294967296", 0},
                                                         {"9999999999", 1410065407},
                                                         {"12345678901", 0},
                                                         {"000000000012", 12}};
  for (const auto& [text, value] : cases) EXPECT_EQ(getLongValue(text), value) << text;
}

// How the definition file's values are classed, which decides the messages.
TEST(CmdText, Predicates) {
  struct Case {
    const char* text;
    int number, string, symbol, param;
  };
  const Case cases[] = {{"", 1, 0, 0, 0},          {"0X", 1, 0, 0, 0},      {"0xg", 0, 0, 1, 0},
                        {"-1", 0, 0, 1, 0},        {"1x2", 0, 0, 1, 0},     {"\"\"", 0, 1, 0, 0},
                        {"\"", 0, 0, 1, 0},        {"a\"", 0, 0, 1, 0},     {"Param", 0, 0, 1, 1},
                        {"Param0x1F", 0, 0, 1, 1}, {"Param1a", 0, 0, 1, 0}, {"param1", 0, 0, 1, 0}};
  for (const Case& c : cases) {
    EXPECT_EQ(stringIsNumber(c.text), c.number) << c.text;
    EXPECT_EQ(stringIsString(c.text), c.string) << c.text;
    EXPECT_EQ(stringIsSymbol(c.text), c.symbol) << c.text;
    EXPECT_EQ(paramFormatIsRight(c.text), c.param) << c.text;
  }
}

TEST(CmdText, NumbersFormattedToTheParameterSize) {
  struct Case {
    const char* text;
    std::uint32_t size;
    const char* out;
  };
  // Padded, never cut ("300" at size 1); a prefix stays behind the padding.
  const Case cases[] = {
      {"3", 1, "03"},     {"300", 1, "12c"},         {"255", 8, "00000000000000ff"},
      {"0x3", 2, "00x3"}, {"0X0003", 4, "000X0003"}, {"0x1234", 3, "0x1"},
      {"12", 0, ""},      {"", 2, "0000"},           {"0x12", 4000000000u, "0x12"}};
  for (const Case& c : cases) {
    EXPECT_EQ(makeZELPDataFmt(c.text, c.size), c.out) << c.text << " size " << c.size;
  }
}

}  // namespace
