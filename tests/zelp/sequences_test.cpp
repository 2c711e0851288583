#include <gtest/gtest.h>

#include <functional>
#include <memory>
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

  open(2);
  ZELP_SendJobStartWithJobAttributes();
  EXPECT_EQ(finish(), join(emptyStartV2()));
  EXPECT_EQ(zelp_GetJobOctetsLength(), 22u + 24 + 24 + 24 + 25 + 24);
}

// One attribute set: its packet joins the empty sequence at the given packet index.
TEST_F(ZelpJob, AttributeEncodings) {
  struct Case {
    const char* name;
    int version;
    std::size_t at;
    std::function<void()> set;
    Bytes packet;
  };
  const std::vector<Case> cases = {
      {"long job name", 1, 1, [] { ZELP_SetJobName(3, std::string(40, 'n').c_str()); },
       setJob(4, text(3, std::string(32, 'n')))},
      {"owner", 1, 1, [] { ZELP_SetJobClientName(0x0102, "me"); }, setJob(6, text(0x0102, "me"))},
      {"tray auto", 1, 4,
       [] {
         ZELP_SetTrayByAlias(7);
         ZELP_SetTrayAutoSelect();
       },
       setDocument(2158, {1, 0x0B, 0, 0})},
      {"tray unit", 1, 4, [] { ZELP_SetTrayByUnitID(5); }, setDocument(2158, {1, 0x0D, 5, 0})},
      {"std size", 2, 6, [] { ZELP_SetMediumWithStdSize(9, 0x0102); },
       setDocument(2029, {9, 0xFE, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 1})},
      {"custom size", 1, 4, [] { ZELP_SetMediumWithCustumSize(4, 0x11223344, 0x55667788, 0); },
       setDocument(2029, {4, 0xFE, 0, 0x13, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 2})},
      {"ink dry method", 1, 4, [] { ZELP_SetInkDryMethod(2); }, setDocument(2218, {2})},
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

// Attributes with the packets they give, in the order of the sequence. They are set in reverse
// order, so the sequence alone decides where each packet goes.
struct Step {
  std::function<void()> set;
  Bytes packets;
};

Bytes runSteps(const std::vector<Step>& steps) {
  for (auto it = steps.rbegin(); it != steps.rend(); ++it) it->set();
  ZELP_SendJobStartWithJobAttributes();
  Bytes expected;
  for (const Step& s : steps) expected.insert(expected.end(), s.packets.begin(), s.packets.end());
  return expected;
}

const auto nothing = [] {};

TEST_F(ZelpJob, Version1StartOrder) {
  const std::vector<Bytes> start = emptyStartV1();
  const Bytes expected = runSteps({
      {nothing, start[0]},
      {[] { ZELP_SetJobName(3, "J"); }, setJob(4, text(3, "J"))},
      {[] { ZELP_SetJobClientName(3, "O"); }, setJob(6, text(3, "O"))},
      {[] { ZELP_SetJobClientID("C"); }, setJob(8, {1, 'C'})},
      {[] { zelp_SetTimeAt(0); }, setJob(9, {0x7B, 0x21, 0x0C, 0, 0, 0, 0, 0})},
      {[] { ZELP_SetJobImpressions(2); }, setJob(2004, {0, 2})},
      {nothing, join({start[1], start[2]})},
      {[] { ZELP_SetPanelMsg(3, "P"); }, setDocument(2140, text(3, "P"))},
      {nothing, start[3]},
      {[] { ZELP_SetTrayByAlias(1); }, setDocument(2158, {1, 1, 0, 0})},
      {[] { ZELP_SetMedium(2); },
       setDocument(2029, {2, 0xFE, 0xFF, 0xFE, 0, 0, 0, 0, 0, 0, 0, 0, 3})},
      {[] { ZELP_SetMediumSubType(3); }, setDocument(2214, {1, 0, 3})},
      {[] { ZELP_SetQuality(4); }, setDocument(2042, {4})},
      {[] { ZELP_SetMediumCuttingType(5); }, setDocument(2217, {5})},
      {[] { ZELP_SetInkDryTime(6); },
       join({setDocument(2218, {6}), setDocument(2219, {0, 0, 0, 6})})},
      {[] { ZELP_SetPageInkDryingTime(11); }, setValue(1, 11)},
      {[] { ZELP_SetBandInkDryingTime(12); }, setValue(2, 12)},
      {[] { ZELP_SetRollMediaTopBlank(13); }, setValue(3, 13)},
      {[] { ZELP_SetRollMediaBottomBlank(14); }, setValue(13, 14)},
      {[] { ZELP_SetPaperThickness(15); }, setValue(6, 15)},
      {[] { ZELP_SetPrintingSuction(16); }, setValue(7, 16)},
      {[] { ZELP_SetCuttingSpeed(17); }, setValue(9, 17)},
      {[] {  // version 2 attributes
         ZELP_SetJobCopies(1);
         ZELP_SetJobCreatorID(1);
         ZELP_SetCOLMode(1);
         ZELP_SetPlex(1);
         ZELP_SetJobStartMode(1);
         ZELP_SetHeadHeight(1);
         ZELP_SetCalibration(1);
       },
       {}},
  });
  ZELP_SendJobEnd(0);
  EXPECT_EQ(testsupport::hex(finish(true)), testsupport::hex(join({expected, end()})));
}

TEST_F(ZelpJob, Version2StartOrderAndOpenJobBlock) {
  static const unsigned char uuid[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  const auto entry = [](std::uint16_t id, const Bytes& value) {
    return join({{hi(id), lo(id), 0, lo(static_cast<unsigned>(value.size()))}, value});
  };
  const Bytes col = {0x0A, 0x0B, 0x0C, 0x0D, 0x23, 0x45, 1, 2, 3, 4};
  Bytes clientJob = join({Bytes(uuid, uuid + 16), {'i', 'i'}});
  clientJob.resize(64, 0);
  const std::vector<Bytes> start =
      emptyStartV2(join({{0x00, 7},
                         entry(240, {5}),
                         entry(304, join({{1, 0, 2}, col, col})),
                         entry(4, text(3, "J")),
                         entry(6, text(3, "O")),
                         entry(13, {7}),
                         entry(280, clientJob),
                         entry(9, {0x7B, 0x21, 0x0C, 0, 0, 0, 0, 0})}));
  const Bytes expected = runSteps({
      {[] {
         ZELP_SetJobName(3, "J");
         ZELP_SetJobClientName(3, "O");
         ZELP_SetJobStartMode(7);
         ZELP_SetJobStartExecutionMode(5);
         ZELP_SetCOLMode(1);
         ZELP_SetCOLCount(2);
         ZELP_SetCOLHandle(0x0A0B0C0D);
         ZELP_SetCOLNumber(0x12345);
         ZELP_SetCOLPassword(0x01020304);
         ZELP_SetClientJobID_UUID(uuid);
         ZELP_SetClientJobID_JobInfo(std::string(60, 'x'));
         ZELP_SetClientJobID_JobInfo("ii");  // nothing of the longer one stays
         zelp_SetTimeAt(0);
       },
       start[0]},
      {[] { ZELP_SetJobCopies(3); }, setJob(2007, {0, 3})},
      {[] { ZELP_SetJobCreatorID(0x2A); }, method(0x11, {0, 0, 0, 0x2A})},
      {nothing, join({start[1], start[2], start[3]})},
      {[] { ZELP_SetPanelMsg(3, "P"); }, setDocument(2140, text(3, "P"))},
      {nothing, join({start[4], start[5]})},
      {[] { ZELP_SetQuality(4); }, setDocument(2042, {4})},
      {[] { ZELP_SetMediumCuttingType(5); }, setDocument(2217, {5})},
      {[] { ZELP_SetTrayByUnitID(1); }, setDocument(2158, {1, 0x0D, 1, 0})},
      {[] { ZELP_SetMedium(2); },
       setDocument(2029, {2, 0xFE, 0xFF, 0xFE, 0, 0, 0, 0, 0, 0, 0, 0, 1})},
      {[] { ZELP_SetMediumSubType(3); }, setDocument(2214, {1, 0, 3})},
      {[] { ZELP_SetQualityOptimizedLevel(8); }, setDocument(2343, {8})},
      {[] { ZELP_SetHeadOneWayPrint(0); }, setDocument(2355, {0})},
      {[] { ZELP_SetPageInkDryingTime(20); }, setValue(1, 20)},
      {[] { ZELP_SetBandInkDryingTime(21); }, setValue(2, 21)},
      {[] { ZELP_SetRollMediaTopBlank(22); }, setValue(3, 22)},
      {[] { ZELP_SetPrintingSuction(23); }, setValue(7, 23)},
      {[] { ZELP_SetCuttingSpeed(24); }, setValue(9, 24)},
      {[] { ZELP_SetHeadHeight(25); }, setValue(14, 25)},
      {[] { ZELP_SetOutwardSizeFirst(26); }, setValue(4, 26)},
      {[] { ZELP_SetCalibration(30); }, method(0x0B, {30})},
      {[] { ZELP_SetPathMode(31); }, method(0x14, {31})},
      {[] { ZELP_SetPlex(40); }, setDocument(2015, {40})},
      {[] { ZELP_SetPlexImagePositionAdjustment(41); }, setDocument(2303, {41})},
      {[] {  // version 1 attributes
         ZELP_SetJobImpressions(1);
         ZELP_SetJobClientID("x");
         ZELP_SetInkDryTime(1);
         ZELP_SetRollMediaBottomBlank(1);
         ZELP_SetPaperThickness(1);
       },
       {}},
      {[] { ZELP_SetZELPVersion(2); }, {}},  // set first: the medium reads it
  });
  ZELP_SendJobEnd(1);
  EXPECT_EQ(testsupport::hex(finish(true)), testsupport::hex(join({expected, end(1)})));
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

// Raw packets go out whole at their positions, headers rewritten; the job octets written at
// the end equal the file's size whatever went into it.
TEST_F(ZelpJob, RawPacketsAndJobOctets) {
  for (int version : {1, 2}) {
    SCOPED_TRACE(version);
    std::unique_ptr<rawPacket> list;
    std::unique_ptr<rawPacket>* slot = &list;
    for (std::uint8_t position : {6, 24, 3, 21, 18, 0, 24, 99}) {
      *slot = std::make_unique<rawPacket>();
      (*slot)->operation = position;
      // Shaped like a method call, which attribute packets accept as well.
      (*slot)->data = join({packet(0, {}), {0, 0, 0, 0, 0x40, position, 0xEE}});
      slot = &(*slot)->next;
    }
    open(version);
    ZELP_SetJobOctets(1);
    ZELP_SetRawPacket(list.get());
    ZELP_SendJobStartWithJobAttributes();
    const Bytes data(70000, 0x5A);
    ZELP_SendData(data.data(), static_cast<int>(data.size()));
    ZELP_Flush(1);
    ZELP_SendCString("end");
    ZELP_Flush(0);
    ZELP_SendJobEnd(0);
    const Bytes file = finish(true);

    std::vector<int> raw;  // positions, in the order they were written
    for (const inspect::Packet& p : packets_) {
      if (p.parameters.size() == 7 && p.parameters[6] == 0xEE) {
        raw.push_back(p.parameters[5]);
        EXPECT_EQ(p.operation, p.parameters[5] <= 6 ? 29 : p.parameters[5]);
        EXPECT_EQ(p.parameterLength, 7);
      }
    }
    EXPECT_EQ(zelp_GetJobOctetsLength(), file.size());
    if (version == 1) {
      EXPECT_EQ(raw, (std::vector<int>{18, 21, 3, 24, 24, 6}));  // no position 0
      continue;
    }
    EXPECT_EQ(raw, (std::vector<int>{18, 0, 21, 3, 24, 24, 6}));
    const auto n = static_cast<unsigned>(file.size());
    EXPECT_EQ(packets_[packets_.size() - 2].parameters,
              (Bytes{0x07, 0xD6, 0, lo(n >> 16), hi(n), lo(n)}));
  }
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
