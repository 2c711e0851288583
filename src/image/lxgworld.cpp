// Band buffers: allocation and row access for one colour plane of a band.
#include "image/lxgworld.h"

#include <cerrno>
#include <cstdint>
#include <new>
#include <optional>
#include <stdexcept>

#include "diag/diag.h"
#include "image/band.h"
#include "image/limits.h"

namespace {

struct RowLayout {
  std::uint16_t storedSize;
  unsigned bits;
};

RowLayout rowLayout(int pixelSize) {
  switch (pixelSize) {
    case 0:
      return {32, 32};
    case 1:
    case 2:
    case 4:
    case 8:
    case 10:
    case 16:
      return {static_cast<std::uint16_t>(pixelSize), static_cast<unsigned>(pixelSize)};
    default:
      return {static_cast<std::uint16_t>(pixelSize), 32};
  }
}

int fail(int error) {
  errno = error;
  diag::imageError("LXewGWorld failed.", error);
  return error;
}

// The sizes of a band, or nothing when it is too large to make. A negative size stands for a
// huge one (a width of 2^31 or more read as signed).
std::optional<lximage::ImageBytes> bandSize(const RowLayout& layout, const LXRect& bounds) {
  const std::int64_t w = std::int64_t{bounds.right} - bounds.left;
  const std::int64_t h = std::int64_t{bounds.bottom} - bounds.top;
  if (w < 0 || h < 0) return std::nullopt;
  return lximage::imageBytes(static_cast<std::uint32_t>(w), static_cast<std::uint64_t>(h),
                             layout.bits, 4);
}

}  // namespace

int LXNewGWorld(std::unique_ptr<LXGWorld>* out, int pixelSize, const LXRect& bounds) {
  if (out == nullptr) return EINVAL;
  std::unique_ptr<LXGWorld> world = lximage::newBandQuietly(pixelSize, bounds);
  if (world == nullptr) return fail(ENOMEM);
  *out = std::move(world);
  return 0;
}

std::uint64_t lximage::newBandBytes(int pixelSize, const LXRect& bounds) {
  const auto bytes = bandSize(rowLayout(pixelSize), bounds);
  return bytes ? bytes->total : 0;
}

std::unique_ptr<LXGWorld> lximage::newBandQuietly(int pixelSize, const LXRect& bounds) {
  const RowLayout layout = rowLayout(pixelSize);
  const auto bytes = bandSize(layout, bounds);
  if (!bytes) return nullptr;
  std::unique_ptr<LXGWorld> world;
  try {
    world = std::make_unique<LXGWorld>();
    world->pixels.resize(static_cast<std::size_t>(bytes->total));
  } catch (const std::bad_alloc&) {
    return nullptr;
  } catch (const std::length_error&) {
    return nullptr;
  }
  world->self = world.get();
  world->baseAddr = world->pixels.data();
  world->rowBytes = static_cast<std::uint32_t>(bytes->row);
  world->bounds = bounds;
  world->pixelSize = layout.storedSize;
  return world;
}

void LXClearGWorld(LXGWorld* world) {
  for (unsigned char& b : lximage::bandBytes(world)) b = 0x00;
}

void LXClearGWorldRGB(LXGWorld* world) {
  for (unsigned char& b : lximage::bandBytes(world)) b = 0xFF;
}

void LXDumpData(const void* data, long length) {
  if (data == nullptr) return;
  const auto* bytes = static_cast<const unsigned char*>(data);
  // A short last group shows only the bytes that exist, blank columns keeping the layout.
  for (long at = 0; at < length; at += 16) {
    const long n = length - at < 16 ? length - at : 16;
    char text[17] = {};
    for (long i = 0; i < 16; ++i) {
      if (i < n) {
        const unsigned char c = bytes[at + i];
        std::printf("%02X ", c);
        text[i] = (c >= 0x20 && c <= 0x7E) ? static_cast<char>(c) : '.';
      } else {
        std::printf("   ");
      }
    }
    std::printf(" %s\n", text);
  }
}
