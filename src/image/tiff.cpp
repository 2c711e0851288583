// TIFF reader: header, directory and the checks on what it describes.
#include "image/tiff.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>
#include <set>
#include <string>

#include "image/band.h"
#include "image/limits.h"

namespace {

enum : std::uint16_t {
  kTagImageWidth = 256,
  kTagImageLength = 257,
  kTagBitsPerSample = 258,
  kTagCompression = 259,
  kTagPhotometric = 262,
  kTagStripOffsets = 273,
  kTagRowsPerStrip = 278,
  kTagPlanarConfiguration = 284,
  kTagTileWidth = 322,
  kTagTileOffsets = 324,
};

enum : std::uint16_t {
  kTypeByte = 1,
  kTypeShort = 3,
  kTypeLong = 4,
  kTypeSByte = 6,
  kTypeSShort = 8,
  kTypeSLong = 9,
};

std::uint32_t valueWord(const LXTiffIFDT& e) {
  return (std::uint32_t{e.value[0]} << 24) | (std::uint32_t{e.value[1]} << 16) |
         (std::uint32_t{e.value[2]} << 8) | e.value[3];
}

std::uint16_t fileWord(const LXTiffRecT* rec, unsigned char b0, unsigned char b1) {
  return rec->byteOrder == 'I' ? static_cast<std::uint16_t>(b0 | (b1 << 8))
                               : static_cast<std::uint16_t>((b0 << 8) | b1);
}

void appendLE16(std::vector<std::uint8_t>& table, std::uint16_t v) {
  table.push_back(static_cast<std::uint8_t>(v));
  table.push_back(static_cast<std::uint8_t>(v >> 8));
}

void appendLE32(std::vector<std::uint8_t>& table, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) table.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

bool seekTo(LXTiffRecT* rec, std::uint32_t offset) {
  return std::fseek(rec->stream.get(), static_cast<long>(offset), SEEK_SET) == 0;
}

int readByte(LXTiffRecT* rec) {
  rec->readStatus = -1;
  const int c = std::fgetc(rec->stream.get());
  if (c == EOF) return 0;
  rec->readStatus = 0;
  return c;
}

// How many items of `size` bytes can still be read at `offset`; the table never takes more
// memory than the file holds.
std::uint32_t readableItems(std::uint64_t fileSize, std::uint32_t offset, std::uint32_t count,
                            std::uint32_t size) {
  const std::uint64_t room = fileSize > offset ? fileSize - offset : 0;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(count, room / size));
}

// SHORT and BYTE tables keep their own width in memory, but the readers index every table as
// 32-bit entries; only LONG tables give the right offsets.
void readStripOffsets(LXTiffRecT* rec, const LXTiffIFDT& e, std::uint64_t fileSize) {
  std::vector<std::uint8_t> table;
  const std::uint32_t at = correctPointerEndian(rec, valueWord(e));
  switch (e.type) {
    case kTypeByte:
    case kTypeSByte:
      if (e.count > 4) {
        const std::uint32_t n = readableItems(fileSize, at, e.count, 1);
        table.resize(n);
        if (seekTo(rec, at) && n > 0) {
          table.resize(std::fread(table.data(), 1, n, rec->stream.get()));
        }
      } else {
        table.assign(e.value.begin(), e.value.begin() + e.count);
      }
      break;
    case kTypeShort:
    case kTypeSShort:
      if (e.count > 2) {
        const std::uint32_t n = readableItems(fileSize, at, e.count, 2);
        if (!seekTo(rec, at)) {
          rec->readStatus = -1;
          break;
        }
        for (std::uint32_t i = 0; i < n; ++i) {
          const std::uint16_t v = readWord(rec);
          if (rec->readStatus != 0) break;
          appendLE16(table, v);
        }
        if (n < e.count) rec->readStatus = -1;  // the rest lies past the end of the file
      } else {
        for (std::uint32_t i = 0; i < e.count; ++i) {
          appendLE16(table, fileWord(rec, e.value[2 * i], e.value[2 * i + 1]));
        }
      }
      break;
    case kTypeLong:
    case kTypeSLong:
      if (e.count > 1) {
        const std::uint32_t n = readableItems(fileSize, at, e.count, 4);
        if (!seekTo(rec, at)) {
          rec->readStatus = -1;
          break;
        }
        for (std::uint32_t i = 0; i < n; ++i) {
          const std::uint32_t v = readLong(rec);
          if (rec->readStatus != 0) break;
          appendLE32(table, v);
        }
        if (n < e.count) rec->readStatus = -1;
      } else if (e.count == 1) {
        appendLE32(table, at);
      }
      break;
    default:
      // These types make no table: whatever an earlier directory built stays.
      return;
  }
  rec->stripOffsets = std::move(table);
}

