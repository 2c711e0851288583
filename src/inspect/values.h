// Attribute and method values decoded by the layout the protocol gives each id: the parts of a
// value, and their text and JSON forms. A value whose id has no known layout, or whose bytes do
// not fit it, decodes to nothing and is shown as hex by the callers.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/packets.h"

namespace inspect {

struct ValuePart {
  enum class Type : std::uint8_t { kNumber, kText, kWord };
  const char* key = nullptr;  // null for the value itself, which comes first
  Type type = Type::kNumber;
  std::int64_t number = 0;
  const char* name = nullptr;  // of the number, where the protocol names it
  std::string text;            // the bytes of a text, or a word shown as it is
};

using DecodedValue = std::vector<ValuePart>;

DecodedValue decodeAttributeValue(std::uint16_t id, std::span<const std::uint8_t> value);
DecodedValue decodeMethodValue(const MethodCall& call);

// `2 (normal), unit 5`: texts quoted, with \", \\ and \xNN for bytes outside printable ASCII.
std::string valueText(const DecodedValue& value);
// JSON members without braces: `"value": 2, "valueName": "normal", "unit": 5`.
std::string valueJson(const DecodedValue& value);

// A JSON string; bytes outside printable ASCII as \u00NN.
std::string jsonString(std::string_view s);

}  // namespace inspect
