// What the page loop would leave out without a word: each image file is opened once, as the
// loop opens it, and the record it yields says why nothing (or something wrong) will be read.
#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include "config/sections.h"
#include "diag/diag.h"
#include "driver/job.h"
#include "image/bmp.h"
#include "image/lxbmp.h"
#include "image/tiff.h"

namespace {

constexpr const char* kLeftOut = "; nothing of it is printed";

std::array<unsigned char, 64> fileHead(const char* path, std::size_t* got) {
  std::array<unsigned char, 64> head{};
  *got = 0;
  if (LXFilePtr f{std::fopen(path, "rb")}) *got = std::fread(head.data(), 1, head.size(), f.get());
  return head;
}

std::uint32_t word(const unsigned char* b, int n, bool little) {
  std::uint32_t v = 0;
  for (int i = 0; i < n; ++i) v |= std::uint32_t{b[little ? i : n - 1 - i]} << (8 * i);
  return v;
}

// What the first directory says beyond what the reader keeps.
struct FirstDirectory {
  bool tiled = false;
  std::uint32_t length = 0;  // ImageLength: the picture's rows
};

FirstDirectory firstDirectory(const char* path) {
  FirstDirectory found;
  LXFilePtr f{std::fopen(path, "rb")};
  unsigned char b[12];
  if (!f || std::fread(b, 1, 8, f.get()) != 8) return found;
  const bool little = b[0] == 'I';
  if (std::fseek(f.get(), static_cast<long>(word(b + 4, 4, little)), SEEK_SET) != 0 ||
      std::fread(b, 1, 2, f.get()) != 2)
    return found;
  for (std::uint32_t n = word(b, 2, little); n > 0 && std::fread(b, 1, 12, f.get()) == 12; --n) {
    const std::uint32_t tag = word(b, 2, little);
    if (tag == 322 || tag == 324) found.tiled = true;
    if (tag == 257) found.length = word(b + 8, word(b + 2, 2, little) == 3 ? 2 : 4, little);
  }
  return found;
}

std::string compressionName(std::uint32_t code) {
  switch (code) {
    case 2:
    case 3:
    case 4:
      return "CCITT fax compression";
    case 5:
      return "LZW compression";
    case 7:
      return "JPEG compression";
    case 8:
    case 32946:
      return "Deflate compression";
    default:
      return "compression " + std::to_string(code);
  }
}

void noteTiff(const LXTiffRecT& rec, const std::string& path, ImageFileSummary* summary) {
  if (rec.stream) {
    summary->height = std::max(firstDirectory(rec.path.get()).length, rec.height);
    if (rec.compression != kTiffCompressionNone && rec.compression != kTiffCompressionPackBits) {
      summary->compression = compressionName(rec.compression);
      diag::warn(path + " uses " + summary->compression +
                 ", which is not read; its rows go out as stored");
    }
    return;
  }
  if (rec.byteOrder == 0) {
    diag::warn(path + " is not a TIFF file" + kLeftOut);
  } else if (!rec.stripOffsets) {
    diag::warn(path +
               (firstDirectory(rec.path.get()).tiled ? " is a tiled TIFF, which is not read"
                                                     : " has no strip table") +
               kLeftOut);
  } else {
    diag::warn(path + " has a header that claims rows the file cannot hold" + kLeftOut);
  }
}

void noteBmp(const LXWindowsBMPRecT& rec, const std::string& path, ImageFileSummary* summary) {
  std::size_t got = 0;
  const auto head = fileHead(path.c_str(), &got);
  if (rec.stream && got >= 34) summary->height = std::max(word(&head[22], 4, true), rec.height);
  if (got < 34 || head[0] != 'B' || head[1] != 'M') {
    diag::warn(path + " is not a BMP file" + kLeftOut);
  } else if (!rec.stream && static_cast<std::int32_t>(word(&head[22], 4, true)) < 0) {
    diag::warn(path + " is a top-down BMP, which is not read" + kLeftOut);
  } else if (!rec.stream) {
    diag::warn(path + " has a header that claims rows the file cannot hold" + kLeftOut);
  } else if (const std::uint32_t compression = word(&head[30], 4, true); compression != 0) {
    summary->compression = "BMP compression " + std::to_string(compression);
    diag::warn(path + " uses " + summary->compression +
               ", which is not read; its rows go out as stored");
  }
}

std::string kindName(const LXBMPRecT* rec, const std::string& path) {
  if (rec != nullptr && rec->kind == kLXKindTIFF) return "TIFF";
  if (rec != nullptr && rec->kind == kLXKindBMP) return "BMP";
  const std::size_t dot = path.rfind('.');
  return dot == std::string::npos ? "no kind" : path.substr(dot + 1);
}

constexpr const char* kDepthNames[kelm::kPlaneCount] = {"K", "C", "M", "Y",  "c",  "m",
                                                        "R", "G", "B", "Gy", "Pgy"};

// The order in which the keys are listed to a job author.
constexpr int kFileOrder[kImageFileCount] = {
    kFileCMYK,     kelm::kPlaneK, kelm::kPlaneC, kelm::kPlaneM,  kelm::kPlaneY,
    kelm::kPlanec, kelm::kPlanem, kFileRGB,      kelm::kPlaneGy, kelm::kPlanePgy,
    kelm::kPlaneR, kelm::kPlaneG, kelm::kPlaneB};

}  // namespace

