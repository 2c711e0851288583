#include "proof.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "diag/diag.h"
#include "inspect/job.h"
#include "inspect/packets.h"
#include "kelm/codes.h"
#include "picture.h"
#include "zelp/codes.h"

namespace cli {
namespace {

using namespace kelm;

// Plane depths stand in the configuration in this order from its fourth byte; the rows send
// the planes in kPrinterPlaneOrder.
constexpr Plane kConfigurationOrder[] = {kPlaneR, kPlaneG, kPlaneB, kPlaneK,  kPlaneC,  kPlaneM,
                                         kPlaneY, kPlanec, kPlanem, kPlaneGy, kPlanePgy};
constexpr const char* kPlaneNames[kPlaneCount] = {"K", "C", "M", "Y",  "c",  "m",
                                                  "R", "G", "B", "Gy", "Pgy"};

struct Allowed {
  std::uint16_t lo = 0, hi = 0;
};

// What a plane of `depth` bits may print for an amount u of the picture (0 to 65535, ink or
// light as the plane takes it): the value scaled to the depth give or take one step of 8 bits;
// for 2 and 4 bits the index level, give or take one; for 1 bit, no ink for none and ink for
// full. Other depths are not read, and anything goes.
std::vector<Allowed> allowedValues(int depth, int levels) {
  std::vector<Allowed> table(65536);
  const int top = depth >= 16 ? 65535 : (1 << depth) - 1;
  const int count = levels > 0 ? levels : depth == 2 ? 4 : 16;
  for (std::size_t u = 0; u < table.size(); ++u) {
    const double x = static_cast<double>(u) / 65535.0;
    Allowed a{0, static_cast<std::uint16_t>(top)};
    if (depth == 1) {
      if (u == 0) a = {0, 0};
      if (u == 65535) a = {1, 1};
    } else if ((depth == 2 || depth == 4) && count <= top + 1) {
      const auto level = static_cast<int>(std::lround(x * 255.0)) * count / 256;
      a = {static_cast<std::uint16_t>(std::max(level - 1, 0)),
           static_cast<std::uint16_t>(std::min(level + 1, top))};
    } else if (depth >= 8) {
      const double e = x * top, tolerance = top / 255.0 + 1.0;
      a = {static_cast<std::uint16_t>(std::floor(std::max(e - tolerance, 0.0))),
           static_cast<std::uint16_t>(std::ceil(std::min(e + tolerance, double(top))))};
    }
    table[u] = a;
  }
  return table;
}

// The planes an image file feeds, with the sample channel of a picture of its own kind.
struct Feed {
  Plane plane;
  int channel;
};
std::vector<Feed> feeds(const std::string& key) {
  if (key == "ImageFileCMYK") return {{kPlaneK, 3}, {kPlaneC, 0}, {kPlaneM, 1}, {kPlaneY, 2}};
  if (key == "ImageFileRGB") return {{kPlaneR, 0}, {kPlaneG, 1}, {kPlaneB, 2}};
  for (int p = 0; p < kPlaneCount; ++p)
    if (key == std::string("ImageFile") + kPlaneNames[p]) return {{static_cast<Plane>(p), 0}};
  return {};
}

// One image file held against the planes it feeds.
struct FileCheck {
  const ImageFileSummary* summary = nullptr;
  std::unique_ptr<Picture> picture;
  std::string depths;  // "PixelDepthK=8"
  std::vector<std::uint16_t> samples;
  std::vector<std::uint8_t> indices;
  std::vector<std::uint8_t> differs;  // of the row's pixels
  bool rowHeld = false, rowDiffers = false;
  std::uint64_t pixels = 0, differ = 0, differAsIndices = 0;
  std::uint64_t differBelow = 0;  // in the rows below the last one sent, which print white
  std::int64_t rowsNotHeld = 0;
  std::string first;
};

struct PlaneCheck {
  Plane plane = kPlaneK;
  int depth = 8;
  bool light = false;
  int file = -1;
  int channel = 0;
  bool ownKind = false;  // the file is of the kind its key names, the channel its own
  std::vector<Allowed> allowed;
  std::array<Allowed, 256> allowed8{};  // by the byte of a direct picture
  // allowed8 is the byte itself (turned over by flip8), give or take two.
  bool nearSame8 = false;
  std::uint8_t flip8 = 0;
  std::vector<std::uint16_t> source, asIndices;  // the row's amounts in the plane's sense
};

std::uint16_t luma(const std::uint16_t* rgb) {
  return static_cast<std::uint16_t>((299u * rgb[0] + 587u * rgb[1] + 114u * rgb[2]) / 1000u);
}

// The light of a pixel as the plane sees it: its own channel of a picture of the file's kind,
// else the nearest thing a picture of another kind holds.
std::uint16_t lightFor(const Picture& p, const std::uint16_t* s, Plane plane, int channel) {
  const bool ownKind =
      (p.model == Picture::Model::kCMYK && p.channels == 4 && channel == 3) || channel < p.channels;
  switch (p.model) {
    case Picture::Model::kGray:
      return s[0];
    case Picture::Model::kCMYK:
      if (ownKind && (plane != kPlaneGy && plane != kPlanePgy))
        return static_cast<std::uint16_t>(65535 - s[channel]);
      return static_cast<std::uint16_t>((65535 - s[3]) *
                                        (65535 - (std::uint32_t{s[0]} + s[1] + s[2]) / 3) / 65535);
    case Picture::Model::kRGB:
      if (plane == kPlaneR || plane == kPlaneC || plane == kPlanec) return s[0];
      if (plane == kPlaneG || plane == kPlaneM || plane == kPlanem) return s[1];
      if (plane == kPlaneB || plane == kPlaneY) return s[2];
      return luma(s);
  }
  return s[0];
}

// Whether any of n bytes lies more than two from the source byte (every kStep-th, turned over
// by flip): a loop the compiler can run on vectors.
template <std::size_t kStep>
unsigned farFrom(const std::uint8_t* printed, std::size_t n, const std::uint8_t* source,
                 std::uint8_t flip) {
  unsigned bad = 0;
  for (std::size_t x = 0; x < n; ++x) {
    const int d = int{printed[x]} - int{static_cast<std::uint8_t>(source[x * kStep] ^ flip)};
    bad |= static_cast<unsigned>(d + 2) > 4u ? 1u : 0u;
  }
  return bad;
}

class Proof : public inspect::JobSink {
 public:
  explicit Proof(const JobReport& report) : report_(report) {
    const char* threads = std::getenv("ZELPGEN_THREADS");
    if (threads == nullptr || std::strcmp(threads, "1") != 0)
      worker_ = std::thread([this] { work(); });
  }
  Proof(const Proof&) = delete;
  Proof& operator=(const Proof&) = delete;
  ~Proof() override {
    if (!worker_.joinable()) return;
    {
      std::lock_guard lock(mutex_);
      stop_ = true;
    }
    wake_.notify_all();
    worker_.join();
  }

