// Raster stream decoder: commands, row decoding and the rebuilt planes of each image.
#include "inspect/raster.h"

#include <algorithm>
#include <cctype>
#include <memory>

#include "inspect/bytes.h"
#include "kelm/codes.h"

namespace inspect {

namespace compression = kelm::compression;

namespace {

constexpr std::uint8_t kEsc = 0x1B;

bool fail(std::string* error, std::size_t offset, const std::string& what) {
  if (error != nullptr) *error = "offset " + std::to_string(offset) + ": " + what;
  return false;
}

bool isLower(std::uint8_t c) {
  return c >= 0x60 && c <= 0x7E;
}
bool isUpper(std::uint8_t c) {
  return c >= 0x40 && c <= 0x5E;
}

char upper(char c) {
  return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

// Payload-carrying commands: any W, and the plane rows "*b#V".
bool takesData(const std::string& group, char parameter) {
  const char p = upper(parameter);
  return p == 'W' || (p == 'V' && group == "*b");
}

enum class Parsed { kDone, kMore, kFault };

// Parses one parameterized escape sequence starting at `at` (after ESC); `*next` receives the
// position after it. kMore when the bytes end first and more may come.
Parsed parseParameterized(std::span<const std::uint8_t> s, std::size_t start, std::size_t at,
                          std::size_t base, bool final, std::vector<RasterCommand>* commands,
                          std::size_t* next, std::string* error) {
  const auto more = [&](const std::string& what) {
    if (!final) return Parsed::kMore;
    fail(error, base + start, what);
    return Parsed::kFault;
  };
  std::string group(1, static_cast<char>(s[at++]));
  if (at >= s.size()) return more("escape sequence cut short");
  if (isLower(s[at])) group += static_cast<char>(s[at++]);
  bool continued = false;
  while (true) {
    RasterCommand c;
    c.kind = RasterCommand::Kind::kParameterized;
    c.offset = base + (continued ? at : start);
    c.text = group;
    c.continued = continued;
    const std::size_t valueStart = at;
    if (at < s.size() && (s[at] == '+' || s[at] == '-')) ++at;
    std::size_t digits = 0;
    std::int64_t number = 0;
    for (; at < s.size() && std::isdigit(s[at]); ++at, ++digits) {
      if (digits >= 18) {
        fail(error, base + start, "number too long");
        return Parsed::kFault;
      }
      number = number * 10 + (s[at] - '0');
    }
    if (at < s.size() && s[at] == '.') {
      for (++at; at < s.size() && std::isdigit(s[at]);) ++at;
    }
    if (at >= s.size()) return more("escape sequence cut short");
    c.value.assign(s.begin() + static_cast<std::ptrdiff_t>(valueStart),
                   s.begin() + static_cast<std::ptrdiff_t>(at));
    c.number = (!c.value.empty() && c.value[0] == '-') ? -number : number;
    const std::uint8_t p = s[at++];
    if (!isLower(p) && !isUpper(p)) {
      fail(error, base + start, "bad parameter character");
      return Parsed::kFault;
    }
    c.parameter = static_cast<char>(p);
    if (takesData(group, c.parameter)) {
      if (c.number < 0) {
        fail(error, base + start, "negative payload length in " + c.code());
        return Parsed::kFault;
      }
      if (static_cast<std::uint64_t>(c.number) > s.size() - at) {
        return more("payload of " + c.code() + " runs past the stream");
      }
      c.data.assign(
          s.begin() + static_cast<std::ptrdiff_t>(at),
          s.begin() + static_cast<std::ptrdiff_t>(at + static_cast<std::size_t>(c.number)));
      at += static_cast<std::size_t>(c.number);
    }
    commands->push_back(std::move(c));
    if (isUpper(p)) {
      *next = at;
      return Parsed::kDone;
    }
    continued = true;
  }
}

}  // namespace

std::string RasterCommand::code() const {
  switch (kind) {
    case Kind::kText:
      return text;
    case Kind::kEscape:
      return "ESC" + text;
    case Kind::kParameterized:
      break;
  }
  return "ESC" + text + value + upper(parameter);
}

bool RasterCommand::is(std::string_view group, char letter) const {
  return kind == Kind::kParameterized && text == group && upper(parameter) == upper(letter);
}

bool RasterParser::parse(std::span<const std::uint8_t> s, bool final, const Out& out,
                         std::string* error, std::size_t* used) {
  std::size_t at = 0;
  std::vector<RasterCommand> found;
  while (at < s.size()) {
    const std::size_t start = at;
    if (s[at] != kEsc) {
      while (at < s.size() && s[at] != kEsc && s[at] != '\n') ++at;
      if (at == s.size() && !final) {
        at = start;
        break;
      }
      if (at < s.size() && s[at] == '\n') ++at;
      RasterCommand c;
      c.offset = base_ + start;
      c.text.assign(s.begin() + static_cast<std::ptrdiff_t>(start),
                    s.begin() + static_cast<std::ptrdiff_t>(at));
      if (!out(std::move(c))) return false;
      continue;
    }
    if (at + 1 >= s.size()) {
      if (!final) break;
      return fail(error, base_ + start, "ESC at the end of the stream");
    }
    const std::uint8_t c = s[++at];
    if (c >= 0x21 && c <= 0x2F) {
      found.clear();
      std::size_t next = 0;
      const Parsed result = parseParameterized(s, start, at, base_, final, &found, &next, error);
      if (result == Parsed::kFault) return false;
      if (result == Parsed::kMore) {
        at = start;
        break;
      }
      for (RasterCommand& command : found) {
        if (!out(std::move(command))) return false;
      }
      at = next;
    } else if (c >= 0x30 && c <= 0x7E) {
      RasterCommand e;
      e.kind = RasterCommand::Kind::kEscape;
      e.offset = base_ + start;
      e.text = std::string(1, static_cast<char>(c));
      if (!out(std::move(e))) return false;
      ++at;
    } else {
      return fail(error, base_ + start, "bad character after ESC");
    }
  }
  *used = at;
  return true;
}

bool RasterParser::feed(std::span<const std::uint8_t> bytes, const Out& out, std::string* error) {
  std::size_t used = 0;
  if (pending_.empty()) {
    // Most pieces end inside a command: parse in place and keep only the tail.
    if (!parse(bytes, false, out, error, &used)) return false;
    pending_.assign(bytes.begin() + static_cast<std::ptrdiff_t>(used), bytes.end());
    base_ += used;
    return true;
  }
  // The command cut by the last piece takes as few of these bytes as it needs (in growing
  // steps); the rest is parsed in place, so a stream is copied once whatever its pieces.
  std::size_t taken = 0;
  for (std::size_t step = 4096;; step *= 2) {
    const std::size_t old = pending_.size();
    const std::size_t more = std::min(step, bytes.size() - taken);
    pending_.insert(pending_.end(), bytes.begin() + static_cast<std::ptrdiff_t>(taken),
                    bytes.begin() + static_cast<std::ptrdiff_t>(taken + more));
    taken += more;
    if (!parse(pending_, false, out, error, &used)) return false;
    base_ += used;
    if (used >= old) {
      const std::size_t from = taken - (pending_.size() - used);
      pending_.clear();
      return feed(bytes.subspan(from), out, error);
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(used));
    if (taken == bytes.size()) return true;
  }
}

bool RasterParser::finish(const Out& out, std::string* error) {
  std::size_t used = 0;
  if (!parse(pending_, true, out, error, &used)) return false;
  base_ += used;
  pending_.clear();
  return true;
}

bool parseRaster(std::span<const std::uint8_t> s, std::vector<RasterCommand>* commands,
                 std::string* error) {
  commands->clear();
  RasterParser parser;
  const RasterParser::Out collect = [commands](RasterCommand&& c) {
    commands->push_back(std::move(c));
    return true;
  };
  return parser.feed(s, collect, error) && parser.finish(collect, error);
}

bool unpackBits(std::span<const std::uint8_t> code, std::vector<std::uint8_t>* out, bool toEndMark,
                std::size_t* used) {
  std::size_t at = 0;
  while (at < code.size()) {
    const auto header = static_cast<std::int8_t>(code[at++]);
    if (header == -128) {
      if (toEndMark) {
        if (used != nullptr) *used = at;
        return true;
      }
    } else if (header >= 0) {
      const std::size_t n = static_cast<std::size_t>(header) + 1;
      if (code.size() - at < n) return false;
      out->insert(out->end(), code.begin() + static_cast<std::ptrdiff_t>(at),
                  code.begin() + static_cast<std::ptrdiff_t>(at + n));
      at += n;
    } else {
      if (at >= code.size()) return false;
      out->insert(out->end(), static_cast<std::size_t>(1 - header), code[at++]);
    }
  }
  if (used != nullptr) *used = at;
  return !toEndMark;
}

bool applySeedRow(std::span<const std::uint8_t> code, std::vector<std::uint8_t>* row) {
  std::size_t at = 0;
  std::size_t position = 0;
  while (at < code.size()) {
    const std::uint8_t command = code[at++];
    const std::size_t count = (command >> 5) + 1;
    std::size_t offset = command & 31;
    if (offset == 31) {
      std::uint8_t more;
      do {
        if (at >= code.size()) return false;
        more = code[at++];
        offset += more;
      } while (more == 255);
    }
    position += offset;
    if (code.size() - at < count) return false;
    if (row->size() < position + count) row->resize(position + count, 0);
    for (std::size_t i = 0; i < count; ++i) (*row)[position++] = code[at++];
  }
  return true;
}

// Rebuilds the rows of one image while its commands are read.
class RasterDecoder::Builder {
 public:
  Builder(RowSink* sink, const std::vector<std::uint8_t>& configuration, int planesPerRow)
      : sink_(sink) {
    int fromConfiguration =
        configuration.size() >= 2 ? static_cast<std::int8_t>(configuration[1]) : 0;
    planesPerRow_ = planesPerRow > 0 ? planesPerRow : std::max(fromConfiguration, 1);
  }

