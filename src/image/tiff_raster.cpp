// TIFF rows into band buffers: strips, PackBits, depth and ink-sense conversions.
#include <algorithm>
#include <cstdio>
#include <limits>

#include "image/band.h"
#include "image/tiff.h"

namespace {

using lximage::bandBytes;
using lximage::bandHeight;
using lximage::bandPixelSize;
using lximage::bandRowBytes;

enum class Conversion { kBlank, kCopy1, kCopy8, kLevels2, kLevels4, kTen8, kTen16, kInk1 };

// WhiteIsZero and Separated images hold ink amounts already.
bool holdsInk(const LXTiffRecT* rec) {
  return rec->photometric == 0 || rec->photometric == 5;
}

std::uint32_t rowsThisCall(const LXTiffRecT* rec, std::uint32_t bandRows) {
  if (rec->currentRow >= rec->height) return 0;
  const std::uint32_t rows = std::min(bandRows, rec->height - rec->currentRow);
  return std::min<std::uint32_t>(rows, std::numeric_limits<std::int32_t>::max());
}

void readRawRow(LXTiffRecT* rec) {
  std::vector<unsigned char>& row = rec->rowBuffer;
  if (rec->compression == kTiffCompressionPackBits) {
    unpackbits(rec, row);
  } else if (!row.empty()) {
    const auto bytes = rec->window->bytesAt(rec->stream.get(), rec->position, row.size());
    if (rec->rowBufferBehind && bytes.size() < row.size()) {
      // A short read keeps the rest of the previous row, which rawRow left in the file.
      const auto previous =
          rec->window->bytesAt(rec->stream.get(), *rec->rowBufferBehind, row.size());
      std::copy_n(previous.begin(), std::min(previous.size(), row.size()), row.begin());
      rec->rowBufferBehind.reset();
      readRawRow(rec);
      return;
    }
    const std::size_t n = std::min(bytes.size(), row.size());
    std::copy_n(bytes.begin(), n, row.begin());
    rec->position += n;
    rec->rowBufferBehind.reset();
  }
}

// The next raw row: in place in the window when it holds the whole of an uncompressed row,
// else read into the row buffer. Valid until the next read through the window.
std::span<const unsigned char> rawRow(LXTiffRecT* rec) {
  const std::size_t size = rec->rowBuffer.size();
  if (rec->compression != kTiffCompressionPackBits && size != 0) {
    const auto bytes = rec->window->bytesAt(rec->stream.get(), rec->position, size);
    if (bytes.size() >= size) {
      rec->rowBufferBehind = rec->position;
      rec->position += size;
      return bytes.first(size);
    }
  }
  readRawRow(rec);
  return rec->rowBuffer;
}

void countRow(LXTiffRecT* rec) {
  if (--rec->rowsLeftInStrip != 0) return;
  rec->rowsLeftInStrip = rec->rowsPerStrip;
  ++rec->stripIndex;
  rec->position = LXTiff_StripOffset(rec, rec->stripIndex);
  rec->packBitsState = 0;
}

void clearBand(LXGWorld* band, bool rgbSense) {
  if (rgbSense) {
    LXClearGWorldRGB(band);
  } else {
    LXClearGWorld(band);
  }
}

const unsigned char* levelTable(const unsigned char* table, int bits) {
  if (table != nullptr) return table;
  return reductionTable(bits == 2 ? 4 : 16);
}

std::span<const unsigned char> head(const std::vector<unsigned char>& row, std::uint64_t n) {
  return {row.data(), static_cast<std::size_t>(std::min<std::uint64_t>(n, row.size()))};
}

// Channel k of 8-bit chunky pixels, four bytes a pixel, into `n` bytes at `out`; bytes past the
// raw row read 0 (before the flip, which turns v into 255 - v).
void gatherChannel8(std::span<const unsigned char> raw, std::size_t k, std::size_t n,
                    unsigned char flip, unsigned char* out) {
  const std::size_t inRow = raw.size() > k ? (raw.size() - k + 3) / 4 : 0;
  const std::size_t m = std::min(n, inRow);
  // Indexed, not a pointer past data(): an empty raw row has no data() to offset.
  for (std::size_t i = 0; i < m; ++i) out[i] = static_cast<unsigned char>(raw[k + 4 * i] ^ flip);
  std::fill(out + m, out + n, flip);
}

// Rows written straight into a band, `convert(raw row, n, out)` writing the first n bytes of
// each band row. Only the bytes no row covers are cleared, so the band ends as a clear
// followed by row copies would leave it.
class BandFill {
 public:
  BandFill() = default;
  BandFill(LXGWorld* band, std::size_t n, unsigned char clear)
      : bytes_(bandBytes(band)), stride_(bandRowBytes(band)), n_(n), clear_(clear) {}

