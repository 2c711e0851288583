#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

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
  std::function<void(const parameter&, const std::string& dir)> check;
};

TEST(Reader, AcceptedLayouts) {
  std::string longLine(2002, 'x');
  longLine.front() = '#';
  longLine.back() = '\n';
  const std::vector<Accepted> cases = {
      {"[ZELP]\r\nJobName=\"a\"\rJobOwner=\"b\"\n" + kTail,
       [](const parameter& p, const std::string&) {
         EXPECT_STREQ(p.jobName, "a");
         EXPECT_STREQ(p.jobOwner, "b");
       }},
      {"stray line\nKey=1\n# lead\n  # indented\n/* block\nBogus\n*/ rest ignored\n"
       "[ZELP] \t\nJobName=\"x\" # note\n[ZELP] # same section: ignored\n" +
           longLine + "\t JobOwner=\"y\"\t\n" + kTail,
       [](const parameter& p, const std::string&) {
         EXPECT_STREQ(p.jobName, "x");
         EXPECT_STREQ(p.jobOwner, "y");
       }},
      {"[Global]\nOutFilePath=\"\"\nOutFilePath=\"x.dat\"\n" + kTail,
       [](const parameter& p, const std::string& dir) {
         EXPECT_EQ(std::string(p.outFilePath), dir + "/x.dat");
       }},
      // A key alone keeps the value of the line before it, a header's being its number.
      {"[ZELP]\nJobName=\"a\"\nJobOwner\n[KELM]\nPrinterResolutionH\n" +
           without(without(kKELM, "[KELM]"), "PrinterResolutionH=600") + kImage,
       [](const parameter& p, const std::string&) {
         EXPECT_STREQ(p.jobOwner, "a");
         EXPECT_EQ(p.printerResolutionH, 4);
       }},
      // Text fields keep what fits, terminator included; the job info needs none.
      {"[ZELP]\nJobName=\"" + std::string(50, 'n') + "\"\nVersion=2\nClientJobID_JobInfo=\"" +
           std::string(60, 'i') + "\"\n" + kTail,
       [](const parameter& p, const std::string&) {
         EXPECT_EQ(std::string(p.jobName), std::string(39, 'n'));
         EXPECT_EQ(std::string(p.clientJobInfo, sizeof p.clientJobInfo), std::string(48, 'i'));
       }}};
  for (const Accepted& c : cases) {
    SCOPED_TRACE(c.text);
    TempDir dir;
    c.check(*readJob(dir, c.text), dir.path().string());
  }
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
  EXPECT_JOB_FAILS("[ZELP]\nPlex=1\n" + kTail, "");
  EXPECT_EQ(readJob(dir, kTail)->jobImpressions, 1);
  EXPECT_JOB_FAILS("", "[Global]\n[ZELP]\n");
}

}  // namespace
