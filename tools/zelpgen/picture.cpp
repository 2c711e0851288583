#include "picture.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#ifdef ZELPGEN_HAVE_TIFF
#include <tiffio.h>
#endif

namespace cli {
namespace {

std::string lower(std::string s) {
  for (char& c : s) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
  return s;
}

bool endsWith(const std::string& s, const char* tail) {
  const std::size_t n = std::strlen(tail);
  return s.size() >= n && s.compare(s.size() - n, n, tail) == 0;
}

std::string paletteWords(int size) {
  return " with a palette of " + std::to_string(size) + (size == 1 ? " colour" : " colours");
}

// Palette pixels as their colours, and the indices kept beside them.
void paint(const std::vector<std::uint8_t>& indices,
           const std::vector<std::array<std::uint16_t, 3>>& palette,
           std::vector<std::uint16_t>* samples) {
  samples->resize(indices.size() * 3);
  for (std::size_t i = 0; i < indices.size(); ++i) {
    const std::array<std::uint16_t, 3> none{0, 0, 0};
    const auto& c = indices[i] < palette.size() ? palette[indices[i]] : none;
    std::copy(c.begin(), c.end(), samples->begin() + static_cast<std::ptrdiff_t>(3 * i));
  }
}

bool isGrayRamp(const std::vector<std::array<std::uint16_t, 3>>& palette, int bits) {
  const std::size_t levels = std::size_t{1} << bits;
  if (palette.size() != levels) return false;
  for (std::size_t i = 0; i < levels; ++i) {
    const auto want = static_cast<std::uint16_t>(i * 65535 / (levels - 1));
    for (std::uint16_t v : palette[i])
      if (v / 257 != want / 257) return false;
  }
  return true;
}

// Windows BMP: uncompressed, bottom-up or top-down, 1, 4, 8, 24 or 32 bits.
class Bmp : public Picture {
 public:
  static std::unique_ptr<Picture> open(const std::string& path) {
    std::unique_ptr<Bmp> p(new Bmp);
    p->file_ = std::fopen(path.c_str(), "rb");
    if (p->file_ == nullptr) return nullptr;
    std::array<unsigned char, 54> h{};
    if (std::fread(h.data(), 1, h.size(), p->file_) != h.size() || h[0] != 'B' || h[1] != 'M')
      return nullptr;
    const auto le = [&h](std::size_t at, int n) {
      std::uint32_t v = 0;
      for (int i = n - 1; i >= 0; --i) v = v << 8 | h[at + static_cast<std::size_t>(i)];
      return v;
    };
    const std::uint32_t infoSize = le(14, 4);
    const auto height = static_cast<std::int32_t>(le(22, 4));
    const std::uint32_t bits = le(28, 2), compression = le(30, 4);
    p->offset_ = le(10, 4);
    p->width = le(18, 4);
    p->topDown_ = height < 0;
    p->height = height < 0 ? 0u - static_cast<std::uint32_t>(height) : height;
    if (infoSize < 40 || compression != 0 || p->width == 0 || p->width > (1u << 24) ||
        (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32))
      return nullptr;
    p->bits = static_cast<int>(bits);
    p->bpp_ = bits;
    p->rowBytes_ = (std::uint64_t{p->width} * bits + 31) / 32 * 4;
    std::fseek(p->file_, 0, SEEK_END);
    const long size = std::ftell(p->file_);
    const std::uint64_t data = size > static_cast<long>(p->offset_) ? size - p->offset_ : 0;
    p->held = static_cast<std::uint32_t>(std::min<std::uint64_t>(p->height, data / p->rowBytes_));
    if (bits <= 8) {
      // The palette lies between the headers and the pixels; a file without one reads gray.
      const std::uint32_t used = le(46, 4);
      const std::uint32_t entries = used != 0 ? std::min(used, 256u) : 1u << bits;
      const std::uint32_t start = 14 + infoSize;
      const std::uint32_t room = p->offset_ > start ? (p->offset_ - start) / 4 : 0;
      std::vector<unsigned char> raw(std::size_t{std::min(entries, room)} * 4);
      std::fseek(p->file_, static_cast<long>(start), SEEK_SET);
      if (std::fread(raw.data(), 1, raw.size(), p->file_) == raw.size()) {
        for (std::size_t i = 0; i < raw.size(); i += 4)
          p->palette_.push_back({static_cast<std::uint16_t>(raw[i + 2] * 257),
                                 static_cast<std::uint16_t>(raw[i + 1] * 257),
                                 static_cast<std::uint16_t>(raw[i] * 257)});
      }
      p->paletteSize = static_cast<int>(p->palette_.size());
      p->grayRamp = p->palette_.empty() || isGrayRamp(p->palette_, p->bits);
      p->model = p->palette_.empty() ? Model::kGray : Model::kRGB;
      p->channels = p->palette_.empty() ? 1 : 3;
      p->kind = std::to_string(bits) + "-bit BMP";
      if (!p->grayRamp) p->kind += paletteWords(p->paletteSize);
    } else {
      p->model = Model::kRGB;
      p->channels = 3;
      p->bits = 8;
      p->kind = std::to_string(bits) + "-bit BMP";
    }
    p->raw_.resize(static_cast<std::size_t>(p->rowBytes_));
    return p;
  }