void applyEntry(LXTiffRecT* rec, const LXTiffIFDT& e, std::uint64_t fileSize) {
  switch (e.tag) {
    case kTagImageWidth:
      rec->width = static_cast<std::uint32_t>(readOneInteger(rec, e));
      break;
    case kTagImageLength:
      rec->height = static_cast<std::uint32_t>(readOneInteger(rec, e));
      break;
    case kTagBitsPerSample: {
      const auto first = static_cast<std::uint32_t>(readOneInteger(rec, e));
      rec->bitsPerPixel = static_cast<std::uint8_t>(first * e.count);
      if (e.type == kTypeShort && e.count > 2) {
        for (std::uint8_t& bits : rec->bitsPerSample) {
          bits = static_cast<std::uint8_t>(readOneInteger(rec, e));
        }
      }
      break;
    }
    case kTagCompression:
      rec->compression = static_cast<std::uint16_t>(readOneInteger(rec, e));
      break;
    case kTagPhotometric:
      rec->photometric = static_cast<std::uint16_t>(readOneInteger(rec, e));
      break;
    case kTagStripOffsets:
      rec->stripCount = e.count;
      readStripOffsets(rec, e, fileSize);
      break;
    case kTagRowsPerStrip:
      rec->rowsPerStrip = static_cast<std::uint32_t>(readOneInteger(rec, e));
      break;
    case kTagPlanarConfiguration:
      rec->planarConfiguration = static_cast<std::uint32_t>(readOneInteger(rec, e));
      break;
    default:
      break;
  }
}

// Reads one entry; a short read leaves the fields it did not reach at zero.
LXTiffIFDT readEntry(LXTiffRecT* rec) {
  std::array<unsigned char, 12> b{};
  const std::size_t got = std::fread(b.data(), 1, b.size(), rec->stream.get());
  rec->readStatus = got == b.size() ? 0 : -1;
  LXTiffIFDT e;
  if (got >= 2) e.tag = fileWord(rec, b[0], b[1]);
  if (got >= 4) e.type = fileWord(rec, b[2], b[3]);
  if (got >= 8) {
    e.count = rec->byteOrder == 'I' ? (std::uint32_t{b[7]} << 24) | (std::uint32_t{b[6]} << 16) |
                                          (std::uint32_t{b[5]} << 8) | b[4]
                                    : (std::uint32_t{b[4]} << 24) | (std::uint32_t{b[5]} << 16) |
                                          (std::uint32_t{b[6]} << 8) | b[7];
  }
  std::copy(b.begin() + 8, b.end(), e.value.begin());
  return e;
}

void walkDirectories(LXTiffRecT* rec, std::uint64_t fileSize) {
  std::set<std::uint32_t> walked;
  std::uint32_t offset = readLong(rec);
  while (rec->readStatus == 0 && offset != 0) {
    if (!walked.insert(offset).second) break;  // a chain that loops back
    if (!seekTo(rec, offset)) {
      rec->readStatus = -1;
      break;
    }
    const std::uint16_t count = readWord(rec);
    if (rec->readStatus != 0) break;
    std::vector<LXTiffIFDT> entries;
    for (std::uint32_t i = 0; i < count; ++i) {
      entries.push_back(readEntry(rec));
      if (rec->readStatus != 0) break;  // the file ended: the remaining entries read as zero
    }
    const std::uint32_t next = readLong(rec);
    for (const LXTiffIFDT& e : entries) applyEntry(rec, e, fileSize);
    offset = next;
  }
}

