// One interface over the TIFF and BMP readers, chosen by the file name's extension.
#include "image/lxbmp.h"

#include <cctype>
#include <cstring>
#include <vector>

#include "image/bmp.h"
#include "image/tiff.h"

namespace {

constexpr std::uint32_t kKindTIF = 0x54494600;  // "TIF\0"

// Up to four characters after the last '.', upper-cased, first in the top byte.
std::uint32_t extensionCode(const char* path) {
  if (path == nullptr) return 0;
  const char* dot = std::strrchr(path, '.');
  if (dot == nullptr) return 0;
  std::uint32_t code = 0;
  const char* c = dot + 1;
  for (int i = 0; i < 4; ++i) {
    code <<= 8;
    if (*c != '\0') {
      code |= static_cast<unsigned char>(std::toupper(static_cast<unsigned char>(*c)));
      ++c;
    }
  }
  return code;
}

// The kind word picks the reader; a record that is not of that reader counts as unknown.
LXTiffRecT* asTiff(LXBMPRecT* handle) {
  return handle != nullptr && handle->kind == kLXKindTIFF ? dynamic_cast<LXTiffRecT*>(handle)
                                                          : nullptr;
}
const LXTiffRecT* asTiff(const LXBMPRecT* handle) {
  return asTiff(const_cast<LXBMPRecT*>(handle));
}
LXWindowsBMPRecT* asBMP(LXBMPRecT* handle) {
  return handle != nullptr && handle->kind == kLXKindBMP ? dynamic_cast<LXWindowsBMPRecT*>(handle)
                                                         : nullptr;
}
const LXWindowsBMPRecT* asBMP(const LXBMPRecT* handle) {
  return asBMP(const_cast<LXBMPRecT*>(handle));
}

}  // namespace

std::unique_ptr<LXBMPRecT> LXBMP_New(const char* path) {
  std::uint32_t kind = extensionCode(path);
  std::unique_ptr<LXBMPRecT> handle;
  if (kind == kKindTIF) kind = kLXKindTIFF;
  if (kind == kLXKindTIFF) {
    handle = LXTiff_New(path);
    if (!handle) return nullptr;
  } else if (kind == kLXKindBMP) {
    handle = LXWindowsBMP_New(path);
    if (!handle) return nullptr;
  } else {
    // An unsupported kind still gets a handle; it reads nothing.
    handle = std::make_unique<LXBMPRecT>();
  }
  handle->kind = kind;
  return handle;
}

void LXBMP_Delete(std::unique_ptr<LXBMPRecT> handle) {
  if (LXTiffRecT* tiff = asTiff(handle.get())) {
    handle.release();
    LXTiff_Delete(std::unique_ptr<LXTiffRecT>(tiff));
  } else if (LXWindowsBMPRecT* bmp = asBMP(handle.get())) {
    handle.release();
    LXWindowsBMP_Delete(std::unique_ptr<LXWindowsBMPRecT>(bmp));
  }
}

void LXBMP_GetImageBox(const LXBMPRecT* handle, LXRect* box) {
  if (const LXTiffRecT* tiff = asTiff(handle)) {
    LXTiff_GetImageBox(tiff, box);
  } else if (const LXWindowsBMPRecT* bmp = asBMP(handle)) {
    LXWindowsBMP_GetImageBox(bmp, box);
  }
}

void LXBMP_Rewind(LXBMPRecT* handle) {
  if (LXTiffRecT* tiff = asTiff(handle)) {
    LXTiff_Rewind(tiff);
  } else if (LXWindowsBMPRecT* bmp = asBMP(handle)) {
    LXWindowsBMP_Rewind(bmp);
  }
}

std::int32_t LXBMP_ReadNextRasterBlock(LXBMPRecT* handle, LXGWorld* band,
                                       const unsigned char* table) {
  if (LXTiffRecT* tiff = asTiff(handle)) return LXTiff_ReadNextRasterBlock(tiff, band, table);
  if (LXWindowsBMPRecT* bmp = asBMP(handle)) {
    return LXWindowsBMP_ReadNextRasterBlock(bmp, band, table);
  }
  return 0;
}

std::int32_t LXBMP_ReadNextRasterBlockRGB(LXBMPRecT* handle, LXGWorld* red, LXGWorld* green,
                                          LXGWorld* blue) {
  if (LXTiffRecT* tiff = asTiff(handle)) {
    return LXTiff_ReadNextRasterBlockRGB(tiff, red, green, blue);
  }
  if (LXWindowsBMPRecT* bmp = asBMP(handle)) {
    return LXWindowsBMP_ReadNextRasterBlockRGB(bmp, red, green, blue);
  }
  return 0;
}

std::int32_t LXBMP_ReadNextRasterBlockCMYK(LXBMPRecT* handle, LXGWorld* band,
                                           const unsigned char* table, int channel) {
  if (LXTiffRecT* tiff = asTiff(handle)) {
    return LXTiff_ReadNextRasterBlockCMYK(tiff, band, table, channel);
  }
  return 0;
}

std::int32_t LXBMP_ReadNextRasterBlocksCMYK(std::span<const LXChannelRead> reads) {
  std::vector<LXTiffChannelRead> tiffReads;
  tiffReads.reserve(reads.size());
  for (const LXChannelRead& read : reads) {
    if (LXTiffRecT* tiff = asTiff(read.reader)) {
      tiffReads.push_back({tiff, read.band, read.table, read.channel});
    }
  }
  return LXTiff_ReadNextRasterBlocksCMYK(tiffReads);
}

void LXBMP_ShareReads(const LXBMPRecT* from, LXBMPRecT* to) {
  LXTiff_ShareReads(asTiff(from), asTiff(to));
}

std::uint32_t LXBMP_GetWidth(const LXBMPRecT* handle) {
  if (handle == nullptr) return 0xFFFFFFFF;
  if (asTiff(handle) == nullptr && asBMP(handle) == nullptr) return 0;
  return handle->width;
}
