// Raster settings of the record into the encoder: job header, image setup, printable width.
#include <algorithm>
#include <cstring>

#include "driver/driver.h"
#include "image/lxbmp.h"
#include "kelm/codes.h"
#include "kelm/kelm.h"

using namespace kelm;

int processKELMConfiguration(parameter* p) {
  KELM_SetPrinterResolution(p->printerResolutionH, p->printerResolutionV);
  if (p->paperName[0] != '\0') KELM_SetPaperName(p->paperName);
  if (std::strcmp(p->paperName, "CUSTOM") != 0) {
    if (p->paperOrient == 0) {
      KELM_SetPaperOrientToShortEdge();
    } else if (p->paperOrient == 1) {
      KELM_SetPaperOrientToLongEdge();
    }
  } else {
    KELM_SetPaperSizeInDeciMilliMeter(p->paperSizeH, p->paperSizeV);
  }
  if (p->printableWidthInPixel == -1) setPrintableWidthInPixel(p);
  KELM_SetPrintableWidthInPixel(p->printableWidthInPixel);
  KELM_SetMargins(static_cast<std::int16_t>(p->marginTop), static_cast<std::int16_t>(p->marginLeft),
                  static_cast<std::int16_t>(p->marginBottom),
                  static_cast<std::int16_t>(p->marginRight));
  if (p->banner == 1) {
    KELM_SetBannerON();
  } else if (p->banner == 0) {
    KELM_SetBannerOFF();
  }
  if (p->savePaper == 1) {
    KELM_SetSavePaperON();
  } else if (p->savePaper == 0) {
    KELM_SetSavePaperOFF();
  }
  KELM_SetCutmediaCenter(p->cutmediaCenter);
  KELM_SetRollmediaCenter(p->rollmediaCenter);
  if (p->dMask == 1) {
    KELM_SetDMaskON();
  } else if (p->dMask == 0) {
    KELM_SetDMaskOFF();
  }
  if (p->inkType != -1) KELM_SetInkType(static_cast<std::uint8_t>(p->inkType));
  if (p->machineID[0] != '\0') KELM_SetMachineID(p->machineID);
  if (p->rollWidth[0] != '\0') KELM_SetRollWidth(p->rollWidth);
  if (p->singleSSC != -1) KELM_SetSingleSSC(static_cast<std::uint8_t>(p->singleSSC));
  if (p->printStopOff != -1) KELM_SetPrintStopOff(static_cast<std::uint8_t>(p->printStopOff));
  if (p->newPJLList) {
    KELM_SetNewPJL(std::move(p->newPJLList));
    p->newPJLLast = nullptr;
  }
  // Empty names keep their index, so later tables stay at the index the configuration gave.
  // One past the sixth is refused with its own line; the header goes without it.
  int index = 0;
  bool refused = false;
  for (const imageProcessingFile* f = p->imageProcessingFileList.get(); f != nullptr;
       f = f->next.get(), ++index) {
    if (f->path[0] != '\0' && KELM_SetImageProcessingFile(index, f->path) != 0) refused = true;
  }
  const int started = KELM_SendJobStart();
  return started < 0 || refused ? 1 : 0;
}

int processKELMImageConfiguration(const imageParameter* entry) {
  KELM_SetColorSpace(static_cast<std::uint8_t>(entry->colorSpace));
  // A code no compression has is announced as given.
  const compression::Kind* kind = compression::find(entry->compressionMode);
  const int announced = kind != nullptr ? kind->announced : entry->compressionMode;
  KELM_SetCompressionMode(static_cast<std::uint8_t>(announced));
  KELM_SetNumOfPlanes(static_cast<std::uint8_t>(entry->numOfPlanes));
  struct DepthSetter {
    Plane index;
    void (*set)(std::uint8_t);
  };
  static constexpr DepthSetter kSetters[] = {
      {kPlaneR, KELM_SetPixelDepthR},    {kPlaneG, KELM_SetPixelDepthG},
      {kPlaneB, KELM_SetPixelDepthB},    {kPlaneK, KELM_SetPixelDepthK},
      {kPlaneC, KELM_SetPixelDepthC},    {kPlaneM, KELM_SetPixelDepthM},
      {kPlaneY, KELM_SetPixelDepthY},    {kPlanec, KELM_SetPixelDepthc},
      {kPlanem, KELM_SetPixelDepthm},    {kPlaneGy, KELM_SetPixelDepthGy},
      {kPlanePgy, KELM_SetPixelDepthPgy}};
  for (const DepthSetter& s : kSetters) {
    if (entry->pixelDepth[s.index] != -1)
      s.set(static_cast<std::uint8_t>(entry->pixelDepth[s.index]));
  }
  KELM_SetGraphicResolution(entry->graphicResolutionH, entry->graphicResolutionV);
  return 0;
}

int setPrintableWidthInPixel(parameter* p) {
  // Gray and photo gray files are not measured.
  static constexpr int kMeasured[] = {kFileRGB, kPlaneR, kPlaneG, kPlaneB, kFileCMYK, kPlaneK,
                                      kPlaneC,  kPlaneM, kPlaneY, kPlanec, kPlanem};
  std::int32_t widest = 0;
  for (const imageParameter* e = p->imageParameterList.get(); e != nullptr; e = e->next.get()) {
    for (int file : kMeasured) {
      std::unique_ptr<LXBMPRecT> reader;
      if (e->imageFile[file][0] != '\0') {
        reader = LXBMP_New(e->imageFile[file]);
        if (!reader) return 1;
      }
      const auto width = static_cast<std::int32_t>(LXBMP_GetWidth(reader.get()));
      LXBMP_Delete(std::move(reader));
      widest = std::max(widest, width);
    }
  }
  p->printableWidthInPixel = widest;
  return 0;
}
