#include "zelp/framing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zelp/lxfile.h"
#include "zelp_job.h"

namespace {

using zelptest::Bytes;
using zelptest::ZelpJob;

TEST(LXFile, WritesWordsAndLongsInTheRequestedOrder) {
  testsupport::TempDir dir;
  const std::string path = (dir / "words.bin").string();
  LXFile_NewWithName(path.c_str());
  ASSERT_EQ(LXFile_Open(), 0);
  LXFile_WriteWord(0xABCD1234, 0);
  LXFile_WriteWord(0x1234, 1);
  LXFile_WriteLong(0x12345678, 0);
  LXFile_WriteLong(0x12345678, 1);
  EXPECT_EQ(LXFile_GetPosition(), 12);
  LXFile_Delete();
  EXPECT_EQ(testsupport::readFile(path),
            (Bytes{0x12, 0x34, 0x34, 0x12, 0x12, 0x34, 0x56, 0x78, 0x78, 0x56, 0x34, 0x12}));
}

TEST(LXFile, DefaultNameAndNoStream) {
  for (const char* name : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_STREQ(LXFile_NewWithName(name), "ZELP.dat");
  }
  // Nothing is open: every operation fails quietly instead of touching a null stream.
  const unsigned char byte = 1;
  EXPECT_EQ(LXFile_Write(&byte, 1), 0u);
  EXPECT_EQ(LXFile_WriteByte(1), 0u);
  EXPECT_EQ(LXFile_SeekTo(0), -1);
  EXPECT_EQ(LXFile_GetPosition(), -1);
  EXPECT_NE(LXFile_Flush(), 0);
  EXPECT_EQ(LXFile_Close(), 0);
  LXFile_Delete();
}

TEST(LXFile, OpenFailsForAnUnwritablePath) {
  testsupport::TempDir dir;
  LXFile_NewWithName((dir / "missing" / "out.dat").string().c_str());
  EXPECT_EQ(LXFile_Open(), -1);
  EXPECT_EQ(ZELP_Open(), -1);
  LXFile_Delete();
}

TEST_F(ZelpJob, ShortDataPacketLayout) {
  const Bytes payload = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  ZELP_SendData(payload.data(), 10);
  ZELP_Flush(0);
  const Bytes expected = {0xCD, 0xCA, 0x10, 0x00, 0x00, 0x1A, 0x00, 0x01, 0x00, 0x0B, 0,
                          0,    0,    0,    0,    0,    0,    0,    0,    0,    0x01, 1,
                          2,    3,    4,    5,    6,    7,    8,    9,    10};
  EXPECT_EQ(finish(), expected);
  EXPECT_EQ(zelp_GetJobOctetsLength(), 31u);
}

// Data packets around the buffer size: full packets leave as soon as the buffer fills, always
// flagged "more follows"; only the flush makes a shorter one.
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
      {{65533, 3, 0, -5, 65534}, 0, {{65534, 0x02}, {65534, 0x02}, {2, 0x00}}},
  };
  int caseIndex = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(caseIndex++);
    ZELP_NewWithName(path().c_str());
    ASSERT_EQ(ZELP_Open(), 0);
    Bytes stream;
    for (int n : c.writes) {
      Bytes chunk(n > 0 ? static_cast<std::size_t>(n) : 0);
      for (auto& b : chunk) b = static_cast<std::uint8_t>(stream.size() + (&b - chunk.data()));
      ZELP_SendData(chunk.data(), n);
      stream.insert(stream.end(), chunk.begin(), chunk.end());
    }
    ZELP_Flush(c.flushFlag);
    ZELP_Flush(0);  // nothing left: sends nothing
    const Bytes file = finish();
    ASSERT_EQ(packets_.size(), c.packets.size());
    std::size_t size = 0;
    for (std::size_t i = 0; i < c.packets.size(); ++i) {
      EXPECT_EQ(packets_[i].operation, 0x1A);
      EXPECT_EQ(packets_[i].parameterLength, c.packets[i].first + 1);
      EXPECT_EQ(packets_[i].flags, c.packets[i].second);
      size += 21 + static_cast<std::size_t>(c.packets[i].first);
    }
    EXPECT_EQ(file.size(), size);
    EXPECT_EQ(zelp_GetJobOctetsLength(), size);
    EXPECT_EQ(inspect::rasterStream(packets_), stream);
  }
}

}  // namespace
