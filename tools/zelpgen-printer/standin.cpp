// Stand-in for child.cpp, colour.cpp and pdf.cpp until those land: no limits, the plain formula,
// no PDF. Built only while child.cpp is missing.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "child.h"
#include "colour.h"
#include "pdf.h"

extern char** environ;

namespace zp {

ChildOutcome runChild(const std::vector<std::string>& argv, const std::string& workdir,
                      const ChildLimits& /*limits*/, int stdoutFd) {
  ChildOutcome outcome;
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  const std::string errPath = workdir + "/.stderr";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  if (stdoutFd >= 0) {
    posix_spawn_file_actions_adddup2(&actions, stdoutFd, 1);
  } else {
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  }
  posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  posix_spawn_file_actions_addchdir_np(&actions, workdir.c_str());
  pid_t pid = 0;
  const int rc = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) {
    outcome.reason = "cannot start " + argv[0];
    return outcome;
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
  }
  if (FILE* f = std::fopen(errPath.c_str(), "rb")) {
    char buf[4096];
    const size_t n = std::fread(buf, 1, sizeof buf, f);
    outcome.stderrTail.assign(buf, n);
    std::fclose(f);
  }
  unlink(errPath.c_str());
  if (WIFEXITED(status)) {
    outcome.exitStatus = WEXITSTATUS(status);
    outcome.ok = outcome.exitStatus == 0;
    if (!outcome.ok)
      outcome.reason = argv[0] + " exited with status " + std::to_string(outcome.exitStatus);
  } else if (WIFSIGNALED(status)) {
    outcome.signal = WTERMSIG(status);
    outcome.reason = argv[0] + " ended by signal " + std::to_string(outcome.signal);
  }
  return outcome;
}

namespace {
class Plain final : public InkConverter {
 public:
  void toCmyk(const std::uint8_t* rgb, std::uint8_t* cmyk, std::size_t pixels) const override {
    for (std::size_t i = 0; i < pixels; ++i) {
      const int c = 255 - rgb[3 * i], m = 255 - rgb[3 * i + 1], y = 255 - rgb[3 * i + 2];
      const int k = std::min({c, m, y});
      cmyk[4 * i] = std::uint8_t(c - k);
      cmyk[4 * i + 1] = std::uint8_t(m - k);
      cmyk[4 * i + 2] = std::uint8_t(y - k);
      cmyk[4 * i + 3] = std::uint8_t(k);
    }
  }
  void grayToK(const std::uint8_t* gray, std::uint8_t* k, std::size_t pixels) const override {
    for (std::size_t i = 0; i < pixels; ++i) k[i] = std::uint8_t(255 - gray[i]);
  }
};
}  // namespace

std::unique_ptr<InkConverter> InkConverter::create(const std::string&, std::string*) {
  return std::make_unique<Plain>();
}

std::string renderPdf(const std::string&, const PdfOptions&, PdfSink&) {
  return "PDF is not supported by this build";
}

}  // namespace zp
