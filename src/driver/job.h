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
  // Stops once the job is read, before the print file is opened: the report names its files.
  bool readOnly = false;
};

// A file the job reads, as a full path.
struct JobInput {
  std::string key;  // ImageFileK, ImageProcessingFile, ...
  std::string path;
  int line = 0;
};

struct ImageFileSummary {
  std::string key;  // ImageFileK, ...
  std::string path;
  std::string kind;         // TIFF, BMP or the extension read
  std::uint32_t width = 0;  // as the file's header gives them
  std::uint32_t height = 0;
  std::uint32_t rows = 0;   // what its reader gives: fewer than height in a cut file
  std::string compression;  // a compression the reader does not decode, by name
  int line = 0;             // where it is named
  bool warned = false;      // noteImages warned of it
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
  std::string outFile;           // where the job names its print file
  int outFileLine = 0;           // of OutFilePath; 0 for the default name
  std::vector<JobInput> inputs;  // table and image files, in the order they are named
  std::vector<ImageSummary> images;
  std::vector<RawPacketSummary> rawPackets;
};

int runJob(const char* path, const JobOptions& options, JobReport* report);

// Called on the job's thread after each band of rows is sent; none by default.
using RowsSentHook = void (*)(std::int32_t rows);
void setRowsSentHook(RowsSentHook hook);

// Warns of what the page loop leaves out of or sends wrongly from each image file, and fills
// the report's image list. Opens every file once; writes nothing.
void noteImages(const parameter* p, const std::string& configPath, JobReport* report);
