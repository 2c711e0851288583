// The definition file loader, then a configuration using its commands and [ZELP_Raw] packets.
// The input holds the definition file, a line "%%", then the configuration.
#include <algorithm>
#include <memory>
#include <string_view>

#include "cmdfile/cmdfile.h"
#include "config/config.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  constexpr std::string_view kSeparator = "\n%%\n";
  const std::size_t split = std::min(input.find(kSeparator), input.size());
  const auto bytes = [data](std::size_t from, std::size_t to) {
    return std::span<const std::uint8_t>(data + from, to - from);
  };
  const std::string definitions = fuzz::writeInput(bytes(0, split + (split < size)), ".inf");
  const std::string configuration =
      fuzz::writeInput(bytes(std::min(split + kSeparator.size(), size), size), ".cfg");

  CmdFileInfoPtr commands = getCmdFileInfo(definitions.c_str());
  if (!commands) return 0;
  if (isExistErrorInCmdFile(commands.get())) {
    dispCmdErrorMessage(commands.get());
    return 0;
  }
  fuzz::untilJobError([&] {
    auto record = std::make_unique<parameter>();
    record->commandDefinitions = commands.get();
    parseParameter(configuration.c_str(), record.get());
  });
  return 0;
}
