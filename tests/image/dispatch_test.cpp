// Reader choice by extension, handles of unknown kind, null handles and band buffers.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "diag/diag.h"
#include "image/lxbmp.h"
#include "support/image_support.h"
#include "support/support.h"

namespace {

using imagetest::Bytes;

TEST(Dispatch, ChoosesTheReaderByExtension) {
  const Bytes tiff = imagetest::grayFile({.big = true, .width = 3, .height = 2});
  const Bytes bmp = imagetest::bmpFile(3, 2, 8, {{1, 2, 3, 0}, {4, 5, 6, 0}});
  const struct {
    const char* name;
    std::uint32_t kind;
    std::uint32_t width;
  } cases[] = {
      {"a.TIF", kLXKindTIFF, 3},      {"a.tif", kLXKindTIFF, 3},       {"a.tiff", kLXKindTIFF, 3},
      {"a.TIFFX", kLXKindTIFF, 3},    {"x.y.tiffany", kLXKindTIFF, 3}, {"a.bmp", kLXKindBMP, 3},
      {"a.BMP", kLXKindBMP, 3},       {"a.png", 0x504E4700, 0},        {"noext", 0, 0},
      {"d.tif/image", 0x5449462F, 0},
  };
  testsupport::TempDir dir;
  std::filesystem::create_directory(dir / "d.tif");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string path = (dir / c.name).string();
    testsupport::writeFile(path, c.kind == kLXKindBMP ? bmp : tiff);
    auto handle = LXBMP_New(path.c_str());
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(handle->kind, c.kind);
    EXPECT_EQ(LXBMP_GetWidth(handle.get()), c.width);
    LXRect box{-1, -1, -1, -1};
    LXBMP_GetImageBox(handle.get(), &box);
    EXPECT_EQ(box.bottom, c.width ? 2 : -1);
    auto band = imagetest::makeBand(8, 3, 4);
    EXPECT_EQ(LXBMP_ReadNextRasterBlock(handle.get(), band.get(), nullptr), c.width ? 2 : 0);
    LXBMP_Rewind(handle.get());
    LXBMP_Delete(std::move(handle));
  }
}

TEST(Dispatch, NullHandleAndBmpCmykLeaveBandsUntouched) {
  testsupport::TempDir dir;
  testsupport::writeFile(dir / "a.bmp", imagetest::bmpFile(3, 1, 8, {{1, 2, 3, 0}}));
  auto bmp = LXBMP_New((dir / "a.bmp").c_str());
  EXPECT_EQ(LXBMP_GetWidth(nullptr), 0xFFFFFFFFu);
  auto band = imagetest::makeBand(8, 3, 2);
  std::fill(band->pixels.begin(), band->pixels.end(), 0x5A);
  EXPECT_EQ(LXBMP_ReadNextRasterBlock(nullptr, band.get(), nullptr), 0);
  EXPECT_EQ(LXBMP_ReadNextRasterBlockRGB(nullptr, band.get(), band.get(), band.get()), 0);
  EXPECT_EQ(LXBMP_ReadNextRasterBlockCMYK(nullptr, band.get(), nullptr, 0), 0);
  EXPECT_EQ(LXBMP_ReadNextRasterBlockCMYK(bmp.get(), band.get(), nullptr, 0), 0);
  EXPECT_EQ(band->pixels, Bytes(8, 0x5A));
  // A plane given a file but no band reads nothing: the rows are still there afterwards.
  EXPECT_EQ(LXBMP_ReadNextRasterBlock(bmp.get(), nullptr, nullptr), 0);
  EXPECT_EQ(LXBMP_ReadNextRasterBlock(bmp.get(), band.get(), nullptr), 1);
  LXBMP_Delete(std::move(bmp));
  LXBMP_Delete(nullptr);
}

