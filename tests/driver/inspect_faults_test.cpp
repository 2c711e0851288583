// A damaged print file is reported at the fault's offset, however it is damaged.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>

#include "inspect/job.h"
#include "raster_job.h"
#include "support/support.h"

namespace {

using rasterjob::Bytes;

// Offset of `text` (ESC written as \x1B) in the file.
std::size_t find(const Bytes& file, const std::string& text) {
  const Bytes bytes(text.begin(), text.end());
  const auto at = std::search(file.begin(), file.end(), bytes.begin(), bytes.end());
  EXPECT_NE(at, file.end()) << text;
  return static_cast<std::size_t>(at - file.begin());
}

TEST(InspectFaults, NamesTheOffsetOfTheDamage) {
  testsupport::TempDir dir;
  rasterjob::writeBmp((dir / "k.bmp").string(), rasterjob::makeSource(5, 3, 1, 255, 1));
  rasterjob::printJob(dir, "Version=2\nSetJobOctets=1\n", "",
                      "[Image]\nImageFileK=\"k.bmp\"\nColorSpace=2\nCompressionMode=2\n"
                      "NumOfPlanes=1\nPixelDepthK=8\nGraphicResolutionH=300\n"
                      "GraphicResolutionV=300\n");
  const Bytes good = testsupport::readFile(dir / "job.dat");
  const std::size_t data = find(good, "\xCD\xCA\x10\x02");
  const struct {
    const char* what;
    std::function<std::size_t(Bytes&)> damage;  // returns the offset to report
    const char* message;
  } cases[] = {
      {"cut short", [](Bytes& f) { f.resize(f.size() - 1); return f.size() - 20; },
       "truncated parameters"},
      {"cut inside a header", [](Bytes& f) { f.resize(f.size() - 30); return f.size() - 17; },
       "truncated packet header"},
      {"packet longer than said",
       [&](Bytes& f) { ++f[data + 9]; return data + 21 + (f[data + 8] << 8 | f[data + 9]) - 1; },
       "packet does not start with CD CA 10"},
      {"bad parameter character",
       [](Bytes& f) { const auto at = find(f, "\x1B*r1A"); f[at + 4] = 0x01; return at; },
       "bad parameter character (raster byte"},
      {"unknown compression",
       [](Bytes& f) { const auto at = find(f, "\x1B*b2M"); f[at + 3] = '9'; return at; },
       "unknown compression 9 (raster byte"},
      {"job octets not the size",
       [](Bytes& f) {
         const auto at = find(f, std::string("\x00\x12\x00\x01\x00\x06\x00", 7)) - 4;
         ++f[at + 25];
         return at;
       },
       "job octets"},
  };
  for (const auto& c : cases) {
    Bytes file = good;
    const std::size_t offset = c.damage(file);
    testsupport::writeFile(dir / "bad.dat", file);
    const inspect::JobSummary s = inspect::summarize((dir / "bad.dat").string());
    EXPECT_FALSE(s.ok) << c.what << ": " << s.fault.message;
    EXPECT_EQ(s.fault.offset, offset) << c.what << ": " << s.fault.message;
    EXPECT_EQ(s.fault.message.rfind(c.message, 0), 0u) << c.what << ": " << s.fault.message;
  }
}

}  // namespace
