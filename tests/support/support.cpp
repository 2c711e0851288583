#include "support/support.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "diag/diag.h"

namespace testsupport {

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "zelpgen-test-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) std::abort();
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::vector<std::uint8_t> readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

void writeFile(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
}

void sayFailuresOnStdout() {
  diag::setHook([](diag::Severity severity, const diag::JobError& e) {
    if (severity == diag::Severity::kError) std::printf("failed: %s\n", e.reason.c_str());
  });
}

std::string exactRegex(const std::string& text) {
  std::string out = "^";
  for (char c : text) {
    if (c == '^') {
      out += "\\^";  // a caret cannot stand first in a bracket expression
    } else if (std::string_view(".[]{}()\\*+?$|").find(c) != std::string_view::npos) {
      out += '[';
      out += c == '\\' ? std::string("\\\\") : std::string(1, c);
      out += ']';
    } else {
      out += c;
    }
  }
  return out + "$";
}

std::string hex(const std::vector<std::uint8_t>& bytes) {
  std::string out;
  char buf[4];
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::snprintf(buf, sizeof buf, "%02X", bytes[i]);
    if (i != 0) out += (i % 16 == 0) ? '\n' : ' ';
    out += buf;
  }
  return out;
}

std::vector<std::uint8_t> packet(std::uint16_t op, const std::vector<std::uint8_t>& parameters,
                                 std::uint8_t flags, int length) {
  const auto hi = [](std::size_t v) { return static_cast<std::uint8_t>(v >> 8); };
  const auto lo = [](std::size_t v) { return static_cast<std::uint8_t>(v); };
  const std::size_t n = length < 0 ? parameters.size() : static_cast<std::size_t>(length);
  const std::uint8_t head[] = {0xCD, 0xCA, 0x10, flags, hi(op), lo(op), 0, 1, hi(n), lo(n)};
  std::vector<std::uint8_t> p(20 + parameters.size(), 0);
  std::copy(std::begin(head), std::end(head), p.begin());
  std::copy(parameters.begin(), parameters.end(), p.begin() + 20);
  return p;
}

}  // namespace testsupport
