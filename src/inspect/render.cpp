// Page drawing: the inks of each rebuilt row composited to RGB, one band of output rows at a time.
#include "inspect/render.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "inspect/job.h"

namespace inspect {
namespace {

// Draws one page of the file in one pass: output rows [start, ...) as far as the band allows.
// Each output pixel is the mean of the printer dots it covers; the band sums how much light
// the ink took from each (so untouched dots stay white).
class PagePass : public JobSink {
 public:
  PagePass(const PageSummary& page, int index, std::int64_t num, std::int64_t den,
           std::uint32_t width, std::uint32_t height, std::int64_t start, std::size_t cap,
           PageWriter* writer)
      : page_(page),
        index_(index),
        num_(num),
        den_(den),
        width_(width),
        height_(height),
        base_(start),
        cap_(cap),
        writer_(writer),
        band_(cap * width * 3, 0),
        rowDark_(width * 3),
        rgb_(),
        columns_(width, 0) {
    const std::int64_t dotsWide = page.width;
    for (std::int64_t x = 0; x < dotsWide; ++x) ++columns_[static_cast<std::size_t>(outX(x))];
    // Rows above the first row of every later image are final once that image begins.
    laterTop_.assign(page.images.size() + 1, static_cast<std::int64_t>(height));
    for (std::size_t i = page.images.size(); i-- > 0;) {
      laterTop_[i] =
          std::min(laterTop_[i + 1], outY(std::max<std::int64_t>(0, page.images[i].at.y)));
    }
  }

  bool ok() const { return ok_; }
  bool frozen() const { return frozen_; }
  std::int64_t base() const { return base_; }

  void imageStart(const Placement& at) override {
    active_ = at.page == index_ && static_cast<std::size_t>(at.image) < page_.images.size();
    if (!active_) return;
    image_ = &page_.images[static_cast<std::size_t>(at.image)];
    at_ = at;
    model_ = std::make_unique<ColourModel>(at.configuration);
    rgb_.assign(static_cast<std::size_t>(std::max<std::int64_t>(image_->widthPixels, 0)) * 3, 0);
    flushTo(laterTop_[static_cast<std::size_t>(at.image)]);
  }

  void row(std::int64_t index, std::vector<PlaneRow>& planes) override {
    if (!active_ || !ok_ || rgb_.empty()) return;
    const std::int64_t y0 = std::max<std::int64_t>(at_.dotY(index), 0);
    const std::int64_t y1 = std::min<std::int64_t>(at_.dotY(index + 1), page_.height);
    if (y0 >= y1) return;
    rows_.clear();
    for (PlaneRow& p : planes) rows_.push_back(std::move(p.bytes));
    const std::size_t pixels = rgb_.size() / 3;
    model_->rgb(rows_, pixels, rgb_.data());
    std::fill(rowDark_.begin(), rowDark_.end(), 0);
    bool ink = false;
    for (std::size_t i = 0; i < pixels; ++i) {
      const std::uint8_t* c = &rgb_[i * 3];
      if (c[0] == 255 && c[1] == 255 && c[2] == 255) continue;
      ink = true;
      const auto column = static_cast<std::int64_t>(i);
      const std::int64_t x1 = std::min(at_.dotX(column + 1), page_.width);
      for (std::int64_t x = std::max<std::int64_t>(at_.dotX(column), 0); x < x1; ++x) {
        std::uint64_t* d = &rowDark_[static_cast<std::size_t>(outX(x)) * 3];
        d[0] += 255u - c[0];
        d[1] += 255u - c[1];
        d[2] += 255u - c[2];
      }
    }
    if (!ink) return;
    for (std::int64_t y = y0; y < y1; ++y) {
      const std::int64_t oy = outY(y);
      if (oy < base_) continue;  // drawn by an earlier pass
      if (oy >= base_ + static_cast<std::int64_t>(cap_) && !frozen_) {
        flushTo(std::min(laterTop_[static_cast<std::size_t>(at_.image) + 1],
                         oy - static_cast<std::int64_t>(cap_) + 1));
      }
      if (oy >= base_ + static_cast<std::int64_t>(cap_)) {
        frozen_ = true;  // left for the next pass
        continue;
      }
      std::uint64_t* line =
          &band_[static_cast<std::size_t>(oy % static_cast<std::int64_t>(cap_)) * width_ * 3];
      for (std::size_t i = 0; i < rowDark_.size(); ++i) line[i] += rowDark_[i];
    }
  }

  void imageEnd(std::int64_t) override { active_ = false; }

