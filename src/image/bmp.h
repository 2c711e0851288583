// Windows BMP reader: uncompressed bottom-up bitmaps, 1- and 8-bit gray and 24-bit colour.
#pragma once

#include <cstdint>
#include <memory>

#include "image/lxbmp.h"

struct LXWindowsBMPRecT : LXBMPRecT {
  std::uint32_t currentRow = 0;
  std::uint32_t rowBytes = 0;  // stored row length, a multiple of 4
  std::uint32_t dataOffset = 0;
};

std::unique_ptr<LXWindowsBMPRecT> LXWindowsBMP_New(const char* path);
void LXWindowsBMP_Delete(std::unique_ptr<LXWindowsBMPRecT> rec);
void LXWindowsBMP_GetImageBox(const LXWindowsBMPRecT* rec, LXRect* box);
void LXWindowsBMP_Rewind(LXWindowsBMPRecT* rec);
std::int32_t LXWindowsBMP_ReadNextRasterBlock(LXWindowsBMPRecT* rec, LXGWorld* band,
                                              const unsigned char* table);
std::int32_t LXWindowsBMP_ReadNextRasterBlockRGB(LXWindowsBMPRecT* rec, LXGWorld* red,
                                                 LXGWorld* green, LXGWorld* blue);
