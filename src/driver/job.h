// One job from the configuration file to the print file, with what a caller may want to know
// about it. makeZELPData is this with no options and no report.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "config/parameter.h"

struct JobOptions {
  // Writes the print file here instead of where the job names it.
  const char* outFile = nullptr;
};

struct ImageFileSummary {
  std::string key;  // ImageFileK, ...
  std::string path;
  std::string kind;  // TIFF, BMP or the extension read
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  int line = 0;         // where it is named
  bool warned = false;  // noteImages warned of it
};

struct ImageSummary {
  int line = 0;  // where its first file is named
  std::vector<ImageFileSummary> files;
  std::string depths;  // "K=1 C=1 ..." for the depths given
  int mode = -1;
  int colorSpace = -1;
  int compression = -1;
  int rowsBefore = 0;  // white rows its YOffset puts above its first row
  int pixelDepth[kelm::kPlaneCount] = {};
  // Of each ink plane: 0 none, a level count, or -1 for values kept in RGB sense.
  int indexLevels[kelm::kInkPlaneCount] = {};
};

// A packet the job gives byte by byte, or a defined command's, as the job line made it.
struct RawPacketSummary {
  int line = 0;
  std::vector<unsigned char> bytes;
};

struct JobReport {
  int pages = 0;
  std::string outFile;  // where the job names its print file
  std::vector<ImageSummary> images;
  std::vector<RawPacketSummary> rawPackets;
};

int runJob(const char* path, const JobOptions& options, JobReport* report);

// Warns of what the page loop leaves out of or sends wrongly from each image file, and fills
// the report's image list. Opens every file once; writes nothing.
void noteImages(const parameter* p, const std::string& configPath, JobReport* report);
