#include "child.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace zp {
namespace {

constexpr std::size_t kTailBytes = 4096;

// A descriptor that closes itself; every one the parent opens is close-on-exec and above 2, so
// the child's dup2 onto 0..2 can never clobber one it still needs.
class Fd {
 public:
  Fd() = default;
  explicit Fd(int fd) : fd_(fd) {}
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  ~Fd() { reset(); }
  int get() const { return fd_; }
  void reset(int fd = -1) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
  }

 private:
  int fd_ = -1;
};

int highCloexec(int fd) {
  if (fd < 0) return -1;
  int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, 3);
  ::close(fd);
  return moved;
}

bool makePipe(Fd& readEnd, Fd& writeEnd) {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) return false;
  readEnd.reset(highCloexec(fds[0]));
  writeEnd.reset(highCloexec(fds[1]));
  return readEnd.get() >= 0 && writeEnd.get() >= 0;
}

// The parent's PATH finds a bare program name; the child itself gets a fixed one.
std::string findProgram(const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  const char* path = std::getenv("PATH");
  std::string dirs = path && *path ? path : "/usr/local/bin:/usr/bin:/bin";
  std::size_t start = 0;
  while (start <= dirs.size()) {
    std::size_t end = dirs.find(':', start);
    if (end == std::string::npos) end = dirs.size();
    std::string dir = dirs.substr(start, end - start);
    std::string candidate = (dir.empty() ? std::string(".") : dir) + "/" + name;
    if (::access(candidate.c_str(), X_OK) == 0) return candidate;
    start = end + 1;
  }
  return {};
}

std::string mib(std::uint64_t bytes) {
  return std::to_string((bytes + (1u << 20) - 1) >> 20) + " MiB";
}

std::string lastLine(const std::string& text) {
  std::size_t end = text.find_last_not_of(" \t\r\n");
  if (end == std::string::npos) return {};
  std::size_t start = text.find_last_of('\n', end);
  start = start == std::string::npos ? 0 : start + 1;
  std::string line = text.substr(start, end + 1 - start);
  line.erase(0, std::min(line.find_first_not_of(" \t"), line.size()));
  std::replace_if(
      line.begin(), line.end(), [](char c) { return c < ' '; }, ' ');
  return line.size() > 200 ? line.substr(0, 200) + "..." : line;
}

// Words programs use when an allocation fails; "failed to map" is the loader's, when the limit
// leaves no room for a shared library.
bool mentionsMemory(std::string_view text) {
  for (const char* word : {"VMerror", "out of memory", "Out of memory", "MemoryError", "bad_alloc",
                           "Cannot allocate memory", "failed to map segment"})
    if (text.find(word) != std::string_view::npos) return true;
  return false;
}

void describe(ChildOutcome& out, const std::string& program, const ChildLimits& limits,
              bool outOfMemory) {
  if (out.ok || !out.reason.empty()) return;
  if (out.timedOut) {
    out.reason = program + " took longer than the time limit of " +
                 std::to_string(limits.wallSeconds) + " s";
  } else if (out.signal == SIGXCPU) {
    out.reason = program + " used more than the CPU time limit of " +
                 std::to_string(limits.cpuSeconds) + " s";
  } else if (out.signal == SIGXFSZ) {
    out.reason = program + " wrote a file larger than the limit of " + mib(limits.fileBytes);
  } else if (outOfMemory) {
    out.reason = program + " ran out of memory (limit " + mib(limits.memoryBytes) + ")";
  } else if (out.signal != 0) {
    const char* name = ::sigabbrev_np(out.signal);
    out.reason = program + " was ended by signal " +
                 (name ? "SIG" + std::string(name) : std::to_string(out.signal));
  } else {
    std::string line = lastLine(out.stderrTail);
    out.reason = program + " failed (exit status " + std::to_string(out.exitStatus) + ")" +
                 (line.empty() ? "" : ": " + line);
  }
}

void setLimit(int resource, std::uint64_t soft, std::uint64_t hard) {
  struct rlimit limit;
  limit.rlim_cur = static_cast<rlim_t>(soft);
  limit.rlim_max = static_cast<rlim_t>(hard);
  ::setrlimit(resource, &limit);
}

