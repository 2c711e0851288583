#include "support/support.h"

#include <fstream>
#include <iterator>

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

}  // namespace testsupport
