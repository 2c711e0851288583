#include "inspect/packets.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::uint8_t> header(std::uint16_t op, std::uint16_t len, std::uint8_t flags = 0) {
  std::vector<std::uint8_t> h = {0xCD,
                                 0xCA,
                                 0x10,
                                 flags,
                                 std::uint8_t(op >> 8),
                                 std::uint8_t(op),
                                 0x00,
                                 0x01,
                                 std::uint8_t(len >> 8),
                                 std::uint8_t(len)};
  h.resize(20, 0);
  return h;
}

TEST(DecodePackets, SplitsPacketsAndJoinsDataPayloads) {
  std::vector<std::uint8_t> file = header(17, 1);
  file.push_back(0x42);
  for (std::uint8_t flags : {0x02, 0x00}) {
    auto h = header(0x1A, 3, flags);
    file.insert(file.end(), h.begin(), h.end());
    file.insert(file.end(), {0x01, std::uint8_t(0xA0 + flags), 0x55});
  }
  std::vector<inspect::Packet> packets;
  std::string error;
  ASSERT_TRUE(inspect::decodePackets(file, &packets, &error)) << error;
  ASSERT_EQ(packets.size(), 3u);
  EXPECT_EQ(packets[0].operation, 17);
  EXPECT_EQ(packets[0].parameters, std::vector<std::uint8_t>{0x42});
  EXPECT_EQ(packets[2].offset, 21u + 23u);
  EXPECT_EQ(inspect::rasterStream(packets), (std::vector<std::uint8_t>{0xA2, 0x55, 0xA0, 0x55}));
}

TEST(DecodePackets, RejectsMalformedFiles) {
  const std::vector<std::vector<std::uint8_t>> bad = {
      {0xCD, 0xCA, 0x10},  // short header
      [] {
        auto h = header(17, 4);
        h[0] = 0;
        return h;
      }(),  // wrong lead
      [] {
        auto h = header(17, 4);
        h.push_back(1);
        return h;
      }(),  // parameters cut
      [] {
        auto h = header(0x1A, 2);
        h.insert(h.end(), {0x00, 0x01});
        return h;
      }(),  // lead byte
  };
  for (const auto& file : bad) {
    std::vector<inspect::Packet> packets;
    std::string error;
    EXPECT_FALSE(inspect::decodePackets(file, &packets, &error)) << testing::PrintToString(file);
    EXPECT_FALSE(error.empty());
  }
}

std::vector<std::uint8_t> withParameters(std::uint16_t op, std::vector<std::uint8_t> parameters,
                                         std::uint8_t flags = 0) {
  auto p = header(op, static_cast<std::uint16_t>(parameters.size()), flags);
  p.insert(p.end(), parameters.begin(), parameters.end());
  return p;
}

inspect::Packet decodeOne(const std::vector<std::uint8_t>& bytes) {
  std::vector<inspect::Packet> packets;
  std::string error;
  EXPECT_TRUE(inspect::decodePackets(bytes, &packets, &error)) << error;
  return packets.empty() ? inspect::Packet{} : packets[0];
}

TEST(DecodePackets, AttributesMethodsAndOpenJobEntries) {
  const auto medium = inspect::setAttribute(decodeOne(withParameters(24, {0x07, 0xED, 5, 6})));
  ASSERT_TRUE(medium.has_value());
  EXPECT_EQ(medium->id, 2029);
  EXPECT_EQ(medium->value, (std::vector<std::uint8_t>{5, 6}));
  EXPECT_FALSE(inspect::setAttribute(decodeOne(withParameters(24, {0x07}))).has_value());
  EXPECT_FALSE(inspect::setAttribute(decodeOne(withParameters(17, {0, 4}))).has_value());

  const auto drying =
      inspect::executeMethod(decodeOne(withParameters(29, {0, 0, 0, 0, 0x40, 0x06, 1, 13, 9})));
  ASSERT_TRUE(drying.has_value());
  EXPECT_EQ(drying->selector, 13);
  EXPECT_EQ(drying->value, std::vector<std::uint8_t>{9});
  const auto creator =
      inspect::executeMethod(decodeOne(withParameters(29, {0, 0, 0, 1, 0x40, 0x11, 0, 0, 0, 7})));
  ASSERT_TRUE(creator.has_value());
  EXPECT_EQ(creator->object, 1u);
  EXPECT_EQ(creator->selector, -1);
  EXPECT_FALSE(inspect::executeMethod(decodeOne(withParameters(29, {0, 0, 0, 0, 0x40}))));

  const auto entries = inspect::openJobEntries(
      decodeOne(withParameters(107, {0, 2, 0, 13, 0, 1, 7, 0, 4, 0, 3, 0, 3, 1})));
  ASSERT_TRUE(entries.has_value());
  ASSERT_EQ(entries->size(), 2u);
  EXPECT_EQ((*entries)[0].id, 13);
  EXPECT_EQ((*entries)[0].value, std::vector<std::uint8_t>{7});
  EXPECT_EQ((*entries)[1].value, (std::vector<std::uint8_t>{0, 3, 1}));
  for (const std::vector<std::uint8_t>& bad : std::vector<std::vector<std::uint8_t>>{
           {0, 2, 0, 13, 0, 1, 7},        // one entry short
           {0, 1, 0, 13, 0, 2, 7},        // value cut
           {0, 1, 0, 13, 0, 1, 7, 0xAA},  // bytes after the last entry
           {1, 0},                        // lead byte
       }) {
    EXPECT_FALSE(inspect::openJobEntries(decodeOne(withParameters(107, bad))).has_value())
        << testing::PrintToString(bad);
  }
}

