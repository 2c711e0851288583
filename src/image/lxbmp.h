// Image readers behind one interface, chosen by the file name's extension: a format is a
// record deriving from LXBMPRecT and a row of the table in lxbmp.cpp.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

#include "image/lxgworld.h"
#include "image/reduction.h"

constexpr std::uint32_t kLXKindTIFF = 0x54494646;  // "TIFF"
constexpr std::uint32_t kLXKindBMP = 0x424D5000;   // "BMP\0"

struct LXFileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using LXFilePtr = std::unique_ptr<std::FILE, LXFileCloser>;

// The record every reader derives its own from. A record of no reader (a file named as no
// format is) reads nothing.
struct LXBMPRecT {
  std::uint32_t kind = 0;
  LXFilePtr stream;
  std::unique_ptr<char[]> path;
  std::uint32_t width = 0;
  std::uint32_t height = 0;        // rows the file holds
  std::uint32_t headerHeight = 0;  // rows its header claims, for a summary of the picture
  std::uint8_t bitsPerPixel = 1;
  virtual ~LXBMPRecT() = default;

  virtual void box(LXRect* box) const { (void)box; }
  virtual void rewind() {}
  virtual std::int32_t read(LXGWorld* band, const unsigned char* table) {
    (void)band, (void)table;
    return 0;
  }
  virtual std::int32_t readRGB(LXGWorld* red, LXGWorld* green, LXGWorld* blue) {
    (void)red, (void)green, (void)blue;
    return 0;
  }
  virtual std::int32_t readCMYK(LXGWorld* band, const unsigned char* table, int channel) {
    (void)band, (void)table, (void)channel;
    return 0;
  }
  // Why the file gives no rows, or rows other than its pixels, as said after its name; empty
  // when it reads as it should.
  [[nodiscard]] virtual std::string whyUnreadable() const;
  // The name of a compression the file uses that its rows are not decoded from; empty for none.
  [[nodiscard]] virtual std::string undecodedCompression() const { return {}; }
};

// A reduction table is a 256-entry byte table, null (choose by band pixel size), or
// kRGBSenseTable: RGB sense, no inversion.
std::unique_ptr<LXBMPRecT> LXBMP_New(const char* path);
void LXBMP_Delete(std::unique_ptr<LXBMPRecT> handle);
void LXBMP_GetImageBox(const LXBMPRecT* handle, LXRect* box);
void LXBMP_Rewind(LXBMPRecT* handle);
std::int32_t LXBMP_ReadNextRasterBlock(LXBMPRecT* handle, LXGWorld* band,
                                       const unsigned char* table);
std::int32_t LXBMP_ReadNextRasterBlockRGB(LXBMPRecT* handle, LXGWorld* red, LXGWorld* green,
                                          LXGWorld* blue);
std::int32_t LXBMP_ReadNextRasterBlockCMYK(LXBMPRecT* handle, LXGWorld* band,
                                           const unsigned char* table, int channel);
// One ink channel of an interleaved image, the reader it comes through and the band it goes to;
// the same for the readers of every format.
template <typename Reader>
struct LXChannelReadOf {
  Reader* reader = nullptr;
  LXGWorld* band = nullptr;
  const unsigned char* table = nullptr;
  int channel = 0;
};
using LXChannelRead = LXChannelReadOf<LXBMPRecT>;
// LXBMP_ReadNextRasterBlockCMYK for every read, taking a row of each in turn; the most rows
// any of them gave.
std::int32_t LXBMP_ReadNextRasterBlocksCMYK(std::span<const LXChannelRead> reads);
// Readers of one TIFF file that read it in step share one read of it.
void LXBMP_ShareReads(const LXBMPRecT* from, LXBMPRecT* to);
std::uint32_t LXBMP_GetWidth(const LXBMPRecT* handle);
// The name of the record's format ("TIFF", "BMP"); null for a record of none.
const char* LXBMP_KindName(const LXBMPRecT* handle);
