// The encoder's job state in one record, and the two ways commands go out; for the encoder's
// own files and for tests.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kelm/pjl_line.h"

inline constexpr int kKelmImageProcessingFiles = 6;

struct KelmState {
  // Job settings. One-byte settings are read as signed: 255 is -1, "not set".
  std::int32_t mPrinterResolutionH = 0;
  std::int32_t mPrinterResolutionV = 0;
  std::int32_t mGraphicResolutionH = 0;
  std::int32_t mGraphicResolutionV = 0;
  std::string mPaperName;
  std::int8_t mIsShortEdge = 1;
  std::int32_t mPaperWidthInDMM = 0;
  std::int32_t mPaperHeightInDMM = 0;
  std::int16_t mTopMargin = 0;
  std::int16_t mBottomMargin = 0;
  std::int16_t mLeftMargin = 0;
  std::int16_t mRightMargin = 0;
  std::int8_t mIsBanner = -1;
  std::int8_t mIsSavePaper = -1;
  std::int32_t mCutmediaCenter = -1;
  std::int32_t mRollmediaCenter = -1;
  std::int8_t mDMask = -1;
  std::int8_t mInkType = -1;
  std::string mMachineID;
  std::string mRollWidth;
  std::int8_t mSingleSSC = -1;
  std::int8_t mPrintStopOff = -1;
  std::unique_ptr<newPJLLine> mNewPJLP;
  std::array<std::unique_ptr<std::string>, kKelmImageProcessingFiles> mImageProcessingDataPath;
  std::int8_t mSaveWhitePage = 0;
  // Given once a job, yet every image's blocks carry it: KELM_New keeps it.
  std::int32_t mDeviceWidthInPixel = 0;

  // The current image.
  std::uint8_t mColorSpace = 0;
  std::uint8_t mCompressionMode = 0;  // the one in force on the output
  std::int8_t mNumOfPlanes = 0;
  std::int8_t mBlackDepth = -1;
  std::int8_t mCyanDepth = -1;
  std::int8_t mMagentaDepth = -1;
  std::int8_t mLightCyanDepth = -1;
  std::int8_t mLightMagentaDepth = -1;
  std::int8_t mYellowDepth = -1;
  std::int8_t mRedDepth = -1;
  std::int8_t mGreenDepth = -1;
  std::int8_t mBlueDepth = -1;
  std::int8_t mGrayDepth = -1;
  std::int8_t mPhotoGrayDepth = -1;
  std::int32_t mNumOfPages = 0;
  std::int32_t mBlankLines = 0;

  // Working memory: coded rows (or a whole block), and the interleaved pixel row with the
  // previous one as its seed.
  std::vector<unsigned char> mCodeData;
  std::int32_t mCodeDataBytes = 0;
  std::vector<unsigned char> mPixelByPixelCodeData;
  std::int32_t mPixelByPixelCodeDataBytes = 0;
  std::vector<unsigned char> mPixelByPixelSeedData;

  // Row emission.
  bool thisIsBlankLine = false;
  std::int32_t paintedLines = 0;
  bool seedRowUnknown = false;  // the row above is not the seed: rows were skipped since
};

// The one record; KELM_New resets it.
KelmState& kelm_State();
const KelmState& kelm_GetState();

namespace kelm {

void sendFormatted(const char* format, ...) __attribute__((format(printf, 1, 2)));
// ESC, `lead`, the number, `letter`: the row commands go out once per plane row, so they are
// built without printf.
void sendNumbered(const char* lead, std::int64_t value, char letter);

}  // namespace kelm
