#include "pdf.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <vector>

namespace zp {
namespace {

// A page side beyond this many pixels is no page this printer can take (over 40 m at 600 dpi).
constexpr std::uint64_t kMaxSidePixels = 1u << 20;
constexpr unsigned kMaxDpi = 9600;

// SAFER forbids file and device access beyond the named document; nothing waits for a user.
std::vector<std::string> baseArguments(const PdfOptions& options) {
  return {options.ghostscript, "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-dNOPROMPT"};
}

struct PageBox {
  double width = 0, height = 0;  // points, UserUnit applied
};

// Ghostscript's PDF interpreter lists each page's MediaBox and UserUnit without rendering.
const char* kInfoProgram =
    "File (r) file runpdfbegin 1 1 pdfpagecount { pdfgetpage { exch =only ( ) print == } forall "
    "} for runpdfend quit";

std::vector<PageBox> parseInfo(const std::string& text) {
  std::vector<PageBox> pages;
  std::vector<double> userUnits;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("Page# ", 0) == 0) {
      pages.emplace_back();
      userUnits.push_back(1);
    } else if (pages.empty()) {
      continue;
    } else if (line.rfind("MediaBox [", 0) == 0) {
      double box[4] = {0, 0, 0, 0};
      const char* p = line.c_str() + 10;
      for (double& value : box) {
        char* end = nullptr;
        value = std::strtod(p, &end);
        if (end == p) break;
        p = end;
      }
      pages.back().width = std::fabs(box[2] - box[0]);
      pages.back().height = std::fabs(box[3] - box[1]);
    } else if (line.rfind("UserUnit ", 0) == 0) {
      userUnits.back() = std::strtod(line.c_str() + 9, nullptr);
    }
  }
  for (std::size_t i = 0; i < pages.size(); ++i) {
    pages[i].width *= userUnits[i];
    pages[i].height *= userUnits[i];
  }
  return pages;
}

// Why a page of `width` x `height` pixels may not be rendered; empty when it may.
std::string checkPageSize(std::uint64_t width, std::uint64_t height, unsigned channels,
                          const ChildLimits& limits) {
  if (width == 0 || height == 0) return "it is empty";
  if (width > kMaxSidePixels || height > kMaxSidePixels)
    return std::to_string(width) + " x " + std::to_string(height) + " pixels is too large";
  std::uint64_t bytes = width * height * channels;  // both below 2^20: no overflow
  if (limits.fileBytes > 0 && bytes > limits.fileBytes)
    return "its " + std::to_string(bytes >> 20) + " MiB of pixels exceed the spool limit of " +
           std::to_string(limits.fileBytes >> 20) + " MiB";
  return {};
}

// Reads the concatenated binary PNM pages Ghostscript writes and hands them on row by row.
class PnmStream {
 public:
  PnmStream(unsigned channels, const ChildLimits& limits, PdfSink& sink)
      : channels_(channels), limits_(limits), sink_(sink) {}

  bool feed(const std::uint8_t* data, std::size_t size) {
    while (size > 0) {
      if (rowsLeft_ == 0) {
        if (!headerByte(*data)) return false;
        ++data;
        --size;
        continue;
      }
      if (fill_ == 0 && size >= rowBytes_) {  // a whole row in place: no copy
        if (!row(data)) return false;
        data += rowBytes_;
        size -= rowBytes_;
        continue;
      }
      std::size_t take = std::min(size, rowBytes_ - fill_);
      std::memcpy(row_.data() + fill_, data, take);
      fill_ += take;
      data += take;
      size -= take;
      if (fill_ == rowBytes_) {
        fill_ = 0;
        if (!row(row_.data())) return false;
      }
    }
    return true;
  }

  unsigned pages() const { return pages_; }
  bool midPage() const { return rowsLeft_ > 0 || header_.size() > 0; }
  const std::string& error() const { return error_; }

 private:
  bool fail(const std::string& why) {
    error_ = why;
    return false;
  }