  template <typename Convert>
  void row(std::uint32_t r, std::span<const unsigned char> raw, Convert convert) {
    const std::size_t start = std::size_t{r} * stride_;
    if (start >= bytes_.size()) return;
    const std::size_t end = std::min(start + stride_, bytes_.size());
    const std::size_t written = std::min(n_, end - start);
    convert(raw, written, bytes_.data() + start);
    std::fill(bytes_.begin() + static_cast<std::ptrdiff_t>(start + written),
              bytes_.begin() + static_cast<std::ptrdiff_t>(end), clear_);
    covered_ = end;
  }

  void finish() {
    std::fill(bytes_.begin() + static_cast<std::ptrdiff_t>(covered_), bytes_.end(), clear_);
  }

 private:
  std::span<unsigned char> bytes_;
  std::size_t stride_ = 0;
  std::size_t n_ = 0;
  unsigned char clear_ = 0;
  std::size_t covered_ = 0;
};

template <typename Convert>
void readRowsInto(LXTiffRecT* rec, LXGWorld* band, std::size_t n, unsigned char clear,
                  std::uint32_t rows, Convert convert) {
  BandFill fill(band, n, clear);
  for (std::uint32_t r = 0; r < rows; ++r) {
    fill.row(r, rawRow(rec), convert);
    countRow(rec);
  }
  fill.finish();
}

}  // namespace

// Decodes straight from the window; the position ends just past the last byte the row took.
void unpackbits(LXTiffRecT* rec, std::span<unsigned char> dest) {
  if (rec == nullptr || !rec->stream) return;
  std::size_t stored = 0;
  std::int16_t& state = rec->packBitsState;
  while (stored < dest.size()) {
    const std::span<const unsigned char> chunk =
        rec->window->bytesAt(rec->stream.get(), rec->position, 1);
    const std::size_t got = chunk.size();
    if (got == 0) return;  // end of file
    std::size_t used = 0;
    while (used < got && stored < dest.size()) {
      const unsigned char c = chunk[used++];
      if (state == 0) {
        if (c < 128) {
          state = static_cast<std::int16_t>(-(c + 1));
        } else if (c > 128) {
          state = static_cast<std::int16_t>(257 - c);
        }
      } else if (state < 0) {
        // The literal bytes at hand, as many as the state and the row allow.
        const std::size_t n =
            std::min({static_cast<std::size_t>(-state), got - used + 1, dest.size() - stored});
        std::copy_n(chunk.begin() + static_cast<std::ptrdiff_t>(used - 1), n,
                    dest.begin() + static_cast<std::ptrdiff_t>(stored));
        stored += n;
        used += n - 1;
        state = static_cast<std::int16_t>(state + static_cast<std::int16_t>(n));
      } else {
        // A run never continues into the next row: what the row cannot take is dropped.
        const std::size_t n =
            std::min<std::size_t>(static_cast<std::size_t>(state), dest.size() - stored);
        std::fill_n(dest.begin() + static_cast<std::ptrdiff_t>(stored), n, c);
        stored += n;
        state = 0;
      }
    }
    rec->position += used;
  }
}

