// The proof of check on every job the library prints: the golden jobs that end with status 0
// and the examples, which hold every image kind the readers take. It says nothing for them but
// for the few whose print is at fault, and says what is wrong with those.
#include "proof.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "diag/diag.h"
#include "support/support.h"
#include "zelp/store.h"

namespace {

namespace fs = std::filesystem;

// Golden jobs whose print file the proof finds at fault, and the words it finds it with.
const std::map<std::string, std::string> kAtFault = {
    {"damaged-image-prints-what-it-holds-01", "the file holds 0 of its 2147483647 rows"},
    {"damaged-image-prints-what-it-holds-02", "the file holds 1 of its 2147483647 rows"},
    {"command-string-300",
     "job.cfg:4: the packet made here does not read back: packet does not "
     "start with CD CA 10"},
};

std::vector<std::string> sHeard;

void hear(diag::Severity, const diag::JobError& error) {
  diag::JobError e = error;
  if (e.file.empty()) e.file = "job.cfg";
  sHeard.push_back(diag::describe(e));
}

struct Job {
  fs::path folder;
  std::string name;
};

std::vector<Job> jobs() {
  std::vector<Job> found;
  for (const auto& e : fs::directory_iterator(ZELPGEN_GOLDEN_DIR)) {
    const fs::path status = e.path() / "expected" / "status";
    const std::vector<std::uint8_t> s =
        fs::exists(status) ? testsupport::readFile(status) : std::vector<std::uint8_t>{};
    if (!s.empty() && s[0] == '0') found.push_back({e.path(), e.path().filename().string()});
  }
  for (const auto& e : fs::recursive_directory_iterator(ZELPGEN_EXAMPLES_DIR))
    if (e.path().filename() == "job.cfg")
      found.push_back({e.path().parent_path(), "examples/" + e.path().parent_path().string()});
  std::sort(found.begin(), found.end(), [](auto& a, auto& b) { return a.name < b.name; });
  return found;
}

TEST(Proof, SaysNothingForTheJobsTheLibraryPrintsButThoseAtFault) {
  const fs::path home = fs::current_path();
  int proven = 0;
  for (const Job& job : jobs()) {
    SCOPED_TRACE(job.name);
    testsupport::TempDir dir;
    const fs::path work = dir / "job";
    fs::copy(job.folder, work, fs::copy_options::recursive);
    fs::current_path(work);
    zelp_ResetSetFlags();
    diag::setHook(hear);
    JobReport report;
    const std::string trial = (dir / "trial.dat").string();
    runJob("job.cfg", JobOptions{trial.c_str()}, &report);
    sHeard.clear();
    cli::proveTrial(trial, report);
    diag::setHook(nullptr);
    fs::current_path(home);
    const auto fault = kAtFault.find(job.folder.filename().string());
    if (fault == kAtFault.end()) {
      EXPECT_EQ(sHeard, std::vector<std::string>{});
    } else {
      ASSERT_EQ(sHeard.size(), 1u);
      EXPECT_NE(sHeard[0].find(fault->second), std::string::npos) << sHeard[0];
    }
    ++proven;
  }
  EXPECT_GE(proven, 20);
}

}  // namespace
