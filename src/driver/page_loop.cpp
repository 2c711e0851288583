#include <algorithm>
#include <array>

#include "driver/driver.h"
#include "image/lxbmp.h"
#include "kelm/kelm.h"

namespace {

constexpr std::int32_t kBandRows = 300;

// Band buffer slots, one per plane.
enum Slot {
  kSlotK,
  kSlotC,
  kSlotM,
  kSlotY,
  kSlotc,
  kSlotm,
  kSlotGy,
  kSlotPgy,
  kSlotR,
  kSlotG,
  kSlotB,
  kSlotCount
};

using Reader = std::unique_ptr<LXBMPRecT>;

bool given(const imageParameter* e, ImageFileIndex file) {
  return e->imageFile[file][0] != '\0';
}

// Opens the file when it is given; false when a given file cannot be opened.
bool openIfGiven(const imageParameter* e, ImageFileIndex file, Reader* reader) {
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
  std::array<Reader, kSlotCount> readers;
  if (!openIfGiven(entry, kFileRGB, &rgb)) return 1;
  const bool cmyk = given(entry, kFileCMYK);
  if (cmyk) {
    // The first handle only proves the file opens; each ink plane reads through its own.
    if (!openIfGiven(entry, kFileCMYK, &cmykCheck)) return 1;
    for (Slot s : {kSlotK, kSlotC, kSlotM, kSlotY}) {
      if (!openIfGiven(entry, kFileCMYK, &readers[s])) return 1;
    }
  } else {
    if (!openIfGiven(entry, kFileK, &readers[kSlotK]) ||
        !openIfGiven(entry, kFileC, &readers[kSlotC]) ||
        !openIfGiven(entry, kFileM, &readers[kSlotM]) ||
        !openIfGiven(entry, kFileY, &readers[kSlotY])) {
      return 1;
    }
  }
  if (!openIfGiven(entry, kFilec, &readers[kSlotc]) ||
      !openIfGiven(entry, kFilem, &readers[kSlotm]) ||
      !openIfGiven(entry, kFileGy, &readers[kSlotGy]) ||
      !openIfGiven(entry, kFilePgy, &readers[kSlotPgy]) ||
      !openIfGiven(entry, kFileR, &readers[kSlotR]) ||
      !openIfGiven(entry, kFileG, &readers[kSlotG]) ||
      !openIfGiven(entry, kFileB, &readers[kSlotB])) {
    return 1;
  }

  const int* depth = entry->pixelDepth;
  std::array<std::unique_ptr<LXGWorld>, kSlotCount> bands;
  LXRect rect;
  if (rgb) {
    prepareBand(&bands[kSlotR], rgb.get(), &rect, depth[kDepthR]);
    prepareBand(&bands[kSlotG], rgb.get(), &rect, depth[kDepthG]);
    prepareBand(&bands[kSlotB], rgb.get(), &rect, depth[kDepthB]);
  } else {
    prepareBand(&bands[kSlotR], readers[kSlotR].get(), &rect, depth[kDepthR]);
    prepareBand(&bands[kSlotG], readers[kSlotG].get(), &rect, depth[kDepthG]);
    prepareBand(&bands[kSlotB], readers[kSlotB].get(), &rect, depth[kDepthB]);
  }
  static constexpr std::pair<Slot, PixelDepthIndex> kInkBands[] = {
      {kSlotK, kDepthK}, {kSlotC, kDepthC}, {kSlotM, kDepthM},   {kSlotY, kDepthY},
      {kSlotc, kDepthc}, {kSlotm, kDepthm}, {kSlotGy, kDepthGy}, {kSlotPgy, kDepthPgy}};
  for (const auto& [slot, d] : kInkBands) {
    prepareBand(&bands[slot], readers[slot].get(), &rect, depth[d]);
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

  // Planes in the order the printer expects them.
  static constexpr std::pair<Slot, PixelDepthIndex> kPlaneOrder[] = {
      {kSlotK, kDepthK}, {kSlotC, kDepthC}, {kSlotc, kDepthc},   {kSlotM, kDepthM},
      {kSlotm, kDepthm}, {kSlotY, kDepthY}, {kSlotGy, kDepthGy}, {kSlotPgy, kDepthPgy},
      {kSlotR, kDepthR}, {kSlotG, kDepthG}, {kSlotB, kDepthB}};
  std::unique_ptr<KELMPlane> planes;
  for (const auto& [slot, d] : kPlaneOrder) {
    if (depth[d] > 0) {
      KELMPlane* plane = addPlane(planes);
      plane->world = bands[slot].get();
      plane->depth = static_cast<std::int8_t>(depth[d]);
    }
  }

  const int kept = KELM_KeepWorkingMemory(planes.get(), entry->mode);
  if (kept != 0) return kept;

  const unsigned char* const* level = entry->indexLevel;
  for (;;) {
    std::int32_t rows = atLeastZero(LXBMP_ReadNextRasterBlockRGB(
        rgb.get(), bands[kSlotR].get(), bands[kSlotG].get(), bands[kSlotB].get()));
    auto take = [&rows](std::int32_t n) { rows = std::max(rows, n); };
    if (cmyk) {
      take(LXBMP_ReadNextRasterBlockCMYK(readers[kSlotK].get(), bands[kSlotK].get(), level[kLevelK],
                                         3));
      take(LXBMP_ReadNextRasterBlockCMYK(readers[kSlotC].get(), bands[kSlotC].get(), level[kLevelC],
                                         0));
      take(LXBMP_ReadNextRasterBlockCMYK(readers[kSlotc].get(), bands[kSlotc].get(), level[kLevelc],
                                         0));
      take(LXBMP_ReadNextRasterBlockCMYK(readers[kSlotM].get(), bands[kSlotM].get(), level[kLevelM],
                                         1));
      take(LXBMP_ReadNextRasterBlockCMYK(readers[kSlotm].get(), bands[kSlotm].get(), level[kLevelm],
                                         1));
      take(LXBMP_ReadNextRasterBlockCMYK(readers[kSlotY].get(), bands[kSlotY].get(), level[kLevelY],
                                         2));
    } else {
      static constexpr std::pair<Slot, IndexLevelIndex> kInkReads[] = {
          {kSlotK, kLevelK}, {kSlotC, kLevelC}, {kSlotc, kLevelc},
          {kSlotM, kLevelM}, {kSlotm, kLevelm}, {kSlotY, kLevelY}};
      for (const auto& [slot, l] : kInkReads) {
        take(LXBMP_ReadNextRasterBlock(readers[slot].get(), bands[slot].get(), level[l]));
      }
      take(LXBMP_ReadNextRasterBlock(readers[kSlotGy].get(), bands[kSlotGy].get(), nullptr));
      take(LXBMP_ReadNextRasterBlock(readers[kSlotPgy].get(), bands[kSlotPgy].get(), nullptr));
    }
    if (given(entry, kFileR) || given(entry, kFileG) || given(entry, kFileB)) {
      for (Slot s : {kSlotR, kSlotG, kSlotB}) {
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
