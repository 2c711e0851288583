// Refusals before the library runs, the guarded print file and the watched inputs.
#include "output.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "config/parameter.h"
#include "inspect/packets.h"
#include "zelp/codes.h"
#include "zelp/lxfile.h"

namespace {

struct PlanFailed {};

void planHook(diag::Severity severity, const diag::JobError&) {
  if (severity == diag::Severity::kError) throw PlanFailed{};
}

// What a signal handler may touch: fixed buffers, filled before the files exist.
char sScratch[PATH_MAX + 32];
char sPart[PATH_MAX + 32];
char sFailed[PATH_MAX + 32];
char sNote[3 * PATH_MAX];

void onSignal(int signal) {
  if (sScratch[0] != '\0') unlink(sScratch);
  if (sPart[0] != '\0' && rename(sPart, sFailed) == 0) {
    const ssize_t ignored = write(STDERR_FILENO, sNote, std::strlen(sNote));
    (void)ignored;
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void catchSignals() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  struct sigaction action {};
  action.sa_handler = onSignal;
  sigemptyset(&action.sa_mask);
  for (int s : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&action.sa_mask, s);
  for (int s : {SIGINT, SIGTERM, SIGHUP}) sigaction(s, &action, nullptr);
  // A full pipe or a file size limit is then a failed write the job hears of, not a kill.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

void copyPath(char* to, std::size_t size, const std::string& from) {
  std::snprintf(to, size, "%s", from.size() < size ? from.c_str() : "");
}

const char* kindOf(mode_t mode) {
  if (S_ISFIFO(mode)) return "a FIFO";
  if (S_ISCHR(mode) || S_ISBLK(mode)) return "a device";
  if (S_ISSOCK(mode)) return "a socket";
  if (S_ISDIR(mode)) return "a folder";
  return "not a regular file";
}

// Folders are left to the library, which has its own words for them.
bool oddFile(const struct stat& st) {
  return !S_ISREG(st.st_mode) && !S_ISDIR(st.st_mode);
}

cli::InputState observe(const std::string& path, const diag::JobError& place,
                        const std::string& role) {
  cli::InputState in;
  in.path = path;
  in.place = place;
  in.role = role;
  struct stat st {};
  if (stat(path.c_str(), &st) != 0) return in;
  in.exists = true;
  in.device = st.st_dev;
  in.inode = st.st_ino;
  in.size = st.st_size;
  in.modified = static_cast<long long>(st.st_mtim.tv_sec) * 1000000000LL + st.st_mtim.tv_nsec;
  // A write that keeps the size and puts the old time back still moves this one.
  in.changed = static_cast<long long>(st.st_ctim.tv_sec) * 1000000000LL + st.st_ctim.tv_nsec;
  return in;
}

// The job's last packet, the end of the job, is the last thing in the file.
bool endsWithJobEnd(std::FILE* file, long long size) {
  constexpr long kEnd = 21;  // header and its one parameter
  std::vector<std::uint8_t> bytes(kEnd);
  inspect::Packet packet;
  std::string error;
  return size >= kEnd && std::fseek(file, static_cast<long>(size - kEnd), SEEK_SET) == 0 &&
         std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size() &&
         inspect::decodePacket(bytes, 0, &packet, &error) == bytes.size() &&
         packet.operation == zelp::kEndJob;
}

// Empty when the file is whole: every byte the job wrote is there and it ends the job. Packets
// that are not whole are the job's own making (raw packets given byte by byte), which check
// reports: the file then is whole when its size and last packet are right.
std::string readBack(const std::string& path, long long written) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                       &std::fclose);
  if (!file) return std::string("cannot read it back: ") + std::strerror(errno);
  inspect::JobChecker checker;
  inspect::Packet packet;
  std::vector<std::uint8_t> bytes;
  std::size_t at = 0, last = 0;
  std::string error;
  bool whole = true;
  for (;;) {
    bytes.resize(20);
    const std::size_t head = std::fread(bytes.data(), 1, bytes.size(), file.get());
    if (head == 0) break;
    bytes.resize(head);
    if (head == 20) {
      const std::size_t length = bytes[8] << 8 | bytes[9];
      bytes.resize(20 + length);
      bytes.resize(20 + std::fread(bytes.data() + 20, 1, length, file.get()));
    }
    const std::size_t used = inspect::decodePacket(bytes, at, &packet, &error);
    if (used == 0 || !checker.add(packet, &error)) {
      whole = false;
      break;
    }
    last = at;
    at += used;
  }
  if (whole && !checker.finish(last, &error)) return error;
  struct stat st {};
  const long long size = fstat(fileno(file.get()), &st) == 0 ? st.st_size : -1;
  if (size != written)
    return std::to_string(size) + " bytes where the job wrote " + std::to_string(written);
  if (!whole && !endsWithJobEnd(file.get(), size)) return error;
  return {};
}

}  // namespace

