#include <gtest/gtest.h>

#include <functional>

#include "harness.h"
#include "kelm/kelm.h"
#include "support/support.h"
#include "zelp/zelp.h"

namespace {

using kelmtest::captureRaster;
using kelmtest::esc;

const std::string kLead =
    esc("ESC%-12345X@PJL\n@PJL RESET\n@PJL SET HRESOLUTION=600\n@PJL SET VRESOLUTION=300\n");
const std::string kMargins0 =
    "@PJL SET TOPMARGIN=0\n@PJL SET BOTTOMMARGIN=0\n@PJL SET LEFTMARGIN=0\n@PJL SET "
    "RIGHTMARGIN=0\n";
const std::string kEnter = esc("ESC%0AESCE");
const std::string kTail = esc("ESC&a1N");

std::unique_ptr<newPJLLine> pjlLines(std::initializer_list<const char*> texts) {
  std::unique_ptr<newPJLLine> head;
  std::unique_ptr<newPJLLine>* slot = &head;
  for (const char* text : texts) {
    *slot = std::make_unique<newPJLLine>();
    copyField((*slot)->text, text);
    slot = &(*slot)->next;
  }
  return head;
}

TEST(JobStart, WritesThePJLHeaderOfTheSettings) {
  const std::string name40(40, 'N');
  const std::string id32(32, 'I');
  const struct {
    const char* name;
    std::function<void()> setup;
    std::string lines;  // from the paper line to the last line before the raster language
  } cases[] = {
      {"defaults", [] {}, "@PJL SET PAPER=\n@PJL SET PAPERORIENT=SHORTEDGE\n" + kMargins0},
      {"custom paper has a size and no orientation",
       [] {
         KELM_SetPaperName("CUSTOM");
         KELM_SetPaperSizeInDeciMilliMeter(2100, 2970);
         KELM_SetPaperOrientToLongEdge();
       },
       "@PJL SET PAPER=CUSTOM\n@PJL SET PAPERLENGTH=2970\n@PJL SET PAPERWIDTH=2100\n" + kMargins0},
      {"any other name has an orientation",
       [] {
         KELM_SetPaperName("custom");
         KELM_SetPaperOrientToLongEdge();
         KELM_SetMargins(-5, 10, 20, 30);
       },
       "@PJL SET PAPER=custom\n@PJL SET PAPERORIENT=LONGEDGE\n@PJL SET TOPMARGIN=-5\n@PJL SET "
       "BOTTOMMARGIN=20\n@PJL SET LEFTMARGIN=10\n@PJL SET RIGHTMARGIN=30\n"},
      {"every optional line",
       [] {
         KELM_SetBannerON();
         KELM_SetSavePaperOFF();
         KELM_SetCutmediaCenter(0);
         KELM_SetRollmediaCenter(7);
         KELM_SetDMaskOFF();
         KELM_SetInkType(1);
         KELM_SetSingleSSC(200);
         KELM_SetPrintStopOff(0);
         KELM_SetNewPJL(pjlLines({"OWNER=me", "X=1"}));
       },
       "@PJL SET PAPER=\n@PJL SET PAPERORIENT=SHORTEDGE\n" + kMargins0 +
           "@PJL SET BANNER=ON\n@PJL SET SAVE_PAPER=OFF\n@PJL SET CUTMEDIA_CENTER=0\n@PJL SET "
           "ROLLMEDIA_CENTER=7\n@PJL SET DMASK=OFF\n@PJL SET INKTYPE=1\n@PJL SET "
           "SINGLE_SSC=-56\n@PJL SET PRINTSTOPOFF=0\n@PJL SET OWNER=me\n@PJL SET X=1\n"},
      {"machine id sets ink type 0", [] { KELM_SetMachineID("M-1"); },
       "@PJL SET PAPER=\n@PJL SET PAPERORIENT=SHORTEDGE\n" + kMargins0 +
           "@PJL SET INKTYPE=0\n@PJL SET MACHINEID=M-1\n"},
      {"roll width replaces machine id",
       [] {
         KELM_SetInkType(1);
         KELM_SetMachineID("M-1");
         KELM_SetRollWidth("36in");
       },
       "@PJL SET PAPER=\n@PJL SET PAPERORIENT=SHORTEDGE\n" + kMargins0 +
           "@PJL SET INKTYPE=0\n@PJL SET ROLLWIDTH=36in\n"},
      {"texts cut to 32 characters",
       [&] {
         KELM_SetPaperName(name40.c_str());
         KELM_SetMachineID(id32.c_str());
         KELM_SetInkType(0x80);
       },
       "@PJL SET PAPER=" + name40.substr(0, 32) + "\n@PJL SET PAPERORIENT=SHORTEDGE\n" + kMargins0 +
           "@PJL SET INKTYPE=-128\n@PJL SET MACHINEID=" + id32 + "\n"},
      {"255 is not set",
       [] {
         KELM_SetInkType(255);
         KELM_SetSingleSSC(255);
         KELM_SetPrintStopOff(255);
       },
       "@PJL SET PAPER=\n@PJL SET PAPERORIENT=SHORTEDGE\n" + kMargins0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    kelmtest::resetEncoder();
    c.setup();
    int result = -1;
    const std::string raster = captureRaster([&] { result = KELM_SendJobStart(); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(raster, kLead + c.lines + kEnter + kTail);
  }
}

TEST(JobStart, SendsTableFilesInIndexOrderAndStopsAtAMissingOne) {
  testsupport::TempDir dir;
  testsupport::writeFile(dir / "t0", std::string("AB\0\x1b", 4));
  testsupport::writeFile(dir / "t1", std::string());
  testsupport::writeFile(dir / "t3", std::string("xyz"));
  const std::string missing = (dir / "t2").string();
  const std::string header = kLead + "@PJL SET PAPER=\n@PJL SET PAPERORIENT=SHORTEDGE\n" +
                             kMargins0 + kEnter + esc("ESC$b4W") + std::string("AB\0\x1b", 4) +
                             esc("ESC$b0W");
  const struct {
    const char* name;
    bool withMissing;
    int result;
    std::string raster;
    std::string errors;
  } cases[] = {
      {"all found", false, 0, header + esc("ESC$b3Wxyz") + kTail, ""},
      {"index 2 missing", true, -1, header,
       "ERROR! LXBMP_New can't open '" + missing + "'. (errno=2)\n(2)\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    kelmtest::resetEncoder();
    ASSERT_EQ(KELM_SetImageProcessingFile(3, (dir / "t3").c_str()), 0);
    ASSERT_EQ(KELM_SetImageProcessingFile(0, (dir / "t1").c_str()), 0);
    ASSERT_EQ(KELM_SetImageProcessingFile(0, (dir / "t0").c_str()), 0);  // replaces
    ASSERT_EQ(KELM_SetImageProcessingFile(1, (dir / "t1").c_str()), 0);
    if (c.withMissing) {
      ASSERT_EQ(KELM_SetImageProcessingFile(2, missing.c_str()), 0);
    }
    int result = 0;
    testing::internal::CaptureStderr();
    const std::string raster = captureRaster([&] { result = KELM_SendJobStart(); });
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.errors);
    EXPECT_EQ(result, c.result);
    EXPECT_EQ(raster, c.raster);
  }
}

TEST(ImageProcessingFile, AcceptsSixIndexesAndForgetsThemOnDelete) {
  kelmtest::resetEncoder();
  testing::internal::CaptureStderr();
  EXPECT_EQ(KELM_SetImageProcessingFile(5, "last"), 0);
  EXPECT_EQ(KELM_SetImageProcessingFile(6, "beyond"), -1);
  EXPECT_EQ(KELM_SetImageProcessingFile(-1, "before"), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ERROR! KELM_SetImageProcessingFile: too many files(6)\n"
            "ERROR! KELM_SetImageProcessingFile: too many files(-1)\n");
  KELMState state = kelm_GetState();
  EXPECT_EQ(state.hasImageProcessingDataPath, (std::array<bool, 6>{0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(state.imageProcessingDataPath[5], "last");
  KELM_Delete();
  EXPECT_EQ(kelm_GetState().hasImageProcessingDataPath, (std::array<bool, 6>{}));
}

TEST(JobEnd, FlushesAroundTheUniversalExit) {
  std::vector<inspect::Packet> data;
  for (const inspect::Packet& p : kelmtest::capturePackets([] {
         ZELP_SendCString("rows");
         KELM_SendJobEnd(0);
       })) {
    if (p.operation == inspect::kDataOperation) data.push_back(p);
  }
  ASSERT_EQ(data.size(), 2u);
  EXPECT_EQ(data[0].flags, 0x02);
  EXPECT_EQ(std::string(data[0].parameters.begin() + 1, data[0].parameters.end()), "rows");
  EXPECT_EQ(data[1].flags, 0x00);
  EXPECT_EQ(std::string(data[1].parameters.begin() + 1, data[1].parameters.end()),
            esc("ESC%-12345X"));
}

}  // namespace
