// Helpers of the printer tests:
//   printer_check split FILE PREFIX      the print files of a device's file, as PREFIX-N.dat
//   printer_check compare RENDER SOURCE  whether a rendered page shows the source picture
#include <png.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

// A device's file holds one print file after another: each ends with its close-job packet.
int split(const char* path, const std::string& prefix) {
  std::ifstream in(path, std::ios::binary);
  const std::vector<unsigned char> bytes((std::istreambuf_iterator<char>(in)),
                                         std::istreambuf_iterator<char>());
  constexpr std::size_t kHeader = 20;
  constexpr unsigned kCloseJob = 19;
  std::size_t at = 0, start = 0;
  int files = 0;
  while (at < bytes.size()) {
    if (bytes.size() - at < kHeader || bytes[at] != 0xCD || bytes[at + 1] != 0xCA ||
        bytes[at + 2] != 0x10) {
      std::fprintf(stderr, "%s: no packet at offset %zu\n", path, at);
      return 1;
    }
    const unsigned operation = bytes[at + 4] << 8 | bytes[at + 5];
    const std::size_t length = bytes[at + 8] << 8 | bytes[at + 9];
    if (bytes.size() - at - kHeader < length) {
      std::fprintf(stderr, "%s: packet at offset %zu runs past the end\n", path, at);
      return 1;
    }
    at += kHeader + length;
    if (operation == kCloseJob) {
      std::ofstream out(prefix + "-" + std::to_string(++files) + ".dat", std::ios::binary);
      out.write(reinterpret_cast<const char*>(bytes.data() + start),
                static_cast<std::streamsize>(at - start));
      start = at;
    }
  }
  if (start != bytes.size() || files == 0) {
    std::fprintf(stderr, "%s: ends inside a print file\n", path);
    return 1;
  }
  std::printf("%d\n", files);
  return 0;
}

struct Picture {
  unsigned width = 0, height = 0;
  std::vector<std::uint8_t> rgb;
  const std::uint8_t* at(unsigned x, unsigned y) const {
    return rgb.data() + (std::size_t{y} * width + x) * 3;
  }
};

bool readPng(const char* path, Picture* picture) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path)) {
    std::fprintf(stderr, "%s: %s\n", path, image.message);
    return false;
  }
  image.format = PNG_FORMAT_RGB;
  picture->width = image.width;
  picture->height = image.height;
  picture->rgb.resize(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, picture->rgb.data(), 0, nullptr)) {
    std::fprintf(stderr, "%s: %s\n", path, image.message);
    return false;
  }
  return true;
}

// The box around everything that is not white: where the page's picture is.
struct Box {
  unsigned x0, y0, x1, y1;
};
Box inked(const Picture& p) {
  Box box{p.width, p.height, 0, 0};
  for (unsigned y = 0; y < p.height; ++y) {
    for (unsigned x = 0; x < p.width; ++x) {
      const std::uint8_t* c = p.at(x, y);
      if (c[0] + c[1] + c[2] < 3 * 240) {
        box.x0 = std::min(box.x0, x);
        box.y0 = std::min(box.y0, y);
        box.x1 = std::max(box.x1, x + 1);
        box.y1 = std::max(box.y1, y + 1);
      }
    }
  }
  return box;
}

// The box's mean colours on a grid of `cols` x `rows` cells.
std::vector<double> cells(const Picture& p, const Box& box, unsigned cols, unsigned rows) {
  std::vector<double> out(std::size_t{cols} * rows * 3, 0.0);
  for (unsigned cy = 0; cy < rows; ++cy) {
    for (unsigned cx = 0; cx < cols; ++cx) {
      const unsigned xa = box.x0 + (box.x1 - box.x0) * cx / cols;
      const unsigned xb = std::max(xa + 1, box.x0 + (box.x1 - box.x0) * (cx + 1) / cols);
      const unsigned ya = box.y0 + (box.y1 - box.y0) * cy / rows;
      const unsigned yb = std::max(ya + 1, box.y0 + (box.y1 - box.y0) * (cy + 1) / rows);
      double sum[3] = {0, 0, 0};
      for (unsigned y = ya; y < yb; ++y) {
        for (unsigned x = xa; x < xb; ++x) {
          for (int c = 0; c < 3; ++c) sum[c] += p.at(x, y)[c];
        }
      }
      const double n = double(xb - xa) * (yb - ya);
      for (int c = 0; c < 3; ++c) out[(std::size_t{cy} * cols + cx) * 3 + c] = sum[c] / n;
    }
  }
  return out;
}

// The picture matches when the inked boxes have the same shape (within 3%) and, on a 24-cell
// grid, the colours differ by at most 12 on average and by at most 80 in 90% of the cells (inks
// mixed back to RGB do not give the exact source colours: dark mixes come out lighter). With
// `place` >= 0 both pictures have the same pixels an inch and the inked boxes must also lie at
// the same place within `place` pixels: the print file's rows start at the paper's left edge, and
// the render of a page is only as wide as its widest row, so its left and top edges are the
// paper's.
int compare(const char* renderPath, const char* sourcePath, int place) {
  Picture render, source;
  if (!readPng(renderPath, &render) || !readPng(sourcePath, &source)) return 1;
  const Box r = inked(render), s = inked(source);
  if (r.x1 <= r.x0 || s.x1 <= s.x0) {
    std::fprintf(stderr, "compare: %s is blank\n", r.x1 <= r.x0 ? renderPath : sourcePath);
    return 1;
  }
  const double shapeR = double(r.y1 - r.y0) / (r.x1 - r.x0);
  const double shapeS = double(s.y1 - s.y0) / (s.x1 - s.x0);
  const unsigned cols = 24;
  const unsigned rows = std::max(1u, static_cast<unsigned>(cols * shapeS + 0.5));
  const std::vector<double> a = cells(render, r, cols, rows), b = cells(source, s, cols, rows);
  double total = 0;
  unsigned close = 0;
  for (std::size_t i = 0; i < a.size(); i += 3) {
    double worst = 0;
    for (int c = 0; c < 3; ++c) {
      const double d = std::abs(a[i + c] - b[i + c]);
      total += d;
      worst = std::max(worst, d);
    }
    if (worst <= 80) ++close;
  }
  const double mean = total / double(a.size());
  const double share = double(close) * 3 / double(a.size());
  const auto off = [](unsigned a, unsigned b) { return std::abs(int(a) - int(b)); };
  const int moved = std::max({off(r.x0, s.x0), off(r.y0, s.y0), off(r.x1, s.x1), off(r.y1, s.y1)});
  const bool ok = std::abs(shapeR / shapeS - 1) <= 0.03 && mean <= 12 && share >= 0.9 &&
                  (place < 0 || moved <= place);
  std::printf(
      "shape %.3f/%.3f, mean difference %.1f, cells within 80: %.0f%%, inked x %u-%u y %u-%u "
      "(source x %u-%u y %u-%u): %s\n",
      shapeR, shapeS, mean, share * 100, r.x0, r.x1, r.y0, r.y1, s.x0, s.x1, s.y0, s.y1,
      ok ? "match" : "DIFFERENT");
  return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "split") == 0) return split(argv[2], argv[3]);
  if ((argc == 4 || argc == 5) && std::strcmp(argv[1], "compare") == 0)
    return compare(argv[2], argv[3], argc == 5 ? std::atoi(argv[4]) : -1);
  std::fputs("usage: printer_check split FILE PREFIX | compare RENDER.png SOURCE.png [PIXELS]\n",
             stderr);
  return 2;
}
