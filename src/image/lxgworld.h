// Band buffers: one colour plane of a band of image rows.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

// top, left, bottom, right; bottom and right exclusive.
struct LXRect {
  std::int32_t top = 0;
  std::int32_t left = 0;
  std::int32_t bottom = 0;
  std::int32_t right = 0;
};

struct LXGWorld {
  LXGWorld* self = nullptr;  // users reach the pixels through self->baseAddr
  unsigned char* baseAddr = nullptr;
  std::uint32_t rowBytes = 0;  // multiple of 4
  LXRect bounds;
  std::uint16_t pixelSize = 0;
  std::vector<unsigned char> pixels;  // (bottom - top) rows of rowBytes, zero when made
};

// Stores a new zero-filled band into *out and returns 0, or returns an errno value.
int LXNewGWorld(std::unique_ptr<LXGWorld>* out, int pixelSize, const LXRect& bounds);
void LXClearGWorld(LXGWorld* world);
void LXClearGWorldRGB(LXGWorld* world);
void LXDumpData(const void* data, long length);

namespace lximage {
// The bytes LXNewGWorld takes for such a band, 0 when it would refuse it.
std::uint64_t newBandBytes(int pixelSize, const LXRect& bounds);
// LXNewGWorld without the message, for a band the job can do without: null when refused.
std::unique_ptr<LXGWorld> newBandQuietly(int pixelSize, const LXRect& bounds);
}  // namespace lximage
