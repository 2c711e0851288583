#include "config/path.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/support.h"

namespace {

struct PathCase {
  std::string in;
  std::string out;
  int result;
};

TEST(PathConversion, ToSlash) {
  std::string manyLevelsUp;
  for (int i = 0; i < 199; ++i) manyLevelsUp += "../";
  const std::vector<PathCase> cases = {
      {"", "", 0},
      {"dir/a.tif", "dir/a.tif", 0},
      {"dir\\sub\\a.tif", "dir/sub/a.tif", 1},
      {"Disk:dir:a.tif", "Disk/dir/a.tif", 1},
      {":x", "x", 1},
      {"::x", "../x", 1},
      {"::a:b\\c", "../a/b/c", 1},
      {"C:/x", "C//x", 1},
      // Going up grows the text: it is cut to the field.
      {std::string(200, ':') + "x", manyLevelsUp.substr(0, kPathSize - 1), 1}};
  for (const PathCase& c : cases) {
    char path[kPathSize] = {};
    copyField(path, c.in.c_str());
    EXPECT_EQ(toSlash(path), c.result) << c.in;
    EXPECT_EQ(std::string(path), c.out) << c.in;
  }
  char drive[kPathSize] = "C:\\img\\k.tif";
  EXPECT_EXIT_FOR(toSlash(drive), "", "a path with a drive letter cannot be used: C:\\img\\k.tif");
}

TEST(PathConversion, ToFullPath) {
  struct FullCase {
    std::string directory;
    PathCase path;
  };
  const std::string longDir = "/" + std::string(250, 'd');
  const std::vector<FullCase> cases = {
      {"/jobs/a", {"../img/k.tif", "/jobs/img/k.tif", 1}},
      {"/jobs/a", {"k.tif", "/jobs/a/k.tif", 1}},
      {"/jobs/a", {"./../k.tif", "/jobs/k.tif", 1}},
      {"/jobs/a", {"../../../k.tif", "/k.tif", 1}},
      {"/jobs/a", {"a/../k.tif", "/jobs/a/a/../k.tif", 1}},
      {"/jobs/a", {"/abs/k.tif", "/abs/k.tif", 0}},
      {"/jobs/a", {"", "", 0}},
      {".", {"k.tif", "./k.tif", 1}},
      {".", {"../k.tif", "./k.tif", 1}},
      {longDir, {"k.tif", (longDir + "/k.tif").substr(0, kPathSize - 1), 1}}};
  for (const FullCase& c : cases) {
    parameter p;
    copyField(p.cfgDirectory, c.directory.c_str());
    char path[kPathSize] = {};
    copyField(path, c.path.in.c_str());
    EXPECT_EQ(toFullPath(path, &p), c.path.result) << c.path.in;
    EXPECT_EQ(std::string(path), c.path.out) << c.path.in;
  }
}

}  // namespace
