// Print-file decoder: packets, their attributes and methods, and the job's shape.
#include "inspect/packets.h"

#include <cstdarg>
#include <cstdio>

#include "inspect/bytes.h"
#include "inspect/job.h"
#include "inspect/values.h"
#include "zelp/codes.h"

namespace inspect {

using namespace zelp;

namespace {

std::uint16_t word(std::span<const std::uint8_t> b, std::size_t at) {
  return static_cast<std::uint16_t>(bigEndian(b.subspan(at, 2)));
}

// False (and 0) for the callers that return a size.
bool fail(std::string* error, std::size_t offset, const char* what) {
  if (error != nullptr) {
    char text[160];
    std::snprintf(text, sizeof text, "offset %zu: %s", offset, what);
    *error = text;
  }
  return false;
}

struct Named {
  std::uint16_t code;
  const char* name;
};

constexpr Named kOperations[] = {
    {kStartJob, "StartJob"},
    {kSetJob, "SetJob"},
    {kEndJob, "EndJob"},
    {kStartBinder, "StartBinder"},
    {kSetBinder, "SetBinder"},
    {kEndBinder, "EndBinder"},
    {kStartDocument, "StartDocument"},
    {kSetDocument, "SetDocument"},
    {kEndDocument, "EndDocument"},
    {kData, "Data"},
    {kExecuteMethod, "ExecuteMethod"},
    {kOpenJob, "OpenJob"},
};

template <std::size_t N>
const char* lookup(const Named (&table)[N], unsigned code) {
  for (const Named& n : table) {
    if (n.code == code) return n.name;
  }
  return nullptr;
}

bool isSetOperation(std::uint16_t operation) {
  return operation == kSetJob || operation == kSetBinder || operation == kSetDocument;
}

void appendf(std::string* out, const char* format, ...) __attribute__((format(printf, 2, 3)));
void appendf(std::string* out, const char* format, ...) {
  char text[256];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  *out += text;
}

// Hex bytes, the first 32 of a longer value followed by the total.
void appendHex(std::string* out, std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kShown = 32;
  for (std::size_t i = 0; i < bytes.size() && i < kShown; ++i) {
    appendf(out, i == 0 ? "%02X" : " %02X", bytes[i]);
  }
  if (bytes.size() > kShown) {
    appendf(out, " ... (%zu bytes, crc %08X)", bytes.size(), crc32(0, bytes.data(), bytes.size()));
  }
}

// The decoded value with its bytes in brackets, so that any changed byte changes the line; the
// bytes alone when the value does not decode.
void appendValue(std::string* out, const DecodedValue& decoded, std::span<const std::uint8_t> raw) {
  if (decoded.empty()) return appendHex(out, raw);
  *out += valueText(decoded) + " [";
  appendHex(out, raw);
  *out += ']';
}

void appendAttribute(std::string* out, const Attribute& a) {
  const char* name = attributeName(a.id);
  appendf(out, "%s(%u) = ", name != nullptr ? name : "attribute", a.id);
  appendValue(out, decodeAttributeValue(a.id, a.value), a.value);
}

// JSON members: the decoded parts (if any), then the bytes as the text form shows them.
void appendValueJson(std::string* out, const DecodedValue& decoded,
                     std::span<const std::uint8_t> raw) {
  if (!decoded.empty()) *out += valueJson(decoded) + ", ";
  std::string hex;
  appendHex(&hex, raw);
  *out += "\"hex\": " + jsonString(hex);
}

std::string nameJson(const char* name) {
  return name != nullptr ? jsonString(name) : "null";
}

void appendAttributeJson(std::string* out, const Attribute& a) {
  appendf(out, "{\"id\": %u, \"name\": %s, ", a.id, nameJson(attributeName(a.id)).c_str());
  appendValueJson(out, decodeAttributeValue(a.id, a.value), a.value);
  *out += '}';
}

}  // namespace

std::size_t decodePacket(std::span<const std::uint8_t> bytes, std::size_t at, Packet* packet,
                         std::string* error) {
  if (bytes.size() < 20) return fail(error, at, "truncated packet header");
  if (bytes[0] != 0xCD || bytes[1] != 0xCA || bytes[2] != 0x10) {
    return fail(error, at, "packet does not start with CD CA 10");
  }
  Packet& p = *packet;
  p.offset = at;
  p.flags = bytes[3];
  p.operation = word(bytes, 4);
  p.parameterLength = word(bytes, 8);
  if (bytes.size() - 20 < p.parameterLength) return fail(error, at, "truncated parameters");
  p.parameters.assign(bytes.begin() + 20, bytes.begin() + 20 + p.parameterLength);
  if (p.operation == kData) {
    if (p.parameterLength < 2 || p.parameters[0] != 0x01) {
      return fail(error, at, "data packet without its lead byte and payload");
    }
    if (p.flags != 0x00 && p.flags != kMoreData) return fail(error, at, "data packet flags");
  }
  return 20 + std::size_t{p.parameterLength};
}

bool decodePackets(std::span<const std::uint8_t> bytes, std::vector<Packet>* packets,
                   std::string* error) {
  packets->clear();
  std::size_t at = 0;
  while (at < bytes.size()) {
    Packet p;
    const std::size_t size = decodePacket(bytes.subspan(at), at, &p, error);
    if (size == 0) return false;
    at += size;
    packets->push_back(std::move(p));
  }
  return true;
}

std::vector<std::uint8_t> rasterStream(const std::vector<Packet>& packets) {
  std::vector<std::uint8_t> out;
  for (const Packet& p : packets) {
    if (p.operation == kData && !p.parameters.empty()) {
      out.insert(out.end(), p.parameters.begin() + 1, p.parameters.end());
    }
  }
  return out;
}

const char* operationName(std::uint16_t operation) {
  return lookup(kOperations, operation);
}

const char* attributeName(std::uint16_t id) {
  const attr::Row* row = attr::findAttribute(id);
  return row != nullptr ? row->name : nullptr;
}

std::optional<Attribute> setAttribute(const Packet& packet) {
  if (!isSetOperation(packet.operation) || packet.parameters.size() < 2) return std::nullopt;
  Attribute a;
  a.id = word(packet.parameters, 0);
  a.value.assign(packet.parameters.begin() + 2, packet.parameters.end());
  return a;
}

std::optional<std::vector<Attribute>> openJobEntries(const Packet& packet) {
  const std::vector<std::uint8_t>& b = packet.parameters;
  if (packet.operation != kOpenJob || b.size() < 2 || b[0] != 0x00) return std::nullopt;
  std::vector<Attribute> entries;
  std::size_t at = 2;
  for (unsigned i = 0; i < b[1]; ++i) {
    if (b.size() - at < 4) return std::nullopt;
    const std::size_t n = word(b, at + 2);
    if (b.size() - at - 4 < n) return std::nullopt;
    Attribute a;
    a.id = word(b, at);
    a.value.assign(b.begin() + static_cast<std::ptrdiff_t>(at + 4),
                   b.begin() + static_cast<std::ptrdiff_t>(at + 4 + n));
    entries.push_back(std::move(a));
    at += 4 + n;
  }
  if (at != b.size()) return std::nullopt;
  return entries;
}

std::optional<MethodCall> executeMethod(const Packet& packet) {
  const std::vector<std::uint8_t>& b = packet.parameters;
  if (packet.operation != kExecuteMethod || b.size() < 6) return std::nullopt;
  MethodCall call;
  call.object = bigEndian(std::span(b).first(4));
  call.group = b[4];
  call.method = b[5];
  std::size_t valueAt = 6;
  if (call.method == method::kSetValue && b.size() >= 8 && b[6] == 0x01) {
    call.selector = b[7];
    valueAt = 8;
  }
  call.value.assign(b.begin() + static_cast<std::ptrdiff_t>(valueAt), b.end());
  return call;
}

const char* methodName(const MethodCall& call) {
  const attr::Row* row = nullptr;
  if (call.method == method::kSetValue) {
    if (call.selector >= 0 && call.selector <= 0xFF) {
      row = attr::findSelector(static_cast<std::uint8_t>(call.selector));
    }
  } else {
    row = attr::findMethod(call.method);
  }
  return row != nullptr ? row->name : nullptr;
}

bool JobChecker::add(const Packet& p, std::string* error) {
  any_ = true;
  Level& level = level_;
  const char* name = operationName(p.operation);
  if (name == nullptr) return fail(error, p.offset, "unknown operation");
  if (p.operation != kData && p.flags != 0) {
    return fail(error, p.offset, "flags on a packet that is not data");
  }
  bool placed = false;
  switch (p.operation) {
    case kStartJob:
      placed = level == Level::kNone;
      level = Level::kJob;
      break;
    case kOpenJob:
      if (!openJobEntries(p)) return fail(error, p.offset, "malformed open-job entries");
      placed = level == Level::kNone;
      level = Level::kJob;
      break;
    case kSetJob:
      placed = level == Level::kJob || level == Level::kClosingJob;
      break;
    case kStartBinder:
      placed = level == Level::kJob;
      level = Level::kBinder;
      break;
    case kSetBinder:
      placed = level == Level::kBinder;
      break;
    case kStartDocument:
      placed = level == Level::kBinder;
      level = Level::kDocument;
      break;
    case kSetDocument:
    case kData:
      placed = level == Level::kDocument;
      break;
    case kExecuteMethod:
      if (!executeMethod(p)) return fail(error, p.offset, "execute method too short");
      placed = level == Level::kJob || level == Level::kBinder || level == Level::kDocument;
      break;
    case kEndDocument:
      placed = level == Level::kDocument;
      level = Level::kBinder;
      break;
    case kEndBinder:
      placed = level == Level::kBinder;
      level = Level::kClosingJob;
      break;
    case kEndJob:
      if (p.parameters.size() != 1) return fail(error, p.offset, "end job without its flag");
      placed = level == Level::kClosingJob;
      level = Level::kEnded;
      break;
    default:
      break;
  }
  if (isSetOperation(p.operation) && p.parameters.size() < 2) {
    return fail(error, p.offset, "attribute packet without an attribute id");
  }
  if (!placed) {
    char what[64];
    std::snprintf(what, sizeof what, "%s out of place", name);
    return fail(error, p.offset, what);
  }
  return true;
}

bool JobChecker::finish(std::size_t offset, std::string* error) const {
  if (!any_) return fail(error, 0, "no packets");
  if (level_ != Level::kEnded) return fail(error, offset, "job not ended");
  return true;
}

bool checkJob(const std::vector<Packet>& packets, std::string* error) {
  JobChecker checker;
  for (const Packet& p : packets) {
    if (!checker.add(p, error)) return false;
  }
  return checker.finish(packets.empty() ? 0 : packets.back().offset, error);
}

std::string describePacket(const Packet& p) {
  std::string out;
  const char* name = operationName(p.operation);
  appendf(&out, "%08zX  %-13s %3u  flags %02X  length %5u", p.offset, name != nullptr ? name : "?",
          p.operation, p.flags, p.parameterLength);
  if (p.parameters.empty()) return out;
  out += "  ";
  if (p.operation == kData && !p.parameters.empty()) {
    appendf(&out, "payload %zu%s, crc %08X", p.parameters.size() - 1,
            p.flags == kMoreData ? ", more follows" : "",
            crc32(0, p.parameters.data() + 1, p.parameters.size() - 1));
  } else if (auto a = setAttribute(p)) {
    appendAttribute(&out, *a);
  } else if (auto call = executeMethod(p)) {
    const char* method = methodName(*call);
    if (method != nullptr) {
      appendf(&out, "%s = ", method);
    } else {
      appendf(&out, "method %02X", call->method);
      if (call->selector >= 0) appendf(&out, " selector %d", call->selector);
      out += " = ";
    }
    appendValue(&out, decodeMethodValue(*call), call->value);
  } else if (auto entries = openJobEntries(p)) {
    appendf(&out, "%zu entries", entries->size());
    for (const Attribute& a : *entries) {
      out += "\n          ";
      appendAttribute(&out, a);
    }
  } else {
    appendHex(&out, p.parameters);
  }
  return out;
}

std::string describePacketJson(const Packet& p) {
  std::string out;
  appendf(&out, "{\"offset\": %zu, \"operation\": %s, \"code\": %u, \"flags\": %u, \"length\": %u",
          p.offset, nameJson(operationName(p.operation)).c_str(), p.operation, p.flags,
          p.parameterLength);
  if (p.parameters.empty()) return out + "}";
  if (p.operation == kData) {
    appendf(&out, ", \"payload\": %zu, \"more\": %s, \"crc\": \"%08X\"", p.parameters.size() - 1,
            p.flags == kMoreData ? "true" : "false",
            crc32(0, p.parameters.data() + 1, p.parameters.size() - 1));
  } else if (auto a = setAttribute(p)) {
    out += ", \"attribute\": ";
    appendAttributeJson(&out, *a);
  } else if (auto call = executeMethod(p)) {
    appendf(&out, ", \"method\": {\"name\": %s, \"code\": %u, ",
            nameJson(methodName(*call)).c_str(), call->method);
    if (call->selector >= 0) appendf(&out, "\"selector\": %d, ", call->selector);
    appendValueJson(&out, decodeMethodValue(*call), call->value);
    out += '}';
  } else if (auto entries = openJobEntries(p)) {
    out += ", \"entries\": [";
    for (std::size_t i = 0; i < entries->size(); ++i) {
      out += i == 0 ? "\n   " : ",\n   ";
      appendAttributeJson(&out, (*entries)[i]);
    }
    out += ']';
  } else {
    out += ", ";
    appendValueJson(&out, {}, p.parameters);
  }
  return out + "}";
}

bool listPackets(std::span<const std::uint8_t> bytes, std::string* listing) {
  listing->clear();
  std::vector<Packet> packets;
  std::string error;
  const bool ok = decodePackets(bytes, &packets, &error);
  for (const Packet& p : packets) {
    *listing += describePacket(p);
    *listing += '\n';
  }
  if (!ok) *listing += "error: " + error + "\n";
  return ok;
}

}  // namespace inspect