  bool sawImage() const { return sawImage_; }

  void imageStart(const inspect::Placement& at) override {
    drain();
    sawImage_ = true;
    active_ = at.page == 0 && static_cast<std::size_t>(at.image) < report_.images.size();
    if (!active_) return;
    image_ = &report_.images[static_cast<std::size_t>(at.image)];
    files_.clear();
    planes_.clear();
    nextRow_ = 0;
    const std::vector<std::uint8_t>& c = at.configuration;
    const int space = c.empty() ? 0 : c[0];
    const bool lightSpace = space == color_space::kRowRGB || space == color_space::kPixelRGB;
    interleaved_ = space == color_space::kPixelRGB;
    blank_ = lightSpace ? 0xFF : 0x00;
    int depth[kPlaneCount] = {};
    for (std::size_t i = 0; i < std::size(kConfigurationOrder) && 3 + i < c.size(); ++i)
      depth[kConfigurationOrder[i]] = static_cast<std::int8_t>(c[3 + i]);
    const std::size_t count = c.size() >= 2 ? c[1] : 0;
    for (Plane p : kPrinterPlaneOrder) {
      if (depth[p] <= 0 || (!interleaved_ && planes_.size() >= count)) continue;
      PlaneCheck plane;
      plane.plane = p;
      plane.depth = depth[p];
      plane.light = lightSpace || p == kPlaneR || p == kPlaneG || p == kPlaneB;
      if (p == kPlaneC || p == kPlaneM || p == kPlaneY || p == kPlanec || p == kPlanem)
        plane.light = false;
      const int levels = p < kInkPlaneCount ? image_->indexLevels[p] : 0;
      plane.allowed = allowedValues(plane.depth, std::max(levels, 0));
      planes_.push_back(std::move(plane));
    }
    // Interleaved rows are read here as bytes only.
    if (interleaved_ &&
        std::any_of(planes_.begin(), planes_.end(), [](auto& p) { return p.depth != 8; }))
      planes_.clear();
    for (const ImageFileSummary& f : image_->files) {
      if (f.warned) continue;  // the trial has said what is wrong with it
      FileCheck file;
      file.summary = &f;
      for (const Feed& feed : feeds(f.key)) {
        for (PlaneCheck& plane : planes_) {
          if (plane.plane != feed.plane || plane.file != -1) continue;
          plane.file = static_cast<int>(files_.size());
          plane.channel = feed.channel;
          file.depths += std::string(file.depths.empty() ? "" : ", ") + "PixelDepth" +
                         kPlaneNames[feed.plane] + "=" + std::to_string(plane.depth);
        }
      }
      if (file.depths.empty()) continue;
      file.picture = Picture::open(f.path);
      const int index = static_cast<int>(files_.size());
      for (PlaneCheck& plane : planes_) {
        if (plane.file != index) continue;
        if (file.picture == nullptr) plane.file = -1;
        if (file.picture == nullptr || file.picture->paletteSize > 0) continue;
        const Picture::Model model = file.picture->model;
        plane.ownKind = f.key == "ImageFileCMYK"  ? model == Picture::Model::kCMYK
                        : f.key == "ImageFileRGB" ? model == Picture::Model::kRGB
                                                  : model == Picture::Model::kGray;
      }
      if (file.picture == nullptr) continue;
      Picture& pic = *file.picture;
      pic.bytesOnly = pic.direct8;
      for (PlaneCheck& plane : planes_) {
        if (plane.file != index) continue;
        if (!(plane.ownKind && plane.depth == 8)) pic.bytesOnly = false;
        const bool sourceLight = pic.model != Picture::Model::kCMYK;
        plane.flip8 = sourceLight == plane.light ? 0 : 0xFF;
        plane.nearSame8 = true;
        for (std::size_t b = 0; b < 256; ++b) {
          const Allowed a = plane.allowed[(b * 257) ^ (plane.flip8 != 0 ? 0xFFFF : 0)];
          const int e = static_cast<int>(b ^ plane.flip8);
          plane.allowed8[b] = a;
          plane.nearSame8 =
              plane.nearSame8 && a.lo == std::max(e - 2, 0) && a.hi == std::min(e + 2, 255);
        }
      }
      files_.push_back(std::move(file));
    }
  }

