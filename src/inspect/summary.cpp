// The summary of a print file and its text and JSON forms (see job.h).
#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "inspect/job.h"
#include "inspect/values.h"
#include "kelm/codes.h"

namespace inspect {
namespace {

namespace compression = kelm::compression;
// Rows of a code announced by no compression count as plain.
int compressionSlot(int code) {
  return std::max(compression::announcedIndex(code), 0);
}

std::string format(const char* f, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char* f, ...) {
  char text[512];
  va_list args;
  va_start(args, f);
  std::vsnprintf(text, sizeof text, f, args);
  va_end(args);
  return text;
}

class Summarizer : public JobSink {
 public:
  explicit Summarizer(JobSummary* s) : s_(s) {}

  void packet(const Packet& p) override {
    s_->packets.push_back(describePacket(p));
    s_->packetsJson.push_back(describePacketJson(p));
  }
  void command(const RasterCommand& c) override {
    if (!s_->pages.empty() || image_ != nullptr) return;
    if (c.kind == RasterCommand::Kind::kText) {
      std::string line = c.text;
      if (!line.empty() && line.back() == '\n') line.pop_back();
      s_->header.push_back(line);
    } else if (c.is("$b", 'W')) {
      s_->header.push_back(format("table file %zu bytes crc %08X", c.data.size(),
                                  crc32(0, c.data.data(), c.data.size())));
    }
  }
  void imageStart(const Placement& at) override {
    if (s_->pages.size() <= static_cast<std::size_t>(at.page)) s_->pages.resize(at.page + 1);
    s_->pages[at.page].images.push_back({});
    image_ = &s_->pages[at.page].images.back();
    image_->at = at;
    model_ = std::make_unique<ColourModel>(at.configuration);
  }
  void row(std::int64_t, std::vector<PlaneRow>& planes) override {
    for (const PlaneRow& p : planes) {
      image_->widthPixels = std::max(image_->widthPixels, model_->pixels(p.bytes.size()));
      // Blocks are counted whole.
      if (p.compression != compression::kPackBitsBlock)
        image_->bytes[compressionSlot(p.compression)] += p.coded;
      const std::uint8_t size[4] = {
          std::uint8_t(p.bytes.size() >> 24), std::uint8_t(p.bytes.size() >> 16),
          std::uint8_t(p.bytes.size() >> 8), std::uint8_t(p.bytes.size())};
      image_->crc = crc32(crc32(image_->crc, size, 4), p.bytes.data(), p.bytes.size());
    }
  }
  void skip(std::int64_t rows) override { image_->skipped += rows; }
  void block(std::int32_t width, std::size_t, std::size_t bytes) override {
    image_->blockWidth = width;
    image_->bytes[compressionSlot(compression::kPackBitsBlock)] += static_cast<std::int64_t>(bytes);
  }
  void imageEnd(std::int64_t rows) override {
    image_->rows = rows;
    image_ = nullptr;
  }
  void pageEnd(const std::string& command) override {
    if (s_->pages.size() <= static_cast<std::size_t>(page_)) s_->pages.resize(page_ + 1);
    s_->pages[page_++].end = command;
  }

