// The raster language's numbers, named once for the configuration, the encoder and the
// decoder: colour spaces, compressions, processing modes and colour planes.
#pragma once

#include <cstdint>

namespace kelm {

// Image formats, as "ColorSpace" gives them and the plane configuration carries them.
namespace color_space {
enum Code : int {
  kRowRGB = 2,
  kRowInkMultiLevel = 3,  // KCMY or KCcMmY
  kRowInkIndex = 4,
  kRowInkBiLevel = 5,
  kPixelRGB = 18,
  kPixelInkMultiLevel = 19,
  kPixelInkIndex = 20,
  kPixelInkBiLevel = 21,
};
}  // namespace color_space

// Row compressions, as "CompressionMode" names them.
namespace compression {
enum Code : int {
  kNone = 0,
  kPackBits = 2,
  kSeedRow = 3,
  kPackBitsBlock = 128,    // rows gathered into blocks
  kPackBitsSeedRow = 256,  // seed row or PackBits, row by row; announced as PackBits
};

// What the encoder, the configuration and the decoder need to know of a compression. A row a
// seed-row compression cannot code against the row above goes out in `fallback`.
struct Kind {
  Code code;
  const char* symbol;  // the configuration's name for it
  const char* name;    // in summaries; null for one never announced under its own code
  Code announced;      // the code "ESC*b#M" gives when rows of it start
  bool block;          // rows gathered into blocks of kBlockRows
  bool seedRow;        // rows coded against the row above
  Code fallback;
};

inline constexpr Kind kKinds[] = {
    {kNone, "kelm_id_val_compression_none", "none", kNone, false, false, kNone},
    {kPackBits, "kelm_id_val_compression_packbits", "packbits", kPackBits, false, false, kPackBits},
    {kSeedRow, "kelm_id_val_compression_seedrow", "seedrow", kSeedRow, false, true, kNone},
    {kPackBitsBlock, "kelm_id_val_compression_packbits_block", "block", kPackBitsBlock, true, false,
     kPackBitsBlock},
    {kPackBitsSeedRow, "kelm_id_val_compression_packbits_seedrow", nullptr, kPackBits, false, true,
     kPackBits},
};

inline constexpr int kBlockRows = 128;

// The row of `code`, or null for a code no compression has.
constexpr const Kind* find(std::int64_t code) {
  for (const Kind& k : kKinds)
    if (k.code == code) return &k;
  return nullptr;
}

// The compressions a print file announces by their own code, in table order: a summary's
// columns.
inline constexpr int kAnnouncedCount = [] {
  int n = 0;
  for (const Kind& k : kKinds) n += k.name != nullptr ? 1 : 0;
  return n;
}();
// The column of an announced code; -1 for any other.
constexpr int announcedIndex(std::int64_t code) {
  int i = 0;
  for (const Kind& k : kKinds) {
    if (k.name == nullptr) continue;
    if (k.code == code) return i;
    ++i;
  }
  return -1;
}

}  // namespace compression

// Processing mode: family x 1000 + compression.
namespace family {
enum Code : int {
  kRGBOnePlane = 2,
  kRGBThreePlanes = 3,
  kFourInk = 4,
  kSixInk = 5,
  kPixelRGB = 10,  // planes interleaved byte by byte into one row
};
}  // namespace family

constexpr int modeOf(int family, int compression) {
  return family * 1000 + compression;
}
constexpr int familyOf(int mode) {
  return mode / 1000;
}
constexpr int compressionOf(int mode) {
  return mode % 1000;
}

// The colour planes, in the order of the image entry's depth fields; the first six are the
// inks that take index levels.
enum Plane : int {
  kPlaneK,
  kPlaneC,
  kPlaneM,
  kPlaneY,
  kPlanec,
  kPlanem,
  kPlaneR,
  kPlaneG,
  kPlaneB,
  kPlaneGy,
  kPlanePgy,
  kPlaneCount
};
inline constexpr int kInkPlaneCount = kPlanem + 1;

// The order in which the printer takes the planes of a row.
inline constexpr Plane kPrinterPlaneOrder[kPlaneCount] = {kPlaneK, kPlaneC, kPlanec,  kPlaneM,
                                                          kPlanem, kPlaneY, kPlaneGy, kPlanePgy,
                                                          kPlaneR, kPlaneG, kPlaneB};

}  // namespace kelm
