// Raster stream decoder: splits the raster language stream of a print file (see
// inspect::rasterStream) into its commands and rebuilds the planes' rows of every raster image.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
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

// Splits a stream that arrives in pieces: each whole command goes to the callback as soon as its
// last byte (payload included) has arrived; a command cut by a piece's end waits for the next.
class RasterParser {
 public:
  using Out = std::function<bool(RasterCommand&&)>;
  // False, with a message naming the stream offset, when the bytes do not parse or `out` says so.
  bool feed(std::span<const std::uint8_t> bytes, const Out& out, std::string* error);
  // The end of the stream: a command still waiting for bytes is a fault.
  bool finish(const Out& out, std::string* error);
  // Stream offset of the first byte not yet handed out as a command.
  std::size_t pendingOffset() const { return base_; }

 private:
  bool parse(std::span<const std::uint8_t> s, bool final, const Out& out, std::string* error,
             std::size_t* used);
  std::vector<std::uint8_t> pending_;
  std::size_t base_ = 0;  // stream offset of pending_[0]
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

// One plane of a raster row as decoded; `compression` -1 for a plane the row did not send.
struct PlaneRow {
  std::vector<std::uint8_t> bytes;
  int compression = -1;
  std::size_t coded = 0;  // bytes the row took in the stream (block rows count in the block)
};

// What the row decoder finds, in stream order.
class RowSink {
 public:
  virtual ~RowSink() = default;
  virtual void imageStart(const RasterCommand& start,
                          const std::vector<std::uint8_t>& configuration) {
    (void)start, (void)configuration;
  }
  // One raster row: its plane rows in the order sent (empty for a row of no plane).
  virtual void row(std::vector<PlaneRow>& planes) { (void)planes; }
  virtual void skip(std::int64_t rows) { (void)rows; }
  virtual void block(std::int32_t width, std::size_t rows, std::size_t bytes) {
    (void)width, (void)rows, (void)bytes;
  }
  virtual void imageEnd(const RasterCommand& end) { (void)end; }
};

// Rebuilds rows from commands given one at a time.
class RasterDecoder {
 public:
  // `planesPerRow` is the number of plane rows per row inside blocks; 0 takes the plane count
  // of the configuration.
  explicit RasterDecoder(RowSink* sink, int planesPerRow = 0);
  ~RasterDecoder();
  RasterDecoder(const RasterDecoder&) = delete;
  RasterDecoder& operator=(const RasterDecoder&) = delete;
  bool add(const RasterCommand& c, std::string* error);
  // The end of the stream: an image still open is a fault at `offset`.
  bool finish(std::size_t offset, std::string* error);
  bool inImage() const { return builder_ != nullptr; }
  int compression() const { return compression_; }
  const std::vector<std::uint8_t>& configuration() const { return configuration_; }

 private:
  class Builder;
  RowSink* sink_;
  int planesPerRow_;
  std::vector<std::uint8_t> configuration_;
  int compression_ = 0;
  std::unique_ptr<Builder> builder_;
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
