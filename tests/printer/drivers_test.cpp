// Every value the printer announces becomes a job configuration zelpgen takes: each row of the
// mapping table, in a page's configuration of two bands, passes `zelpgen check` (which fails on
// warnings too).
#include "drivers.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "job.h"
#include "support/support.h"

namespace {

void writeTiff(const std::string& path, bool colour) {
  TIFF* tiff = TIFFOpen(path.c_str(), "w");
  ASSERT_NE(tiff, nullptr);
  const int channels = colour ? 4 : 1;
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 8);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 8);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, colour ? PHOTOMETRIC_SEPARATED : PHOTOMETRIC_MINISBLACK);
  std::vector<unsigned char> row(8 * channels, 0x80);
  for (unsigned y = 0; y < 8; ++y) TIFFWriteScanline(tiff, row.data(), y, 0);
  TIFFClose(tiff);
}

// The lines of a plain A4 job, without those the row under test replaces.
std::vector<zp::ConfigLine> baseLines(const std::vector<zp::ConfigLine>& replaced) {
  std::vector<zp::ConfigLine> all;
  for (const auto& [attribute, value] :
       std::vector<std::pair<std::string, std::string>>{{"media", "iso_a4_210x297mm"},
                                                        {"media", "*named"},
                                                        {"copies", "*"},
                                                        {"media-top-margin", "*"},
                                                        {"media-bottom-margin", "*"},
                                                        {"media-left-margin", "*"},
                                                        {"media-right-margin", "*"}}) {
    for (const zp::ConfigLine& line : zp::mapValue(attribute, value, 1)) {
      bool kept = true;
      for (const zp::ConfigLine& r : replaced) kept = kept && r.key != line.key;
      // A custom size takes no orientation.
      if (line.key == "PaperOrient" && !replaced.empty() && replaced[0].value == "\"CUSTOM\"") {
        kept = false;
      }
      if (kept) all.push_back(line);
    }
  }
  return all;
}

TEST(MappingTable, EveryRowMakesAJobZelpgenTakes) {
  testsupport::TempDir dir;
  writeTiff(dir / "cmyk.tif", true);
  writeTiff(dir / "gray.tif", false);
  std::set<std::pair<std::string, std::string>> seen;
  for (const zp::KeyMapping& row : zp::keyTable()) {
    const std::string attribute = row.attribute, value = row.ippValue;
    if (!seen.insert({attribute, value}).second) continue;
    SCOPED_TRACE(attribute + "=" + value);
    bool colour = true;
    int dpi = 300;
    std::vector<zp::ConfigLine> lines;
    if (attribute == "print-color-mode") {
      colour = value == "color";
    } else if (attribute == "printer-resolution") {
      if (value != "*") dpi = std::atoi(value.c_str());
    } else if (value == "*custom" || attribute.rfind("media-size-", 0) == 0) {
      lines = zp::mapValue("media", "*custom");
      for (const char* size : {"media-size-width", "media-size-length"}) {
        const auto more = zp::mapValue(size, "*", 9144);
        lines.insert(lines.end(), more.begin(), more.end());
      }
    } else if (attribute == "media" && value != "*named") {
      lines = zp::mapValue(attribute, value);
      const auto more = zp::mapValue("media", "*named");
      lines.insert(lines.end(), more.begin(), more.end());
    } else {
      lines = zp::mapValue(attribute, value, 30);
    }
    ASSERT_FALSE(lines.empty() && attribute != "print-color-mode" &&
                 attribute != "printer-resolution");
    std::vector<zp::ConfigLine> all = baseLines(lines);
    all.insert(all.end(), lines.begin(), lines.end());
    const std::string image = colour ? "cmyk.tif" : "gray.tif";
    testsupport::writeFile(dir / "job.cfg", zp::pageConfiguration(all, {{0, image}, {8, image}},
                                                                  colour, dpi, "job.dat"));
    const std::string command = std::string(ZELPGEN_CLI) + " check " + (dir / "job.cfg").string() +
                                " >" + (dir / "out.txt").string() + " 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << std::ifstream(dir / "job.cfg").rdbuf() << "\n"
                                               << std::ifstream(dir / "out.txt").rdbuf();
  }
}

}  // namespace