std::int32_t LXTiff_ReadNextRasterBlock(LXTiffRecT* rec, LXGWorld* band,
                                        const unsigned char* table) {
  if (band == nullptr) return 0;
  const bool rgbSense = table == kRGBSenseTable;
  if (rec == nullptr || !rec->stream) {
    clearBand(band, rgbSense);
    return 0;
  }

  const unsigned bits = rec->bitsPerPixel;
  const unsigned size = bandPixelSize(band);
  Conversion conversion;
  std::uint64_t n = std::min<std::uint64_t>(rec->rowBytes, bandRowBytes(band));
  if (bits == size) {
    conversion = bits == 1   ? Conversion::kCopy1
                 : bits == 8 ? Conversion::kCopy8
                             : Conversion::kBlank;
  } else if (bits == 8 && size == 2) {
    conversion = Conversion::kLevels2;
    n = std::min<std::uint64_t>(rec->rowBytes, std::uint64_t{bandRowBytes(band)} * 4);
  } else if (bits == 8 && size == 4) {
    conversion = Conversion::kLevels4;
    n = std::min<std::uint64_t>(rec->rowBytes, std::uint64_t{bandRowBytes(band)} * 2);
  } else if (bits == 8 && size == 10) {
    conversion = Conversion::kTen8;
  } else if (bits == 16 && size == 10) {
    conversion = Conversion::kTen16;
    n = rec->rowBytes / 2;  // samples
  } else {
    clearBand(band, rgbSense);
    return 0;
  }
  // The RGB-sense marker is not a table.
  if (rgbSense && (conversion == Conversion::kLevels2 || conversion == Conversion::kLevels4)) {
    clearBand(band, rgbSense);
    return 0;
  }

  const bool ink = holdsInk(rec);
  const bool invert = !rgbSense && !ink;
  const std::uint32_t rows = rowsThisCall(rec, bandHeight(band));
  if (conversion == Conversion::kCopy8) {
    // Bytes past the image width are 0 in either sense.
    const std::size_t width = rec->width;
    const unsigned char flip = invert ? 0xFF : 0x00;
    const auto used = static_cast<std::size_t>(std::min<std::uint64_t>(n, rec->rowBuffer.size()));
    readRowsInto(
        rec, band, used, rgbSense ? 0xFF : 0x00, rows,
        [width, flip](std::span<const unsigned char> raw, std::size_t count, unsigned char* out) {
          const std::size_t inWidth = std::min(count, width);
          for (std::size_t i = 0; i < inWidth; ++i) {
            out[i] = static_cast<unsigned char>(raw[i] ^ flip);
          }
          std::fill(out + inWidth, out + count, 0);
        });
    rec->currentRow += rows;
    return static_cast<std::int32_t>(rows);
  }
  clearBand(band, rgbSense);
  std::vector<unsigned char> out;
  for (std::uint32_t r = 0; r < rows; ++r) {
    readRawRow(rec);
    const std::vector<unsigned char>& raw = rec->rowBuffer;
    switch (conversion) {
      case Conversion::kCopy1: {
        const auto used = head(raw, n);
        out.assign(used.begin(), used.end());
        lximage::clearPastWidth(out, rec->width, 1);
        break;
      }
      case Conversion::kCopy8: {
        const auto used = head(raw, n);
        out.assign(used.begin(), used.end());
        for (std::size_t i = 0; i < out.size(); ++i) {
          if (i >= rec->width) {
            out[i] = 0;
          } else if (invert) {
            out[i] = static_cast<unsigned char>(255 - out[i]);
          }
        }
        break;
      }
      case Conversion::kLevels2:
      case Conversion::kLevels4: {
        const int levelBits = conversion == Conversion::kLevels2 ? 2 : 4;
        std::vector<unsigned char> inverted(head(raw, n).begin(), head(raw, n).end());
        for (unsigned char& v : inverted) v = static_cast<unsigned char>(255 - v);
        lximage::packLevels(inverted, levelTable(table, levelBits), levelBits, out);
        lximage::clearPastWidth(out, rec->width, levelBits);
        break;
      }
      case Conversion::kTen8:
        lximage::pack8To10(head(raw, n), ink ? 0 : 255, invert, out);
        break;
      case Conversion::kTen16:
        lximage::pack16To10(raw, static_cast<std::size_t>(n), rec->byteOrder == 'I',
                            ink ? 0x00 : 0xFF, invert, out);
        break;
      case Conversion::kBlank:
      case Conversion::kInk1:
        out.clear();
        break;
    }
    lximage::putRow(band, r, out);
    countRow(rec);
  }
  rec->currentRow += rows;
  return static_cast<std::int32_t>(rows);
}

