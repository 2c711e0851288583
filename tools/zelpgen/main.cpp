// zelpgen JOB.cfg: writes the print file that the job configuration describes.
#include <cstdio>
#include <cstring>

#include "zelpgen/zelpgen.h"

namespace {

constexpr const char* kUsage =
    "usage: zelpgen JOB.cfg\n"
    "Writes the print file of the job configuration JOB.cfg (by default JOB.dat beside it,\n"
    "or the [Global] OutFilePath). A configuration error ends with exit status 1.\n"
    "  --help     show this text\n"
    "  --version  show the version\n";

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
    std::puts("zelpgen " ZELPGEN_VERSION);
    return 0;
  }
  if (argc != 2 || argv[1][0] == '-') {
    std::fputs(kUsage, stderr);
    return 2;
  }
  return makeZELPData(argv[1]);
}
