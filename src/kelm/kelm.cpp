// The raster encoder: settings, PJL job header, page and cursor commands, band emission.
#include "kelm/kelm.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include "kelm/codes.h"
#include "kelm/row_coding.h"
#include "zelp/zelp.h"

using namespace kelm;

namespace {

constexpr int kImageProcessingFiles = 6;
constexpr std::size_t kTextFieldChars = 32;
constexpr std::int32_t kBlockRows = 128;

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
std::unique_ptr<std::string> mImageProcessingDataPath[kImageProcessingFiles];
std::int8_t mSaveWhitePage = 0;

// The current image.
std::uint8_t mColorSpace = 0;
std::uint8_t mCompressionMode = 0;
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
std::int32_t mDeviceWidthInPixel = 0;
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
std::int8_t sThisIsBlankLine = 0;
std::int32_t sPaintedLines = 0;
std::int32_t sSeedRowUnkown = 0;

void reportError(const char* message, int value) {
  std::fprintf(stderr, "ERROR! %s(%d)\n", message, value);
}

void sendFormatted(const char* format, ...) __attribute__((format(printf, 1, 2)));
void sendFormatted(const char* format, ...) {
  char line[512];
  std::va_list args;
  va_start(args, format);
  const int n = std::vsnprintf(line, sizeof line, format, args);
  va_end(args);
  if (n < 0) return;
  if (static_cast<std::size_t>(n) < sizeof line) {
    ZELP_SendData(line, n);
    return;
  }
  std::string longer(static_cast<std::size_t>(n) + 1, '\0');
  va_start(args, format);
  std::vsnprintf(longer.data(), longer.size(), format, args);
  va_end(args);
  ZELP_SendData(longer.data(), n);
}

// ESC, `lead`, the number, `letter`: the row commands go out once per plane row, so they are
// built without printf.
void sendNumbered(const char* lead, std::int64_t value, char letter) {
  char text[40];
  char* p = text;
  *p++ = '\x1b';
  for (; *lead != '\0'; ++lead) *p++ = *lead;
  p = std::to_chars(p, text + sizeof text - 1, value).ptr;
  *p++ = letter;
  ZELP_SendData(text, static_cast<int>(p - text));
}

std::string copyText(const char* text) {
  if (text == nullptr) return {};
  return std::string(text, strnlen(text, kTextFieldChars));
}

// What a processing mode asks of the band emission.
struct ModeLayout {
  int compression = compression::kNone;
  bool pixel = false;  // planes interleaved into one row
  unsigned char blank = 0;
  bool block() const { return compression == compression::kPackBitsBlock; }
  bool seedRow() const {
    return compression == compression::kSeedRow || compression == compression::kPackBitsSeedRow;
  }
};

ModeLayout layoutOf(std::int32_t mode) {
  const int kind = familyOf(mode);
  const int code = compressionOf(mode);
  ModeLayout layout;
  if (code == compression::kPackBits || code == compression::kSeedRow ||
      code == compression::kPackBitsBlock || code == compression::kPackBitsSeedRow) {
    layout.compression = code;
  }
  layout.pixel = kind == family::kPixelRGB;
  // RGB planes are blank when white, ink planes when empty.
  layout.blank =
      (kind == family::kRGBOnePlane || kind == family::kRGBThreePlanes || kind == family::kPixelRGB)
          ? 0xFF
          : 0x00;
  return layout;
}

struct RowView {
  const unsigned char* data = nullptr;
  std::int32_t n = 0;
};

const LXGWorld* handle(const LXGWorld* world) {
  return world->self != nullptr ? world->self : world;
}

// ceil(depth x width / 8) bytes, never more than the buffer's row stride.
std::int32_t planeRowBytes(const LXGWorld* world, std::int32_t depth) {
  if (world == nullptr || depth <= 0) return 0;
  const LXGWorld* g = handle(world);
  const std::int64_t width = std::int64_t{g->bounds.right} - g->bounds.left;
  if (width <= 0) return 0;
  const std::int64_t n = (width * depth + 7) / 8;
  return static_cast<std::int32_t>(std::min<std::int64_t>(n, g->rowBytes));
}

// Row `r` of a plane; a plane without a buffer, or a row outside it, is empty.
RowView planeRow(const LXGWorld* world, std::int32_t depth, std::int32_t r) {
  if (world == nullptr || r < 0) return {};
  const LXGWorld* g = handle(world);
  if (g->baseAddr == nullptr || std::int64_t{r} >= std::int64_t{g->bounds.bottom} - g->bounds.top) {
    return {};
  }
  return {g->baseAddr + std::size_t{g->rowBytes} * static_cast<std::size_t>(r),
          planeRowBytes(world, depth)};
}

std::int32_t countPlanes(const KELMPlane* planes) {
  std::int32_t count = 0;
  for (const KELMPlane* p = planes; p != nullptr; p = p->next.get()) ++count;
  return count;
}

std::int64_t interleavedRowBytes(const KELMPlane* planes) {
  if (planes == nullptr || planes->world == nullptr) return 0;
  return std::int64_t{countPlanes(planes)} * handle(planes->world)->rowBytes;
}

// Room for the coded form of one row, or of a whole block, whatever the printable width.
std::int64_t codeBytesNeeded(const KELMPlane* planes, const ModeLayout& layout) {
  if (layout.compression == compression::kNone) return 0;
  std::int64_t row = 0;
  if (layout.pixel) {
    row = kelm_PackBitsBound(mPixelByPixelCodeDataBytes) + (layout.block() ? 1 : 0);
  } else {
    const KELMPlane* p = planes;
    for (int i = 1; i <= mNumOfPlanes; ++i) {
      const std::int64_t bound =
          kelm_PackBitsBound(p != nullptr ? planeRowBytes(p->world, p->depth) : 0);
      row = layout.block() ? row + bound + 1 : std::max(row, bound);
      if (p != nullptr) p = p->next.get();
    }
  }
  return layout.block() ? row * kBlockRows : row;
}

bool ensureSize(std::vector<unsigned char>& buffer, std::int64_t bytes) {
  if (bytes <= 0 || static_cast<std::size_t>(bytes) <= buffer.size()) return true;
  try {
    buffer.resize(static_cast<std::size_t>(bytes));
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

std::int32_t toInt32(std::int64_t v) {
  return static_cast<std::int32_t>(std::min<std::int64_t>(v, INT32_MAX));
}

// Sizes the buffers for these planes; false when memory is refused.
bool prepareWorkingMemory(const KELMPlane* planes, const ModeLayout& layout) {
  if (layout.pixel) {
    const std::int64_t n = interleavedRowBytes(planes);
    mPixelByPixelCodeDataBytes = toInt32(n);
    if (!ensureSize(mPixelByPixelCodeData, n)) return false;
    if (layout.seedRow() && !ensureSize(mPixelByPixelSeedData, n)) return false;
  }
  const std::int64_t code = codeBytesNeeded(planes, layout);
  if (code > 0) mCodeDataBytes = toInt32(code);
  return ensureSize(mCodeData, code);
}

void release(std::vector<unsigned char>& buffer) {
  std::vector<unsigned char>().swap(buffer);
}

void sendBlankPlaneRow(bool last) {
  ZELP_SendData(last ? "\x1b*b0W" : "\x1b*b0V", 5);
}

void sendRow(const unsigned char* bytes, std::int32_t n, bool last) {
  sendNumbered("*b", n, last ? 'W' : 'V');
  ZELP_SendData(bytes, n);
}

void sendBlock(unsigned char* end) {
  const std::int64_t length = end - mCodeData.data();
  sendNumbered("*b", length + 4, 'W');
  const auto width = static_cast<std::uint32_t>(mDeviceWidthInPixel);
  const unsigned char widthBytes[4] = {
      static_cast<unsigned char>(width >> 24), static_cast<unsigned char>(width >> 16),
      static_cast<unsigned char>(width >> 8), static_cast<unsigned char>(width)};
  ZELP_SendData(widthBytes, 4);
  ZELP_SendData(mCodeData.data(), static_cast<int>(length));
  sPaintedLines = 0;
}

// Every plane of the list counts, also those past mNumOfPlanes that are never sent: ink in
// an unsent plane still makes the row non-blank.
bool rowIsBlank(const KELMPlane* planes, std::int32_t r, const ModeLayout& layout) {
  for (const KELMPlane* p = planes; p != nullptr; p = p->next.get()) {
    const RowView row = planeRow(p->world, p->depth, r);
    if (kelm_TrimmedLength(row.data, row.n, layout.blank) != 0) return false;
  }
  return true;
}

// Codes and sends one plane row; `world` is null for the interleaved pixel row. In block modes
// the code goes to `out` and the advanced position is returned.
unsigned char* sSendRaster(unsigned char* out, const LXGWorld* world, std::int8_t depth,
                           std::int32_t row, std::int32_t planeIndex, const ModeLayout& layout) {
  const bool last = planeIndex == mNumOfPlanes;
  const bool blankVerdict = sThisIsBlankLine != 0;
  sThisIsBlankLine = 0;

  RowView current;
  RowView seed;
  if (layout.pixel) {
    current = {mPixelByPixelCodeData.data(), mPixelByPixelCodeDataBytes};
    seed = {mPixelByPixelSeedData.data(), mPixelByPixelCodeDataBytes};
  } else {
    current = planeRow(world, depth, row);
    seed = planeRow(world, depth, row - 1);
  }

  std::int32_t n = current.n;
  if (!layout.seedRow()) n = blankVerdict ? 0 : kelm_TrimmedLength(current.data, n, layout.blank);

  if (layout.block()) {
    packBits(current.data, out, n);
    *out++ = 0x80;
    return out;
  }
  if (n == 0) {
    sendBlankPlaneRow(last);
    return out;
  }

  unsigned char* const code = mCodeData.data();
  switch (layout.compression) {
    case compression::kPackBits: {
      unsigned char* end = code;
      packBits(current.data, end, n);
      sendRow(code, static_cast<std::int32_t>(end - code), last);
      break;
    }
    case compression::kSeedRow:
    case compression::kPackBitsSeedRow: {
      if (row > 0 && sSeedRowUnkown == 0 && seed.data != nullptr && seed.n == n) {
        const std::int32_t length = kelm_SeedRowCode(seed.data, current.data, n, code);
        if (length >= 0) {
          kelm_ChangeCompressionMode(compression::kSeedRow);
          sendRow(code, length, last);
          break;
        }
      }
      if (layout.compression == compression::kSeedRow) {
        kelm_ChangeCompressionMode(compression::kNone);
        sendRow(current.data, n, last);
      } else {
        kelm_ChangeCompressionMode(compression::kPackBits);
        unsigned char* end = code;
        packBits(current.data, end, n);
        sendRow(code, static_cast<std::int32_t>(end - code), last);
      }
      break;
    }
    default:
      sendRow(current.data, n, last);
      break;
  }
  return out;
}

}  // namespace

// ---- Plane list -------------------------------------------------------------------------------

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

// ---- Settings ---------------------------------------------------------------------------------

void KELM_New() {
  for (auto& path : mImageProcessingDataPath) path.reset();
  mNumOfPlanes = 0;
  mIsShortEdge = 1;
  mIsSavePaper = mPrintStopOff = mIsBanner = mDMask = mInkType = mSingleSSC = -1;
  mCompressionMode = 0;
  mColorSpace = 0;
  mBlackDepth = mCyanDepth = mMagentaDepth = mLightCyanDepth = mLightMagentaDepth = mYellowDepth =
      -1;
  mRedDepth = mGreenDepth = mBlueDepth = mGrayDepth = mPhotoGrayDepth = -1;
  mTopMargin = mLeftMargin = mBottomMargin = mRightMargin = 0;
  mPaperName.clear();
  mMachineID.clear();
  mRollWidth.clear();
  mSaveWhitePage = 0;
  mCutmediaCenter = mRollmediaCenter = -1;
  mNewPJLP.reset();
  mNumOfPages = 0;
  mBlankLines = 0;
}

void KELM_Delete() {
  for (auto& path : mImageProcessingDataPath) path.reset();
}

void KELM_SetColorSpace(std::uint8_t value) {
  mColorSpace = value;
}
void KELM_SetCompressionMode(std::uint8_t value) {
  mCompressionMode = value;
}
void KELM_SetNumOfPlanes(std::uint8_t value) {
  mNumOfPlanes = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthK(std::uint8_t value) {
  mBlackDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthC(std::uint8_t value) {
  mCyanDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthM(std::uint8_t value) {
  mMagentaDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthY(std::uint8_t value) {
  mYellowDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthc(std::uint8_t value) {
  mLightCyanDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthm(std::uint8_t value) {
  mLightMagentaDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthR(std::uint8_t value) {
  mRedDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthG(std::uint8_t value) {
  mGreenDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthB(std::uint8_t value) {
  mBlueDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthGy(std::uint8_t value) {
  mGrayDepth = static_cast<std::int8_t>(value);
}
void KELM_SetPixelDepthPgy(std::uint8_t value) {
  mPhotoGrayDepth = static_cast<std::int8_t>(value);
}

void KELM_SetMargins(std::int16_t top, std::int16_t left, std::int16_t bottom, std::int16_t right) {
  mTopMargin = top;
  mLeftMargin = left;
  mBottomMargin = bottom;
  mRightMargin = right;
}

void KELM_SetPaperName(const char* name) {
  mPaperName = copyText(name);
}
void KELM_SetPaperOrientToShortEdge() {
  mIsShortEdge = 1;
}
void KELM_SetPaperOrientToLongEdge() {
  mIsShortEdge = 0;
}
void KELM_SetPrinterResolution(std::int32_t h, std::int32_t v) {
  mPrinterResolutionH = h;
  mPrinterResolutionV = v;
}
void KELM_SetGraphicResolution(std::int32_t h, std::int32_t v) {
  mGraphicResolutionH = h;
  mGraphicResolutionV = v;
}
void KELM_SetPaperSizeInDeciMilliMeter(std::int32_t width, std::int32_t height) {
  mPaperWidthInDMM = width;
  mPaperHeightInDMM = height;
}
void KELM_SetPrintableWidthInPixel(std::int32_t pixels) {
  mDeviceWidthInPixel = pixels;
}
void KELM_SetSaveWhitePage() {
  mSaveWhitePage = 1;
}
void KELM_SetFeedWhitePage() {
  mSaveWhitePage = 0;
}
void KELM_SetBannerON() {
  mIsBanner = 1;
}
void KELM_SetBannerOFF() {
  mIsBanner = 0;
}
void KELM_SetSavePaperON() {
  mIsSavePaper = 1;
}
void KELM_SetSavePaperOFF() {
  mIsSavePaper = 0;
}
void KELM_SetCutmediaCenter(std::int32_t value) {
  mCutmediaCenter = value;
}
void KELM_SetRollmediaCenter(std::int32_t value) {
  mRollmediaCenter = value;
}
void KELM_SetDMaskON() {
  mDMask = 1;
}
void KELM_SetDMaskOFF() {
  mDMask = 0;
}
void KELM_SetInkType(std::uint8_t value) {
  mInkType = static_cast<std::int8_t>(value);
}

// A machine id always goes out with ink type 0.
void KELM_SetMachineID(const char* text) {
  mMachineID = copyText(text);
  mInkType = 0;
}

// A roll width replaces the machine id line.
void KELM_SetRollWidth(const char* text) {
  mRollWidth = copyText(text);
  mMachineID.clear();
}

void KELM_SetSingleSSC(std::uint8_t value) {
  mSingleSSC = static_cast<std::int8_t>(value);
}
void KELM_SetPrintStopOff(std::uint8_t value) {
  mPrintStopOff = static_cast<std::int8_t>(value);
}
void KELM_SetNewPJL(std::unique_ptr<newPJLLine> list) {
  mNewPJLP = std::move(list);
}

int KELM_SetImageProcessingFile(int index, const char* path) {
  if (index < 0 || index >= kImageProcessingFiles) {
    reportError("KELM_SetImageProcessingFile: too many files", index);
    return -1;
  }
  try {
    mImageProcessingDataPath[index] = std::make_unique<std::string>(path != nullptr ? path : "");
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    reportError("KELM_SetImageProcessingFile: memory error", errno);
    return -1;
  }
  return 0;
}

KELMState kelm_GetState() {
  KELMState state;
  state.numOfPages = mNumOfPages;
  state.blankLines = mBlankLines;
  state.compressionMode = mCompressionMode;
  state.inkType = mInkType;
  state.paperName = mPaperName;
  state.machineID = mMachineID;
  state.rollWidth = mRollWidth;
  for (int i = 0; i < kImageProcessingFiles; ++i) {
    state.hasImageProcessingDataPath[i] = mImageProcessingDataPath[i] != nullptr;
    if (mImageProcessingDataPath[i] != nullptr) {
      state.imageProcessingDataPath[i] = *mImageProcessingDataPath[i];
    }
  }
  state.codeDataBytes = mCodeDataBytes;
  state.hasCodeData = !mCodeData.empty();
  state.pixelByPixelCodeDataBytes = mPixelByPixelCodeDataBytes;
  state.hasPixelByPixelCodeData = !mPixelByPixelCodeData.empty();
  return state;
}

// ---- Working memory ---------------------------------------------------------------------------

int KELM_KeepWorkingMemory(KELMPlane* planes, std::int32_t mode) {
  const ModeLayout layout = layoutOf(mode);
  if (!layout.pixel && layout.compression == compression::kNone) {
    release(mCodeData);
    mCodeDataBytes = 0;
    return 0;
  }
  if (layout.pixel && layout.compression == compression::kNone) {
    // Rows go out straight from the pixel row buffer; the code size is the plain row's.
    release(mCodeData);
    std::int32_t maxDepth = 0;
    for (const KELMPlane* p = planes; p != nullptr; p = p->next.get()) {
      maxDepth = std::max<std::int32_t>(maxDepth, p->depth);
    }
    const std::int64_t bits = std::int64_t{maxDepth} * mDeviceWidthInPixel;
    mCodeDataBytes = static_cast<std::int32_t>(bits >= 0 ? (bits + 7) / 8 : bits / 8);
  }
  return prepareWorkingMemory(planes, layout) ? 0 : -1;
}

void KELM_FreeWorkingMemory(std::int32_t) {
  release(mCodeData);
  release(mPixelByPixelCodeData);
  release(mPixelByPixelSeedData);
}

// ---- Job header and end -----------------------------------------------------------------------

int KELM_SendJobStart() {
  ZELP_SendJobStartWithJobAttributes();
  ZELP_SendCString("\x1b%-12345X");
  ZELP_SendCString("@PJL\n@PJL RESET\n");
  sendFormatted("@PJL SET HRESOLUTION=%d\n@PJL SET VRESOLUTION=%d\n", mPrinterResolutionH,
                mPrinterResolutionV);
  sendFormatted("@PJL SET PAPER=%s\n", mPaperName.c_str());
  if (mPaperName == "CUSTOM") {
    sendFormatted("@PJL SET PAPERLENGTH=%d\n", mPaperHeightInDMM);
    sendFormatted("@PJL SET PAPERWIDTH=%d\n", mPaperWidthInDMM);
  } else {
    sendFormatted("@PJL SET PAPERORIENT=%s\n", mIsShortEdge != 0 ? "SHORTEDGE" : "LONGEDGE");
  }
  sendFormatted(
      "@PJL SET TOPMARGIN=%d\n@PJL SET BOTTOMMARGIN=%d\n@PJL SET LEFTMARGIN=%d\n@PJL SET "
      "RIGHTMARGIN=%d\n",
      mTopMargin, mBottomMargin, mLeftMargin, mRightMargin);
  if (mIsBanner != -1) sendFormatted("@PJL SET BANNER=%s\n", mIsBanner != 0 ? "ON" : "OFF");
  if (mIsSavePaper != -1) {
    sendFormatted("@PJL SET SAVE_PAPER=%s\n", mIsSavePaper != 0 ? "ON" : "OFF");
  }
  if (mCutmediaCenter != -1) sendFormatted("@PJL SET CUTMEDIA_CENTER=%d\n", mCutmediaCenter);
  if (mRollmediaCenter != -1) sendFormatted("@PJL SET ROLLMEDIA_CENTER=%d\n", mRollmediaCenter);
  if (mDMask != -1) sendFormatted("@PJL SET DMASK=%s\n", mDMask != 0 ? "ON" : "OFF");
  if (mInkType != -1) sendFormatted("@PJL SET INKTYPE=%d\n", mInkType);
  if (!mMachineID.empty()) sendFormatted("@PJL SET MACHINEID=%s\n", mMachineID.c_str());
  if (!mRollWidth.empty()) sendFormatted("@PJL SET ROLLWIDTH=%s\n", mRollWidth.c_str());
  if (mSingleSSC != -1) sendFormatted("@PJL SET SINGLE_SSC=%d\n", mSingleSSC);
  if (mPrintStopOff != -1) sendFormatted("@PJL SET PRINTSTOPOFF=%d\n", mPrintStopOff);
  // Each record is freed once it is sent.
  for (std::unique_ptr<newPJLLine> line = std::move(mNewPJLP); line != nullptr;
       line = std::move(line->next)) {
    sendFormatted("@PJL SET %s\n", line->text.c_str());
  }
  ZELP_SendCString(
      "\x1b%0A\x1b"
      "E");
  for (const auto& path : mImageProcessingDataPath) {
    if (path != nullptr && KELM_SendTableFile(path->c_str()) < 0) return -1;
  }
  ZELP_SendCString("\x1b&a1N");
  return 0;
}

int KELM_SendTableFile(const char* path) {
  struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
  };
  errno = 0;
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "rb"));
  if (file == nullptr) {
    const int error = errno;
    // The message names the image reader's constructor; kept word for word.
    const std::string text =
        std::string("LXBMP_New can't open '") + path + "'. (errno=" + std::to_string(error) + ")\n";
    reportError(text.c_str(), error);
    return -1;
  }
  std::fseek(file.get(), 0, SEEK_END);
  const long size = std::ftell(file.get());
  std::rewind(file.get());
  std::vector<unsigned char> bytes;
  bool allocated = size >= 0;
  if (allocated) {
    try {
      bytes.resize(static_cast<std::size_t>(size));
    } catch (const std::bad_alloc&) {
      errno = ENOMEM;
      allocated = false;
    }
  }
  if (!allocated) {
    reportError("KELM_SendTableFile memory error", errno);
    return -1;
  }
  // A short read sends nothing.
  if (std::fread(bytes.data(), 1, bytes.size(), file.get()) == bytes.size()) {
    sendFormatted("\x1b$b%ldW", size);
    for (std::size_t at = 0; at < bytes.size();) {
      const std::size_t piece = std::min<std::size_t>(bytes.size() - at, 1U << 30);
      ZELP_SendData(bytes.data() + at, static_cast<int>(piece));
      at += piece;
    }
  }
  return 0;
}

int KELM_SendJobEnd(int arg) {
  ZELP_Flush(1);
  ZELP_SendCString("\x1b%-12345X");
  ZELP_Flush(0);
  return ZELP_SendJobEnd(arg);
}

void KELM_SendFormFeed() {
  ZELP_SendCString(mSaveWhitePage != 0 ? "\x1b"
                                         "E"
                                       : "\x1b$E");
}

void KELM_SendEndOfPage() {
  KELM_SendFormFeed();
}

// ---- Page and cursor commands -----------------------------------------------------------------

namespace {

unsigned char depthByte(std::int8_t depth) {
  return depth < 0 ? 0 : static_cast<unsigned char>(depth);
}

void sendPlaneConfiguration() {
  const bool rgbBlackOnly = mColorSpace == color_space::kRowRGB && mBlackDepth > 0 &&
                            mRedDepth < 0 && mGreenDepth < 0 && mBlueDepth < 0;
  const unsigned char planes = static_cast<unsigned char>(mNumOfPlanes);
  unsigned char data[14] = {mColorSpace,
                            planes,
                            0,
                            depthByte(mRedDepth),
                            depthByte(mGreenDepth),
                            depthByte(mBlueDepth),
                            depthByte(mBlackDepth),
                            depthByte(mCyanDepth),
                            depthByte(mMagentaDepth),
                            depthByte(mYellowDepth),
                            depthByte(mLightCyanDepth),
                            depthByte(mLightMagentaDepth),
                            depthByte(mGrayDepth),
                            depthByte(mPhotoGrayDepth)};
  int count;
  if (mColorSpace == color_space::kPixelRGB ||
      (mColorSpace == color_space::kRowRGB && !rgbBlackOnly)) {
    count = 6;
  } else if (rgbBlackOnly) {
    const unsigned char black = depthByte(mBlackDepth);
    const unsigned char blackOnly[10] = {color_space::kRowRGB, 1, 0, 0, 0, 0, black, 0, 0, 0};
    std::memcpy(data, blackOnly, sizeof blackOnly);
    count = 10;
  } else if (mColorSpace == color_space::kRowInkBiLevel && mBlackDepth > 0 && mCyanDepth > 0 &&
             mMagentaDepth > 0 && mYellowDepth > 0 && mLightCyanDepth > 0 &&
             mLightMagentaDepth > 0 && mGrayDepth > 0) {
    count = 14;
  } else {
    count = (mLightCyanDepth >= 0 && mLightMagentaDepth >= 0) ? 12 : 10;
  }
  unsigned char command[24] = {0x1B, '*', 'v'};
  std::size_t length = 3;
  if (count >= 10) command[length++] = '1';
  command[length++] = static_cast<unsigned char>('0' + count % 10);
  command[length++] = 'W';
  std::memcpy(command + length, data, static_cast<std::size_t>(count));
  ZELP_SendData(command, static_cast<int>(length) + count);
}

}  // namespace

void KELM_SendTopOfPage(std::int32_t noConfigure, std::int32_t noResolutionA,
                        std::int32_t noResolutionB) {
  mBlankLines = 0;
  ++mNumOfPages;
  if (noConfigure != 1) sendPlaneConfiguration();
  if (noResolutionA == 1 && noResolutionB == 1) return;
  if (mGraphicResolutionH == mGraphicResolutionV) {
    sendFormatted("\x1b*t%dR", mGraphicResolutionH);
  } else {
    sendFormatted("\x1b$r%dX\x1b$r%dY", mGraphicResolutionH, mGraphicResolutionV);
  }
}

void KELM_SendStartRasterMode() {
  ZELP_SendCString("\x1b*r1A");
  sendFormatted("\x1b*b%uM", unsigned{mCompressionMode});
}

void KELM_SendEndRasterMode() {
  ZELP_SendCString("\x1b*rC");
}

void KELM_SendMoveCAP(std::int32_t x, std::int32_t y) {
  sendFormatted("\x1b*p%dx%dY", x, y);
}
void KELM_SendMoveCAPX(std::int32_t x) {
  sendFormatted("\x1b*p%dX", x);
}
void KELM_SendMoveCAPY(std::int32_t y) {
  sendFormatted("\x1b*p%dY", y);
}

// A negative relative move goes out in the absolute form with its sign.
void KELM_SendMoveCAPXRelative(std::int32_t dx) {
  sendFormatted(dx > 0 ? "\x1b*p+%dX" : "\x1b*p%dX", dx);
}
void KELM_SendMoveCAPYRelative(std::int32_t dy) {
  sendFormatted(dy > 0 ? "\x1b*p+%dY" : "\x1b*p%dY", dy);
}

void KELM_SendYOffset(std::int32_t y) {
  if (y >= 0) sendFormatted("\x1b*b%dY", y);
}

// Unlike the cursor moves, a negative relative offset is dropped.
void KELM_SendYOffsetRelative(std::int32_t dy) {
  if (dy > 0) {
    sendFormatted("\x1b*b+%dY", dy);
  } else if (dy == 0) {
    ZELP_SendCString("\x1b*b0Y");
  }
}

// ---- Rows -------------------------------------------------------------------------------------

void kelm_ChangeCompressionMode(std::uint8_t mode) {
  if (mode == mCompressionMode) return;
  mCompressionMode = mode;
  sendNumbered("*b", mode, 'M');
}

void KELM_ConvertPixelByPixel(KELMPlane* planes, std::int32_t row) {
  const std::size_t n =
      std::min<std::size_t>(static_cast<std::size_t>(std::max(mPixelByPixelCodeDataBytes, 0)),
                            mPixelByPixelCodeData.size());
  if (n == 0) return;
  unsigned char* out = mPixelByPixelCodeData.data();
  std::memset(out, 0, n);
  if (planes == nullptr || planes->world == nullptr) return;
  const std::size_t count = static_cast<std::size_t>(countPlanes(planes));
  const std::size_t stride = std::min<std::size_t>(handle(planes->world)->rowBytes, n / count);
  std::size_t k = 0;
  for (const KELMPlane* p = planes; p != nullptr; p = p->next.get(), ++k) {
    if (p->world == nullptr) continue;
    const LXGWorld* g = handle(p->world);
    if (g->baseAddr == nullptr || row < 0 ||
        std::int64_t{row} >= std::int64_t{g->bounds.bottom} - g->bounds.top) {
      continue;
    }
    // A plane with a shorter stride runs on into its next rows, up to the end of its buffer.
    const std::size_t start = std::size_t{g->rowBytes} * static_cast<std::size_t>(row);
    const std::size_t end =
        std::size_t{g->rowBytes} *
        static_cast<std::size_t>(std::int64_t{g->bounds.bottom} - g->bounds.top);
    const std::size_t bytes = std::min(stride, end - start);
    const unsigned char* src = g->baseAddr + start;
    unsigned char* dst = out + k;
    for (std::size_t i = 0; i < bytes; ++i) dst[i * count] = src[i];
  }
}

void KELM_SendBand(KELMPlane* planes, std::int32_t rows, std::int32_t mode) {
  const ModeLayout layout = layoutOf(mode);
  if (!prepareWorkingMemory(planes, layout)) {
    reportError("KELM_SendBand memory error", ENOMEM);
    return;
  }
  sPaintedLines = 0;
  unsigned char* block = mCodeData.data();
  for (std::int32_t r = 0; r < rows; ++r) {
    const bool blank = rowIsBlank(planes, r, layout);
    if (blank && layout.seedRow()) {
      ++mBlankLines;
      continue;
    }
    sThisIsBlankLine = blank ? 1 : 0;
    if (!layout.block() && mBlankLines > 0) {
      sendNumbered("*b", mBlankLines, 'Y');
      mBlankLines = 0;
      sSeedRowUnkown = 1;
    }
    if (layout.pixel) {
      KELM_ConvertPixelByPixel(planes, r);
      block = sSendRaster(block, nullptr, planes != nullptr ? planes->depth : 0, r, 1, layout);
      if (layout.seedRow()) mPixelByPixelCodeData.swap(mPixelByPixelSeedData);
    } else {
      const KELMPlane* p = planes;
      for (std::int32_t i = 1; i <= mNumOfPlanes; ++i) {
        block = p != nullptr ? sSendRaster(block, p->world, p->depth, r, i, layout)
                             : sSendRaster(block, nullptr, 0, r, i, layout);
        if (p != nullptr) p = p->next.get();
      }
    }
    sThisIsBlankLine = 0;
    if (layout.seedRow()) sSeedRowUnkown = 0;
    if (layout.block() && ++sPaintedLines == kBlockRows) {
      sendBlock(block);
      block = mCodeData.data();
    }
  }
  if (layout.block() && sPaintedLines > 0) sendBlock(block);
}