  // Hands on the rows drawn; without a freeze, every row of the page.
  void finish() {
    const std::int64_t end =
        frozen_ ? std::min<std::int64_t>(base_ + static_cast<std::int64_t>(cap_), height_)
                : height_;
    frozen_ = false;
    flushTo(end);
  }

 private:
  std::int64_t outX(std::int64_t x) const { return x * num_ / den_; }
  std::int64_t outY(std::int64_t y) const { return y * num_ / den_; }
  std::int64_t dotsInRow(std::int64_t oy) const {
    // Dots y with y * num / den == oy.
    const auto first = [&](std::int64_t o) {
      return std::min((o * den_ + num_ - 1) / num_, page_.height);
    };
    return first(oy + 1) - first(oy);
  }

  void flushTo(std::int64_t end) {
    if (frozen_) return;
    end = std::min<std::int64_t>(end, height_);
    std::vector<std::uint8_t> out(width_ * 3);
    for (; base_ < end && ok_; ++base_) {
      std::uint64_t* line =
          &band_[static_cast<std::size_t>(base_ % static_cast<std::int64_t>(cap_)) * width_ * 3];
      const auto rows = static_cast<std::uint64_t>(std::max<std::int64_t>(dotsInRow(base_), 1));
      for (std::size_t i = 0; i < out.size(); ++i) {
        const std::uint64_t area = std::max<std::uint64_t>(columns_[i / 3], 1) * rows;
        out[i] = static_cast<std::uint8_t>(
            255 - std::min<std::uint64_t>((line[i] + area / 2) / area, 255));
        line[i] = 0;
      }
      ok_ = writer_->row(out.data());
    }
  }

  const PageSummary& page_;
  int index_;
  std::int64_t num_, den_;
  std::size_t width_;
  std::int64_t height_;
  std::int64_t base_;
  std::size_t cap_;
  PageWriter* writer_;
  std::vector<std::uint64_t> band_, rowDark_;
  std::vector<std::uint8_t> rgb_;
  std::vector<std::uint64_t> columns_;
  std::vector<std::int64_t> laterTop_;
  std::vector<std::vector<std::uint8_t>> rows_;
  std::unique_ptr<ColourModel> model_;
  const ImageSummary* image_ = nullptr;
  Placement at_;
  bool active_ = false, frozen_ = false, ok_ = true;
};

}  // namespace

bool renderJob(const std::string& path, const RenderOptions& options, PageWriter* writer,
               std::string* error) {
  const JobSummary summary = summarize(path);
  if (!summary.ok) {
    *error =
        "fault at offset " + std::to_string(summary.fault.offset) + ": " + summary.fault.message;
    return false;
  }
  constexpr std::int64_t kLargest = 1 << 30;
  for (std::size_t p = 0; p < summary.pages.size(); ++p) {
    const PageSummary& page = summary.pages[p];
    const std::int64_t dotsWide = std::max<std::int64_t>(page.width, 1);
    const std::int64_t num = options.width > 0 ? options.width : 1;
    const std::int64_t den = options.width > 0 ? dotsWide : std::max(options.scale, 1);
    const std::int64_t width = (dotsWide * num + den - 1) / den;
    const std::int64_t height = std::max<std::int64_t>((page.height * num + den - 1) / den, 1);
    if (width > kLargest || height > kLargest || width * height > (std::int64_t{1} << 40)) {
      *error = "page " + std::to_string(p + 1) + " too large to draw";
      return false;
    }
    const std::size_t cap =
        std::clamp<std::size_t>(options.bandBytes / (static_cast<std::size_t>(width) * 24), 16,
                                static_cast<std::size_t>(height));
    if (!writer->begin(static_cast<int>(p + 1), static_cast<std::uint32_t>(width),
                       static_cast<std::uint32_t>(height))) {
      *error = writer->error;
      return false;
    }
    std::int64_t start = 0;
    while (start < height) {
      PagePass pass(page, static_cast<int>(p), num, den, static_cast<std::uint32_t>(width),
                    static_cast<std::uint32_t>(height), start, cap, writer);
      Fault fault;
      const auto progress = [&](std::uint64_t done, std::uint64_t total) {
        if (options.progress) options.progress(static_cast<int>(p + 1), done, total);
      };
      if (!readJob(path, &pass, &fault, progress)) {
        *error = "fault at offset " + std::to_string(fault.offset) + ": " + fault.message;
        return false;
      }
      pass.finish();
      if (!pass.ok()) {
        *error = writer->error;
        return false;
      }
      start = pass.base();
    }
    if (!writer->end()) {
      *error = writer->error;
      return false;
    }
  }
  return true;
}

}  // namespace inspect
