// Pages of a print file drawn as RGB rows, top to bottom, for a writer of image files. Memory
// holds a band of output rows, never a page: rows that no later image can reach are handed on
// as soon as they are drawn. A page whose images come back up above rows already handed on is
// drawn in more than one pass over the file.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace inspect {

class PageWriter {
 public:
  virtual ~PageWriter() = default;
  // Pages count from 1. False stops the rendering with `error` set by the writer.
  virtual bool begin(int page, std::uint32_t width, std::uint32_t height) = 0;
  virtual bool row(const std::uint8_t* rgb) = 0;
  virtual bool end() = 0;
  std::string error;
};

struct RenderOptions {
  int scale = 1;                                  // printer dots per output pixel, each way
  int width = 0;                                  // or output pixels across each page when above 0
  std::size_t bandBytes = std::size_t{16} << 20;  // for the band of output rows
  std::function<void(int page, std::uint64_t done, std::uint64_t total)> progress;
};

// Draws every page of the print file at `path`; white where nothing prints. False with a
// message when the file has a fault or the writer fails.
bool renderJob(const std::string& path, const RenderOptions& options, PageWriter* writer,
               std::string* error);

}  // namespace inspect
