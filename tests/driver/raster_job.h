// Runs whole jobs through makeZELPData and decodes the print file they write.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "inspect/packets.h"
#include "inspect/raster.h"
#include "support/support.h"

namespace rasterjob {

using Bytes = std::vector<std::uint8_t>;

// An 8-bit image in memory: rows of `channels` bytes a pixel, top row first.
struct Source {
  int width = 0, height = 0, channels = 1;
  std::vector<Bytes> rows;
  std::uint8_t at(int r, int x, int channel) const {
    return rows[r][static_cast<std::size_t>(x * channels + channel)];
  }
};
// Rows of runs and literals, rows that repeat the one before but for a byte, and rows of
// `white` (also the last three, which the encoder then never sends).
Source makeSource(int width, int height, int channels, std::uint8_t white, std::uint32_t seed);

// One channel gives an 8-bit gray bitmap, three channels (R, G, B) a 24-bit one.
void writeBmp(const std::string& path, const Source& source);

struct TiffForm {
  std::uint16_t photometric = 1;
  bool packBits = false;
  bool bigEndian = false;
  bool oneBit = false;  // a one-channel source as 1-bit pixels, set where the value is 128 or more
  std::uint32_t rowsPerStrip = 64;
};
void writeTiff(const std::string& path, const Source& source, const TiffForm& form);

// Writes job.cfg into `dir` ([ZELP] with a fixed JobTime and `zelp`, [KELM] with `kelm`, then
// `images`, the [Image] sections), runs it, checks that job.dat holds one well-formed job and
// returns its raster commands.
std::vector<inspect::RasterCommand> printJob(const testsupport::TempDir& dir,
                                             const std::string& zelp, const std::string& kelm,
                                             const std::string& images);

// The raster images of `commands`; a stream that does not rebuild fails the test.
std::vector<inspect::RasterImage> rebuild(const std::vector<inspect::RasterCommand>& commands);

// The codes of commands [from, to), row transfers ("*b" V and W) left out.
std::string outline(const std::vector<inspect::RasterCommand>& commands, std::size_t from,
                    std::size_t to);

// `row` without its trailing `blank` bytes.
Bytes trimmed(Bytes row, std::uint8_t blank);

}  // namespace rasterjob
