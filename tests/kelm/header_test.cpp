#include <gtest/gtest.h>

#include "config/parameter.h"
#include "harness.h"
#include "kelm/kelm.h"
#include "support/support.h"

namespace {

using kelmtest::esc;

// "@PJL SET %s\n" for each setting.
std::string pjl(std::initializer_list<std::string> settings) {
  std::string out;
  for (const std::string& s : settings) out += "@PJL SET " + s + "\n";
  return out;
}
const std::string kLead =
    esc("ESC%-12345X@PJL\n@PJL RESET\n") + pjl({"HRESOLUTION=600", "VRESOLUTION=300"});
const std::string kDefaultPaper = pjl({"PAPER=", "PAPERORIENT=SHORTEDGE"});
const std::string kMargins0 =
    pjl({"TOPMARGIN=0", "BOTTOMMARGIN=0", "LEFTMARGIN=0", "RIGHTMARGIN=0"});

TEST(JobStart, WritesThePJLHeaderOfTheSettings) {
  const std::string name40(40, 'N'), id32(32, 'I');
  const struct {
    const char* name;
    std::function<void()> setup;
    std::string lines;  // from the paper line on
  } cases[] = {
      {"defaults", [] {}, kDefaultPaper + kMargins0},
      {"custom paper: size, no orientation",
       [] {
         KELM_SetPaperName("CUSTOM");
         KELM_SetPaperSizeInDeciMilliMeter(2100, 2970);
         KELM_SetPaperOrientToLongEdge();
       },
       pjl({"PAPER=CUSTOM", "PAPERLENGTH=2970", "PAPERWIDTH=2100"}) + kMargins0},
      {"other names: orientation",
       [] {
         KELM_SetPaperName("custom");
         KELM_SetPaperOrientToLongEdge();
         KELM_SetMargins(-5, 10, 20, 30);
       },
       pjl({"PAPER=custom", "PAPERORIENT=LONGEDGE", "TOPMARGIN=-5", "BOTTOMMARGIN=20",
            "LEFTMARGIN=10", "RIGHTMARGIN=30"})},
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
         std::unique_ptr<newPJLLine> list;  // built from the tail: OWNER=me, then X=1
         for (const char* text : {"X=1", "OWNER=me"}) {
           auto line = std::make_unique<newPJLLine>();
           copyField(line->text, text);
           line->next = std::move(list);
           list = std::move(line);
         }
         KELM_SetNewPJL(std::move(list));
       },
       kDefaultPaper + kMargins0 +
           pjl({"BANNER=ON", "SAVE_PAPER=OFF", "CUTMEDIA_CENTER=0", "ROLLMEDIA_CENTER=7",
                "DMASK=OFF", "INKTYPE=1", "SINGLE_SSC=-56", "PRINTSTOPOFF=0", "OWNER=me", "X=1"})},
      {"machine id sets ink type 0", [] { KELM_SetMachineID("M-1"); },
       kDefaultPaper + kMargins0 + pjl({"INKTYPE=0", "MACHINEID=M-1"})},
      {"roll width replaces machine id",
       [] {
         KELM_SetInkType(1);
         KELM_SetMachineID("M-1");
         KELM_SetRollWidth("36in");
       },
       kDefaultPaper + kMargins0 + pjl({"INKTYPE=0", "ROLLWIDTH=36in"})},
      {"texts cut to 32 characters, ink type signed",
       [&] {
         KELM_SetPaperName(name40.c_str());
         KELM_SetMachineID(id32.c_str());
         KELM_SetInkType(0x80);
       },
       pjl({"PAPER=" + name40.substr(0, 32), "PAPERORIENT=SHORTEDGE"}) + kMargins0 +
           pjl({"INKTYPE=-128", "MACHINEID=" + id32})},
      {"255 is not set",
       [] {
         KELM_SetInkType(255);
         KELM_SetSingleSSC(255);
         KELM_SetPrintStopOff(255);
       },
       kDefaultPaper + kMargins0},
  };
  for (const auto& c : cases) {
    kelmtest::resetEncoder();
    c.setup();
    int result = -1;
    EXPECT_EQ(kelmtest::captureRaster([&] { result = KELM_SendJobStart(); }),
              kLead + c.lines + esc("ESC%0AESCEESC&a1N"))
        << c.name;
    EXPECT_EQ(result, 0);
  }
}

TEST(JobStart, SendsTableFilesZeroToFiveInOrderAndStopsAtAMissingOne) {
  testsupport::TempDir dir;
  testsupport::writeFile(dir / "t0", std::string("AB\0\x1b", 4));
  testsupport::writeFile(dir / "t1", std::string());
  testsupport::writeFile(dir / "t5", std::string("xyz"));
  const std::string missing = (dir / "t2").string();
  const std::string tables = kLead + kDefaultPaper + kMargins0 + esc("ESC%0AESCEESC$b4W") +
                             std::string("AB\0\x1b", 4) + esc("ESC$b0W");
  for (const bool withMissing : {false, true}) {
    kelmtest::resetEncoder();
    ASSERT_EQ(KELM_SetImageProcessingFile(5, (dir / "t5").c_str()), 0);
    ASSERT_EQ(KELM_SetImageProcessingFile(0, (dir / "t1").c_str()), 0);
    ASSERT_EQ(KELM_SetImageProcessingFile(0, (dir / "t0").c_str()), 0);  // replaces
    ASSERT_EQ(KELM_SetImageProcessingFile(1, (dir / "t1").c_str()), 0);
    EXPECT_EQ(withMissing ? KELM_SetImageProcessingFile(2, missing.c_str()) : 0, 0);
    int result = 0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(KELM_SetImageProcessingFile(6, "beyond"), -1);
    const std::string raster = kelmtest::captureRaster([&] { result = KELM_SendJobStart(); });
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ERROR! KELM_SetImageProcessingFile: too many files(6)\n" +
                  (withMissing ? "ERROR! LXBMP_New can't open '" + missing + "'. (errno=2)\n(2)\n"
                               : std::string()));
    EXPECT_EQ(result, withMissing ? -1 : 0);
    EXPECT_EQ(raster, withMissing ? tables : tables + esc("ESC$b3WxyzESC&a1N"));
  }
}

}  // namespace
