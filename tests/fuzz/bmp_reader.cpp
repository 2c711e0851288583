// The Windows BMP reader: open, then every row reader into bands of every depth.
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::readImageEveryWay(fuzz::writeInput({data, size}, ".bmp").c_str());
  return 0;
}
