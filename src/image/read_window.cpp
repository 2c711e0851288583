// Shared reads of one image file: a window refilled from a reader's position on a miss.
#include "image/read_window.h"

#include <algorithm>
#include <limits>
#include <new>

namespace lximage {

std::span<const unsigned char> ReadWindow::bytesAt(std::FILE* file, std::uint64_t offset,
                                                   std::size_t want) {
  if (offset >= base_ && offset - base_ <= size_) {
    const auto at = static_cast<std::size_t>(offset - base_);
    const std::size_t held = size_ - at;
    if (held >= want || holdsEnd_) return {buffer_.get() + at, held};
  }
  const std::size_t needed = std::max(want, kRefillBytes);
  base_ = offset;
  size_ = 0;
  holdsEnd_ = true;
  if (capacity_ < needed) {
    buffer_.reset();  // the old window goes before the new one is taken
    capacity_ = 0;
    try {
      buffer_ = std::make_unique_for_overwrite<unsigned char[]>(needed);
    } catch (const std::bad_alloc&) {
      return {};  // read as the end of the file, like any other failed read
    }
    capacity_ = needed;
  }
  // An offset past what fseek takes reads as the end of the file.
  if (file == nullptr || offset > static_cast<std::uint64_t>(std::numeric_limits<long>::max()) ||
      std::fseek(file, static_cast<long>(offset), SEEK_SET) != 0) {
    return {};
  }
  size_ = std::fread(buffer_.get(), 1, capacity_, file);
  holdsEnd_ = size_ < capacity_;
  return {buffer_.get(), size_};
}

}  // namespace lximage
