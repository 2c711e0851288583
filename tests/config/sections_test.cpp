#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "image/reduction.h"
#include "job_files.h"

namespace {

using jobfiles::kImage;
using jobfiles::kKELM;
using jobfiles::readJob;
using testsupport::TempDir;

const std::string kTail = kKELM + kImage;
const std::string kResolutions = "GraphicResolutionH=300\nGraphicResolutionV=300\n";

struct Case {
  std::string text;
  std::function<void(const parameter&)> check;
};

void expectAccepted(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    TempDir dir;
    c.check(*readJob(dir, c.text));
  }
}

TEST(ZELPKeySets, UnknownKeysAndRepeatsEndTheJob) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      // Set 1 has no ignore entry for these four.
      {"Plex=id_val_plex_simplex\n", ""},
      {"PlexImagePositionAdjustment=1\n", ""},
      {"HeadHeight=1\n", ""},
      {"SetPathMode=1\n", ""},
      {"Version=3\nPlex=1\n", ""},
      {"Version=2\nUnknown=1\n", ""},
      {"Version=2\nClientJobID_JobInfo=\"a\"\nClientJobID_JobInfo=\"b\"\n", ""},
      // Echoed values reach stdout before the process ends.
      {"JobTime=1\nJobTime=\"01/02/2026 03:04:05\"\n", "JobTime=1\n"},
      {"JobTime=zelpgen_id_val_set_job_time_none\nBogus\n",
       "JobTime=zelpgen_id_val_set_job_time_none\n"}};
  for (const auto& [lines, out] : cases) EXPECT_JOB_FAILS("[ZELP]\n" + lines + kTail, out);
}

TEST(ZELPKeySets, StoredAndIgnoredKeys) {
  const std::string uuid1 = "00000000-0000-0000-0000-000000000001";
  const std::string uuid2 = "ffffffff-0000-0000-0000-000000000002";
  expectAccepted({
      // Keys of the other version are not even parsed.
      {"[ZELP]\nJobCopies=not a number\nCOLPassword=x\nClientJobID_UUID=bad\n" + kTail,
       [](const parameter& p) { EXPECT_EQ(p.jobCopies, -1); }},
      {"[ZELP]\nVersion=2\nJobClientID=bad\nInkDryingTime=x\nJobImpressions=5\n" + kTail,
       [](const parameter& p) { EXPECT_EQ(p.jobImpressions, 1); }},
      // Keys before Version are read under the set then in force.
      {"[ZELP]\nJobClientID=\"c\"\nVersion=2\nPlex=id_val_plex_simplex\nClientJobID_UUID=" + uuid1 +
           "\nClientJobID_UUID=" + uuid2 + "\nMediumTypeEx=foo\n" + kTail,
       [](const parameter& p) {
         EXPECT_STREQ(p.jobClientID, "c");
         EXPECT_EQ(p.clientJobUUID[0], 0xff);
         EXPECT_EQ(p.clientJobUUID[15], 2);
         EXPECT_EQ(p.mediumTypeEx, -1);
       }},
      {"[ZELP]\nVersion=2\nClientJobID_JobInfo=\"\"\n" + kTail,
       [](const parameter& p) { EXPECT_EQ(p.clientJobIDSet, 1); }},
  });
}

TEST(KELMSection, ChecksAtTheFirstImage) {
  auto replace = [](std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
  };
  const std::string orient = "PaperOrient=\"SHORTEDGE\"\n";
  const std::vector<std::string> cases = {
      replace(kKELM, "PrinterResolutionV=600\n", ""),
      replace(kKELM, orient, ""),
      replace(kKELM, orient, "PaperName=\"custom\"\n"),
      replace(kKELM, orient, "PaperName=\"CUSTOM\"\nPaperSizeInDeciMilliMeterH=2100\n"),
      replace(kKELM, "MarginLeft=0", "MarginLeft=-1"),
      replace(kKELM, "MarginTop=0", "MarginTop=25mm"),
      kKELM + "Foo=1\n",
      kKELM + "NewPJL=unquoted\n",
      kKELM + "PaperName=\"a\"\nPaperName=\"b\"\n"};
  for (const std::string& kelm : cases) EXPECT_JOB_FAILS(kelm + kImage, "");
}

// An [Image] entry with its colour space, planes and compression, `lines`, and both resolutions.
std::string entry(int colorSpace, int planes, const std::string& compression,
                  const std::string& lines) {
  return "[Image]\nColorSpace=" + std::to_string(colorSpace) +
         "\nNumOfPlanes=" + std::to_string(planes) + "\nCompressionMode=" + compression + "\n" +
         lines + kResolutions;
}

// PixelDepth lines giving `depth` to each plane named in `planes`.
std::string depths(const std::string& planes, int depth) {
  std::istringstream names(planes);
  std::string out, name;
  while (names >> name) out += "PixelDepth" + name + "=" + std::to_string(depth) + "\n";
  return out;
}

