#include <algorithm>
#include <array>

#include "driver/driver.h"
#include "image/lxbmp.h"
#include "kelm/codes.h"
#include "kelm/kelm.h"

using namespace kelm;

namespace {

constexpr std::int32_t kBandRows = 300;

using Reader = std::unique_ptr<LXBMPRecT>;

bool given(const imageParameter* e, int file) {
  return e->imageFile[file][0] != '\0';
}

// Opens the file when it is given; false when a given file cannot be opened.
bool openIfGiven(const imageParameter* e, int file, Reader* reader) {
  if (!given(e, file)) return true;
  *reader = LXBMP_New(e->imageFile[file]);
  return *reader != nullptr;
}

std::int32_t atLeastZero(std::int32_t rows) {
  return std::max<std::int32_t>(rows, 0);
}

void sendVerticalOffset(std::int32_t value, int mode) {
  if (value == -1) return;
  if (mode == 0) {
    KELM_SendYOffset(value);
  } else if (mode == 1) {
    KELM_SendYOffsetRelative(value);
  }
}

}  // namespace

void prepareBand(std::unique_ptr<LXGWorld>* slot, const LXBMPRecT* reader, LXRect* rect,
                 int depth) {
  if (reader == nullptr) return;
  *rect = LXRect{0, 0, kBandRows, static_cast<std::int32_t>(LXBMP_GetWidth(reader))};
  const auto depth16 = static_cast<std::uint16_t>(depth);
  if (depth16 == 0 || depth16 == 0xFFFF) return;
  LXNewGWorld(slot, depth16, *rect);
}

