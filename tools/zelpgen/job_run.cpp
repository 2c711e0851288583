// Runs a job through the library with its errors and warnings said on stderr.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "commands.h"
#include "diag/diag.h"
#include "output.h"
#include "zelp/store.h"

namespace {

struct JobFailed {};

bool sQuiet = false;
int sWarnings = 0;
std::string sJobArgument;

void say(diag::Severity severity, const diag::JobError& error) {
  diag::JobError e = error;
  if (e.file.empty()) e.file = sJobArgument;
  const bool warning = severity == diag::Severity::kWarning;
  if (warning) ++sWarnings;
  if (!warning || !sQuiet)
    std::fprintf(stderr, "zelpgen: %s%s\n", warning ? "warning: " : "",
                 cli::shown(diag::describe(e)).c_str());
  if (!warning) throw JobFailed{};
}

// The trial wrote elsewhere: the job's own print file must be creatable too.
bool canWrite(const std::string& file) {
  if (access(file.c_str(), F_OK) == 0) return access(file.c_str(), W_OK) == 0;
  const std::size_t slash = file.rfind('/');
  const std::string dir = slash == std::string::npos ? "." : file.substr(0, slash + 1);
  return access(dir.c_str(), W_OK) == 0;
}

}  // namespace

cli::JobOutcome cli::runJobSaying(const char* path, bool quiet, bool trial, bool noWait) {
  JobOutcome outcome;
  // A job in this process may have run before (the trial of --strict): start as a new one.
  zelp_ResetSetFlags();
  sQuiet = quiet;
  sWarnings = 0;
  sJobArgument = path;
  JobPlan plan;
  const std::vector<diag::JobError> refused = refusals(path, &plan);
  diag::setHook(say);
  std::string scratch;
  PrintFile out;
  try {
    // Before the library runs, so that it never touches what it must not.
    for (const diag::JobError& e : refused) {
      try {
        say(diag::Severity::kError, e);
      } catch (const JobFailed&) {
      }
    }
    if (!refused.empty()) throw JobFailed{};
    if (trial) {
      MutedStdout muted;
      const char* dir = std::getenv("TMPDIR");
      std::string name =
          std::string(dir != nullptr && *dir != '\0' ? dir : "/tmp") + "/zelpgen-check-XXXXXX";
      const int fd = mkstemp(name.data());
      if (fd >= 0) {
        close(fd);
        scratch = name;
        holdScratch(scratch);
      }
      runJob(path, JobOptions{scratch.empty() ? nullptr : scratch.c_str()}, &outcome.report);
      if (!canWrite(outcome.report.outFile))
        say(diag::Severity::kError,
            {{}, 0, {}, {}, {}, "cannot write the print file " + outcome.report.outFile});
    } else {
      std::string why;
      if (!plan.outFile.empty() && !out.open(plan.outFile, noWait, &why))
        say(diag::Severity::kError, {plan.outFile, 0, {}, {}, {}, why});
      runJob(path, JobOptions{out.writeName().empty() ? nullptr : out.writeName().c_str()},
             &outcome.report);
    }
    if (const InputState* in = changedInput(plan)) {
      diag::JobError e = in->place;
      e.reason = in->path + " changed while the job read it";
      say(diag::Severity::kError, e);
    }
    if (!trial) {
      const std::string fault = out.finish();
      if (!fault.empty()) say(diag::Severity::kError, {out.finalName(), 0, {}, {}, {}, fault});
    }
    outcome.status = kExitOk;
  } catch (const JobFailed&) {
    if (!trial) out.fail();
    outcome.status = kExitJobError;
  }
  if (!scratch.empty()) {
    struct stat st {};
    if (stat(scratch.c_str(), &st) == 0) outcome.bytes = static_cast<long long>(st.st_size);
    dropScratch();
  }
  diag::setHook(nullptr);
  outcome.warnings = sWarnings;
  outcome.report.outFile = cli::shown(outcome.report.outFile);
  for (ImageSummary& image : outcome.report.images)
    for (ImageFileSummary& file : image.files) file.path = cli::shown(file.path);
  return outcome;
}
