// Raster stream decoder: splits the raster language stream of a print file (see
// inspect::rasterStream) into its commands and rebuilds the planes' rows of every raster image.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace inspect {

struct RasterCommand {
  enum class Kind { kText, kEscape, kParameterized };
  Kind kind = Kind::kText;
  std::size_t offset = 0;  // of the command's first byte in the stream
  // kText: the text (a line with its "\n", or what stands before the next ESC);
  // kEscape: the character after ESC; kParameterized: the parameterized and group characters
  // ("*b", "%", "$").
  std::string text;
  bool continued = false;  // follows a lower-case parameter of the same escape sequence
  std::string value;       // as written, sign included: "+20", "-12345", "" when none
  std::int64_t number = 0;
  char parameter = 0;              // as written; lower case when another parameter follows
  std::vector<std::uint8_t> data;  // payload of a W (and "*b" V) command

  // The command as a sequence of its own, "ESC" standing for the escape byte, without payload:
  // "ESC*b12W". Text is returned as it is.
  std::string code() const;
  // A parameterized command of this group and parameter (either case).
  bool is(std::string_view group, char letter) const;
};

// False, with a message naming the offset, when the stream does not parse.
bool parseRaster(std::span<const std::uint8_t> stream, std::vector<RasterCommand>* commands,
                 std::string* error);

// One raster image: the rows between "ESC*r1A" and "ESC*rC".
struct RasterImage {
  std::size_t firstCommand = 0;             // the start command
  std::size_t endCommand = 0;               // one past the end command
  std::vector<std::uint8_t> configuration;  // payload of the last "ESC*v#W" before the image
  // planes[p][r]: row r of plane p as sent, trailing blank bytes not restored; a skipped row or
  // a plane missing from a row is empty.
  std::vector<std::vector<std::vector<std::uint8_t>>> planes;
  // compression[p][r]: the compression the row was sent with; -1 when it was not sent.
  std::vector<std::vector<int>> compression;
  std::vector<std::size_t> blockRows;  // rows of each block, in order
  std::int32_t blockWidth = -1;        // the width field of the last block
  std::size_t rows() const { return planes.empty() ? 0 : planes.front().size(); }
};

// Decodes every raster image of the command list. `planesPerRow` is the number of plane rows
// per row inside blocks; 0 takes the plane count of the configuration.
bool rebuildRasterImages(const std::vector<RasterCommand>& commands,
                         std::vector<RasterImage>* images, std::string* error,
                         int planesPerRow = 0);

// PackBits decoding, appended to `out`. With `toEndMark` the code ends at the header byte 0x80
// (as in a block's plane rows) and `used` receives the bytes read, mark included; without it
// 0x80 is skipped. False when the code is cut short.
bool unpackBits(std::span<const std::uint8_t> code, std::vector<std::uint8_t>* out,
                bool toEndMark = false, std::size_t* used = nullptr);

// Applies delta-row commands to `row`, which holds the seed; the row grows with zeros when a
// replacement passes its end. False when the code is cut short.
bool applySeedRow(std::span<const std::uint8_t> code, std::vector<std::uint8_t>* row);

}  // namespace inspect
