// Row-level helpers shared by the TIFF and BMP readers: band access and depth conversions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

#include "image/lxgworld.h"

namespace lximage {

// The size of an open file in bytes, 0 when it cannot be told; the position is left at 0.
std::uint64_t fileSize(std::FILE* stream);

// The rows a header may claim, cut to what the file could hold: file size / row bytes, or 64
// times that for PackBits at its densest; a row of 0 bytes counts as 1.
std::uint32_t rowsTheFileHolds(std::uint32_t height, std::uint64_t rowBytes, bool packBits,
                               std::uint64_t fileSize);

// "ERROR! <who> can't open '<path>'. (errno=<e>)\n(<e>)\n" on stderr.
void reportCannotOpen(const char* who, const char* path, int error);

// The band's pixel area: (bottom - top) rows of rowBytes bytes, never past its allocation.
std::span<unsigned char> bandBytes(LXGWorld* world);
std::uint32_t bandHeight(const LXGWorld* world);
std::uint32_t bandRowBytes(const LXGWorld* world);
std::uint16_t bandPixelSize(const LXGWorld* world);
// Clears the three bands of an RGB read to white; their common pixel size, or 0 when a band is
// missing or the sizes differ.
unsigned clearRGBBands(LXGWorld* red, LXGWorld* green, LXGWorld* blue);

// Copies a converted row to band row `row`; a row longer than the stride runs on into the
// next rows and whatever passes the band's end is dropped.
void putRow(LXGWorld* world, std::uint32_t row, std::span<const unsigned char> bytes);

// Groups of four 8-bit values become four 10-bit values v * 4 in five bytes, big-endian bit
// order. A short last group takes `fill`; `invert` turns v into 255 - v after filling.
void pack8To10(std::span<const unsigned char> values, unsigned char fill, bool invert,
               std::vector<unsigned char>& out);

// Groups of four 16-bit samples (byte pairs in file order, swapped when `littleEndian`) into
// five bytes: the high byte of sample 0, then bits 1..0 of its low byte, then the top ten bits
// of samples 1 to 3. A short last group takes `fill` bytes; `invert` flips every byte.
void pack16To10(std::span<const unsigned char> bytes, std::size_t samples, bool littleEndian,
                unsigned char fill, bool invert, std::vector<unsigned char>& out);

// Pairs of 8-bit values become 12-bit values v * 16 in three bytes; a short pair takes 255.
void pack8To12(std::span<const unsigned char> values, std::vector<unsigned char>& out);

// ORs table[v] for each value into a row of `bits` (2 or 4) bits a pixel, high bits first;
// a level wider than the pixel spills into its left neighbours, cut to the byte.
void packLevels(std::span<const unsigned char> values, const unsigned char* table, int bits,
                std::vector<unsigned char>& out);

// Clears the bits of the last pixel byte past `width` pixels of `bits` bits and zeroes the
// bytes after it.
void clearPastWidth(std::vector<unsigned char>& row, std::uint64_t width, int bits);

}  // namespace lximage
