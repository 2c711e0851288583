#include "raster_job.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include "support/image_support.h"
#include "zelpgen/zelpgen.h"

namespace rasterjob {

Source makeSource(int width, int height, int channels, std::uint8_t white, std::uint32_t seed) {
  Source s{width, height, channels, {}};
  const auto bytes = static_cast<std::size_t>(width * channels);
  for (int r = 0; r < height; ++r) {
    if (r % 23 == 5 || r % 23 == 6 || r >= height - 3) {
      s.rows.emplace_back(bytes, white);
    } else if (r % 4 == 1) {
      Bytes row = s.rows.back();
      row[static_cast<std::size_t>(r * 7) % bytes] ^= 0x5A;
      s.rows.push_back(std::move(row));
    } else {
      s.rows.push_back(imagetest::patternBytes(bytes, seed * 1000 + static_cast<std::uint32_t>(r)));
    }
  }
  return s;
}

void writeBmp(const std::string& path, const Source& s) {
  const std::size_t stride = (static_cast<std::size_t>(s.width * s.channels) + 3) / 4 * 4;
  std::vector<Bytes> rows;
  for (const Bytes& source : s.rows) {
    Bytes row(stride, 0);
    for (int x = 0; x < s.width; ++x) {
      for (int ch = 0; ch < s.channels; ++ch) {
        // Colour pixels are stored blue first.
        row[static_cast<std::size_t>(x * s.channels + ch)] =
            source[static_cast<std::size_t>(x * s.channels + (s.channels - 1 - ch))];
      }
    }
    rows.push_back(std::move(row));
  }
  testsupport::writeFile(path, imagetest::bmpFile(s.width, s.height, 8 * s.channels, rows));
}

void writeTiff(const std::string& path, const Source& s, const TiffForm& form) {
  TIFF* tif = TIFFOpen(path.c_str(), form.bigEndian ? "wb" : "wl");
  ASSERT_NE(tif, nullptr) << path;
  TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, s.width);
  TIFFSetField(tif, TIFFTAG_IMAGELENGTH, s.height);
  TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, form.oneBit ? 1 : 8);
  TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, s.channels);
  TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, form.photometric);
  TIFFSetField(tif, TIFFTAG_COMPRESSION, form.packBits ? COMPRESSION_PACKBITS : COMPRESSION_NONE);
  TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, form.rowsPerStrip);
  TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  if (form.photometric == PHOTOMETRIC_SEPARATED) TIFFSetField(tif, TIFFTAG_INKSET, INKSET_CMYK);
  for (int r = 0; r < s.height; ++r) {
    Bytes line = s.rows[static_cast<std::size_t>(r)];
    if (form.oneBit) {
      Bytes bits((static_cast<std::size_t>(s.width) + 7) / 8, 0);
      for (int x = 0; x < s.width; ++x) {
        if (s.at(r, x, 0) >= 128) bits[static_cast<std::size_t>(x / 8)] |= 0x80 >> (x % 8);
      }
      line = std::move(bits);
    }
    ASSERT_EQ(TIFFWriteScanline(tif, line.data(), static_cast<std::uint32_t>(r), 0), 1);
  }
  TIFFClose(tif);
}

std::vector<inspect::RasterCommand> printJob(const testsupport::TempDir& dir,
                                             const std::string& zelp, const std::string& kelm,
                                             const std::string& images) {
  const std::string cfg =
      "[ZELP]\nJobTime=\"01/02/2026 03:04:05 GMT\"\n" + zelp +
      "[KELM]\nPrinterResolutionH=600\nPrinterResolutionV=600\nPaperOrient=\"SHORTEDGE\"\n"
      "MarginTop=0\nMarginBottom=0\nMarginLeft=0\nMarginRight=0\n" +
      kelm + images;
  testsupport::writeFile(dir / "job.cfg", cfg);
  EXPECT_EQ(makeZELPData((dir / "job.cfg").c_str()), 0);

  std::vector<inspect::Packet> packets;
  std::vector<inspect::RasterCommand> commands;
  std::string error;
  EXPECT_TRUE(inspect::decodePackets(testsupport::readFile(dir / "job.dat"), &packets, &error))
      << error;
  EXPECT_TRUE(inspect::checkJob(packets, &error)) << error;
  EXPECT_TRUE(inspect::parseRaster(inspect::rasterStream(packets), &commands, &error)) << error;
  return commands;
}

std::vector<inspect::RasterImage> rebuild(const std::vector<inspect::RasterCommand>& commands) {
  std::vector<inspect::RasterImage> images;
  std::string error;
  EXPECT_TRUE(inspect::rebuildRasterImages(commands, &images, &error)) << error;
  return images;
}

std::string outline(const std::vector<inspect::RasterCommand>& commands, std::size_t from,
                    std::size_t to) {
  std::string codes;
  for (std::size_t i = from; i < to && i < commands.size(); ++i) {
    const inspect::RasterCommand& c = commands[i];
    if (c.is("*b", 'V') || c.is("*b", 'W')) continue;
    if (!codes.empty()) codes += ' ';
    codes += c.code();
  }
  return codes;
}

Bytes trimmed(Bytes row, std::uint8_t blank) {
  while (!row.empty() && row.back() == blank) row.pop_back();
  return row;
}

}  // namespace rasterjob
