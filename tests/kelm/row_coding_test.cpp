#include "kelm/row_coding.h"

#include <gtest/gtest.h>

#include <random>

#include "inspect/raster.h"
#include "kelm/kelm.h"
#include "support/support.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// Codes into a buffer of exactly the coder's bound, so a write past it is caught.
Bytes pack(const Bytes& in) {
  Bytes out(static_cast<std::size_t>(kelm_PackBitsBound(static_cast<std::int64_t>(in.size()))));
  const unsigned char* src = in.data();
  unsigned char* dst = out.data();
  packBits(src, dst, static_cast<std::int32_t>(in.size()));
  EXPECT_EQ(src, in.data() + in.size());
  out.resize(static_cast<std::size_t>(dst - out.data()));
  return out;
}

// The coder's algorithm followed byte by byte: the oracle for the word-wide coder.
Bytes referencePackBits(const Bytes& in) {
  Bytes out;
  long start = 0, span = 0, runStart = -1, previous = 1000;
  const auto flush = [&](long end) {  // the pending literal, then the run if it has 3 bytes
    const bool run = runStart >= 0 && end - runStart >= 3;
    const long literalEnd = run ? runStart : end;
    if (literalEnd > start) {
      out.push_back(static_cast<std::uint8_t>(literalEnd - start - 1));
      out.insert(out.end(), in.begin() + start, in.begin() + literalEnd);
    }
    if (run) out.insert(out.end(), {static_cast<std::uint8_t>(1 - (end - runStart)), in[runStart]});
  };
  for (long i = 0; i < static_cast<long>(in.size());) {
    const long b = in[i];
    if (b == previous && runStart < 0) runStart = i - 1;
    if (b != previous) {
      if (runStart >= 0 && i - runStart >= 3) {
        flush(i);
        start = i++, span = 1, previous = b, runStart = -1;
        continue;
      }
      runStart = -1, previous = b;
    }
    ++i;
    if (++span < 128) continue;
    flush(i);
    start = i, span = 0, runStart = -1, previous = 1000;
  }
  if (span > 0) flush(static_cast<long>(in.size()));
  return out;
}

Bytes ramp(std::size_t n, std::uint8_t first = 0) {
  Bytes b(n);
  for (std::size_t i = 0; i < n; ++i) b[i] = static_cast<std::uint8_t>(first + i);
  return b;
}
Bytes join(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

TEST(PackBits, CodesTheListedCases) {
  const struct {
    const char* name;
    Bytes in, out;
  } cases[] = {
      {"empty", {}, {}},
      {"one byte", {7}, {0, 7}},
      {"run of three", {9, 9, 9}, {0xFE, 9}},
      {"pair stays literal", {9, 9, 4}, {2, 9, 9, 4}},
      {"128 equal", Bytes(128, 5), {0x81, 5}},
      {"129 equal", Bytes(129, 5), {0x81, 5, 0, 5}},
      {"200 distinct", ramp(200), join({{127}, ramp(128), {71}, ramp(72, 128)})},
      {"ends in a run", {1, 2, 3, 3, 3}, {1, 1, 2, 0xFE, 3}},
      {"cut inside a run", join({ramp(126, 10), Bytes(5, 0)}),
       join({{127}, ramp(126, 10), {0, 0, 0xFE, 0}})},
      {"run cut at the window", join({ramp(120, 10), Bytes(20, 3)}),
       join({{119}, ramp(120, 10), {0xF9, 3, 0xF5, 3}})},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(pack(c.in), c.out) << c.name;
    EXPECT_EQ(referencePackBits(c.in), c.out) << c.name;
  }
}

TEST(PackBits, FollowsItsAlgorithmOnRandomRows) {
  std::mt19937 rng(20240611);
  for (int trial = 0; trial < 40000; ++trial) {
    Bytes row;
    const std::size_t length = rng() % 2200;
    const std::uint32_t values = 1 + rng() % 6;  // few values: runs of every length
    while (row.size() < length) {
      const std::size_t n = 1 + (rng() % 4 == 0 ? rng() % 300 : rng() % 4);
      const auto v = static_cast<std::uint8_t>(values == 6 ? rng() : rng() % values);
      row.insert(row.end(), std::min(n, length - row.size()), v);
    }
    const Bytes code = pack(row);
    ASSERT_EQ(code, referencePackBits(row)) << "trial " << trial;
    Bytes back;
    ASSERT_TRUE(inspect::unpackBits(code, &back));
    ASSERT_EQ(back, row) << "trial " << trial;
  }
}

TEST(SeedRowCode, CodesChangedBytesAgainstTheSeed) {
  // A row of n bytes 0x11 with the bytes at `changed` set to 0x40 + position % 64.
  const auto row = [](std::size_t n, std::vector<std::size_t> changed, std::size_t upTo = 0) {
    Bytes r(n, 0x11);
    for (std::size_t i = 0; i < upTo; ++i) changed.push_back(i);
    for (std::size_t at : changed) r[at] = static_cast<std::uint8_t>(0x40 + at % 64);
    return r;
  };
  const struct {
    const char* name;
    Bytes row;
    const char* code;  // null when abandoned
  } cases[] = {
      {"unchanged", row(10, {}), ""},
      {"nine bytes: eight, then one at offset 0", row(20, {2, 3, 4, 5, 6, 7, 8, 9, 10}),
       "E2 42 43 44 45 46 47 48 49 00 4A"},
      {"offset from the previous replacement", row(20, {3, 4, 10}), "23 43 44 05 4A"},
      {"offset 30", row(40, {30}), "1E 5E"},
      {"offset 31 adds a zero byte", row(40, {31}), "1F 00 5F"},
      {"offset 286", row(300, {0, 287}), "00 40 1F FF 00 5F"},
      {"one byte short of the row", row(10, {}, 8), "E0 40 41 42 43 44 45 46 47"},
      {"as long as the row", row(9, {}, 8), nullptr},
      {"offset bytes count", row(264, {263}, 232), nullptr},
  };
  for (const auto& c : cases) {
    const Bytes seed(c.row.size(), 0x11);
    Bytes out(c.row.size());
    const std::int32_t length = kelm_SeedRowCode(
        seed.data(), c.row.data(), static_cast<std::int32_t>(c.row.size()), out.data());
    ASSERT_EQ(length < 0, c.code == nullptr) << c.name;
    if (length < 0) continue;
    out.resize(static_cast<std::size_t>(length));
    EXPECT_EQ(testsupport::hex(out), c.code) << c.name;
    Bytes rebuilt = seed;
    ASSERT_TRUE(inspect::applySeedRow(out, &rebuilt));
    EXPECT_EQ(rebuilt, c.row) << c.name;
  }
}

}  // namespace

