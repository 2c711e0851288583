#include "kelm/row_coding.h"

#include <algorithm>
#include <cstring>

#include "kelm/kelm.h"

namespace {

// Eight bytes at a time, only ever compared for equality or tested for a zero byte, so the
// host's byte order does not matter.
std::uint64_t load8(const unsigned char* p) {
  std::uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
constexpr std::uint64_t kHighBits = 0x8080808080808080ULL;

bool hasZeroByte(std::uint64_t v) {
  return ((v - kOnes) & ~v & kHighBits) != 0;
}

// First position in [from, end - 2) where three equal bytes start, or end.
const unsigned char* findTriple(const unsigned char* from, const unsigned char* end) {
  const unsigned char* p = from;
  while (end - p >= 10) {
    const std::uint64_t a = load8(p);
    const std::uint64_t b = load8(p + 1);
    const std::uint64_t c = load8(p + 2);
    if (hasZeroByte((a ^ b) | (b ^ c))) break;
    p += 8;
  }
  for (; end - p >= 3; ++p) {
    if (p[0] == p[1] && p[1] == p[2]) return p;
  }
  return end;
}

unsigned char* putLiteral(unsigned char* out, const unsigned char* from, std::ptrdiff_t n) {
  *out++ = static_cast<unsigned char>(n - 1);
  std::memcpy(out, from, static_cast<std::size_t>(n));
  return out + n;
}

std::int32_t firstDifference(const unsigned char* seed, const unsigned char* row, std::int32_t at,
                             std::int32_t n) {
  while (n - at >= 8 && load8(seed + at) == load8(row + at)) at += 8;
  while (at < n && seed[at] == row[at]) ++at;
  return at;
}

}  // namespace

// Each window of up to 128 bytes from the literal start is either one literal segment or the
// literal before its first run of three or more equal bytes followed by that run (cut at the
// window's end). This is what the byte-by-byte scan with its 128-byte span produces, found
// with word-wide compares instead.
void packBits(const unsigned char*& src, unsigned char*& dst, std::int32_t count) {
  if (count <= 0) return;
  const unsigned char* p = src;
  const unsigned char* const end = src + count;
  unsigned char* out = dst;
  while (p < end) {
    const unsigned char* window = end - p > 128 ? p + 128 : end;
    const unsigned char* run = findTriple(p, window);
    if (run == window) {
      out = putLiteral(out, p, window - p);
      p = window;
      continue;
    }
    if (run > p) out = putLiteral(out, p, run - p);
    const unsigned char* runEnd = run + 3;
    while (runEnd < window && *runEnd == *run) ++runEnd;
    *out++ = static_cast<unsigned char>(1 - (runEnd - run));
    *out++ = *run;
    p = runEnd;
  }
  src = end;
  dst = out;
}

std::int32_t kelm_SeedRowCode(const unsigned char* seed, const unsigned char* row, std::int32_t n,
                              unsigned char* out) {
  std::int32_t length = 0;
  std::int32_t replaced = 0;  // end of the previous replacement
  std::int32_t at = firstDifference(seed, row, 0, n);
  while (at < n) {
    std::int32_t runEnd = at + 1;
    while (runEnd < n && seed[runEnd] != row[runEnd]) ++runEnd;
    std::int32_t offset = at - replaced;
    while (at < runEnd) {
      const std::int32_t count = std::min<std::int32_t>(8, runEnd - at);
      const std::int32_t more = offset >= 31 ? (offset - 31) / 255 + 1 : 0;
      if (length + 1 + more + count >= n) return -1;
      out[length++] =
          static_cast<unsigned char>(((count - 1) << 5) | std::min<std::int32_t>(offset, 31));
      if (offset >= 31) {
        std::int32_t rest = offset - 31;
        for (; rest >= 255; rest -= 255) out[length++] = 255;
        out[length++] = static_cast<unsigned char>(rest);
      }
      std::memcpy(out + length, row + at, static_cast<std::size_t>(count));
      length += count;
      at += count;
      offset = 0;
    }
    replaced = runEnd;
    at = firstDifference(seed, row, runEnd, n);
  }
  return length;
}

std::int32_t kelm_TrimmedLength(const unsigned char* row, std::int32_t n, unsigned char blank) {
  const std::uint64_t pattern = kOnes * blank;
  std::int32_t k = n;
  while (k >= 8 && load8(row + k - 8) == pattern) k -= 8;
  while (k > 0 && row[k - 1] == blank) --k;
  return k;
}
