// What keeps a job from harming its inputs and from leaving a print file that looks finished
// but is not: the refusals made before the library runs, the print file written under a
// temporary name and locked, read back before it takes its final name, and the inputs watched
// for change while they are read.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "diag/diag.h"
#include "driver/job.h"

namespace cli {

// Paths under the working folder as they would be typed there.
std::string shown(std::string text);

// The library's own stdout sent to /dev/null for as long as it lives.
class MutedStdout {
 public:
  MutedStdout();
  MutedStdout(const MutedStdout&) = delete;
  MutedStdout& operator=(const MutedStdout&) = delete;
  ~MutedStdout();

 private:
  int mSaved = -1;
};

// A file the job reads, as it was when the job started.
struct InputState {
  std::string path;
  diag::JobError place;  // for a message naming it
  std::string role;      // "the job file job.cfg", ...
  bool exists = false;
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  long long modified = 0;  // ns
  long long changed = 0;   // ns, of the inode
};

struct JobPlan {
  std::string outFile;  // full path, as the library opens it
  int outFileLine = 0;
  std::vector<InputState> inputs;  // the job file, zelpgencmd.inf and every file it names
};

// Reads the job as the library would, without running it, and gives what it must not do: the
// print file is the job file, a file the job reads, a folder or a path the library would cut,
// or a file to read is not a regular file. Nothing is refused when the job does not read (the
// library then says why itself).
std::vector<diag::JobError> refusals(const char* job, JobPlan* plan);

// The first input that is no longer what it was when the plan was made.
const InputState* changedInput(const JobPlan& plan);

// Scratch files (of check and --strict) removed even when a signal ends the program.
void holdScratch(const std::string& path);
void dropScratch();

// The print file of one job. A regular file is written as NAME.part beside NAME, locked for
// the whole job (a second job for NAME waits, or fails with noWait), and renamed to NAME only
// once it reads back as one whole job; otherwise, and on SIGINT, SIGTERM or SIGHUP, it is
// renamed NAME.failed. A device or pipe is written directly and its write results watched.
class PrintFile {
 public:
  PrintFile() = default;
  PrintFile(const PrintFile&) = delete;
  PrintFile& operator=(const PrintFile&) = delete;
  ~PrintFile();

  // False with the reason when another job holds the file (noWait) or it cannot be locked.
  bool open(const std::string& finalName, bool noWait, std::string* why);
  // Where the library is to write.
  const std::string& writeName() const { return mWrite; }
  const std::string& finalName() const { return mFinal; }
  // After the library returned: empty when the file is whole and has its final name, else
  // why not (the file is then NAME.failed, or was never written).
  std::string finish();
  // The job failed: a file the library started is kept as NAME.failed, saying so on stderr.
  void fail();

 private:
  void release();
  void watch();
  // "; kept as NAME.failed", or empty when there is nothing to keep.
  std::string keepFailed();

  std::string mFinal, mWrite;
  int mLock = -1;
  unsigned mOpensBefore = 0;  // the library's opens before this job: did it begin the file?
  bool mDirect = true;
};

}  // namespace cli
