#include "kelm/row_coding.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "inspect/raster.h"
#include "kelm/kelm.h"

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
  const auto literal = [&](std::size_t from, std::size_t to) {
    if (to == from) return;
    out.push_back(static_cast<std::uint8_t>(to - from - 1));
    out.insert(out.end(), in.begin() + static_cast<long>(from), in.begin() + static_cast<long>(to));
  };
  const auto run = [&](std::size_t from, std::size_t to) {
    out.push_back(static_cast<std::uint8_t>(1 - static_cast<int>(to - from)));
    out.push_back(in[from]);
  };
  std::size_t start = 0;
  std::size_t span = 0;
  int previous = 1000;
  long runStart = -1;
  for (std::size_t i = 0; i < in.size();) {
    const int b = in[i];
    if (b == previous && runStart < 0) runStart = static_cast<long>(i) - 1;
    if (b != previous) {
      if (runStart >= 0 && i - static_cast<std::size_t>(runStart) >= 3) {
        literal(start, static_cast<std::size_t>(runStart));
        run(static_cast<std::size_t>(runStart), i);
        start = i++;
        span = 1;
        previous = b;
        runStart = -1;
        continue;
      }
      runStart = -1;
      previous = b;
    }
    ++i;
    if (++span < 128) continue;
    if (runStart < 0 || i - static_cast<std::size_t>(runStart) < 3) {
      literal(start, i);
    } else {
      literal(start, static_cast<std::size_t>(runStart));
      run(static_cast<std::size_t>(runStart), i);
    }
    start = i;
    span = 0;
    runStart = -1;
    previous = 1000;
  }
  if (span > 0) {
    if (runStart < 0 || in.size() - static_cast<std::size_t>(runStart) < 3) {
      literal(start, in.size());
    } else {
      literal(start, static_cast<std::size_t>(runStart));
      run(static_cast<std::size_t>(runStart), in.size());
    }
  }
  return out;
}

Bytes repeat(std::size_t n, std::uint8_t v) {
  return Bytes(n, v);
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
    Bytes in;
    Bytes out;
  } cases[] = {
      {"empty", {}, {}},
      {"one byte", {7}, {0, 7}},
      {"run of three", {9, 9, 9}, {0xFE, 9}},
      {"pair stays literal", {9, 9, 4}, {2, 9, 9, 4}},
      {"128 equal", repeat(128, 5), {0x81, 5}},
      {"129 equal", repeat(129, 5), {0x81, 5, 0, 5}},
      {"200 distinct", ramp(200), join({{127}, ramp(128), {71}, ramp(72, 128)})},
      {"ends in a run", {1, 2, 3, 3, 3}, {1, 1, 2, 0xFE, 3}},
      {"pair then run", {5, 5, 6, 7, 7, 7, 7}, {2, 5, 5, 6, 0xFD, 7}},
      {"cut inside a run", join({ramp(126, 10), repeat(5, 0)}),
       join({{127}, ramp(126, 10), {0, 0}, {0xFE, 0}})},
      {"run inside the window", join({ramp(120, 10), repeat(20, 3)}),
       join({{119}, ramp(120, 10), {0xF9, 3}, {0xF5, 3}})},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(pack(c.in), c.out);
    EXPECT_EQ(referencePackBits(c.in), c.out);
  }
}

TEST(PackBits, MatchesItsAlgorithmAndRestoresRandomRows) {
  std::mt19937 rng(20240611);
  for (int trial = 0; trial < 3000; ++trial) {
    Bytes row;
    const std::size_t length = rng() % 900;
    const std::uint32_t alphabet = 1 + rng() % 6;  // few values: many runs of every length
    while (row.size() < length) {
      const std::size_t n = 1 + (rng() % 4 == 0 ? rng() % 300 : rng() % 4);
      const auto v = static_cast<std::uint8_t>(alphabet == 6 ? rng() : rng() % alphabet);
      row.insert(row.end(), std::min(n, length - row.size()), v);
    }
    const Bytes code = pack(row);
    ASSERT_EQ(code, referencePackBits(row)) << "trial " << trial;
    Bytes back;
    ASSERT_TRUE(inspect::unpackBits(code, &back));
    ASSERT_EQ(back, row) << "trial " << trial;
  }
}

TEST(PackBits, AppendsBehindEarlierCode) {
  const Bytes a = {1, 1, 1, 1}, b = {2, 3};
  Bytes out(16);
  unsigned char* dst = out.data();
  const unsigned char* src = a.data();
  packBits(src, dst, 4);
  src = b.data();
  packBits(src, dst, 2);
  out.resize(static_cast<std::size_t>(dst - out.data()));
  EXPECT_EQ(out, (Bytes{0xFD, 1, 1, 2, 3}));
}

