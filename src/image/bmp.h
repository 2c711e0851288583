// Windows BMP reader: uncompressed bottom-up bitmaps, 1- and 8-bit gray and 24-bit colour.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "image/lxbmp.h"

struct LXWindowsBMPRecT : LXBMPRecT {
  std::uint32_t currentRow = 0;
  std::uint32_t rowBytes = 0;  // stored row length, a multiple of 4
  std::uint32_t dataOffset = 0;
  // What the header said, for whyUnreadable: how much of it the file had, whether it began
  // "BM", the height as stored (negative for a top-down bitmap) and the compression.
  std::size_t headerBytes = 0;
  bool signature = false;
  std::int32_t storedHeight = 0;
  std::uint32_t compression = 0;

  void box(LXRect* box) const override;
  void rewind() override;
  std::int32_t read(LXGWorld* band, const unsigned char* table) override;
  std::int32_t readRGB(LXGWorld* red, LXGWorld* green, LXGWorld* blue) override;
  [[nodiscard]] std::string whyUnreadable() const override;
  [[nodiscard]] std::string undecodedCompression() const override;
};

std::unique_ptr<LXWindowsBMPRecT> LXWindowsBMP_New(const char* path);
void LXWindowsBMP_Delete(std::unique_ptr<LXWindowsBMPRecT> rec);
void LXWindowsBMP_GetImageBox(const LXWindowsBMPRecT* rec, LXRect* box);
void LXWindowsBMP_Rewind(LXWindowsBMPRecT* rec);
std::int32_t LXWindowsBMP_ReadNextRasterBlock(LXWindowsBMPRecT* rec, LXGWorld* band,
                                              const unsigned char* table);
std::int32_t LXWindowsBMP_ReadNextRasterBlockRGB(LXWindowsBMPRecT* rec, LXGWorld* red,
                                                 LXGWorld* green, LXGWorld* blue);
