#include "config/values.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "image/reduction.h"
#include "support/support.h"

namespace {

using Parser = int (*)(const char*, const char*, const char*, int*, cfgLine*);

int initialFor(Parser parse) {
  return parse == parseParameterIntegerS ? INT_MIN : -1;
}

const Parser I = parseParameterInteger, S = parseParameterIntegerS,
             IS = parseParameterIntegerSymbol, QS = parseParameterSymbolS,
             EX = extractParameterIntegerSymbol, BS = parseParameterSymbol;

TEST(ValueKinds, AcceptedNumbersAndSymbols) {
  using Values = std::vector<std::pair<const char*, int>>;
  const std::vector<std::pair<Parser, Values>> cases = {
      {I, {{"101", 101}, {"0x65", 101}, {"0XfF", 255}, {"4294967297", 1}, {"0x1FFFFFFFF", -1}}},
      {S, {{"-25", -25}, {"+25", 25}, {"+-12", 0}, {"-0x10", -16}, {"-2147483649", INT_MAX}}},
      {IS,
       {{"id_val_input_tray_cassette_1", 101},
        {"0x65", 101},
        {"kelm_id_val_compression_packbits_seedrow", 256}}},
      {QS, {{"\"LONGEDGE\"", 1}, {"\"kelm_id_val_inktype_matte\"", 1}}},
      {BS, {{"LONGEDGE", 1}}},
      // A word without the extension prefix is accepted and stores nothing.
      {EX,
       {{"id_val_lfp_medium_type_ex_0123", 0x123},
        {"id_val_lfp_medium_type_ex_any", 65535},
        {"id_val_lfp_medium_type_ex_unknown", 1},
        {"0x10", 16},
        {"foo", -1}}}};
  for (const auto& [parse, values] : cases) {
    for (const auto& [value, stored] : values) {
      SCOPED_TRACE(value);
      int field = initialFor(parse);
      cfgLine line;
      line.numericValue = -1;
      EXPECT_EQ(parse("K", "K", value, &field, &line), 1);
      EXPECT_EQ(field, stored);
      EXPECT_EQ(line.numericValue, stored);
      EXPECT_EQ(parse("K", "Other", value, &field, &line), -1);
    }
  }
}

TEST(ValueKinds, RejectedNumbersAndSymbols) {
  // The reason, with %s standing for the value.
  constexpr const char* kNumber = "\"%s\" is not a number";
  constexpr const char* kHex = "\"%s\" is not a hexadecimal number";
  constexpr const char* kNone = "no value given";
  constexpr const char* kName = "\"%s\" is neither a number nor a known name";
  constexpr const char* kMedium =
      "\"%s\" ends in neither four digits nor any, not_care, unknown, other";
  const std::vector<std::pair<Parser, std::vector<std::pair<const char*, const char*>>>> cases = {
      {I, {{"-1", kNumber}, {"+5", kNumber}, {"12a", kNumber}, {"0x1G", kHex}, {"", kNone}}},
      {S, {{"25mm", kNumber}, {"--1", kNumber}, {"-0xZ", kHex}}},
      {IS, {{"no_such_symbol", kName}, {"0xZZ", kName}, {"ID_VAL_PLEX_SIMPLEX", kName}}},
      {QS,
       {{"LONGEDGE", "%s is not a name in double quotes"},
        {"\"nope\"", "%s is neither a number nor a known name"},
        {"\"\"", "%s is neither a number nor a known name"}}},
      {BS, {{"\"LONGEDGE\"", kName}}},
      {EX,
       {{"id_val_lfp_medium_type_ex_12345", kMedium},
        {"id_val_lfp_medium_type_ex_foo", kMedium},
        {"id_val_lfp_medium_type_ex_", kMedium}}}};
  for (const auto& [parse, values] : cases) {
    for (const auto& [value, reason] : values) {
      SCOPED_TRACE(value);
      int field = initialFor(parse);
      std::string expected = reason;
      if (const std::size_t at = expected.find("%s"); at != std::string::npos)
        expected.replace(at, 2, value);
      EXPECT_EXIT_FOR(parse("K", "K", value, &field, nullptr), "", expected);
    }
  }
}

TEST(ValueKinds, RepeatedKey) {
  for (Parser parse : {I, S, IS, EX, BS}) {
    int field = 7;
    EXPECT_EXIT_FOR(parse("K", "K", "1", &field, nullptr), "", "given more than once");
  }
  // Quoted symbols overwrite.
  int field = 0;
  EXPECT_EQ(parseParameterSymbolS("K", "K", "\"ON\"", &field, nullptr), 1);
  EXPECT_EQ(field, 1);
}

// Signs are kept apart from the value (see the full record); anything but one sign and digits
// ends the process, as does a second value.
TEST(ValueKinds, SignedPositions) {
  const std::pair<const char*, const char*> cases[] = {{"1-2", "\"1-2\" is not a number"},
                                                       {"x", "\"x\" is not a number"},
                                                       {"+ 1", "\"+ 1\" is not a number"},
                                                       {"", "no value given"}};
  for (const auto& [bad, reason] : cases) {
    int field = -1, sign = 0;
    EXPECT_EXIT_FOR(parseYOffset("K", "K", bad, &field, &sign, nullptr), "", reason);
  }
  int field = 3, sign = 0;
  EXPECT_EXIT_FOR(parseStartingPosition("K", "K", "4", &field, &sign, nullptr), "",
                  "given more than once");
}

TEST(ValueKinds, IndexLevels) {
  for (int levels : {3, 4, 5, 6, 16}) EXPECT_EQ(reductionTable(levels)[255], levels - 1) << levels;
  const unsigned char* const earlier = reductionTable(3);
  const std::vector<std::pair<const char*, const unsigned char*>> accepted = {
      {"4", reductionTable(4)}, {"16", reductionTable(16)}, {"0", earlier}, {"abc", earlier}};
  for (const auto& [value, table] : accepted) {
    const unsigned char* field = earlier;
    EXPECT_EQ(parseIndexLevel("K", "K", value, &field, nullptr), 1);
    EXPECT_EQ(field, table) << value;
  }
  const std::pair<const char*, const char*> rejected[] = {{"8", "no reduction to 8 levels"},
                                                          {"-3", "no reduction to -3 levels"},
                                                          {"17", "no reduction to 17 levels"},
                                                          {"2", "no reduction to 2 levels"},
                                                          {"", "no value given"}};
  for (const auto& [bad, reason] : rejected) {
    const unsigned char* field = nullptr;
    EXPECT_EXIT_FOR(parseIndexLevel("K", "K", bad, &field, nullptr), "", reason);
  }
}

TEST(ValueKinds, UUIDs) {
  unsigned char bytes[16];
  ASSERT_EQ(processUUID("00112233-4455-6677-8899-aabbccddeeff", bytes), 0);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(bytes[i], i * 0x11);
  for (const char* bad :
       {"00112233445566778899aabbccddeeff", "0011223-34455-6677-8899-aabbccddeeff",
        "00112233-4455-6677-8899-aabbccddeef", "00112233-4455-6677-8899-aabbccddeefg",
        "00112233-4455-6677-8899-aabbccddeeff0", ""})
    EXPECT_EQ(processUUID(bad, bytes), -1) << bad;
}

TEST(ValueKinds, JobTimes) {
  struct Case {
    const char* value;
    int jobTime;
    int fields[6];
    int gmt;
  };
  const Case cases[] = {{"5", 5, {0xFFFF, 0xFFFF, 0, 0, 0, 0}, -1},
                        {"\"01/02/2026 03:04:05\"", 2, {1, 2, 2026, 3, 4, 5}, -1},
                        {"\"ab/cd/efgh ij:kl:mn\"", 2, {0, 0, 0, 0, 0, 0}, -1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value);
    parameter p;
    testing::internal::CaptureStdout();
    EXPECT_EQ(parseJobTime("JobTime", "JobTime", c.value, &p, nullptr), 1);
    const std::string echo = testing::internal::GetCapturedStdout();
    EXPECT_EQ(echo, c.jobTime == 5 ? "JobTime=5\n" : std::string("JobTime=") + c.value + "\n");
    EXPECT_EQ(p.jobTime, c.jobTime);
    const int got[6] = {p.jobTimeField1, p.jobTimeField2, p.jobTimeYear,
                        p.jobTimeHour,   p.jobTimeMinute, p.jobTimeSecond};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(got[i], c.fields[i]) << i;
    EXPECT_EQ(p.jobTimeIsGMT, c.gmt);
  }
  for (const char* bad : {"\"12/31/2020 23:59\"", "12/31/2020 23:59:59", "\"12-31-2020 23:59:59\"",
                          "\"12/31/2020 23:59:59 UTC\"", "0x5"}) {
    parameter p;
    EXPECT_EXIT_FOR(
        parseJobTime("JobTime", "JobTime", bad, &p, nullptr), "",
        std::string(bad) + " is neither a number, a known name nor \"DD/DD/DDDD DD:DD:DD\"");
  }
  parameter p;
  p.jobTime = 0;
  EXPECT_EXIT_FOR(parseJobTime("JobTime", "JobTime", "1", &p, nullptr), "", "given more than once");
}

TEST(ValueKinds, Unquoting) {
  struct Case {
    const char* in;
    int result;
    const char* out;
  };
  const Case cases[] = {{"\"abc\"", 0, "abc"},     {"\"\"", 0, ""},
                        {"\"a\"\"b\"", 0, "a\"b"}, {"\"a\\\"b\"", 0, "a\"b"},
                        {"\"a\\b\"", 0, "a\\b"},   {"abc", -1, nullptr},
                        {"\"abc", -1, nullptr},    {"\"a\"b", -1, nullptr},
                        {"\"a\\\"", -1, nullptr},  {"\"a\"\"", -1, nullptr}};
  for (const Case& c : cases) {
    char out[16];
    EXPECT_EQ(processQuotaions(c.in, out, sizeof out), c.result) << c.in;
    if (c.out != nullptr) {
      EXPECT_STREQ(out, c.out) << c.in;
    }
  }
  char small[4];
  EXPECT_EQ(processQuotaions("\"abcdef\"", small, sizeof small), 0);
  EXPECT_STREQ(small, "abc");
}

// A required key counts from the section's header line on, and only with an allowed number.
TEST(SectionChecks, KeyPresenceFromHeader) {
  // [KELM] at 1, A=5 at 2, [Image] at 3, A=-1 at 4, B (no number stored) at 5.
  std::unique_ptr<cfgLine> head;
  cfgLine* last = nullptr;
  for (auto [n, key, num] :
       {std::tuple{1, "[KELM]", 0}, std::tuple{2, "A", 5}, std::tuple{3, "[Image]", 0},
        std::tuple{4, "A", -1}, std::tuple{5, "B", 0}}) {
    std::unique_ptr<cfgLine>& slot = last == nullptr ? head : last->next;
    slot = std::make_unique<cfgLine>();
    last = slot.get();
    last->lineNumber = n;
    last->key = key;
    last->numericValue = num;
  }
  EXPECT_EQ(checkParameterInteger("A", -1, head.get(), 1), 0);
  EXPECT_EQ(checkParameterInteger("B", -1, head.get(), 3), 0);
  EXPECT_EXIT_FOR(checkParameterInteger("A", -1, head.get(), 3), "", "has no usable value");
  EXPECT_EXIT_FOR(checkParameterInteger("A", 5, head.get(), 1), "", "has no usable value");
  EXPECT_EXIT_FOR(checkParameterInteger("C", -1, head.get(), 1), "", "missing from the section");
}

}  // namespace
