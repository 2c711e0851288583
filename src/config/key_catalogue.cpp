#include "config/key_catalogue.h"

std::vector<KeyInfo> keyCatalogue() {
  std::vector<KeyInfo> keys;
  describeGlobalAndZELPKeys(keys);
  // The [ZELP_Raw] lines are told apart in parseZELP_RawParameter.
  keys.push_back({"[ZELP_Raw]", "SimplePacket", ValueKind::kPacketType});
  keys.push_back({"[ZELP_Raw]", "FullPacket", ValueKind::kPacketType});
  keys.push_back({"[ZELP_Raw]", "0x... or \"...\" (data line)", ValueKind::kPacketData});
  describeKELMAndImageKeys(keys);
  return keys;
}
