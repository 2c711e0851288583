#include "config/raw_packet.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/support.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

const Bytes kSimpleHeader = {0xCD, 0xCA, 0x10, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};

Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// Feeds key lines to a section parser as the configuration reader does.
template <typename Parser>
void feed(Parser parser, parameter& p, const std::vector<std::pair<std::string, std::string>>& kv,
          int firstLine = 1) {
  int n = firstLine;
  for (const auto& [key, value] : kv) {
    cfgLine line;
    line.lineNumber = n++;
    line.key = key;
    line.value = value;
    parser(&line, &p);
  }
}

// Mixed hex and quoted texts, an odd last digit and a blank between pairs are shown in the
// print file tests.
TEST(RawPacket, DataTexts) {
  const std::vector<std::pair<const char*, Bytes>> cases = {
      {"\"x y\"\"z\"", {'x', ' ', 'y', 'z'}},
      {"0x0 1", {0x00, 0x01}},  // a pair takes its second character whatever it is
      {"12", {0x12}},
      {"0x01\"AB", {}},
      {"0x0x12", {0x00, 0x12}},
      {"\"\"", {}},
      {"0x", {}},
      {"", {}}};
  for (const auto& [text, bytes] : cases) {
    rawPacket packet;
    packet.data = {0xEE};
    EXPECT_EQ(writeRawPacket(&packet, text), bytes.empty() ? 1 : 0) << text;
    EXPECT_EQ(packet.data, Bytes({0xEE}) + bytes) << text;
  }
}

// The print file tests show the packets and the echo; here, what they cannot see: a type
// name that is not known leaves the operation of a job method.
TEST(RawPacket, UnknownTypeCountsAsJobMethod) {
  parameter p;
  CaptureStdout();
  feed(parseZELP_RawParameter, p, {{"[ZELP_Raw]", "1"}, {"SimplePacket", "no_such_type,"}});
  EXPECT_EQ(GetCapturedStdout(), "SimplePacket=no_such_type,\n");
  ASSERT_NE(p.rawPacketList, nullptr);
  EXPECT_EQ(p.rawPacketList->operation, 0u);
  EXPECT_EQ(p.rawPacketList->data, kSimpleHeader);
}

// A key line with a value, or a header, inside the section ends the process after the echo.
// (Packets left short are ended at the print file level.)
TEST(RawPacket, SectionFatalLines) {
  const std::pair<std::string, std::string> full = {"FullPacket",
                                                    "zelp_id_val_packet_type_job_attr,"};
  const std::vector<std::pair<std::vector<std::pair<std::string, std::string>>, std::string>>
      cases = {{{full, {"Data", "0x01"}}, "FullPacket=zelp_id_val_packet_type_job_attr,\n"},
               {{{"[KELM]", "4"}}, ""}};
  for (const auto& [lines, echo] : cases) {
    parameter p;
    EXPECT_EXIT_FOR(feed(parseZELP_RawParameter, p, lines), echo,
                    "unknown key (a packet line starts with 0x or a double quote)");
  }
}

}  // namespace