  void row(std::int64_t index, std::vector<inspect::PlaneRow>& rows) override {
    if (!active_) return;
    hand({index, 1, std::move(rows), false});
    nextRow_ = index + 1;
  }

  void skip(std::int64_t rows) override {
    if (!active_) return;
    std::int64_t tallest = 0;
    for (const FileCheck& f : files_)
      tallest = std::max<std::int64_t>(tallest, f.picture->height + image_->rowsBefore);
    const std::int64_t end = std::min(nextRow_ + rows, std::max(tallest, nextRow_));
    if (end > nextRow_) hand({nextRow_, end - nextRow_, {}, false});
    nextRow_ += rows;
  }

  void imageEnd(std::int64_t rows) override {
    if (!active_) return;
    // Rows left out at the end print white, as the picture may have them.
    std::int64_t tallest = 0;
    for (const FileCheck& f : files_)
      tallest = std::max<std::int64_t>(tallest, f.picture->height + image_->rowsBefore);
    if (tallest > rows) hand({rows, tallest - rows, {}, true});
    drain();
    active_ = false;
    const std::int64_t printed = std::max<std::int64_t>(rows - image_->rowsBefore, 0);
    for (FileCheck& f : files_) say(f, printed);
    files_.clear();
  }

 private:
  // Rows from `index` on: one as decoded, or `count` skipped ones.
  struct Rows {
    std::int64_t index = 0, count = 1;
    std::vector<inspect::PlaneRow> planes;
    bool below = false;  // rows the print leaves out after its last
  };

  // The rows go to the worker, which compares them while the next ones decode; without one
  // they are compared here.
  void hand(Rows rows) {
    if (!worker_.joinable()) return take(rows);
    std::unique_lock lock(mutex_);
    room_.wait(lock, [this] { return queue_.size() < kQueueRows; });
    queue_.push_back(std::move(rows));
    wake_.notify_all();
  }