void noteImages(const parameter* p, const std::string& configPath, JobReport* report) {
  int index = 0;
  for (const imageParameter* e = p->imageParameterList.get(); e != nullptr; e = e->next.get()) {
    ++index;
    ImageSummary image;
    image.mode = e->mode;
    image.colorSpace = e->colorSpace;
    image.compression = e->compressionMode;
    if ((e->yOffsetSign == 0 || e->yOffsetSign == 1) && e->yOffset > 0)
      image.rowsBefore = e->yOffset;
    for (int d = 0; d < kelm::kInkPlaneCount; ++d) {
      const unsigned char* table = e->indexLevel[d];
      for (const int levels : {3, 4, 5, 6, 16})
        if (table != nullptr && table == reductionTable(levels)) image.indexLevels[d] = levels;
      if (table == kRGBSenseTable) image.indexLevels[d] = -1;
    }
    for (int d = 0; d < kelm::kPlaneCount; ++d) {
      image.pixelDepth[d] = e->pixelDepth[d];
      if (e->pixelDepth[d] == -1) continue;
      if (!image.depths.empty()) image.depths += ' ';
      image.depths += std::string(kDepthNames[d]) + "=" + std::to_string(e->pixelDepth[d]);
    }
    for (const int file : kFileOrder) {
      if (e->imageFile[file][0] == '\0') continue;
      const std::string path = e->imageFile[file];
      const char* key = imageFileKey(file);
      if (image.line == 0 || e->imageFileLine[file] < image.line)
        image.line = e->imageFileLine[file];
      diag::setPlace(configPath, e->imageFileLine[file], "Image", key, path);
      std::unique_ptr<LXBMPRecT> rec = LXBMP_New(path.c_str());
      ImageFileSummary summary{key, path, kindName(rec.get(), path), 0, 0,
                               0,   {},   e->imageFileLine[file]};
      if (rec && rec->stream) {
        summary.width = rec->width;
        summary.height = summary.rows = rec->height;
      }
      const int warningsBefore = diag::warningCount();
      if (!rec) {
        diag::warn(path + " cannot be opened" + kLeftOut);
      } else if (rec->kind == kLXKindTIFF) {
        noteTiff(static_cast<const LXTiffRecT&>(*rec), path, &summary);
      } else if (rec->kind == kLXKindBMP) {
        noteBmp(static_cast<const LXWindowsBMPRecT&>(*rec), path, &summary);
      } else {
        diag::warn(path + " is not named as a TIFF or BMP file (.tif, .tiff, .bmp)" + kLeftOut);
      }
      if (rec && rec->stream) {
        if (p->printableWidthInPixel > 0 &&
            rec->width > static_cast<std::uint32_t>(p->printableWidthInPixel))
          diag::warn(path + " is " + std::to_string(rec->width) +
                     " pixels wide, wider than the printable width of " +
                     std::to_string(p->printableWidthInPixel));
      }
      LXBMP_Delete(std::move(rec));
      summary.warned = diag::warningCount() != warningsBefore;
      image.files.push_back(std::move(summary));
    }
    // Without a mode the rows are sent as they are, yet the compression is still announced.
    if (e->mode == -1 && e->compressionMode != kelm::compression::kNone) {
      diag::setPlace(configPath, 0, "Image", "CompressionMode", std::to_string(e->compressionMode));
      diag::warn("image " + std::to_string(index) + " (ColorSpace " +
                 std::to_string(e->colorSpace) + ", NumOfPlanes " + std::to_string(e->numOfPlanes) +
                 ") matches no image mode: its rows go out uncompressed under CompressionMode " +
                 std::to_string(e->compressionMode) + ", which the printer reads as compressed");
    }
    report->images.push_back(std::move(image));
  }
  diag::clearPlace();
}
