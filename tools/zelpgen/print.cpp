// zelpgen print: runs the job through the library, saying why when it fails.
#include <cstdio>
#include <cstring>

#include "commands.h"

namespace {

constexpr const char* kUsage =
    "usage: zelpgen print [--quiet] [--strict] [--no-wait] JOB.cfg   (or: zelpgen JOB.cfg ...)\n"
    "Writes the print file of the job configuration JOB.cfg (by default JOB.dat beside it,\n"
    "or the [Global] OutFilePath). Errors and warnings go to stderr.\n"
    "\n"
    "  --quiet   leave out warnings that do not fail the job\n"
    "  --strict  any warning fails the job before a print file is written (and is said,\n"
    "            --quiet or not)\n"
    "  --no-wait fail at once when another job is writing the same print file (by default\n"
    "            it waits for that job to end)\n"
    "\n"
    "Exit status: 0 printed, 1 job error (or a warning under --strict), 2 usage error.\n";

}  // namespace

int cli::runPrint(std::span<char*> args) {
  bool quiet = false;
  bool strict = false;
  bool noWait = false;
  const char* job = nullptr;
  for (const char* arg : args) {
    if (std::strcmp(arg, "--help") == 0) {
      std::fputs(kUsage, stdout);
      return kExitOk;
    }
    if (std::strcmp(arg, "--quiet") == 0) {
      quiet = true;
    } else if (std::strcmp(arg, "--strict") == 0) {
      strict = true;
    } else if (std::strcmp(arg, "--no-wait") == 0) {
      noWait = true;
    } else if (arg[0] == '-' || job != nullptr) {
      return usageError("print ",
                        "expected one JOB.cfg and the options --quiet, --strict, --no-wait");
    } else {
      job = arg;
    }
  }
  if (job == nullptr) return usageError("print ", "expected one JOB.cfg");
  if (strict) {
    // A trial first, so a warning leaves no print file behind; what fails it is always said.
    const JobOutcome trial = runJobSaying(job, false, true);
    if (trial.status != kExitOk || trial.warnings > 0) return kExitJobError;
  }
  return runJobSaying(job, quiet || strict, false, noWait).status;
}
