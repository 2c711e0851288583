#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "config/job_files.h"
#include "diag/diag.h"
#include "support/support.h"
#include "zelpgen/zelpgen.h"

namespace {

using testsupport::TempDir;
namespace fs = std::filesystem;

void writeJob(const fs::path& cfg) {
  fs::create_directories(cfg.parent_path());
  // No OutFilePath: the print file is named after the configuration.
  testsupport::writeFile(cfg, jobfiles::kKELM + jobfiles::kImage);
  testsupport::writeFile(cfg.parent_path() / "k.bmp", std::string("x"));
}

TEST(EntryPoint, DefaultOutputReplacesTheLastDotOfThePath) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"job.cfg", "job.dat"},
      {"dir/job.x.cfg", "dir/job.x.dat"},
      {"a.b/job.cfg", "a.b/job.dat"},
      // The file name has no dot: the directory's dot is cut.
      {"a.b/job", "a.dat"},
  };
  for (const auto& [cfg, out] : cases) {
    TempDir dir;
    writeJob(dir / cfg);
    EXPECT_EQ(makeZELPData((dir / cfg).c_str()), 0) << cfg;
    EXPECT_TRUE(fs::exists(dir / out)) << cfg;
  }
}

TEST(EntryPoint, ResolvesThePathBeforeDerivingNames) {
  TempDir dir;
  writeJob(dir / "real" / "job.cfg");
  fs::create_directories(dir / "links");
  fs::create_symlink(dir / "real" / "job.cfg", dir / "links" / "link.cfg");
  // The image is found beside the real file and the output is named after it.
  EXPECT_EQ(makeZELPData((dir / "links" / "link.cfg").c_str()), 0);
  EXPECT_TRUE(fs::exists(dir / "real" / "job.dat"));
  EXPECT_FALSE(fs::exists(dir / "links" / "link.dat"));
}

TEST(EntryPoint, ConfigurationThatCannotBeReadEndsWithStatusOne) {
  TempDir dir;
  EXPECT_EXIT_FOR(makeZELPData((dir / "absent.cfg").c_str()), "",
                  "cannot open the job configuration");
  EXPECT_EXIT_FOR(makeZELPData(nullptr), "", "cannot open the job configuration");

  // A path longer than the name buffers is refused, not cut to another job's name.
  fs::path deep = dir.path();
  while (deep.string().size() < 200) deep /= std::string(40, 'd');
  deep /= std::string(251 - deep.string().size() - 1, 'e');
  const fs::path cut = deep / "job.cfg";
  ASSERT_EQ(cut.string().size(), 259u);
  writeJob(cut);
  writeJob(deep / "job.cfg.long");
  EXPECT_EQ(makeZELPData(cut.c_str()), 0);
  EXPECT_EXIT_FOR(makeZELPData((deep / "job.cfg.long").c_str()), "",
                  "the job's full path is longer than 259 characters");

  // A default output name that would not fit whole is refused as well.
  const std::string stem = (deep / "").string();
  const fs::path fits = stem + std::string(255 - stem.size(), 'f');
  const fs::path tooLong = stem + std::string(256 - stem.size(), 'g');
  writeJob(fits);
  writeJob(tooLong);
  EXPECT_EQ(makeZELPData(fits.c_str()), 0);
  EXPECT_TRUE(fs::exists(fits.string() + ".dat"));
  EXPECT_EXIT_FOR(makeZELPData(tooLong.c_str()), "",
                  "the default print file name (the job's path with .dat) is too long");
}

// Nothing thrown inside reaches a C caller: the job ends with status 1, as a bad configuration
// does, and a hook hears why.
TEST(EntryPoint, AnExceptionInsideEndsTheJobWithStatusOne) {
  TempDir dir;
  EXPECT_EXIT(
      {
        diag::setHook([](diag::Severity, const diag::JobError& e) {
          if (e.reason.rfind("the job stopped", 0) != 0) throw std::runtime_error("thrown");
          std::fprintf(stderr, "%s\n", e.reason.c_str());
        });
        makeZELPData((dir / "absent.cfg").c_str());
        std::_Exit(0);
      },
      ::testing::ExitedWithCode(1), "^the job stopped on an unexpected failure: thrown\n$");
}

}  // namespace
