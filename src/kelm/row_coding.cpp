// Row coders: PackBits, seed-row coding and the blank-byte scans.
#include "kelm/row_coding.h"

#include <algorithm>
#include <bit>
#include <cstring>

// SSE2 compares 16 bytes at once; elsewhere, or built with -DZELPGEN_NO_SIMD, eight bytes
// go through a 64-bit word.
#if defined(__SSE2__) && !defined(ZELPGEN_NO_SIMD)
#define ZELPGEN_ROW_SSE2 1
#include <emmintrin.h>
#endif

#include "kelm/kelm.h"

namespace {

// Eight bytes as a little-endian number, assembled byte by byte: byte i of memory is bits
// 8i..8i+7 on any host (compilers turn this into a single load).
std::uint64_t load8(const unsigned char* p) {
  return std::uint64_t{p[0]} | std::uint64_t{p[1]} << 8 | std::uint64_t{p[2]} << 16 |
         std::uint64_t{p[3]} << 24 | std::uint64_t{p[4]} << 32 | std::uint64_t{p[5]} << 40 |
         std::uint64_t{p[6]} << 48 | std::uint64_t{p[7]} << 56;
}

constexpr std::uint64_t kOnes = 0x0101010101010101ULL;

#if !defined(ZELPGEN_ROW_SSE2)
constexpr std::uint64_t kLowBits = 0x7F7F7F7F7F7F7F7FULL;
constexpr std::uint64_t kHighBits = 0x8080808080808080ULL;
constexpr std::uint64_t kGather = 0x0102040810204080ULL;

// The top bit of every byte of `v` that is zero, and no other bit.
std::uint64_t zeroBytes(std::uint64_t v) {
  return ~(((v & kLowBits) + kLowBits) | v) & kHighBits;
}
#endif

// Bit i set when p[i] == q[i], for i < 64.
std::uint64_t equalBits(const unsigned char* p, const unsigned char* q) {
  std::uint64_t bits = 0;
#if defined(ZELPGEN_ROW_SSE2)
  for (int k = 0; k < 64; k += 16) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + k));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(q + k));
    bits |= std::uint64_t{static_cast<std::uint16_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(a, b)))} << k;
  }
#else
  for (int k = 0; k < 64; k += 8) {
    // One bit per byte, gathered into the low byte in memory order.
    bits |= (((zeroBytes(load8(p + k) ^ load8(q + k)) >> 7) * kGather) >> 56) << k;
  }
#endif
  return bits;
}

// Bit i set when three equal bytes start at p + i, for i < 64; reads p[0] .. p[65].
std::uint64_t tripleBits(const unsigned char* p) {
  return equalBits(p, p + 1) & equalBits(p + 1, p + 2);
}

std::uint64_t tripleBitsNearEnd(const unsigned char* p, const unsigned char* end) {
  std::uint64_t bits = 0;
  for (int i = 0; i < 64 && end - (p + i) >= 3; ++i) {
    if (p[i] == p[i + 1] && p[i + 1] == p[i + 2]) bits |= std::uint64_t{1} << i;
  }
  return bits;
}

// Where runs of three equal bytes start, 64 positions at a time, for a scan that only moves
// forward.
class TripleMap {
 public:
  TripleMap(const unsigned char* begin, const unsigned char* end) : base_(begin), end_(end) {
    load();
  }
  // Bits from position q to the end of its block of 64.
  std::uint64_t from(const unsigned char* q) {
    while (q - base_ >= 64) {
      base_ += 64;
      load();
    }
    return bits_ >> (q - base_);
  }
  const unsigned char* blockEnd() const { return base_ + 64; }

 private:
  void load() { bits_ = end_ - base_ >= 66 ? tripleBits(base_) : tripleBitsNearEnd(base_, end_); }
  const unsigned char* base_;
  const unsigned char* end_;
  std::uint64_t bits_ = 0;
};

// Copies n bytes (1 to 128), in two fixed pieces of 64 when both sides have room for them:
// fixed-size copies keep the branch on the length out of the common case.
unsigned char* copyBytes(unsigned char* out, const unsigned char* outLimit,
                         const unsigned char* from, const unsigned char* fromLimit,
                         std::ptrdiff_t n) {
  if (outLimit - out >= 128 && fromLimit - from >= 128) {
    std::memcpy(out, from, 64);
    if (n > 64) std::memcpy(out + 64, from + 64, 64);
  } else {
    std::memcpy(out, from, static_cast<std::size_t>(n));
  }
  return out + n;
}

// Bit i set when the row differs from its seed at byte i, for the up to 64 bytes from `at`.
std::uint64_t differenceBits(const unsigned char* seed, const unsigned char* row, std::int32_t at,
                             std::int32_t n) {
  std::uint64_t bits = 0;
  if (n - at >= 64) {
    bits = ~equalBits(seed + at, row + at);
  } else {
    for (std::int32_t i = 0; at + i < n; ++i) {
      if (seed[at + i] != row[at + i]) bits |= std::uint64_t{1} << i;
    }
  }
  return bits;
}