// The bytes of a row of `width` pixels of `bits` bits; nothing when the whole file could not
// store it, even at PackBits' best ratio (two bytes for a run of 128), so it cannot be real.
std::optional<std::uint64_t> rowBytesIn(unsigned bits, std::uint32_t width,
                                        std::uint16_t compression, std::uint64_t fileSize) {
  const auto bytes = lximage::imageBytes(width, 1, bits, 1, 0xFFFFFFFFu);
  if (!bytes) return std::nullopt;
  const std::uint64_t needed =
      compression == kTiffCompressionPackBits ? (bytes->row + 127) / 128 * 2 : bytes->row;
  if (needed > fileSize) return std::nullopt;
  return bytes->row;
}

void closeStream(LXTiffRecT* rec) {
  rec->stream.reset();
}

// Whether the first directory has a tile tag among its whole entries, read afresh from the
// header's offset (even 0): a file without strips is told apart by it.
bool firstDirectoryIsTiled(LXTiffRecT* rec) {
  std::FILE* f = rec->stream.get();
  unsigned char b[12];
  if (std::fseek(f, 4, SEEK_SET) != 0 || std::fread(b, 1, 4, f) != 4) return false;
  const bool little = rec->byteOrder == 'I';
  auto word = [little](const unsigned char* p, int n) {
    std::uint32_t v = 0;
    for (int i = 0; i < n; ++i) v |= std::uint32_t{p[little ? i : n - 1 - i]} << (8 * i);
    return v;
  };
  if (std::fseek(f, static_cast<long>(word(b, 4)), SEEK_SET) != 0 || std::fread(b, 1, 2, f) != 2)
    return false;
  for (std::uint32_t n = word(b, 2); n > 0 && std::fread(b, 1, 12, f) == 12; --n) {
    const std::uint32_t tag = word(b, 2);
    if (tag == kTagTileWidth || tag == kTagTileOffsets) return true;
  }
  return false;
}

}  // namespace

std::uint16_t readWord(LXTiffRecT* rec) {
  rec->readStatus = -1;
  unsigned char b[2];
  if (!rec->stream || std::fread(b, 1, 2, rec->stream.get()) != 2) return 0;
  rec->readStatus = 0;
  return fileWord(rec, b[0], b[1]);
}

std::uint32_t readLong(LXTiffRecT* rec) {
  rec->readStatus = -1;
  unsigned char b[4];
  if (!rec->stream || std::fread(b, 1, 4, rec->stream.get()) != 4) return 0;
  rec->readStatus = 0;
  if (rec->byteOrder == 'I') {
    return (std::uint32_t{b[3]} << 24) | (std::uint32_t{b[2]} << 16) | (std::uint32_t{b[1]} << 8) |
           b[0];
  }
  return (std::uint32_t{b[0]} << 24) | (std::uint32_t{b[1]} << 16) | (std::uint32_t{b[2]} << 8) |
         b[3];
}

std::uint32_t correctPointerEndian(const LXTiffRecT* rec, std::uint32_t word) {
  if (rec->byteOrder != 'I') return word;
  return (word >> 24) | ((word >> 8) & 0xFF00) | ((word << 8) & 0xFF0000) | (word << 24);
}

