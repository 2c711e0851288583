// Jobs: every page goes to band TIFFs in the job's spool folder, then to its own print file made
// by a `zelpgen print` child, which is copied to the device; the folder goes when the job ends.
#include "job.h"

#include <fcntl.h>
#include <png.h>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>
#include <vector>

#include "colour.h"
#include "drivers.h"
#include "pdf.h"

namespace zp {

Settings& settings() {
  static Settings s;
  return s;
}

namespace {

namespace fs = std::filesystem;

// A text for a quoted configuration value: printable ASCII without the characters the reader
// treats specially, at most `max` characters.
std::string quoted(const std::string& text, std::size_t max = 32) {
  std::string out;
  for (const unsigned char c : text) {
    if (out.size() == max) break;
    out += (c < 0x20 || c > 0x7E || c == '#' || c == '"' || c == '\\') ? '_' : char(c);
  }
  return "\"" + out + "\"";
}

// The size a band TIFF's strips aim at.
constexpr std::uint64_t kStripBytes = 4u << 20;

// The first line zelpgen wrote as a warning (its `zelpgen: warning: ` lead left out), else "".
// A successful run writes nothing else to stderr, so the tail holds one if any was written.
std::string firstWarning(const std::string& stderrText) {
  static constexpr std::string_view kLead = "zelpgen: warning: ";
  std::size_t at = 0;
  while (at < stderrText.size()) {
    const std::size_t end = std::min(stderrText.find('\n', at), stderrText.size());
    if (std::string_view(stderrText).substr(at, end - at).starts_with(kLead))
      return stderrText.substr(at + kLead.size(), end - at - kLead.size());
    at = end + 1;
  }
  return {};
}

std::string megabytes(std::uint64_t bytes) {
  return std::to_string((bytes + (1 << 20) - 1) >> 20);
}

// The size of the page in the printer's terms and the job's options, from PAPPL's options.
struct PageSetup {
  unsigned width = 0, height = 0;
  unsigned channels = 0;  // 1 gray (255 white), 3 sRGB, 4 CMYK ink
  bool inkGray = false;   // a one-channel page whose 0 is white (CUPS_CSPACE_K)
  int xdpi = 600, ydpi = 600;
  bool colour = true;  // four ink planes, else one gray plane
};

// A vendor option of the job, else the printer's default for it (PAPPL 1.3 looks for the
// default among the job's attributes only).
std::string vendorOption(pappl_job_t* job, const pappl_pr_options_t* options, const char* name) {
  if (const char* value = cupsGetOption(name, options->num_vendor, options->vendor)) return value;
  ipp_t* attrs = papplPrinterGetDriverAttributes(papplJobGetPrinter(job));
  std::string value;
  const std::string defaultName = std::string(name) + "-default";
  if (ipp_attribute_t* attr = ippFindAttribute(attrs, defaultName.c_str(), IPP_TAG_ZERO)) {
    char text[256];
    ippAttributeString(attr, text, sizeof text);
    value = text;
  }
  ippDelete(attrs);
  return value;
}

// What a job's options say, as configuration lines shared by its pages.
std::vector<ConfigLine> optionLines(pappl_job_t* job, const pappl_pr_options_t* options,
                                    int paperWidth, int paperLength, int copies) {
  std::vector<ConfigLine> lines;
  auto add = [&lines](const std::vector<ConfigLine>& more) {
    lines.insert(lines.end(), more.begin(), more.end());
  };
  lines.push_back({"ZELP", "JobName", quoted(papplJobGetName(job) ? papplJobGetName(job) : "")});
  lines.push_back(
      {"ZELP", "JobOwner", quoted(papplJobGetUsername(job) ? papplJobGetUsername(job) : "")});
  const std::time_t created = papplJobGetTimeCreated(job);
  std::tm utc{};
  gmtime_r(&created, &utc);
  char time[64];
  std::snprintf(time, sizeof time, "\"%02d/%02d/%04d %02d:%02d:%02d GMT\"", utc.tm_mday,
                utc.tm_mon + 1, utc.tm_year + 1900, utc.tm_hour, utc.tm_min, utc.tm_sec);
  lines.push_back({"ZELP", "JobTime", time});
  add(mapValue("copies", "*", std::max(copies, 1)));
  add(mapValue("media-type", options->media.type));
  switch (options->print_quality) {
    case IPP_QUALITY_DRAFT:
      add(mapValue("print-quality", "draft"));
      break;
    case IPP_QUALITY_HIGH:
      add(mapValue("print-quality", "high"));
      break;
    default:
      add(mapValue("print-quality", "normal"));
      break;
  }
  const std::string cutting = vendorOption(job, options, kVendorCutting);
  if (!cutting.empty()) add(mapValue(kVendorCutting, cutting));
  const std::string drying = vendorOption(job, options, kVendorDryingMethod);
  if (!drying.empty()) {
    const std::string seconds = vendorOption(job, options, kVendorDryingTime);
    add(mapValue(kVendorDryingMethod, drying, std::atol(seconds.c_str())));
  }

  // A size the table names keeps its name (within 1 mm); any other, roll lengths included, goes
  // by its measures.
  std::string named;
  for (const std::string& name : tableValues("media")) {
    const pwg_media_t* media = pwgMediaForPWG(name.c_str());
    if (media != nullptr && std::abs(media->width - paperWidth) <= 100 &&
        std::abs(media->length - paperLength) <= 100) {
      named = name;
    }
  }
  if (!named.empty()) {
    add(mapValue("media", named));
    add(mapValue("media", "*named"));
  } else {
    add(mapValue("media", "*custom"));
    add(mapValue("media-size-width", "*", (paperWidth + 5) / 10));
    add(mapValue("media-size-length", "*", (paperLength + 5) / 10));
  }
  add(mapValue("media-top-margin", "*", options->media.top_margin / 100));
  add(mapValue("media-bottom-margin", "*", options->media.bottom_margin / 100));
  add(mapValue("media-left-margin", "*", options->media.left_margin / 100));
  add(mapValue("media-right-margin", "*", options->media.right_margin / 100));
  return lines;
}

// One job's run: its spool folder, the page being written, what went wrong.
class JobRun final : public PdfSink {
 public:
  JobRun(pappl_job_t* job, pappl_device_t* device) : job_(job), device_(device) {}
  ~JobRun() override {
    closeImage();
    if (!folder_.empty()) {
      std::error_code ignored;
      fs::remove_all(folder_, ignored);
    }
  }

