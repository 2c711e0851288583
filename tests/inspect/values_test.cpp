#include "config/values.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

#include "inspect/packets.h"
#include "zelp/codes.h"

namespace {

// Each case in the file: the operation and parameter bytes (hex) on one line, then the packet's
// text line(s) and JSON object, up to a blank line.
TEST(DescribePacket, DecodesValuesByTheirLayout) {
  std::ifstream in(ZELPGEN_TEST_DATA_DIR "/inspect/values.txt");
  ASSERT_TRUE(in);
  std::string line;
  int cases = 0;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    inspect::Packet p;
    std::istringstream head(line);
    head >> p.operation >> std::hex;
    for (unsigned byte; head >> byte;) p.parameters.push_back(static_cast<std::uint8_t>(byte));
    p.parameterLength = static_cast<std::uint16_t>(p.parameters.size());
    std::string expected;
    while (std::getline(in, line) && !line.empty()) expected += line + "\n";
    EXPECT_EQ(inspect::describePacket(p) + "\n" + inspect::describePacketJson(p) + "\n", expected);
    ++cases;
  }
  EXPECT_GE(cases, 20);
}

// The decoder's value names are the configuration's symbols less their group's prefix.
TEST(ValueNames, AgreeWithTheConfigurationSymbols) {
  using namespace zelp::value;
  const struct {
    std::string prefix;
    std::span<const Name> names;
  } groups[] = {{"id_val_input_tray_", kTrays},
                {"id_val_medium_type_", kMediumTypes},
                {"id_val_print_quality_", kQualities},
                {"id_val_print_quality_optimized_", kQualityOptimizedLevels},
                {"id_val_medium_cutting_type_", kCuttingTypes},
                {"id_val_marker_colorant_drying_type_", kInkDryingTypes},
                {"id_val_plex_", kPlexes},
                {"id_val_plex_image_position_adjustment_", kPlexImagePositionAdjustments},
                {"id_val_job_execution_mode_", kStartExecutionModes},
                {"id_val_identify_", kIdentifications},
                {"id_val_job_start_type_", kJobStartTypes},
                {"id_val_head_one_way_print_", kHeadOneWayPrints},
                {"id_val_lfp_media_edit_", kMediaEdit},
                {"id_val_lfp_calibration_", kCalibrations},
                {"id_val_lfp_path_mode_", kPathModes}};
  const std::span<const IDSymbol> symbols(gIDSymbolTable, kIDSymbolCount);
  for (const IDSymbol& s : symbols) {
    const std::string symbol = s.name;
    std::size_t longest = 0;
    std::span<const Name> names;
    for (const auto& g : groups) {
      if (symbol.starts_with(g.prefix) && g.prefix.size() > longest) {
        longest = g.prefix.size();
        names = g.names;
      }
    }
    if (longest == 0) continue;
    EXPECT_TRUE(std::any_of(names.begin(), names.end(), [&](const Name& n) {
      return n.code == s.value && symbol.substr(longest) == n.name;
    })) << symbol;
  }
  for (const auto& g : groups) {
    for (const Name& n : g.names) {
      EXPECT_TRUE(std::any_of(
          symbols.begin(), symbols.end(),
          [&](const IDSymbol& s) { return s.value == n.code && g.prefix + n.name == s.name; }))
          << g.prefix << n.name;
    }
  }
}

}  // namespace
