// Reading a large configuration: many NewPJL lines and many small [Image] sections, so that the
// time and memory the reader spends per line and per section show. Each size is run at full
// and at a quarter scale; both counters should grow about fourfold, not sixteenfold.
//
//   cmake -S . -B build/bench -DCMAKE_BUILD_TYPE=Release -DZELPGEN_BUILD_BENCH=ON
//   cmake --build build/bench -j2 --target config_bench && build/bench/bench/config_bench
//
// Each run happens in a child process, so the peak resident size is the job's own:
//   peak_MB   the job's peak resident size     KB_per_line  peak size over configuration lines
// The configuration and its one-pixel image are written once under $TMPDIR (or /tmp).

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "job_child.h"
#include "zelpgen/zelpgen.h"

namespace {

std::filesystem::path workDir() {
  const char* tmp = std::getenv("TMPDIR");
  auto dir = std::filesystem::path(tmp != nullptr ? tmp : "/tmp") / "zelpgen-config-bench";
  std::filesystem::create_directories(dir);
  return dir;
}

// A 1x1 8-bit gray bottom-up BMP with its 256-entry palette.
void writePixel(const std::filesystem::path& path) {
  std::string bmp(14 + 40 + 1024 + 4, '\0');
  auto put = [&bmp](std::size_t at, std::uint32_t v, int n) {
    for (int i = 0; i < n; ++i) bmp[at + i] = static_cast<char>(v >> (8 * i));
  };
  bmp[0] = 'B';
  bmp[1] = 'M';
  put(2, static_cast<std::uint32_t>(bmp.size()), 4);
  put(10, 14 + 40 + 1024, 4);
  put(14, 40, 4);
  put(18, 1, 4);
  put(22, 1, 4);
  put(26, 1, 2);
  put(28, 8, 2);
  for (std::uint32_t i = 0; i < 256; ++i) put(54 + 4 * i, i * 0x010101, 3);
  std::ofstream(path, std::ios::binary) << bmp;
}

std::filesystem::path jobFile(long pjlLines, long images) {
  const auto cfg =
      workDir() / ("job-" + std::to_string(pjlLines) + "-" + std::to_string(images) + ".cfg");
  if (std::filesystem::exists(cfg)) return cfg;
  writePixel(workDir() / "k.bmp");
  std::ofstream out(cfg);
  out << "[Global]\nOutFilePath=\"bench.dat\"\n[ZELP]\nJobTime=zelpgen_id_val_set_job_time_none\n"
         "[KELM]\nPrinterResolutionH=600\nPrinterResolutionV=600\nPaperName=\"A4\"\n"
         "PaperOrient=\"SHORTEDGE\"\nMarginTop=0\nMarginBottom=0\nMarginLeft=0\nMarginRight=0\n";
  for (long i = 0; i < pjlLines; ++i) out << "NewPJL=\"K" << i % 1000 << "=1\"\n";
  out << "[Image]\nImageFileK=\"k.bmp\"\nColorSpace=2\nCompressionMode=2\nNumOfPlanes=1\n"
         "PixelDepthK=8\nGraphicResolutionH=300\nGraphicResolutionV=300\n";
  for (long i = 1; i < images; ++i) out << "[Image]\nImageFileK=\"k.bmp\"\n";
  return cfg;
}

void BM_LargeConfiguration(benchmark::State& state) {
  const long pjlLines = state.range(0);
  const long images = state.range(1);
  const auto cfg = jobFile(pjlLines, images);
  long peakKiB = 0;
  for (auto _ : state) {
    // The job's stdout holds nothing of interest here.
    const JobChildRun run = runJobInChild(cfg, true);
    if (!run.ok) {
      state.SkipWithError("the job failed");
      return;
    }
    state.SetIterationTime(run.seconds);
    peakKiB = std::max(peakKiB, run.usage.ru_maxrss);
  }
  const long lines = 13 + pjlLines + 8 + 2 * (images - 1);
  state.counters["peak_MB"] = peakKiB / 1024.0;
  state.counters["KB_per_line"] = double(peakKiB) / double(lines);
}

BENCHMARK(BM_LargeConfiguration)
    ->ArgNames({"pjl", "images"})
    ->Args({100000, 20000})
    ->Args({25000, 5000})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