// Only async-signal-safe calls from here to execve: the server has threads.
[[noreturn]] void startInChild(const char* program, char* const* argv, char* const* envp,
                               const char* workdir, const ChildLimits& limits, int stdinFd,
                               int stdoutFd, int stderrFd, int errorFd) {
  auto fail = [errorFd](int stage) {
    int report[2] = {stage, errno};
    (void)!::write(errorFd, report, sizeof report);
    ::_exit(127);
  };
  ::setpgid(0, 0);
  struct sigaction dfl;
  std::memset(&dfl, 0, sizeof dfl);
  dfl.sa_handler = SIG_DFL;
  for (int sig = 1; sig < NSIG; ++sig) ::sigaction(sig, &dfl, nullptr);
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  if (::dup2(stdinFd, 0) < 0 || ::dup2(stdoutFd, 1) < 0 || ::dup2(stderrFd, 2) < 0) fail(1);
  // Descriptors the server opened without close-on-exec (sockets, spool files) stay behind.
  ::syscall(SYS_close_range, 3u, ~0u, 0u);
  if (::chdir(workdir) != 0) fail(2);
  setLimit(RLIMIT_CORE, 0, 0);  // no core file lands in the spool
  if (limits.cpuSeconds > 0)
    setLimit(RLIMIT_CPU, static_cast<std::uint64_t>(limits.cpuSeconds),
             static_cast<std::uint64_t>(limits.cpuSeconds) + 5);
  if (limits.memoryBytes > 0) setLimit(RLIMIT_AS, limits.memoryBytes, limits.memoryBytes);
  if (limits.fileBytes > 0) setLimit(RLIMIT_FSIZE, limits.fileBytes, limits.fileBytes);
  ::execve(program, argv, envp);
  // errorFd is close-on-exec, so the parent reads nothing when execve succeeds.
  fail(3);
  ::_exit(127);
}

