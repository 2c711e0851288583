// Attribute and method values by their layout in zelp/codes.h.
#include "inspect/values.h"

#include <algorithm>
#include <cstdio>

#include "inspect/bytes.h"
#include "zelp/codes.h"

namespace inspect {

using namespace zelp::value;

namespace {

using Bytes = std::span<const std::uint8_t>;
using Names = std::span<const Name>;

ValuePart number(const char* key, std::uint32_t value, Names names = {}) {
  ValuePart p;
  p.key = key;
  p.number = value;
  for (const Name& n : names) {
    if (n.code == value) {
      p.name = n.name;
      break;
    }
  }
  return p;
}

ValuePart text(const char* key, ValuePart::Type type, std::string text) {
  ValuePart p;
  p.key = key;
  p.type = type;
  p.text = std::move(text);
  return p;
}

ValuePart bytesText(const char* key, Bytes b) {
  return text(key, ValuePart::Type::kText, std::string(b.begin(), b.end()));
}

// The pack's own fields, so the reading does not depend on a time zone.
bool decodeTime(Bytes b, DecodedValue* out) {
  if (b.size() != 8 || b[3] != 0) return false;
  const unsigned year = (unsigned{b[0]} << 4) | (b[1] >> 4), month = b[1] & 15u, day = b[2] >> 3,
                 weekday = b[2] & 7u, hour = b[4], minute = b[5], ms = bigEndian(b.subspan(6));
  if (month < 1 || month > 12 || day < 1 || weekday < 1 || hour > 23 || minute > 59 ||
      ms >= 61000) {
    return false;
  }
  char when[32];
  std::snprintf(when, sizeof when, "%04u-%02u-%02u %02u:%02u:%02u", year, month, day, hour, minute,
                ms / 1000);
  std::string word = when;
  if (ms % 1000 != 0) {
    std::snprintf(when, sizeof when, ".%03u", ms % 1000);
    word += when;
  }
  out->push_back(text(nullptr, ValuePart::Type::kWord, word));
  out->push_back(number("weekday", weekday, kWeekdays));
  return true;
}

bool decodeCOL(Bytes b, Names modes, DecodedValue* out) {
  constexpr std::size_t kEntry = 10;
  if (b.size() < 3) return false;
  const std::uint32_t count = bigEndian(b.subspan(1, 2));
  if (b.size() != 3 + kEntry * count) return false;
  out->push_back(number(nullptr, b[0], modes));
  out->push_back(number("count", count));
  if (count == 0) return true;
  const Bytes first = b.subspan(3, kEntry);
  for (std::size_t at = 3 + kEntry; at < b.size(); at += kEntry) {
    if (!std::equal(first.begin(), first.end(), b.begin() + static_cast<std::ptrdiff_t>(at))) {
      out->push_back(text("entries", ValuePart::Type::kWord, "differ"));
      return true;
    }
  }
  out->push_back(number("handle", bigEndian(first.subspan(0, 4))));
  out->push_back(number("number", bigEndian(first.subspan(4, 2))));
  out->push_back(number("password", bigEndian(first.subspan(6, 4))));
  return true;
}

bool decodeMedium(Bytes b, Names types, DecodedValue* out) {
  if (b.size() != 13 || b[1] != kMediumMark) return false;
  const std::uint32_t size = bigEndian(b.subspan(2, 2));
  const std::uint32_t width = bigEndian(b.subspan(4, 4)), height = bigEndian(b.subspan(8, 4));
  out->push_back(number(nullptr, b[0], types));
  if (size == kCustomMediumSize) {
    out->push_back(number("width", width));
    out->push_back(number("height", height));
  } else if (width != 0 || height != 0) {
    return false;
  } else if (size != kNoMediumSize) {
    out->push_back(number("size", size));
  }
  out->push_back(number("flag", b[12]));
  return true;
}

std::string uuidText(Bytes b) {
  std::string out;
  for (std::size_t i = 0; i < b.size(); ++i) {
    char hex[3];
    std::snprintf(hex, sizeof hex, "%02x", b[i]);
    if (i == 4 || i == 6 || i == 8 || i == 10) out += '-';
    out += hex;
  }
  return out;
}

// False when the bytes do not fit the layout; `out` is then cleared by the caller.
bool decode(const Layout& layout, Bytes b, DecodedValue* out) {
  switch (layout.kind) {
    case Kind::kNumber:
      if (b.empty() || b.size() > 4) return false;
      out->push_back(number(nullptr, bigEndian(b), layout.names));
      return true;
    case Kind::kText:
      if (b.size() < 3 || std::size_t{b[2]} != b.size() - 3) return false;
      out->push_back(bytesText(nullptr, b.subspan(3)));
      out->push_back(number("charset", bigEndian(b.first(2))));
      return true;
    case Kind::kCountedText:
      if (b.empty() || std::size_t{b[0]} != b.size() - 1) return false;
      out->push_back(bytesText(nullptr, b.subspan(1)));
      return true;
    case Kind::kTime:
      return decodeTime(b, out);
    case Kind::kTray:
      if (b.size() != 4 || b[0] != kTrayLead || b[3] != 0) return false;
      out->push_back(number(nullptr, b[1], layout.names));
      if (b[1] == kNumberedTray || b[2] != 0) out->push_back(number("unit", b[2], layout.names));
      return true;
    case Kind::kMedium:
      return decodeMedium(b, layout.names, out);
    case Kind::kMediumTypeEx:
      if (b.size() != 3 || b[0] != kMediumTypeExLead) return false;
      out->push_back(number(nullptr, bigEndian(b.subspan(1)), layout.names));
      return true;
    case Kind::kCOL:
      return decodeCOL(b, layout.names, out);
    case Kind::kClientJobID: {
      if (b.size() != kClientJobUUIDSize + kClientJobInfoSize) return false;
      Bytes info = b.subspan(kClientJobUUIDSize);
      while (!info.empty() && info.back() == 0) info = info.first(info.size() - 1);
      out->push_back(text(nullptr, ValuePart::Type::kWord, uuidText(b.first(kClientJobUUIDSize))));
      out->push_back(bytesText("info", info));
      return true;
    }
    case Kind::kUnknown:
      break;
  }
  return false;
}

DecodedValue decodeValue(const Layout& layout, Bytes b) {
  DecodedValue out;
  if (!decode(layout, b, &out)) out.clear();
  return out;
}

void appendEscaped(std::string* out, std::string_view text, bool json) {
  for (unsigned char c : text) {
    if (c == '"' || c == '\\') {
      *out += '\\';
      *out += static_cast<char>(c);
    } else if (c < 0x20 || c >= 0x7F) {
      char escape[8];
      std::snprintf(escape, sizeof escape, json ? "\\u%04x" : "\\x%02X", c);
      *out += escape;
    } else {
      *out += static_cast<char>(c);
    }
  }
}

}  // namespace

DecodedValue decodeAttributeValue(std::uint16_t id, std::span<const std::uint8_t> value) {
  return decodeValue(attributeLayout(id), value);
}

DecodedValue decodeMethodValue(const MethodCall& call) {
  // A set-value call without its selector leaves the value's place unknown.
  if (call.method == zelp::method::kSetValue && call.selector < 0) return {};
  return decodeValue(methodLayout(call.method), call.value);
}

std::string valueText(const DecodedValue& value) {
  std::string out;
  for (const ValuePart& p : value) {
    if (!out.empty()) out += ", ";
    if (p.key != nullptr) out += std::string(p.key) + " ";
    switch (p.type) {
      case ValuePart::Type::kNumber:
        out += std::to_string(p.number);
        if (p.name != nullptr) out += std::string(" (") + p.name + ")";
        break;
      case ValuePart::Type::kText:
        out += '"';
        appendEscaped(&out, p.text, false);
        out += '"';
        break;
      case ValuePart::Type::kWord:
        out += p.text;
        break;
    }
  }
  return out;
}

std::string valueJson(const DecodedValue& value) {
  std::string out;
  for (const ValuePart& p : value) {
    const std::string key = p.key != nullptr ? p.key : "value";
    if (!out.empty()) out += ", ";
    out += "\"" + key + "\": ";
    if (p.type == ValuePart::Type::kNumber) {
      out += std::to_string(p.number);
      if (p.name != nullptr) out += ", \"" + key + "Name\": " + jsonString(p.name);
    } else {
      out += jsonString(p.text);
    }
  }
  return out;
}

std::string jsonString(std::string_view s) {
  std::string out = "\"";
  appendEscaped(&out, s, true);
  return out + "\"";
}

}  // namespace inspect
