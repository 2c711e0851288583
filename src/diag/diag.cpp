#include "diag/diag.h"

#include <cstdio>
#include <cstdlib>
#include <set>
#include <utility>

namespace {

diag::Hook sHook = nullptr;
diag::JobError sPlace;
std::set<std::string> sWarned;

void fillFromPlace(diag::JobError& e) {
  if (e.file.empty()) e.file = sPlace.file;
  if (e.line == 0) e.line = sPlace.line;
  if (e.section.empty()) e.section = sPlace.section;
  if (e.key.empty()) e.key = sPlace.key;
  if (e.value.empty()) e.value = sPlace.value;
}

}  // namespace

void diag::setHook(Hook hook) {
  sHook = hook;
}

bool diag::hasHook() {
  return sHook != nullptr;
}

void diag::beginJob() {
  clearPlace();
  sWarned.clear();
}

void diag::setPlace(const std::string& file, int line, const std::string& section,
                    const std::string& key, const std::string& value) {
  sPlace = JobError{file, line, section, key, value, {}};
}

void diag::clearPlace() {
  sPlace = JobError{};
}

void diag::failJob(JobError error) {
  if (sHook != nullptr) {
    fillFromPlace(error);
    sHook(Severity::kError, error);
  }
  std::fflush(nullptr);
  std::exit(1);
}

void diag::failJob(const std::string& reason) {
  failJob(JobError{{}, 0, {}, {}, {}, reason});
}

void diag::warn(JobError warning) {
  if (sHook == nullptr) return;
  fillFromPlace(warning);
  if (!sWarned.insert(describe(warning)).second) return;
  sHook(Severity::kWarning, warning);
}

void diag::warn(const std::string& reason) {
  warn(JobError{{}, 0, {}, {}, {}, reason});
}

int diag::warningCount() {
  return static_cast<int>(sWarned.size());
}

void diag::imageError(const std::string& message, int code) {
  std::fprintf(stderr, "ERROR! %s(%d)\n", message.c_str(), code);
  std::string reason = message;
  while (!reason.empty() && reason.back() == '\n') reason.pop_back();
  warn(reason);
}

std::string diag::describe(const JobError& e) {
  std::string text;
  if (!e.file.empty()) {
    text = e.file;
    if (e.line > 0) {
      text += ':';
      text += std::to_string(e.line);
    }
    text += ": ";
  }
  if (!e.section.empty()) {
    text += '[';
    text += e.section;
    text += "] ";
  }
  if (!e.key.empty()) {
    text += e.key;
    text += ": ";
  }
  text += e.reason;
  return text;
}