  ~Bmp() override {
    if (file_ != nullptr) std::fclose(file_);
  }

  bool row(std::uint32_t r, std::vector<std::uint16_t>* samples,
           std::vector<std::uint8_t>* indices) override {
    // A cut file holds the first rows stored: the bottom ones of a bottom-up picture.
    const std::uint32_t stored = topDown_ ? r : height - 1 - r;
    if (r >= height || stored >= held) return false;
    if (std::fseek(file_, static_cast<long>(offset_ + stored * rowBytes_), SEEK_SET) != 0 ||
        std::fread(raw_.data(), 1, raw_.size(), file_) != raw_.size())
      return false;
    const std::size_t w = width;
    if (bpp_ > 8) {
      const std::size_t step = bpp_ / 8;
      samples->resize(w * 3);
      for (std::size_t x = 0; x < w; ++x)
        for (std::size_t c = 0; c < 3; ++c)
          (*samples)[3 * x + c] = static_cast<std::uint16_t>(raw_[step * x + 2 - c] * 257);
      return true;
    }
    indices->resize(w);
    const int b = bits;
    for (std::size_t x = 0; x < w; ++x) {
      const std::size_t bit = x * static_cast<std::size_t>(b);
      (*indices)[x] =
          static_cast<std::uint8_t>((raw_[bit / 8] >> (8 - b - bit % 8)) & ((1 << b) - 1));
    }
    if (palette_.empty()) {
      samples->resize(w);
      const int top = (1 << b) - 1;
      for (std::size_t x = 0; x < w; ++x)
        (*samples)[x] = static_cast<std::uint16_t>((*indices)[x] * 65535 / top);
    } else {
      paint(*indices, palette_, samples);
    }
    return true;
  }

 private:
  std::FILE* file_ = nullptr;
  std::uint32_t offset_ = 0;
  std::uint64_t rowBytes_ = 0;
  bool topDown_ = false;
  std::uint32_t bpp_ = 8;
  std::vector<std::array<std::uint16_t, 3>> palette_;
  std::vector<unsigned char> raw_;
};

#ifdef ZELPGEN_HAVE_TIFF
// Strip or tile TIFFs of one plane of samples a pixel, as libtiff decodes them.
class Tiff : public Picture {
 public:
  static std::unique_ptr<Picture> open(const std::string& path) {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    std::unique_ptr<Tiff> p(new Tiff);
    p->tif_ = TIFFOpen(path.c_str(), "rm");  // read, not mapped: RSS stays a band
    if (p->tif_ == nullptr || TIFFIsTiled(p->tif_)) return nullptr;
    std::uint32_t w = 0, h = 0;
    std::uint16_t bps = 1, spp = 1, photometric = 1, planar = 1;
    TIFFGetField(p->tif_, TIFFTAG_IMAGEWIDTH, &w);
    TIFFGetField(p->tif_, TIFFTAG_IMAGELENGTH, &h);
    TIFFGetFieldDefaulted(p->tif_, TIFFTAG_BITSPERSAMPLE, &bps);
    TIFFGetFieldDefaulted(p->tif_, TIFFTAG_SAMPLESPERPIXEL, &spp);
    TIFFGetFieldDefaulted(p->tif_, TIFFTAG_PLANARCONFIG, &planar);
    if (!TIFFGetField(p->tif_, TIFFTAG_PHOTOMETRIC, &photometric)) photometric = 1;
    if (w == 0 || w > (1u << 24) || planar != 1 || (bps != 1 && bps != 8 && bps != 16) ||
        spp == 0 || spp > 8)
      return nullptr;
    p->width = w;
    p->height = p->held = h;
    p->bits = bps;
    p->spp_ = spp;
    p->photometric_ = photometric;
    const std::string depth = std::to_string(bps) + "-bit";
    if (photometric == PHOTOMETRIC_MINISWHITE || photometric == PHOTOMETRIC_MINISBLACK) {
      p->model = Model::kGray;
      p->channels = 1;
      p->kind = depth + " gray TIFF";
    } else if (photometric == PHOTOMETRIC_RGB && spp >= 3) {
      p->model = Model::kRGB;
      p->channels = 3;
      p->kind = "RGB TIFF of " + std::to_string(bps) + " bits a sample";
    } else if (photometric == PHOTOMETRIC_SEPARATED && spp >= 4) {
      p->model = Model::kCMYK;
      p->channels = 4;
      p->kind = "CMYK TIFF of " + std::to_string(bps) + " bits a sample";
    } else if (photometric == PHOTOMETRIC_PALETTE && bps <= 8) {
      std::uint16_t *r = nullptr, *g = nullptr, *b = nullptr;
      if (!TIFFGetField(p->tif_, TIFFTAG_COLORMAP, &r, &g, &b)) return nullptr;
      for (int i = 0; i < (1 << bps); ++i) p->palette_.push_back({r[i], g[i], b[i]});
      p->model = Model::kRGB;
      p->channels = 3;
      p->paletteSize = 1 << bps;
      p->grayRamp = isGrayRamp(p->palette_, bps);
      p->kind = "palette TIFF of " + std::to_string(p->paletteSize) + " colours";
    } else {
      return nullptr;
    }
    p->raw_.resize(static_cast<std::size_t>(TIFFScanlineSize64(p->tif_)));
    // Whole strips are decoded in place when they are small enough: no copy a row.
    std::uint32_t rows = 0;
    TIFFGetFieldDefaulted(p->tif_, TIFFTAG_ROWSPERSTRIP, &rows);
    const tmsize_t strip = TIFFStripSize(p->tif_);
    if (rows > 0 && strip > 0 && strip <= (tmsize_t{16} << 20) &&
        static_cast<std::uint64_t>(strip) >= std::uint64_t{std::min(rows, h)} * p->raw_.size()) {
      p->rowsPerStrip_ = std::min(rows, h);
      p->strip_.resize(static_cast<std::size_t>(strip));
    }
    p->direct8 = bps == 8 && p->palette_.empty() && photometric != PHOTOMETRIC_MINISWHITE;
    p->step = spp;
    return p;
  }

