// Raw packets from [ZELP_Raw] sections and from [ZELP] lines naming a defined command.
#include "config/raw_packet.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "cmdfile/cmdfile_info.h"
#include "config/config.h"
#include "diag/diag.h"
#include "text/text.h"

namespace {

constexpr std::size_t kHeaderSize = 20;

rawPacket* lastRawPacket(const std::unique_ptr<rawPacket>& head) {
  rawPacket* packet = head.get();
  while (packet != nullptr && packet->next) packet = packet->next.get();
  return packet;
}

const CmdParameter* findParameter(const _CMDSECTION& section, const std::string& name) {
  for (const CmdParameter& param : section.parameters) {
    if (param.name == name) return &param;
  }
  return nullptr;
}

// Writes the packet lines from the current one on while they are constant numbers.
void writeConstantLines(rawPacket* packet, _CMDSECTION& section) {
  while (section.consumed < section.packetLines.size() &&
         stringIsNumber(section.packetLines[section.consumed].c_str())) {
    writeRawPacket(packet, section.packetLines[section.consumed].c_str());
    ++section.consumed;
  }
}

}  // namespace

rawPacket* addRawPacket(std::unique_ptr<rawPacket>& head) {
  rawPacket* last = lastRawPacket(head);
  std::unique_ptr<rawPacket>& slot = last == nullptr ? head : last->next;
  slot = std::make_unique<rawPacket>();
  return slot.get();
}

void setOperationSymbol(rawPacket* packet, const char* symbol) {
  if (const CmdPacketType* type = findCmdPacketType(symbol)) {
    packet->operation = static_cast<std::uint32_t>(type->value);
  }
}

void makeRawPacketheader(rawPacket* packet) {
  packet->data.assign(kHeaderSize, 0);
  packet->data[0] = 0xCD;
  packet->data[1] = 0xCA;
  packet->data[2] = 0x10;
  packet->data[7] = 0x01;
}

int writeRawPacket(rawPacket* packet, const char* text) {
  if (packet == nullptr || text == nullptr) return 1;
  const char* s = hasHexPrefix(text) ? text + 2 : text;
  std::vector<unsigned char> bytes;
  while (*s != '\0') {
    const int high = hexDigitValue(*s);
    if (high >= 0) {
      // A pair always takes its second character, even when that is no digit.
      if (s[1] == '\0') {
        bytes.push_back(static_cast<unsigned char>(high));
        s += 1;
        continue;
      }
      const int low = hexDigitValue(s[1]);
      bytes.push_back(static_cast<unsigned char>(low >= 0 ? high * 16 + low : high));
      s += 2;
    } else if (*s == '"') {
      const char* close = std::strchr(s + 1, '"');
      if (close == nullptr) return 1;
      bytes.insert(bytes.end(), s + 1, close);
      s = close + 1;
    } else {
      return 1;
    }
  }
  if (bytes.empty()) return 1;
  packet->data.insert(packet->data.end(), bytes.begin(), bytes.end());
  return 0;
}

void checkRawPacket(parameter* p) {
  const rawPacket* last = lastRawPacket(p->rawPacketList);
  if (last != nullptr && last->data.size() < kHeaderSize)
    diag::failJob({{},
                   last->lineNumber,
                   "ZELP_Raw",
                   {},
                   {},
                   "packet of " + std::to_string(last->data.size()) +
                       " bytes is shorter than its 20-byte header"});
}

