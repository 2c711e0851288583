#include "inspect/packets.h"

#include <gtest/gtest.h>

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

}  // namespace
