// The PDF path of zelpgen-printer without the server: Ghostscript's pages streamed through
// renderPdf and converted to ink row by row, as a job does before its band images.
//   printer_bench FILE.pdf [DPI] [gray] [ICC-PROFILE]
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "colour.h"
#include "pdf.h"

namespace {

using Clock = std::chrono::steady_clock;

struct InkSink : zp::PdfSink {
  const zp::InkConverter& converter;
  std::vector<std::uint8_t> ink;
  zp::PdfPage page{};
  std::uint64_t pixels = 0, checksum = 0;
  Clock::duration converting{};
  explicit InkSink(const zp::InkConverter& c) : converter(c) {}
  bool beginPage(const zp::PdfPage& p) override {
    page = p;
    ink.assign(std::size_t(p.width) * (p.channels == 3 ? 4 : 1), 0);
    return true;
  }
  bool writeRow(const std::uint8_t* row) override {
    Clock::time_point start = Clock::now();
    if (page.channels == 3)
      converter.toCmyk(row, ink.data(), page.width);
    else
      converter.grayToK(row, ink.data(), page.width);
    converting += Clock::now() - start;
    checksum += ink[pixels % ink.size()];
    pixels += page.width;
    return true;
  }
  bool endPage() override {
    std::printf("page %ux%u, %u channel(s)\n", page.width, page.height, page.channels);
    return true;
  }
};

double seconds(Clock::duration d) {
  return std::chrono::duration<double>(d).count();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: printer_bench FILE.pdf [DPI] [gray] [ICC-PROFILE]\n");
    return 2;
  }
  zp::PdfOptions options;
  options.dpi = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 600;
  options.gray = argc > 3 && std::string(argv[3]) == "gray";
  std::string error;
  auto converter = zp::InkConverter::create(argc > 4 ? argv[4] : "", &error);
  if (!converter) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  InkSink sink(*converter);
  Clock::time_point start = Clock::now();
  std::string failed = zp::renderPdf(argv[1], options, sink);
  double total = seconds(Clock::now() - start);
  if (!failed.empty()) {
    std::fprintf(stderr, "%s\n", failed.c_str());
    return 1;
  }
  rusage self{}, children{};
  getrusage(RUSAGE_SELF, &self);
  getrusage(RUSAGE_CHILDREN, &children);
  std::printf("renderPdf and ink: %.2f s wall, of which %.2f s converting %.0f Mpx (%llu)\n", total,
              seconds(sink.converting), double(sink.pixels) / 1e6,
              static_cast<unsigned long long>(sink.checksum));
  std::printf("peak RSS: this process %ld MB, Ghostscript %ld MB\n", self.ru_maxrss / 1024,
              children.ru_maxrss / 1024);
  return 0;
}
