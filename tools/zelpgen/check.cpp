// zelpgen check: the whole job on trial, its errors and warnings on stderr and what it would
// print on stdout.
#include <cstdio>
#include <cstring>

#include "commands.h"

namespace {

constexpr const char* kUsage =
    "usage: zelpgen check [--quiet] JOB.cfg\n"
    "Reads and checks the job configuration JOB.cfg and its images without writing a print\n"
    "file; errors and warnings go to stderr, a summary of the job to stdout.\n"
    "\n"
    "  --quiet   accepted for print's sake: a warning fails the check, so it is said\n"
    "\n"
    "Exit status: 0 the job prints as asked, 1 a job error or a warning, 2 usage error.\n";

void printSummary(const char* job, const cli::JobOutcome& outcome) {
  const JobReport& r = outcome.report;
  std::printf("job: %s\npages: %d\n", job, r.pages);
  int n = 0;
  for (const ImageSummary& image : r.images) {
    std::printf("image %d: ColorSpace %d, CompressionMode %d, mode %d, depths %s\n", ++n,
                image.colorSpace, image.compression, image.mode,
                image.depths.empty() ? "none" : image.depths.c_str());
    for (const ImageFileSummary& f : image.files) {
      std::printf("  %s: %s, %s %ux%u", f.key.c_str(), f.path.c_str(), f.kind.c_str(), f.width,
                  f.height);
      if (!f.compression.empty()) {
        std::printf(", %s not decoded", f.compression.c_str());
      } else if (f.rows < f.height) {
        std::printf(", %u rows in the file", f.rows);
      }
      std::putchar('\n');
    }
  }
  std::printf("print file: %s, %lld bytes\n", r.outFile.c_str(), outcome.bytes);
}

}  // namespace

int cli::runCheck(std::span<char*> args) {
  const char* job = nullptr;
  for (const char* arg : args) {
    if (std::strcmp(arg, "--help") == 0) {
      std::fputs(kUsage, stdout);
      return kExitOk;
    }
    if (std::strcmp(arg, "--quiet") == 0) {
      // Nothing to leave out: every warning fails a check, and --quiet must not hide why.
    } else if (arg[0] == '-' || job != nullptr) {
      return usageError("check ", "expected one JOB.cfg and the option --quiet");
    } else {
      job = arg;
    }
  }
  if (job == nullptr) return usageError("check ", "expected one JOB.cfg");
  const JobOutcome outcome = runJobSaying(job, false, true);
  if (outcome.status != kExitOk) return outcome.status;
  printSummary(job, outcome);
  return outcome.warnings > 0 ? kExitJobError : kExitOk;
}