  ~Tiff() override {
    if (tif_ != nullptr) TIFFClose(tif_);
  }

  bool row(std::uint32_t r, std::vector<std::uint16_t>* samples,
           std::vector<std::uint8_t>* indices) override {
    if (r >= held) return false;
    const unsigned char* line = read(r);
    if (line == nullptr) {
      held = r;  // the file ends here
      return false;
    }
    const std::size_t w = width;
    if (!palette_.empty() || bits == 1) {
      indices->resize(w);
      for (std::size_t x = 0; x < w; ++x) {
        const std::size_t bit = x * static_cast<std::size_t>(bits) * spp_;
        (*indices)[x] =
            static_cast<std::uint8_t>((line[bit / 8] >> (8 - bits - bit % 8)) & ((1 << bits) - 1));
      }
      if (!palette_.empty()) {
        paint(*indices, palette_, samples);
        return true;
      }
      samples->resize(w);
      for (std::size_t x = 0; x < w; ++x) {
        const bool one = (*indices)[x] != 0;
        (*samples)[x] = (one != (photometric_ == PHOTOMETRIC_MINISWHITE)) ? 65535 : 0;
      }
      return true;
    }
    bytes = line;
    if (direct8 && bytesOnly) return true;
    const std::size_t ch = static_cast<std::size_t>(channels);
    samples->resize(w * ch);
    std::uint16_t* out = samples->data();
    if (bits == 8) {
      for (std::size_t x = 0; x < w; ++x)
        for (std::size_t c = 0; c < ch; ++c)
          out[x * ch + c] = static_cast<std::uint16_t>(line[x * spp_ + c] * 257);
    } else {
      for (std::size_t x = 0; x < w; ++x)
        for (std::size_t c = 0; c < ch; ++c)
          std::memcpy(&out[x * ch + c], &line[2 * (x * spp_ + c)], 2);  // in host order
    }
    if (photometric_ == PHOTOMETRIC_MINISWHITE)
      for (std::uint16_t& v : *samples) v = static_cast<std::uint16_t>(65535 - v);
    return true;
  }

 private:
  TIFF* tif_ = nullptr;
  std::size_t spp_ = 1;
  std::uint16_t photometric_ = 1;
  std::vector<std::array<std::uint16_t, 3>> palette_;
  std::vector<unsigned char> raw_;
  std::uint32_t rowsPerStrip_ = 0;  // 0: rows read one by one
  std::vector<unsigned char> strip_;
  std::uint32_t stripAt_ = 0xFFFFFFFF;
  std::size_t stripBytes_ = 0;

  // Row r of the file, or null when it does not hold it.
  const unsigned char* read(std::uint32_t r) {
    if (rowsPerStrip_ == 0)
      return TIFFReadScanline(tif_, raw_.data(), r, 0) < 0 ? nullptr : raw_.data();
    const std::uint32_t strip = r / rowsPerStrip_;
    if (strip != stripAt_) {
      const tmsize_t got =
          TIFFReadEncodedStrip(tif_, strip, strip_.data(), static_cast<tmsize_t>(strip_.size()));
      stripAt_ = strip;
      stripBytes_ = got < 0 ? 0 : static_cast<std::size_t>(got);
    }
    const std::size_t at = std::size_t{r % rowsPerStrip_} * raw_.size();
    return at + raw_.size() <= stripBytes_ ? strip_.data() + at : nullptr;
  }
};
#endif

}  // namespace

std::unique_ptr<Picture> Picture::open(const std::string& path) {
  const std::string name = lower(path);
  if (endsWith(name, ".bmp")) return Bmp::open(path);
#ifdef ZELPGEN_HAVE_TIFF
  if (endsWith(name, ".tif") || endsWith(name, ".tiff")) return Tiff::open(path);
#endif
  return nullptr;
}

}  // namespace cli