  bool failed() const { return failed_; }

  // A failure ends the job: its reason is the job's message and goes to the job's log.
  bool fail(const std::string& why, pappl_jreason_t reason = PAPPL_JREASON_ERRORS_DETECTED) {
    if (!failed_) {
      failed_ = true;
      papplLogJob(job_, PAPPL_LOGLEVEL_ERROR, "%s", why.c_str());
      papplJobSetMessage(job_, "%s", why.c_str());
      papplJobSetReasons(job_, reason, PAPPL_JREASON_NONE);
    }
    return false;
  }

  bool start() {
    const Settings& s = settings();
    std::string pattern =
        s.spoolDirectory + "/zelpgen-job-" + std::to_string(papplJobGetID(job_)) + "-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      return fail("cannot make the job's spool folder in " + s.spoolDirectory + ": " +
                  std::strerror(errno));
    }
    folder_ = pattern;
    std::string error;
    converter_ = InkConverter::create(s.iccProfile, &error);
    if (!converter_) return fail("colour conversion: " + error);
    return true;
  }

  // The options every page of the job shares; paper from the page's own size in 0.01 mm.
  void setOptions(const pappl_pr_options_t* options, int paperWidth, int paperLength, int copies) {
    lines_ = optionLines(job_, options, paperWidth, paperLength, copies);
  }

  bool beginPage(const PageSetup& page) {
    if (failed_) return false;
    page_ = page;
    ++pageNumber_;
    row_ = 0;
    imageIndex_ = 0;
    images_.clear();
    outChannels_ = page.colour ? 4 : 1;
    rowBytes_ = std::uint64_t{page.width} * outChannels_;
    if (page.width == 0 || page.height == 0 || rowBytes_ > (1u << 30)) {
      return fail("page " + std::to_string(pageNumber_) + " has no usable size",
                  PAPPL_JREASON_DOCUMENT_FORMAT_ERROR);
    }
    const std::uint64_t pageBytes = rowBytes_ * page.height;
    if (pageBytes > settings().spoolLimit) {
      return fail("page " + std::to_string(pageNumber_) + " (" + std::to_string(page.width) +
                      " x " + std::to_string(page.height) + " dots) needs " + megabytes(pageBytes) +
                      " MB of spool, over the job's limit of " + megabytes(settings().spoolLimit) +
                      " MB",
                  PAPPL_JREASON_DOCUMENT_UNPRINTABLE_ERROR);
    }
    rowsPerImage_ = static_cast<unsigned>(
        std::clamp<std::uint64_t>(settings().imageLimit / rowBytes_, 1, page.height));
    inkRow_.assign(rowBytes_, 0);
    mixRow_.assign(std::size_t{page.width} * 3, 0);
    return true;
  }