TEST(CheckJob, PacketOrder) {
  const auto job = [](std::vector<std::vector<std::uint8_t>> parts) {
    std::vector<std::uint8_t> file;
    for (const auto& p : parts) file.insert(file.end(), p.begin(), p.end());
    std::vector<inspect::Packet> packets;
    std::string error;
    EXPECT_TRUE(inspect::decodePackets(file, &packets, &error)) << error;
    return packets;
  };
  const auto start = withParameters(17, {0, 1});
  const auto binder = withParameters(20, {0, 1});
  const auto document = withParameters(23, {0, 1});
  const auto attribute = [](std::uint16_t op) { return withParameters(op, {0, 46, 1}); };
  const auto data = withParameters(0x1A, {1, 0xAB});
  const auto method = withParameters(29, {0, 0, 0, 0, 0x40, 0x06, 1, 1, 1});
  const auto end = withParameters(19, {0});
  const auto endDocument = header(25, 0);
  const auto endBinder = header(22, 0);
  struct Case {
    const char* problem;  // null: a good job
    std::vector<std::vector<std::uint8_t>> parts;
  };
  const std::vector<Case> cases = {
      {nullptr,
       {start, attribute(18), method, binder, attribute(21), document, attribute(24), data, method,
        endDocument, endBinder, attribute(18), end}},
      {nullptr,
       {withParameters(107, {0, 1, 0, 9, 0, 0}), binder, document, endDocument, endBinder, end}},
      {"offset 0: no packets", {}},
      {"offset 22: job not ended", {start, binder}},
      {"offset 22: StartJob out of place", {start, start}},
      {"offset 22: Data out of place", {start, data}},
      {"offset 44: SetDocument out of place", {start, binder, attribute(24)}},
      {"offset 66: SetBinder out of place", {start, binder, document, attribute(21)}},
      {"offset 66: EndBinder out of place", {start, binder, document, endBinder}},
      {"offset 106: ExecuteMethod out of place",
       {start, binder, document, endDocument, endBinder, method}},
      {"offset 0: malformed open-job entries", {withParameters(107, {0, 1})}},
      {"offset 0: unknown operation", {header(99, 0)}},
      {"offset 0: flags on a packet that is not data", {header(17, 0, 0x02)}},
      {"offset 22: attribute packet without an attribute id", {start, withParameters(18, {1})}},
      {"offset 106: end job without its flag",
       {start, binder, document, endDocument, endBinder, header(19, 0)}},
  };
  for (const Case& c : cases) {
    std::string error;
    const bool good = inspect::checkJob(job(c.parts), &error);
    EXPECT_EQ(good, c.problem == nullptr) << error;
    if (c.problem != nullptr) {
      EXPECT_EQ(error, c.problem);
    }
  }
}

TEST(ListPackets, OneLinePerPacketThenTheFault) {
  std::vector<std::uint8_t> file = withParameters(107, {0, 1, 0, 4, 0, 4, 0, 3, 1, 'J'});
  for (const auto& p : {withParameters(24, {0x08, 0x5C, 0x00, 0x03, 0x01, 0x41}),
                        withParameters(29, {0, 0, 0, 0, 0x40, 0x06, 1, 7, 2}),
                        withParameters(0x1A, {1, 0xAB, 0xCD}, 0x02),
                        withParameters(18, {0x12, 0x34, 0x01}), header(25, 0), header(17, 3)}) {
    file.insert(file.end(), p.begin(), p.end());
  }
  std::string listing;
  EXPECT_FALSE(inspect::listPackets(file, &listing));
  EXPECT_EQ(
      listing,
      "00000000  OpenJob       107  flags 00  length    10  1 entries\n"
      "          JobName(4) = 00 03 01 4A\n"
      "0000001E  SetDocument    24  flags 00  length     6  PanelMessage(2140) = 00 03 01 41\n"
      "00000038  ExecuteMethod  29  flags 00  length     9  PrintingSuction = 02\n"
      "00000055  Data           26  flags 02  length     3  payload 2, more follows\n"
      "0000006C  SetJob         18  flags 00  length     3  attribute(4660) = 01\n"
      "00000083  EndDocument    25  flags 00  length     0\n"
      "error: offset 151: truncated parameters\n");
}

}  // namespace