std::int32_t LXTiff_ReadNextRasterBlockRGB(LXTiffRecT* rec, LXGWorld* red, LXGWorld* green,
                                           LXGWorld* blue) {
  const unsigned size = lximage::clearRGBBands(red, green, blue);
  if (size == 0 || rec == nullptr || !rec->stream) return 0;
  const unsigned bits = rec->bitsPerPixel;
  if (!((size == 8 && bits == 24) || (size == 10 && (bits == 24 || bits == 48)))) return 0;
  LXGWorld* const bands[3] = {red, green, blue};

  const std::uint64_t bytesPerPixel = bits == 48 ? 6 : 3;
  const std::uint64_t used =
      std::min<std::uint64_t>(std::uint64_t{rec->width} * bytesPerPixel, rec->rowBytes);
  const std::size_t pixels = static_cast<std::size_t>(used / bytesPerPixel);
  const std::uint32_t rows =
      rowsThisCall(rec, std::min({bandHeight(red), bandHeight(green), bandHeight(blue)}));
  std::vector<unsigned char> plane;
  std::vector<unsigned char> out;
  for (std::uint32_t r = 0; r < rows; ++r) {
    readRawRow(rec);
    const std::vector<unsigned char>& raw = rec->rowBuffer;
    for (std::size_t c = 0; c < 3; ++c) {
      const std::size_t sampleBytes = bits == 48 ? 2 : 1;
      plane.resize(pixels * sampleBytes);
      for (std::size_t p = 0; p < pixels; ++p) {
        for (std::size_t b = 0; b < sampleBytes; ++b) {
          plane[p * sampleBytes + b] = raw[p * bytesPerPixel + c * sampleBytes + b];
        }
      }
      if (size == 8) {
        lximage::putRow(bands[c], r, plane);
      } else if (bits == 24) {
        lximage::pack8To10(plane, 255, false, out);
        lximage::putRow(bands[c], r, out);
      } else {
        lximage::pack16To10(plane, pixels, rec->byteOrder == 'I', 0xFF, false, out);
        lximage::putRow(bands[c], r, out);
      }
    }
    countRow(rec);
  }
  rec->currentRow += rows;
  return static_cast<std::int32_t>(rows);
}

