// Print-file reader for the tools: streams packets, checks the job and rebuilds its pages.
#include "inspect/job.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "inspect/bytes.h"
#include "kelm/codes.h"
#include "zelp/codes.h"

namespace inspect {
namespace {

using FilePtr = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

constexpr std::uint64_t kProgressStep = 1 << 24;

// Rows, skips and image ends come from the row decoder; the reader places them on the page.
class Reader : public RowSink {
 public:
  Reader(JobSink* sink, std::uint64_t size) : sink_(sink), size_(size), decoder_(this) {}

  bool packet(const Packet& p, Fault* fault) {
    std::string error;
    if (!checker_.add(p, &error)) return faultAt(p.offset, error, fault);
    sink_->packet(p);
    if (auto a = setAttribute(p);
        a && p.operation == zelp::kSetJob && a->id == zelp::attribute::kJobOctets) {
      if (a->value.size() != 4) return faultAt(p.offset, "job octets not 4 bytes", fault);
      octets_ = bigEndian(a->value);
      octetsAt_ = p.offset;
    }
    if (p.operation != zelp::kData) return true;
    // Only chunks the parser may still point into are kept for mapping offsets.
    while (!chunks_.empty() && chunks_.size() > 1 && chunks_[1].stream <= parser_.pendingOffset()) {
      chunks_.erase(chunks_.begin());
    }
    chunks_.push_back({streamSize_, p.offset + 21});
    streamSize_ += p.parameters.size() - 1;
    std::span<const std::uint8_t> payload(p.parameters);
    if (!parser_.feed(payload.subspan(1), handler(), &error)) return rasterFault(error, fault);
    return true;
  }

  bool finish(std::size_t lastOffset, Fault* fault) {
    std::string error;
    if (!checker_.finish(lastOffset, &error)) return faultAt(lastOffset, error, fault);
    if (!parser_.finish(handler(), &error) || !decoder_.finish(parser_.pendingOffset(), &error)) {
      return rasterFault(error, fault);
    }
    if (octetsAt_ != 0 && octets_ != size_) {
      return faultAt(octetsAt_,
                     "job octets " + std::to_string(octets_) + " but the file has " +
                         std::to_string(size_) + " bytes",
                     fault);
    }
    return true;
  }

  // RowSink
  void imageStart(const RasterCommand& c, const std::vector<std::uint8_t>& configuration) override {
    Placement at;
    at.page = page_;
    at.image = image_++;
    at.offset = fileOffset(c.offset);
    at.x = x_;
    at.y = y_;
    at.dotsH = dotsH();
    at.pixelsH = pixelsH();
    at.dotsV = dotsV();
    at.pixelsV = pixelsV();
    at.configuration = configuration;
    at.compression = decoder_.compression();
    placement_ = at;
    rows_ = 0;
    pageOpen_ = true;
    sink_->imageStart(at);
  }
  void row(std::vector<PlaneRow>& planes) override { sink_->row(rows_++, planes); }
  void skip(std::int64_t rows) override {
    rows_ += rows;
    sink_->skip(rows);
  }
  void block(std::int32_t width, std::size_t rows, std::size_t bytes) override {
    sink_->block(width, rows, bytes);
  }
  void imageEnd(const RasterCommand&) override {
    y_ = placement_.dotY(rows_);
    sink_->imageEnd(rows_);
  }

 private:
  struct Chunk {
    std::size_t stream, file;
  };

  RasterParser::Out handler() {
    return [this](RasterCommand&& c) { return command(c); };
  }

  bool command(const RasterCommand& c) {
    sink_->command(c);
    if (c.kind == RasterCommand::Kind::kText) {
      constexpr std::string_view kH = "@PJL SET HRESOLUTION=", kV = "@PJL SET VRESOLUTION=";
      if (c.text.starts_with(kH)) printerH_ = std::atoi(c.text.c_str() + kH.size());
      if (c.text.starts_with(kV)) printerV_ = std::atoi(c.text.c_str() + kV.size());
    } else if (c.is("*t", 'R')) {
      graphicH_ = graphicV_ = c.number;
    } else if (c.is("$r", 'X')) {
      graphicH_ = c.number;
    } else if (c.is("$r", 'Y')) {
      graphicV_ = c.number;
    } else if (c.is("*p", 'X') || c.is("*p", 'Y')) {
      // A signed value moves the cursor from where it stands.
      const bool relative = !c.value.empty() && (c.value[0] == '+' || c.value[0] == '-');
      std::int64_t& at = c.is("*p", 'X') ? x_ : y_;
      at = (relative ? at : 0) + c.number;
      pageOpen_ = true;
    } else if (c.is("*b", 'Y') && !decoder_.inImage() && c.number > 0) {
      y_ += c.number * dotsV() / pixelsV();
    } else if (c.is("*v", 'W')) {
      pageOpen_ = true;
    } else if ((c.kind == RasterCommand::Kind::kEscape && c.text == "E") || c.is("$", 'E')) {
      if (pageOpen_ && !decoder_.inImage()) {
        sink_->pageEnd(c.code());
        ++page_;
        image_ = 0;
        x_ = y_ = 0;
        pageOpen_ = false;
      }
    }
    return decoder_.add(c, &error_) || (failed_ = true, false);
  }

