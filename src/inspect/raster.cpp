// Raster stream decoder: commands, row decoding and the rebuilt planes of each image.
#include "inspect/raster.h"

#include <algorithm>
#include <cctype>
#include <memory>

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

// Parses one parameterized escape sequence starting at `at` (after ESC); returns the position
// after it, or 0 on error.
std::size_t parseParameterized(std::span<const std::uint8_t> s, std::size_t start, std::size_t at,
                               std::vector<RasterCommand>* commands, std::string* error) {
  std::string group(1, static_cast<char>(s[at++]));
  if (at < s.size() && isLower(s[at])) group += static_cast<char>(s[at++]);
  bool continued = false;
  while (true) {
    RasterCommand c;
    c.kind = RasterCommand::Kind::kParameterized;
    c.offset = continued ? at : start;
    c.text = group;
    c.continued = continued;
    const std::size_t valueStart = at;
    if (at < s.size() && (s[at] == '+' || s[at] == '-')) ++at;
    std::size_t digits = 0;
    std::int64_t number = 0;
    for (; at < s.size() && std::isdigit(s[at]); ++at, ++digits) {
      if (digits >= 18) {
        fail(error, start, "number too long");
        return 0;
      }
      number = number * 10 + (s[at] - '0');
    }
    if (at < s.size() && s[at] == '.') {
      for (++at; at < s.size() && std::isdigit(s[at]);) ++at;
    }
    c.value.assign(s.begin() + static_cast<std::ptrdiff_t>(valueStart),
                   s.begin() + static_cast<std::ptrdiff_t>(at));
    c.number = (!c.value.empty() && c.value[0] == '-') ? -number : number;
    if (at >= s.size()) {
      fail(error, start, "escape sequence cut short");
      return 0;
    }
    const std::uint8_t p = s[at++];
    if (!isLower(p) && !isUpper(p)) {
      fail(error, start, "bad parameter character");
      return 0;
    }
    c.parameter = static_cast<char>(p);
    if (takesData(group, c.parameter)) {
      if (c.number < 0 || static_cast<std::uint64_t>(c.number) > s.size() - at) {
        fail(error, start, "payload of " + c.code() + " runs past the stream");
        return 0;
      }
      c.data.assign(
          s.begin() + static_cast<std::ptrdiff_t>(at),
          s.begin() + static_cast<std::ptrdiff_t>(at + static_cast<std::size_t>(c.number)));
      at += static_cast<std::size_t>(c.number);
    }
    commands->push_back(std::move(c));
    if (isUpper(p)) return at;
    continued = true;
  }
}

