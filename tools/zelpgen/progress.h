// How far long work has come, on one line of stderr that is redrawn in place: shown only when
// stderr is a terminal and the work has run for a second (ZELPGEN_PROGRESS_AFTER=SECONDS sets
// the delay), so that output to files and pipes stays exactly as it is.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace cli {

class Progress {
 public:
  enum class Unit { kRows, kBytes };

  explicit Progress(std::string command);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  // `done` of `total` so far, within `where` ("page 2") when given. A `done` below the last
  // one starts another pass over the same work.
  void update(std::uint64_t done, std::uint64_t total, Unit unit, const std::string& where = {});

  // Wipes the line of whatever progress is shown, so that a message starts on a clean line.
  static void clearLine();

 private:
  using Clock = std::chrono::steady_clock;
  std::string command_;
  std::FILE* out_ = nullptr;  // the terminal
  Clock::time_point start_ = Clock::now();
  Clock::time_point drawn_{};
  double after_ = 1.0;
  bool enabled_ = false;
  std::uint64_t last_ = 0;
  std::uint64_t passes_ = 0;  // units of passes before this one
};

}  // namespace cli