  bool beginPage(const PdfPage& page) override {
    PageSetup setup = page_;
    setup.width = page.width;
    setup.height = page.height;
    setup.channels = page.channels;
    setup.inkGray = false;
    // Paper from the page: Ghostscript renders at its own size.
    const int width = static_cast<int>(std::uint64_t{page.width} * 2540 / setup.xdpi);
    const int length = static_cast<int>(std::uint64_t{page.height} * 2540 / setup.ydpi);
    setOptions(pdfOptions_, width, length, copies_);
    return beginPage(setup);
  }

  bool writeRow(const std::uint8_t* row) override {
    if (failed_) return false;
    if (row_ >= page_.height) return true;  // rows past the page are dropped by PAPPL too
    if (image_ == nullptr && !openImage()) return false;
    convert(row);
    if (TIFFWriteScanline(image_, inkRow_.data(), row_ - images_.back().first, 0) < 0) {
      return fail(std::string("cannot write to the spool disk (full or not writable): ") +
                  std::strerror(errno ? errno : EIO));
    }
    ++row_;
    if (row_ - images_.back().first == images_.back().second) return closeImage();
    return true;
  }

  bool endPage() override {
    if (failed_ || papplJobIsCanceled(job_)) return false;
    if (row_ < page_.height) {
      return fail("page " + std::to_string(pageNumber_) + " ended after " + std::to_string(row_) +
                      " of its " + std::to_string(page_.height) + " rows",
                  PAPPL_JREASON_DOCUMENT_FORMAT_ERROR);
    }
    if (!closeImage()) return false;
    const std::string cfg = folder_ + "/page-" + std::to_string(pageNumber_) + ".cfg";
    const std::string dat = folder_ + "/page-" + std::to_string(pageNumber_) + ".dat";
    if (!writeConfiguration(cfg, dat)) return false;
    ChildLimits limits = settings().limits;
    limits.fileBytes = std::min(limits.fileBytes, settings().spoolLimit);
    papplLogJob(job_, PAPPL_LOGLEVEL_DEBUG, "Page %u written to %u band images; running zelpgen.",
                pageNumber_, static_cast<unsigned>(images_.size()));
    // Not --strict: its trial and proof would read and write the page twice more. zelpgen
    // still reads the print file back before it succeeds; a warning fails the page here.
    const ChildOutcome outcome = runChild({settings().zelpgen, "print", cfg}, folder_, limits);
    papplLogJob(job_, PAPPL_LOGLEVEL_DEBUG, "zelpgen ended for page %u.", pageNumber_);
    if (!outcome.stderrTail.empty()) {
      papplLogJob(job_, outcome.ok ? PAPPL_LOGLEVEL_INFO : PAPPL_LOGLEVEL_ERROR, "zelpgen: %s",
                  outcome.stderrTail.c_str());
    }
    if (!outcome.ok) {
      return fail("page " + std::to_string(pageNumber_) +
                  ": making the print file failed: " + outcome.reason);
    }
    const std::string warning = firstWarning(outcome.stderrTail);
    if (!warning.empty()) {
      return fail("page " + std::to_string(pageNumber_) +
                  ": making the print file failed: " + warning);
    }
    for (const Image& image : images_) std::remove(image.path.c_str());
    const bool sent = sendFile(dat);
    std::remove(dat.c_str());
    std::remove(cfg.c_str());
    if (sent && countPages_) papplJobSetImpressionsCompleted(job_, 1);
    return sent;
  }

  // A print file to the device as it is.
  bool sendFile(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return fail("cannot read " + path + ": " + std::strerror(errno));
    std::vector<char> buffer(1 << 16);
    bool ok = true;
    for (;;) {
      const ssize_t n = read(fd, buffer.data(), buffer.size());
      if (n == 0) break;
      if (n < 0) {
        if (errno == EINTR) continue;
        ok = fail("cannot read " + path + ": " + std::strerror(errno),
                  PAPPL_JREASON_DOCUMENT_FORMAT_ERROR);
        break;
      }
      errno = 0;
      if (papplDeviceWrite(device_, buffer.data(), static_cast<size_t>(n)) < 0) {
        ok = fail(std::string("the device stopped taking data: ") +
                  (errno != 0 ? std::strerror(errno) : "write failed"));
        break;
      }
    }
    close(fd);
    if (ok) papplDeviceFlush(device_);
    return ok;
  }

