// A PDF rendered by Ghostscript (-dSAFER, in a child with limits) at dpi, page by page, rows
// streamed through callbacks (never a whole page in memory).
#pragma once

#include <cstdint>
#include <string>

#include "child.h"

namespace zp {

// channels 3 = sRGB, 1 = gray; 8 bits a sample.
struct PdfPage {
  unsigned width;
  unsigned height;
  unsigned channels;
};

struct PdfSink {
  virtual ~PdfSink() = default;
  virtual bool beginPage(const PdfPage& page) = 0;  // false stops the job
  virtual bool writeRow(const std::uint8_t* row) = 0;
  virtual bool endPage() = 0;
};

struct PdfOptions {
  std::string ghostscript = "gs";
  unsigned dpi = 600;
  bool gray = false;
  ChildLimits limits;
  std::string workdir;
};

// Empty string when every page went through; else the reason, one line.
std::string renderPdf(const std::string& pdfPath, const PdfOptions& options, PdfSink& sink);

}  // namespace zp
