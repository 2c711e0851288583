// Whole print files read as a stream: packets are checked one by one, the raster bytes of the
// data packets are parsed as they arrive and every row is decoded once, so a file of any size
// is read in the memory of one packet and one raster row. `inspect` and `render` both read
// through readJob.
//
// The text listing (formatText) has four parts, each line stable from run to run:
//   file NAME: N bytes
//   packets:                  one line per packet: hex offset, name, operation, flags, parameter
//                             length, decoded contents with the raw bytes in brackets (a value
//                             over 32 bytes, and every data payload, as its CRC-32), so that any
//                             changed byte of the file changes a line
//   raster:                   the header's text lines and table files, then per page and image:
//                             position in printer dots, graphic resolution, colour space, planes
//                             and depths, compression, rows sent and skipped, width, coded bytes
//                             per compression, CRC-32 of the decoded rows
//   ok | fault at offset N: MESSAGE   (N: byte offset in the file)
// formatJson gives the same as one JSON document.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "inspect/packets.h"
#include "inspect/raster.h"
#include "kelm/codes.h"

namespace inspect {

// Where a raster image lies on its page. A pixel of a raster at a graphic resolution below the
// printer's covers several printer dots: column i spans dots [x + i*dotsH/pixelsH, x +
// (i+1)*dotsH/pixelsH), rows likewise.
struct Placement {
  int page = 0, image = 0;  // from 0
  std::size_t offset = 0;   // file offset of the start command
  std::int64_t x = 0, y = 0;
  std::int64_t dotsH = 1, pixelsH = 1, dotsV = 1, pixelsV = 1;
  std::vector<std::uint8_t> configuration;
  int compression = 0;
  std::int64_t dotX(std::int64_t column) const { return x + column * dotsH / pixelsH; }
  std::int64_t dotY(std::int64_t row) const { return y + row * dotsV / pixelsV; }
};

// What readJob finds, in file order. Rows carry their index in the image.
class JobSink {
 public:
  virtual ~JobSink() = default;
  virtual void packet(const Packet& p) { (void)p; }
  virtual void command(const RasterCommand& c) { (void)c; }
  virtual void imageStart(const Placement& at) { (void)at; }
  virtual void row(std::int64_t index, std::vector<PlaneRow>& planes) { (void)index, (void)planes; }
  virtual void skip(std::int64_t rows) { (void)rows; }
  virtual void block(std::int32_t width, std::size_t rows, std::size_t bytes) {
    (void)width, (void)rows, (void)bytes;
  }
  virtual void imageEnd(std::int64_t rows) { (void)rows; }
  virtual void pageEnd(const std::string& command) { (void)command; }
};

struct Fault {
  std::size_t offset = 0;  // in the file
  std::string message;
};

// Reads and checks the print file at `path` (packet framing, one job in order, job octets equal
// to the file size, a raster stream that parses and decodes). False with the first fault.
// `progress` (if set) is called now and then with the bytes read and the file size.
bool readJob(const std::string& path, JobSink* sink, Fault* fault,
             const std::function<void(std::uint64_t, std::uint64_t)>& progress = {});

struct ImageSummary {
  Placement at;
  std::int64_t rows = 0, skipped = 0;
  std::int64_t widthPixels = 0;  // of the widest decoded row
  // Coded row bytes, a column per announced compression: none, PackBits, seed row, blocks.
  std::int64_t bytes[kelm::compression::kAnnouncedCount] = {};
  std::int32_t blockWidth = -1;
  std::uint32_t crc = 0;  // of the decoded rows, plane by plane
  std::int64_t dotRight() const { return at.dotX(widthPixels); }
  std::int64_t dotBottom() const { return at.dotY(rows); }
};

struct PageSummary {
  std::vector<ImageSummary> images;
  std::string end;                     // the command that ended it; empty when the file ended first
  std::int64_t width = 0, height = 0;  // printer dots holding every image
};

struct JobSummary {
  std::string name;
  std::uint64_t size = 0;
  std::vector<std::string> packets;      // describePacket lines
  std::vector<std::string> packetsJson;  // describePacketJson objects
  std::vector<std::string> header;       // text lines and table files before the first page
  std::vector<PageSummary> pages;
  bool ok = false;
  Fault fault;
};

JobSummary summarize(const std::string& path,
                     const std::function<void(std::uint64_t, std::uint64_t)>& progress = {});
std::string formatText(const JobSummary& summary);
std::string formatJson(const JobSummary& summary);

std::uint32_t crc32(std::uint32_t crc, const std::uint8_t* bytes, std::size_t n);

// Planes of a raster row as colours: K, C, M, Y and the light and gray inks subtract from
// white, R, G and B planes (and a lone gray plane in an RGB colour space) are light as they are.
class ColourModel {
 public:
  explicit ColourModel(const std::vector<std::uint8_t>& configuration);
  // The first `pixels` pixels of a row as R, G, B bytes; missing bytes of a trimmed plane row
  // are blank (no ink).
  void rgb(const std::vector<std::vector<std::uint8_t>>& planes, std::size_t pixels,
           std::uint8_t* out) const;
  // Pixels in a plane row of `bytes` bytes.
  std::int64_t pixels(std::size_t bytes) const;

 private:
  struct Plane {
    int depth = 8;
    std::vector<std::array<float, 3>> factor;  // per value: what is left of R, G, B
  };
  std::vector<Plane> planes_;
  bool interleaved_ = false;
  std::uint8_t blank_ = 0;
};

}  // namespace inspect
