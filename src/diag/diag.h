// The one way a job ends early, and the notes on what a finished job left out.
//
// Without a hook a failed job flushes and exits with status 1, printing nothing more, and a
// note goes nowhere. A program linking the static libraries may set a hook to hear both; a hook
// that throws on an error gets control back instead of the process ending.
#pragma once

#include <string>

namespace diag {

// Where a problem lies and why it is one. Empty fields (and line 0) are filled from the place
// the configuration reader last named, when one is named.
struct JobError {
  std::string file;
  int line = 0;
  std::string section;  // without brackets
  std::string key;
  std::string value;
  std::string reason;
};

enum class Severity { kError, kWarning };

using Hook = void (*)(Severity, const JobError&);

// Null restores the silent default.
void setHook(Hook hook);
bool hasHook();

// A new job: no place named, no warning given yet.
void beginJob();

// The line the reader is on; later errors and warnings default to it.
void setPlace(const std::string& file, int line, const std::string& section, const std::string& key,
              const std::string& value);
void clearPlace();

[[noreturn]] void failJob(JobError error);
[[noreturn]] void failJob(const std::string& reason);

// A warning given twice in one job (the same image read on every page) is heard once.
void warn(JobError warning);
void warn(const std::string& reason);
// The warnings heard in this job so far.
int warningCount();

// An image or raster failure the job goes on past: "ERROR! <message>(<code>)" on stderr, the
// words and numbers hosts have long matched on, and a warning to the hook.
void imageError(const std::string& message, int code);

// "file:line: [Section] key: reason", each part only when known.
std::string describe(const JobError& error);

}  // namespace diag
