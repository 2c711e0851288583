// zelpgen inspect: lists and checks a print file.
#include <cstdio>
#include <cstring>
#include <string>

#include "commands.h"
#include "inspect/job.h"

namespace {

constexpr const char* kUsage =
    "usage: zelpgen inspect [--json] FILE.dat\n"
    "Lists the packets of a print file (attribute values decoded, their bytes in brackets), its\n"
    "raster header and, per page, each raster image (position, planes and depths, compression,\n"
    "rows, bytes per compression), checking the file as it goes; the last line is `ok` or the\n"
    "first fault with its offset in the file.\n"
    "  --json  the same as one JSON document\n"
    "Exit status: 0 ok, 1 a fault in the file, 2 usage error.\n";

}  // namespace

int cli::runInspect(std::span<char*> args) {
  bool json = false;
  const char* file = nullptr;
  for (char* arg : args) {
    if (std::strcmp(arg, "--help") == 0) {
      std::fputs(kUsage, stdout);
      return kExitOk;
    }
    if (std::strcmp(arg, "--json") == 0) {
      json = true;
    } else if (arg[0] == '-' || file != nullptr) {
      return usageError("inspect ", "expected [--json] FILE.dat");
    } else {
      file = arg;
    }
  }
  if (file == nullptr) return usageError("inspect ", "expected [--json] FILE.dat");
  const inspect::JobSummary summary = inspect::summarize(file);
  const std::string text = json ? inspect::formatJson(summary) : inspect::formatText(summary);
  std::fwrite(text.data(), 1, text.size(), stdout);
  return summary.ok ? kExitOk : kExitJobError;
}
