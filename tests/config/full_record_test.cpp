#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "image/reduction.h"
#include "job_files.h"

namespace {

using testsupport::TempDir;

constexpr const char* kEveryKey = R"([Global]
OutFilePath="out\job.dat"
ImageProcessingFile="t1.bin"
ImageProcessingFile="sub\t2.bin"
[ZELP]
JobName="name"
JobOwner="owner"
JobClientID="client"
PanelMessage="panel"
JobTime="12/31/2020 23:59:59 GMT"
TrayUnitID=id_val_input_tray_cassette_3
TrayAlias=5
Medium=id_val_medium_type_glossy
MediumTypeEx=id_val_lfp_medium_type_ex_0123
Quality=id_val_print_quality_high
MediumCuttingType=id_val_medium_cutting_type_auto
InkDryingType=id_val_marker_colorant_drying_type_time
InkDryingTime=0x20
JobImpressions=3
PageInkDryingTime=id_val_lfp_media_edit_5_min
BandInkDryingTime=id_val_lfp_media_edit_1_sec
RollMediaTopBlank=id_val_lfp_media_edit_5mm
RollMediaBottomBlank=id_val_lfp_media_edit_20mm
PaperThickness=id_val_lfp_media_edit_thick
PrintingSuction=id_val_lfp_media_edit_strong
CuttingSpeed=id_val_lfp_media_edit_high_speed
Version=2
Plex=id_val_plex_dependent_on_binding_edge
PlexImagePositionAdjustment=id_val_plex_image_position_adjustment_on
HeadHeight=id_val_lfp_media_edit_middle2
SetPathMode=id_val_lfp_path_mode_2
JobCreatorID=1234
JobStartExecutionMode=id_val_job_execution_mode_job_store
COLMode=id_val_identify_by_number
COLCount=7
COLHandle=0xABCD
COLNumber=99
COLPassword=4242
JobStartMode=id_val_job_start_type_wait_script_end
ClientJobID_UUID=00112233-4455-6677-8899-aabbccddeeff
ClientJobID_JobInfo="info"
JobCopies=2
QualityOptimizedLevel=id_val_print_quality_optimized_level4
HeadOneWayPrint=id_val_head_one_way_print_forward
Calibration=id_val_lfp_calibration_panel_setting_first
JobImpressions2=12
SetJobOctets=1
[KELM]
PrinterResolutionH=1200
PrinterResolutionV=600
PaperSizeInDeciMilliMeterH=2100
PaperSizeInDeciMilliMeterV=2970
PrintableWidthInPixel=4800
PaperName="CUSTOM"
PaperOrient="LONGEDGE"
MarginTop=-10
MarginBottom=+20
MarginLeft=30
MarginRight=0x28
Banner="ON"
SavePaper="OFF"
CutmediaCenter=kelm_id_val_centering_width
RollmediaCenter=2
DMask="ON"
InkType=kelm_id_val_inktype_matte
MachineID="machine"
RollWidth="36inch"
SingleSSC=1
PrintStopOff=0
NewPJL="@PJL SET A=1"
[Image]
StartingPositionX=+100
StartingPositionY=200
YOffsetC=-5
YOffset=7
ImageFileCMYK="cmyk.tif"
ImageFileK="k.bmp"
ImageFileC="c.bmp"
ImageFileM="m.bmp"
ImageFileY="y.bmp"
ImageFilec="lc.bmp"
ImageFilem="lm.bmp"
ImageFileRGB="rgb.tif"
ImageFileGy="sub\gy.bmp"
ImageFilePgy="::pgy.bmp"
ImageFileR="r.bmp"
ImageFileG="g.bmp"
ImageFileB="b.bmp"
ColorSpace=kelm_id_val_image_format_row_kcmy_kccmmy_bi_level
CompressionMode=kelm_id_val_compression_seedrow
NumOfPlanes=11
PixelDepthK=1
PixelDepthC=2
PixelDepthM=3
PixelDepthY=4
PixelDepthc=5
PixelDepthm=6
PixelDepthR=7
PixelDepthG=8
PixelDepthB=9
PixelDepthGy=10
PixelDepthPgy=11
GraphicResolutionH=600
GraphicResolutionV=300
IndexLevelK=3
IndexLevelC=4
IndexLevelM=5
IndexLevelY=6
IndexLevelc=16
IndexLevelm=0
)";

