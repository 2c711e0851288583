#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "config/parameter.h"
#include "zelp/framing.h"
#include "zelp_job.h"

namespace {

using namespace zelptest;

TEST_F(ZelpJob, EmptyStartSequences) {
  EXPECT_EQ(ZELP_SendJobStartWithJobAttributes(), 0);
  const Bytes v1 = finish();
  EXPECT_EQ(v1.size(), 106u);
  EXPECT_EQ(v1, join(emptyStartV1()));

  ZELP_NewWithName(path().c_str());
  ZELP_SetZELPVersion(2);
  ASSERT_EQ(ZELP_Open(), 0);
  ZELP_SendJobStartWithJobAttributes();
  EXPECT_EQ(finish(), join(emptyStartV2()));
  EXPECT_EQ(zelp_GetJobOctetsLength(), 22u + 24 + 24 + 24 + 25 + 24);
}

// One attribute set: its packets join the empty sequence at the given packet index.
TEST_F(ZelpJob, EachAttributeItsPacket) {
  struct Case {
    const char* name;
    int version;
    std::function<void()> set;
    std::size_t at;
    std::vector<Bytes> packets;
  };
  const Bytes medium5 = {0x05, 0xFE, 0xFF, 0xFE, 0, 0, 0, 0, 0, 0, 0, 0};
  const auto with = [](Bytes b, std::uint8_t last) {
    b.push_back(last);
    return b;
  };
  const std::vector<Case> cases = {
      {"long job name",
       1,
       [] { ZELP_SetJobName(3, std::string(40, 'n').c_str()); },
       1,
       {setJob(4, text(3, std::string(32, 'n')))}},
      {"owner", 1, [] { ZELP_SetJobClientName(0x0102, "me"); }, 1, {setJob(6, text(0x0102, "me"))}},
      {"client id", 1, [] { ZELP_SetJobClientID("id7"); }, 1, {setJob(8, {3, 'i', 'd', '7'})}},
      {"impressions", 1, [] { ZELP_SetJobImpressions(0x1234); }, 1, {setJob(2004, {0x12, 0x34})}},
      {"time", 1, [] { zelp_SetTimeAt(0); }, 1, {setJob(9, {0x7B, 0x21, 0x0C, 0, 0, 0, 0, 0})}},
      {"panel", 1, [] { ZELP_SetPanelMsg(3, "Hi"); }, 3, {setDocument(2140, text(3, "Hi"))}},
      {"tray alias", 1, [] { ZELP_SetTrayByAlias(7); }, 4, {setDocument(2158, {1, 7, 0, 0})}},
      {"tray auto after alias",
       1,
       [] {
         ZELP_SetTrayByAlias(7);
         ZELP_SetTrayAutoSelect();
       },
       4,
       {setDocument(2158, {1, 0x0B, 0, 0})}},
      {"tray unit", 1, [] { ZELP_SetTrayByUnitID(5); }, 4, {setDocument(2158, {1, 0x0D, 5, 0})}},
      {"medium v1", 1, [] { ZELP_SetMedium(5); }, 4, {setDocument(2029, with(medium5, 3))}},
      {"medium v2", 2, [] { ZELP_SetMedium(5); }, 6, {setDocument(2029, with(medium5, 1))}},
      {"medium std size",
       1,
       [] { ZELP_SetMediumWithStdSize(9, 0x0102); },
       4,
       {setDocument(2029, {9, 0xFE, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 3})}},
      {"medium custom size",
       1,
       [] { ZELP_SetMediumWithCustumSize(4, 0x11223344, 0x55667788, 0); },
       4,
       {setDocument(2029, {4, 0xFE, 0, 0x13, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 2})}},
      {"medium sub type",
       1,
       [] { ZELP_SetMediumSubType(0xABCD); },
       4,
       {setDocument(2214, {1, 0xAB, 0xCD})}},
      {"ink dry method", 1, [] { ZELP_SetInkDryMethod(2); }, 4, {setDocument(2218, {2})}},
      {"ink dry time",
       1,
       [] { ZELP_SetInkDryTime(30); },
       4,
       {setDocument(2218, {6}), setDocument(2219, {0, 0, 0, 30})}},
      {"page ink drying", 1, [] { ZELP_SetPageInkDryingTime(5); }, 4, {setValue(1, 5)}},
      {"job copies", 2, [] { ZELP_SetJobCopies(0x0203); }, 1, {setJob(2007, {2, 3})}},
      {"job creator", 2, [] { ZELP_SetJobCreatorID(0x01020304); }, 1, {method(0x11, {1, 2, 3, 4})}},
      {"calibration", 2, [] { ZELP_SetCalibration(8); }, 6, {method(0x0B, {8})}},
      {"path mode", 2, [] { ZELP_SetPathMode(9); }, 6, {method(0x14, {9})}},
      {"panel v2", 2, [] { ZELP_SetPanelMsg(3, "P"); }, 4, {setDocument(2140, text(3, "P"))}},
      // Attributes the other version does not carry.
      {"v1 only",
       2,
       [] {
         ZELP_SetInkDryTime(1);
         ZELP_SetRollMediaBottomBlank(1);
         ZELP_SetPaperThickness(1);
         ZELP_SetJobImpressions(1);
         ZELP_SetJobClientID("x");
       },
       0,
       {}},
      {"v2 only",
       1,
       [] {
         ZELP_SetJobCopies(1);
         ZELP_SetCalibration(1);
         ZELP_SetPlex(1);
         ZELP_SetHeadHeight(1);
         ZELP_SetCOLMode(1);
         ZELP_SetJobStartMode(1);
       },
       0,
       {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    zelp_ResetSetFlags();
    ZELP_NewWithName(path().c_str());
    ZELP_SetZELPVersion(c.version);
    c.set();
    ASSERT_EQ(ZELP_Open(), 0);
    ZELP_SendJobStartWithJobAttributes();
    std::vector<Bytes> expected = c.version == 2 ? emptyStartV2() : emptyStartV1();
    expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(c.at), c.packets.begin(),
                    c.packets.end());
    EXPECT_EQ(testsupport::hex(finish()), testsupport::hex(join(expected)));
  }
}

TEST_F(ZelpJob, Version1StartOrder) {
  ZELP_SetJobName(3, "J");
  ZELP_SetJobClientName(3, "O");
  ZELP_SetJobClientID("C");
  zelp_SetTimeAt(0);
  ZELP_SetJobImpressions(2);
  ZELP_SetPanelMsg(3, "P");
  ZELP_SetTrayByAlias(1);
  ZELP_SetMedium(2);
  ZELP_SetMediumSubType(3);
  ZELP_SetQuality(4);
  ZELP_SetMediumCuttingType(5);
  ZELP_SetInkDryTime(6);
  ZELP_SetCuttingSpeed(17);
  ZELP_SetPrintingSuction(16);
  ZELP_SetPaperThickness(15);
  ZELP_SetRollMediaBottomBlank(14);
  ZELP_SetRollMediaTopBlank(13);
  ZELP_SetBandInkDryingTime(12);
  ZELP_SetPageInkDryingTime(11);
  ZELP_SendJobStartWithJobAttributes();
  ZELP_SendJobEnd(0);
  const std::vector<Bytes> start = emptyStartV1();
  const Bytes expected = join({
      start[0],
      setJob(4, text(3, "J")),
      setJob(6, text(3, "O")),
      setJob(8, {1, 'C'}),
      setJob(9, {0x7B, 0x21, 0x0C, 0, 0, 0, 0, 0}),
      setJob(2004, {0, 2}),
      start[1],
      start[2],
      setDocument(2140, text(3, "P")),
      start[3],
      setDocument(2158, {1, 1, 0, 0}),
      setDocument(2029, {2, 0xFE, 0xFF, 0xFE, 0, 0, 0, 0, 0, 0, 0, 0, 3}),
      setDocument(2214, {1, 0, 3}),
      setDocument(2042, {4}),
      setDocument(2217, {5}),
      setDocument(2218, {6}),
      setDocument(2219, {0, 0, 0, 6}),
      setValue(1, 11),
      setValue(2, 12),
      setValue(3, 13),
      setValue(13, 14),
      setValue(6, 15),
      setValue(7, 16),
      setValue(9, 17),
      join(endV1()),
  });
  EXPECT_EQ(testsupport::hex(finishJob()), testsupport::hex(expected));
}

TEST_F(ZelpJob, Version2StartOrderAndOpenJobBlock) {
  ZELP_SetZELPVersion(2);
  ZELP_SetJobName(3, "J");
  ZELP_SetJobClientName(3, "O");
  ZELP_SetJobStartExecutionMode(5);
  ZELP_SetCOLMode(1);
  ZELP_SetCOLCount(2);
  ZELP_SetCOLHandle(0x0A0B0C0D);
  ZELP_SetCOLNumber(0x12345);
  ZELP_SetCOLPassword(0x01020304);
  ZELP_SetJobStartMode(7);
  const unsigned char uuid[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  ZELP_SetClientJobID_UUID(uuid);
  ZELP_SetClientJobID_JobInfo(std::string(60, 'i'));
  zelp_SetTimeAt(0);
  ZELP_SetJobCopies(3);
  ZELP_SetJobCreatorID(0x2A);
  ZELP_SetPanelMsg(3, "P");
  ZELP_SetMediumSubType(3);
  ZELP_SetMedium(2);
  ZELP_SetTrayByUnitID(1);
  ZELP_SetMediumCuttingType(5);
  ZELP_SetQuality(4);
  ZELP_SetQualityOptimizedLevel(8);
  ZELP_SetHeadOneWayPrint(0);
  ZELP_SetOutwardSizeFirst(26);
  ZELP_SetHeadHeight(25);
  ZELP_SetCuttingSpeed(24);
  ZELP_SetPrintingSuction(23);
  ZELP_SetRollMediaTopBlank(22);
  ZELP_SetBandInkDryingTime(21);
  ZELP_SetPageInkDryingTime(20);
  ZELP_SetPathMode(31);
  ZELP_SetCalibration(30);
  ZELP_SetPlexImagePositionAdjustment(41);
  ZELP_SetPlex(40);
  ZELP_SendJobStartWithJobAttributes();
  ZELP_SendJobEnd(1);

  const Bytes col = {1, 0,    2,    0x0A, 0x0B, 0x0C, 0x0D, 0x23, 0x45, 1, 2, 3,
                     4, 0x0A, 0x0B, 0x0C, 0x0D, 0x23, 0x45, 1,    2,    3, 4};
  Bytes clientJob(uuid, uuid + 16);
  clientJob.resize(64, 'i');
  const auto entry = [](std::uint16_t id, const Bytes& value) {
    Bytes e = {static_cast<std::uint8_t>(id >> 8), static_cast<std::uint8_t>(id), 0,
               static_cast<std::uint8_t>(value.size())};
    e.insert(e.end(), value.begin(), value.end());
    return e;
  };
  const Bytes open = join({{0x00, 7},
                           entry(240, {5}),
                           entry(304, col),
                           entry(4, text(3, "J")),
                           entry(6, text(3, "O")),
                           entry(13, {7}),
                           entry(280, clientJob),
                           entry(9, {0x7B, 0x21, 0x0C, 0, 0, 0, 0, 0})});
  const std::vector<Bytes> start = emptyStartV2(open);
  const Bytes expected = join({
      start[0],
      setJob(2007, {0, 3}),
      method(0x11, {0, 0, 0, 0x2A}),
      start[1],
      start[2],
      start[3],
      setDocument(2140, text(3, "P")),
      start[4],
      start[5],
      setDocument(2042, {4}),
      setDocument(2217, {5}),
      setDocument(2158, {1, 0x0D, 1, 0}),
      setDocument(2029, {2, 0xFE, 0xFF, 0xFE, 0, 0, 0, 0, 0, 0, 0, 0, 1}),
      setDocument(2214, {1, 0, 3}),
      setDocument(2343, {8}),
      setDocument(2355, {0}),
      setValue(1, 20),
      setValue(2, 21),
      setValue(3, 22),
      setValue(7, 23),
      setValue(9, 24),
      setValue(14, 25),
      setValue(4, 26),
      method(0x0B, {30}),
      method(0x14, {31}),
      setDocument(2015, {40}),
      setDocument(2303, {41}),
      join(endV1(1)),
  });
  EXPECT_EQ(testsupport::hex(finishJob()), testsupport::hex(expected));
}

TEST_F(ZelpJob, EndSequences) {
  ZELP_SetJobImpressions2(7);
  ZELP_SetJobOctets(1);
  ZELP_SendJobEnd(0);  // version 1 carries neither
  Bytes file = finish();
  EXPECT_EQ(file, join(endV1()));
  EXPECT_EQ(file.size(), 61u);

  ZELP_NewWithName(path().c_str());
  ZELP_SetZELPVersion(2);
  ZELP_SetJobImpressions2(0x01020304);
  ZELP_SetJobOctets(1);
  ZELP_SetJobOctets(2);  // withdraws the request
  ASSERT_EQ(ZELP_Open(), 0);
  ZELP_SendJobEnd(5);
  EXPECT_EQ(finish(),
            join({packet(25, {}), packet(22, {}), setJob(275, {1, 2, 3, 4}), packet(19, {1})}));
}

rawPacket* appendRaw(std::unique_ptr<rawPacket>* slot, std::uint32_t position, Bytes body) {
  while (*slot) slot = &(*slot)->next;
  *slot = std::make_unique<rawPacket>();
  (*slot)->operation = position;
  Bytes data = {0xCD, 0xCA, 0x10, 0x00, 0x00, 0x00, 0x00, 0x01};
  data.resize(20, 0);
  data.insert(data.end(), body.begin(), body.end());
  (*slot)->data = data;
  return slot->get();
}

// Raw packets go out whole at their positions, headers rewritten; the job octets written at
// the end equal the file's size whatever went into it.
TEST_F(ZelpJob, RawPacketsAndJobOctets) {
  for (int version : {1, 2}) {
    SCOPED_TRACE(version);
    zelp_ResetSetFlags();
    std::unique_ptr<rawPacket> list;
    for (std::uint32_t position : {6u, 24u, 3u, 21u, 18u, 0u, 24u, 99u}) {
      // Shaped like a method call, which attribute packets accept as well.
      appendRaw(&list, position, {0, 0, 0, 0, 0x40, static_cast<std::uint8_t>(position), 0xEE});
    }
    ZELP_NewWithName(path().c_str());
    ZELP_SetZELPVersion(version);
    ZELP_SetJobOctets(1);
    ZELP_SetRawPacket(list.get());
    ASSERT_EQ(ZELP_Open(), 0);
    ZELP_SendJobStartWithJobAttributes();
    const Bytes data(70000, 0x5A);
    ZELP_SendData(data.data(), static_cast<int>(data.size()));
    ZELP_Flush(1);
    ZELP_SendCString("end");
    ZELP_Flush(0);
    ZELP_SendJobEnd(0);
    const Bytes file = finishJob();

    std::vector<std::uint32_t> raw;  // positions, in the order they were written
    for (const inspect::Packet& p : packets_) {
      if (p.parameters.size() == 7 && p.parameters[6] == 0xEE) {
        const std::uint8_t position = p.parameters[5];
        raw.push_back(position);
        EXPECT_EQ(p.operation, position <= 6 ? 29 : position);
        EXPECT_EQ(p.parameterLength, 7);
      }
    }
    if (version == 1) {
      EXPECT_EQ(raw, (std::vector<std::uint32_t>{18, 21, 3, 24, 24, 6}));
      EXPECT_EQ(packets_.back().operation, 19);
    } else {
      EXPECT_EQ(raw, (std::vector<std::uint32_t>{18, 0, 21, 3, 24, 24, 6}));
      auto octets = inspect::setAttribute(packets_[packets_.size() - 2]);
      ASSERT_TRUE(octets.has_value());
      EXPECT_EQ(octets->id, 2006);
      const Bytes size = {static_cast<std::uint8_t>(file.size() >> 24),
                          static_cast<std::uint8_t>(file.size() >> 16),
                          static_cast<std::uint8_t>(file.size() >> 8),
                          static_cast<std::uint8_t>(file.size())};
      EXPECT_EQ(octets->value, size);
    }
    EXPECT_EQ(zelp_GetJobOctetsLength(), file.size());
    ZELP_Delete();
  }
}

TEST(RawPacketHeader, RewriteTouchesOnlyBytesThePacketHas) {
  for (std::size_t size : {3u, 5u, 6u, 9u, 10u, 12u}) {
    SCOPED_TRACE(size);
    rawPacket p;
    p.operation = 21;
    p.data.assign(size, 0xFF);
    ZELP_SetRawPacket(&p);
    Bytes expected(size, 0xFF);
    const Bytes rewritten = {0xFF, 0xFF, 0xFF, 0xFF, 0x00,
                             21,   0xFF, 0xFF, 0x00, static_cast<std::uint8_t>(size - 20)};
    std::copy_n(rewritten.begin(), std::min(size, rewritten.size()), expected.begin());
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
  ZELP_NewWithName(path().c_str());  // runs ZELP_Init: version 1 again, values cleared
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
