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
#include "config/sections.h"
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

// Every error of the file, one a line, each after the first led by the file's name.
std::string definitionErrors(const _CMDFILEINFO* set) {
  std::string all;
  for (const std::string& error : set->errors) {
    std::string line = error.substr(0, error.find('\n'));
    if (line.rfind("[Error] ", 0) == 0) line.erase(0, 8);
    if (!all.empty()) all += "\n" + set->fileName + ": ";
    all += line;
  }
  return all;
}

void listInputs(const parameter* p, JobReport* report) {
  for (const imageProcessingFile* f = p->imageProcessingFileList.get(); f != nullptr;
       f = f->next.get())
    report->inputs.push_back({"ImageProcessingFile", f->path, f->line});
  for (const imageParameter* e = p->imageParameterList.get(); e != nullptr; e = e->next.get())
    for (int i = 0; i < kImageFileCount; ++i)
      if (e->imageFile[i][0] != '\0')
        report->inputs.push_back({imageFileKey(i), e->imageFile[i], e->imageFileLine[i]});
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
    report->outFileLine = record->outFilePathLine;
    listInputs(record.get(), report);
    for (const rawPacket* r = record->rawPacketList.get(); r != nullptr; r = r->next.get())
      report->rawPackets.push_back({r->lineNumber, r->data});
  }
  if (options.readOnly) {
    disposeParameter(std::move(record));
    diag::clearPlace();
    return 0;
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
