// The job's PJL header with its table files, and the job's and pages' ends.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "diag/diag.h"
#include "kelm/kelm.h"
#include "kelm/state.h"
#include "zelp/zelp.h"

using kelm::sendFormatted;

namespace {

KelmState& s() {
  return kelm_State();
}

}  // namespace

int KELM_SendJobStart() {
  KelmState& st = s();
  // A write error stays on the stream: the header goes on, and the job hears of it.
  const bool written = ZELP_SendJobStartWithJobAttributes() == 0;
  ZELP_SendCString("\x1b%-12345X");
  ZELP_SendCString("@PJL\n@PJL RESET\n");
  sendFormatted("@PJL SET HRESOLUTION=%d\n@PJL SET VRESOLUTION=%d\n", st.mPrinterResolutionH,
                st.mPrinterResolutionV);
  sendFormatted("@PJL SET PAPER=%s\n", st.mPaperName.c_str());
  if (st.mPaperName == "CUSTOM") {
    sendFormatted("@PJL SET PAPERLENGTH=%d\n", st.mPaperHeightInDMM);
    sendFormatted("@PJL SET PAPERWIDTH=%d\n", st.mPaperWidthInDMM);
  } else {
    sendFormatted("@PJL SET PAPERORIENT=%s\n", st.mIsShortEdge != 0 ? "SHORTEDGE" : "LONGEDGE");
  }
  sendFormatted(
      "@PJL SET TOPMARGIN=%d\n@PJL SET BOTTOMMARGIN=%d\n@PJL SET LEFTMARGIN=%d\n@PJL SET "
      "RIGHTMARGIN=%d\n",
      st.mTopMargin, st.mBottomMargin, st.mLeftMargin, st.mRightMargin);
  if (st.mIsBanner != -1) sendFormatted("@PJL SET BANNER=%s\n", st.mIsBanner != 0 ? "ON" : "OFF");
  if (st.mIsSavePaper != -1) {
    sendFormatted("@PJL SET SAVE_PAPER=%s\n", st.mIsSavePaper != 0 ? "ON" : "OFF");
  }
  if (st.mCutmediaCenter != -1) sendFormatted("@PJL SET CUTMEDIA_CENTER=%d\n", st.mCutmediaCenter);
  if (st.mRollmediaCenter != -1)
    sendFormatted("@PJL SET ROLLMEDIA_CENTER=%d\n", st.mRollmediaCenter);
  if (st.mDMask != -1) sendFormatted("@PJL SET DMASK=%s\n", st.mDMask != 0 ? "ON" : "OFF");
  if (st.mInkType != -1) sendFormatted("@PJL SET INKTYPE=%d\n", st.mInkType);
  if (!st.mMachineID.empty()) sendFormatted("@PJL SET MACHINEID=%s\n", st.mMachineID.c_str());
  if (!st.mRollWidth.empty()) sendFormatted("@PJL SET ROLLWIDTH=%s\n", st.mRollWidth.c_str());
  if (st.mSingleSSC != -1) sendFormatted("@PJL SET SINGLE_SSC=%d\n", st.mSingleSSC);
  if (st.mPrintStopOff != -1) sendFormatted("@PJL SET PRINTSTOPOFF=%d\n", st.mPrintStopOff);
  // Each record is freed once it is sent.
  for (std::unique_ptr<newPJLLine> line = std::move(st.mNewPJLP); line != nullptr;
       line = std::move(line->next)) {
    sendFormatted("@PJL SET %s\n", line->text.c_str());
  }
  ZELP_SendCString(
      "\x1b%0A\x1b"
      "E");
  for (const auto& path : st.mImageProcessingDataPath) {
    if (path != nullptr && KELM_SendTableFile(path->c_str()) < 0) return -1;
  }
  ZELP_SendCString("\x1b&a1N");
  return written ? 0 : -1;
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
    diag::imageError(text.c_str(), error);
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
    diag::imageError("KELM_SendTableFile memory error", errno);
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
  ZELP_SendCString(s().mSaveWhitePage != 0 ? "\x1b"
                                             "E"
                                           : "\x1b$E");
}

void KELM_SendEndOfPage() {
  KELM_SendFormFeed();
}