  void take(Rows& rows) {
    for (std::int64_t r = rows.index; r < rows.index + rows.count; ++r) {
      // Rows past the end of every file are not compared.
      std::int64_t held = 0;
      for (const FileCheck& f : files_)
        held = std::max<std::int64_t>(held, f.picture->held + image_->rowsBefore);
      if (rows.planes.empty() && r >= held) break;
      compare(r, rows.planes.empty() ? nullptr : &rows.planes, rows.below);
    }
  }

  // Waits until the worker has compared every row handed to it.
  void drain() {
    if (!worker_.joinable()) return;
    std::unique_lock lock(mutex_);
    room_.wait(lock, [this] { return queue_.empty() && !busy_; });
  }

  void work() {
    for (;;) {
      Rows rows;
      {
        std::unique_lock lock(mutex_);
        wake_.wait(lock, [this] { return stop_ || !queue_.empty(); });
        if (stop_) return;
        rows = std::move(queue_.front());
        queue_.pop_front();
        busy_ = true;
      }
      room_.notify_all();
      take(rows);
      {
        std::lock_guard lock(mutex_);
        busy_ = false;
      }
      room_.notify_all();
    }
  }

 private:
  void compare(std::int64_t index, std::vector<inspect::PlaneRow>* rows, bool below) {
    const std::int64_t r = index - image_->rowsBefore;
    if (r < 0) return;
    for (FileCheck& f : files_) {
      f.rowHeld = false;
      if (r >= f.picture->height) continue;
      f.rowHeld = f.picture->row(static_cast<std::uint32_t>(r), &f.samples, &f.indices);
      if (!f.rowHeld) {
        ++f.rowsNotHeld;
        continue;
      }
      if (f.rowDiffers) f.differs.assign(f.picture->width, 0);
      f.differs.resize(f.picture->width);
      f.rowDiffers = false;
    }
    std::vector<std::uint8_t> split;
    for (std::size_t i = 0; i < planes_.size(); ++i) {
      PlaneCheck& plane = planes_[i];
      if (plane.file < 0) continue;
      FileCheck& f = files_[static_cast<std::size_t>(plane.file)];
      if (!f.rowHeld) continue;
      static const std::vector<std::uint8_t> kNone;
      const std::vector<std::uint8_t>* bytes = &kNone;
      if (rows != nullptr && interleaved_ && !rows->empty()) {
        const std::vector<std::uint8_t>& all = (*rows)[0].bytes;
        split.clear();
        for (std::size_t b = i; b < all.size(); b += planes_.size()) split.push_back(all[b]);
        bytes = &split;
      } else if (rows != nullptr && !interleaved_ && i < rows->size()) {
        bytes = &(*rows)[i].bytes;
      }
      comparePlane(plane, f, *bytes, r);
    }
    for (FileCheck& f : files_) {
      if (!f.rowHeld) continue;
      f.pixels += f.differs.size();
      if (!f.rowDiffers) continue;
      for (const std::uint8_t d : f.differs) {
        f.differ += d & 1;
        if (below) f.differBelow += d & 1;
        f.differAsIndices += (d >> 1) & 1;
      }
    }
  }