int processKELMImageData(const imageParameter* entry) {
  Reader rgb, cmykCheck;
  std::array<Reader, kPlaneCount> readers;
  if (!openIfGiven(entry, kFileRGB, &rgb)) return 1;
  const bool cmyk = given(entry, kFileCMYK);
  if (cmyk) {
    // The first handle only proves the file opens; each ink plane reads through its own.
    if (!openIfGiven(entry, kFileCMYK, &cmykCheck)) return 1;
    for (Plane s : {kPlaneK, kPlaneC, kPlaneM, kPlaneY}) {
      if (!openIfGiven(entry, kFileCMYK, &readers[s])) return 1;
    }
  } else {
    if (!openIfGiven(entry, kPlaneK, &readers[kPlaneK]) ||
        !openIfGiven(entry, kPlaneC, &readers[kPlaneC]) ||
        !openIfGiven(entry, kPlaneM, &readers[kPlaneM]) ||
        !openIfGiven(entry, kPlaneY, &readers[kPlaneY])) {
      return 1;
    }
  }
  if (!openIfGiven(entry, kPlanec, &readers[kPlanec]) ||
      !openIfGiven(entry, kPlanem, &readers[kPlanem]) ||
      !openIfGiven(entry, kPlaneGy, &readers[kPlaneGy]) ||
      !openIfGiven(entry, kPlanePgy, &readers[kPlanePgy]) ||
      !openIfGiven(entry, kPlaneR, &readers[kPlaneR]) ||
      !openIfGiven(entry, kPlaneG, &readers[kPlaneG]) ||
      !openIfGiven(entry, kPlaneB, &readers[kPlaneB])) {
    return 1;
  }

  const int* depth = entry->pixelDepth;
  std::array<std::unique_ptr<LXGWorld>, kPlaneCount> bands;
  LXRect rect;
  if (rgb) {
    prepareBand(&bands[kPlaneR], rgb.get(), &rect, depth[kPlaneR]);
    prepareBand(&bands[kPlaneG], rgb.get(), &rect, depth[kPlaneG]);
    prepareBand(&bands[kPlaneB], rgb.get(), &rect, depth[kPlaneB]);
  } else {
    prepareBand(&bands[kPlaneR], readers[kPlaneR].get(), &rect, depth[kPlaneR]);
    prepareBand(&bands[kPlaneG], readers[kPlaneG].get(), &rect, depth[kPlaneG]);
    prepareBand(&bands[kPlaneB], readers[kPlaneB].get(), &rect, depth[kPlaneB]);
  }
  for (Plane ink : {kPlaneK, kPlaneC, kPlaneM, kPlaneY, kPlanec, kPlanem, kPlaneGy, kPlanePgy}) {
    prepareBand(&bands[ink], readers[ink].get(), &rect, depth[ink]);
  }

  KELM_SendTopOfPage(entry->sameImageConfiguration, entry->sameGraphicResolutionH,
                     entry->sameGraphicResolutionV);
  sendVerticalOffset(entry->yOffsetC, entry->yOffsetCSign);
  if (entry->startingPositionXSign != 0) {
    if (entry->startingPositionX != 0) KELM_SendMoveCAPXRelative(entry->startingPositionX);
  } else if (entry->startingPositionX != -1) {
    KELM_SendMoveCAPX(entry->startingPositionX);
  }
  if (entry->startingPositionYSign != 0) {
    if (entry->startingPositionY != 0) KELM_SendMoveCAPYRelative(entry->startingPositionY);
  } else if (entry->startingPositionY != -1) {
    KELM_SendMoveCAPY(entry->startingPositionY);
  }
  sendVerticalOffset(entry->yOffsetCWithPosition, entry->yOffsetCWithPositionSign);
  KELM_SendStartRasterMode();
  sendVerticalOffset(entry->yOffset, entry->yOffsetSign);

  std::unique_ptr<KELMPlane> planes;
  for (Plane p : kPrinterPlaneOrder) {
    if (depth[p] > 0) {
      KELMPlane* plane = addPlane(planes);
      plane->world = bands[p].get();
      plane->depth = static_cast<std::int8_t>(depth[p]);
    }
  }

  const int kept = KELM_KeepWorkingMemory(planes.get(), entry->mode);
  if (kept != 0) return kept;

  const unsigned char* const* level = entry->indexLevel;
  for (;;) {
    std::int32_t rows = atLeastZero(LXBMP_ReadNextRasterBlockRGB(
        rgb.get(), bands[kPlaneR].get(), bands[kPlaneG].get(), bands[kPlaneB].get()));
    auto take = [&rows](std::int32_t n) { rows = std::max(rows, n); };
    if (cmyk) {
      take(LXBMP_ReadNextRasterBlockCMYK(readers[kPlaneK].get(), bands[kPlaneK].get(),
                                         level[kPlaneK], 3));
      take(LXBMP_ReadNextRasterBlockCMYK(readers[kPlaneC].get(), bands[kPlaneC].get(),
                                         level[kPlaneC], 0));
      take(LXBMP_ReadNextRasterBlockCMYK(readers[kPlanec].get(), bands[kPlanec].get(),
                                         level[kPlanec], 0));
      take(LXBMP_ReadNextRasterBlockCMYK(readers[kPlaneM].get(), bands[kPlaneM].get(),
                                         level[kPlaneM], 1));
      take(LXBMP_ReadNextRasterBlockCMYK(readers[kPlanem].get(), bands[kPlanem].get(),
                                         level[kPlanem], 1));
      take(LXBMP_ReadNextRasterBlockCMYK(readers[kPlaneY].get(), bands[kPlaneY].get(),
                                         level[kPlaneY], 2));
    } else {
      for (Plane ink : {kPlaneK, kPlaneC, kPlanec, kPlaneM, kPlanem, kPlaneY}) {
        take(LXBMP_ReadNextRasterBlock(readers[ink].get(), bands[ink].get(), level[ink]));
      }
      take(LXBMP_ReadNextRasterBlock(readers[kPlaneGy].get(), bands[kPlaneGy].get(), nullptr));
      take(LXBMP_ReadNextRasterBlock(readers[kPlanePgy].get(), bands[kPlanePgy].get(), nullptr));
    }
    if (given(entry, kPlaneR) || given(entry, kPlaneG) || given(entry, kPlaneB)) {
      for (Plane s : {kPlaneR, kPlaneG, kPlaneB}) {
        take(LXBMP_ReadNextRasterBlock(readers[s].get(), bands[s].get(), nullptr));
      }
    }
    if (rows < 1) break;
    KELM_SendBand(planes.get(), rows, entry->mode);
  }

  KELM_SendEndRasterMode();
  LXBMP_Delete(std::move(rgb));
  LXBMP_Delete(std::move(cmykCheck));
  for (Reader& reader : readers) LXBMP_Delete(std::move(reader));
  deletePlane(planes);
  for (auto& band : bands) band.reset();
  KELM_FreeWorkingMemory(entry->mode);
  KELM_Delete();
  return 0;
}
