// Runs a job through the library with its errors and warnings said on stderr.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "commands.h"
#include "diag/diag.h"
#include "explain.h"
#include "output.h"
#include "progress.h"
#include "proof.h"
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
  if (!warning) e = cli::explained(std::move(e));
  if (warning) ++sWarnings;
  if (!warning || !sQuiet) {
    cli::Progress::clearLine();
    // A message of several lines (every error of a definition file) is led line by line.
    std::string text = cli::shown(diag::describe(e));
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1))
      text.insert(at + 1, "zelpgen: ");
    std::fprintf(stderr, "zelpgen: %s%s\n", warning ? "warning: " : "", text.c_str());
  }
  if (!warning) throw JobFailed{};
}

// Where the library puts the print file when the job names none: the job's full path with its
// last extension (the last dot of the whole path) replaced.
std::string defaultPrintFile(const char* job) {
  char full[PATH_MAX];
  std::string name = realpath(job, full) != nullptr ? full : job;
  const std::size_t dot = name.rfind('.');
  if (dot != std::string::npos) name.erase(dot);
  return cli::shown(name + ".dat");
}

// Rows sent so far against all the job's images hold, on every page.
JobReport* sProgressReport = nullptr;
cli::Progress* sProgress = nullptr;
std::uint64_t sRowsSent = 0;

void rowsSent(std::int32_t rows) {
  if (sProgress == nullptr || sProgressReport == nullptr) return;
  sRowsSent += static_cast<std::uint64_t>(rows);
  std::uint64_t total = 0;
  for (const ImageSummary& image : sProgressReport->images) {
    std::uint64_t most = 0;
    for (const ImageFileSummary& file : image.files)
      most = std::max<std::uint64_t>(most, file.rows);
    total += most;
  }
  total *= static_cast<std::uint64_t>(std::max(sProgressReport->pages, 0));
  sProgress->update(sRowsSent, std::max(total, sRowsSent), cli::Progress::Unit::kRows);
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
  if (const auto lead = cli::unreadLead(path, defaultPrintFile(path)))
    say(diag::Severity::kWarning, *lead);
  cli::Progress progress(trial ? "check" : "print");
  sProgress = &progress;
  sProgressReport = &outcome.report;
  sRowsSent = 0;
  setRowsSentHook(rowsSent);
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
      if (!scratch.empty()) proveTrial(scratch, outcome.report);
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
  setRowsSentHook(nullptr);
  sProgress = nullptr;
  sProgressReport = nullptr;
  diag::setHook(nullptr);
  outcome.warnings = sWarnings;
  outcome.report.outFile = cli::shown(outcome.report.outFile);
  for (ImageSummary& image : outcome.report.images)
    for (ImageFileSummary& file : image.files) file.path = cli::shown(file.path);
  return outcome;
}