std::uint32_t big32(const std::vector<std::uint8_t>& b) {
  return (std::uint32_t{b[0]} << 24) | (std::uint32_t{b[1]} << 16) | (std::uint32_t{b[2]} << 8) |
         b[3];
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

bool parseRaster(std::span<const std::uint8_t> s, std::vector<RasterCommand>* commands,
                 std::string* error) {
  commands->clear();
  std::size_t at = 0;
  while (at < s.size()) {
    const std::size_t start = at;
    if (s[at] != kEsc) {
      while (at < s.size() && s[at] != kEsc && s[at] != '\n') ++at;
      if (at < s.size() && s[at] == '\n') ++at;
      RasterCommand c;
      c.offset = start;
      c.text.assign(s.begin() + static_cast<std::ptrdiff_t>(start),
                    s.begin() + static_cast<std::ptrdiff_t>(at));
      commands->push_back(std::move(c));
      continue;
    }
    if (++at >= s.size()) return fail(error, start, "ESC at the end of the stream");
    const std::uint8_t c = s[at];
    if (c >= 0x21 && c <= 0x2F) {
      at = parseParameterized(s, start, at, commands, error);
      if (at == 0) return false;
    } else if (c >= 0x30 && c <= 0x7E) {
      RasterCommand e;
      e.kind = RasterCommand::Kind::kEscape;
      e.offset = start;
      e.text = std::string(1, static_cast<char>(c));
      commands->push_back(std::move(e));
      ++at;
    } else {
      return fail(error, start, "bad character after ESC");
    }
  }
  return true;
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

namespace {

// Rebuilds the rows of one image while its commands are read.
class ImageBuilder {
 public:
  ImageBuilder(RasterImage* image, int planesPerRow) : image_(image) {
    int fromConfiguration =
        image->configuration.size() >= 2 ? static_cast<std::int8_t>(image->configuration[1]) : 0;
    planesPerRow_ = planesPerRow > 0 ? planesPerRow : std::max(fromConfiguration, 1);
  }

  bool skip(const RasterCommand& c, std::string* error) {
    if (!pending_.empty()) return fail(error, c.offset, "vertical skip inside a row");
    if (c.number < 0) return fail(error, c.offset, "negative vertical skip");
    for (std::int64_t i = 0; i < c.number; ++i) commitRow();
    seeds_.clear();
    return true;
  }

  bool planeRow(const RasterCommand& c, int code, std::string* error) {
    if (code == compression::kPackBitsBlock) return block(c, error);
    const std::size_t plane = pending_.size();
    if (seeds_.size() <= plane) seeds_.resize(plane + 1);
    std::vector<std::uint8_t> row;
    bool ok = true;
    switch (code) {
      case compression::kNone:
        row = c.data;
        break;
      case compression::kPackBits:
        ok = unpackBits(c.data, &row);
        break;
      case compression::kSeedRow:
        row = seeds_[plane];
        ok = applySeedRow(c.data, &row);
        break;
      default:
        return fail(error, c.offset, "row in unknown compression " + std::to_string(code));
    }
    if (!ok) return fail(error, c.offset, "row code cut short");
    seeds_[plane] = row;
    pending_.push_back({std::move(row), code});
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
  struct PlaneRow {
    std::vector<std::uint8_t> bytes;
    int compression = -1;
  };

  bool block(const RasterCommand& c, std::string* error) {
    if (upper(c.parameter) != 'W') return fail(error, c.offset, "plane row inside block mode");
    if (!pending_.empty()) return fail(error, c.offset, "block inside a row");
    if (c.data.size() < 4) return fail(error, c.offset, "block without its width");
    image_->blockWidth = static_cast<std::int32_t>(big32(c.data));
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
    image_->blockRows.push_back(rows);
    seeds_.clear();
    return true;
  }

  // Appends the pending plane rows as one row; a plane without a pending row gets an empty one.
  void commitRow() {
    auto& planes = image_->planes;
    auto& compression = image_->compression;
    const std::size_t rows = image_->rows();
    while (planes.size() < pending_.size()) {
      planes.emplace_back(rows);
      compression.emplace_back(rows, -1);
    }
    for (std::size_t p = 0; p < planes.size(); ++p) {
      if (p < pending_.size()) {
        planes[p].push_back(std::move(pending_[p].bytes));
        compression[p].push_back(pending_[p].compression);
      } else {
        planes[p].emplace_back();
        compression[p].push_back(-1);
      }
    }
    if (planes.empty()) {  // a skip before any plane row
      planes.emplace_back(1);
      compression.emplace_back(1, -1);
    }
    pending_.clear();
  }

  RasterImage* image_;
  int planesPerRow_ = 1;
  std::vector<PlaneRow> pending_;
  std::vector<std::vector<std::uint8_t>> seeds_;
};

}  // namespace

bool rebuildRasterImages(const std::vector<RasterCommand>& commands,
                         std::vector<RasterImage>* images, std::string* error, int planesPerRow) {
  images->clear();
  std::vector<std::uint8_t> configuration;
  int compression = 0;
  std::unique_ptr<ImageBuilder> builder;
  for (std::size_t i = 0; i < commands.size(); ++i) {
    const RasterCommand& c = commands[i];
    if (c.is("*v", 'W')) {
      configuration = c.data;
    } else if (c.is("*b", 'M')) {
      if (c.number != compression::kNone && c.number != compression::kPackBits &&
          c.number != compression::kSeedRow && c.number != compression::kPackBitsBlock) {
        return fail(error, c.offset, "unknown compression " + c.value);
      }
      compression = static_cast<int>(c.number);
    } else if (c.is("*r", 'A')) {
      if (builder != nullptr) return fail(error, c.offset, "raster mode started twice");
      images->emplace_back();
      images->back().firstCommand = i;
      images->back().configuration = configuration;
      builder = std::make_unique<ImageBuilder>(&images->back(), planesPerRow);
    } else if (c.is("*r", 'C')) {
      if (builder == nullptr) return fail(error, c.offset, "raster mode ended outside raster");
      if (!builder->finish(c, error)) return false;
      images->back().endCommand = i + 1;
      builder.reset();
    } else if (c.is("*b", 'Y')) {
      if (builder != nullptr && !builder->skip(c, error)) return false;
    } else if (c.is("*b", 'W') || c.is("*b", 'V')) {
      if (builder == nullptr) return fail(error, c.offset, "row outside raster mode");
      if (!builder->planeRow(c, compression, error)) return false;
    }
  }
  if (builder != nullptr) return fail(error, commands.back().offset, "raster mode not ended");
  return true;
}

}  // namespace inspect