namespace {

// How one channel of an interleaved ink image becomes rows of the band's depth; false when the
// pair of depths has no conversion.
bool chooseChannelConversion(unsigned bits, unsigned size, Conversion* conversion,
                             std::uint64_t* factor) {
  *factor = 1;
  if (bits == size) {
    *conversion = bits == 1   ? Conversion::kCopy1
                  : bits == 8 ? Conversion::kCopy8
                              : Conversion::kBlank;
  } else if (bits == 8 && size == 1) {
    *conversion = Conversion::kInk1;
    *factor = 8;
  } else if (bits == 8 && size == 2) {
    *conversion = Conversion::kLevels2;
    *factor = 4;
  } else if (bits == 8 && size == 4) {
    *conversion = Conversion::kLevels4;
    *factor = 2;
  } else if (bits == 8 && size == 10) {
    *conversion = Conversion::kTen8;
  } else if (bits == 16 && size == 10) {
    *conversion = Conversion::kTen16;
  } else {
    return false;
  }
  return true;
}

// Byte `i` of the raw row; past its end, 0.
unsigned char rawAt(const LXTiffRecT* rec, std::uint64_t i) {
  return i < rec->rowBuffer.size() ? rec->rowBuffer[static_cast<std::size_t>(i)] : 0;
}

// Channel `k` of the raw row, n bytes of its 8- or 16-bit samples.
void gatherChannel(const LXTiffRecT* rec, std::size_t k, unsigned bits, std::uint64_t n,
                   std::vector<unsigned char>& gathered) {
  if (bits == 8) {
    gathered.resize(static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < gathered.size(); ++i) gathered[i] = rawAt(rec, 4 * i + k);
  } else if (bits == 16) {
    gathered.resize(static_cast<std::size_t>(n / 2 * 2));
    for (std::size_t i = 0; i < gathered.size() / 2; ++i) {
      gathered[2 * i] = rawAt(rec, 8 * i + 2 * k);
      gathered[2 * i + 1] = rawAt(rec, 8 * i + 2 * k + 1);
    }
  }
}

struct ChannelRow {
  Conversion conversion;
  std::size_t k;
  std::uint64_t n;
  const unsigned char* table;
  bool ink;
  bool invert;
  bool rgbSense;
};

// One gathered channel row in the band's depth.
void convertChannelRow(const LXTiffRecT* rec, const ChannelRow& c,
                       std::vector<unsigned char>& gathered, std::vector<unsigned char>& out) {
  switch (c.conversion) {
    case Conversion::kCopy1:
      out.assign(static_cast<std::size_t>(c.n), 0);
      // Two pixels a byte, four channel bits each; separate planes are not gathered.
      if (rec->planarConfiguration != 2) {
        for (std::size_t p = 0; p < out.size() * 8; ++p) {
          const unsigned mask = (0x80u >> c.k) >> (4 * (p % 2));
          if (rawAt(rec, p / 2) & mask) out[p / 8] |= static_cast<unsigned char>(0x80u >> (p % 8));
        }
      }
      lximage::clearPastWidth(out, rec->width, 1);
      break;
    case Conversion::kCopy8:
      out = gathered;
      if (c.invert) {
        for (unsigned char& v : out) v = static_cast<unsigned char>(255 - v);
      }
      break;
    case Conversion::kInk1:
      out.assign(static_cast<std::size_t>((c.n + 7) / 8), c.rgbSense ? 0xFF : 0x00);
      for (std::size_t i = 0; i < gathered.size(); ++i) {
        const unsigned v = c.invert ? 255u - gathered[i] : gathered[i];
        const bool inked = (c.ink || c.rgbSense) ? v != 0 : v == 0;
        if (inked) out[i / 8] |= static_cast<unsigned char>(0x80u >> (i % 8));
      }
      lximage::clearPastWidth(out, rec->width, 1);
      break;
    case Conversion::kLevels2:
    case Conversion::kLevels4: {
      const int levelBits = c.conversion == Conversion::kLevels2 ? 2 : 4;
      if (c.invert) {
        for (unsigned char& v : gathered) v = static_cast<unsigned char>(255 - v);
      }
      lximage::packLevels(gathered, levelTable(c.table, levelBits), levelBits, out);
      break;
    }
    case Conversion::kTen8:
      lximage::pack8To10(gathered, c.ink ? 0 : 255, c.invert, out);
      break;
    case Conversion::kTen16:
      lximage::pack16To10(gathered, gathered.size() / 2, rec->byteOrder == 'I', c.ink ? 0x00 : 0xFF,
                          c.invert, out);
      break;
    case Conversion::kBlank:
      out.clear();
      break;
  }
}

// One call's rows of one channel into its band, taken a row at a time so that the channels
// of one file can go in step and find each row in their shared window.
class ChannelBlock {
 public:
  ChannelBlock(LXTiffRecT* rec, LXGWorld* band, const unsigned char* table, int channel) {
    if (band == nullptr) return;
    const bool rgbSense = table == kRGBSenseTable;
    if (rec == nullptr || !rec->stream || channel < 0 || channel > 3) {
      clearBand(band, rgbSense);
      return;
    }
    const auto k = static_cast<std::size_t>(channel);
    bits_ = rec->bitsPerSample[k];
    Conversion conversion;
    std::uint64_t factor;
    if (!chooseChannelConversion(bits_, bandPixelSize(band), &conversion, &factor) ||
        (rgbSense && (conversion == Conversion::kLevels2 || conversion == Conversion::kLevels4))) {
      clearBand(band, rgbSense);
      return;
    }
    const std::uint64_t n =
        std::min(std::uint64_t{rec->sampleRowBytes[k]}, bandRowBytes(band) * factor);
    const bool ink = holdsInk(rec);
    const bool invert = !rgbSense && !ink;
    rec_ = rec;
    band_ = band;
    rows_ = rowsThisCall(rec, bandHeight(band));
    plan_ = {conversion, k, n, table, ink, invert, rgbSense};
    if (conversion == Conversion::kCopy8) {
      fill_ = BandFill(band, static_cast<std::size_t>(n), rgbSense ? 0xFF : 0x00);
      flip_ = invert ? 0xFF : 0x00;
    } else {
      clearBand(band, rgbSense);
    }
  }

