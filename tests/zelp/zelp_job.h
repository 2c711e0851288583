// A job file opened through the packet layer.
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
