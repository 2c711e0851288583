// One program in its own process, bounded in time, memory and file size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zp {

struct ChildLimits {
  int wallSeconds = 600;                   // killed (SIGKILL to its process group) after this
  int cpuSeconds = 600;                    // RLIMIT_CPU
  std::uint64_t memoryBytes = 2ull << 30;  // RLIMIT_AS
  std::uint64_t fileBytes = 8ull << 30;    // RLIMIT_FSIZE: no file it writes grows past this
};

struct ChildOutcome {
  bool ok = false;      // exited with status 0 within its limits
  int exitStatus = -1;  // when it exited
  int signal = 0;       // when a signal ended it
  bool timedOut = false;
  std::string stderrTail;  // last ~4 KB of its stderr, for the job log
  std::string reason;      // one line for job-state-message when !ok
};

// argv[0] is the program path. stdoutFd: where its stdout goes (-1: /dev/null). The child runs
// in `workdir`, with a minimal environment, stdin from /dev/null, in its own process group.
ChildOutcome runChild(const std::vector<std::string>& argv, const std::string& workdir,
                      const ChildLimits& limits, int stdoutFd = -1);

// The same, with the child's stdout read through a pipe by this thread and handed to onOutput as
// it comes, under the same wall-clock limit. onOutput returning false kills the child; the
// outcome then says "<program> was stopped" and the caller knows the better reason.
using OutputHandler = std::function<bool(const std::uint8_t* data, std::size_t size)>;
ChildOutcome runChild(const std::vector<std::string>& argv, const std::string& workdir,
                      const ChildLimits& limits, const OutputHandler& onOutput);

}  // namespace zp