  // For the PDF path: the job's options and copies, used when each page's size is known.
  void setPdfOptions(const pappl_pr_options_t* options, const PageSetup& base, int copies) {
    pdfOptions_ = options;
    countPages_ = true;
    page_ = base;
    copies_ = copies;
  }

  const std::string& folder() const { return folder_; }

 private:
  struct Image {
    unsigned first;   // the page row it starts at
    unsigned second;  // rows
    std::string path;
  };

  bool openImage() {
    const unsigned first = row_;
    const unsigned rows = std::min(rowsPerImage_, page_.height - first);
    const std::string path = folder_ + "/page-" + std::to_string(pageNumber_) + "-" +
                             std::to_string(imageIndex_++) + ".tif";
    image_ = TIFFOpen(path.c_str(), "w");
    if (image_ == nullptr) {
      return fail("cannot write to the spool disk: " + path + ": " +
                  std::strerror(errno ? errno : EIO));
    }
    images_.push_back({first, rows, path});
    TIFFSetField(image_, TIFFTAG_IMAGEWIDTH, page_.width);
    TIFFSetField(image_, TIFFTAG_IMAGELENGTH, rows);
    TIFFSetField(image_, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(image_, TIFFTAG_SAMPLESPERPIXEL, outChannels_);
    TIFFSetField(image_, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    // Uncompressed: zelpgen reads the page once, mostly from the page cache; PackBits took
    // most of the time from PDF to bands and saved little or nothing.
    TIFFSetField(image_, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    if (outChannels_ == 4) {
      TIFFSetField(image_, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_SEPARATED);
      TIFFSetField(image_, TIFFTAG_INKSET, INKSET_CMYK);
    } else {
      TIFFSetField(image_, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    }
    // libtiff buffers a whole strip: a few MB a write keeps the server small.
    TIFFSetField(
        image_, TIFFTAG_ROWSPERSTRIP,
        static_cast<unsigned>(std::clamp<std::uint64_t>(kStripBytes / rowBytes_, 1, rows)));
    TIFFSetField(image_, TIFFTAG_XRESOLUTION, float(page_.xdpi));
    TIFFSetField(image_, TIFFTAG_YRESOLUTION, float(page_.ydpi));
    TIFFSetField(image_, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    return true;
  }

  bool closeImage() {
    if (image_ == nullptr) return true;
    errno = 0;
    const bool flushed = TIFFFlush(image_) == 1;
    TIFFClose(image_);
    image_ = nullptr;
    if (!flushed) {
      return fail(std::string("cannot write to the spool disk (full or not writable): ") +
                  std::strerror(errno ? errno : EIO));
    }
    return true;
  }

  // One row to ink: CMYK for colour, a gray plane (255 white) for monochrome.
  void convert(const std::uint8_t* row) {
    const std::size_t n = page_.width;
    std::uint8_t* out = inkRow_.data();
    if (page_.channels == 4) {
      if (outChannels_ == 4) {
        std::memcpy(out, row, n * 4);
      } else {
        for (std::size_t x = 0; x < n; ++x) {
          out[x] = static_cast<std::uint8_t>(
              255 -
              std::min(255, row[4 * x + 3] + (row[4 * x] + row[4 * x + 1] + row[4 * x + 2]) / 3));
        }
      }
      return;
    }
    const std::uint8_t* gray = row;
    if (page_.channels == 1 && page_.inkGray) {
      for (std::size_t x = 0; x < n; ++x) mixRow_[x] = static_cast<std::uint8_t>(255 - row[x]);
      gray = mixRow_.data();
    }
    if (page_.channels == 3) {
      if (outChannels_ == 4) {
        converter_->toCmyk(row, out, n);
        return;
      }
      for (std::size_t x = 0; x < n; ++x) {
        const std::uint8_t* p = row + 3 * x;
        mixRow_[x] = static_cast<std::uint8_t>((p[0] * 77 + p[1] * 150 + p[2] * 29) >> 8);
      }
      gray = mixRow_.data();
    }
    if (outChannels_ == 1) {
      converter_->grayToK(gray, out, n);
      for (std::size_t x = 0; x < n; ++x) out[x] = static_cast<std::uint8_t>(255 - out[x]);
      return;
    }
    // Gray on the colour printer: black ink only.
    std::vector<std::uint8_t>& k = kRow_;
    k.resize(n);
    converter_->grayToK(gray, k.data(), n);
    for (std::size_t x = 0; x < n; ++x) {
      out[4 * x] = out[4 * x + 1] = out[4 * x + 2] = 0;
      out[4 * x + 3] = k[x];
    }
  }

  bool writeConfiguration(const std::string& cfg, const std::string& dat) {
    std::vector<BandImage> bands;
    for (const Image& image : images_) {
      bands.push_back({image.first, fs::path(image.path).filename().string()});
    }
    std::ofstream out(cfg, std::ios::binary | std::ios::trunc);
    out << pageConfiguration(lines_, bands, page_.colour, page_.xdpi,
                             fs::path(dat).filename().string());
    out.close();
    if (!out) {
      return fail(std::string("cannot write the job configuration to the spool disk: ") +
                  std::strerror(errno ? errno : EIO));
    }
    return true;
  }

  pappl_job_t* job_;
  pappl_device_t* device_;
  std::string folder_;
  std::unique_ptr<InkConverter> converter_;
  std::vector<ConfigLine> lines_;
  const pappl_pr_options_t* pdfOptions_ = nullptr;
  int copies_ = 1;
  bool countPages_ = false;  // PAPPL counts the pages of raster documents itself
  bool failed_ = false;

  PageSetup page_;
  unsigned pageNumber_ = 0;
  unsigned row_ = 0;
  unsigned rowsPerImage_ = 0;
  unsigned imageIndex_ = 0;
  unsigned outChannels_ = 4;
  std::uint64_t rowBytes_ = 0;
  std::vector<Image> images_;
  TIFF* image_ = nullptr;
  std::vector<std::uint8_t> inkRow_, mixRow_, kRow_;
};

}  // namespace

std::string pageConfiguration(const std::vector<ConfigLine>& options,
                              const std::vector<BandImage>& bands, bool colour, int dpi,
                              const std::string& outFile) {
  std::vector<ConfigLine> lines = options;
  const std::vector<ConfigLine> resolution =
      mapValue("printer-resolution", std::to_string(dpi) + "dpi", dpi);
  lines.insert(lines.end(), resolution.begin(), resolution.end());
  std::string text = "[Global]\nOutFilePath=" + quoted(outFile, 255) + "\n";
  for (const char* section : {"ZELP", "KELM"}) {
    text += std::string("[") + section + "]\n";
    for (const ConfigLine& line : lines) {
      if (line.section == section) text += line.key + "=" + line.value + "\n";
    }
  }
  // The first band carries the image settings; the others inherit them.
  for (std::size_t i = 0; i < bands.size(); ++i) {
    text += "[Image]\n";
    text +=
        std::string(colour ? "ImageFileCMYK=" : "ImageFileK=") + quoted(bands[i].file, 255) + "\n";
    if (i == 0) {
      for (const ConfigLine& line : mapValue("print-color-mode", colour ? "color" : "monochrome")) {
        text += line.key + "=" + line.value + "\n";
      }
      text += "CompressionMode=kelm_id_val_compression_packbits\n";
      for (const ConfigLine& line : resolution) {
        if (line.section == "Image") text += line.key + "=" + line.value + "\n";
      }
    }
    text += "StartingPositionX=0\nStartingPositionY=" + std::to_string(bands[i].firstRow) + "\n";
  }
  return text;
}

namespace {

JobRun* runOf(pappl_job_t* job) {
  return static_cast<JobRun*>(papplJobGetData(job));
}

// Copies the document is printed with by us; PAPPL repeats pages itself for images.
int ourCopies(pappl_job_t* job, const pappl_pr_options_t* options) {
  const char* format = papplJobGetFormat(job);
  if (format != nullptr &&
      (std::strcmp(format, "image/png") == 0 || std::strcmp(format, "image/jpeg") == 0)) {
    return 1;
  }
  return options->copies;
}

}  // namespace

bool rasterStartJob(pappl_job_t* job, pappl_pr_options_t* /*options*/, pappl_device_t* device) {
  auto run = std::make_unique<JobRun>(job, device);
  if (!run->start()) return false;
  papplJobSetData(job, run.release());
  return true;
}

bool rasterStartPage(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* /*device*/,
                     unsigned /*page*/) {
  JobRun* run = runOf(job);
  if (run == nullptr) return false;
  const auto& h = options->header;
  PageSetup page;
  page.width = h.cupsWidth;
  page.height = h.cupsHeight;
  page.xdpi = static_cast<int>(h.HWResolution[0]);
  page.ydpi = static_cast<int>(h.HWResolution[1]);
  switch (h.cupsColorSpace) {
    case CUPS_CSPACE_SRGB:
    case CUPS_CSPACE_RGB:
    case CUPS_CSPACE_ADOBERGB:
      page.channels = 3;
      break;
    case CUPS_CSPACE_SW:
    case CUPS_CSPACE_W:
      page.channels = 1;
      break;
    case CUPS_CSPACE_K:
      page.channels = 1;
      page.inkGray = true;
      break;
    case CUPS_CSPACE_CMYK:
      page.channels = 4;
      break;
    default:
      break;
  }
  if (page.channels == 0 || h.cupsBitsPerColor != 8 || h.cupsBitsPerPixel != 8 * page.channels ||
      page.xdpi != page.ydpi) {
    return run->fail("page raster of " + std::to_string(h.cupsBitsPerPixel) +
                         " bits a pixel in colour space " + std::to_string(h.cupsColorSpace) +
                         " at " + std::to_string(page.xdpi) + "x" + std::to_string(page.ydpi) +
                         " dpi is not printed (8-bit gray, sRGB or CMYK, square dots)",
                     PAPPL_JREASON_DOCUMENT_UNPRINTABLE_ERROR);
  }
  if (mapValue("printer-resolution", std::to_string(page.xdpi) + "dpi").empty()) {
    return run->fail("page raster at " + std::to_string(page.xdpi) +
                         " dpi; the printer takes the resolutions it announces",
                     PAPPL_JREASON_DOCUMENT_UNPRINTABLE_ERROR);
  }
  page.colour = page.channels != 1 && options->print_color_mode != PAPPL_COLOR_MODE_MONOCHROME;
  // Paper: the page's own size (PAPPL fits the document onto the chosen media).
  const int width = static_cast<int>(std::uint64_t{page.width} * 2540 / page.xdpi);
  const int length = static_cast<int>(std::uint64_t{page.height} * 2540 / page.ydpi);
  run->setOptions(options, width, length, ourCopies(job, options));
  return run->beginPage(page);
}

bool rasterWriteLine(pappl_job_t* job, pappl_pr_options_t* /*options*/, pappl_device_t* /*device*/,
                     unsigned /*y*/, const unsigned char* line) {
  JobRun* run = runOf(job);
  return run != nullptr && run->writeRow(line);
}

bool rasterEndPage(pappl_job_t* job, pappl_pr_options_t* /*options*/, pappl_device_t* /*device*/,
                   unsigned /*page*/) {
  JobRun* run = runOf(job);
  return run != nullptr && run->endPage();
}

bool rasterEndJob(pappl_job_t* job, pappl_pr_options_t* /*options*/, pappl_device_t* /*device*/) {
  std::unique_ptr<JobRun> run(runOf(job));
  papplJobSetData(job, nullptr);
  return run != nullptr && !run->failed();
}

bool printNativeFile(pappl_job_t* job, pappl_pr_options_t* /*options*/, pappl_device_t* device) {
  JobRun run(job, device);
  return run.sendFile(papplJobGetFilename(job));
}

// The PNG's pixels an inch from its pHYs chunk, 0 when it has none (or not in metres, or not
// square). Without it PAPPL scales every picture to fit the printable area.
namespace {
int pngResolution(const char* path) {
  std::ifstream in(path, std::ios::binary);
  unsigned char head[8];
  if (!in.read(reinterpret_cast<char*>(head), sizeof head)) return 0;
  for (;;) {
    unsigned char chunk[8];
    if (!in.read(reinterpret_cast<char*>(chunk), sizeof chunk)) return 0;
    const std::uint32_t length = std::uint32_t{chunk[0]} << 24 | std::uint32_t{chunk[1]} << 16 |
                                 std::uint32_t{chunk[2]} << 8 | chunk[3];
    const std::string type(reinterpret_cast<const char*>(chunk) + 4, 4);
    if (type == "IDAT" || type == "IEND") return 0;  // pHYs comes before the pixels
    if (type == "pHYs" && length == 9) {
      unsigned char d[9];
      if (!in.read(reinterpret_cast<char*>(d), sizeof d)) return 0;
      const std::uint32_t x =
          std::uint32_t{d[0]} << 24 | std::uint32_t{d[1]} << 16 | std::uint32_t{d[2]} << 8 | d[3];
      const std::uint32_t y =
          std::uint32_t{d[4]} << 24 | std::uint32_t{d[5]} << 16 | std::uint32_t{d[6]} << 8 | d[7];
      if (d[8] != 1 || x != y || x == 0) return 0;
      const long ppi = std::lround(x * 0.0254);
      return ppi > 0 && ppi <= 9600 ? static_cast<int>(ppi) : 0;
    }
    if (!in.seekg(std::streamoff{length} + 4, std::ios::cur)) return 0;
  }
}
}  // namespace

bool filterPng(pappl_job_t* job, pappl_device_t* device, void* /*data*/) {
  // PAPPL 1.3's own PNG filter loops forever on a damaged file; this one gives up with a reason.
  auto refuse = [job](const std::string& why) {
    papplLogJob(job, PAPPL_LOGLEVEL_ERROR, "%s", why.c_str());
    papplJobSetMessage(job, "%s", why.c_str());
    papplJobSetReasons(job, PAPPL_JREASON_DOCUMENT_FORMAT_ERROR, PAPPL_JREASON_NONE);
    return false;
  };
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, papplJobGetFilename(job))) {
    return refuse(std::string("the PNG cannot be read: ") + image.message);
  }
  const bool colour = (image.format & PNG_FORMAT_FLAG_COLOR) != 0;
  image.format = colour ? PNG_FORMAT_RGB : PNG_FORMAT_GRAY;
  // The whole picture is held in memory, so its size is bounded before anything is allocated.
  const std::uint64_t bytes = std::uint64_t{image.width} * image.height * (colour ? 3 : 1);
  const std::uint64_t limit = settings().limits.memoryBytes / 4;
  if (bytes > limit) {
    png_image_free(&image);
    return refuse("the PNG of " + std::to_string(image.width) + " x " +
                  std::to_string(image.height) + " pixels needs " + megabytes(bytes) +
                  " MB of memory, over the limit of " + megabytes(limit) + " MB");
  }
  std::vector<std::uint8_t> pixels(bytes);
  const png_color white{255, 255, 255};
  if (!png_image_finish_read(&image, &white, pixels.data(), 0, nullptr)) {
    return refuse(std::string("the PNG cannot be read: ") + image.message);
  }
  pappl_pr_options_t* options = papplJobCreatePrintOptions(job, 1, colour);
  const bool ok =
      papplJobFilterImage(job, device, options, pixels.data(), static_cast<int>(image.width),
                          static_cast<int>(image.height), colour ? 3 : 1,
                          pngResolution(papplJobGetFilename(job)), false);
  papplJobDeletePrintOptions(options);
  return ok;
}

bool filterPdf(pappl_job_t* job, pappl_device_t* device, void* /*data*/) {
  pappl_pr_options_t* options = papplJobCreatePrintOptions(job, 1, true);
  JobRun run(job, device);
  bool ok = run.start();
  if (ok) {
    PageSetup base;
    base.xdpi = options->printer_resolution[0];
    base.ydpi = options->printer_resolution[1];
    base.colour = options->print_color_mode != PAPPL_COLOR_MODE_MONOCHROME;
    run.setPdfOptions(options, base, options->copies);
    PdfOptions pdf;
    pdf.ghostscript = settings().ghostscript;
    pdf.dpi = static_cast<unsigned>(base.xdpi);
    pdf.gray = !base.colour;
    pdf.limits = settings().limits;
    pdf.limits.fileBytes = std::min(pdf.limits.fileBytes, settings().spoolLimit);
    pdf.workdir = run.folder();
    const std::string why = renderPdf(papplJobGetFilename(job), pdf, run);
    if (!why.empty()) {
      run.fail(why, PAPPL_JREASON_DOCUMENT_FORMAT_ERROR);
    }
    ok = !run.failed();
  }
  papplJobDeletePrintOptions(options);
  return ok;
}

}  // namespace zp