  void comparePlane(PlaneCheck& plane, FileCheck& f, const std::vector<std::uint8_t>& bytes,
                    std::int64_t r) {
    const Picture& pic = *f.picture;
    const std::size_t width = pic.width;
    const auto ch = static_cast<std::size_t>(pic.channels);
    if (plane.ownKind && plane.depth == 8 && pic.direct8) {
      const std::uint8_t* s = pic.bytes + plane.channel;
      const std::size_t step = pic.step, sent = std::min(bytes.size(), width);
      if (plane.nearSame8) {
        // A pass without branches finds most rows right; only a wrong one is gone through.
        unsigned bad = step == 4   ? farFrom<4>(bytes.data(), sent, s, plane.flip8)
                       : step == 3 ? farFrom<3>(bytes.data(), sent, s, plane.flip8)
                       : step == 1 ? farFrom<1>(bytes.data(), sent, s, plane.flip8)
                                   : 1u;
        for (std::size_t x = sent; x < width; ++x) {
          const int d = int{blank_} - int{static_cast<std::uint8_t>(s[x * step] ^ plane.flip8)};
          bad |= static_cast<unsigned>(d + 2) > 4u ? 1u : 0u;
        }
        if (bad == 0) return;
      }
      for (std::size_t x = 0; x < width; ++x) {
        const std::uint32_t v = x < sent ? bytes[x] : blank_;
        const Allowed a = plane.allowed8[s[x * step]];
        if (v < a.lo || v > a.hi) differs(plane, f, r, x, v, a);
      }
      return;
    }
    if (plane.ownKind && plane.depth == 8) {
      // The common case: one channel, one byte a pixel.
      const bool sourceLight = pic.model != Picture::Model::kCMYK;
      const std::uint16_t flip = sourceLight == plane.light ? 0 : 0xFFFF;
      const std::uint16_t* s = f.samples.data() + plane.channel;
      const std::size_t sent = std::min(bytes.size(), width);
      for (std::size_t x = 0; x < width; ++x) {
        const std::uint32_t v = x < sent ? bytes[x] : blank_;
        const Allowed a = plane.allowed[s[x * ch] ^ flip];
        if (v < a.lo || v > a.hi) differs(plane, f, r, x, v, a);
      }
      return;
    }
    plane.source.resize(width);
    for (std::size_t x = 0; x < width; ++x) {
      const std::uint16_t light = lightFor(pic, &f.samples[x * ch], plane.plane, plane.channel);
      plane.source[x] = plane.light ? light : static_cast<std::uint16_t>(65535 - light);
    }
    // A palette read as gray levels: what the library's readers make of it.
    const bool palette = pic.paletteSize > 0 && !pic.grayRamp;
    if (palette) {
      plane.asIndices.resize(width);
      const int top = (1 << pic.bits) - 1;
      for (std::size_t x = 0; x < width; ++x) {
        const auto light = static_cast<std::uint16_t>(f.indices[x] * 65535 / top);
        plane.asIndices[x] = plane.light ? light : static_cast<std::uint16_t>(65535 - light);
      }
    }
    const int d = plane.depth;
    for (std::size_t x = 0; x < width; ++x) {
      std::uint32_t v = 0;
      if (d == 8) {
        v = x < bytes.size() ? bytes[x] : blank_;
      } else {
        for (std::size_t bit = x * static_cast<std::size_t>(d); bit < (x + 1) * d; ++bit) {
          const std::uint8_t byte = bit / 8 < bytes.size() ? bytes[bit / 8] : blank_;
          v = v << 1 | ((byte >> (7 - bit % 8)) & 1u);
        }
      }
      const Allowed a = plane.allowed[plane.source[x]];
      if (v < a.lo || v > a.hi) differs(plane, f, r, x, v, a);
      if (palette) {
        const Allowed b = plane.allowed[plane.asIndices[x]];
        if (v < b.lo || v > b.hi) {
          f.differs[x] |= 2;
          f.rowDiffers = true;
        }
      }
    }
  }

  static void differs(const PlaneCheck& plane, FileCheck& f, std::int64_t r, std::size_t x,
                      std::uint32_t v, Allowed a) {
    f.differs[x] |= 1;
    f.rowDiffers = true;
    if (!f.first.empty()) return;
    f.first = "at row " + std::to_string(r + 1) + ", column " + std::to_string(x + 1) + " the " +
              kPlaneNames[plane.plane] + " plane prints " + std::to_string(v) +
              " where the picture asks for " + std::to_string(a.lo) +
              (a.hi != a.lo ? " to " + std::to_string(a.hi) : "");
  }

  static void say(const FileCheck& f, std::int64_t printed) {
    const Picture& pic = *f.picture;
    const std::string head = f.summary->path + ": " + pic.kind + ", " + f.depths + ": ";
    std::string why;
    const std::int64_t height = pic.height;
    if (printed == 0 && f.differBelow > 0) {
      why = "0 of " + std::to_string(height) + " rows print";
    } else if (pic.held < pic.height || f.rowsNotHeld > 0) {
      why = "the file holds " + std::to_string(pic.held) + " of its " + std::to_string(height) +
            " rows, yet " + std::to_string(printed) + " rows print";
    } else if (printed < height && f.differBelow > 0) {
      why = std::to_string(printed) + " of " + std::to_string(height) + " rows print";
    } else if (f.differ > 0 && pic.paletteSize > 0 && !pic.grayRamp && f.differAsIndices == 0) {
      why = "the palette indices print, not the colours they stand for (" +
            std::to_string(f.differ) + " of " + std::to_string(f.pixels) + " pixels differ)";
    } else if (f.differ > 0) {
      why = std::to_string(f.differ) + " of " + std::to_string(f.pixels) +
            " pixels print other values than the picture holds: " + f.first;
    } else {
      return;
    }
    diag::warn({{}, f.summary->line, "Image", f.summary->key, f.summary->path, head + why});
  }

