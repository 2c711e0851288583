// The subcommands of the zelpgen program; each takes the arguments after its own name.
#pragma once

#include <span>

#include "driver/job.h"

namespace cli {

// Exit statuses shared by every subcommand.
inline constexpr int kExitOk = 0;
inline constexpr int kExitJobError = 1;
inline constexpr int kExitUsage = 2;

int runPrint(std::span<char*> args);
int runCheck(std::span<char*> args);
int runInspect(std::span<char*> args);
int runRender(std::span<char*> args);

struct JobOutcome {
  int status = kExitOk;
  int warnings = 0;
  long long bytes = -1;  // of the trial print file
  JobReport report;
};

// Runs the job with every error and warning on stderr ("zelpgen: FILE:LINE: ..."), warnings left
// out when quiet. A trial writes the print file to a scratch file, measures and removes it, and
// keeps the library's own stdout quiet. A job that is refused (output.h) never reaches the
// library; noWait fails at once when another job holds the print file.
JobOutcome runJobSaying(const char* path, bool quiet, bool trial, bool noWait = false);

// "zelpgen: <message>" on stderr, then the usage status.
int usageError(const char* subcommand, const char* message);

}  // namespace cli