  bool skip(const RasterCommand& c, std::string* error) {
    if (!pending_.empty()) return fail(error, c.offset, "vertical skip inside a row");
    if (c.number < 0) return fail(error, c.offset, "negative vertical skip");
    sink_->skip(c.number);
    seeds_.clear();
    return true;
  }

  bool planeRow(const RasterCommand& c, int code, std::string* error) {
    const compression::Kind* kind = compression::find(code);
    if (kind != nullptr && kind->block) return block(c, error);
    const std::size_t plane = pending_.size();
    if (seeds_.size() <= plane) seeds_.resize(plane + 1);
    PlaneRow row;
    row.compression = code;
    row.coded = c.data.size();
    bool ok = true;
    switch (code) {
      case compression::kNone:
        row.bytes = c.data;
        break;
      case compression::kPackBits:
        ok = unpackBits(c.data, &row.bytes);
        break;
      case compression::kSeedRow:
        row.bytes = seeds_[plane];
        ok = applySeedRow(c.data, &row.bytes);
        break;
      default:
        return fail(error, c.offset, "row in unknown compression " + std::to_string(code));
    }
    if (!ok) return fail(error, c.offset, "row code cut short");
    seeds_[plane] = row.bytes;
    pending_.push_back(std::move(row));
    if (upper(c.parameter) == 'W') {
      seeds_.resize(pending_.size());
      commitRow();
    }
    return true;
  }