 private:
  JobSummary* s_;
  ImageSummary* image_ = nullptr;
  std::unique_ptr<ColourModel> model_;
  int page_ = 0;
};

std::string planesText(const std::vector<std::uint8_t>& c) {
  constexpr const char* kNames[] = {"R", "G", "B", "K", "C", "M", "Y", "c", "m", "Gy", "Pgy"};
  std::string out;
  for (std::size_t i = 3; i < c.size() && i - 3 < std::size(kNames); ++i) {
    const auto depth = static_cast<std::int8_t>(c[i]);
    if (depth > 0) out += format("%s%s%d", out.empty() ? "" : " ", kNames[i - 3], depth);
  }
  return out.empty() ? "-" : out;
}

// "none N, packbits N, ...": a column per announced compression, `json` with the names quoted.
std::string bytesText(const ImageSummary& i, bool json) {
  std::string out;
  int k = 0;
  for (const compression::Kind& kind : compression::kKinds) {
    if (kind.name == nullptr) continue;
    out += format(json ? "%s\"%s\": %lld" : "%s%s %lld", k == 0 ? "" : ", ", kind.name,
                  static_cast<long long>(i.bytes[k]));
    ++k;
  }
  return out;
}

std::string imageText(const ImageSummary& i) {
  const Placement& a = i.at;
  const std::vector<std::uint8_t>& c = a.configuration;
  return format(
      "image %d at %lld,%lld dots, file offset %zu: %lld/%lld x %lld/%lld dots a pixel, "
      "colour space %d, %d plane%s (%s)\n"
      "    %lld rows (%lld skipped), %lld pixels wide%s; bytes %s; rows crc %08X\n",
      a.image + 1, static_cast<long long>(a.x), static_cast<long long>(a.y), a.offset,
      static_cast<long long>(a.dotsH), static_cast<long long>(a.pixelsH),
      static_cast<long long>(a.dotsV), static_cast<long long>(a.pixelsV), c.empty() ? -1 : c[0],
      c.size() < 2 ? -1 : static_cast<std::int8_t>(c[1]), c.size() >= 2 && c[1] == 1 ? "" : "s",
      planesText(c).c_str(), static_cast<long long>(i.rows), static_cast<long long>(i.skipped),
      static_cast<long long>(i.widthPixels),
      i.blockWidth >= 0 ? format(" (block width %d)", i.blockWidth).c_str() : "",
      bytesText(i, false).c_str(), i.crc);
}

}  // namespace

JobSummary summarize(const std::string& path,
                     const std::function<void(std::uint64_t, std::uint64_t)>& progress) {
  JobSummary s;
  s.name = path;
  if (std::FILE* f = std::fopen(path.c_str(), "rb")) {
    std::fseek(f, 0, SEEK_END);
    s.size = static_cast<std::uint64_t>(std::max(std::ftell(f), 0L));
    std::fclose(f);
  }
  Summarizer summarizer(&s);
  s.ok = readJob(path, &summarizer, &s.fault, progress);
  for (PageSummary& page : s.pages) {
    for (const ImageSummary& i : page.images) {
      page.width = std::max(page.width, i.dotRight());
      page.height = std::max(page.height, i.dotBottom());
    }
  }
  return s;
}

std::string formatText(const JobSummary& s) {
  std::string out = format("file %s: %llu bytes\npackets:\n", s.name.c_str(),
                           static_cast<unsigned long long>(s.size));
  for (const std::string& p : s.packets) out += p + "\n";
  out += "raster:\n";
  for (const std::string& h : s.header) out += "  " + h + "\n";
  for (std::size_t p = 0; p < s.pages.size(); ++p) {
    const PageSummary& page = s.pages[p];
    out += format("page %zu: %lld x %lld dots, %zu images, ended by %s\n", p + 1,
                  static_cast<long long>(page.width), static_cast<long long>(page.height),
                  page.images.size(), page.end.empty() ? "nothing" : jsonString(page.end).c_str());
    for (const ImageSummary& i : page.images) out += "  " + imageText(i);
  }
  if (s.ok) return out + "ok\n";
  return out + format("fault at offset %zu: %s\n", s.fault.offset, s.fault.message.c_str());
}

std::string formatJson(const JobSummary& s) {
  std::string out = "{\"file\": " + jsonString(s.name) +
                    format(", \"size\": %llu,\n", static_cast<unsigned long long>(s.size));
  out += " \"packets\": [";
  for (std::size_t i = 0; i < s.packetsJson.size(); ++i) {
    out += (i == 0 ? "\n  " : ",\n  ") + s.packetsJson[i];
  }
  out += "],\n \"header\": [";
  for (std::size_t i = 0; i < s.header.size(); ++i) {
    out += (i == 0 ? "\n  " : ",\n  ") + jsonString(s.header[i]);
  }
  out += "],\n \"pages\": [";
  for (std::size_t p = 0; p < s.pages.size(); ++p) {
    const PageSummary& page = s.pages[p];
    out += format("%s\n  {\"width\": %lld, \"height\": %lld, \"end\": %s, \"images\": [",
                  p == 0 ? "" : ",", static_cast<long long>(page.width),
                  static_cast<long long>(page.height), jsonString(page.end).c_str());
    for (std::size_t n = 0; n < page.images.size(); ++n) {
      const ImageSummary& i = page.images[n];
      const Placement& a = i.at;
      std::string depths;
      for (std::size_t b = 0; b < a.configuration.size(); ++b) {
        depths += format("%s%d", b == 0 ? "" : ", ", a.configuration[b]);
      }
      out += format(
          "%s\n   {\"offset\": %zu, \"x\": %lld, \"y\": %lld, \"dots\": [%lld, %lld, %lld, %lld], "
          "\"configuration\": [%s], \"planes\": %s, \"rows\": %lld, "
          "\"skipped\": %lld, \"width\": %lld, \"blockWidth\": %d, \"bytes\": {",
          n == 0 ? "" : ",", a.offset, static_cast<long long>(a.x), static_cast<long long>(a.y),
          static_cast<long long>(a.dotsH), static_cast<long long>(a.pixelsH),
          static_cast<long long>(a.dotsV), static_cast<long long>(a.pixelsV), depths.c_str(),
          jsonString(planesText(a.configuration)).c_str(), static_cast<long long>(i.rows),
          static_cast<long long>(i.skipped), static_cast<long long>(i.widthPixels), i.blockWidth);
      out += bytesText(i, true);
      out += format("}, \"crc\": \"%08X\"}", i.crc);
    }
    out += "]}";
  }
  out += "],\n";
  if (s.ok) return out + " \"ok\": true}\n";
  return out + format(" \"ok\": false, \"fault\": {\"offset\": %zu, \"message\": %s}}\n",
                      s.fault.offset, jsonString(s.fault.message).c_str());
}

}  // namespace inspect