TEST(ImageSection, ChecksOfTheEntry) {
  const std::string k = "ImageFileK=\"k.bmp\"\n";
  const std::vector<std::string> cases = {
      "[Image]\n" + k +
          "ColorSpace=4\nCompressionMode=2\nNumOfPlanes=1\nPixelDepthK=8\n"
          "GraphicResolutionH=300\n",
      entry(4, 1, "2", "ImageFilem=\"m.bmp\"\nPixelDepthm=0\nPixelDepthK=8\n"),
      entry(4, 1, "2", "ImageFilem=\"m.bmp\"\nPixelDepthK=8\n"),
      entry(4, 1, "2", k + "PixelDepthC=8\n"), entry(4, 2, "2", k + "PixelDepthK=8\n"),
      entry(5, 6, "3", depths("K C M Y c", 1)), entry(3, 1, "2", depths("K", 8)),
      entry(7, 1, "2", depths("K", 8)), entry(18, 1, "2", depths("R G", 8)),
      entry(4, 1, "2", k + "PixelDepthK=8\nImageFileX=\"k.bmp\"\n"),
      entry(4, 1, "2", k + "PixelDepthK=8\nImageFileC=\"absent.bmp\"\nPixelDepthC=0\n"),
      // A later entry with settings of its own inherits nothing, colour space included.
      kImage + "[Image]\n" + k + "PixelDepthK=8\n"};
  for (const std::string& image : cases) EXPECT_JOB_FAILS(kKELM + image, "");

  // An explicit depth of 0 passes the file check; light magenta needs a positive one.
  TempDir dir;
  auto p = readJob(dir, kKELM + entry(4, 1, "2", k + "PixelDepthK=0\nPixelDepthC=8\n"));
  EXPECT_EQ(p->imageParameterList->pixelDepth[kelm::kPlaneK], 0);
  p = readJob(dir, kKELM + entry(4, 1, "2", "ImageFilem=\"m.bmp\"\nPixelDepthm=8\n"));
  EXPECT_EQ(p->imageParameterList->pixelDepth[kelm::kPlanem], 8);
}

TEST(ImageSection, Modes) {
  struct ModeCase {
    std::string entry;
    int mode;
    bool rgbSense;
  };
  const std::vector<ModeCase> cases = {
      {entry(3, 4, "kelm_id_val_compression_packbits", depths("K C M Y", 1)), 4002, false},
      {entry(5, 6, "3", depths("K C M Y R G", 1)), 5003, false},  // six planes, not all six inks
      {entry(5, 11, "128", depths("K C M Y c m R G B Gy Pgy", 1)), 5128, false},
      {entry(4, 1, "0", depths("K", 2)), -1, false},
      // An explicit depth of 0 counts as given.
      {entry(19, 1, "2", depths("K", 1) + depths("C M Y", 0)), 4002, false},
      {entry(2, 1, "0", depths("K", 8)), 2000, true},
      {entry(2, 1, "7", depths("K", 10)), -1, true},
      {entry(2, 1, "0", depths("Gy", 8)), 2000, false},
      {entry(2, 3, "256", depths("R G B", 8)), 3256, false},
      {entry(18, 1, "128", depths("R G B", 8)), 10128, false}};
  for (const ModeCase& c : cases) {
    SCOPED_TRACE(c.entry);
    TempDir dir;
    auto p = readJob(dir, kKELM + c.entry);
    EXPECT_EQ(p->imageParameterList->mode, c.mode);
    EXPECT_EQ(p->imageParameterList->indexLevel[kelm::kPlaneK],
              c.rgbSense ? kRGBSenseTable : nullptr);
  }
}

TEST(ImageSection, LaterEntriesInheritFromTheFirst) {
  TempDir dir;
  auto p = readJob(dir, kTail + "IndexLevelK=4\n" +
                            "[Image]\nImageFileK=\"k.bmp\"\nStartingPositionX=+10\nYOffsetC=5\n" +
                            "[Image]\nImageFileK=\"k.bmp\"\nColorSpace=4\nNumOfPlanes=1\n"
                            "PixelDepthK=8\nCompressionMode=0\nGraphicResolutionH=300\n"
                            "GraphicResolutionV=600\n");
  const imageParameter& first = *p->imageParameterList;
  const imageParameter& second = *first.next;
  const imageParameter& third = *second.next;
  EXPECT_EQ(first.sameImageConfiguration, -1);
  EXPECT_EQ(second.compressionMode, 2);
  EXPECT_EQ(second.pixelDepth[kelm::kPlaneK], 8);
  EXPECT_EQ(second.indexLevel[kelm::kPlaneK], reductionTable(4));
  EXPECT_EQ(second.graphicResolutionV, 300);
  EXPECT_EQ(second.startingPositionX, 10);  // its own settings stay
  EXPECT_EQ(second.sameImageConfiguration, 1);
  EXPECT_EQ(second.sameGraphicResolutionH, 1);
  EXPECT_EQ(second.sameGraphicResolutionV, 1);
  // Compression and index levels are not compared.
  EXPECT_EQ(third.indexLevel[kelm::kPlaneK], nullptr);
  EXPECT_EQ(third.sameImageConfiguration, 1);
  EXPECT_EQ(third.sameGraphicResolutionH, 1);
  EXPECT_EQ(third.sameGraphicResolutionV, -1);
}

TEST(ImageSection, YOffsetCPlacement) {
  struct Placement {
    std::string lines;
    int yOffsetC;
    int withPosition;
  };
  const std::vector<Placement> cases = {{"YOffsetC=5\nStartingPositionY=3\n", 5, -1},
                                        {"StartingPositionY=3\nYOffsetC=-5\n", -1, -5},
                                        {"StartingPositionX=-1\nYOffsetC=5\n", 5, -1}};
  for (const Placement& c : cases) {
    TempDir dir;
    auto p = readJob(dir, kTail + c.lines);
    EXPECT_EQ(p->imageParameterList->yOffsetC, c.yOffsetC) << c.lines;
    EXPECT_EQ(p->imageParameterList->yOffsetCWithPosition, c.withPosition) << c.lines;
  }
}

}  // namespace
