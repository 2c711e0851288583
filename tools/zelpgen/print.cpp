// zelpgen print: runs the job through the library's entry point.
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "zelpgen/zelpgen.h"

namespace {

constexpr const char* kUsage =
    "usage: zelpgen print JOB.cfg   (or: zelpgen JOB.cfg)\n"
    "Writes the print file of the job configuration JOB.cfg (by default JOB.dat beside it,\n"
    "or the [Global] OutFilePath).\n"
    "Exit status: 0 printed, 1 job error, 2 usage error.\n";

}  // namespace

int cli::runPrint(std::span<char*> args) {
  if (args.size() == 1 && std::strcmp(args[0], "--help") == 0) {
    std::fputs(kUsage, stdout);
    return kExitOk;
  }
  if (args.size() != 1 || args[0][0] == '-') return usageError("print ", "expected one JOB.cfg");
  return makeZELPData(args[0]);
}
