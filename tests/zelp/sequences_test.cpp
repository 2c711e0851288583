#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "config/parameter.h"
#include "zelp/framing.h"
#include "zelp_job.h"

namespace {

using namespace zelptest;

// One attribute the print file tests cannot reach: its packet joins the empty sequence at the
// given packet index.
TEST_F(ZelpJob, AttributeEncodings) {
  struct Case {
    const char* name;
    int version;
    std::size_t at;
    std::function<void()> set;
    Bytes packet;
  };
  const std::vector<Case> cases = {
      {"owner charset", 1, 1, [] { ZELP_SetJobClientName(0x0102, "me"); },
       setJob(6, text(0x0102, "me"))},
      {"tray auto after alias", 1, 4,
       [] {
         ZELP_SetTrayByAlias(7);
         ZELP_SetTrayAutoSelect();
       },
       setDocument(2158, {1, 0x0B, 0, 0})},
      {"std size", 2, 6, [] { ZELP_SetMediumWithStdSize(9, 0x0102); },
       setDocument(2029, {9, 0xFE, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 1})},
      {"custom size", 1, 4, [] { ZELP_SetMediumWithCustumSize(4, 0x11223344, 0x55667788, 0); },
       setDocument(2029, {4, 0xFE, 0, 0x13, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 2})},
      {"outward size", 2, 6, [] { ZELP_SetOutwardSizeFirst(26); }, setValue(4, 26)},
      {"ink dry method without a time", 1, 4, [] { ZELP_SetInkDryMethod(2); },
       setDocument(2218, {2})},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    open(c.version);
    c.set();
    ZELP_SendJobStartWithJobAttributes();
    std::vector<Bytes> expected = c.version == 2 ? emptyStartV2() : emptyStartV1();
    expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(c.at), c.packet);
    EXPECT_EQ(testsupport::hex(finish()), testsupport::hex(join(expected)));
  }
}

// Attributes of the other version are stored and never sent. (The order of every attribute is
// shown by the print file tests.)
TEST_F(ZelpJob, EachVersionLeavesOutTheOthersAttributes) {
  ZELP_SetJobCreatorID(1);  // one of each kind of packet
  ZELP_SetJobStartMode(1);
  ZELP_SetPlex(1);
  ZELP_SetHeadHeight(1);
  ZELP_SendJobStartWithJobAttributes();
  EXPECT_EQ(testsupport::hex(finish()), testsupport::hex(join(emptyStartV1())));

  open(2);
  ZELP_SetJobImpressions(2);
  ZELP_SetJobClientID("x");
  ZELP_SetInkDryTime(1);
  ZELP_SetRollMediaBottomBlank(1);
  ZELP_SetPaperThickness(1);
  // A shorter job info replaces a longer one whole.
  static const unsigned char uuid[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  ZELP_SetClientJobID_UUID(uuid);
  ZELP_SetClientJobID_JobInfo(std::string(60, 'x'));
  ZELP_SetClientJobID_JobInfo("ii");
  ZELP_SendJobStartWithJobAttributes();
  Bytes clientJob = join({Bytes(uuid, uuid + 16), {'i', 'i'}});
  clientJob.resize(64, 0);
  EXPECT_EQ(testsupport::hex(finish()),
            testsupport::hex(join(emptyStartV2(join({{0x00, 1, 0x01, 0x18, 0, 64}, clientJob})))));
}

TEST_F(ZelpJob, EndSequences) {
  ZELP_SetJobImpressions2(7);
  ZELP_SetJobOctets(1);
  ZELP_SendJobEnd(0);  // version 1 carries neither
  EXPECT_EQ(finish(), end());

  open(2);
  ZELP_SetJobImpressions2(0x01020304);
  ZELP_SetJobOctets(1);
  ZELP_SetJobOctets(2);  // withdraws the request
  ZELP_SendJobEnd(5);
  EXPECT_EQ(finish(),
            join({packet(25, {}), packet(22, {}), setJob(275, {1, 2, 3, 4}), packet(19, {1})}));
}

TEST(RawPacketHeader, RewriteTouchesOnlyBytesThePacketHas) {
  for (std::size_t size : {3u, 5u, 6u, 9u, 10u, 12u}) {
    SCOPED_TRACE(size);
    rawPacket p;
    p.operation = 21;
    p.data.assign(size, 0xFF);
    ZELP_SetRawPacket(&p);
    Bytes expected = {0xFF, 0xFF, 0xFF, 0xFF,          0x00, 21,
                      0xFF, 0xFF, 0x00, lo(size - 20), 0xFF, 0xFF};
    expected.resize(size);
    EXPECT_EQ(p.data, expected);
  }
  zelp_ResetSetFlags();
}

// The set flags outlive ZELP_Init and a whole job; the values do not.
TEST_F(ZelpJob, FlagsSurviveInitWithClearedValues) {
  ZELP_SetZELPVersion(2);
  ZELP_SetJobName(3, "abc");
  ZELP_SetQuality(3);
  ZELP_SetJobCopies(9);
  ZELP_Delete();
  ZELP_NewWithName(path().c_str());  // version 1 again, values cleared
  ZELP_SetMedium(1);
  ZELP_Init();
  ASSERT_EQ(ZELP_Open(), 0);
  ZELP_SendJobStartWithJobAttributes();
  std::vector<Bytes> expected = emptyStartV1();
  expected.insert(expected.begin() + 1, setJob(4, {0, 0, 0}));
  expected.push_back(setDocument(2029, Bytes(13, 0)));
  expected.push_back(setDocument(2042, {0}));
  EXPECT_EQ(testsupport::hex(finish()), testsupport::hex(join(expected)));
}

}  // namespace
