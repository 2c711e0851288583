#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "config/parameter.h"
#include "driver/driver.h"
#include "zelp/zelp_job.h"

namespace {

using namespace zelptest;

// processZELP opens the file itself, so the fixture's own job is put away first.
class ProcessZelp : public ZelpJob {
 protected:
  void SetUp() override {
    ZelpJob::SetUp();
    ZELP_Delete();
    copyField(record_.outFilePath, path().c_str());
    record_.jobTime = 0;  // no time: the clock stays out of the bytes
    record_.jobImpressions = 0x10002;
  }
  Bytes run() {
    EXPECT_EQ(processZELP(&record_), 0);
    EXPECT_EQ(ZELP_SendJobStartWithJobAttributes(), 0);
    EXPECT_EQ(ZELP_SendJobEnd(0), 0);
    return finish(true);
  }
  parameter record_;
};

// Wide values are cut to the bytes their packets carry. (Every attribute in its place is shown by
// the print file tests.)
TEST_F(ProcessZelp, Version2RecordNarrowed) {
  record_.version = 2;
  record_.medium = 5;  // read after the version: ends in 01
  record_.jobCopies = 0x102;
  record_.colMode = 1;
  record_.colCount = 0x10001;
  record_.colNumber = 0x12345;
  record_.clientJobIDSet = 1;
  for (int i = 0; i < 16; ++i) record_.clientJobUUID[i] = static_cast<unsigned char>(i);
  std::memset(record_.clientJobInfo, 'x', sizeof record_.clientJobInfo);  // no terminator
  record_.setJobOctets = 0x101;
  record_.jobImpressions2 = 9;
  record_.setPathMode = 0x301;
  const Bytes file = run();

  Bytes clientJob;
  for (int i = 0; i < 16; ++i) clientJob.push_back(lo(static_cast<unsigned>(i)));
  clientJob.resize(64, 'x');
  const std::vector<Bytes> start =
      emptyStartV2(join({{0x00, 2, 0x01, 0x30, 0, 13, 1, 0, 1, 0, 0, 0, 0, 0x23, 0x45, 0, 0, 0, 0},
                         {0x01, 0x18, 0, 64},
                         clientJob}));
  const auto n = static_cast<unsigned>(file.size());
  const Bytes expected =
      join({start[0], setJob(2007, {0, 2}), start[1], start[2], start[3], start[4], start[5],
            setDocument(2029, {5, 0xFE, 0xFF, 0xFE, 0, 0, 0, 0, 0, 0, 0, 0, 1}), method(0x14, {1}),
            packet(25, {}), packet(22, {}), setJob(275, {0, 0, 0, 9}),
            setJob(2006, {0, 0, hi(n), lo(n)}), packet(19, {0})});
  EXPECT_EQ(testsupport::hex(file), testsupport::hex(expected));
}

}  // namespace
