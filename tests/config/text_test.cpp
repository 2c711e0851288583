#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "config/config.h"
#include "image/reduction.h"
#include "support/support.h"

namespace {

std::vector<std::string> readLines(const std::string& content) {
  testsupport::TempDir dir;
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

TEST(TrimSpaces, BlanksTabsAndLineEnds) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"  \tkey = v \t\r\n", "key = v"}, {"", ""}, {" \t ", ""}, {"\r a", "\r a"}, {"x", "x"}};
  for (const auto& [in, out] : cases) {
    std::string s = in;
    EXPECT_EQ(trimSpaces(s.data()), s.data()) << in;
    EXPECT_EQ(std::string(s.c_str()), out) << in;
  }
}

TEST(ReductionTable, LevelsAndUnknownCounts) {
  for (int levels : {3, 4, 5, 6, 16}) {
    const unsigned char* t = reductionTable(levels);
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t[0], 0);
    EXPECT_EQ(t[255], levels - 1);
    EXPECT_EQ(t[128], 128 * levels / 256);
  }
  EXPECT_EQ(reductionTable(0), nullptr);
  EXPECT_EQ(reductionTable(8), nullptr);
}

}  // namespace
