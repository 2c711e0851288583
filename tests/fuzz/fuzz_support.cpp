#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "diag/diag.h"
#include "fuzz.h"
#include "image/lxbmp.h"
#include "image/reduction.h"

namespace fuzz {

namespace {

// Thrown by the job error hook so the target gets control back.
struct JobEnded {};

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};

// A page loop band is 300 rows; a few rows keep each run short while still crossing band
// boundaries inside strips.
constexpr std::int32_t kBandRows = 5;
// Enough bands to pass a strip or two of any small image; a huge claimed height stops here.
constexpr int kMaxBands = 40;
// Wider images only cost time: the band allocation itself has its own limit.
constexpr std::uint32_t kMaxWidth = 1 << 16;

struct Way {
  enum class Reader { kGray, kRGB, kCMYK } reader;
  int depth;
  const unsigned char* table;
  int channel = 0;
};

std::unique_ptr<LXGWorld> band(int depth, std::uint32_t width) {
  std::unique_ptr<LXGWorld> world;
  LXNewGWorld(&world, depth, LXRect{0, 0, kBandRows, static_cast<std::int32_t>(width)});
  return world;
}

void readOneWay(LXBMPRecT* reader, const Way& way) {
  LXBMP_Rewind(reader);
  const std::uint32_t width = LXBMP_GetWidth(reader);
  auto a = band(way.depth, width);
  auto b = band(way.depth, width);
  auto c = band(way.depth, width);
  for (int i = 0; i < kMaxBands; ++i) {
    std::int32_t rows = 0;
    switch (way.reader) {
      case Way::Reader::kGray:
        rows = LXBMP_ReadNextRasterBlock(reader, a.get(), way.table);
        break;
      case Way::Reader::kRGB:
        rows = LXBMP_ReadNextRasterBlockRGB(reader, a.get(), b.get(), c.get());
        break;
      case Way::Reader::kCMYK:
        rows = LXBMP_ReadNextRasterBlockCMYK(reader, a.get(), way.table, way.channel);
        break;
    }
    if (rows <= 0) break;
  }
}

}  // namespace

std::string writeInput(std::span<const std::uint8_t> bytes, const char* extension) {
  static const std::filesystem::path folder = std::filesystem::is_directory("/dev/shm")
                                                  ? std::filesystem::path("/dev/shm")
                                                  : std::filesystem::temp_directory_path();
  const std::string path =
      (folder / ("zelpgen-fuzz-" + std::to_string(getpid()) + extension)).string();
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
  if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
    std::perror(path.c_str());
    std::abort();
  }
  return path;
}

void untilJobError(const std::function<void()>& step) {
  diag::setHook([](diag::Severity severity, const diag::JobError&) {
    if (severity == diag::Severity::kError) throw JobEnded{};
  });
  diag::beginJob();
  try {
    step();
  } catch (const JobEnded&) {
  }
  diag::setHook(nullptr);
}

void readImageEveryWay(const char* path) {
  using R = Way::Reader;
  const std::array ways{
      Way{R::kGray, 1, nullptr},
      Way{R::kGray, 2, reductionTable(3)},
      Way{R::kGray, 2, reductionTable(4)},
      Way{R::kGray, 4, reductionTable(16)},
      Way{R::kGray, 8, nullptr},
      Way{R::kGray, 8, kRGBSenseTable},
      Way{R::kGray, 10, nullptr},
      Way{R::kGray, 16, nullptr},
      Way{R::kRGB, 8, nullptr},
      Way{R::kRGB, 10, nullptr},
      Way{R::kRGB, 1, nullptr},
      Way{R::kCMYK, 1, nullptr, 0},
      Way{R::kCMYK, 2, reductionTable(5), 1},
      Way{R::kCMYK, 4, reductionTable(6), 2},
      Way{R::kCMYK, 8, nullptr, 3},
      Way{R::kCMYK, 10, nullptr, 1},
  };
  std::unique_ptr<LXBMPRecT> reader = LXBMP_New(path);
  if (!reader) return;
  if (LXBMP_GetWidth(reader.get()) <= kMaxWidth) {
    for (const Way& way : ways) readOneWay(reader.get(), way);
  }
  LXBMP_Delete(std::move(reader));
}

}  // namespace fuzz
