// A job file opened through the packet layer, and builders for the packets it should hold.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "inspect/packets.h"
#include "support/support.h"
#include "zelp/store.h"
#include "zelp/zelp.h"

namespace zelptest {

using Bytes = std::vector<std::uint8_t>;

inline std::uint8_t hi(unsigned v) {
  return static_cast<std::uint8_t>(v >> 8);
}
inline std::uint8_t lo(unsigned v) {
  return static_cast<std::uint8_t>(v);
}

inline Bytes join(const std::vector<Bytes>& parts) {
  Bytes out;
  for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

using testsupport::packet;
inline Bytes setJob(std::uint16_t id, const Bytes& value) {
  return packet(18, join({{hi(id), lo(id)}, value}));
}
inline Bytes setDocument(std::uint16_t id, const Bytes& value) {
  return packet(24, join({{hi(id), lo(id)}, value}));
}
inline Bytes method(std::uint8_t code, const Bytes& arguments) {
  return packet(29, join({{0x00, 0x00, 0x00, 0x00, 0x40, code}, arguments}));
}

// The packets of a version 2 start sequence with nothing set but the open-job block.
inline std::vector<Bytes> emptyStartV2(const Bytes& openJob = {0x00, 0x00}) {
  return {packet(107, openJob),     packet(20, {0, 0, 0, 0}),      packet(21, {0x07, 0xD7, 0, 1}),
          packet(23, {0, 0, 0, 0}), setDocument(46, {0x7B, 0, 0}), setDocument(2007, {0x00, 0x01})};
}

// Each test writes one job file; the set flags start cleared, as in a fresh process.
class ZelpJob : public ::testing::Test {
 protected:
  void SetUp() override {
    zelp_ResetSetFlags();
    ZELP_NewWithName(path().c_str());
    ZELP_SetZELPVersion(1);
    ASSERT_EQ(ZELP_Open(), 0);
  }
  void TearDown() override {
    (void)ZELP_Close();  // finish() read it already
    ZELP_Delete();
    zelp_ResetSetFlags();
  }
  std::string path() const { return (dir_ / "job.dat").string(); }

  // Closes the file and returns its bytes, which must split into packets and, for a whole
  // job, form one well-formed job.
  Bytes finish(bool wholeJob = false) {
    EXPECT_EQ(ZELP_Close(), 0);
    Bytes bytes = testsupport::readFile(path());
    std::string error;
    EXPECT_TRUE(inspect::decodePackets(bytes, &packets_, &error)) << error;
    if (wholeJob) {
      EXPECT_TRUE(inspect::checkJob(packets_, &error)) << error;
    }
    return bytes;
  }

  testsupport::TempDir dir_;
  std::vector<inspect::Packet> packets_;
};

}  // namespace zelptest
