#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "image/reduction.h"
#include "job_files.h"

namespace {

using testsupport::TempDir;

void expectFields(const std::vector<std::pair<int, int>>& actualAndExpected) {
  for (std::size_t i = 0; i < actualAndExpected.size(); ++i)
    EXPECT_EQ(actualAndExpected[i].first, actualAndExpected[i].second) << "field " << i;
}

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
  EXPECT_EQ(std::string(p.cfgDirectory), d);
  EXPECT_EQ(std::string(p.outFilePath), d + "/out/job.dat");
  ASSERT_NE(p.imageProcessingFileList, nullptr);
  EXPECT_EQ(std::string(p.imageProcessingFileList->path), d + "/t1.bin");
  ASSERT_NE(p.imageProcessingFileList->next, nullptr);
  EXPECT_EQ(std::string(p.imageProcessingFileList->next->path), d + "/sub/t2.bin");
  EXPECT_EQ(p.imageProcessingFileList->next->next, nullptr);

  EXPECT_STREQ(p.jobName, "name");
  EXPECT_STREQ(p.jobOwner, "owner");
  EXPECT_STREQ(p.jobClientID, "client");
  EXPECT_STREQ(p.panelMessage, "panel");
  expectFields({{p.trayUnitID, 103},
                {p.trayAlias, 5},
                {p.medium, 13},
                {p.mediumTypeEx, 0x123},
                {p.quality, 3},
                {p.mediumCuttingType, 4},
                {p.inkDryingType, 6},
                {p.inkDryingTime, 32},
                {p.pageInkDryingTime, 6},
                {p.bandInkDryingTime, 10},
                {p.rollMediaTopBlank, 15},
                {p.rollMediaBottomBlank, 17},
                {p.paperThickness, 23},
                {p.printingSuction, 30},
                {p.cuttingSpeed, 32},
                {p.jobImpressions, 3},
                {p.jobTime, 2},
                {p.jobTimeField1, 12},
                {p.jobTimeField2, 31},
                {p.jobTimeYear, 2020},
                {p.jobTimeHour, 23},
                {p.jobTimeMinute, 59},
                {p.jobTimeSecond, 59},
                {p.jobTimeIsGMT, 1}});
  expectFields({{p.version, 2},
                {p.jobCreatorID, 1234},
                {p.jobStartExecutionMode, 3},
                {p.colMode, 3},
                {p.colCount, 7},
                {p.colHandle, 0xABCD},
                {p.colNumber, 99},
                {p.colPassword, 4242},
                {p.jobStartMode, 7},
                {p.clientJobIDSet, 1},
                {p.jobCopies, 2},
                {p.qualityOptimizedLevel, 4},
                {p.headOneWayPrint, 2},
                {p.headHeight, 37},
                {p.calibration, 3},
                {p.setPathMode, 2},
                {p.jobImpressions2, 12},
                {p.setJobOctets, 1},
                {p.plex, 4},
                {p.plexImagePositionAdjustment, 2}});
  for (int i = 0; i < 16; ++i) EXPECT_EQ(p.clientJobUUID[i], i * 0x11) << i;
  EXPECT_EQ(std::string(p.clientJobInfo, sizeof p.clientJobInfo), "info" + std::string(44, '\0'));

  expectFields({{p.printerResolutionH, 1200},
                {p.printerResolutionV, 600},
                {p.paperSizeH, 2100},
                {p.paperSizeV, 2970},
                {p.printableWidthInPixel, 4800},
                {p.paperOrient, 1},
                {p.marginTop, -10},
                {p.marginBottom, 20},
                {p.marginLeft, 30},
                {p.marginRight, 40},
                {p.banner, 1},
                {p.savePaper, 0},
                {p.cutmediaCenter, 1},
                {p.rollmediaCenter, 2},
                {p.dMask, 1},
                {p.inkType, 1},
                {p.singleSSC, 1},
                {p.printStopOff, 0}});
  EXPECT_STREQ(p.paperName, "CUSTOM");
  EXPECT_STREQ(p.machineID, "machine");
  EXPECT_STREQ(p.rollWidth, "36inch");
  ASSERT_NE(p.newPJLList, nullptr);
  EXPECT_STREQ(p.newPJLList->text, "@PJL SET A=1");
  EXPECT_EQ(p.newPJLList->next, nullptr);
  EXPECT_EQ(p.newPJLLast, p.newPJLList.get());
  EXPECT_EQ(p.rawPacketList, nullptr);
  EXPECT_EQ(p.commandDefinitions, nullptr);

  ASSERT_NE(p.imageParameterList, nullptr);
  const imageParameter& e = *p.imageParameterList;
  EXPECT_EQ(e.next, nullptr);
  expectFields({{e.mode, 5003},
                {e.startingPositionX, 100},
                {e.startingPositionXSign, 1},
                {e.startingPositionY, 200},
                {e.startingPositionYSign, 0},
                {e.yOffset, 7},
                {e.yOffsetSign, 0},
                {e.yOffsetC, -1},
                {e.yOffsetCSign, 0},
                {e.yOffsetCWithPosition, -5},
                {e.yOffsetCWithPositionSign, -1},
                {e.colorSpace, 5},
                {e.compressionMode, 3},
                {e.numOfPlanes, 11},
                {e.graphicResolutionH, 600},
                {e.graphicResolutionV, 300},
                {e.sameImageConfiguration, -1},
                {e.sameGraphicResolutionH, -1},
                {e.sameGraphicResolutionV, -1}});
  const char* files[kImageFileCount] = {"job/cmyk.tif",   "job/k.bmp",  "job/c.bmp",  "job/m.bmp",
                                        "job/y.bmp",      "job/lc.bmp", "job/lm.bmp", "job/rgb.tif",
                                        "job/sub/gy.bmp", "pgy.bmp",    "job/r.bmp",  "job/g.bmp",
                                        "job/b.bmp"};
  for (int i = 0; i < kImageFileCount; ++i)
    EXPECT_EQ(std::string(e.imageFile[i]), (top / files[i]).string()) << i;
  for (int i = 0; i < kPixelDepthCount; ++i) EXPECT_EQ(e.pixelDepth[i], i + 1) << i;
  const int levels[kIndexLevelCount] = {3, 4, 5, 6, 16, 0};
  for (int i = 0; i < kIndexLevelCount; ++i) EXPECT_EQ(e.indexLevel[i], reductionTable(levels[i]));
}

}  // namespace
