// Row coders on plane rows of a photograph: 10800 bytes, smooth shapes with grain and flat
// (ink-free) stretches, each row against the one above it as seed.
//
//   cmake --build build/bench -j2 --target row_bench && build/bench/bench/row_bench

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "kelm/kelm.h"
#include "kelm/row_coding.h"

namespace {

constexpr std::int32_t kRowBytes = 10800;
constexpr int kRows = 64;

// One ink plane of the whole-job benchmark's image, rows 1000 onwards.
std::vector<std::vector<unsigned char>> photoRows() {
  std::vector<std::vector<unsigned char>> rows(kRows, std::vector<unsigned char>(kRowBytes));
  std::uint32_t noise = 12345;
  for (int y = 0; y < kRows; ++y) {
    for (std::int32_t x = 0; x < kRowBytes; ++x) {
      noise = noise * 1664525u + 1013904223u;
      const double base = std::sin(x / 900.0 * 0.7 + (y + 1000) / 700.0);
      const double v = base < -0.3 ? 0.0 : 127.5 + 127.5 * base;
      const int grain = base < -0.3 ? 0 : static_cast<int>(noise >> 8 & 7) - 3;
      rows[y][x] = static_cast<unsigned char>(std::clamp(static_cast<int>(v) + grain, 0, 255));
    }
  }
  return rows;
}

void BM_PackBits(benchmark::State& state) {
  const auto rows = photoRows();
  std::vector<unsigned char> out(static_cast<std::size_t>(kelm_PackBitsBound(kRowBytes)));
  int r = 0;
  for (auto _ : state) {
    const unsigned char* src = rows[r].data();
    unsigned char* dst = out.data();
    packBits(src, dst, kRowBytes);
    benchmark::DoNotOptimize(dst);
    r = (r + 1) % kRows;
  }
  state.SetBytesProcessed(state.iterations() * kRowBytes);
}

void BM_SeedRow(benchmark::State& state) {
  const auto rows = photoRows();
  std::vector<unsigned char> out(static_cast<std::size_t>(kelm_PackBitsBound(kRowBytes)));
  int r = 1;
  std::int64_t coded = 0;
  for (auto _ : state) {
    const std::int32_t n =
        kelm_SeedRowCode(rows[r - 1].data(), rows[r].data(), kRowBytes, out.data());
    benchmark::DoNotOptimize(n);
    coded += n >= 0;
    r = r + 1 < kRows ? r + 1 : 1;
  }
  state.SetBytesProcessed(state.iterations() * kRowBytes);
  state.counters["coded"] = static_cast<double>(coded) / state.iterations();
}

BENCHMARK(BM_PackBits);
BENCHMARK(BM_SeedRow);

}  // namespace

BENCHMARK_MAIN();
