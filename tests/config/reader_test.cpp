// Whole configurations read as the driver reads them: line layouts, section order, the key sets
// of the versions and the image entries.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "image/reduction.h"
#include "job_files.h"
#include "text/text.h"

namespace {

using jobfiles::kImage;
using jobfiles::kKELM;
using jobfiles::readJob;
using testsupport::TempDir;

const std::string kTail = kKELM + kImage;

// `text` without its line `line`.
std::string without(std::string text, const std::string& line) {
  text.erase(text.find(line + "\n"), line.size() + 1);
  return text;
}

std::vector<std::string> readLines(const std::string& content) {
  TempDir dir;
  testsupport::writeFile(dir / "f.txt", content);
  std::FILE* f = std::fopen((dir / "f.txt").c_str(), "rb");
  std::vector<std::string> lines;
  char buf[1024];
  while (sReadLine(buf, sizeof buf, f) != nullptr) lines.emplace_back(buf);
  std::fclose(f);
  return lines;
}

TEST(ReadLine, LineEndsAndLongLines) {
  using V = std::vector<std::string>;
  EXPECT_EQ(readLines("a\nb\rc\r\nd"), (V{"a", "b", "c", "", "d"}));
  EXPECT_EQ(readLines(""), V{});
  EXPECT_EQ(readLines("\n"), V{""});
  const std::string exact(1023, 'x');
  EXPECT_EQ(readLines(exact + "\nnext"), (V{exact, "next"}));
  EXPECT_EQ(readLines(std::string(1024, 'y') + "\nnext"), (V{std::string(1023, 'y'), "next"}));
  EXPECT_EQ(readLines(std::string(2000, 'z') + "\r\nnext"),
            (V{std::string(1023, 'z'), "", "next"}));
  EXPECT_EQ(readLines(std::string(1500, 'w')), (V{std::string(1023, 'w')}));
}

struct Accepted {
  std::string text;
  std::function<void(const parameter&)> check;
};

void expectAccepted(const std::vector<Accepted>& cases) {
  for (const Accepted& c : cases) {
    SCOPED_TRACE(c.text);
    TempDir dir;
    c.check(*readJob(dir, c.text));
  }
}

TEST(Reader, AcceptedLayouts) {
  std::string longLine(2002, 'x');
  longLine.front() = '#';
  longLine.back() = '\n';
  expectAccepted(
      {{"[ZELP]\r\nJobName=\"a\"\rJobOwner=\"b\"\n" + kTail,
        [](const parameter& p) {
          EXPECT_STREQ(p.jobName, "a");
          EXPECT_STREQ(p.jobOwner, "b");
        }},
       {"stray line\nKey=1\n# lead\n  # indented\n/* block\nBogus\n*/ rest ignored\n"
        "[ZELP] \t\nJobName=\"x\" # note\n[ZELP] # same section: ignored\n" +
            longLine + "\t JobOwner=\"y\"\t\n" + kTail,
        [](const parameter& p) {
          EXPECT_STREQ(p.jobName, "x");
          EXPECT_STREQ(p.jobOwner, "y");
        }},
       {"[Global]\nOutFilePath=\"\"\nOutFilePath=\"x.dat\"\n" + kTail,
        [](const parameter& p) {
          EXPECT_EQ(std::string(p.outFilePath), std::string(p.cfgDirectory) + "/x.dat");
        }},
       // A key alone keeps the value of the line before it, a header's being its number.
       {"[ZELP]\nJobName=\"a\"\nJobOwner\n[KELM]\nPrinterResolutionH\n" +
            without(without(kKELM, "[KELM]"), "PrinterResolutionH=600") + kImage,
        [](const parameter& p) {
          EXPECT_STREQ(p.jobOwner, "a");
          EXPECT_EQ(p.printerResolutionH, 4);
        }},
       // Text fields keep what fits, terminator included; the job info needs none.
       {"[ZELP]\nJobName=\"" + std::string(50, 'n') + "\"\nVersion=2\nClientJobID_JobInfo=\"" +
            std::string(60, 'i') + "\"\n" + kTail,
        [](const parameter& p) {
          EXPECT_EQ(std::string(p.jobName), std::string(39, 'n'));
          EXPECT_EQ(std::string(p.clientJobInfo, sizeof p.clientJobInfo), std::string(48, 'i'));
        }}});
}

TEST(Reader, DefaultsDependOnSectionOrder) {
  struct Case {
    std::string before;
    int jobImpressions;
    bool defaultOutput;
  };
  const std::vector<Case> cases = {
      {"", 1, true}, {"[Global]\n", -1, true}, {"[ZELP]\n", 1, true}, {"[ZELP_Raw]\n", 1, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.before);
    TempDir dir;
    auto p = readJob(dir, c.before + kTail);
    EXPECT_EQ(p->jobImpressions, c.jobImpressions);
    EXPECT_EQ(std::string(p->outFilePath), c.defaultOutput ? (dir / "job.dat").string() : "");
  }
}

TEST(Reader, EachConfigurationStartsAfresh) {
  TempDir dir;
  readJob(dir, "[Global]\n[ZELP]\nVersion=2\nPlex=1\n" + kTail);
  // Neither the key set, nor the section, nor the sections seen carry over.
  EXPECT_JOB_FAILS("[ZELP]\nPlex=1\n" + kTail, "", "not a key under Version 1");
  EXPECT_EQ(readJob(dir, kTail)->jobImpressions, 1);
  EXPECT_JOB_FAILS("", "[Global]\n[ZELP]\n", "the job configuration is empty");
}

const std::string kResolutions = "GraphicResolutionH=300\nGraphicResolutionV=300\n";

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
