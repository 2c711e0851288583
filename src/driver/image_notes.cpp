// What the page loop would leave out without a word: each image file is opened once, as the
// loop opens it, and its reader says why nothing (or something wrong) will be read.
#include <algorithm>
#include <string>

#include "config/sections.h"
#include "diag/diag.h"
#include "driver/job.h"
#include "image/lxbmp.h"

namespace {

constexpr const char* kLeftOut = "; nothing of it is printed";

std::string kindName(const LXBMPRecT* rec, const std::string& path) {
  if (const char* name = LXBMP_KindName(rec)) return name;
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
        summary.rows = rec->height;
        summary.height = std::max(rec->headerHeight, rec->height);
        summary.compression = rec->undecodedCompression();
      }
      const int warningsBefore = diag::warningCount();
      if (!rec) {
        diag::warn(path + " cannot be opened" + kLeftOut);
      } else if (const std::string why = rec->whyUnreadable(); !why.empty()) {
        diag::warn(path + " " + why);
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
