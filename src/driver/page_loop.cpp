// One image entry on the page: opens its files, fills the bands and sends them plane by plane.
#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "driver/driver.h"
#include "driver/job.h"
#include "image/lxbmp.h"
#include "image/lxgworld.h"
#include "kelm/codes.h"
#include "kelm/kelm.h"

using namespace kelm;

namespace {

constexpr std::int32_t kBandRows = 300;
// Most bytes a second set of bands may take to read one band ahead of the coder.
constexpr std::uint64_t kReadAheadBytes = std::uint64_t{64} << 20;

using Reader = std::unique_ptr<LXBMPRecT>;

RowsSentHook sRowsSent = nullptr;

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

namespace {

// The band a plane's reader fills: its depth and bounds; none without a reader or a depth.
struct BandShape {
  std::uint16_t depth;
  LXRect rect;
};
std::optional<BandShape> bandShape(const LXBMPRecT* reader, int depth, LXRect* rect) {
  if (reader == nullptr) return std::nullopt;
  *rect = LXRect{0, 0, kBandRows, static_cast<std::int32_t>(LXBMP_GetWidth(reader))};
  const auto depth16 = static_cast<std::uint16_t>(depth);
  if (depth16 == 0 || depth16 == 0xFFFF) return std::nullopt;
  return BandShape{depth16, *rect};
}

}  // namespace

void prepareBand(std::unique_ptr<LXGWorld>* slot, const LXBMPRecT* reader, LXRect* rect,
                 int depth) {
  if (const auto shape = bandShape(reader, depth, rect))
    LXNewGWorld(slot, shape->depth, shape->rect);
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

// Calls use(slot, reader, depth) for the band of every plane: the RGB planes read from the RGB
// file when there is one.
template <typename Use>
void forEachBand(const int* depth, const ImageFiles& files, Bands* bands, Use use) {
  for (Plane s : {kPlaneR, kPlaneG, kPlaneB}) {
    const LXBMPRecT* reader = files.rgb ? files.rgb.get() : files.readers[s].get();
    use(&(*bands)[s], reader, depth[s]);
  }
  for (Plane ink : {kPlaneK, kPlaneC, kPlaneM, kPlaneY, kPlanec, kPlanem, kPlaneGy, kPlanePgy}) {
    use(&(*bands)[ink], files.readers[ink].get(), depth[ink]);
  }
}

// A band buffer, as wide as its file, for every plane with a file and a depth.
void prepareBands(const int* depth, const ImageFiles& files, Bands* bands) {
  LXRect rect;
  forEachBand(depth, files, bands, [&rect](auto* slot, const LXBMPRecT* reader, int d) {
    prepareBand(slot, reader, &rect, d);
  });
}

// The most rows any file of the entry holds.
std::uint64_t imageRows(const ImageFiles& files) {
  std::uint64_t rows = 0;
  auto take = [&rows](const Reader& reader) {
    if (reader == nullptr) return;
    LXRect box;
    LXBMP_GetImageBox(reader.get(), &box);
    const std::int64_t height = std::int64_t{box.bottom} - box.top;
    if (height > 0) rows = std::max(rows, static_cast<std::uint64_t>(height));
  };
  take(files.rgb);
  for (const Reader& reader : files.readers) take(reader);
  return rows;
}

// A second set of bands like prepareBands makes, for reading one band ahead: within
// kReadAheadBytes, and made quietly. False without one.
bool prepareReadAheadBands(const int* depth, const ImageFiles& files, Bands* bands) {
  std::uint64_t bytes = 0;
  LXRect rect;
  forEachBand(depth, files, bands, [&](auto*, const LXBMPRecT* reader, int d) {
    if (const auto shape = bandShape(reader, d, &rect)) {
      const std::uint64_t band = lximage::newBandBytes(shape->depth, shape->rect);
      bytes += band != 0 ? band : kReadAheadBytes + 1;
    }
  });
  if (bytes > kReadAheadBytes) return false;
  bool made = true;
  forEachBand(depth, files, bands, [&](auto* slot, const LXBMPRecT* reader, int d) {
    if (const auto shape = bandShape(reader, d, &rect)) {
      *slot = lximage::newBandQuietly(shape->depth, shape->rect);
      made = made && *slot != nullptr;
    }
  });
  return made;
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

// ZELPGEN_THREADS=1 keeps the job on the calling thread.
bool readAheadAllowed() {
  const char* threads = std::getenv("ZELPGEN_THREADS");
  return threads == nullptr || std::strcmp(threads, "1") != 0;
}

// A thread of the image's own that first makes a second set of bands, then reads the next
// band into a set on request while the caller sends the last one. Requests and results pass
// under the lock, so each set and the readers are used by one thread at a time.
class ReadAhead {
 public:
  ReadAhead(const imageParameter* entry, const ImageFiles& files)
      : entry_(entry), files_(files), thread_([this] { run(); }) {}
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;
  ~ReadAhead() {
    {
      std::lock_guard lock(mutex_);
      stop_ = true;
    }
    wake_.notify_all();
    thread_.join();
  }

  // The second set, once made; empty when it could not be.
  Bands& bands() {
    std::unique_lock lock(mutex_);
    done_.wait(lock, [this] { return !making_; });
    return twins_;
  }
  void read(Bands* into) {
    {
      std::lock_guard lock(mutex_);
      request_ = into;
    }
    wake_.notify_all();
  }
  // The rows of the band asked for by read(), once read; what reading threw is thrown here.
  std::int32_t rows() {
    std::unique_lock lock(mutex_);
    done_.wait(lock, [this] { return request_ == nullptr; });
    if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
    return rows_;
  }

 private:
  void run() {
    bool made = false;
    try {
      made = prepareReadAheadBands(entry_->pixelDepth, files_, &twins_);
    } catch (const std::exception&) {
      // Without the set the job reads after sending.
    }
    if (!made) {
      for (auto& band : twins_) band.reset();
    }
    {
      std::lock_guard lock(mutex_);
      making_ = false;
    }
    done_.notify_all();
    for (;;) {
      Bands* into = nullptr;
      {
        std::unique_lock lock(mutex_);
        wake_.wait(lock, [this] { return stop_ || request_ != nullptr; });
        if (stop_) return;
        into = request_;
      }
      std::int32_t rows = 0;
      std::exception_ptr error;
      try {
        rows = readNextBand(entry_, files_, *into);
      } catch (...) {
        error = std::current_exception();
      }
      {
        std::lock_guard lock(mutex_);
        rows_ = rows;
        error_ = error;
        request_ = nullptr;
      }
      done_.notify_all();
    }
  }

  const imageParameter* const entry_;
  const ImageFiles& files_;
  Bands twins_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable done_;
  bool making_ = true;
  bool stop_ = false;
  Bands* request_ = nullptr;
  std::int32_t rows_ = 0;
  std::exception_ptr error_;
  std::thread thread_;  // last: it starts on the members above
};

// Every band of the first set, and no other, in the second.
bool sameBands(const Bands& bands, const Bands& twins) {
  for (std::size_t s = 0; s < bands.size(); ++s) {
    if ((bands[s] == nullptr) != (twins[s] == nullptr)) return false;
  }
  return std::any_of(twins.begin(), twins.end(), [](const auto& band) { return band != nullptr; });
}

// Sends the image band by band. With a second set of bands, the next band is read on the
// read-ahead thread while one is coded and written. Reading touches only the files and the set
// it fills, prints nothing, and fills every band of the set whatever it held, so the print file
// and the messages are those of a single thread. Without the set, the next band is read after
// the last one is sent.
void sendBands(const imageParameter* entry, const ImageFiles& files, Bands& bands,
               KELMPlane* planes, std::optional<ReadAhead>& ahead) {
  std::int32_t rows = readNextBand(entry, files, bands);
  if (rows < 1) return;
  if (ahead && !sameBands(bands, ahead->bands())) ahead.reset();
  const std::unique_ptr<KELMPlane> twinPlanes =
      ahead ? planesInPrinterOrder(entry->pixelDepth, ahead->bands()) : nullptr;
  Bands* sending = &bands;
  Bands* reading = ahead ? &ahead->bands() : nullptr;
  for (;;) {
    if (reading != nullptr) ahead->read(reading);
    KELM_SendBand(sending == &bands ? planes : twinPlanes.get(), rows, entry->mode);
    if (sRowsSent != nullptr) sRowsSent(rows);
    if (reading != nullptr) {
      rows = ahead->rows();
      std::swap(sending, reading);
    } else {
      rows = readNextBand(entry, files, *sending);
    }
    if (rows < 1) return;
  }
}

}  // namespace

void setRowsSentHook(RowsSentHook hook) {
  sRowsSent = hook;
}

int processKELMImageData(const imageParameter* entry) {
  ImageFiles files;
  if (!openImageFiles(entry, &files)) return 1;
  // Started before the first set is made, so that the two sets fault in side by side.
  std::optional<ReadAhead> ahead;
  if (readAheadAllowed() && imageRows(files) > static_cast<std::uint64_t>(kBandRows)) {
    try {
      ahead.emplace(entry, files);
    } catch (const std::exception&) {
      // No thread: the job reads after sending.
    }
  }
  Bands bands;
  prepareBands(entry->pixelDepth, files, &bands);
  sendImageStart(entry);
  std::unique_ptr<KELMPlane> planes = planesInPrinterOrder(entry->pixelDepth, bands);

  const int kept = KELM_KeepWorkingMemory(planes.get(), entry->mode);
  if (kept != 0) return kept;
  sendBands(entry, files, bands, planes.get(), ahead);
  ahead.reset();  // before the files it reads close

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
