// Round trip of each row coder against the inspector's decoders; any difference aborts.
// The first byte chooses the coder: PackBits, seed row, or a block of PackBits plane rows
// each ended by the mark, trimmed of blank bytes first as the band emission does.
#include <cstdlib>
#include <vector>

#include "fuzz.h"
#include "inspect/raster.h"
#include "kelm/kelm.h"
#include "kelm/row_coding.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Span = std::span<const std::uint8_t>;

void check(bool ok) {
  if (!ok) std::abort();
}

// The code in a buffer of exactly the coder's bound, so a write past it is caught.
Bytes pack(Span row) {
  const auto n = static_cast<std::int32_t>(row.size());
  Bytes code(static_cast<std::size_t>(kelm_PackBitsBound(n)));
  const unsigned char* src = row.data();
  unsigned char* dst = code.data();
  packBits(src, dst, n);
  check(src == row.data() + row.size());
  code.resize(static_cast<std::size_t>(dst - code.data()));
  return code;
}

void packBitsRoundTrip(Span row) {
  Bytes decoded;
  check(inspect::unpackBits(pack(row), &decoded));
  check(Bytes(row.begin(), row.end()) == decoded);
}

void seedRowRoundTrip(Span bytes) {
  const std::size_t n = bytes.size() / 2;
  const Span seed = bytes.first(n);
  const Span row = bytes.subspan(n, n);
  Bytes code(n);
  const std::int32_t length =
      kelm_SeedRowCode(seed.data(), row.data(), static_cast<std::int32_t>(n), code.data());
  if (length < 0) return;  // the caller sends the row another way
  check(static_cast<std::size_t>(length) < n || n == 0);
  Bytes decoded(seed.begin(), seed.end());
  check(inspect::applySeedRow(Span(code).first(static_cast<std::size_t>(length)), &decoded));
  check(Bytes(row.begin(), row.end()) == decoded);
}

void blockRoundTrip(Span bytes) {
  if (bytes.empty()) return;
  const unsigned char blank = bytes[0] & 1 ? 0xFF : 0x00;
  const std::size_t rows = 1 + bytes[0] / 2 % 8;
  bytes = bytes.subspan(1);
  std::vector<Span> planeRows;
  for (std::size_t i = 0; i < rows; ++i) {
    const std::size_t from = bytes.size() * i / rows;
    const std::size_t to = bytes.size() * (i + 1) / rows;
    const Span row = bytes.subspan(from, to - from);
    planeRows.push_back(row.first(static_cast<std::size_t>(
        kelm_TrimmedLength(row.data(), static_cast<std::int32_t>(row.size()), blank))));
  }
  std::size_t room = 0;
  for (Span row : planeRows) room += static_cast<std::size_t>(kelm_PackBitsBound(row.size())) + 1;
  Bytes block(room);
  unsigned char* out = block.data();
  for (Span row : planeRows) {
    const unsigned char* src = row.data();
    packBits(src, out, static_cast<std::int32_t>(row.size()));
    *out++ = 0x80;
  }
  Span code(block.data(), static_cast<std::size_t>(out - block.data()));
  for (Span row : planeRows) {
    Bytes decoded;
    std::size_t used = 0;
    check(inspect::unpackBits(code, &decoded, true, &used));
    check(Bytes(row.begin(), row.end()) == decoded);
    code = code.subspan(used);
  }
  check(code.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const Span rest(data + 1, size - 1);
  switch (data[0] % 3) {
    case 0:
      packBitsRoundTrip(rest);
      break;
    case 1:
      seedRowRoundTrip(rest);
      break;
    default:
      blockRoundTrip(rest);
      break;
  }
  return 0;
}
