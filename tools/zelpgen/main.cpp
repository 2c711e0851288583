// zelpgen: prints, checks, inspects and renders jobs; `zelpgen JOB.cfg` is short for `print`.
#include <cstdio>
#include <cstring>
#include <span>

#include "commands.h"
#include "zelpgen/version.h"

namespace {

constexpr const char* kUsage =
    "usage: zelpgen [print] [--quiet] [--strict] [--no-wait] JOB.cfg\n"
    "       zelpgen check [--quiet] JOB.cfg\n"
    "       zelpgen inspect FILE.dat\n"
    "       zelpgen render FILE.dat -o PAGE-%d.png\n"
    "       zelpgen help [COMMAND]\n"
    "\n"
    "  print    write the print file of the job configuration JOB.cfg\n"
    "  check    read and check the job without writing a print file\n"
    "  inspect  list and check the packets and raster of a print file\n"
    "  render   draw the pages of a print file as PNG images\n"
    "  help     show this text, or a command's own\n"
    "\n"
    "  -h, --help  show this text (`zelpgen COMMAND --help` for a command's own)\n"
    "  --version   show the version\n"
    "\n"
    "Errors and warnings go to stderr as 'zelpgen: JOB.cfg:LINE: [Section] Key: why'.\n"
    "Image and table files are found relative to JOB.cfg's folder; the command definition\n"
    "file zelpgencmd.inf, if any, in the current directory.\n"
    "\n"
    "Exit status: 0 done, 1 job error (or a warning under --strict or check, or a fault in\n"
    "the file inspected), 2 usage error.\n"
    "See man zelpgen and docs/configuration.md.\n";

struct Subcommand {
  const char* name;
  int (*run)(std::span<char*>);
};

constexpr Subcommand kSubcommands[] = {
    {"print", cli::runPrint},
    {"check", cli::runCheck},
    {"inspect", cli::runInspect},
    {"render", cli::runRender},
};

// `zelpgen help [COMMAND]`: the usage, or the command's own as its --help gives it.
int help(std::span<char*> args) {
  if (args.empty()) {
    std::fputs(kUsage, stdout);
    return cli::kExitOk;
  }
  char option[] = "--help";
  char* helpArgs[] = {option};
  for (const Subcommand& sub : kSubcommands) {
    if (args.size() == 1 && std::strcmp(args[0], sub.name) == 0)
      return sub.run(std::span<char*>(helpArgs));
  }
  return cli::usageError("", "help takes one command: print, check, inspect or render");
}

}  // namespace

int cli::usageError(const char* subcommand, const char* message) {
  std::fprintf(stderr, "zelpgen: %s\nTry 'zelpgen %s--help' for more information.\n", message,
               subcommand != nullptr ? subcommand : "");
  return kExitUsage;
}

int main(int argc, char** argv) {
  std::span<char*> args(argv + 1, argc > 0 ? static_cast<std::size_t>(argc - 1) : 0);
  if (args.empty()) return cli::usageError(nullptr, "no job given");
  const char* first = args[0];
  if (std::strcmp(first, "--help") == 0 || std::strcmp(first, "-h") == 0) {
    std::fputs(kUsage, stdout);
    return cli::kExitOk;
  }
  if (std::strcmp(first, "--version") == 0) {
    std::puts("zelpgen " ZELPGEN_VERSION_STRING);
    return cli::kExitOk;
  }
  for (const Subcommand& sub : kSubcommands) {
    if (std::strcmp(first, sub.name) == 0) return sub.run(args.subspan(1));
  }
  if (std::strcmp(first, "help") == 0) return help(args.subspan(1));
  // The short form: `zelpgen JOB.cfg [options]` prints the job.
  return cli::runPrint(args);
}