  bool finish(const RasterCommand& c, std::string* error) {
    if (!pending_.empty()) return fail(error, c.offset, "raster ends inside a row");
    return true;
  }

 private:
  bool block(const RasterCommand& c, std::string* error) {
    if (upper(c.parameter) != 'W') return fail(error, c.offset, "plane row inside block mode");
    if (!pending_.empty()) return fail(error, c.offset, "block inside a row");
    if (c.data.size() < 4) return fail(error, c.offset, "block without its width");
    const auto width = static_cast<std::int32_t>(bigEndian(std::span(c.data).first(4)));
    std::span<const std::uint8_t> rest(c.data);
    rest = rest.subspan(4);
    std::size_t rows = 0;
    while (!rest.empty()) {
      PlaneRow row;
      row.compression = compression::kPackBitsBlock;
      std::size_t used = 0;
      if (!unpackBits(rest, &row.bytes, true, &used)) {
        return fail(error, c.offset, "block plane row without its end mark");
      }
      rest = rest.subspan(used);
      pending_.push_back(std::move(row));
      if (pending_.size() == static_cast<std::size_t>(planesPerRow_)) {
        commitRow();
        ++rows;
      }
    }
    if (!pending_.empty()) return fail(error, c.offset, "block ends inside a row");
    sink_->block(width, rows, c.data.size());
    seeds_.clear();
    return true;
  }

  void commitRow() {
    sink_->row(pending_);
    pending_.clear();
  }

