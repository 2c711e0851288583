// One image entry on the page: opens its files, fills the bands and sends them plane by plane.
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

namespace {

using Bands = std::array<std::unique_ptr<LXGWorld>, kPlaneCount>;

// The entry's open files: one reader per plane file, or several readers of one CMYK file.
struct ImageFiles {
  Reader rgb;
  Reader cmykCheck;
  std::array<Reader, kPlaneCount> readers;
  bool cmyk = false;
};

// Opens every file the entry names; false as soon as one cannot be opened.
bool openImageFiles(const imageParameter* entry, ImageFiles* files) {
  auto& readers = files->readers;
  if (!openIfGiven(entry, kFileRGB, &files->rgb)) return false;
  files->cmyk = given(entry, kFileCMYK);
  if (files->cmyk) {
    // The first handle only proves the file opens; each ink plane reads through its own.
    if (!openIfGiven(entry, kFileCMYK, &files->cmykCheck)) return false;
    for (Plane s : {kPlaneK, kPlaneC, kPlaneM, kPlaneY}) {
      if (!openIfGiven(entry, kFileCMYK, &readers[s])) return false;
    }
    for (Plane s : {kPlaneC, kPlaneM, kPlaneY})
      LXBMP_ShareReads(readers[kPlaneK].get(), readers[s].get());
  } else {
    for (Plane s : {kPlaneK, kPlaneC, kPlaneM, kPlaneY}) {
      if (!openIfGiven(entry, s, &readers[s])) return false;
    }
  }
  for (Plane s : {kPlanec, kPlanem, kPlaneGy, kPlanePgy, kPlaneR, kPlaneG, kPlaneB}) {
    if (!openIfGiven(entry, s, &readers[s])) return false;
  }
  return true;
}

// A band buffer, as wide as its file, for every plane with a file and a depth.
void prepareBands(const int* depth, const ImageFiles& files, Bands* bands) {
  LXRect rect;
  for (Plane s : {kPlaneR, kPlaneG, kPlaneB}) {
    const LXBMPRecT* reader = files.rgb ? files.rgb.get() : files.readers[s].get();
    prepareBand(&(*bands)[s], reader, &rect, depth[s]);
  }
  for (Plane ink : {kPlaneK, kPlaneC, kPlaneM, kPlaneY, kPlanec, kPlanem, kPlaneGy, kPlanePgy}) {
    prepareBand(&(*bands)[ink], files.readers[ink].get(), &rect, depth[ink]);
  }
}

// Page commands, cursor moves and vertical offsets, up to the start of raster mode.
void sendImageStart(const imageParameter* entry) {
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
}

// The planes with a positive depth, in the order the printer takes them.
std::unique_ptr<KELMPlane> planesInPrinterOrder(const int* depth, const Bands& bands) {
  std::unique_ptr<KELMPlane> planes;
  for (Plane p : kPrinterPlaneOrder) {
    if (depth[p] > 0) {
      KELMPlane* plane = addPlane(planes);
      plane->world = bands[p].get();
      plane->depth = static_cast<std::int8_t>(depth[p]);
    }
  }
  return planes;
}

// Fills the bands with the next rows of every file; the most rows any of them gave.
std::int32_t readNextBand(const imageParameter* entry, const ImageFiles& files, Bands& bands) {
  const auto& readers = files.readers;
  const unsigned char* const* level = entry->indexLevel;
  std::int32_t rows = atLeastZero(LXBMP_ReadNextRasterBlockRGB(
      files.rgb.get(), bands[kPlaneR].get(), bands[kPlaneG].get(), bands[kPlaneB].get()));
  auto take = [&rows](std::int32_t n) { rows = std::max(rows, n); };
  if (files.cmyk) {
    // The channel each ink takes from its reader; the light inks take their full ink's.
    static constexpr std::pair<Plane, int> kChannels[] = {{kPlaneK, 3}, {kPlaneC, 0}, {kPlanec, 0},
                                                          {kPlaneM, 1}, {kPlanem, 1}, {kPlaneY, 2}};
    // Row by row across the inks, so the four readers of the CMYK file take each row from
    // the one read they share.
    std::array<LXChannelRead, std::size(kChannels)> reads;
    for (std::size_t i = 0; i < reads.size(); ++i) {
      const auto [ink, channel] = kChannels[i];
      reads[i] = {readers[ink].get(), bands[ink].get(), level[ink], channel};
    }
    take(LXBMP_ReadNextRasterBlocksCMYK(reads));
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
  return rows;
}

}  // namespace

int processKELMImageData(const imageParameter* entry) {
  ImageFiles files;
  if (!openImageFiles(entry, &files)) return 1;
  Bands bands;
  prepareBands(entry->pixelDepth, files, &bands);
  sendImageStart(entry);
  std::unique_ptr<KELMPlane> planes = planesInPrinterOrder(entry->pixelDepth, bands);

  const int kept = KELM_KeepWorkingMemory(planes.get(), entry->mode);
  if (kept != 0) return kept;
  for (;;) {
    const std::int32_t rows = readNextBand(entry, files, bands);
    if (rows < 1) break;
    KELM_SendBand(planes.get(), rows, entry->mode);
  }

  KELM_SendEndRasterMode();
  LXBMP_Delete(std::move(files.rgb));
  LXBMP_Delete(std::move(files.cmykCheck));
  for (Reader& reader : files.readers) LXBMP_Delete(std::move(reader));
  deletePlane(planes);
  for (auto& band : bands) band.reset();
  KELM_FreeWorkingMemory(entry->mode);
  KELM_Delete();
  return 0;
}
