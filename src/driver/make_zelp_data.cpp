// The entry point: reads the job, then runs the packet layer and the raster encoder over it.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "cmdfile/cmdfile.h"
#include "config/config.h"
#include "driver/driver.h"
#include "kelm/kelm.h"
#include "zelp/zelp.h"
#include "zelpgen/zelpgen.h"

extern "C" int makeZELPData(const char* path) {
  // The library may leave a partial path behind on failure; that text is used as it stands.
  char resolvedFull[PATH_MAX] = {};
  if (path != nullptr) {
    if (realpath(path, resolvedFull) == nullptr) {
      // Nothing to do: the configuration reader reports a path that cannot be opened.
    }
  }
  // A path cut to the record's buffers could name another job: such a path is refused.
  if (std::strlen(resolvedFull) >= kPathSize) std::exit(1);
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
    freeCmdFileInfo(std::move(commands));
    record->commandDefinitions = nullptr;
    std::exit(1);
  }

  parseParameter(resolved, record.get());
  processZELP(record.get());
  KELM_New();
  processKELMConfiguration(record.get());

  for (int page = 0; page < record->jobImpressions; ++page) {
    for (const imageParameter* entry = record->imageParameterList.get(); entry != nullptr;) {
      processKELMImageConfiguration(entry);
      processKELMImageData(entry);
      entry = entry->next.get();
      if (entry != nullptr) KELM_New();
    }
    KELM_SendEndOfPage();
  }

  KELM_SendJobEnd(0);
  ZELP_Close();
  ZELP_Delete();
  disposeParameter(std::move(record));
  return 0;
}
