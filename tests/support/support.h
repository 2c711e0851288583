// Helpers shared by the test programs.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace testsupport {

// A fresh directory under the system's temporary directory, removed by the destructor.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

std::vector<std::uint8_t> readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& text);
void writeFile(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes);

// From now on a failed job writes "failed: <reason>" and a newline to stdout.
void sayFailuresOnStdout();

// A POSIX extended regular expression that matches exactly `text`.
std::string exactRegex(const std::string& text);

// Hex dump of bytes, for readable failure messages.
std::string hex(const std::vector<std::uint8_t>& bytes);

// A job-control packet: the 20-byte header (operation, flags and the parameters' length, or
// `length` when it is not -1), then the parameters.
std::vector<std::uint8_t> packet(std::uint16_t op, const std::vector<std::uint8_t>& parameters = {},
                                 std::uint8_t flags = 0, int length = -1);

}  // namespace testsupport

// The statement must end the process with status 1 for `reason`, having written exactly `text`
// to stdout.
#define EXPECT_EXIT_FOR(statement, text, reason)                                                 \
  do {                                                                                           \
    std::fflush(stdout);                                                                         \
    EXPECT_EXIT(                                                                                 \
        {                                                                                        \
          ::dup2(2, 1);                                                                          \
          ::testsupport::sayFailuresOnStdout();                                                  \
          statement;                                                                             \
          std::fflush(stdout);                                                                   \
          std::_Exit(0);                                                                         \
        },                                                                                       \
        ::testing::ExitedWithCode(1),                                                            \
        ::testsupport::exactRegex(std::string(text) + "failed: " + std::string(reason) + "\n")); \
  } while (0)
