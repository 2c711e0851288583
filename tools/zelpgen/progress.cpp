#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

std::FILE* sShownOn = nullptr;

// "1234" rows; bytes in KiB when the total is small, else in MiB.
std::string amount(double n, cli::Progress::Unit unit, double total) {
  char text[32];
  if (unit == cli::Progress::Unit::kRows) {
    std::snprintf(text, sizeof text, "%.0f", n);
  } else if (total < 10.0 * 1024 * 1024) {
    std::snprintf(text, sizeof text, "%.0f KiB", n / 1024.0);
  } else {
    std::snprintf(text, sizeof text, "%.1f MiB", n / (1024.0 * 1024.0));
  }
  return text;
}

}  // namespace

cli::Progress::Progress(std::string command) : command_(std::move(command)) {
  if (isatty(STDERR_FILENO) != 0) {
    const int fd = dup(STDERR_FILENO);
    out_ = fd >= 0 ? fdopen(fd, "w") : nullptr;
    if (out_ == nullptr && fd >= 0) close(fd);
  }
  enabled_ = out_ != nullptr;
  if (const char* after = std::getenv("ZELPGEN_PROGRESS_AFTER")) {
    char* end = nullptr;
    const double seconds = std::strtod(after, &end);
    if (end != after && *end == '\0' && seconds >= 0) after_ = seconds;
  }
}

cli::Progress::~Progress() {
  if (sShownOn == out_) clearLine();
  if (out_ != nullptr) std::fclose(out_);
}

void cli::Progress::clearLine() {
  if (sShownOn == nullptr) return;
  std::fputs("\r\033[K", sShownOn);
  std::fflush(sShownOn);
  sShownOn = nullptr;
}

void cli::Progress::update(std::uint64_t done, std::uint64_t total, Unit unit,
                           const std::string& where) {
  if (!enabled_) return;
  if (done < last_) passes_ += last_;
  last_ = done;
  const Clock::time_point now = Clock::now();
  const double seconds = std::chrono::duration<double>(now - start_).count();
  if (seconds < after_ || (sShownOn != nullptr && now - drawn_ < std::chrono::milliseconds(200)))
    return;
  drawn_ = now;
  const double rate = seconds > 0 ? static_cast<double>(passes_ + done) / seconds : 0;
  const unsigned percent =
      total == 0 ? 100U : static_cast<unsigned>(std::min<std::uint64_t>(done * 100 / total, 100));
  const auto whole = static_cast<double>(total);
  const char* rows = unit == Unit::kRows ? " rows" : "";
  std::fprintf(
      out_, "\rzelpgen %s: %s%s%s of %s%s (%u%%), %s%s/s\033[K", command_.c_str(), where.c_str(),
      where.empty() ? "" : ", ", amount(static_cast<double>(done), unit, whole).c_str(),
      amount(whole, unit, whole).c_str(), rows, percent, amount(rate, unit, 1e18).c_str(), rows);
  std::fflush(out_);
  sShownOn = out_;
}
