// One interface over the image readers, chosen by the file name's extension.
#include "image/lxbmp.h"

#include <cctype>
#include <cstring>
#include <vector>

#include "image/bmp.h"
#include "image/tiff.h"

namespace {

constexpr std::uint32_t kKindTIF = 0x54494600;  // "TIF\0"

// A format: the extensions it answers to, as extensionCode gives them, and its reader.
struct Format {
  std::uint32_t kind;
  const char* name;
  bool (*recognise)(std::uint32_t extension);
  std::unique_ptr<LXBMPRecT> (*open)(const char* path);
};

constexpr Format kFormats[] = {
    {kLXKindTIFF, "TIFF", [](std::uint32_t e) { return e == kLXKindTIFF || e == kKindTIF; },
     [](const char* path) -> std::unique_ptr<LXBMPRecT> { return LXTiff_New(path); }},
    {kLXKindBMP, "BMP", [](std::uint32_t e) { return e == kLXKindBMP; },
     [](const char* path) -> std::unique_ptr<LXBMPRecT> { return LXWindowsBMP_New(path); }},
};

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

const Format* formatOf(const LXBMPRecT* handle) {
  if (handle == nullptr) return nullptr;
  for (const Format& f : kFormats)
    if (f.kind == handle->kind) return &f;
  return nullptr;
}

// Reading several channels in step, and sharing one read of a file, are the TIFF reader's.
LXTiffRecT* asTiff(const LXBMPRecT* handle) {
  return handle != nullptr && handle->kind == kLXKindTIFF
             ? dynamic_cast<LXTiffRecT*>(const_cast<LXBMPRecT*>(handle))
             : nullptr;
}

}  // namespace

std::string LXBMPRecT::whyUnreadable() const {
  return "is not named as a TIFF or BMP file (.tif, .tiff, .bmp); nothing of it is printed";
}

std::unique_ptr<LXBMPRecT> LXBMP_New(const char* path) {
  const std::uint32_t extension = extensionCode(path);
  for (const Format& f : kFormats) {
    if (!f.recognise(extension)) continue;
    std::unique_ptr<LXBMPRecT> handle = f.open(path);
    if (handle) handle->kind = f.kind;
    return handle;
  }
  // An unsupported kind still gets a handle; it reads nothing.
  auto handle = std::make_unique<LXBMPRecT>();
  handle->kind = extension;
  return handle;
}

void LXBMP_Delete(std::unique_ptr<LXBMPRecT> handle) {
  handle.reset();
}

void LXBMP_GetImageBox(const LXBMPRecT* handle, LXRect* box) {
  if (handle != nullptr) handle->box(box);
}

void LXBMP_Rewind(LXBMPRecT* handle) {
  if (handle != nullptr) handle->rewind();
}

std::int32_t LXBMP_ReadNextRasterBlock(LXBMPRecT* handle, LXGWorld* band,
                                       const unsigned char* table) {
  return handle != nullptr ? handle->read(band, table) : 0;
}

std::int32_t LXBMP_ReadNextRasterBlockRGB(LXBMPRecT* handle, LXGWorld* red, LXGWorld* green,
                                          LXGWorld* blue) {
  return handle != nullptr ? handle->readRGB(red, green, blue) : 0;
}

std::int32_t LXBMP_ReadNextRasterBlockCMYK(LXBMPRecT* handle, LXGWorld* band,
                                           const unsigned char* table, int channel) {
  return handle != nullptr ? handle->readCMYK(band, table, channel) : 0;
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
  return formatOf(handle) != nullptr ? handle->width : 0;
}

const char* LXBMP_KindName(const LXBMPRecT* handle) {
  const Format* format = formatOf(handle);
  return format != nullptr ? format->name : nullptr;
}
