// Runs every job under tests/golden in a child process, from a copy of its folder, and holds
// its exit status, output and the files it writes against the case's expected/ folder.
// With ZELPGEN_UPDATE_GOLDEN=1 the expectations are written instead, for review by git diff.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "support/support.h"
#include "zelpgen/zelpgen.h"

namespace {

namespace fs = std::filesystem;
using testsupport::readFile;

std::vector<std::string> caseNames() {
  std::vector<std::string> names;
  for (const auto& e : fs::directory_iterator(ZELPGEN_GOLDEN_DIR)) {
    if (e.is_directory()) names.push_back(e.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string text(const fs::path& path) {
  const std::vector<std::uint8_t> b = readFile(path);
  return {b.begin(), b.end()};
}

// Sixteen bytes a line with their text; a line repeating the one before becomes "*".
std::string listing(const std::vector<std::uint8_t>& bytes) {
  std::string out, previous;
  bool starred = false;
  for (std::size_t at = 0; at < bytes.size(); at += 16) {
    const std::size_t n = std::min<std::size_t>(16, bytes.size() - at);
    std::string hex, shown;
    for (std::size_t i = 0; i < 16; ++i) {
      char cell[4] = "   ";
      if (i < n) std::snprintf(cell, sizeof cell, "%02x ", bytes[at + i]);
      hex += cell;
      if (i == 7) hex += ' ';
      if (i < n) shown += bytes[at + i] >= 0x20 && bytes[at + i] < 0x7F ? char(bytes[at + i]) : '.';
    }
    const std::string line = hex + "|" + shown + "|";
    if (line == previous && at + 16 < bytes.size()) {
      if (!starred) out += "*\n";
      starred = true;
      continue;
    }
    char offset[24];
    std::snprintf(offset, sizeof offset, "%08zx  ", at);
    out += offset + line + "\n";
    previous = line;
    starred = false;
  }
  char end[24];
  std::snprintf(end, sizeof end, "%08zx\n", bytes.size());
  return out + end;
}

// The case's outcome as the files of its expected/ folder would hold it.
std::vector<std::pair<std::string, std::string>> runCase(const fs::path& source,
                                                         const testsupport::TempDir& dir) {
  const fs::path work = dir / "job";
  fs::create_directory(work);
  std::set<std::string> given;
  for (const auto& e : fs::directory_iterator(source)) {
    if (e.path().filename() == "expected") continue;
    fs::copy(e.path(), work / e.path().filename(), fs::copy_options::recursive);
    given.insert(e.path().filename().string());
  }
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    if (::chdir(work.c_str()) != 0 || !std::freopen((dir / "stdout").c_str(), "w", stdout) ||
        !std::freopen((dir / "stderr").c_str(), "w", stderr))
      std::_Exit(99);
    const int status = makeZELPData("job.cfg");
    std::fflush(nullptr);
    std::_Exit(status);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  std::vector<std::pair<std::string, std::string>> outcome;
  const std::string code = WIFEXITED(status) ? std::to_string(WEXITSTATUS(status))
                                             : "signal " + std::to_string(WTERMSIG(status));
  outcome.emplace_back("status", code + "\n");
  // Where the job names its folder, the listing shows the case's own name.
  const auto placed = [&](std::string s) {
    for (std::size_t at; (at = s.find(work.string())) != std::string::npos;)
      s.replace(at, work.string().size(), "$CASE");
    return s;
  };
  for (const char* stream : {"stdout", "stderr"}) {
    const std::string s = placed(text(dir / stream));
    if (!s.empty()) outcome.emplace_back(stream, s);
  }
  std::vector<std::string> written;
  for (const auto& e : fs::recursive_directory_iterator(work)) {
    const std::string name = fs::relative(e.path(), work).string();
    if (e.is_regular_file() && !given.count(name.substr(0, name.find('/'))))
      written.push_back(name);
  }
  std::sort(written.begin(), written.end());
  for (const std::string& name : written) {
    std::string flat = name;
    std::replace(flat.begin(), flat.end(), '/', '_');
    outcome.emplace_back(flat + ".hex", listing(readFile(work / name)));
  }
  return outcome;
}

class Golden : public testing::TestWithParam<std::string> {};

TEST_P(Golden, JobGivesItsExpectedOutcome) {
  const fs::path source = fs::path(ZELPGEN_GOLDEN_DIR) / GetParam();
  const fs::path expected = source / "expected";
  testsupport::TempDir dir;
  const auto outcome = runCase(source, dir);
  if (const char* update = std::getenv("ZELPGEN_UPDATE_GOLDEN"); update && *update == '1') {
    fs::remove_all(expected);
    fs::create_directory(expected);
    for (const auto& [name, content] : outcome) testsupport::writeFile(expected / name, content);
    return;
  }
  std::set<std::string> names;
  for (const auto& [name, content] : outcome) {
    names.insert(name);
    EXPECT_TRUE(fs::exists(expected / name)) << name << " is not expected:\n" << content;
    if (fs::exists(expected / name)) {
      EXPECT_EQ(content, text(expected / name)) << name;
    }
  }
  if (fs::exists(expected)) {
    for (const auto& e : fs::directory_iterator(expected)) {
      EXPECT_TRUE(names.count(e.path().filename().string())) << e.path() << " was not produced";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, Golden, testing::ValuesIn(caseNames()),
                         [](const testing::TestParamInfo<std::string>& info) {
                           std::string name = info.param;
                           for (char& c : name) {
                             if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                           }
                           return name;
                         });

}  // namespace
