#include "stderr_capture.h"

#include <unistd.h>

#include <cstring>

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
  }
}

cli::StderrCapture::~StderrCapture() {
  replay();
}

int cli::StderrCapture::replay() {
  if (held_ == nullptr) return 0;
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
