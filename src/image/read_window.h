// A window of one image file's bytes, refilled by large reads and shared by every reader of
// that file: each reader keeps its own position and asks for the bytes found there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

namespace lximage {

class ReadWindow {
 public:
  // Large enough that a refill costs little beside the copy, small enough to stay in cache
  // while the readers of one file take the same row from it in turn.
  static constexpr std::size_t kRefillBytes = std::size_t{256} * 1024;

  // The file's bytes from `offset` to the window's end: at least `want` of them, or all that
  // the file holds from there. A refill reads through `file`, any stream open on this file.
  // Valid until the next call.
  std::span<const unsigned char> bytesAt(std::FILE* file, std::uint64_t offset, std::size_t want);

 private:
  std::unique_ptr<unsigned char[]> buffer_;
  std::size_t capacity_ = 0;
  std::uint64_t base_ = 0;
  std::size_t size_ = 0;
  bool holdsEnd_ = false;  // the last refill stopped at the end of the file
};

}  // namespace lximage
