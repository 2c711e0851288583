// The raster language encoder: PJL header, page and cursor commands, compressed rows.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "image/lxgworld.h"
#include "kelm/pjl_line.h"

struct KELMPlane {
  LXGWorld* world = nullptr;
  std::int8_t depth = -1;
  std::unique_ptr<KELMPlane> next;
};

// Appends a plane behind the last of `list` (or makes it the head) and returns it.
KELMPlane* addPlane(std::unique_ptr<KELMPlane>& list);
KELMPlane* getLastPlane(KELMPlane* list);
void deletePlane(std::unique_ptr<KELMPlane>& list);

void KELM_New();
void KELM_Delete();

void KELM_SetColorSpace(std::uint8_t value);
void KELM_SetCompressionMode(std::uint8_t value);
void KELM_SetNumOfPlanes(std::uint8_t value);
void KELM_SetPixelDepthK(std::uint8_t value);
void KELM_SetPixelDepthC(std::uint8_t value);
void KELM_SetPixelDepthM(std::uint8_t value);
void KELM_SetPixelDepthY(std::uint8_t value);
void KELM_SetPixelDepthc(std::uint8_t value);
void KELM_SetPixelDepthm(std::uint8_t value);
void KELM_SetPixelDepthR(std::uint8_t value);
void KELM_SetPixelDepthG(std::uint8_t value);
void KELM_SetPixelDepthB(std::uint8_t value);
void KELM_SetPixelDepthGy(std::uint8_t value);
void KELM_SetPixelDepthPgy(std::uint8_t value);
void KELM_SetMargins(std::int16_t top, std::int16_t left, std::int16_t bottom, std::int16_t right);
void KELM_SetPaperName(const char* name);
void KELM_SetPaperOrientToShortEdge();
void KELM_SetPaperOrientToLongEdge();
void KELM_SetPrinterResolution(std::int32_t h, std::int32_t v);
void KELM_SetGraphicResolution(std::int32_t h, std::int32_t v);
void KELM_SetPaperSizeInDeciMilliMeter(std::int32_t width, std::int32_t height);
void KELM_SetPrintableWidthInPixel(std::int32_t pixels);
void KELM_SetSaveWhitePage();
void KELM_SetFeedWhitePage();
void KELM_SetBannerON();
void KELM_SetBannerOFF();
void KELM_SetSavePaperON();
void KELM_SetSavePaperOFF();
void KELM_SetCutmediaCenter(std::int32_t value);
void KELM_SetRollmediaCenter(std::int32_t value);
void KELM_SetDMaskON();
void KELM_SetDMaskOFF();
void KELM_SetInkType(std::uint8_t value);
void KELM_SetMachineID(const char* text);
void KELM_SetRollWidth(const char* text);
void KELM_SetSingleSSC(std::uint8_t value);
void KELM_SetPrintStopOff(std::uint8_t value);
void KELM_SetNewPJL(std::unique_ptr<newPJLLine> list);
[[nodiscard]] int KELM_SetImageProcessingFile(int index, const char* path);

[[nodiscard]] int KELM_KeepWorkingMemory(KELMPlane* planes, std::int32_t mode);
void KELM_FreeWorkingMemory(std::int32_t mode);

[[nodiscard]] int KELM_SendJobStart();
[[nodiscard]] int KELM_SendTableFile(const char* path);
[[nodiscard]] int KELM_SendJobEnd(int arg);
void KELM_SendFormFeed();
void KELM_SendEndOfPage();

void KELM_SendTopOfPage(std::int32_t noConfigure, std::int32_t noResolutionA,
                        std::int32_t noResolutionB);
void KELM_SendStartRasterMode();
void KELM_SendEndRasterMode();
void KELM_SendMoveCAP(std::int32_t x, std::int32_t y);
void KELM_SendMoveCAPX(std::int32_t x);
void KELM_SendMoveCAPY(std::int32_t y);
void KELM_SendMoveCAPXRelative(std::int32_t dx);
void KELM_SendMoveCAPYRelative(std::int32_t dy);
void KELM_SendYOffset(std::int32_t y);
void KELM_SendYOffsetRelative(std::int32_t dy);

void KELM_SendBand(KELMPlane* planes, std::int32_t rows, std::int32_t mode);
// Interleaves row `row` of the planes' band buffers byte by byte into the pixel row buffer.
void KELM_ConvertPixelByPixel(KELMPlane* planes, std::int32_t row);

// Row compression.
void packBits(const unsigned char*& src, unsigned char*& dst, std::int32_t count);
void kelm_ChangeCompressionMode(std::uint8_t mode);