int parseZELP_RawParameter(cfgLine* line, parameter* p) {
  const char* key = line->key.c_str();
  if (std::strcmp(key, "[ZELP_Raw]") == 0) return 0;

  const bool simple = std::strcmp(key, "SimplePacket") == 0;
  if (simple || std::strcmp(key, "FullPacket") == 0) {
    checkRawPacket(p);
    rawPacket* packet = addRawPacket(p->rawPacketList);
    packet->lineNumber = line->lineNumber;
    setOperationSymbol(packet, line->value.c_str());
    std::printf("%s=%s\n", key, line->value.c_str());
    // A full packet's data lines carry its header.
    if (simple) makeRawPacketheader(packet);
    return 1;
  }

  if (hasHexPrefix(key) || key[0] == '"') {
    rawPacket* packet = lastRawPacket(p->rawPacketList);
    if (packet == nullptr) diag::failJob("packet data before any SimplePacket or FullPacket");
    // A malformed line is dropped; the echo shows it all the same.
    if (writeRawPacket(packet, key) != 0)
      diag::warn(
          "not packet bytes (0x and hexadecimal digits, or a quoted text); the line is "
          "left out of the packet");
    std::printf("\t%s\n", key);
    return 1;
  }
  diag::failJob("unknown key (a packet line starts with 0x or a double quote)");
}

std::string makeZELPDataFmt(const char* text, std::uint32_t size) {
  std::string digits;
  if (hasHexPrefix(text)) {
    digits = text;  // the prefix is kept, padding goes in front of it
  } else {
    char hex[16];
    std::snprintf(hex, sizeof hex, "%x", getLongValue(text));
    digits = hex;
  }
  std::size_t width = 0;
  switch (size) {
    case 1:
      width = 2;
      break;
    case 2:
      width = 4;
      break;
    case 4:
      width = 8;
      break;
    case 8:
      width = 16;
      break;
    default:
      return digits.substr(0, size);
  }
  // Padded with '0', never cut.
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return digits;
}

void makeRawPacketBinary(rawPacket* packet, _CMDSECTION& section) {
  if (isMethodData(section)) writeRawPacket(packet, "0x00000000");
  writeConstantLines(packet, section);
}

void makeRawPacketData(rawPacket* packet, _CMDSECTION& section, const char* value) {
  // A command without parameter references takes no value.
  if (section.consumed >= section.packetLines.size()) return;
  const std::string& reference = section.packetLines[section.consumed++];
  const CmdParameter* param = findParameter(section, reference);
  if (param == nullptr)
    diag::failJob("the definition of " + section.name + " names no parameter " + reference);

  if (param->dataType == kCmdTypeString) {
    // One length byte: the first two digits of the length without the quotes.
    char length[16];
    std::snprintf(length, sizeof length, "%02x", static_cast<unsigned>(std::strlen(value) - 2));
    length[2] = '\0';
    writeRawPacket(packet, length);
    writeRawPacket(packet, value);
    return;
  }

  const char* number = value;
  if (stringIsSymbol(value)) {
    number =
        searchDatafromSymbol(searchCuurentParamValue(section.parameters, reference.c_str()), value);
    if (number == nullptr)
      diag::failJob(std::string(value) + " is not a value the definition of " + section.name +
                    " names");
  } else if (!stringIsNumber(value)) {
    diag::failJob(std::string(value) + " is not a number");
  }
  writeRawPacket(packet, makeZELPDataFmt(number, param->size).c_str());
}

int parseZELPParameterCmd(cfgLine* line, parameter* p) {
  _CMDFILEINFO* set = p->commandDefinitions;
  if (set == nullptr || set->currentCommand >= set->sections.size())
    diag::failJob("no command definition matches");
  _CMDSECTION& section = set->sections[set->currentCommand];

  rawPacket* packet = lastRawPacket(p->rawPacketList);
  if (section.consumed == 0 || packet == nullptr) {
    section.consumed = 0;
    packet = addRawPacket(p->rawPacketList);
    packet->lineNumber = line->lineNumber;
    setOperationSymbol(packet, section.packetTypeName);
    makeRawPacketheader(packet);
    makeRawPacketBinary(packet, section);
  }
  makeRawPacketData(packet, section, line->value.c_str());
  writeConstantLines(packet, section);
  if (section.consumed >= section.packetLines.size()) section.consumed = 0;
  return 1;
}
