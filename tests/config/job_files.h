// Writing and reading job configurations in a temporary directory.
#pragma once

#include <memory>
#include <string>

#include "config/config.h"
#include "support/support.h"

namespace jobfiles {

// A [KELM] section that passes its check, and a one-plane [Image] section naming k.bmp.
inline const std::string kKELM =
    "[KELM]\nPrinterResolutionH=600\nPrinterResolutionV=600\nPaperOrient=\"SHORTEDGE\"\n"
    "MarginTop=0\nMarginBottom=0\nMarginLeft=0\nMarginRight=0\n";
inline const std::string kImage =
    "[Image]\nImageFileK=\"k.bmp\"\nColorSpace=kelm_id_val_image_format_row_kcmy_kccmmy_index\n"
    "CompressionMode=2\nNumOfPlanes=1\nPixelDepthK=8\nGraphicResolutionH=300\n"
    "GraphicResolutionV=300\n";

// Writes `text` as job.cfg with dummy image files beside it, and reads it as the driver would.
inline std::unique_ptr<parameter> readJob(const testsupport::TempDir& dir,
                                          const std::string& text) {
  for (const char* name : {"k.bmp", "c.bmp", "m.bmp", "y.bmp", "rgb.tif"})
    testsupport::writeFile(dir / name, std::string("x"));
  testsupport::writeFile(dir / "job.cfg", text);
  setDefaultFileName((dir / "job.dat").c_str());
  auto p = std::make_unique<parameter>();
  copyField(p->cfgDirectory, dir.path().c_str());
  parseParameter((dir / "job.cfg").c_str(), p.get());
  return p;
}

}  // namespace jobfiles

// Reading `text` ends the process with status 1 for `reason`, having printed exactly `out`.
#define EXPECT_JOB_FAILS(text, out, reason)                         \
  do {                                                              \
    SCOPED_TRACE(text);                                             \
    testsupport::TempDir failDir;                                   \
    EXPECT_EXIT_FOR(jobfiles::readJob(failDir, text), out, reason); \
  } while (0)