TEST(SeedRowCode, CodesChangedBytesAgainstTheSeed) {
  const auto with = [](std::size_t n, const std::vector<std::size_t>& changed) {
    Bytes row(n, 0x11);
    for (std::size_t at : changed) row[at] = static_cast<std::uint8_t>(0x40 + at % 64);
    return row;
  };
  // Bytes 0 .. n-1 and `more`.
  const auto changedUpTo = [](std::size_t n, std::initializer_list<std::size_t> more) {
    std::vector<std::size_t> at(more);
    for (std::size_t i = 0; i < n; ++i) at.push_back(i);
    return at;
  };
  const struct {
    const char* name;
    Bytes row;
    Bytes code;  // empty with `abandoned`
    bool abandoned;
  } cases[] = {
      {"unchanged", with(10, {}), {}, false},
      {"first byte", with(10, {0}), {0x00, 0x40}, false},
      {"offset 30", with(40, {30}), {30, 0x40 + 30}, false},
      {"offset 31 adds a zero byte", with(40, {31}), {31, 0, 0x40 + 31}, false},
      {"nine bytes: eight, then one at offset 0",
       with(20, {2, 3, 4, 5, 6, 7, 8, 9, 10}),
       {0xE2, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49, 0x00, 0x4A},
       false},
      {"offset counted from the previous replacement",
       with(20, {3, 4, 10}),
       {0x23, 0x43, 0x44, 0x05, 0x4A},
       false},
      {"offset 286", with(300, {0, 287}), {0x00, 0x40, 31, 255, 0, 0x40 + 287 % 64}, false},
      {"offset 300", with(320, {300}), {31, 255, 14, 0x40 + 300 % 64}, false},
      {"code one short of the row",
       with(10, {0, 1, 2, 3, 4, 5, 6, 7}),
       {0xE0, 0x40, 0x41, 0x42, 0x43, 0x44, 0x45, 0x46, 0x47},
       false},
      {"code as long as the row", with(9, {0, 1, 2, 3, 4, 5, 6, 7}), {}, true},
      {"every byte changed", with(9, {0, 1, 2, 3, 4, 5, 6, 7, 8}), {}, true},
      {"offset bytes count toward the row", with(264, changedUpTo(232, {263})), {}, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Bytes seed(c.row.size(), 0x11);
    Bytes out(c.row.size());
    const std::int32_t length = kelm_SeedRowCode(
        seed.data(), c.row.data(), static_cast<std::int32_t>(c.row.size()), out.data());
    if (c.abandoned) {
      EXPECT_EQ(length, -1);
      continue;
    }
    ASSERT_GE(length, 0);
    out.resize(static_cast<std::size_t>(length));
    EXPECT_EQ(out, c.code);
    Bytes rebuilt = seed;
    ASSERT_TRUE(inspect::applySeedRow(out, &rebuilt));
    EXPECT_EQ(rebuilt, c.row);
  }
}

TEST(SeedRowCode, RestoresRandomRowsOrGivesUp) {
  std::mt19937 rng(77);
  int coded = 0;
  for (int trial = 0; trial < 2000; ++trial) {
    const std::size_t n = 1 + rng() % 700;
    Bytes seed(n), row(n);
    for (auto& b : seed) b = static_cast<std::uint8_t>(rng());
    row = seed;
    const std::uint32_t changes = rng() % (n / 4 + 2);
    for (std::uint32_t i = 0; i < changes; ++i) {
      std::size_t at = rng() % n;
      for (std::size_t k = rng() % 12; k > 0 && at < n; --k, ++at) row[at] ^= 0x5A;
    }
    Bytes out(n);
    const std::int32_t length =
        kelm_SeedRowCode(seed.data(), row.data(), static_cast<std::int32_t>(n), out.data());
    if (length < 0) continue;
    ++coded;
    ASSERT_LT(static_cast<std::size_t>(length), n);
    out.resize(static_cast<std::size_t>(length));
    ASSERT_TRUE(inspect::applySeedRow(out, &seed));
    ASSERT_EQ(seed, row) << "trial " << trial;
  }
  EXPECT_GT(coded, 1000);
}

TEST(TrimmedLength, StopsAtTheLastNonBlankByte) {
  Bytes row(37, 0xFF);
  EXPECT_EQ(kelm_TrimmedLength(row.data(), 37, 0xFF), 0);
  EXPECT_EQ(kelm_TrimmedLength(row.data(), 37, 0x00), 37);
  for (std::size_t at : {0u, 5u, 28u, 29u, 36u}) {
    Bytes r = row;
    r[at] = 0xFE;
    EXPECT_EQ(kelm_TrimmedLength(r.data(), 37, 0xFF), static_cast<std::int32_t>(at) + 1);
  }
}

}  // namespace