TEST(Dispatch, CannotOpenMessages) {
  const struct {
    const char* path;
    const char* message;
  } cases[] = {
      {"/nonexistent/a.tif", "ERROR! LXTiff_New can't open '/nonexistent/a.tif'. (errno=2)\n(2)\n"},
      {"/nonexistent/a.BMP",
       "ERROR! LXWindowsBMP_New can't open '/nonexistent/a.BMP'. (errno=2)\n(2)\n"},
  };
  // The hook hears the line as a warning, its message without the newline.
  static std::vector<std::string> heard;
  diag::setHook([](diag::Severity severity, const diag::JobError& e) {
    if (severity == diag::Severity::kWarning) heard.push_back(e.reason);
  });
  for (const auto& c : cases) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(LXBMP_New(c.path), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.message);
    ASSERT_FALSE(heard.empty());
    EXPECT_EQ("ERROR! " + heard.back() + "\n(2)\n", c.message);
  }
  diag::setHook(nullptr);
}

TEST(GWorld, RowBytesByPixelSize) {
  const struct {
    int pixelSize, width;
    std::uint16_t stored;
    std::uint32_t rowBytes;
  } cases[] = {{0, 5, 32, 20},  {1, 9, 1, 4},   {1, 33, 1, 8},  {2, 17, 2, 8},
               {4, 9, 4, 8},    {8, 5, 8, 8},   {10, 3, 10, 4}, {10, 7, 10, 12},
               {12, 3, 12, 12}, {16, 3, 16, 8}, {8, 0, 8, 0}};
  for (const auto& c : cases) {
    std::unique_ptr<LXGWorld> band;
    ASSERT_EQ(LXNewGWorld(&band, c.pixelSize, LXRect{2, 1, 5, 1 + c.width}), 0);
    EXPECT_EQ(band->pixelSize, c.stored) << c.pixelSize;
    EXPECT_EQ(band->rowBytes, c.rowBytes) << c.pixelSize << " x " << c.width;
    EXPECT_EQ(band->self, band.get());
    EXPECT_EQ(band->baseAddr, band->pixels.data());
    EXPECT_EQ(band->pixels, Bytes(3 * c.rowBytes, 0));
    LXClearGWorldRGB(band.get());
    EXPECT_EQ(band->pixels, Bytes(3 * c.rowBytes, 0xFF));
    LXClearGWorld(band.get());
    EXPECT_EQ(band->pixels, Bytes(3 * c.rowBytes, 0));
  }
}

TEST(GWorld, ImpossibleSizesFailWithErrno) {
  const struct {
    LXRect bounds;
    int pixelSize, error;
  } cases[] = {{{0, 0, 300, 0x7FFFFFFF}, 16, ENOMEM},
               {{0, 0, 0, 0x7FFFFFFF}, 16, ENOMEM},  // a row too wide even with no rows
               {{0, 0, 300, -1}, 8, ENOMEM},
               {{5, 0, 4, 8}, 8, ENOMEM},
               {{-0x7FFFFFFF, 0, 0x7FFFFFFF, 0x10000}, 8, ENOMEM}};
  for (const auto& c : cases) {
    auto kept = imagetest::makeBand(8, 1, 1);
    LXGWorld* const before = kept.get();
    errno = 0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(LXNewGWorld(&kept, c.pixelSize, c.bounds), c.error);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ERROR! LXewGWorld failed.(" + std::to_string(c.error) + ")\n");
    EXPECT_EQ(errno, c.error);
    EXPECT_EQ(kept.get(), before);
  }
}

TEST(GWorld, DumpPrintsSixteenBytesALine) {
  const std::string text = "ZELP\x01 data dump!~\x7F\xFFxyz";
  testing::internal::CaptureStdout();
  LXDumpData(text.data(), static_cast<long>(text.size()));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "5A 45 4C 50 01 20 64 61 74 61 20 64 75 6D 70 21  ZELP. data dump!\n"
            "7E 7F FF 78 79 7A                                ~..xyz\n");
}

}  // namespace
