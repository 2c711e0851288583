// Whole-job throughput on a large-format CMYK image: a 36-inch roll at 300 dpi, set beside a
// plain copy of the image (cp) and a PackBits rewrite of it (tiffcp -c packbits) timed in the
// same repetition, so a loaded machine slows all three alike.
//
//   cmake -S . -B build/bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DZELPGEN_BUILD_BENCH=ON
//         -DZELPGEN_BUILD_TESTS=OFF      (one line)
//   cmake --build build/bench -j2 --target job_bench
//   build/bench/bench/job_bench
//
// Each run happens in a child process, so the peak resident size is the job's own. Every
// benchmark runs five repetitions of one job each and reports their mean, median and spread:
//   MB/s      image bytes per wall-clock second       cpu_MB/s  per second of the job's CPU time
//   peak_MB   the job's peak resident size             print_MB  size of the print file
//   x_cp      job time / cp time (absent without cp)   x_tiffcp  job time / tiffcp time
// Images are generated once under $TMPDIR (or /tmp) and kept for later runs.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "job_child.h"
#include "zelpgen/zelpgen.h"

namespace {

constexpr std::uint32_t kWidth = 10800;

double seconds(const timeval& t) {
  return t.tv_sec + t.tv_usec / 1e6;
}

// Wall-clock seconds a program took, or 0 when it could not be started or failed.
double timeProgram(std::vector<std::string> args) {
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  const int spawned = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) return 0;
  int status = 0;
  waitpid(child, &status, 0);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? took.count() : 0;
}

std::filesystem::path workDir() {
  const char* tmp = std::getenv("TMPDIR");
  std::filesystem::path dir = std::filesystem::path(tmp ? tmp : "/tmp") / "zelpgen-bench";
  std::filesystem::create_directories(dir);
  return dir;
}

// Smooth shapes with fine grain, so PackBits sees the mix of short runs and literals that a
// photograph gives.
std::filesystem::path cmykImage(std::uint32_t height) {
  const auto path =
      workDir() / ("cmyk-" + std::to_string(kWidth) + "x" + std::to_string(height) + ".tif");
  if (std::filesystem::exists(path)) return path;
  const auto partial = path.string() + ".part";
  TIFF* tif = TIFFOpen(partial.c_str(), "w");
  if (tif == nullptr) std::abort();
  TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, kWidth);
  TIFFSetField(tif, TIFFTAG_IMAGELENGTH, height);
  TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 4);
  TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_SEPARATED);
  TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
  TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 16);
  std::vector<std::uint8_t> row(kWidth * 4);
  std::uint32_t noise = 12345;
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < kWidth; ++x) {
      noise = noise * 1664525u + 1013904223u;
      const double fx = x / 900.0, fy = y / 700.0;
      const double base[4] = {std::sin(fx) * std::cos(fy), std::sin(fx * 0.7 + fy),
                              std::cos(fx * 1.3 - fy * 0.4), std::sin((fx + fy) * 0.5)};
      for (int c = 0; c < 4; ++c) {
        // Sky-like flat areas (runs) where the shape is low, grain elsewhere.
        const double v = base[c] < -0.3 ? 0.0 : 127.5 + 127.5 * base[c];
        const int grain = base[c] < -0.3 ? 0 : static_cast<int>((noise >> (8 * c)) & 7) - 3;
        row[x * 4 + c] = static_cast<std::uint8_t>(std::clamp(static_cast<int>(v) + grain, 0, 255));
      }
    }
    if (TIFFWriteScanline(tif, row.data(), y, 0) < 0) std::abort();
  }
  TIFFClose(tif);
  std::filesystem::rename(partial, path);
  return path;
}

std::filesystem::path jobFile(const std::filesystem::path& image, int compression) {
  const auto cfg =
      workDir() / ("job-" + image.stem().string() + "-" + std::to_string(compression) + ".cfg");
  std::ofstream out(cfg);
  out << "[Global]\nOutFilePath=\"" << (workDir() / "bench.dat").string() << "\"\n"
      << "[ZELP]\nJobName=\"bench\"\nJobTime=\"01/02/2026 03:04:05 GMT\"\n"
      << "[KELM]\nPrinterResolutionH=300\nPrinterResolutionV=300\nPaperName=\"ROLL\"\n"
      << "PaperOrient=\"SHORTEDGE\"\nMarginTop=0\nMarginBottom=0\nMarginLeft=0\nMarginRight=0\n"
      << "[Image]\nImageFileCMYK=\"" << image.string() << "\"\n"
      << "ColorSpace=kelm_id_val_image_format_row_kcmy_kccmmy_multi_level\n"
      << "CompressionMode=" << compression << "\nNumOfPlanes=4\n"
      << "PixelDepthK=8\nPixelDepthC=8\nPixelDepthM=8\nPixelDepthY=8\n"
      << "GraphicResolutionH=300\nGraphicResolutionV=300\n";
  return cfg;
}

void BM_CMYKJob(benchmark::State& state) {
  const auto height = static_cast<std::uint32_t>(state.range(0));
  const int compression = static_cast<int>(state.range(1));
  const auto image = cmykImage(height);
  const auto cfg = jobFile(image, compression);
  const std::string copy = (workDir() / "copy.tif").string();
  long peakKiB = 0;
  double cpuSeconds = 0;
  double jobSeconds = 0;
  double cpSeconds = 0;
  double tiffcpSeconds = 0;
  const auto print = workDir() / "bench.dat";
  for (auto _ : state) {
    // cp writes a new file; so does the job, rather than first truncating the last run's.
    std::filesystem::remove(print);
    const JobChildRun run = runJobInChild(cfg, false);
    if (!run.ok) {
      state.SkipWithError("the job failed");
      return;
    }
    state.SetIterationTime(run.seconds);
    jobSeconds += run.seconds;
    peakKiB = std::max(peakKiB, run.usage.ru_maxrss);
    cpuSeconds += seconds(run.usage.ru_utime) + seconds(run.usage.ru_stime);
    cpSeconds += timeProgram({"cp", image.string(), copy});
    tiffcpSeconds += timeProgram({"tiffcp", "-c", "packbits", image.string(), copy});
    std::filesystem::remove(copy);
  }
  const double imageBytes = double(kWidth) * height * 4;
  state.SetBytesProcessed(static_cast<std::int64_t>(imageBytes * state.iterations()));
  state.counters["MB/s"] =
      benchmark::Counter(imageBytes / 1e6 * state.iterations(), benchmark::Counter::kIsRate);
  // On a shared machine the wall time includes waiting for a core; the job's own CPU time
  // does not.
  state.counters["cpu_MB/s"] = imageBytes / 1e6 * state.iterations() / cpuSeconds;
  state.counters["peak_MB"] = peakKiB / 1024.0;
  const auto printBytes = std::filesystem::file_size(print);
  // A job that read no rows still succeeds; its print file is then a few hundred bytes.
  if (printBytes < imageBytes / 100) state.SkipWithError("no raster in the print file");
  state.counters["print_MB"] = printBytes / 1e6;
  // A program that is missing or failed leaves its ratio out.
  if (cpSeconds > 0) state.counters["x_cp"] = jobSeconds / cpSeconds;
  if (tiffcpSeconds > 0) state.counters["x_tiffcp"] = jobSeconds / tiffcpSeconds;
}

// Mode 4002 (PackBits) and 4003 (seed row), at full height and at a quarter of it: the peak
// memory must not depend on the height.
BENCHMARK(BM_CMYKJob)
    ->ArgNames({"height", "compression"})
    ->Args({7200, 2})
    ->Args({7200, 3})
    ->Args({1800, 2})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
