// The parameter record: everything a job configuration file gives, with its lists.
#pragma once

#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "image/reduction.h"
#include "kelm/codes.h"
#include "kelm/pjl_line.h"
#include "zelp/raw_packet_record.h"

struct _CMDFILEINFO;

// Margins may be negative, so "not given" is the most negative value instead of -1.
constexpr int unsetMargin = INT_MIN;

// Image files: one per plane (indexed by kelm::Plane), then the two that hold several planes.
enum ImageFile : int { kFileCMYK = kelm::kPlaneCount, kFileRGB, kImageFileCount };

constexpr int kPathSize = 260;

// One [Image] section.
struct imageParameter {
  int mode = -1;
  int startingPositionX = -1;
  int startingPositionY = -1;
  int startingPositionXSign = 0;
  int startingPositionYSign = 0;
  int yOffset = -1;
  int yOffsetSign = 0;
  int yOffsetC = -1;
  int yOffsetCWithPosition = -1;
  int yOffsetCSign = 0;
  int yOffsetCWithPositionSign = 0;
  char imageFile[kImageFileCount][kPathSize] = {};
  int imageFileLine[kImageFileCount] = {};  // where each file was named, for messages
  int colorSpace = -1;
  int compressionMode = -1;
  int numOfPlanes = -1;
  int pixelDepth[kelm::kPlaneCount] = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
  // Null: no reduction; otherwise a 256-entry table, or kRGBSenseTable.
  const unsigned char* indexLevel[kelm::kInkPlaneCount] = {};
  int graphicResolutionH = -1;
  int graphicResolutionV = -1;
  int sameImageConfiguration = -1;
  int sameGraphicResolutionH = -1;
  int sameGraphicResolutionV = -1;
  std::unique_ptr<imageParameter> next;
};

struct imageProcessingFile {
  char path[kPathSize] = {};
  int line = 0;  // where it was named, for messages
  std::unique_ptr<imageProcessingFile> next;
};

// One key or header line as read, kept while the file is read.
// Key and value take what the line holds, so memory follows the file's length.
struct cfgLine {
  int lineNumber = 0;
  std::string key;
  std::string value;
  int numericValue = 0;
  std::unique_ptr<cfgLine> next;
};

struct parameter {
  char cfgDirectory[kPathSize] = {};
  std::unique_ptr<imageParameter> imageParameterList;
  imageParameter* imageParameterLast = nullptr;
  char outFilePath[kPathSize] = {};
  int outFilePathLine = 0;  // 0: the default name
  std::unique_ptr<imageProcessingFile> imageProcessingFileList;
  char jobName[40] = {};
  char jobOwner[40] = {};
  char jobClientID[32] = {};
  char panelMessage[32] = {};
  int trayUnitID = -1;
  int trayAlias = -1;
  int medium = -1;
  int mediumTypeEx = -1;
  int quality = -1;
  int mediumCuttingType = -1;
  int inkDryingType = -1;
  int inkDryingTime = -1;
  int pageInkDryingTime = -1;
  int bandInkDryingTime = -1;
  int rollMediaTopBlank = -1;
  int rollMediaBottomBlank = -1;
  int paperThickness = -1;
  int printingSuction = -1;
  int cuttingSpeed = -1;
  int jobImpressions = -1;
  int jobTime = -1;
  std::uint16_t jobTimeField1 = 0xFFFF;
  std::uint16_t jobTimeField2 = 0xFFFF;
  std::uint16_t jobTimeYear = 0;
  std::uint8_t jobTimeHour = 0;
  std::uint8_t jobTimeMinute = 0;
  std::uint8_t jobTimeSecond = 0;
  int jobTimeIsGMT = -1;
  int version = -1;
  int jobCreatorID = -1;
  int jobStartExecutionMode = -1;
  int colMode = -1;
  int colCount = -1;
  int colHandle = -1;
  int colNumber = -1;
  int colPassword = -1;
  int jobStartMode = -1;
  int clientJobIDSet = -1;
  unsigned char clientJobUUID[16] = {};
  char clientJobInfo[48] = {};  // may be full, with no terminator
  int jobCopies = -1;
  int qualityOptimizedLevel = -1;
  int headOneWayPrint = -1;
  int headHeight = -1;
  int calibration = -1;
  int setPathMode = -1;
  int jobImpressions2 = -1;
  int setJobOctets = -1;
  int plex = -1;
  int plexImagePositionAdjustment = -1;
  int printerResolutionH = -1;
  int printerResolutionV = -1;
  int paperSizeH = -1;
  int paperSizeV = -1;
  int printableWidthInPixel = -1;
  char paperName[32] = {};
  int paperOrient = -1;
  int marginTop = unsetMargin;
  int marginBottom = unsetMargin;
  int marginLeft = unsetMargin;
  int marginRight = unsetMargin;
  int banner = -1;
  int savePaper = -1;
  int cutmediaCenter = -1;
  int rollmediaCenter = -1;
  int dMask = -1;
  int inkType = -1;
  char machineID[32] = {};
  char rollWidth[32] = {};
  int singleSSC = -1;
  int printStopOff = -1;
  std::unique_ptr<newPJLLine> newPJLList;
  newPJLLine* newPJLLast = nullptr;
  std::unique_ptr<rawPacket> rawPacketList;
  _CMDFILEINFO* commandDefinitions = nullptr;  // owned by the driver
};

// Copies `src` into a fixed text field, cut to the field's size minus one.
template <std::size_t N>
void copyField(char (&dst)[N], const char* src) {
  std::size_t n = std::strlen(src);
  if (n > N - 1) n = N - 1;
  std::memcpy(dst, src, n);
  dst[n] = '\0';
}
