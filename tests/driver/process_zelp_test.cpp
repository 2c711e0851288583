#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <sstream>
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
  // The expected packets, one a line with notes, are in the data file.
  std::ifstream in(ZELPGEN_TEST_DATA_DIR "/zelp/version2_narrowed.hex");
  Bytes expected;
  for (std::string line; std::getline(in, line);) {
    std::istringstream words(line);
    for (std::string w; line[0] != '#' && words >> w;)
      expected.push_back(std::stoi(w, nullptr, 16));
  }
  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(testsupport::hex(run()), testsupport::hex(expected));
}

}  // namespace
