#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "image/reduction.h"
#include "job_files.h"

namespace {

using testsupport::TempDir;

// every_key.cfg gives every key of every section; its file names are relative, written with
// backslashes and with the colon convention.
TEST(FullRecord, EveryKeyOfEverySection) {
  TempDir top;
  const std::filesystem::path dir = top / "job";
  std::filesystem::create_directories(dir / "sub");
  for (const char* name :
       {"t1.bin", "sub/t2.bin", "cmyk.tif", "k.bmp", "c.bmp", "m.bmp", "y.bmp", "lc.bmp", "lm.bmp",
        "rgb.tif", "sub/gy.bmp", "../pgy.bmp", "r.bmp", "g.bmp", "b.bmp"})
    testsupport::writeFile(dir / name, std::string("x"));
  std::filesystem::copy_file(ZELPGEN_TEST_DATA_DIR "/config/every_key.cfg", dir / "job.cfg");
  setDefaultFileName((dir / "job.dat").c_str());
  parameter p;
  copyField(p.cfgDirectory, dir.c_str());

  testing::internal::CaptureStdout();
  parseParameter((dir / "job.cfg").c_str(), &p);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "JobTime=\"12/31/2020 23:59:59 GMT\"\n");

  const std::string d = dir.string();
  EXPECT_EQ(std::string(p.outFilePath), d + "/out/job.dat");
  ASSERT_NE(p.imageProcessingFileList, nullptr);
  EXPECT_EQ(std::string(p.imageProcessingFileList->path), d + "/t1.bin");
  ASSERT_NE(p.imageProcessingFileList->next, nullptr);
  EXPECT_EQ(std::string(p.imageProcessingFileList->next->path), d + "/sub/t2.bin");
  EXPECT_EQ(p.imageProcessingFileList->next->next, nullptr);

  // Keys before Version=2 are read under the first key set, those after it under the second.
  using Ints = std::vector<int>;
  EXPECT_STREQ(p.jobName, "name");
  EXPECT_STREQ(p.jobOwner, "owner");
  EXPECT_STREQ(p.jobClientID, "client");
  EXPECT_STREQ(p.panelMessage, "panel");
  EXPECT_EQ((Ints{p.jobTime, p.jobTimeField1, p.jobTimeField2, p.jobTimeYear, p.jobTimeHour,
                  p.jobTimeMinute, p.jobTimeSecond, p.jobTimeIsGMT}),
            (Ints{2, 12, 31, 2020, 23, 59, 59, 1}));
  EXPECT_EQ((Ints{p.trayUnitID, p.trayAlias, p.medium, p.mediumTypeEx, p.quality,
                  p.mediumCuttingType, p.inkDryingType, p.inkDryingTime, p.jobImpressions,
                  p.pageInkDryingTime, p.bandInkDryingTime, p.rollMediaTopBlank,
                  p.rollMediaBottomBlank, p.paperThickness, p.printingSuction, p.cuttingSpeed}),
            (Ints{103, 5, 13, 0x123, 3, 4, 6, 32, 3, 6, 10, 15, 17, 23, 30, 32}));
  EXPECT_EQ((Ints{p.version, p.plex, p.plexImagePositionAdjustment, p.headHeight, p.setPathMode,
                  p.jobCreatorID, p.jobStartExecutionMode, p.colMode, p.colCount, p.colHandle}),
            (Ints{2, 4, 2, 37, 2, 1234, 3, 3, 7, 0xABCD}));
  EXPECT_EQ((Ints{p.colNumber, p.colPassword, p.jobStartMode, p.clientJobIDSet, p.jobCopies,
                  p.qualityOptimizedLevel, p.headOneWayPrint, p.calibration, p.jobImpressions2,
                  p.setJobOctets}),
            (Ints{99, 4242, 7, 1, 2, 4, 2, 3, 12, 1}));
  const std::vector<std::uint8_t> uuid(std::begin(p.clientJobUUID), std::end(p.clientJobUUID));
  EXPECT_EQ(testsupport::hex(uuid), "00 11 22 33 44 55 66 77 88 99 AA BB CC DD EE FF");
  EXPECT_STREQ(p.clientJobInfo, "info");
  EXPECT_EQ(p.rawPacketList, nullptr);
  EXPECT_EQ(p.commandDefinitions, nullptr);
  EXPECT_EQ((Ints{p.printerResolutionH, p.printerResolutionV, p.paperSizeH, p.paperSizeV,
                  p.printableWidthInPixel, p.paperOrient, p.marginTop, p.marginBottom, p.marginLeft,
                  p.marginRight, p.banner, p.savePaper, p.cutmediaCenter, p.rollmediaCenter,
                  p.dMask, p.inkType, p.singleSSC, p.printStopOff}),
            (Ints{1200, 600, 2100, 2970, 4800, 1, -10, 20, 30, 40, 1, 0, 1, 2, 1, 1, 1, 0}));
  EXPECT_STREQ(p.paperName, "CUSTOM");
  EXPECT_STREQ(p.machineID, "machine");
  EXPECT_STREQ(p.rollWidth, "36inch");
  ASSERT_NE(p.newPJLList, nullptr);
  EXPECT_EQ(p.newPJLList->text, "@PJL SET A=1");
  EXPECT_EQ(p.newPJLList->next, nullptr);
  EXPECT_EQ(p.newPJLLast, p.newPJLList.get());

  ASSERT_NE(p.imageParameterList, nullptr);
  const imageParameter& e = *p.imageParameterList;
  EXPECT_EQ(e.next, nullptr);
  EXPECT_EQ((Ints{e.mode, e.startingPositionX, e.startingPositionXSign, e.startingPositionY,
                  e.startingPositionYSign, e.yOffset, e.yOffsetSign, e.yOffsetC, e.yOffsetCSign,
                  e.yOffsetCWithPosition, e.yOffsetCWithPositionSign, e.colorSpace,
                  e.compressionMode, e.numOfPlanes, e.graphicResolutionH, e.graphicResolutionV}),
            (Ints{5003, 100, 1, 200, 0, 7, 0, -1, 0, -5, -1, 5, 3, 11, 600, 300}));
  const char* files[kImageFileCount] = {"job/k.bmp",  "job/c.bmp",      "job/m.bmp", "job/y.bmp",
                                        "job/lc.bmp", "job/lm.bmp",     "job/r.bmp", "job/g.bmp",
                                        "job/b.bmp",  "job/sub/gy.bmp", "pgy.bmp",   "job/cmyk.tif",
                                        "job/rgb.tif"};
  for (int i = 0; i < kImageFileCount; ++i)
    EXPECT_EQ(std::string(e.imageFile[i]), (top / files[i]).string()) << i;
  for (int i = 0; i < kelm::kPlaneCount; ++i) EXPECT_EQ(e.pixelDepth[i], i + 1) << i;
  const int levels[kelm::kInkPlaneCount] = {3, 4, 5, 6, 16, 0};
  for (int i = 0; i < kelm::kInkPlaneCount; ++i)
    EXPECT_EQ(e.indexLevel[i], reductionTable(levels[i]));
}

}  // namespace