std::int32_t readOneInteger(LXTiffRecT* rec, const LXTiffIFDT& e) {
  const std::uint32_t at = correctPointerEndian(rec, valueWord(e));
  const bool canSeek = rec->stream != nullptr;
  switch (e.type) {
    case kTypeByte:
      if (e.count < 5) return e.value[0];
      return canSeek && seekTo(rec, at) ? readByte(rec) : 0;
    case kTypeSByte:
      if (e.count <= 4) return static_cast<std::int8_t>(e.value[0]);
      return canSeek && seekTo(rec, at) ? static_cast<std::int8_t>(readByte(rec)) : 0;
    case kTypeShort:
      if (e.count <= 2) return fileWord(rec, e.value[0], e.value[1]);
      return canSeek && seekTo(rec, at) ? readWord(rec) : 0;
    case kTypeSShort:
      if (e.count <= 2) return static_cast<std::int16_t>(fileWord(rec, e.value[0], e.value[1]));
      return canSeek && seekTo(rec, at) ? static_cast<std::int16_t>(readWord(rec)) : 0;
    case kTypeLong:
    case kTypeSLong:
      if (e.count <= 1) return static_cast<std::int32_t>(at);
      return canSeek && seekTo(rec, at) ? static_cast<std::int32_t>(readLong(rec)) : 0;
    default:
      return 0;
  }
}

std::uint32_t LXTiff_StripOffset(const LXTiffRecT* rec, std::uint32_t index) {
  if (!rec->stripOffsets) return 0;
  const std::vector<std::uint8_t>& table = *rec->stripOffsets;
  std::uint32_t offset = 0;
  for (std::uint64_t i = 0; i < 4; ++i) {
    const std::uint64_t at = std::uint64_t{index} * 4 + i;
    if (at < table.size()) offset |= std::uint32_t{table[at]} << (8 * i);
  }
  return offset;
}

std::unique_ptr<LXTiffRecT> LXTiff_New(const char* path) {
  if (path == nullptr) return nullptr;
  auto rec = std::make_unique<LXTiffRecT>();
  const std::size_t length = std::strlen(path);
  rec->path = std::make_unique<char[]>(length + 1);
  std::memcpy(rec->path.get(), path, length + 1);

  rec->stream.reset(std::fopen(path, "rb"));
  if (!rec->stream) {
    lximage::reportCannotOpen("LXTiff_New", path, errno);
    return nullptr;
  }
  const std::uint64_t fileSize = lximage::fileSize(rec->stream.get());

  unsigned char head[4];
  if (std::fread(head, 1, 4, rec->stream.get()) != 4 ||
      !((head[0] == 'I' && head[1] == 'I' && head[2] == 0x2A && head[3] == 0x00) ||
        (head[0] == 'M' && head[1] == 'M' && head[2] == 0x00 && head[3] == 0x2A))) {
    closeStream(rec.get());
    return rec;
  }
  rec->byteOrder = static_cast<char>(head[0]);
  walkDirectories(rec.get(), fileSize);

  if (!rec->stripOffsets) {
    rec->tiled = firstDirectoryIsTiled(rec.get());
    closeStream(rec.get());
    return rec;
  }
  const auto rowBytes = rowBytesIn(rec->bitsPerPixel, rec->width, rec->compression, fileSize);
  bool fits = rowBytes.has_value();
  std::array<std::uint64_t, 4> sampleRowBytes{};
  for (std::size_t i = 0; i < 4; ++i) {
    const auto bytes = rowBytesIn(rec->bitsPerSample[i], rec->width, rec->compression, fileSize);
    fits = fits && bytes.has_value();
    if (bytes) sampleRowBytes[i] = *bytes;
  }
  if (!fits) {
    // Not an image this file can hold: it reports an empty box.
    rec->width = 0;
    rec->height = 0;
    closeStream(rec.get());
    return rec;
  }
  rec->headerHeight = rec->height;
  rec->height = lximage::rowsTheFileHolds(rec->height, *rowBytes,
                                          rec->compression == kTiffCompressionPackBits, fileSize);
  rec->rowBytes = static_cast<std::uint32_t>(*rowBytes);
  for (std::size_t i = 0; i < 4; ++i) {
    rec->sampleRowBytes[i] = static_cast<std::uint32_t>(sampleRowBytes[i]);
  }
  rec->firstStripOffset = LXTiff_StripOffset(rec.get(), 0);
  try {
    rec->rowBuffer.assign(rec->rowBytes, 0);
  } catch (const std::bad_alloc&) {
    closeStream(rec.get());
    return rec;
  }
  rec->stripIndex = 0;
  rec->rowsLeftInStrip = rec->rowsPerStrip;
  rec->position = rec->firstStripOffset;
  rec->packBitsState = 0;
  return rec;
}