  // Dots of the printer per pixel of the raster, as a fraction; a resolution not given takes
  // the other.
  std::int64_t dotsH() const { return printerH_ > 0 ? printerH_ : pixelsH(); }
  std::int64_t pixelsH() const { return graphicH_ > 0 ? graphicH_ : printerH_ > 0 ? printerH_ : 1; }
  std::int64_t dotsV() const { return printerV_ > 0 ? printerV_ : pixelsV(); }
  std::int64_t pixelsV() const { return graphicV_ > 0 ? graphicV_ : printerV_ > 0 ? printerV_ : 1; }

  std::size_t fileOffset(std::size_t stream) const {
    auto it = std::upper_bound(chunks_.begin(), chunks_.end(), stream,
                               [](std::size_t s, const Chunk& c) { return s < c.stream; });
    if (it == chunks_.begin()) return 0;
    --it;
    return it->file + (stream - it->stream);
  }

  // Raster messages name the stream offset; the fault names the file's.
  bool rasterFault(const std::string& message, Fault* fault) {
    const std::string& text = failed_ ? error_ : message;
    constexpr std::string_view kPrefix = "offset ";
    std::size_t stream = parser_.pendingOffset();
    std::string rest = text;
    if (text.starts_with(kPrefix)) {
      char* end = nullptr;
      stream = std::strtoull(text.c_str() + kPrefix.size(), &end, 10);
      rest = std::string(end[0] == ':' ? end + 2 : end);
    }
    return faultAt(fileOffset(stream), rest + " (raster byte " + std::to_string(stream) + ")",
                   fault);
  }

  static bool faultAt(std::size_t offset, std::string message, Fault* fault) {
    if (message.starts_with("offset ")) message = message.substr(message.find(": ") + 2);
    fault->offset = offset;
    fault->message = std::move(message);
    return false;
  }

