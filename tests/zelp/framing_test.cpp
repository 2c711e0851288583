#include "zelp/framing.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "zelp/lxfile.h"
#include "zelp_job.h"

namespace {

using namespace zelptest;

TEST(LXFile, WordsLongsAndNoStream) {
  testsupport::TempDir dir;
  const std::string path = (dir / "words.bin").string();
  LXFile_NewWithName(path.c_str());
  ASSERT_EQ(LXFile_Open(), 0);
  LXFile_WriteWord(0xABCD1234, 0);
  LXFile_WriteWord(0x1234, 1);
  LXFile_WriteLong(0x12345678, 0);
  LXFile_WriteLong(0x12345678, 1);
  LXFile_Delete();
  EXPECT_EQ(testsupport::readFile(path),
            (Bytes{0x12, 0x34, 0x34, 0x12, 0x12, 0x34, 0x56, 0x78, 0x78, 0x56, 0x34, 0x12}));

  EXPECT_STREQ(LXFile_NewWithName(""), "ZELP.dat");
  EXPECT_STREQ(LXFile_NewWithName(nullptr), "ZELP.dat");
  // Nothing open: operations fail instead of touching a null stream.
  EXPECT_EQ(LXFile_WriteByte(1), 0u);
  EXPECT_EQ(LXFile_SeekTo(0), -1);
  EXPECT_EQ(LXFile_GetPosition(), -1);
  EXPECT_NE(LXFile_Flush(), 0);
  EXPECT_EQ(LXFile_Close(), 0);
  LXFile_Delete();
}

// Full packets leave as soon as the buffer fills, flagged "more follows"; only a flush makes a
// shorter one, and a flush of an empty buffer sends nothing.
TEST_F(ZelpJob, DataPacketBoundaries) {
  struct Case {
    std::vector<int> writes;
    int flushFlag;
    std::vector<std::pair<int, std::uint8_t>> packets;  // payload size, flags
  };
  const std::vector<Case> cases = {
      {{65533}, 0, {{65533, 0x00}}},
      {{65534}, 0, {{65534, 0x02}}},
      {{65535}, 0, {{65534, 0x02}, {1, 0x00}}},
      {{65535}, 1, {{65534, 0x02}, {1, 0x02}}},
      {{65533, 1}, 0, {{65534, 0x02}}},
      {{65533, 3, 0, -5, 65534}, 0, {{65534, 0x02}, {65534, 0x02}, {2, 0x00}}}};
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    open(1);
    Bytes stream;
    for (int n : cases[i].writes) {
      Bytes chunk;
      for (int k = 0; k < n; ++k) chunk.push_back(lo(static_cast<unsigned>(stream.size() + k)));
      ZELP_SendData(chunk.data(), n);
      stream.insert(stream.end(), chunk.begin(), chunk.end());
    }
    ZELP_Flush(cases[i].flushFlag);
    ZELP_Flush(0);
    const Bytes file = finish();
    ASSERT_EQ(packets_.size(), cases[i].packets.size());
    std::size_t size = 0;
    for (std::size_t k = 0; k < packets_.size(); ++k) {
      EXPECT_EQ(packets_[k].parameterLength, cases[i].packets[k].first + 1);
      EXPECT_EQ(packets_[k].flags, cases[i].packets[k].second);
      size += 21 + static_cast<std::size_t>(cases[i].packets[k].first);
    }
    EXPECT_EQ(file.size(), size);
    EXPECT_EQ(zelp_GetJobOctetsLength(), size);
    EXPECT_EQ(inspect::rasterStream(packets_), stream);
  }
}

}  // namespace