ChildOutcome runChildImpl(const std::vector<std::string>& argv, const std::string& workdir,
                          const ChildLimits& limits, int stdoutFd, const OutputHandler* onOutput) {
  ChildOutcome out;
  if (argv.empty()) {
    out.reason = "no program to run";
    return out;
  }
  std::string program = argv[0].substr(argv[0].find_last_of('/') + 1);
  std::string path = findProgram(argv[0]);
  if (path.empty()) {
    out.reason = "cannot find the program " + argv[0];
    return out;
  }
  std::string dir = workdir.empty() ? "." : workdir;

  Fd devNull(highCloexec(::open("/dev/null", O_RDWR | O_CLOEXEC)));
  Fd errRead, errWrite, execRead, execWrite, outRead, outWrite, outDup;
  bool pipes = makePipe(errRead, errWrite) && makePipe(execRead, execWrite);
  int childStdout = devNull.get();
  if (onOutput) {
    pipes = pipes && makePipe(outRead, outWrite);
    // Fewer, larger reads; the kernel may refuse the size, which only costs speed.
    ::fcntl(outRead.get(), F_SETPIPE_SZ, 1 << 20);
    childStdout = outWrite.get();
  } else if (stdoutFd >= 0) {
    outDup.reset(::fcntl(stdoutFd, F_DUPFD_CLOEXEC, 3));
    childStdout = outDup.get();
  }
  if (!pipes || devNull.get() < 0 || childStdout < 0) {
    out.reason = "cannot start " + program + ": " + std::strerror(errno);
    return out;
  }

  std::vector<std::string> env = {"PATH=/usr/local/bin:/usr/bin:/bin", "LC_ALL=C", "HOME=" + dir,
                                  "TMPDIR=" + dir};
  std::vector<char*> cargv, cenv;
  for (const std::string& arg : argv) cargv.push_back(const_cast<char*>(arg.c_str()));
  cargv.push_back(nullptr);
  for (const std::string& var : env) cenv.push_back(const_cast<char*>(var.c_str()));
  cenv.push_back(nullptr);

  using Clock = std::chrono::steady_clock;
  const bool bounded = limits.wallSeconds > 0;
  const Clock::time_point deadline = Clock::now() + std::chrono::seconds(limits.wallSeconds);
  pid_t pid = ::fork();
  if (pid < 0) {
    out.reason = "cannot start " + program + ": " + std::strerror(errno);
    return out;
  }
  if (pid == 0)
    startInChild(path.c_str(), cargv.data(), cenv.data(), dir.c_str(), limits, devNull.get(),
                 childStdout, errWrite.get(), execWrite.get());
  ::setpgid(pid, pid);  // also done by the child; whichever runs first wins the race
  errWrite.reset();
  execWrite.reset();
  outWrite.reset();
  outDup.reset();

  int report[2];
  ssize_t got;
  do got = ::read(execRead.get(), report, sizeof report);
  while (got < 0 && errno == EINTR);
  if (got == static_cast<ssize_t>(sizeof report)) {
    while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    out.reason = (report[0] == 2 ? "cannot enter the folder " + dir : "cannot run " + path) + ": " +
                 std::strerror(report[1]);
    return out;
  }

  // The complaint may scroll out of the tail (Ghostscript dumps its stacks after it).
  bool exited = false, stopped = false, outOfMemory = false;
  std::vector<std::uint8_t> buffer(1 << 18);
  for (;;) {
    if (!exited) {
      siginfo_t info;
      info.si_pid = 0;
      if (::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
          info.si_pid == pid) {
        exited = true;
        // Whatever it left in its group would keep the pipes open.
        ::kill(-pid, SIGKILL);
      }
    }
    if (exited && errRead.get() < 0 && outRead.get() < 0) break;
    int timeoutMs = 1000;
    if (bounded) {
      auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
      if (left.count() <= 0) {
        out.timedOut = true;
        break;
      }
      timeoutMs = static_cast<int>(std::min<long long>(left.count(), timeoutMs));
    }
    pollfd fds[2];
    Fd* owners[2];
    nfds_t count = 0;
    for (Fd* fd : {&errRead, &outRead})
      if (fd->get() >= 0) {
        fds[count] = {fd->get(), POLLIN, 0};
        owners[count++] = fd;
      }
    if (count == 0) timeoutMs = std::min(timeoutMs, 10);
    if (::poll(fds, count, timeoutMs) <= 0) continue;
    for (nfds_t i = 0; i < count && !stopped; ++i) {
      if (fds[i].revents == 0) continue;
      ssize_t n = ::read(fds[i].fd, buffer.data(), buffer.size());
      if (n < 0 && (errno == EINTR || errno == EAGAIN)) continue;
      if (n <= 0) {
        owners[i]->reset();
      } else if (owners[i] == &errRead) {
        std::size_t from = out.stderrTail.size() > 32 ? out.stderrTail.size() - 32 : 0;
        out.stderrTail.append(reinterpret_cast<const char*>(buffer.data()),
                              static_cast<std::size_t>(n));
        outOfMemory = outOfMemory || mentionsMemory(std::string_view(out.stderrTail).substr(from));
        if (out.stderrTail.size() > 2 * kTailBytes)
          out.stderrTail.erase(0, out.stderrTail.size() - kTailBytes);
      } else if (!(*onOutput)(buffer.data(), static_cast<std::size_t>(n))) {
        stopped = true;
      }
    }
    if (stopped) break;
  }
  if (!exited) ::kill(-pid, SIGKILL);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (out.stderrTail.size() > kTailBytes)
    out.stderrTail.erase(0, out.stderrTail.size() - kTailBytes);
  if (WIFEXITED(status)) out.exitStatus = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) out.signal = WTERMSIG(status);
  out.ok = !out.timedOut && !stopped && out.exitStatus == 0;
  if (stopped) out.reason = program + " was stopped";
  describe(out, program, limits, outOfMemory);
  return out;
}

}  // namespace

ChildOutcome runChild(const std::vector<std::string>& argv, const std::string& workdir,
                      const ChildLimits& limits, int stdoutFd) {
  return runChildImpl(argv, workdir, limits, stdoutFd, nullptr);
}

ChildOutcome runChild(const std::vector<std::string>& argv, const std::string& workdir,
                      const ChildLimits& limits, const OutputHandler& onOutput) {
  return runChildImpl(argv, workdir, limits, -1, &onOutput);
}

}  // namespace zp