namespace {

// Delta-row commands written byte by byte; empty with `abandoned` set when the code would
// reach the row's length.
Bytes referenceSeedRow(const Bytes& seed, const Bytes& row, bool* abandoned) {
  Bytes out;
  std::size_t replaced = 0, at = 0;
  const std::size_t n = row.size();
  *abandoned = false;
  while (at < n) {
    if (seed[at] == row[at]) {
      ++at;
      continue;
    }
    std::size_t end = at;
    while (end < n && seed[end] != row[end]) ++end;
    std::size_t offset = at - replaced;
    for (; at < end; at += 8, offset = 0) {
      const std::size_t count = std::min<std::size_t>(8, end - at);
      out.push_back(
          static_cast<std::uint8_t>((count - 1) << 5 | std::min<std::size_t>(offset, 31)));
      if (offset >= 31) {
        std::size_t rest = offset - 31;
        for (; rest >= 255; rest -= 255) out.push_back(255);
        out.push_back(static_cast<std::uint8_t>(rest));
      }
      out.insert(out.end(), row.begin() + at, row.begin() + at + count);
    }
    at = replaced = end;
  }
  if (out.size() >= n && n > 0) {
    *abandoned = true;
    out.clear();
  }
  return out;
}

TEST(SeedRowCode, FollowsTheCommandsOnRandomRows) {
  // Changes in stretches of every length, so runs start, end and pass at every position of
  // the coder's 64-byte blocks, gaps reach the offset continuation, and codes land on both
  // sides of the row's length.
  std::mt19937 rng(7031);
  int abandonedCount = 0;
  for (int trial = 0; trial < 20000; ++trial) {
    const std::size_t n = 1 + rng() % 1500;
    Bytes seed(n), row(n);
    for (auto& b : seed) b = static_cast<std::uint8_t>(rng());
    row = seed;
    const std::uint32_t density = rng() % 10;
    for (std::size_t i = 0; i < n;) {
      const std::size_t stretch = 1 + (rng() % 3 == 0 ? rng() % 400 : rng() % 12);
      const bool change = rng() % 10 < density;
      for (std::size_t k = i; k < std::min(n, i + stretch); ++k) {
        if (change) row[k] = static_cast<std::uint8_t>(seed[k] + 1 + rng() % 255);
      }
      i += stretch;
    }
    bool abandoned = false;
    const Bytes want = referenceSeedRow(seed, row, &abandoned);
    Bytes out(n);
    const std::int32_t length =
        kelm_SeedRowCode(seed.data(), row.data(), static_cast<std::int32_t>(n), out.data());
    ASSERT_EQ(length < 0, abandoned) << "trial " << trial;
    abandonedCount += abandoned;
    if (abandoned) continue;
    out.resize(static_cast<std::size_t>(length));
    ASSERT_EQ(out, want) << "trial " << trial;
  }
  EXPECT_GT(abandonedCount, 500);
  EXPECT_LT(abandonedCount, 19500);
}

}  // namespace
