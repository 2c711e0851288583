#include "config/raw_packet.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cmdfile/cmdfile_info.h"
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
    copyField(line.key, key.c_str());
    copyField(line.value, value.c_str());
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
    EXPECT_EXIT_WITH_STDOUT(feed(parseZELP_RawParameter, p, lines), echo);
  }
}

// Commands as a definition file gives them; the print file tests show whole commands.
const char* const kCommands =
    "[SetThing]\n"
    "ParamCount=2\n"
    "SimplePacket=zelp_id_val_packet_type_document_method,\n"
    "0x0010\n"
    "Param1\n"
    "0x00AA\n"
    "Param2\n"
    "Param1.Name=\"mode\"\n"
    "Param1.DataType=Number\n"
    "Param1.Size=2\n"
    "Param1.Value=0x03,mode_fast\n"
    "Param2.Name=\"count\"\n"
    "Param2.DataType=Number\n"
    "Param2.Size=1\n"
    "[Tag]\n"
    "ParamCount=1\n"
    "SimplePacket=zelp_id_val_packet_type_job_attr,\n"
    "7\n"
    "Param1\n"
    "Param1.Name=\"tag\"\n"
    "Param1.DataType=String\n"
    "Param1.Size=S\n";

// The packet list a [ZELP] line naming a command of kCommands gives, as the reader passes it on.
std::unique_ptr<rawPacket> commandPackets(const std::string& key, const std::string& value) {
  testsupport::TempDir dir;
  testsupport::writeFile(dir / "zelpgencmd.inf", kCommands);
  CmdFileInfoPtr set = getCmdFileInfo((dir / "zelpgencmd.inf").c_str());
  EXPECT_EQ(set->errors, std::vector<std::string>{});
  EXPECT_EQ(isExistMatchCommand(set.get(), key.c_str()), 1) << key;
  parameter p;
  p.commandDefinitions = set.get();
  feed(parseZELPParameterCmd, p, {{key, value}}, 15);
  return std::move(p.rawPacketList);
}

// A packet is listed at its first parameter and waits there for the others.
TEST(CommandPackets, PacketWaitsForItsRemainingParameters) {
  const auto list = commandPackets("SetThing", "7");
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->operation, 6u);
  EXPECT_EQ(list->lineNumber, 15);
  EXPECT_EQ(list->data, kSimpleHeader + Bytes({0, 0, 0, 0, 0x00, 0x10, 0x00, 0x07, 0x00, 0xAA}));
  EXPECT_EQ(list->next, nullptr);
}

TEST(CommandPackets, StringLengthByte) {
  const std::vector<std::pair<std::string, Bytes>> cases = {
      {"\"\"", {0x00}},
      {"\"a#b\"", {0x03, 'a', '#', 'b'}},
      {"x", {0xFF}},  // no quotes: a length of -1
      {"\"" + std::string(300, 'q') + "\"", Bytes({0x12}) + Bytes(300, 'q')},
  };
  for (const auto& [value, bytes] : cases) {
    const auto list = commandPackets("Tag", value);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->data, kSimpleHeader + Bytes({0x07}) + bytes) << value;
  }
}

TEST(CommandPackets, UnknownSymbolOrQuotedNumberEndsTheProcess) {
  EXPECT_EXIT_WITH_STDOUT(commandPackets("SetThing", "mode_slow"), "");
  EXPECT_EXIT_WITH_STDOUT(commandPackets("SetThing", "\"3\""), "");
}

}  // namespace