  RowSink* sink_;
  int planesPerRow_ = 1;
  std::vector<PlaneRow> pending_;
  std::vector<std::vector<std::uint8_t>> seeds_;
};

RasterDecoder::RasterDecoder(RowSink* sink, int planesPerRow)
    : sink_(sink), planesPerRow_(planesPerRow) {}

RasterDecoder::~RasterDecoder() = default;

bool RasterDecoder::add(const RasterCommand& c, std::string* error) {
  if (c.is("*v", 'W')) {
    configuration_ = c.data;
  } else if (c.is("*b", 'M')) {
    // Only a code a compression is announced under starts rows.
    if (compression::announcedIndex(c.number) < 0)
      return fail(error, c.offset, "unknown compression " + c.value);
    compression_ = static_cast<int>(c.number);
  } else if (c.is("*r", 'A')) {
    if (builder_ != nullptr) return fail(error, c.offset, "raster mode started twice");
    builder_ = std::make_unique<Builder>(sink_, configuration_, planesPerRow_);
    sink_->imageStart(c, configuration_);
  } else if (c.is("*r", 'C')) {
    if (builder_ == nullptr) return fail(error, c.offset, "raster mode ended outside raster");
    if (!builder_->finish(c, error)) return false;
    builder_.reset();
    sink_->imageEnd(c);
  } else if (c.is("*b", 'Y')) {
    if (builder_ != nullptr && !builder_->skip(c, error)) return false;
  } else if (c.is("*b", 'W') || c.is("*b", 'V')) {
    if (builder_ == nullptr) return fail(error, c.offset, "row outside raster mode");
    if (!builder_->planeRow(c, compression_, error)) return false;
  }
  return true;
}

bool RasterDecoder::finish(std::size_t offset, std::string* error) {
  if (builder_ != nullptr) return fail(error, offset, "raster mode not ended");
  return true;
}

namespace {

// Keeps every row of every image, as the tests compare them.
class Collector : public RowSink {
 public:
  explicit Collector(std::vector<RasterImage>* images) : images_(images) {}
  std::size_t index = 0;  // of the command being added

  void imageStart(const RasterCommand&, const std::vector<std::uint8_t>& configuration) override {
    images_->emplace_back();
    images_->back().firstCommand = index;
    images_->back().configuration = configuration;
  }
  void imageEnd(const RasterCommand&) override { images_->back().endCommand = index + 1; }
  void block(std::int32_t width, std::size_t rows, std::size_t) override {
    images_->back().blockWidth = width;
    images_->back().blockRows.push_back(rows);
  }
  // Skipped rows are kept as empty rows, so a skip from the file must not decide the memory.
  void skip(std::int64_t rows) override {
    if (rows > kMaxKeptRows - static_cast<std::int64_t>(images_->back().rows())) {
      tooTall = true;
      return;
    }
    std::vector<PlaneRow> none;
    for (std::int64_t i = 0; i < rows; ++i) row(none);
  }
  static constexpr std::int64_t kMaxKeptRows = std::int64_t{1} << 20;
  bool tooTall = false;
  // A plane without a row of its own gets an empty one.
  void row(std::vector<PlaneRow>& pending) override {
    RasterImage& image = images_->back();
    auto& planes = image.planes;
    auto& compression = image.compression;
    const std::size_t rows = image.rows();
    while (planes.size() < pending.size()) {
      planes.emplace_back(rows);
      compression.emplace_back(rows, -1);
    }
    for (std::size_t p = 0; p < planes.size(); ++p) {
      if (p < pending.size()) {
        planes[p].push_back(std::move(pending[p].bytes));
        compression[p].push_back(pending[p].compression);
      } else {
        planes[p].emplace_back();
        compression[p].push_back(-1);
      }
    }
    if (planes.empty()) {  // a skip before any plane row
      planes.emplace_back(1);
      compression.emplace_back(1, -1);
    }
  }

 private:
  std::vector<RasterImage>* images_;
};

}  // namespace

bool rebuildRasterImages(const std::vector<RasterCommand>& commands,
                         std::vector<RasterImage>* images, std::string* error, int planesPerRow) {
  images->clear();
  Collector collector(images);
  RasterDecoder decoder(&collector, planesPerRow);
  for (std::size_t i = 0; i < commands.size(); ++i) {
    collector.index = i;
    if (!decoder.add(commands[i], error)) return false;
    if (collector.tooTall) {
      return fail(error, commands[i].offset,
                  "image taller than " + std::to_string(Collector::kMaxKeptRows) +
                      " rows, more than are kept");
    }
  }
  return decoder.finish(commands.empty() ? 0 : commands.back().offset, error);
}

}  // namespace inspect