std::string cli::shown(std::string text) {
  char cwd[PATH_MAX];
  if (getcwd(cwd, sizeof cwd) == nullptr) return text;
  const std::string prefix = std::string(cwd) + "/";
  for (std::size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix, at))
    text.erase(at, prefix.size());
  return text;
}

cli::MutedStdout::MutedStdout() {
  std::fflush(stdout);
  mSaved = dup(STDOUT_FILENO);
  const int null = ::open("/dev/null", O_WRONLY);
  if (null >= 0) {
    dup2(null, STDOUT_FILENO);
    close(null);
  }
}

cli::MutedStdout::~MutedStdout() {
  std::fflush(stdout);
  if (mSaved >= 0) {
    dup2(mSaved, STDOUT_FILENO);
    close(mSaved);
  }
}

std::vector<diag::JobError> cli::refusals(const char* job, JobPlan* plan) {
  std::vector<diag::JobError> out;
  struct stat st {};
  if (stat(job, &st) == 0 && oddFile(st)) {
    out.push_back({job,
                   0,
                   {},
                   {},
                   {},
                   std::string("the job file is ") + kindOf(st.st_mode) + ", not a regular file"});
    return out;
  }
  const char* kDefinitions = "zelpgencmd.inf";
  if (stat(kDefinitions, &st) == 0 && oddFile(st)) {
    out.push_back({kDefinitions,
                   0,
                   {},
                   {},
                   {},
                   std::string("the command definition file is ") + kindOf(st.st_mode) +
                       ", not a regular file"});
    return out;
  }

  JobReport report;
  {
    MutedStdout muted;
    diag::setHook(planHook);
    try {
      runJob(job, JobOptions{nullptr, true}, &report);
    } catch (const PlanFailed&) {
      diag::setHook(nullptr);
      return out;
    }
    diag::setHook(nullptr);
  }

  plan->outFile = report.outFile;
  plan->outFileLine = report.outFileLine;
  plan->inputs.push_back(
      observe(job, {job, 0, {}, {}, {}, {}}, std::string("the job file ") + job));
  if (access(kDefinitions, F_OK) == 0)
    plan->inputs.push_back(observe(kDefinitions, {kDefinitions, 0, {}, {}, {}, {}},
                                   std::string("the command definition file ") + kDefinitions));
  for (const JobInput& in : report.inputs) {
    const char* section = in.key == "ImageProcessingFile" ? "Global" : "Image";
    plan->inputs.push_back(
        observe(in.path, {job, in.line, section, in.key, in.path, {}},
                "the " + in.key + " file " + in.path + " (line " + std::to_string(in.line) + ")"));
    if (stat(in.path.c_str(), &st) == 0 && oddFile(st)) {
      diag::JobError e = plan->inputs.back().place;
      e.reason = in.path + " is " + kindOf(st.st_mode) + ", not a regular file";
      out.push_back(e);
    }
  }

  const diag::JobError at{job,
                          plan->outFileLine,
                          plan->outFileLine > 0 ? "Global" : "",
                          plan->outFileLine > 0 ? "OutFilePath" : "",
                          plan->outFile,
                          {}};
  const std::string& name = plan->outFile;
  auto refuse = [&](const std::string& why) {
    diag::JobError e = at;
    e.reason = why;
    out.push_back(e);
  };
  // The record holds kPathSize - 1 characters: a path that fills it may have been cut.
  if (name.size() >= kPathSize - 1) {
    refuse("the print file path is too long: the library keeps only its first " +
           std::to_string(kPathSize - 1) + " characters");
    return out;
  }
  if (stat(name.c_str(), &st) != 0) return out;
  if (S_ISDIR(st.st_mode)) refuse("the print file " + name + " is a folder");
  for (const InputState& in : plan->inputs)
    if (in.exists && in.device == st.st_dev && in.inode == st.st_ino)
      refuse("the print file " + name + " would overwrite " + in.role);
  return out;
}

const cli::InputState* cli::changedInput(const JobPlan& plan) {
  for (const InputState& in : plan.inputs) {
    const InputState now = observe(in.path, in.place, in.role);
    if (now.exists != in.exists || now.device != in.device || now.inode != in.inode ||
        now.size != in.size || now.modified != in.modified || now.changed != in.changed)
      return &in;
  }
  return nullptr;
}