TEST(FullRecord, EveryKeyOfEverySection) {
  TempDir top;
  const std::filesystem::path dir = top / "job";
  std::filesystem::create_directories(dir / "sub");
  for (const char* name :
       {"t1.bin", "sub/t2.bin", "cmyk.tif", "k.bmp", "c.bmp", "m.bmp", "y.bmp", "lc.bmp", "lm.bmp",
        "rgb.tif", "sub/gy.bmp", "../pgy.bmp", "r.bmp", "g.bmp", "b.bmp"})
    testsupport::writeFile(dir / name, std::string("x"));
  testsupport::writeFile(dir / "job.cfg", kEveryKey);
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
  const int zelp[] = {p.trayUnitID,        p.trayAlias,         p.medium,
                      p.mediumTypeEx,      p.quality,           p.mediumCuttingType,
                      p.inkDryingType,     p.inkDryingTime,     p.pageInkDryingTime,
                      p.bandInkDryingTime, p.rollMediaTopBlank, p.rollMediaBottomBlank,
                      p.paperThickness,    p.printingSuction,   p.cuttingSpeed,
                      p.jobImpressions};
  const int zelpExpected[] = {103, 5, 13, 0x123, 3, 4, 6, 32, 6, 10, 15, 17, 23, 30, 32, 3};
  for (std::size_t i = 0; i < std::size(zelp); ++i) EXPECT_EQ(zelp[i], zelpExpected[i]) << i;
  EXPECT_EQ(p.jobTime, 2);
  EXPECT_EQ(p.jobTimeField1, 12);
  EXPECT_EQ(p.jobTimeField2, 31);
  EXPECT_EQ(p.jobTimeYear, 2020);
  EXPECT_EQ(p.jobTimeHour, 23);
  EXPECT_EQ(p.jobTimeMinute, 59);
  EXPECT_EQ(p.jobTimeSecond, 59);
  EXPECT_EQ(p.jobTimeIsGMT, 1);
  const int set2[] = {p.version,
                      p.jobCreatorID,
                      p.jobStartExecutionMode,
                      p.colMode,
                      p.colCount,
                      p.colHandle,
                      p.colNumber,
                      p.colPassword,
                      p.jobStartMode,
                      p.clientJobIDSet,
                      p.jobCopies,
                      p.qualityOptimizedLevel,
                      p.headOneWayPrint,
                      p.headHeight,
                      p.calibration,
                      p.setPathMode,
                      p.jobImpressions2,
                      p.setJobOctets,
                      p.plex,
                      p.plexImagePositionAdjustment};
  const int set2Expected[] = {2, 1234, 3, 3,  7, 0xABCD, 99, 4242, 7, 1,
                              2, 4,    2, 37, 3, 2,      12, 1,    4, 2};
  for (std::size_t i = 0; i < std::size(set2); ++i) EXPECT_EQ(set2[i], set2Expected[i]) << i;
  for (int i = 0; i < 16; ++i) EXPECT_EQ(p.clientJobUUID[i], i * 0x11) << i;
  EXPECT_EQ(std::string(p.clientJobInfo, sizeof p.clientJobInfo), "info" + std::string(44, '\0'));

  const int kelm[] = {p.printerResolutionH,
                      p.printerResolutionV,
                      p.paperSizeH,
                      p.paperSizeV,
                      p.printableWidthInPixel,
                      p.paperOrient,
                      p.marginTop,
                      p.marginBottom,
                      p.marginLeft,
                      p.marginRight,
                      p.banner,
                      p.savePaper,
                      p.cutmediaCenter,
                      p.rollmediaCenter,
                      p.dMask,
                      p.inkType,
                      p.singleSSC,
                      p.printStopOff};
  const int kelmExpected[] = {1200, 600, 2100, 2970, 4800, 1, -10, 20, 30,
                              40,   1,   0,    1,    2,    1, 1,   1,  0};
  for (std::size_t i = 0; i < std::size(kelm); ++i) EXPECT_EQ(kelm[i], kelmExpected[i]) << i;
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
  EXPECT_EQ(e.mode, 5003);
  EXPECT_EQ(e.startingPositionX, 100);
  EXPECT_EQ(e.startingPositionXSign, 1);
  EXPECT_EQ(e.startingPositionY, 200);
  EXPECT_EQ(e.startingPositionYSign, 0);
  EXPECT_EQ(e.yOffset, 7);
  EXPECT_EQ(e.yOffsetSign, 0);
  EXPECT_EQ(e.yOffsetC, -1);
  EXPECT_EQ(e.yOffsetCWithPosition, -5);
  EXPECT_EQ(e.yOffsetCWithPositionSign, -1);
  const char* files[kImageFileCount] = {
      "/job/cmyk.tif", "/job/k.bmp",  "/job/c.bmp",   "/job/m.bmp",      "/job/y.bmp",
      "/job/lc.bmp",   "/job/lm.bmp", "/job/rgb.tif", "/job/sub/gy.bmp", "/pgy.bmp",
      "/job/r.bmp",    "/job/g.bmp",  "/job/b.bmp"};
  for (int i = 0; i < kImageFileCount; ++i)
    EXPECT_EQ(std::string(e.imageFile[i]), top.path().string() + files[i]) << i;
  EXPECT_EQ(e.colorSpace, 5);
  EXPECT_EQ(e.compressionMode, 3);
  EXPECT_EQ(e.numOfPlanes, 11);
  for (int i = 0; i < kPixelDepthCount; ++i) EXPECT_EQ(e.pixelDepth[i], i + 1) << i;
  const int levels[kIndexLevelCount] = {3, 4, 5, 6, 16, 0};
  for (int i = 0; i < kIndexLevelCount; ++i) EXPECT_EQ(e.indexLevel[i], reductionTable(levels[i]));
  EXPECT_EQ(e.graphicResolutionH, 600);
  EXPECT_EQ(e.graphicResolutionV, 300);
  EXPECT_EQ(e.sameImageConfiguration, -1);
  EXPECT_EQ(e.sameGraphicResolutionH, -1);
  EXPECT_EQ(e.sameGraphicResolutionV, -1);
}

}  // namespace
