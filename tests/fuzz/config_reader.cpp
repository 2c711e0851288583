// The configuration reader: the whole job read and checked. The images it names are absent, so
// a job that gets that far ends on the check that they open.
#include <memory>

#include "config/config.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = fuzz::writeInput({data, size}, ".cfg");
  fuzz::untilJobError([&] {
    auto record = std::make_unique<parameter>();
    parseParameter(path.c_str(), record.get());
  });
  return 0;
}
