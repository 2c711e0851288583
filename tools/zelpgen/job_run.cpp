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
#include "proof.h"
#include "zelp/store.h"

namespace {

struct JobFailed {};

bool sQuiet = false;
int sWarnings = 0;
std::string sJobArgument;

// Paths under the working folder are shown as they would be typed there.
std::string shown(std::string text) {
  char cwd[PATH_MAX];
  if (getcwd(cwd, sizeof cwd) == nullptr) return text;
  const std::string prefix = std::string(cwd) + "/";
  for (std::size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix, at))
    text.erase(at, prefix.size());
  return text;
}

void say(diag::Severity severity, const diag::JobError& error) {
  diag::JobError e = error;
  if (e.file.empty()) e.file = sJobArgument;
  const bool warning = severity == diag::Severity::kWarning;
  if (warning) ++sWarnings;
  if (!warning || !sQuiet)
    std::fprintf(stderr, "zelpgen: %s%s\n", warning ? "warning: " : "",
                 shown(diag::describe(e)).c_str());
  if (!warning) throw JobFailed{};
}

// The trial wrote elsewhere: the job's own print file must be creatable too.
bool canWrite(const std::string& file) {
  if (access(file.c_str(), F_OK) == 0) return access(file.c_str(), W_OK) == 0;
  const std::size_t slash = file.rfind('/');
  const std::string dir = slash == std::string::npos ? "." : file.substr(0, slash + 1);
  return access(dir.c_str(), W_OK) == 0;
}

// The library's own stdout sent to /dev/null for as long as it lives.
class MutedStdout {
 public:
  MutedStdout() {
    std::fflush(stdout);
    mSaved = dup(STDOUT_FILENO);
    const int null = open("/dev/null", O_WRONLY);
    if (null >= 0) {
      dup2(null, STDOUT_FILENO);
      close(null);
    }
  }
  MutedStdout(const MutedStdout&) = delete;
  MutedStdout& operator=(const MutedStdout&) = delete;
  ~MutedStdout() {
    std::fflush(stdout);
    if (mSaved >= 0) {
      dup2(mSaved, STDOUT_FILENO);
      close(mSaved);
    }
  }

 private:
  int mSaved = -1;
};

}  // namespace

cli::JobOutcome cli::runJobSaying(const char* path, bool quiet, bool trial) {
  JobOutcome outcome;
  // A job in this process may have run before (the trial of --strict): start as a new one.
  zelp_ResetSetFlags();
  sQuiet = quiet;
  sWarnings = 0;
  sJobArgument = path;
  diag::setHook(say);
  std::string scratch;
  try {
    if (trial) {
      MutedStdout muted;
      const char* dir = std::getenv("TMPDIR");
      std::string name =
          std::string(dir != nullptr && *dir != '\0' ? dir : "/tmp") + "/zelpgen-check-XXXXXX";
      const int fd = mkstemp(name.data());
      if (fd >= 0) {
        close(fd);
        scratch = name;
      }
      runJob(path, JobOptions{scratch.empty() ? nullptr : scratch.c_str()}, &outcome.report);
      if (!scratch.empty()) proveTrial(scratch, outcome.report);
      if (!canWrite(outcome.report.outFile))
        say(diag::Severity::kError,
            {{}, 0, {}, {}, {}, "cannot write the print file " + outcome.report.outFile});
    } else {
      runJob(path, JobOptions{}, &outcome.report);
    }
    outcome.status = kExitOk;
  } catch (const JobFailed&) {
    outcome.status = kExitJobError;
  }
  if (!scratch.empty()) {
    struct stat st {};
    if (stat(scratch.c_str(), &st) == 0) outcome.bytes = static_cast<long long>(st.st_size);
    std::remove(scratch.c_str());
  }
  diag::setHook(nullptr);
  outcome.warnings = sWarnings;
  outcome.report.outFile = shown(outcome.report.outFile);
  for (ImageSummary& image : outcome.report.images)
    for (ImageFileSummary& file : image.files) file.path = shown(file.path);
  return outcome;
}
