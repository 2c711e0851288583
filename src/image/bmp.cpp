// Windows BMP reader: header checks and rows into band buffers.
#include "image/bmp.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "image/band.h"
#include "image/limits.h"

namespace {

using lximage::bandHeight;
using lximage::bandPixelSize;
using lximage::bandRowBytes;

constexpr std::size_t kHeaderSize = 54;

std::uint32_t le32(const unsigned char* b) {
  return (std::uint32_t{b[3]} << 24) | (std::uint32_t{b[2]} << 16) | (std::uint32_t{b[1]} << 8) |
         b[0];
}

std::uint32_t rowsThisCall(const LXWindowsBMPRecT* rec, std::uint32_t bandRows) {
  if (rec->currentRow >= rec->height) return 0;
  const std::uint32_t rows = std::min(bandRows, rec->height - rec->currentRow);
  return std::min<std::uint32_t>(rows, std::numeric_limits<std::int32_t>::max());
}

// Rows lie bottom-up; positions wrap at 32 bits like the header's fields.
void readRow(LXWindowsBMPRecT* rec, std::uint32_t bandRow, std::vector<unsigned char>& row) {
  const std::uint32_t position = rec->dataOffset +
                                 rec->rowBytes * (rec->height - rec->currentRow - 1) -
                                 rec->rowBytes * bandRow;
  if (std::fseek(rec->stream.get(), static_cast<long>(position), SEEK_SET) != 0) return;
  if (!row.empty()) (void)std::fread(row.data(), 1, row.size(), rec->stream.get());
}

bool allocateRow(const LXWindowsBMPRecT* rec, std::vector<unsigned char>& row) {
  try {
    row.assign(rec->rowBytes, 0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

std::span<const unsigned char> head(const std::vector<unsigned char>& row, std::uint64_t n) {
  return {row.data(), static_cast<std::size_t>(std::min<std::uint64_t>(n, row.size()))};
}

}  // namespace

std::unique_ptr<LXWindowsBMPRecT> LXWindowsBMP_New(const char* path) {
  if (path == nullptr) return nullptr;
  auto rec = std::make_unique<LXWindowsBMPRecT>();
  const std::size_t length = std::strlen(path);
  rec->path = std::make_unique<char[]>(length + 1);
  std::memcpy(rec->path.get(), path, length + 1);

  rec->stream.reset(std::fopen(path, "rb"));
  if (!rec->stream) {
    lximage::reportCannotOpen("LXWindowsBMP_New", path, errno);
    return nullptr;
  }
  const std::uint64_t fileSize = lximage::fileSize(rec->stream.get());
  std::array<unsigned char, kHeaderSize> h{};
  rec->headerBytes = std::fread(h.data(), 1, h.size(), rec->stream.get());
  rec->signature = h[0] == 'B' && h[1] == 'M';
  rec->storedHeight = static_cast<std::int32_t>(le32(&h[22]));
  rec->compression = le32(&h[30]);
  if (rec->headerBytes != h.size() || !rec->signature) {
    rec->stream.reset();
    return rec;
  }
  rec->dataOffset = le32(&h[10]);
  rec->width = le32(&h[18]);
  rec->height = le32(&h[22]);
  rec->bitsPerPixel = h[28];

  const auto bits = static_cast<std::int8_t>(h[28]);
  const auto rowBytes =
      bits < 0 ? std::nullopt
               : lximage::imageBytes(rec->width, 1, static_cast<unsigned>(bits), 4, fileSize);
  if (!rowBytes) {
    // Not a row this file could hold: the handle reports an empty box.
    rec->width = 0;
    rec->height = 0;
    rec->stream.reset();
    return rec;
  }
  if (static_cast<std::int32_t>(rec->height) < 0) {
    rec->stream.reset();  // top-down bitmaps are not read
    return rec;
  }
  rec->headerHeight = rec->height;
  rec->height = lximage::rowsTheFileHolds(rec->height, rowBytes->row, false, fileSize);
  rec->rowBytes = static_cast<std::uint32_t>(rowBytes->row);
  std::fseek(rec->stream.get(), static_cast<long>(rec->dataOffset), SEEK_SET);
  return rec;
}

void LXWindowsBMP_Delete(std::unique_ptr<LXWindowsBMPRecT> rec) {
  rec.reset();
}

void LXWindowsBMP_GetImageBox(const LXWindowsBMPRecT* rec, LXRect* box) {
  if (rec == nullptr || box == nullptr) return;
  *box = {0, 0, static_cast<std::int32_t>(rec->height), static_cast<std::int32_t>(rec->width)};
}

void LXWindowsBMP_Rewind(LXWindowsBMPRecT* rec) {
  if (rec != nullptr) rec->currentRow = 0;
}

std::int32_t LXWindowsBMP_ReadNextRasterBlock(LXWindowsBMPRecT* rec, LXGWorld* band,
                                              const unsigned char* table) {
  if (band == nullptr) return 0;
  const bool rgbSense = table == kRGBSenseTable;
  if (rgbSense) {
    LXClearGWorldRGB(band);
  } else {
    LXClearGWorld(band);
  }
  if (rec == nullptr || !rec->stream) return 0;

  const unsigned bits = rec->bitsPerPixel;
  const unsigned size = bandPixelSize(band);
  const std::uint64_t stride = bandRowBytes(band);
  int levelBits = 0;
  std::uint64_t n = std::min<std::uint64_t>(stride, rec->rowBytes);
  if (bits == size) {
  } else if (bits == 8 && (size == 2 || size == 4)) {
    if (rgbSense) return 0;  // the RGB-sense marker is not a table
    levelBits = static_cast<int>(size);
    n = std::min<std::uint64_t>(stride * (8 / size), rec->rowBytes);
  } else if (!(bits == 8 && size == 10)) {
    return 0;
  }
  if (table == nullptr && levelBits != 0) table = reductionTable(levelBits == 2 ? 4 : 16);

  const std::uint32_t rows = rowsThisCall(rec, bandHeight(band));
  std::vector<unsigned char> raw;
  if (!allocateRow(rec, raw)) return 0;
  std::vector<unsigned char> values;
  std::vector<unsigned char> out;
  for (std::uint32_t r = 0; r < rows; ++r) {
    readRow(rec, r, raw);
    const auto used = head(raw, n);
    out.clear();
    if (bits == 1 && size == 1) {
      out.assign(used.begin(), used.end());
      lximage::clearPastWidth(out, rec->width, 1);
    } else if (bits == 8 && size == 8) {
      out.assign(used.begin(), used.end());
      for (std::size_t i = 0; i < out.size(); ++i) {
        if (i >= rec->width) {
          out[i] = rgbSense ? 0xFF : 0x00;
        } else if (!rgbSense) {
          out[i] = static_cast<unsigned char>(255 - out[i]);
        }
      }
    } else if (levelBits != 0) {
      // The row's padding bytes are packed as pixels too.
      values.assign(used.begin(), used.end());
      for (unsigned char& v : values) v = static_cast<unsigned char>(255 - v);
      lximage::packLevels(values, table, levelBits, out);
    } else if (bits == 8 && size == 10) {
      lximage::pack8To10(used, 255, !rgbSense, out);
    }
    lximage::putRow(band, r, out);
  }
  rec->currentRow += rows;
  return static_cast<std::int32_t>(rows);
}

std::int32_t LXWindowsBMP_ReadNextRasterBlockRGB(LXWindowsBMPRecT* rec, LXGWorld* red,
                                                 LXGWorld* green, LXGWorld* blue) {
  const unsigned size = lximage::clearRGBBands(red, green, blue);
  if (size == 0 || rec == nullptr || !rec->stream) return 0;
  const unsigned bits = rec->bitsPerPixel;
  if (!((size == 8 && bits == 24) || ((size == 10 || size == 12) && (bits == 24 || bits == 48)))) {
    return 0;
  }
  const std::uint64_t used =
      std::min<std::uint64_t>(std::uint64_t{bandRowBytes(red)} * 3, rec->rowBytes);
  const std::size_t pixels = static_cast<std::size_t>(used / 3);
  const std::uint32_t rows =
      rowsThisCall(rec, std::min({bandHeight(red), bandHeight(green), bandHeight(blue)}));
  std::vector<unsigned char> raw;
  if (!allocateRow(rec, raw)) return 0;
  std::vector<unsigned char> plane(pixels);
  std::vector<unsigned char> out;
  for (std::uint32_t r = 0; r < rows; ++r) {
    readRow(rec, r, raw);
    if (bits != 24) continue;  // 48-bit rows stay white
    // Pixels are stored blue, green, red.
    LXGWorld* const byFileOrder[3] = {blue, green, red};
    for (std::size_t c = 0; c < 3; ++c) {
      for (std::size_t p = 0; p < pixels; ++p) plane[p] = raw[3 * p + c];
      if (size == 8) {
        lximage::putRow(byFileOrder[c], r, plane);
      } else if (size == 10) {
        lximage::pack8To10(plane, 255, false, out);
        lximage::putRow(byFileOrder[c], r, out);
      } else {
        lximage::pack8To12(plane, out);
        lximage::putRow(byFileOrder[c], r, out);
      }
    }
  }
  rec->currentRow += rows;
  return static_cast<std::int32_t>(rows);
}

void LXWindowsBMPRecT::box(LXRect* box) const {
  LXWindowsBMP_GetImageBox(this, box);
}
void LXWindowsBMPRecT::rewind() {
  LXWindowsBMP_Rewind(this);
}
std::int32_t LXWindowsBMPRecT::read(LXGWorld* band, const unsigned char* table) {
  return LXWindowsBMP_ReadNextRasterBlock(this, band, table);
}
std::int32_t LXWindowsBMPRecT::readRGB(LXGWorld* red, LXGWorld* green, LXGWorld* blue) {
  return LXWindowsBMP_ReadNextRasterBlockRGB(this, red, green, blue);
}

std::string LXWindowsBMPRecT::undecodedCompression() const {
  return compression != 0 ? "BMP compression " + std::to_string(compression) : std::string();
}

std::string LXWindowsBMPRecT::whyUnreadable() const {
  constexpr const char* kLeftOut = "; nothing of it is printed";
  // The fields a check reads end at byte 34.
  if (headerBytes < 34 || !signature) return std::string("is not a BMP file") + kLeftOut;
  if (!stream && storedHeight < 0)
    return std::string("is a top-down BMP, which is not read") + kLeftOut;
  if (!stream) return std::string("has a header that claims rows the file cannot hold") + kLeftOut;
  if (compression != 0)
    return "uses " + undecodedCompression() + ", which is not read; its rows go out as stored";
  return {};
}