  JobSink* sink_;
  std::uint64_t size_;
  JobChecker checker_;
  RasterParser parser_;
  RasterDecoder decoder_;
  std::vector<Chunk> chunks_;
  std::size_t streamSize_ = 0;
  std::string error_;
  bool failed_ = false;
  std::uint64_t octets_ = 0;
  std::size_t octetsAt_ = 0;
  std::int64_t printerH_ = 0, printerV_ = 0, graphicH_ = 0, graphicV_ = 0;
  std::int64_t x_ = 0, y_ = 0, rows_ = 0;
  int page_ = 0, image_ = 0;
  bool pageOpen_ = false;
  Placement placement_;
};

}  // namespace

std::uint32_t crc32(std::uint32_t crc, const std::uint8_t* bytes, std::size_t n) {
  static const auto table = [] {
    std::array<std::uint32_t, 256> t{};
    for (std::uint32_t i = 0; i < 256; ++i) {
      std::uint32_t c = i;
      for (int k = 0; k < 8; ++k) c = (c & 1) != 0 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
      t[i] = c;
    }
    return t;
  }();
  crc = ~crc;
  for (std::size_t i = 0; i < n; ++i) crc = table[(crc ^ bytes[i]) & 0xFF] ^ (crc >> 8);
  return ~crc;
}

bool readJob(const std::string& path, JobSink* sink, Fault* fault,
             const std::function<void(std::uint64_t, std::uint64_t)>& progress) {
  FilePtr file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (file == nullptr) {
    fault->offset = 0;
    fault->message = "cannot open " + path;
    return false;
  }
  std::fseek(file.get(), 0, SEEK_END);
  const long end = std::ftell(file.get());
  std::fseek(file.get(), 0, SEEK_SET);
  const auto size = static_cast<std::uint64_t>(std::max(end, 0L));
  Reader reader(sink, size);
  std::vector<std::uint8_t> bytes;
  std::size_t at = 0, last = 0;
  std::uint64_t reported = 0;
  Packet p;
  while (true) {
    bytes.resize(20);
    const std::size_t head = std::fread(bytes.data(), 1, 20, file.get());
    if (head == 0) break;
    std::size_t length = 0;
    if (head == 20) {
      length = bigEndian(std::span(bytes).subspan(8, 2));
      bytes.resize(20 + length);
      bytes.resize(20 + std::fread(bytes.data() + 20, 1, length, file.get()));
    } else {
      bytes.resize(head);
    }
    std::string error;
    const std::size_t used = decodePacket(bytes, at, &p, &error);
    if (used == 0) {
      fault->offset = at;
      fault->message = error.substr(error.find(": ") + 2);
      return false;
    }
    if (!reader.packet(p, fault)) return false;
    last = at;
    at += used;
    if (progress && at - reported >= kProgressStep) {
      reported = at;
      progress(at, size);
    }
  }
  if (progress) progress(at, size);
  return reader.finish(last, fault);
}

ColourModel::ColourModel(const std::vector<std::uint8_t>& configuration) {
  // Configuration bytes: colour space, planes, 0, then the depths of R, G, B, K, C, M, Y, c,
  // m, Gy and Pgy as far as given.
  enum Channel { kR, kG, kB, kK, kC, kM, kY, kLightC, kLightM, kGray, kPhotoGray };
  constexpr Channel kSent[] = {kK, kC, kLightC, kM, kLightM, kY, kGray, kPhotoGray, kR, kG, kB};
  const int space = configuration.empty() ? 0 : configuration[0];
  const bool light = space == kelm::color_space::kRowRGB || space == kelm::color_space::kPixelRGB;
  interleaved_ = space == kelm::color_space::kPixelRGB;
  blank_ = light ? 0xFF : 0x00;
  const auto depth = [&](Channel ch) {
    const std::size_t at = 3 + static_cast<std::size_t>(ch);
    return at < configuration.size() ? static_cast<std::int8_t>(configuration[at]) : 0;
  };
  std::vector<std::pair<Channel, int>> channels;
  for (Channel ch : kSent) {
    if (depth(ch) > 0) channels.emplace_back(ch, depth(ch));
  }
  if (configuration.size() < 3) channels = {{kK, 8}};
  const std::size_t count = configuration.size() >= 2 ? configuration[1] : 1;
  if (!interleaved_ && channels.size() > count) channels.resize(count);
  for (auto [ch, d] : channels) {
    Plane plane;
    plane.depth = std::min(d, 16);
    const std::size_t levels = std::size_t{1} << plane.depth;
    for (std::size_t v = 0; v < levels; ++v) {
      const float f = static_cast<float>(v) / static_cast<float>(levels - 1);
      const float ink = 1.0f - f;
      std::array<float, 3> left{1, 1, 1};
      switch (ch) {
        case kR:
          left = {f, 1, 1};
          break;
        case kG:
          left = {1, f, 1};
          break;
        case kB:
          left = {1, 1, f};
          break;
        case kK:
          left = light ? std::array<float, 3>{f, f, f} : std::array<float, 3>{ink, ink, ink};
          break;
        case kC:
          left = {ink, 1, 1};
          break;
        case kM:
          left = {1, ink, 1};
          break;
        case kY:
          left = {1, 1, ink};
          break;
        case kLightC:
          left = {1 - 0.4f * f, 1 - 0.08f * f, 1};
          break;
        case kLightM:
          left = {1 - 0.08f * f, 1 - 0.4f * f, 1};
          break;
        case kGray:
        case kPhotoGray: {
          const float g = light ? f : 1 - (ch == kGray ? 0.5f : 0.25f) * f;
          left = {g, g, g};
          break;
        }
      }
      plane.factor.push_back(left);
    }
    planes_.push_back(std::move(plane));
  }
}

std::int64_t ColourModel::pixels(std::size_t bytes) const {
  if (planes_.empty()) return 0;
  const auto bits = static_cast<std::int64_t>(bytes) * 8;
  if (interleaved_) return bits / static_cast<std::int64_t>(planes_.size()) / planes_[0].depth;
  return bits / planes_[0].depth;
}

void ColourModel::rgb(const std::vector<std::vector<std::uint8_t>>& rows, std::size_t pixels,
                      std::uint8_t* out) const {
  std::vector<std::vector<std::uint8_t>> split;
  const std::vector<std::vector<std::uint8_t>>* planes = &rows;
  if (interleaved_) {
    // Byte i of plane p is byte i * planes + p of the one row sent.
    split.resize(planes_.size());
    const std::vector<std::uint8_t> none;
    const std::vector<std::uint8_t>& row = rows.empty() ? none : rows[0];
    for (std::size_t i = 0; i < row.size(); ++i) split[i % split.size()].push_back(row[i]);
    planes = &split;
  }
  std::vector<float> light(pixels * 3, 1.0f);
  for (std::size_t p = 0; p < planes_.size(); ++p) {
    const Plane& plane = planes_[p];
    const std::vector<std::uint8_t> none;
    const std::vector<std::uint8_t>& b = p < planes->size() ? (*planes)[p] : none;
    const auto d = static_cast<std::size_t>(plane.depth);
    for (std::size_t x = 0; x < pixels; ++x) {
      std::size_t value = 0;
      if (d == 8) {
        value = x < b.size() ? b[x] : blank_;
      } else {
        for (std::size_t bit = x * d; bit < x * d + d; ++bit) {
          const std::uint8_t byte = bit / 8 < b.size() ? b[bit / 8] : blank_;
          value = value << 1 | ((byte >> (7 - bit % 8)) & 1);
        }
      }
      const auto& f = plane.factor[value];
      light[x * 3] *= f[0];
      light[x * 3 + 1] *= f[1];
      light[x * 3 + 2] *= f[2];
    }
  }
  for (std::size_t i = 0; i < pixels * 3; ++i) {
    out[i] = static_cast<std::uint8_t>(std::lround(std::clamp(light[i], 0.0f, 1.0f) * 255.0f));
  }
}

}  // namespace inspect
