#include "pdf.h"

#include <gtest/gtest.h>

#include "support/support.h"

namespace {

struct Page {
  zp::PdfPage size;
  std::vector<std::uint8_t> pixels;
};

struct CollectingSink : zp::PdfSink {
  std::vector<Page> pages;
  bool beginPage(const zp::PdfPage& page) override {
    pages.push_back({page, {}});
    return true;
  }
  bool writeRow(const std::uint8_t* row) override {
    Page& page = pages.back();
    page.pixels.insert(page.pixels.end(), row, row + page.size.width * page.size.channels);
    return true;
  }
  bool endPage() override { return true; }
  const std::uint8_t* at(std::size_t page, unsigned x, unsigned y) const {
    const Page& p = pages.at(page);
    return &p.pixels.at((std::size_t(y) * p.size.width + x) * p.size.channels);
  }
};

class RenderPdf : public ::testing::Test {
 protected:
  zp::PdfOptions options(unsigned dpi, bool gray = false) const {
    zp::PdfOptions o;
    o.ghostscript = ZELPGEN_TEST_GS;
    o.dpi = dpi;
    o.gray = gray;
    o.limits.wallSeconds = 60;
    o.workdir = dir.path().string();
    return o;
  }
  // A PDF made by Ghostscript from a PostScript program.
  std::string pdfFrom(const std::string& name, const std::string& postscript) {
    testsupport::writeFile(dir / (name + ".ps"), postscript);
    std::string pdf = (dir / (name + ".pdf")).string();
    zp::ChildOutcome out = zp::runChild({ZELPGEN_TEST_GS, "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE",
                                         "-sDEVICE=pdfwrite", "-sOutputFile=" + pdf, name + ".ps"},
                                        dir.path().string(), zp::ChildLimits());
    EXPECT_TRUE(out.ok) << out.reason;
    return pdf;
  }
  testsupport::TempDir dir;
};

TEST_F(RenderPdf, PagesKeepTheirSizesAndColours) {
  std::string pdf = pdfFrom("two", R"(%!PS
<< /PageSize [72 36] >> setpagedevice 1 0 0 setrgbcolor 36 0 36 36 rectfill showpage
<< /PageSize [36 108] >> setpagedevice 0 0 1 setrgbcolor 0 0 36 54 rectfill showpage
)");
  for (bool gray : {false, true}) {
    SCOPED_TRACE(gray ? "gray" : "rgb");
    CollectingSink sink;
    ASSERT_EQ(zp::renderPdf(pdf, options(144, gray), sink), "");
    ASSERT_EQ(sink.pages.size(), 2u);
    const unsigned channels = gray ? 1 : 3;
    EXPECT_EQ(sink.pages[0].size.width, 144u);
    EXPECT_EQ(sink.pages[0].size.height, 72u);
    EXPECT_EQ(sink.pages[1].size.width, 72u);
    EXPECT_EQ(sink.pages[1].size.height, 216u);
    EXPECT_EQ(sink.pages[0].size.channels, channels);
    // Rows run from the top: page 1 is white left, red right; page 2 blue at the bottom.
    const std::vector<std::tuple<int, unsigned, unsigned, std::vector<std::uint8_t>>> probes = {
        {0, 10, 36, {255, 255, 255}},
        {0, 130, 36, {255, 0, 0}},
        {1, 36, 200, {0, 0, 255}},
        {1, 36, 20, {255, 255, 255}}};
    for (const auto& [page, x, y, rgb] : probes) {
      const std::uint8_t* px = sink.at(page, x, y);
      if (gray)
        EXPECT_EQ(px[0] == 255, rgb == std::vector<std::uint8_t>({255, 255, 255}));
      else
        EXPECT_EQ(std::vector<std::uint8_t>(px, px + 3), rgb) << page << " " << x << " " << y;
    }
  }
}

TEST_F(RenderPdf, HostileOrBrokenDocumentsFailTheirJob) {
  // PostScript that would show whether it could read the file, once named .pdf and once
  // hidden in a PDF as a PostScript XObject.
  const std::string readsPasswd = "(/etc/passwd) (r) file pop 0 0 72 72 rectfill";
  testsupport::writeFile(dir / "ps.pdf", "%!PS\n" + readsPasswd + " showpage\n");
  testsupport::writeFile(dir / "xobject.pdf",
                         R"(%PDF-1.4
1 0 obj << /Type /Catalog /Pages 2 0 R >> endobj
2 0 obj << /Type /Pages /Kids [3 0 R] /Count 1 >> endobj
3 0 obj << /Type /Page /Parent 2 0 R /MediaBox [0 0 72 72] /Resources << /XObject << /X 5 0 R >> >> /Contents 4 0 R >> endobj
4 0 obj << /Length 6 >> stream
/X Do
endstream endobj
5 0 obj << /Type /XObject /Subtype /PS /Length )" +
                             std::to_string(readsPasswd.size() + 1) + " >> stream\n" + readsPasswd +
                             "\nendstream endobj\ntrailer << /Root 1 0 R >>\n");
  testsupport::writeFile(dir / "garbage.pdf", std::string("%PDF-1.7\nnothing here\n"));
  // 200 inches square at 10 units an inch is far beyond any roll.
  testsupport::writeFile(dir / "huge.pdf", R"(%PDF-1.6
1 0 obj << /Type /Catalog /Pages 2 0 R >> endobj
2 0 obj << /Type /Pages /Kids [3 0 R] /Count 1 >> endobj
3 0 obj << /Type /Page /Parent 2 0 R /MediaBox [0 0 14400 14400] /UserUnit 10 >> endobj
trailer << /Root 1 0 R >>
)");
  std::string slow = pdfFrom("slow", "<< /PageSize [14400 14400] >> setpagedevice showpage\n");

  zp::PdfOptions tight = options(600);
  tight.limits.wallSeconds = 2;
  tight.limits.fileBytes = 0;
  zp::PdfOptions starved = options(72);
  starved.limits.memoryBytes = 16 << 20;
  const std::vector<std::tuple<std::string, zp::PdfOptions, std::string>> cases = {
      {"ps.pdf", options(72), "the document is not a PDF file"},
      {"missing.pdf", options(72), "cannot read the document: No such file or directory"},
      {"garbage.pdf", options(72), "cannot read the PDF: no pages found"},
      {"huge.pdf", options(600), "page 1: 1200000 x 1200000 pixels is too large"},
      {"slow.pdf", tight, "gs took longer than the time limit of 2 s"},
      {"two.pdf", starved, "memory"},
      {"xobject.pdf", options(72), ""},
  };
  pdfFrom("two", "0 0 10 10 rectfill showpage\n");
  for (const auto& [file, opts, reason] : cases) {
    SCOPED_TRACE(file);
    CollectingSink sink;
    std::string got = zp::renderPdf((dir / file).string(), opts, sink);
    EXPECT_NE(got.find(reason), std::string::npos) << got;
    EXPECT_EQ(got.find('\n'), std::string::npos);
    if (reason.empty()) {
      // Rendered, then the read must have failed: no black.
      ASSERT_EQ(sink.pages.size(), 1u) << got;
      for (std::uint8_t v : sink.pages[0].pixels) ASSERT_EQ(v, 255);
    } else if (file != "slow.pdf") {
      EXPECT_TRUE(sink.pages.empty());
    }
  }
}

}  // namespace
