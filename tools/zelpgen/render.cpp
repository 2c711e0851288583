// zelpgen render: draws the pages of a print file as PNG files.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "commands.h"

#ifdef ZELPGEN_HAVE_PNG
#include "inspect/render.h"
#include "png_pages.h"
#include "progress.h"
#endif

namespace {

constexpr const char* kUsage =
    "usage: zelpgen render FILE.dat -o PAGE-%d.png [--scale N | --width PX]\n"
    "Draws each page of a print file as a PNG (one pixel per printer dot unless reduced), inks\n"
    "mixed to colours as they print; white where nothing prints. %d takes the page number.\n"
    "  --scale N   N printer dots per pixel each way\n"
    "  --width PX  pages PX pixels wide\n"
    "Exit status: 0 drawn, 1 a fault in the file or a file not written, 2 usage error.\n";

// A whole positive number, or 0.
int count(const char* text) {
  char* end = nullptr;
  const long n = std::strtol(text, &end, 10);
  return *text != '\0' && *end == '\0' && n > 0 && n < (1 << 24) ? static_cast<int>(n) : 0;
}

}  // namespace

int cli::runRender(std::span<char*> args) {
  const char* file = nullptr;
  const char* pattern = nullptr;
  int scale = 0, width = 0;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const char* arg = args[i];
    const bool hasValue = i + 1 < args.size();
    if (std::strcmp(arg, "--help") == 0) {
      std::fputs(kUsage, stdout);
      return kExitOk;
    } else if (std::strcmp(arg, "-o") == 0 && hasValue) {
      pattern = args[++i];
    } else if (std::strcmp(arg, "--scale") == 0 && hasValue) {
      if ((scale = count(args[++i])) == 0)
        return usageError("render ", "--scale takes a number above 0");
    } else if (std::strcmp(arg, "--width") == 0 && hasValue) {
      if ((width = count(args[++i])) == 0)
        return usageError("render ", "--width takes a number above 0");
    } else if (arg[0] == '-' || file != nullptr) {
      return usageError("render ", "expected FILE.dat -o PAGE-%d.png [--scale N | --width PX]");
    } else {
      file = arg;
    }
  }
  if (file == nullptr || pattern == nullptr) {
    return usageError("render ", "expected FILE.dat -o PAGE-%d.png [--scale N | --width PX]");
  }
  if (scale != 0 && width != 0) return usageError("render ", "give --scale or --width, not both");
#ifdef ZELPGEN_HAVE_PNG
  if (PngPages::fileName(pattern, 1).empty()) {
    return usageError("render ", "the output name needs one %d for the page number");
  }
  inspect::RenderOptions options;
  options.scale = scale != 0 ? scale : 1;
  options.width = width;
  Progress progress("render");
  options.progress = [&progress](int page, std::uint64_t done, std::uint64_t total) {
    progress.update(done, total, Progress::Unit::kBytes, "page " + std::to_string(page));
  };
  PngPages pages(pattern);
  std::string error;
  const bool ok = inspect::renderJob(file, options, &pages, &error);
  Progress::clearLine();
  if (!ok) {
    std::fprintf(stderr, "zelpgen: %s: %s\n", file, error.c_str());
    return kExitJobError;
  }
  return kExitOk;
#else
  std::fputs("zelpgen: render is not available: this zelpgen was built without libpng\n", stderr);
  return kExitJobError;
#endif
}