  std::uint32_t rows() const { return rows_; }

  void readRow(std::uint32_t r) {
    if (plan_.conversion == Conversion::kCopy8) {
      fill_.row(r, rawRow(rec_),
                [k = plan_.k, flip = flip_](std::span<const unsigned char> raw, std::size_t count,
                                            unsigned char* out) {
                  gatherChannel8(raw, k, count, flip, out);
                });
    } else {
      readRawRow(rec_);
      gatherChannel(rec_, plan_.k, bits_, plan_.n, gathered_);
      convertChannelRow(rec_, plan_, gathered_, out_);
      lximage::putRow(band_, r, out_);
    }
    countRow(rec_);
  }

  std::int32_t finish() {
    if (rec_ == nullptr) return 0;
    if (plan_.conversion == Conversion::kCopy8) fill_.finish();
    rec_->currentRow += rows_;
    return static_cast<std::int32_t>(rows_);
  }

 private:
  LXTiffRecT* rec_ = nullptr;
  LXGWorld* band_ = nullptr;
  std::uint32_t rows_ = 0;
  unsigned bits_ = 0;
  ChannelRow plan_{};
  BandFill fill_;
  unsigned char flip_ = 0;
  std::vector<unsigned char> gathered_;
  std::vector<unsigned char> out_;
};

}  // namespace

std::int32_t LXTiff_ReadNextRasterBlockCMYK(LXTiffRecT* rec, LXGWorld* band,
                                            const unsigned char* table, int channel) {
  const LXTiffChannelRead read{rec, band, table, channel};
  return LXTiff_ReadNextRasterBlocksCMYK({&read, 1});
}

std::int32_t LXTiff_ReadNextRasterBlocksCMYK(std::span<const LXTiffChannelRead> reads) {
  std::vector<ChannelBlock> blocks;
  blocks.reserve(reads.size());
  std::uint32_t rows = 0;
  for (const LXTiffChannelRead& read : reads) {
    rows = std::max(rows,
                    blocks.emplace_back(read.reader, read.band, read.table, read.channel).rows());
  }
  for (std::uint32_t r = 0; r < rows; ++r) {
    for (ChannelBlock& block : blocks) {
      if (r < block.rows()) block.readRow(r);
    }
  }
  std::int32_t most = 0;
  for (ChannelBlock& block : blocks) most = std::max(most, block.finish());
  return most;
}