void LXTiff_Delete(std::unique_ptr<LXTiffRecT> rec) {
  rec.reset();
}

void LXTiff_GetImageBox(const LXTiffRecT* rec, LXRect* box) {
  if (rec == nullptr || box == nullptr) return;
  *box = {0, 0, static_cast<std::int32_t>(rec->height), static_cast<std::int32_t>(rec->width)};
}

// The rows-left counter and the PackBits state stay as they are, so a rewind in the middle of
// a strip keeps counting that strip.
void LXTiff_Rewind(LXTiffRecT* rec) {
  if (rec == nullptr) return;
  rec->stripIndex = 0;
  rec->currentRow = 0;
  rec->position = LXTiff_StripOffset(rec, 0);
}

void LXTiff_ShareReads(const LXTiffRecT* from, LXTiffRecT* to) {
  if (from == nullptr || to == nullptr || from == to || !from->stream || !to->stream) return;
  // Two opens of one file parse alike; a file replaced between them does not share.
  const bool alike =
      from->byteOrder == to->byteOrder && from->width == to->width && from->height == to->height &&
      from->rowBytes == to->rowBytes && from->compression == to->compression &&
      from->rowsPerStrip == to->rowsPerStrip && from->stripOffsets == to->stripOffsets;
  if (alike) to->window = from->window;
}

void LXTiffRecT::box(LXRect* box) const {
  LXTiff_GetImageBox(this, box);
}
void LXTiffRecT::rewind() {
  LXTiff_Rewind(this);
}
std::int32_t LXTiffRecT::read(LXGWorld* band, const unsigned char* table) {
  return LXTiff_ReadNextRasterBlock(this, band, table);
}
std::int32_t LXTiffRecT::readRGB(LXGWorld* red, LXGWorld* green, LXGWorld* blue) {
  return LXTiff_ReadNextRasterBlockRGB(this, red, green, blue);
}
std::int32_t LXTiffRecT::readCMYK(LXGWorld* band, const unsigned char* table, int channel) {
  return LXTiff_ReadNextRasterBlockCMYK(this, band, table, channel);
}

namespace {

std::string compressionName(std::uint32_t code) {
  switch (code) {
    case 2:
    case 3:
    case 4:
      return "CCITT fax compression";
    case 5:
      return "LZW compression";
    case 7:
      return "JPEG compression";
    case 8:
    case 32946:
      return "Deflate compression";
    default:
      return "compression " + std::to_string(code);
  }
}

}  // namespace

std::string LXTiffRecT::undecodedCompression() const {
  if (compression == kTiffCompressionNone || compression == kTiffCompressionPackBits) return {};
  return compressionName(compression);
}

std::string LXTiffRecT::whyUnreadable() const {
  constexpr const char* kLeftOut = "; nothing of it is printed";
  if (stream) {
    const std::string undecoded = undecodedCompression();
    return undecoded.empty()
               ? undecoded
               : "uses " + undecoded + ", which is not read; its rows go out as stored";
  }
  if (byteOrder == 0) return std::string("is not a TIFF file") + kLeftOut;
  if (!stripOffsets)
    return std::string(tiled ? "is a tiled TIFF, which is not read" : "has no strip table") +
           kLeftOut;
  return std::string("has a header that claims rows the file cannot hold") + kLeftOut;
}
