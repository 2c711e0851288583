#include "inspect/packets.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/support.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using testsupport::packet;

std::vector<inspect::Packet> decode(const std::vector<Bytes>& parts) {
  Bytes file;
  for (const Bytes& p : parts) file.insert(file.end(), p.begin(), p.end());
  std::vector<inspect::Packet> packets;
  std::string error;
  EXPECT_TRUE(inspect::decodePackets(file, &packets, &error)) << error;
  return packets;
}

TEST(DecodePackets, RefusesMalformedFiles) {
  Bytes wrongLead = packet(17, {1, 2, 3, 4});
  wrongLead[0] = 0;
  for (const Bytes& file :
       {Bytes{0xCD, 0xCA, 0x10}, wrongLead, packet(17, {1}, 0, 4), packet(0x1A, {0x00, 0x01})}) {
    std::vector<inspect::Packet> packets;
    std::string error;
    EXPECT_FALSE(inspect::decodePackets(file, &packets, &error)) << testing::PrintToString(file);
    EXPECT_FALSE(error.empty());
  }
}

TEST(CheckJob, PacketOrder) {
  const Bytes start = packet(17, {0, 1}), binder = packet(20, {0, 1}),
              document = packet(23, {0, 1}), data = packet(0x1A, {1, 0xAB}),
              method = packet(29, {0, 0, 0, 0, 0x40, 0x06, 1, 1, 1}), end = packet(19, {0}),
              endDocument = packet(25), endBinder = packet(22);
  const auto attribute = [](std::uint16_t op) { return packet(op, {0, 46, 1}); };
  const struct {
    const char* problem;  // null: a good job
    std::vector<Bytes> parts;
  } cases[] = {
      {nullptr,
       {start, attribute(18), method, binder, attribute(21), document, attribute(24), data, method,
        endDocument, endBinder, attribute(18), end}},
      {nullptr, {packet(107, {0, 1, 0, 9, 0, 0}), binder, document, endDocument, endBinder, end}},
      {"offset 0: no packets", {}},
      {"offset 22: job not ended", {start, binder}},
      {"offset 22: StartJob out of place", {start, start}},
      {"offset 22: Data out of place", {start, data}},
      {"offset 44: SetDocument out of place", {start, binder, attribute(24)}},
      {"offset 66: EndBinder out of place", {start, binder, document, endBinder}},
      {"offset 106: ExecuteMethod out of place",
       {start, binder, document, endDocument, endBinder, method}},
      // Open-job entries: one short, a value cut, bytes after the last, a lead byte.
      {"offset 0: malformed open-job entries", {packet(107, {0, 2, 0, 13, 0, 1, 7})}},
      {"offset 0: malformed open-job entries", {packet(107, {0, 1, 0, 13, 0, 2, 7})}},
      {"offset 0: malformed open-job entries", {packet(107, {0, 1, 0, 13, 0, 1, 7, 0xAA})}},
      {"offset 0: malformed open-job entries", {packet(107, {1, 0})}},
      {"offset 0: unknown operation", {packet(99)}},
      {"offset 0: flags on a packet that is not data", {packet(17, {}, 0x02)}},
      {"offset 22: attribute packet without an attribute id", {start, packet(18, {1})}},
      {"offset 106: end job without its flag",
       {start, binder, document, endDocument, endBinder, packet(19)}},
  };
  for (const auto& c : cases) {
    std::string error;
    EXPECT_EQ(inspect::checkJob(decode(c.parts), &error), c.problem == nullptr) << error;
    EXPECT_EQ(error, c.problem ? c.problem : "");
  }
}

TEST(ListPackets, OneLinePerPacketThenTheFault) {
  Bytes file;
  for (const Bytes& p :
       {packet(107, {0, 1, 0, 4, 0, 4, 0, 3, 1, 'J'}),
        packet(24, {0x08, 0x5C, 0x00, 0x03, 0x01, 0x41}),
        packet(29, {0, 0, 0, 0, 0x40, 0x06, 1, 7, 2}), packet(0x1A, {1, 0xAB, 0xCD}, 0x02),
        packet(18, {0x12, 0x34, 0x01}), packet(25), packet(17, {}, 0, 3)}) {
    file.insert(file.end(), p.begin(), p.end());
  }
  std::string listing;
  EXPECT_FALSE(inspect::listPackets(file, &listing));
  EXPECT_EQ(
      listing,
      "00000000  OpenJob       107  flags 00  length    10  1 entries\n"
      "          JobName(4) = \"J\", charset 3 [00 03 01 4A]\n"
      "0000001E  SetDocument    24  flags 00  length     6  PanelMessage(2140) = \"A\", charset 3 "
      "[00 03 01 41]\n"
      "00000038  ExecuteMethod  29  flags 00  length     9  PrintingSuction = 2 "
      "(panel_setting_first) [02]\n"
      "00000055  Data           26  flags 02  length     3  payload 2, more follows, crc E9FFC9D0\n"
      "0000006C  SetJob         18  flags 00  length     3  attribute(4660) = 01\n"
      "00000083  EndDocument    25  flags 00  length     0\n"
      "error: offset 151: truncated parameters\n");
}

}  // namespace
