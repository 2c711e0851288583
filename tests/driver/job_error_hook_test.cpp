#include <gtest/gtest.h>

#include <string>

#include "config/job_files.h"
#include "diag/diag.h"
#include "driver/job.h"
#include "raster_job.h"
#include "support/support.h"
#include "zelpgen/zelpgen.h"

namespace {

struct Failed {
  diag::JobError error;
};

void throwOnError(diag::Severity severity, const diag::JobError& error) {
  if (severity == diag::Severity::kError) throw Failed{error};
}

const std::string kZELP = "[ZELP]\nJobTime=\"01/02/2026 03:04:05 GMT\"\n";
const std::string kRaster = jobfiles::kKELM + jobfiles::kImage;

// Runs `config` in `dir` beside a small k.bmp and returns the print file.
rasterjob::Bytes printAlone(const testsupport::TempDir& dir, const std::string& config) {
  rasterjob::writeBmp((dir / "k.bmp").string(), rasterjob::makeSource(5, 3, 1, 255, 1));
  testsupport::writeFile(dir / "job.cfg", config);
  testing::internal::CaptureStdout();
  EXPECT_EQ(makeZELPData((dir / "job.cfg").c_str()), 0);
  testing::internal::GetCapturedStdout();
  return testsupport::readFile(dir / "job.dat");
}

// A hook that throws hands a failed job back to its caller at any stage, and the next job in
// the same process prints exactly what it prints alone.
TEST(JobErrorHook, FailedJobsHandControlBackAndLeaveNothingBehind) {
  const std::string good = kZELP + kRaster;
  testsupport::TempDir first;
  const rasterjob::Bytes alone = printAlone(first, good);
  struct Case {
    std::string config;
    int line;
    const char* key;
    const char* reason;
  } cases[] = {
      {kZELP + "Colour=1\n" + kRaster, 3, "Colour", "unknown key"},
      {kZELP + "[ZELP_Raw]\nFullPacket=x\n[KELM]\n", 4, "", "packet of 0 bytes"},
      {kZELP + jobfiles::kKELM + "[Image]\nImageFileK=\"k.bmp\"\nNumOfPlanes=one\n", 13,
       "NumOfPlanes", "\"one\" is not a number"},
      {"[Global]\nOutFilePath=\"no/such/dir.dat\"\n" + good, 0, "", "cannot write the print file"},
  };
  diag::setHook(throwOnError);
  for (const Case& c : cases) {
    testsupport::TempDir dir;
    testsupport::writeFile(dir / "k.bmp", testsupport::readFile(first / "k.bmp"));
    testsupport::writeFile(dir / "job.cfg", c.config);
    diag::JobError error;
    testing::internal::CaptureStdout();
    try {
      runJob((dir / "job.cfg").c_str(), JobOptions{}, nullptr);
      error.reason = "none";
    } catch (const Failed& f) {
      error = f.error;
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(error.line, c.line) << c.config;
    EXPECT_EQ(error.key, c.key) << c.config;
    EXPECT_NE(error.reason.find(c.reason), std::string::npos) << error.reason;
    testsupport::TempDir next;
    EXPECT_EQ(printAlone(next, good), alone) << c.config;
  }
  diag::setHook(nullptr);
}

}  // namespace