  const JobReport& report_;
  const ImageSummary* image_ = nullptr;
  std::vector<FileCheck> files_;
  std::vector<PlaneCheck> planes_;
  std::int64_t nextRow_ = 0;
  bool active_ = false, interleaved_ = false, sawImage_ = false;
  std::uint8_t blank_ = 0;
  static constexpr std::size_t kQueueRows = 64;
  std::deque<Rows> queue_;
  std::mutex mutex_;
  std::condition_variable wake_, room_;
  bool stop_ = false, busy_ = false;
  std::thread worker_;  // last: it starts on the members above
};

// A packet as the job gives it is whole: one packet, of the length its header gives.
bool whole(const std::vector<unsigned char>& bytes) {
  inspect::Packet p;
  std::string error;
  if (inspect::decodePacket(bytes, 0, &p, &error) != bytes.size()) return false;
  return p.operation != zelp::kExecuteMethod || inspect::executeMethod(p).has_value();
}

// The job line behind the packet at `offset`: of the packets given byte by byte that lie at or
// before it, the last that is not whole by itself, else the one that holds it; 0 for none.
int lineOfPacketAt(const std::string& printFile, const JobReport& report, std::size_t offset) {
  if (report.rawPackets.empty()) return 0;
  std::FILE* file = std::fopen(printFile.c_str(), "rb");
  if (file == nullptr) return 0;
  // Given packets go out with the job's start, before the raster.
  std::vector<unsigned char> head(std::min<std::size_t>(offset, std::size_t{16} << 20) +
                                  (std::size_t{1} << 16));
  head.resize(std::fread(head.data(), 1, head.size(), file));
  std::fclose(file);
  int holding = 0, broken = 0;
  std::size_t from = 0;
  for (const RawPacketSummary& raw : report.rawPackets) {
    // The header's length field is filled in as the packet goes out: the rest of it is sought.
    const std::size_t skip = raw.bytes.size() > 20 ? 20 : 0;
    const auto find = [&](std::size_t past) {
      return std::search(head.begin() + static_cast<std::ptrdiff_t>(std::min(past, head.size())),
                         head.end(), raw.bytes.begin() + static_cast<std::ptrdiff_t>(skip),
                         raw.bytes.end());
    };
    if (raw.bytes.empty()) continue;
    auto at = find(from + skip);
    if (at == head.end()) at = find(skip);
    if (at == head.end()) continue;
    const auto start = static_cast<std::size_t>(at - head.begin()) - skip;
    const std::size_t end = start + raw.bytes.size();
    from = end;
    if (start > offset) continue;
    if (!whole({head.begin() + static_cast<std::ptrdiff_t>(start),
                head.begin() + static_cast<std::ptrdiff_t>(end)}))
      broken = raw.line;
    if (offset < end) holding = raw.line;
  }
  return broken != 0 ? broken : holding;
}

}  // namespace

void proveTrial(const std::string& printFile, const JobReport& report) {
  Proof proof(report);
  inspect::Fault fault;
  if (!inspect::readJob(printFile, &proof, &fault)) {
    const int line = lineOfPacketAt(printFile, report, fault.offset);
    // Rows sent uncompressed under a compression do not decode: the trial has said so.
    const bool modeless =
        std::any_of(report.images.begin(), report.images.end(),
                    [](const ImageSummary& i) { return i.mode == -1 && i.compression > 0; });
    if (line == 0 && modeless) return;
    diag::warn({{},
                line,
                {},
                {},
                {},
                std::string(line != 0 ? "the packet made here" : "the print file") +
                    " does not read back: " + fault.message + " (at byte " +
                    std::to_string(fault.offset) + " of the print file)"});
    return;
  }
  if (!proof.sawImage() && !report.images.empty()) {
    diag::warn({{},
                0,
                "ZELP",
                "JobImpressions",
                {},
                report.pages < 0
                    ? "no page is printed: [KELM] straight after [Global] leaves "
                      "JobImpressions unset; give JobImpressions, or a [ZELP] "
                      "section between them"
                    : "no page is printed: JobImpressions is " + std::to_string(report.pages)});
  }
}

}  // namespace cli
