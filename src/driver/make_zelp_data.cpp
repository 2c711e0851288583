// The entry point: reads the job, then runs the packet layer and the raster encoder over it.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <string>

#include "cmdfile/cmdfile.h"
#include "cmdfile/cmdfile_info.h"
#include "config/config.h"
#include "diag/diag.h"
#include "driver/driver.h"
#include "driver/job.h"
#include "kelm/kelm.h"
#include "zelp/zelp.h"
#include "zelpgen/zelpgen.h"

namespace {

// A job ended by a hook that throws leaves nothing open for the next one.
class ShutOnUnwind {
 public:
  ShutOnUnwind() : mExceptions(std::uncaught_exceptions()) {}
  ShutOnUnwind(const ShutOnUnwind&) = delete;
  ShutOnUnwind& operator=(const ShutOnUnwind&) = delete;
  ~ShutOnUnwind() {
    if (std::uncaught_exceptions() <= mExceptions) return;
    (void)ZELP_Close();  // unwinding already: the job has failed
    ZELP_Delete();
    diag::clearPlace();
  }

 private:
  int mExceptions;
};

std::string definitionErrors(const _CMDFILEINFO* set) {
  std::string first = set->errors.front();
  first = first.substr(0, first.find('\n'));
  if (first.rfind("[Error] ", 0) == 0) first.erase(0, 8);
  if (set->errors.size() > 1) first += " (and " + std::to_string(set->errors.size() - 1) + " more)";
  return first;
}

}  // namespace

// Nothing may unwind into a C caller: whatever is thrown (memory refused, a hook's exception)
// ends the job as a configuration error does.
extern "C" int makeZELPData(const char* path) {
  try {
    return runJob(path, JobOptions{}, nullptr);
  } catch (...) {
    std::string reason = "the job stopped on an unexpected failure";
    try {
      throw;
    } catch (const std::exception& e) {
      reason += std::string(": ") + e.what();
    } catch (...) {
    }
    try {
      diag::failJob(reason);
    } catch (...) {
    }
    std::fflush(nullptr);
    std::exit(1);
  }
}

int runJob(const char* path, const JobOptions& options, JobReport* report) {
  ShutOnUnwind shut;
  diag::beginJob();
  // The library may leave a partial path behind on failure; that text is used as it stands.
  char resolvedFull[PATH_MAX] = {};
  if (path != nullptr) {
    if (realpath(path, resolvedFull) == nullptr) {
      // Nothing to do: the configuration reader reports a path that cannot be opened.
    }
  }
  // A path cut to the record's buffers could name another job: such a path is refused.
  if (std::strlen(resolvedFull) >= kPathSize)
    diag::failJob(
        {path != nullptr ? path : "",
         0,
         {},
         {},
         {},
         "the job's full path is longer than " + std::to_string(kPathSize - 1) + " characters"});
  char resolved[kPathSize];
  copyField(resolved, resolvedFull);

  char directory[kPathSize];
  copyField(directory, resolved);
  if (char* slash = std::strrchr(directory, '/')) {
    *slash = '\0';
  } else {
    copyField(directory, ".");
  }

  // The last dot of the whole path, so a dotted directory name cuts there when the file
  // name itself has none.
  char withoutExtension[kPathSize];
  copyField(withoutExtension, resolved);
  if (char* dot = std::strrchr(withoutExtension, '.')) *dot = '\0';
  char defaultName[kPathSize + 4];
  std::snprintf(defaultName, sizeof defaultName, "%s.dat", withoutExtension);
  setDefaultFileName(defaultName);

  auto record = std::make_unique<parameter>();
  copyField(record->cfgDirectory, directory);

  CmdFileInfoPtr commands = getCmdFileInfo("zelpgencmd.inf");
  record->commandDefinitions = commands.get();
  if (commands && isExistErrorInCmdFile(commands.get())) {
    // The message says the file is ignored, yet the job ends here.
    dispCmdErrorMessage(commands.get());
    const diag::JobError error{commands->fileName, 0, {}, {}, {}, definitionErrors(commands.get())};
    freeCmdFileInfo(std::move(commands));
    record->commandDefinitions = nullptr;
    diag::failJob(error);
  }

  parseParameter(resolved, record.get());
  if (report != nullptr) {
    report->pages = record->jobImpressions;
    report->outFile.assign(record->outFilePath,
                           strnlen(record->outFilePath, sizeof record->outFilePath));
  }
  if (options.outFile != nullptr) copyField(record->outFilePath, options.outFile);
  (void)processZELP(record.get());  // returns only once the print file is open
  KELM_New();
  // A step that fails has said why where it failed (diag::imageError), and the job goes on.
  (void)processKELMConfiguration(record.get());
  if (report != nullptr || diag::hasHook()) {
    JobReport scratch;
    noteImages(record.get(), resolved, report != nullptr ? report : &scratch);
  }

  for (int page = 0; page < record->jobImpressions; ++page) {
    for (const imageParameter* entry = record->imageParameterList.get(); entry != nullptr;) {
      (void)processKELMImageConfiguration(entry);  // cannot fail
      (void)processKELMImageData(entry);
      entry = entry->next.get();
      if (entry != nullptr) KELM_New();
    }
    KELM_SendEndOfPage();
  }

  const int ended = KELM_SendJobEnd(0);
  if (ZELP_Close() != 0 || ended != 0) diag::warn("the print file could not be written in full");
  ZELP_Delete();
  disposeParameter(std::move(record));
  diag::clearPlace();
  return 0;
}
