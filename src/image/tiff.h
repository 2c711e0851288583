// TIFF reader: baseline strips, either byte order, none or PackBits compression.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "image/lxbmp.h"
#include "image/read_window.h"

constexpr std::uint16_t kTiffCompressionNone = 1;
constexpr std::uint16_t kTiffCompressionPackBits = 32773;

struct LXTiffRecT : LXBMPRecT {
  std::array<std::uint8_t, 4> bitsPerSample{1, 1, 1, 1};
  std::uint32_t currentRow = 0;
  std::uint32_t rowBytes = 0;
  std::array<std::uint32_t, 4> sampleRowBytes{};
  std::uint16_t compression = kTiffCompressionNone;
  std::uint32_t rowsPerStrip = 0xFFFFFFFF;
  std::uint32_t stripCount = 0;
  // The table's bytes, read as little-endian 32-bit entries whatever its type; absent when the
  // file gave no usable StripOffsets.
  std::optional<std::vector<std::uint8_t>> stripOffsets;
  std::uint32_t stripIndex = 0;
  std::uint32_t rowsLeftInStrip = 0;
  std::vector<unsigned char> rowBuffer;
  char byteOrder = 0;
  std::int32_t readStatus = 0;
  std::uint32_t firstStripOffset = 0;
  std::int16_t packBitsState = 0;
  // Raster bytes come through the window from this position, not from the stream's own.
  std::uint64_t position = 0;
  // The offset of the last row taken in place from the window, which the row buffer does not
  // hold; none when the row buffer holds the last row read.
  std::optional<std::uint64_t> rowBufferBehind;
  std::shared_ptr<lximage::ReadWindow> window = std::make_shared<lximage::ReadWindow>();
  std::uint16_t photometric = 1;
  std::uint32_t planarConfiguration = 1;
  // The first directory names tiles: why a file without strips has none.
  bool tiled = false;

  void box(LXRect* box) const override;
  void rewind() override;
  std::int32_t read(LXGWorld* band, const unsigned char* table) override;
  std::int32_t readRGB(LXGWorld* red, LXGWorld* green, LXGWorld* blue) override;
  std::int32_t readCMYK(LXGWorld* band, const unsigned char* table, int channel) override;
  [[nodiscard]] std::string whyUnreadable() const override;
  [[nodiscard]] std::string undecodedCompression() const override;
};

// One directory entry; `value` holds the four bytes as they stand in the file.
struct LXTiffIFDT {
  std::uint16_t tag = 0;
  std::uint16_t type = 0;
  std::uint32_t count = 0;
  std::array<std::uint8_t, 4> value{};
};

std::unique_ptr<LXTiffRecT> LXTiff_New(const char* path);
void LXTiff_Delete(std::unique_ptr<LXTiffRecT> rec);
void LXTiff_GetImageBox(const LXTiffRecT* rec, LXRect* box);
void LXTiff_Rewind(LXTiffRecT* rec);
std::int32_t LXTiff_ReadNextRasterBlock(LXTiffRecT* rec, LXGWorld* band,
                                        const unsigned char* table);
std::int32_t LXTiff_ReadNextRasterBlockRGB(LXTiffRecT* rec, LXGWorld* red, LXGWorld* green,
                                           LXGWorld* blue);
std::int32_t LXTiff_ReadNextRasterBlockCMYK(LXTiffRecT* rec, LXGWorld* band,
                                            const unsigned char* table, int channel);
using LXTiffChannelRead = LXChannelReadOf<LXTiffRecT>;
// Each read as LXTiff_ReadNextRasterBlockCMYK does it, row by row across the reads; the most
// rows any of them gave.
std::int32_t LXTiff_ReadNextRasterBlocksCMYK(std::span<const LXTiffChannelRead> reads);

// Byte-order reads from the stream; each sets readStatus (-1 on failure, then 0 returned).
std::uint16_t readWord(LXTiffRecT* rec);
std::uint32_t readLong(LXTiffRecT* rec);
// `word` holds four file bytes, the first in the top byte; reversed for an 'I' file.
std::uint32_t correctPointerEndian(const LXTiffRecT* rec, std::uint32_t word);
// The first value of an entry, from its value field or from the offset it holds.
std::int32_t readOneInteger(LXTiffRecT* rec, const LXTiffIFDT& entry);
// The strip offset at `index`; 0 past the table.
std::uint32_t LXTiff_StripOffset(const LXTiffRecT* rec, std::uint32_t index);
// Lets `to` read its raster through the window of `from`, a record of the same file, so that
// readers going through the file in step read it once; records of differing layout keep their own.
void LXTiff_ShareReads(const LXTiffRecT* from, LXTiffRecT* to);
// PackBits from the stream into `dest`, the run state kept in the record across calls.
void unpackbits(LXTiffRecT* rec, std::span<unsigned char> dest);
