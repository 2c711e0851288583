// Band emission: working memory sized for the mode, rows coded and sent plane by plane.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <vector>

#include "diag/diag.h"
#include "kelm/codes.h"
#include "kelm/kelm.h"
#include "kelm/row_coding.h"
#include "kelm/state.h"
#include "zelp/zelp.h"

using namespace kelm;

namespace {

KelmState& s() {
  return kelm_State();
}

// What a processing mode asks of the band emission. A compression no row of the table has
// sends rows as they are.
struct ModeLayout {
  const compression::Kind* kind = &compression::kKinds[0];
  bool pixel = false;  // planes interleaved into one row
  unsigned char blank = 0;
  bool coded() const { return kind->code != compression::kNone; }
  bool block() const { return kind->block; }
  bool seedRow() const { return kind->seedRow; }
};

ModeLayout layoutOf(std::int32_t mode) {
  const int family = familyOf(mode);
  ModeLayout layout;
  if (const compression::Kind* kind = compression::find(compressionOf(mode))) layout.kind = kind;
  layout.pixel = family == family::kPixelRGB;
  // RGB planes are blank when white, ink planes when empty.
  layout.blank = (family == family::kRGBOnePlane || family == family::kRGBThreePlanes ||
                  family == family::kPixelRGB)
                     ? 0xFF
                     : 0x00;
  return layout;
}

struct RowView {
  const unsigned char* data = nullptr;
  std::int32_t n = 0;
};

const LXGWorld* handle(const LXGWorld* world) {
  return world->self != nullptr ? world->self : world;
}

// ceil(depth x width / 8) bytes, never more than the buffer's row stride.
std::int32_t planeRowBytes(const LXGWorld* world, std::int32_t depth) {
  if (world == nullptr || depth <= 0) return 0;
  const LXGWorld* g = handle(world);
  const std::int64_t width = std::int64_t{g->bounds.right} - g->bounds.left;
  if (width <= 0) return 0;
  const std::int64_t n = (width * depth + 7) / 8;
  return static_cast<std::int32_t>(std::min<std::int64_t>(n, g->rowBytes));
}

// Row `r` of a plane; a plane without a buffer, or a row outside it, is empty.
RowView planeRow(const LXGWorld* world, std::int32_t depth, std::int32_t r) {
  if (world == nullptr || r < 0) return {};
  const LXGWorld* g = handle(world);
  if (g->baseAddr == nullptr || std::int64_t{r} >= std::int64_t{g->bounds.bottom} - g->bounds.top) {
    return {};
  }
  return {g->baseAddr + std::size_t{g->rowBytes} * static_cast<std::size_t>(r),
          planeRowBytes(world, depth)};
}

std::int32_t countPlanes(const KELMPlane* planes) {
  std::int32_t count = 0;
  for (const KELMPlane* p = planes; p != nullptr; p = p->next.get()) ++count;
  return count;
}

std::int64_t interleavedRowBytes(const KELMPlane* planes) {
  if (planes == nullptr || planes->world == nullptr) return 0;
  return std::int64_t{countPlanes(planes)} * handle(planes->world)->rowBytes;
}

// Room for the coded form of one row, or of a whole block, whatever the printable width.
std::int64_t codeBytesNeeded(const KELMPlane* planes, const ModeLayout& layout) {
  if (!layout.coded()) return 0;
  std::int64_t row = 0;
  if (layout.pixel) {
    row = kelm_PackBitsBound(s().mPixelByPixelCodeDataBytes) + (layout.block() ? 1 : 0);
  } else {
    const KELMPlane* p = planes;
    for (int i = 1; i <= s().mNumOfPlanes; ++i) {
      const std::int64_t bound =
          kelm_PackBitsBound(p != nullptr ? planeRowBytes(p->world, p->depth) : 0);
      row = layout.block() ? row + bound + 1 : std::max(row, bound);
      if (p != nullptr) p = p->next.get();
    }
  }
  return layout.block() ? row * compression::kBlockRows : row;
}

bool ensureSize(std::vector<unsigned char>& buffer, std::int64_t bytes) {
  if (bytes <= 0 || static_cast<std::size_t>(bytes) <= buffer.size()) return true;
  try {
    buffer.resize(static_cast<std::size_t>(bytes));
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

std::int32_t toInt32(std::int64_t v) {
  return static_cast<std::int32_t>(std::min<std::int64_t>(v, INT32_MAX));
}

// Sizes the buffers for these planes; false when memory is refused.
bool prepareWorkingMemory(const KELMPlane* planes, const ModeLayout& layout) {
  KelmState& st = s();
  if (layout.pixel) {
    const std::int64_t n = interleavedRowBytes(planes);
    st.mPixelByPixelCodeDataBytes = toInt32(n);
    if (!ensureSize(st.mPixelByPixelCodeData, n)) return false;
    if (layout.seedRow() && !ensureSize(st.mPixelByPixelSeedData, n)) return false;
  }
  const std::int64_t code = codeBytesNeeded(planes, layout);
  if (code > 0) st.mCodeDataBytes = toInt32(code);
  return ensureSize(st.mCodeData, code);
}

void release(std::vector<unsigned char>& buffer) {
  std::vector<unsigned char>().swap(buffer);
}

void sendBlankPlaneRow(bool last) {
  ZELP_SendData(last ? "\x1b*b0W" : "\x1b*b0V", 5);
}

void sendRow(const unsigned char* bytes, std::int32_t n, bool last) {
  sendNumbered("*b", n, last ? 'W' : 'V');
  ZELP_SendData(bytes, n);
}

void sendBlock(unsigned char* end) {
  KelmState& st = s();
  const std::int64_t length = end - st.mCodeData.data();
  sendNumbered("*b", length + 4, 'W');
  const auto width = static_cast<std::uint32_t>(st.mDeviceWidthInPixel);
  const unsigned char widthBytes[4] = {
      static_cast<unsigned char>(width >> 24), static_cast<unsigned char>(width >> 16),
      static_cast<unsigned char>(width >> 8), static_cast<unsigned char>(width)};
  ZELP_SendData(widthBytes, 4);
  ZELP_SendData(st.mCodeData.data(), static_cast<int>(length));
  st.paintedLines = 0;
}

// Every plane of the list counts, also those past mNumOfPlanes that are never sent: ink in
// an unsent plane still makes the row non-blank.
bool rowIsBlank(const KELMPlane* planes, std::int32_t r, const ModeLayout& layout) {
  for (const KELMPlane* p = planes; p != nullptr; p = p->next.get()) {
    const RowView row = planeRow(p->world, p->depth, r);
    if (kelm_TrimmedLength(row.data, row.n, layout.blank) != 0) return false;
  }
  return true;
}

// Codes and sends one plane row; `world` is null for the interleaved pixel row. In block modes
// the code goes to `out` and the advanced position is returned.
unsigned char* sSendRaster(unsigned char* out, const LXGWorld* world, std::int8_t depth,
                           std::int32_t row, std::int32_t planeIndex, const ModeLayout& layout) {
  KelmState& st = s();
  const bool last = planeIndex == st.mNumOfPlanes;
  const bool blankVerdict = st.thisIsBlankLine;
  st.thisIsBlankLine = false;

  RowView current;
  RowView seed;
  if (layout.pixel) {
    current = {st.mPixelByPixelCodeData.data(), st.mPixelByPixelCodeDataBytes};
    seed = {st.mPixelByPixelSeedData.data(), st.mPixelByPixelCodeDataBytes};
  } else {
    current = planeRow(world, depth, row);
    seed = planeRow(world, depth, row - 1);
  }

  std::int32_t n = current.n;
  if (!layout.seedRow()) n = blankVerdict ? 0 : kelm_TrimmedLength(current.data, n, layout.blank);

  if (layout.block()) {
    packBits(current.data, out, n);
    *out++ = 0x80;
    return out;
  }
  if (n == 0) {
    sendBlankPlaneRow(last);
    return out;
  }

  unsigned char* const code = st.mCodeData.data();
  int coding = layout.kind->code;
  if (layout.seedRow()) {
    if (row > 0 && !st.seedRowUnknown && seed.data != nullptr && seed.n == n) {
      const std::int32_t length = kelm_SeedRowCode(seed.data, current.data, n, code);
      if (length >= 0) {
        kelm_ChangeCompressionMode(compression::kSeedRow);
        sendRow(code, length, last);
        return out;
      }
    }
    coding = layout.kind->fallback;
    kelm_ChangeCompressionMode(static_cast<std::uint8_t>(coding));
  }
  if (coding == compression::kPackBits) {
    unsigned char* end = code;
    packBits(current.data, end, n);
    sendRow(code, static_cast<std::int32_t>(end - code), last);
  } else {
    sendRow(current.data, n, last);
  }
  return out;
}

}  // namespace

int KELM_KeepWorkingMemory(KELMPlane* planes, std::int32_t mode) {
  KelmState& st = s();
  const ModeLayout layout = layoutOf(mode);
  if (!layout.pixel && !layout.coded()) {
    release(st.mCodeData);
    st.mCodeDataBytes = 0;
    return 0;
  }
  if (layout.pixel && !layout.coded()) {
    // Rows go out straight from the pixel row buffer; the code size is the plain row's.
    release(st.mCodeData);
    std::int32_t maxDepth = 0;
    for (const KELMPlane* p = planes; p != nullptr; p = p->next.get()) {
      maxDepth = std::max<std::int32_t>(maxDepth, p->depth);
    }
    const std::int64_t bits = std::int64_t{maxDepth} * st.mDeviceWidthInPixel;
    st.mCodeDataBytes = static_cast<std::int32_t>(bits >= 0 ? (bits + 7) / 8 : bits / 8);
  }
  if (prepareWorkingMemory(planes, layout)) return 0;
  diag::warn("KELM_KeepWorkingMemory memory error: the image is left out");
  return -1;
}

void KELM_FreeWorkingMemory(std::int32_t) {
  KelmState& st = s();
  release(st.mCodeData);
  release(st.mPixelByPixelCodeData);
  release(st.mPixelByPixelSeedData);
}

void kelm_ChangeCompressionMode(std::uint8_t mode) {
  if (mode == s().mCompressionMode) return;
  s().mCompressionMode = mode;
  sendNumbered("*b", mode, 'M');
}

void KELM_ConvertPixelByPixel(KELMPlane* planes, std::int32_t row) {
  KelmState& st = s();
  const std::size_t n =
      std::min<std::size_t>(static_cast<std::size_t>(std::max(st.mPixelByPixelCodeDataBytes, 0)),
                            st.mPixelByPixelCodeData.size());
  if (n == 0) return;
  unsigned char* out = st.mPixelByPixelCodeData.data();
  std::memset(out, 0, n);
  if (planes == nullptr || planes->world == nullptr) return;
  const std::size_t count = static_cast<std::size_t>(countPlanes(planes));
  const std::size_t stride = std::min<std::size_t>(handle(planes->world)->rowBytes, n / count);
  std::size_t k = 0;
  for (const KELMPlane* p = planes; p != nullptr; p = p->next.get(), ++k) {
    if (p->world == nullptr) continue;
    const LXGWorld* g = handle(p->world);
    if (g->baseAddr == nullptr || row < 0 ||
        std::int64_t{row} >= std::int64_t{g->bounds.bottom} - g->bounds.top) {
      continue;
    }
    // A plane with a shorter stride runs on into its next rows, up to the end of its buffer.
    const std::size_t start = std::size_t{g->rowBytes} * static_cast<std::size_t>(row);
    const std::size_t end =
        std::size_t{g->rowBytes} *
        static_cast<std::size_t>(std::int64_t{g->bounds.bottom} - g->bounds.top);
    const std::size_t bytes = std::min(stride, end - start);
    const unsigned char* src = g->baseAddr + start;
    unsigned char* dst = out + k;
    for (std::size_t i = 0; i < bytes; ++i) dst[i * count] = src[i];
  }
}

void KELM_SendBand(KELMPlane* planes, std::int32_t rows, std::int32_t mode) {
  KelmState& st = s();
  const ModeLayout layout = layoutOf(mode);
  if (!prepareWorkingMemory(planes, layout)) {
    diag::imageError("KELM_SendBand memory error", ENOMEM);
    return;
  }
  st.paintedLines = 0;
  unsigned char* block = st.mCodeData.data();
  for (std::int32_t r = 0; r < rows; ++r) {
    const bool blank = rowIsBlank(planes, r, layout);
    if (blank && layout.seedRow()) {
      ++st.mBlankLines;
      continue;
    }
    st.thisIsBlankLine = blank;
    if (!layout.block() && st.mBlankLines > 0) {
      sendNumbered("*b", st.mBlankLines, 'Y');
      st.mBlankLines = 0;
      st.seedRowUnknown = true;
    }
    if (layout.pixel) {
      KELM_ConvertPixelByPixel(planes, r);
      block = sSendRaster(block, nullptr, planes != nullptr ? planes->depth : 0, r, 1, layout);
      if (layout.seedRow()) st.mPixelByPixelCodeData.swap(st.mPixelByPixelSeedData);
    } else {
      const KELMPlane* p = planes;
      for (std::int32_t i = 1; i <= st.mNumOfPlanes; ++i) {
        block = p != nullptr ? sSendRaster(block, p->world, p->depth, r, i, layout)
                             : sSendRaster(block, nullptr, 0, r, i, layout);
        if (p != nullptr) p = p->next.get();
      }
    }
    st.thisIsBlankLine = false;
    if (layout.seedRow()) st.seedRowUnknown = false;
    if (layout.block() && ++st.paintedLines == compression::kBlockRows) {
      sendBlock(block);
      block = st.mCodeData.data();
    }
  }
  if (layout.block() && st.paintedLines > 0) sendBlock(block);
}
