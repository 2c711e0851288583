// The encoder's settings, as the driver hands them over, and the plane list.
#include <cerrno>
#include <cstring>
#include <new>

#include "diag/diag.h"
#include "kelm/kelm.h"
#include "kelm/state.h"

namespace {

constexpr std::size_t kTextFieldChars = 32;

KelmState& s() {
  return kelm_State();
}

std::string copyText(const char* text) {
  if (text == nullptr) return {};
  return std::string(text, strnlen(text, kTextFieldChars));
}

}  // namespace

KELMPlane* addPlane(std::unique_ptr<KELMPlane>& list) {
  std::unique_ptr<KELMPlane>* slot = &list;
  while (*slot != nullptr) slot = &(*slot)->next;
  *slot = std::make_unique<KELMPlane>();
  return slot->get();
}

KELMPlane* getLastPlane(KELMPlane* list) {
  if (list == nullptr) return nullptr;
  while (list->next != nullptr) list = list->next.get();
  return list;
}

void deletePlane(std::unique_ptr<KELMPlane>& list) {
  // One record at a time, so a long list cannot exhaust the stack.
  while (list != nullptr) list = std::move(list->next);
}

void KELM_SetColorSpace(std::uint8_t value) {
  s().mColorSpace = value;
}
void KELM_SetCompressionMode(std::uint8_t value) {
  s().mCompressionMode = value;
}
void KELM_SetNumOfPlanes(std::uint8_t value) {
  s().mNumOfPlanes = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthK(std::uint8_t value) {
  s().mBlackDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthC(std::uint8_t value) {
  s().mCyanDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthM(std::uint8_t value) {
  s().mMagentaDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthY(std::uint8_t value) {
  s().mYellowDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthc(std::uint8_t value) {
  s().mLightCyanDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthm(std::uint8_t value) {
  s().mLightMagentaDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthR(std::uint8_t value) {
  s().mRedDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthG(std::uint8_t value) {
  s().mGreenDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthB(std::uint8_t value) {
  s().mBlueDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthGy(std::uint8_t value) {
  s().mGrayDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthPgy(std::uint8_t value) {
  s().mPhotoGrayDepth = static_cast<std::int8_t>(value);
}

void KELM_SetMargins(std::int16_t top, std::int16_t left, std::int16_t bottom, std::int16_t right) {
  KelmState& st = s();
  st.mTopMargin = top;
  st.mLeftMargin = left;
  st.mBottomMargin = bottom;
  st.mRightMargin = right;
}

void KELM_SetPaperName(const char* name) {
  s().mPaperName = copyText(name);
}
void KELM_SetPaperOrientToShortEdge() {
  s().mIsShortEdge = 1;
}
void KELM_SetPaperOrientToLongEdge() {
  s().mIsShortEdge = 0;
}
void KELM_SetPrinterResolution(std::int32_t h, std::int32_t v) {
  s().mPrinterResolutionH = h;
  s().mPrinterResolutionV = v;
}
void KELM_SetGraphicResolution(std::int32_t h, std::int32_t v) {
  s().mGraphicResolutionH = h;
  s().mGraphicResolutionV = v;
}
void KELM_SetPaperSizeInDeciMilliMeter(std::int32_t width, std::int32_t height) {
  s().mPaperWidthInDMM = width;
  s().mPaperHeightInDMM = height;
}
void KELM_SetPrintableWidthInPixel(std::int32_t pixels) {
  s().mDeviceWidthInPixel = pixels;
}
void KELM_SetSaveWhitePage() {
  s().mSaveWhitePage = 1;
}
void KELM_SetFeedWhitePage() {
  s().mSaveWhitePage = 0;
}
void KELM_SetBannerON() {
  s().mIsBanner = 1;
}
void KELM_SetBannerOFF() {
  s().mIsBanner = 0;
}
void KELM_SetSavePaperON() {
  s().mIsSavePaper = 1;
}
void KELM_SetSavePaperOFF() {
  s().mIsSavePaper = 0;
}
void KELM_SetCutmediaCenter(std::int32_t value) {
  s().mCutmediaCenter = value;
}
void KELM_SetRollmediaCenter(std::int32_t value) {
  s().mRollmediaCenter = value;
}
void KELM_SetDMaskON() {
  s().mDMask = 1;
}
void KELM_SetDMaskOFF() {
  s().mDMask = 0;
}
void KELM_SetInkType(std::uint8_t value) {
  s().mInkType = static_cast<std::int8_t>(value);
}

// A machine id always goes out with ink type 0.
void KELM_SetMachineID(const char* text) {
  s().mMachineID = copyText(text);
  s().mInkType = 0;
}

// A roll width replaces the machine id line.
void KELM_SetRollWidth(const char* text) {
  s().mRollWidth = copyText(text);
  s().mMachineID.clear();
}

void KELM_SetSingleSSC(std::uint8_t value) {
  s().mSingleSSC = static_cast<std::int8_t>(value);
}
void KELM_SetPrintStopOff(std::uint8_t value) {
  s().mPrintStopOff = static_cast<std::int8_t>(value);
}
void KELM_SetNewPJL(std::unique_ptr<newPJLLine> list) {
  s().mNewPJLP = std::move(list);
}

int KELM_SetImageProcessingFile(int index, const char* path) {
  if (index < 0 || index >= kKelmImageProcessingFiles) {
    diag::imageError("KELM_SetImageProcessingFile: too many files", index);
    return -1;
  }
  try {
    s().mImageProcessingDataPath[index] =
        std::make_unique<std::string>(path != nullptr ? path : "");
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    diag::imageError("KELM_SetImageProcessingFile: memory error", errno);
    return -1;
  }
  return 0;
}