void cli::holdScratch(const std::string& path) {
  catchSignals();
  copyPath(sScratch, sizeof sScratch, path);
}

void cli::dropScratch() {
  if (sScratch[0] == '\0') return;
  unlink(sScratch);
  sScratch[0] = '\0';
}

cli::PrintFile::~PrintFile() {
  release();
}

void cli::PrintFile::release() {
  sPart[0] = '\0';
  if (mLock >= 0) close(mLock);
  mLock = -1;
}

bool cli::PrintFile::open(const std::string& finalName, bool noWait, std::string* why) {
  catchSignals();
  mOpensBefore = LXFile_Result().opens;
  mFinal = mWrite = finalName;
  mDirect = true;
  struct stat st {};
  const bool exists = stat(finalName.c_str(), &st) == 0;
  // A device or pipe has no name to keep it under until it is whole.
  if (exists && !S_ISREG(st.st_mode)) return true;
  // A link stays a link: the file is made beside its target.
  char real[PATH_MAX];
  if (exists && realpath(finalName.c_str(), real) != nullptr) mFinal = real;
  const std::string part = mFinal + ".part";
  // The library would cut a longer name: such a file is written in place.
  if (part.size() >= kPathSize - 1) return true;
  for (;;) {
    const int fd = ::open(part.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    // Nowhere to put it beside: the library writes in place, or says why it cannot.
    if (fd < 0) return true;
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
      if (noWait) {
        close(fd);
        *why = "another job is writing this print file (--no-wait)";
        return false;
      }
      std::fprintf(stderr, "zelpgen: waiting for another job writing %s\n",
                   shown(finalName).c_str());
      if (flock(fd, LOCK_EX) != 0) {
        close(fd);
        *why = std::string("cannot lock ") + part + ": " + std::strerror(errno);
        return false;
      }
    }
    // The holder before us renamed the file we waited on: lock the new one.
    struct stat held {
    }, now{};
    if (fstat(fd, &held) == 0 && stat(part.c_str(), &now) == 0 && held.st_ino == now.st_ino &&
        held.st_dev == now.st_dev) {
      mLock = fd;
      break;
    }
    close(fd);
  }
  if (exists) fchmod(mLock, st.st_mode & 07777);
  if (ftruncate(mLock, 0) != 0) {
    // The library's own open reports it.
  }
  mWrite = part;
  mDirect = false;
  watch();
  return true;
}

// From here a signal sets what is being written aside.
void cli::PrintFile::watch() {
  copyPath(sFailed, sizeof sFailed, mFinal + ".failed");
  std::snprintf(sNote, sizeof sNote,
                "zelpgen: %s: stopped by a signal: the unfinished print file is kept as %s\n",
                shown(mFinal).c_str(), shown(sFailed).c_str());
  copyPath(sPart, sizeof sPart, mWrite);
}

std::string cli::PrintFile::finish() {
  const LXFileResult result = LXFile_Result();
  std::string fault;
  if (result.error != 0) {
    fault = std::string("writing it failed: ") + std::strerror(result.error);
  } else {
    struct stat st {};
    if (stat(mWrite.c_str(), &st) == 0 && S_ISREG(st.st_mode)) {
      fault = readBack(mWrite, result.written);
      if (!fault.empty()) fault = "it does not read back as one whole job: " + fault;
    }
  }
  if (fault.empty() && !mDirect && rename(mWrite.c_str(), mFinal.c_str()) != 0)
    fault = std::string("cannot give it its name: ") + std::strerror(errno);
  if (fault.empty()) {
    // A failed try of the same job is no longer news.
    if (!mDirect) unlink((mFinal + ".failed").c_str());
    release();
    return {};
  }
  return "the print file is not complete, " + fault + keepFailed();
}

void cli::PrintFile::fail() {
  if (mWrite.empty()) return;
  if (LXFile_Result().opens == mOpensBefore) {
    if (!mDirect) unlink(mWrite.c_str());
    release();
    return;
  }
  const std::string kept = keepFailed();
  if (!kept.empty())
    std::fprintf(stderr, "zelpgen: %s: the job failed after its print file was begun%s\n",
                 shown(mFinal).c_str(), kept.c_str());
}

std::string cli::PrintFile::keepFailed() {
  struct stat st {};
  std::string kept;
  const std::string failed = mFinal + ".failed";
  if (stat(mWrite.c_str(), &st) == 0 && S_ISREG(st.st_mode) &&
      rename(mWrite.c_str(), failed.c_str()) == 0)
    kept = "; kept as " + shown(failed);
  release();
  return kept;
}
