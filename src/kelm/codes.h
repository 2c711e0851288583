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

// Row compressions, as "ESC*b#M" announces them.
namespace compression {
enum Code : int {
  kNone = 0,
  kPackBits = 2,
  kSeedRow = 3,
  kPackBitsBlock = 128,    // rows gathered into blocks
  kPackBitsSeedRow = 256,  // seed row or PackBits, row by row; announced as PackBits
};
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
