// Replays the files of the folders given on the command line through the target, so every
// build runs the corpus and the past findings without libFuzzer.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz.h"

int main(int argc, char** argv) {
  std::size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    // A target without findings has no regressions folder.
    if (!std::filesystem::exists(argv[i])) continue;
    std::error_code error;
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(argv[i], error)) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
    if (error) {
      std::fprintf(stderr, "cannot read folder %s\n", argv[i]);
      return 1;
    }
    std::sort(files.begin(), files.end());
    for (const auto& file : files) {
      std::ifstream in(file, std::ios::binary);
      const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
      LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
      ++count;
    }
  }
  std::printf("%zu inputs replayed\n", count);
  return count > 0 ? 0 : 1;
}
