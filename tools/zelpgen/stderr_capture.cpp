#include "stderr_capture.h"

#include <unistd.h>

#include <csignal>
#include <cstring>

namespace {

// The capture in force, for a signal handler; its two descriptors.
volatile std::sig_atomic_t sHeldFd = -1;
volatile std::sig_atomic_t sSavedFd = -1;

}  // namespace

cli::StderrCapture::StderrCapture() {
  held_ = std::tmpfile();
  if (held_ == nullptr) return;
  std::fflush(stderr);
  saved_ = dup(STDERR_FILENO);
  if (saved_ < 0 || dup2(fileno(held_), STDERR_FILENO) < 0) {
    if (saved_ >= 0) close(saved_);
    saved_ = -1;
    std::fclose(held_);
    held_ = nullptr;
    return;
  }
  sHeldFd = fileno(held_);
  sSavedFd = saved_;
}

cli::StderrCapture::~StderrCapture() {
  replay();
}

int cli::StderrCapture::replay() {
  if (held_ == nullptr) return 0;
  sHeldFd = -1;
  sSavedFd = -1;
  std::fflush(stderr);
  dup2(saved_, STDERR_FILENO);
  close(saved_);
  std::rewind(held_);
  int errors = 0;
  bool lineStart = true;
  char buf[4096];
  while (std::fgets(buf, sizeof buf, held_) != nullptr) {
    if (lineStart && std::strncmp(buf, "ERROR! ", 7) == 0) ++errors;
    std::fputs(buf, stderr);
    lineStart = std::strchr(buf, '\n') != nullptr;
  }
  std::fflush(stderr);
  std::fclose(held_);
  held_ = nullptr;
  return errors;
}

void cli::StderrCapture::replayForSignal() {
  const int held = sHeldFd, saved = sSavedFd;
  if (held < 0 || saved < 0) return;
  sHeldFd = -1;
  sSavedFd = -1;
  dup2(saved, STDERR_FILENO);
  char buf[4096];
  ssize_t n = 0;
  for (off_t at = 0; (n = pread(held, buf, sizeof buf, at)) > 0; at += n)
    if (write(STDERR_FILENO, buf, static_cast<std::size_t>(n)) < 0) break;
}
