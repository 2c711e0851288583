#include "cmdfile/raw_packet.h"

#include <gtest/gtest.h>

#include <cstdint>
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

Bytes bytesOf(const rawPacket& packet) {
  return Bytes(packet.data.begin(), packet.data.end());
}

std::vector<const rawPacket*> packetsOf(const parameter& p) {
  std::vector<const rawPacket*> out;
  for (const rawPacket* r = p.rawPacketList.get(); r != nullptr; r = r->next.get()) {
    out.push_back(r);
  }
  return out;
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

TEST(RawPacket, DataTexts) {
  const std::vector<std::pair<const char*, Bytes>> cases = {
      {"0x0102\"AB\"03", {0x01, 0x02, 'A', 'B', 0x03}},
      {"0Xa0fF", {0xA0, 0xFF}},
      {"\"x y\"\"z\"", {'x', ' ', 'y', 'z'}},
      {"0x0 1", {0x00, 0x01}},  // a pair takes its second character whatever it is
      {"0x1 2", {0x01, 0x02}},
      {"0x123", {0x12, 0x03}},
      {"12", {0x12}},
      {"0x01 02", {}},
      {"0x01\"AB", {}},
      {"0x0x12", {0x00, 0x12}},
      {"\"\"", {}},
      {"0x", {}},
      {"", {}},
  };
  for (const auto& [text, bytes] : cases) {
    rawPacket packet;
    packet.data = {0xEE};
    EXPECT_EQ(writeRawPacket(&packet, text), bytes.empty() ? 1 : 0) << text;
    EXPECT_EQ(bytesOf(packet), Bytes({0xEE}) + bytes) << text;
  }
}

TEST(RawPacket, SectionBuildsPacketsAndEchoesLines) {
  parameter p;
  CaptureStdout();
  feed(parseZELP_RawParameter, p,
       {{"[ZELP_Raw]", "1"},
        {"SimplePacket", "zelp_id_val_packet_type_job_attr,"},
        {"FullPacket", "zelp_id_val_packet_type_binder_method,"},
        {"0xCDCA1000", ""},
        {"0x01 02", ""},
        {"0x0000001D00000000000000000000000000000000", ""},
        {"\"ab\"", ""},
        {"SimplePacket", "no_such_type,"}});
  checkRawPacket(&p);
  EXPECT_EQ(GetCapturedStdout(),
            "SimplePacket=zelp_id_val_packet_type_job_attr,\n"
            "FullPacket=zelp_id_val_packet_type_binder_method,\n"
            "\t0xCDCA1000\n\t0x01 02\n\t0x0000001D00000000000000000000000000000000\n\t\"ab\"\n"
            "SimplePacket=no_such_type,\n");

  const auto packets = packetsOf(p);
  ASSERT_EQ(packets.size(), 3u);
  EXPECT_EQ(packets[0]->operation, 18u);
  EXPECT_EQ(packets[0]->lineNumber, 2);
  EXPECT_EQ(bytesOf(*packets[0]), kSimpleHeader);
  EXPECT_EQ(packets[1]->operation, 3u);
  EXPECT_EQ(packets[1]->lineNumber, 3);
  EXPECT_EQ(bytesOf(*packets[1]),
            Bytes({0xCD, 0xCA, 0x10, 0x00, 0, 0, 0, 0x1D}) + Bytes(16, 0) + Bytes({'a', 'b'}));
  EXPECT_EQ(packets[2]->operation, 0u);  // an unknown type counts as a job method
}

TEST(RawPacket, SectionFatalLines) {
  using Lines = std::vector<std::pair<std::string, std::string>>;
  const std::pair<std::string, std::string> full = {"FullPacket",
                                                    "zelp_id_val_packet_type_job_attr,"};
  const std::string fullEcho = "FullPacket=zelp_id_val_packet_type_job_attr,\n\t0x0102\n";
  struct Case {
    Lines lines;
    bool leaveSection;  // as when [KELM] begins
    std::string echo;
  };
  const std::vector<Case> cases = {
      {{full, {"0x0102", ""}, full}, false, fullEcho},
      {{full, {"0x0102", ""}}, true, fullEcho},
      {{{"0x0102", ""}}, false, ""},
      {{full, {"Data", "0x01"}}, false, "FullPacket=zelp_id_val_packet_type_job_attr,\n"},
      {{{"[KELM]", "4"}}, false, ""},
  };
  for (const Case& c : cases) {
    parameter p;
    EXPECT_EXIT_WITH_STDOUT(
        {
          feed(parseZELP_RawParameter, p, c.lines);
          if (c.leaveSection) checkRawPacket(&p);
        },
        c.echo);
  }
}

const char* const kCommands =
    "[SetThing]\n"
    "ParamCount=3\n"
    "SimplePacket=zelp_id_val_packet_type_document_method,\n"
    "0x0010\n"
    "Param1\n"
    "0x00AA\n"
    "Param2\n"
    "Param3\n"
    "Param1.Name=\"mode\"\n"
    "Param1.DataType=Number\n"
    "Param1.Size=2\n"
    "Param1.Value=0x03,mode_fast\n"
    "Param2.Name=\"label\"\n"
    "Param2.DataType=String\n"
    "Param2.Size=StringLength\n"
    "Param3.Name=\"count\"\n"
    "Param3.DataType=Number\n"
    "Param3.Size=4\n"
    "[Tag]\n"
    "ParamCount=1\n"
    "SimplePacket=zelp_id_val_packet_type_job_attr,\n"
    "7\n"
    "Param1\n"
    "Param1.Name=\"tag\"\n"
    "Param1.DataType=String\n"
    "Param1.Size=S\n"
    "[Fixed]\n"
    "ParamCount=0\n"
    "SimplePacket=zelp_id_val_packet_type_binder_attr,\n"
    "0x0102\n"
    "3\n";

class CommandPackets : public testing::Test {
 protected:
  void SetUp() override {
    testsupport::writeFile(dir_ / "zelpgencmd.inf", kCommands);
    set_ = getCmdFileInfo((dir_ / "zelpgencmd.inf").c_str());
    ASSERT_NE(set_, nullptr);
    ASSERT_EQ(set_->errors, std::vector<std::string>{});
    p_.commandDefinitions = set_.get();
  }
  // A [ZELP] line naming a command, as the configuration reader passes it on.
  void use(const std::string& key, const std::string& value, int lineNumber) {
    ASSERT_EQ(isExistMatchCommand(set_.get(), key.c_str()), 1) << key;
    feed(parseZELPParameterCmd, p_, {{key, value}}, lineNumber);
  }

  testsupport::TempDir dir_;
  CmdFileInfoPtr set_;
  parameter p_;
};

TEST_F(CommandPackets, ParametersByDataType) {
  use("SetThing", "mode_fast", 10);
  use("SetThing", "\"AB\"", 11);
  use("SetThing", "300", 12);
  use("Tag", "\"xyz\"", 13);
  use("Fixed", "", 14);
  use("SetThing", "7", 15);

  const auto packets = packetsOf(p_);
  ASSERT_EQ(packets.size(), 4u);
  const Bytes method = {0, 0, 0, 0};
  EXPECT_EQ(packets[0]->operation, 6u);
  EXPECT_EQ(packets[0]->lineNumber, 10);
  EXPECT_EQ(bytesOf(*packets[0]),
            kSimpleHeader + method +
                Bytes({0x00, 0x10, 0x03, 0x00, 0xAA, 0x02, 'A', 'B', 0x00, 0x00, 0x01, 0x2C}))
      << testsupport::hex(bytesOf(*packets[0]));
  EXPECT_EQ(packets[1]->operation, 18u);
  EXPECT_EQ(bytesOf(*packets[1]), kSimpleHeader + Bytes({0x07, 0x03, 'x', 'y', 'z'}));
  EXPECT_EQ(packets[2]->operation, 21u);
  EXPECT_EQ(bytesOf(*packets[2]), kSimpleHeader + Bytes({0x01, 0x02, 0x03}));
  // A fourth line starts a new packet, which waits for its remaining parameters.
  EXPECT_EQ(packets[3]->lineNumber, 15);
  EXPECT_EQ(bytesOf(*packets[3]),
            kSimpleHeader + method + Bytes({0x00, 0x10, 0x00, 0x07, 0x00, 0xAA}));
}

TEST_F(CommandPackets, StringLengthByte) {
  const std::vector<std::pair<std::string, Bytes>> cases = {
      {"\"\"", {0x00}},
      {"\"a#b\"", {0x03, 'a', '#', 'b'}},
      {"x", {0xFF}},  // no quotes: a length of -1
      {"\"" + std::string(300, 'q') + "\"", Bytes({0x12}) + Bytes(300, 'q')},
  };
  for (const auto& [value, bytes] : cases) {
    p_.rawPacketList.reset();
    use("Tag", value, 1);
    ASSERT_NE(p_.rawPacketList, nullptr);
    EXPECT_EQ(bytesOf(*p_.rawPacketList), kSimpleHeader + Bytes({0x07}) + bytes) << value;
  }
}

TEST_F(CommandPackets, UnknownSymbolOrQuotedNumberEndsTheProcess) {
  EXPECT_EXIT_WITH_STDOUT(use("SetThing", "mode_slow", 1), "");
  EXPECT_EXIT_WITH_STDOUT(use("SetThing", "\"3\"", 1), "");
}

}  // namespace