// Writes the delta-row commands for one run of changed bytes.
class SeedRowWriter {
 public:
  SeedRowWriter(const unsigned char* row, std::int32_t n, unsigned char* out)
      : row_(row), n_(n), out_(out) {}
  // False when the code would reach the row's length.
  bool run(std::int32_t at, std::int32_t end) {
    const std::int32_t offset = at - replaced_;
    const std::int32_t count = end - at;
    const std::int32_t extra = offset >= 31 ? (offset - 31) / 255 + 1 : 0;
    if (length_ + count + (count + 7) / 8 + extra >= n_) return false;
    replaced_ = end;
    command(at, std::min<std::int32_t>(8, count), offset);
    for (at += 8; at < end; at += 8) command(at, std::min<std::int32_t>(8, end - at), 0);
    return true;
  }
  std::int32_t length() const { return length_; }

 private:
  void command(std::int32_t at, std::int32_t count, std::int32_t offset) {
    out_[length_++] =
        static_cast<unsigned char>(((count - 1) << 5) | std::min<std::int32_t>(offset, 31));
    if (offset >= 31) {
      std::int32_t rest = offset - 31;
      for (; rest >= 255; rest -= 255) out_[length_++] = 255;
      out_[length_++] = static_cast<unsigned char>(rest);
    }
    // Eight bytes at once where both sides have room; only `count` of them are kept.
    if (n_ - length_ >= 8 && n_ - at >= 8) {
      std::memcpy(out_ + length_, row_ + at, 8);
    } else {
      std::memcpy(out_ + length_, row_ + at, static_cast<std::size_t>(count));
    }
    length_ += count;
  }
  const unsigned char* row_;
  std::int32_t n_;
  unsigned char* out_;
  std::int32_t length_ = 0;
  std::int32_t replaced_ = 0;  // end of the previous replacement
};

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
  // The caller's buffer holds the bound; copies may run ahead into it, never past it.
  const unsigned char* const outLimit = dst + kelm_PackBitsBound(count);
  TripleMap triples(src, end);
  while (p < end) {
    const unsigned char* const window = end - p > 128 ? p + 128 : end;
    // The first run of three that fits in the window.
    const unsigned char* run = window;
    for (const unsigned char* q = p; window - q >= 3; q = triples.blockEnd()) {
      if (const std::uint64_t bits = triples.from(q); bits != 0) {
        const unsigned char* start = q + std::countr_zero(bits);
        if (window - start >= 3) run = start;
        break;
      }
    }
    if (run > p) {
      *out = static_cast<unsigned char>(run - p - 1);
      out = copyBytes(out + 1, outLimit, p, end, run - p);
    }
    if (run == window) {
      p = window;
      continue;
    }
    // The run goes on two bytes past the last position where three equal bytes start.
    const unsigned char* last = run;
    for (const unsigned char* q = run;; q = triples.blockEnd()) {
      if (const std::uint64_t gaps = ~triples.from(q);
          gaps != 0 && q + std::countr_zero(gaps) < triples.blockEnd()) {
        last = q + std::countr_zero(gaps);
        break;
      }
      if (triples.blockEnd() >= window) {
        last = window;
        break;
      }
    }
    const unsigned char* runEnd = std::min(last + 2, window);
    out[0] = static_cast<unsigned char>(1 - (runEnd - run));
    out[1] = *run;
    out += 2;
    p = runEnd;
  }
  src = end;
  dst = out;
}

// Runs of changed bytes are found 64 bytes at a time from a bit mask; a run that reaches the
// end of its block is carried into the next.
std::int32_t kelm_SeedRowCode(const unsigned char* seed, const unsigned char* row, std::int32_t n,
                              unsigned char* out) {
  if (n <= 0) return 0;
  SeedRowWriter writer(row, n, out);
  std::int32_t pending = -1;  // start of a run that reached the previous block's end
  // The block start stops short of n, so it never passes the largest row length.
  for (std::int32_t base = 0; base<n; base = n - base> 64 ? base + 64 : n) {
    std::uint64_t bits = differenceBits(seed, row, base, n);
    if (pending >= 0) {
      const int ones = std::countr_one(bits);
      if (ones == 64) continue;
      if (!writer.run(pending, base + ones)) return -1;
      pending = -1;
      bits &= ~std::uint64_t{0} << ones;
    }
    while (bits != 0) {
      const int start = std::countr_zero(bits);
      const int ones = std::countr_one(bits >> start);
      if (start + ones == 64) {
        pending = base + start;
        break;
      }
      if (!writer.run(base + start, base + start + ones)) return -1;
      bits &= ~std::uint64_t{0} << (start + ones);
    }
  }
  if (pending >= 0 && !writer.run(pending, n)) return -1;
  return writer.length();
}

std::int32_t kelm_TrimmedLength(const unsigned char* row, std::int32_t n, unsigned char blank) {
  const std::uint64_t pattern = kOnes * blank;
  std::int32_t k = n;
  while (k >= 8 && load8(row + k - 8) == pattern) k -= 8;
  while (k > 0 && row[k - 1] == blank) --k;
  return k;
}
