// What a trial writes to stderr, held in a scratch file and said again afterwards, so that the
// library's own "ERROR! ..." lines (parts of the job it leaves out and goes on) can be counted:
// they fail a check as warnings do.
#pragma once

#include <cstdio>

namespace cli {

class StderrCapture {
 public:
  StderrCapture();  // holds nothing when no scratch file can be made
  StderrCapture(const StderrCapture&) = delete;
  StderrCapture& operator=(const StderrCapture&) = delete;
  ~StderrCapture();

  // Gives stderr back, writes to it what was held, and counts the "ERROR! " lines among it.
  int replay();

  // The same for a signal handler about to end the process: system calls only, nothing counted.
  static void replayForSignal();

 private:
  std::FILE* held_ = nullptr;
  int saved_ = -1;
};

}  // namespace cli
