// What the configuration reader accepts, section by section, for tools that describe it.
#pragma once

#include <vector>

// How a key's value is written.
enum class ValueKind {
  kText,             // "quoted text"
  kInteger,          // unsigned decimal or 0x hexadecimal
  kSignedInteger,    // as kInteger, with an optional sign
  kIntegerOrSymbol,  // a number or a bare table symbol
  kQuotedSymbol,     // a table symbol in double quotes
  kMediumTypeEx,     // a number or id_val_lfp_medium_type_ex_...
  kJobTime,          // a number, a symbol or a quoted date
  kUUID,             // 8-4-4-4-12 hexadecimal digits, not quoted
  kPosition,         // optionally signed decimal; the sign makes it relative
  kIndexLevel,       // 0, 3, 4, 5, 6 or 16
  kPacketType,       // a packet type symbol with its trailing comma
  kPacketData,       // a data line: 0x hexadecimal pairs and "quoted" bytes
};

// Whether a [ZELP] key set stores a key, accepts and ignores it, or refuses it.
enum class KeyUse { kRefused, kStored, kIgnored };

struct KeyInfo {
  const char* section;  // "[Global]", "[ZELP]", ...
  const char* name;
  ValueKind kind;
  KeyUse set1 = KeyUse::kStored;  // only [ZELP] keys differ between the two sets
  KeyUse set2 = KeyUse::kStored;
};

// Every key of every section, in the order of the sections in a job and of each section's table.
std::vector<KeyInfo> keyCatalogue();

// Parts of the catalogue, each kept beside the parser it describes.
void describeGlobalAndZELPKeys(std::vector<KeyInfo>& out);
void describeKELMAndImageKeys(std::vector<KeyInfo>& out);
