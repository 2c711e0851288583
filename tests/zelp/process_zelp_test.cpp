#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "config/parameter.h"
#include "driver/driver.h"
#include "zelp_job.h"

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
    ZELP_SendJobStartWithJobAttributes();
    ZELP_SendJobEnd(0);
    return finish(true);
  }
  parameter record_;
};

TEST_F(ProcessZelp, Version1RecordNarrowedInOrder) {
  copyField(record_.jobName, "Job");
  copyField(record_.jobOwner, "Owner");
  copyField(record_.jobClientID, "CID");
  copyField(record_.panelMessage, "Panel");
  record_.trayUnitID = 11;
  record_.medium = 0x105;
  record_.mediumTypeEx = 0x12345;
  record_.quality = 0x203;
  record_.mediumCuttingType = 1;
  record_.inkDryingType = 3;  // the drying time that follows makes it 6
  record_.inkDryingTime = 0x01020304;
  record_.pageInkDryingTime = 0x1FF;
  record_.rollMediaBottomBlank = 2;
  record_.jobCopies = 5;  // a version 2 attribute
  const std::vector<Bytes> start = emptyStartV1();
  const Bytes expected =
      join({start[0], setJob(4, text(3, "Job")), setJob(6, text(3, "Owner")),
            setJob(8, {3, 'C', 'I', 'D'}), setJob(2004, {0, 2}), start[1], start[2],
            setDocument(2140, text(3, "Panel")), start[3], setDocument(2158, {1, 0x0B, 0, 0}),
            setDocument(2029, {5, 0xFE, 0xFF, 0xFE, 0, 0, 0, 0, 0, 0, 0, 0, 3}),
            setDocument(2214, {1, 0x23, 0x45}), setDocument(2042, {3}), setDocument(2217, {1}),
            setDocument(2218, {6}), setDocument(2219, {1, 2, 3, 4}), setValue(1, 0xFF),
            setValue(13, 2), end()});
  EXPECT_EQ(testsupport::hex(run()), testsupport::hex(expected));
}

TEST_F(ProcessZelp, Version2RecordNarrowedInOrder) {
  record_.version = 2;
  record_.medium = 5;  // read after the version: ends in 01
  record_.trayUnitID = 0x10D;
  record_.trayAlias = 7;  // the same value as the unit, set after it
  record_.jobCopies = 0x102;
  record_.colMode = 1;
  record_.colCount = 0x10001;
  record_.colNumber = 0x12345;
  record_.clientJobIDSet = 1;
  for (int i = 0; i < 16; ++i) record_.clientJobUUID[i] = static_cast<unsigned char>(i);
  std::memset(record_.clientJobInfo, 'x', sizeof record_.clientJobInfo);  // no terminator
  record_.jobTime = 2;
  record_.jobTimeField1 = 3;  // day
  record_.jobTimeField2 = 4;  // month
  record_.jobTimeYear = 2021;
  record_.jobTimeHour = 5;
  record_.jobTimeMinute = 6;
  record_.jobTimeSecond = 7;
  record_.jobTimeIsGMT = 1;
  record_.setJobOctets = 0x101;
  record_.jobImpressions2 = 9;
  record_.setPathMode = 0x301;
  const Bytes file = run();

  Bytes clientJob;
  for (int i = 0; i < 16; ++i) clientJob.push_back(lo(static_cast<unsigned>(i)));
  clientJob.resize(64, 'x');
  const std::vector<Bytes> start =
      emptyStartV2(join({{0x00, 3, 0x01, 0x30, 0, 13, 1, 0, 1, 0, 0, 0, 0, 0x23, 0x45, 0, 0, 0, 0},
                         {0x01, 0x18, 0, 64},
                         clientJob,
                         {0, 9, 0, 8, 0x7E, 0x54, 0x1E, 0, 5, 6, 0x1B, 0x58}}));
  const auto n = static_cast<unsigned>(file.size());
  const Bytes expected =
      join({start[0], setJob(2007, {0, 2}), start[1], start[2], start[3], start[4], start[5],
            setDocument(2158, {1, 7, 0, 0}),
            setDocument(2029, {5, 0xFE, 0xFF, 0xFE, 0, 0, 0, 0, 0, 0, 0, 0, 1}), method(0x14, {1}),
            packet(25, {}), packet(22, {}), setJob(275, {0, 0, 0, 9}),
            setJob(2006, {0, 0, hi(n), lo(n)}), packet(19, {0})});
  EXPECT_EQ(testsupport::hex(file), testsupport::hex(expected));
}

TEST_F(ProcessZelp, UnopenableOutputEndsTheProcess) {
  copyField(record_.outFilePath, (dir_ / "missing" / "job.dat").string().c_str());
  EXPECT_EXIT(processZELP(&record_), testing::ExitedWithCode(1), "");
}

}  // namespace