  // Header: magic, width, height, maxval, separated by white space or comments, then one
  // white-space byte before the pixels.
  bool headerByte(std::uint8_t byte) {
    if (header_.size() > 256) return fail("Ghostscript wrote a malformed page header");
    header_.push_back(static_cast<char>(byte));
    if (header_.size() == 1 && byte != 'P') return fail("Ghostscript wrote no page image");
    if (header_.size() == 2 && byte != (channels_ == 3 ? '6' : '5'))
      return fail("Ghostscript wrote an unexpected page format");
    if (header_.size() <= 2) return true;
    std::vector<std::uint64_t> numbers;
    bool inComment = false, inNumber = false, ended = false;
    for (std::size_t i = 2; i < header_.size(); ++i) {
      char c = header_[i];
      if (inComment) {
        inComment = c != '\n' && c != '\r';
      } else if (c >= '0' && c <= '9') {
        if (!inNumber) numbers.push_back(0);
        inNumber = true;
        if (numbers.back() > 100000000) return fail("Ghostscript wrote a malformed page header");
        numbers.back() = numbers.back() * 10 + static_cast<unsigned>(c - '0');
      } else if (c == '#') {
        inComment = true;
        inNumber = false;
      } else if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
        ended = inNumber && numbers.size() == 3;
        inNumber = false;
      } else {
        return fail("Ghostscript wrote a malformed page header");
      }
    }
    if (!ended) return true;
    header_.clear();
    if (numbers[2] != 255) return fail("Ghostscript wrote an unexpected sample depth");
    std::string tooBig = checkPageSize(numbers[0], numbers[1], channels_, limits_);
    if (!tooBig.empty()) return fail("page " + std::to_string(pages_ + 1) + ": " + tooBig);
    PdfPage page{static_cast<unsigned>(numbers[0]), static_cast<unsigned>(numbers[1]), channels_};
    if (!sink_.beginPage(page)) return fail("page " + std::to_string(pages_ + 1) + " was refused");
    rowBytes_ = static_cast<std::size_t>(numbers[0]) * channels_;
    row_.assign(rowBytes_, 0);
    rowsLeft_ = numbers[1];
    fill_ = 0;
    return true;
  }

  bool row(const std::uint8_t* pixels) {
    if (!sink_.writeRow(pixels))
      return fail("page " + std::to_string(pages_ + 1) + " could not be stored");
    if (--rowsLeft_ > 0) return true;
    row_ = {};
    ++pages_;
    if (!sink_.endPage()) return fail("page " + std::to_string(pages_) + " could not be stored");
    return true;
  }

  const unsigned channels_;
  const ChildLimits& limits_;
  PdfSink& sink_;
  std::string header_;
  std::vector<std::uint8_t> row_;
  std::size_t rowBytes_ = 0, fill_ = 0;
  std::uint64_t rowsLeft_ = 0;
  unsigned pages_ = 0;
  std::string error_;
};

std::string oneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c < ' '; }, ' ');
  return text;
}

}  // namespace

std::string renderPdf(const std::string& pdfPath, const PdfOptions& options, PdfSink& sink) {
  {
    std::ifstream in(pdfPath, std::ios::binary);
    char magic[5] = {};
    if (!in) return "cannot read the document: " + std::string(std::strerror(errno));
    // Anything else would reach Ghostscript's PostScript interpreter.
    if (!in.read(magic, sizeof magic) || std::memcmp(magic, "%PDF-", 5) != 0)
      return "the document is not a PDF file";
  }
  if (options.dpi == 0 || options.dpi > kMaxDpi)
    return "unsupported resolution " + std::to_string(options.dpi) + " dpi";
  // --permit-file-read takes a list separated by colons.
  if (pdfPath.find(':') != std::string::npos) return "the document's file name has a colon";
  const unsigned channels = options.gray ? 1 : 3;

  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  std::vector<std::string> info = baseArguments(options);
  info.insert(info.end(), {"-dNODISPLAY", "--permit-file-read=" + pdfPath, "-sFile=" + pdfPath,
                           "-c", kInfoProgram});
  std::string listing;
  ChildOutcome listed = runChild(info, options.workdir, options.limits,
                                 [&listing](const std::uint8_t* data, std::size_t size) {
                                   listing.append(reinterpret_cast<const char*>(data), size);
                                   return listing.size() < (64u << 20);
                                 });
  if (!listed.ok) return "cannot read the PDF: " + oneLine(listed.reason);
  std::vector<PageBox> boxes = parseInfo(listing);
  if (boxes.empty()) return "cannot read the PDF: no pages found";
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    double w = std::ceil(boxes[i].width / 72 * options.dpi);
    double h = std::ceil(boxes[i].height / 72 * options.dpi);
    if (!std::isfinite(w) || !std::isfinite(h) || w > 1e12 || h > 1e12)
      return "page " + std::to_string(i + 1) + " has an unusable size";
    std::string why = checkPageSize(static_cast<std::uint64_t>(w), static_cast<std::uint64_t>(h),
                                    channels, options.limits);
    if (!why.empty()) return "page " + std::to_string(i + 1) + ": " + why;
  }

  // The rest of the time limit is the rendering's.
  ChildLimits limits = options.limits;
  if (limits.wallSeconds > 0) {
    auto used = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start).count();
    limits.wallSeconds = std::max(1, limits.wallSeconds - static_cast<int>(used));
  }
  // stdout carries the pixels alone; the band list lives in Ghostscript's limited memory rather
  // than in temporary files, and bands stay small whatever the page.
  std::vector<std::string> render = baseArguments(options);
  render.insert(
      render.end(),
      {"-sstdout=%stderr", options.gray ? "-sDEVICE=pgmraw" : "-sDEVICE=ppmraw",
       "-r" + std::to_string(options.dpi), "-sBandListStorage=memory", "-dMaxBitmap=10000000",
       "-dBufferSpace=4000000", "-dNumRenderingThreads=1", "-sOutputFile=-", "-f", pdfPath});
  PnmStream stream(channels, limits, sink);
  ChildOutcome rendered = runChild(
      render, options.workdir, limits,
      [&stream](const std::uint8_t* data, std::size_t size) { return stream.feed(data, size); });
  if (!stream.error().empty()) return stream.error();
  if (!rendered.ok) return "cannot render the PDF: " + oneLine(rendered.reason);
  if (stream.midPage())
    return "Ghostscript ended within page " + std::to_string(stream.pages() + 1);
  if (stream.pages() != boxes.size())
    return "Ghostscript rendered " + std::to_string(stream.pages()) + " of " +
           std::to_string(boxes.size()) + " pages";
  return {};
}

}  // namespace zp
