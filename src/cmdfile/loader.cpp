// Loads the command definition file into its sections, collecting the errors it finds.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

#include "cmdfile/cmdfile_info.h"
#include "text/text.h"

namespace {

constexpr const char* kUnknownItem = "[Error] Unknown item: line %d.\n%s";
constexpr const char* kUnknownSymbol = "[Error] Unknown symbol: line %d.\n%s";
constexpr const char* kMustBeA = "[Error] Invalid format: The value must be a %s.: line %d.\n%s";
constexpr const char* kMustBeDescribed =
    "[Error] Invalid format: The value must be described.: line %d.\n%s";
constexpr const char* kDoubleDefined = "[Error] Double defined item: line %d.\n%s";
constexpr const char* kExtraParameter = "[Error] An extra parameter is described.: line %d.\n%s";
constexpr const char* kNoEqual =
    "[Error] Invalid format: A equal character ('=') must be described.: line %d.\n%s";
constexpr const char* kNoSection = "[Error] A section is not found.: line %d.";
constexpr const char* kMustBeStringLength =
    "[Error] Invalid format: The value must be \"StringLength\" for \"%s.DataType=String\": "
    "line %d.\n%s";
constexpr const char* kPartMustBeDescribed =
    "[Error] Invalid format: The %s value must be described.: line %d.\n%s";
constexpr const char* kPartMustBeA =
    "[Error] Invalid format: The %s value must be a %s.: line %d.\n%s";
constexpr const char* kSizeDiffers =
    "[Error] The data size of the 1st value of %s.Value differs from the value of %s.Size.: "
    "line %d.\n%s";
constexpr const char* kCountDiffers =
    "[Error] The number of parameter description differs from the value of \"ParamCount\" in "
    "the section \"%s\".";
constexpr const char* kRequiredMissing =
    "[Error] Required item is not found. The item \"%s\" must be set in the section \"%s\".";

// Loader states.
enum : int {
  kStateNone = 0,
  kStateHeader = 1,
  kStateParamCount = 2,
  kStateName = 3,
  kStateDataType = 4,
  kStateSize = 5,
  kStateValue = 6,
  kStateFirstPacketLine = 7,
  kStateSecondPacketLine = 8,
  kStatePacketLines = 9,
  kStateIgnore = 10,
};

// The line being analysed.
struct _tagLINEINFO {
  int lineNumber = 0;
  char line[1024] = {};  // as read, quoted in messages
  int state = kStateNone;
};

// Keys and items are taken by their leading part: "S" stands for "SimplePacket".
bool isLeadingPartOf(const std::string& text, const char* keyword) {
  return std::strncmp(text.c_str(), keyword, text.size()) == 0;
}

std::size_t countParamReferences(const _CMDSECTION& section) {
  const bool first =
      !section.packetLines.empty() && paramFormatIsRight(section.packetLines.front().c_str());
  return section.laterReferences + (first ? 1 : 0);
}

std::string trimmed(std::string text) {
  trimSpaces(text.data());
  text.resize(std::strlen(text.c_str()));
  return text;
}

void checkEndOfSection(_CMDFILEINFO& set, const _CMDSECTION& section) {
  const char* name = section.name.c_str();
  if (section.paramCount != 0 && (section.parameters.size() != section.paramCount ||
                                  countParamReferences(section) != section.paramCount)) {
    setCmdErrorMessage(&set, kCountDiffers, name);
  }
  if (section.missingItems & kCmdMissingParamCount) {
    setCmdErrorMessage(&set, kRequiredMissing, "ParamCount", name);
  }
  if (section.missingItems & kCmdMissingSimplePacket) {
    setCmdErrorMessage(&set, kRequiredMissing, "SimplePacket", name);
  }
  // Only as many descriptions as exist can be checked.
  for (std::size_t i = 0; i < section.paramCount && i < section.parameters.size(); ++i) {
    const CmdParameter& param = section.parameters[i];
    auto require = [&](std::uint32_t flag, const char* item) {
      if (param.missingItems & flag) {
        setCmdErrorMessage(&set, kRequiredMissing, (param.name + item).c_str(), name);
      }
    };
    require(kCmdMissingName, ".Name");
    require(kCmdMissingDataType, ".DataType");
    require(kCmdMissingSize, ".Size");
    if (param.dataType == kCmdTypeListCount) require(kCmdMissingListMembers, ".ListMembers");
  }
}

void analysePacketLine(_CMDFILEINFO& set, _tagLINEINFO& li, const char* text) {
  _CMDSECTION& section = set.sections.back();
  if (li.state == kStateFirstPacketLine && !stringIsNumber(text)) {
    setCmdErrorMessage(&set, kMustBeA, "number", li.lineNumber, li.line);
  } else if (stringIsString(text)) {
    setCmdErrorMessage(&set, kMustBeA, "symbol", li.lineNumber, li.line);
  } else if (!paramFormatIsRight(text) && !stringIsNumber(text)) {
    setCmdErrorMessage(&set, kUnknownSymbol, li.lineNumber, li.line);
  } else {
    section.packetLines.emplace_back(text);
    if (section.packetLines.size() > 1 && paramFormatIsRight(text)) ++section.laterReferences;
    if (section.paramCount != 0 && section.laterReferences > section.paramCount) {
      setCmdErrorMessage(&set, kExtraParameter, li.lineNumber, li.line);
    }
  }
  li.state = li.state == kStateFirstPacketLine ? kStateSecondPacketLine : kStatePacketLines;
}

void analyseParamCount(_CMDFILEINFO& set, _tagLINEINFO& li, const std::string& value) {
  _CMDSECTION& section = set.sections.back();
  li.state = kStateParamCount;
  if (!(section.missingItems & kCmdMissingParamCount)) {
    setCmdErrorMessage(&set, kDoubleDefined, li.lineNumber, li.line);
  } else if (value.empty()) {
    setCmdErrorMessage(&set, kMustBeDescribed, li.lineNumber, li.line);
  } else if (!stringIsNumber(value.c_str())) {
    setCmdErrorMessage(&set, kMustBeA, "number", li.lineNumber, li.line);
  } else {
    section.paramCount = getLongValue(value.c_str());
  }
  section.missingItems &= ~kCmdMissingParamCount;
}

void analyseSimplePacket(_CMDFILEINFO& set, _tagLINEINFO& li, const std::string& value) {
  _CMDSECTION& section = set.sections.back();
  if (!(section.missingItems & kCmdMissingSimplePacket)) {
    setCmdErrorMessage(&set, kDoubleDefined, li.lineNumber, li.line);
  } else if (value.empty()) {
    setCmdErrorMessage(&set, kMustBeDescribed, li.lineNumber, li.line);
  } else if (!stringIsSymbol(value.c_str())) {
    setCmdErrorMessage(&set, kMustBeA, "symbol", li.lineNumber, li.line);
  } else if (const CmdPacketType* type = findCmdPacketType(value.c_str())) {
    section.packetType = type->value;
    section.packetTypeName = type->symbol;
  } else {
    setCmdErrorMessage(&set, kUnknownSymbol, li.lineNumber, li.line);
  }
  section.missingItems &= ~kCmdMissingSimplePacket;
  li.state = kStateFirstPacketLine;
}

void analyseName(_CMDFILEINFO& set, _tagLINEINFO& li, CmdParameter& param,
                 const std::string& value) {
  li.state = kStateName;
  if (!(param.missingItems & kCmdMissingName)) {
    setCmdErrorMessage(&set, kDoubleDefined, li.lineNumber, li.line);
  } else if (value.empty()) {
    setCmdErrorMessage(&set, kMustBeDescribed, li.lineNumber, li.line);
  } else if (!stringIsString(value.c_str())) {
    setCmdErrorMessage(&set, kMustBeA, "string", li.lineNumber, li.line);
  } else {
    getStringWithinTarget(value.c_str(), '"', '"', param.displayName);
  }
  param.missingItems &= ~kCmdMissingName;
}

void analyseDataType(_CMDFILEINFO& set, _tagLINEINFO& li, CmdParameter& param,
                     const std::string& value) {
  li.state = kStateDataType;
  if (!(param.missingItems & kCmdMissingDataType)) {
    setCmdErrorMessage(&set, kDoubleDefined, li.lineNumber, li.line);
  } else if (value.empty()) {
    setCmdErrorMessage(&set, kMustBeDescribed, li.lineNumber, li.line);
  } else if (!stringIsSymbol(value.c_str())) {
    setCmdErrorMessage(&set, kMustBeA, "symbol", li.lineNumber, li.line);
  } else if (value.starts_with("Number")) {
    param.dataType = kCmdTypeNumber;
    param.missingItems &= ~kCmdMissingListMembers;
  } else if (value.starts_with("String")) {
    param.dataType = kCmdTypeString;
    param.missingItems &= ~kCmdMissingListMembers;
  } else if (value.starts_with("ListCount")) {
    param.dataType = kCmdTypeListCount;
  } else {
    setCmdErrorMessage(&set, kUnknownSymbol, li.lineNumber, li.line);
    param.dataType = kCmdTypeUnknown;
  }
  param.missingItems &= ~kCmdMissingDataType;
}

void analyseSize(_CMDFILEINFO& set, _tagLINEINFO& li, CmdParameter& param,
                 const std::string& value) {
  li.state = kStateSize;
  if (!(param.missingItems & kCmdMissingSize)) {
    setCmdErrorMessage(&set, kDoubleDefined, li.lineNumber, li.line);
  } else if (value.empty()) {
    setCmdErrorMessage(&set, kMustBeDescribed, li.lineNumber, li.line);
  } else if (param.dataType == kCmdTypeString) {
    if (!isLeadingPartOf(value, "StringLength")) {
      setCmdErrorMessage(&set, kMustBeStringLength, param.name.c_str(), li.lineNumber, li.line);
    }
  } else if (!stringIsNumber(value.c_str())) {
    setCmdErrorMessage(&set, kMustBeA, "number", li.lineNumber, li.line);
  } else {
    param.size = getLongValue(value.c_str());
  }
  param.missingItems &= ~kCmdMissingSize;
}

void analyseValue(_CMDFILEINFO& set, _tagLINEINFO& li, CmdParameter& param,
                  const std::string& value) {
  li.state = kStateValue;
  std::string first;
  std::string second;
  if (separateKeyAndValueWithTarget(value.c_str(), first, second, ',') < 0) first = value;
  first = trimmed(first);
  second = trimmed(second);
  CmdValue& entry = param.values.emplace_back();

  if (first.empty()) {
    setCmdErrorMessage(&set, kPartMustBeDescribed, "1st", li.lineNumber, li.line);
  } else if (!stringIsNumber(first.c_str())) {
    setCmdErrorMessage(&set, kPartMustBeA, "1st", "number", li.lineNumber, li.line);
  } else {
    // Size counts the hexadecimal digits of the value.
    std::size_t digits;
    if (first[1] == 'x' || first[1] == 'X') {
      digits = first.size() - 2;
    } else {
      char hex[16];
      digits = static_cast<std::size_t>(
          std::snprintf(hex, sizeof hex, "%x", getLongValue(first.c_str())));
    }
    if (param.size != 0 && param.size != digits) {
      setCmdErrorMessage(&set, kSizeDiffers, param.name.c_str(), param.name.c_str(), li.lineNumber,
                         li.line);
    } else {
      entry.value = first;
    }
  }

  if (second.empty()) {
    setCmdErrorMessage(&set, kPartMustBeDescribed, "2nd", li.lineNumber, li.line);
  } else if (!stringIsSymbol(second.c_str())) {
    setCmdErrorMessage(&set, kPartMustBeA, "2nd", "symbol", li.lineNumber, li.line);
  } else {
    entry.symbol = second;
  }
}

void analyseParamItem(_CMDFILEINFO& set, _tagLINEINFO& li, const std::string& key,
                      const std::string& value) {
  std::string paramPart;
  std::string item;
  if (separateKeyAndValueWithTarget(key.c_str(), paramPart, item, '.') < 0 ||
      !paramFormatIsRight(paramPart.c_str())) {
    setCmdErrorMessage(&set, kUnknownItem, li.lineNumber, li.line);
    return;
  }
  if (set.sections.empty()) {
    setCmdErrorMessage(&set, kNoSection, li.lineNumber);
    li.state = kStateIgnore;
    return;
  }
  _CMDSECTION& section = set.sections.back();
  CmdParameter* param = nullptr;
  for (CmdParameter& existing : section.parameters) {
    // Compared over the written part only, so "Param1" also finds "Param10".
    if (std::strncmp(existing.name.c_str(), paramPart.c_str(), paramPart.size()) == 0) {
      param = &existing;
      break;
    }
  }
  if (param == nullptr) {
    param = &section.parameters.emplace_back();
    param->name = paramPart;
  }
  if (section.paramCount != 0 && section.parameters.size() > section.paramCount) {
    setCmdErrorMessage(&set, kExtraParameter, li.lineNumber, li.line);
    return;
  }

  if (isLeadingPartOf(item, "Name")) {
    analyseName(set, li, *param, value);
  } else if (isLeadingPartOf(item, "DataType")) {
    analyseDataType(set, li, *param, value);
  } else if (isLeadingPartOf(item, "Size")) {
    analyseSize(set, li, *param, value);
  } else if (isLeadingPartOf(item, "Value")) {
    analyseValue(set, li, *param, value);
  } else {
    setCmdErrorMessage(&set, kUnknownItem, li.lineNumber, li.line);
  }
}

void analyseKey(_CMDFILEINFO& set, _tagLINEINFO& li, const std::string& key,
                const std::string& value) {
  const bool paramCount = isLeadingPartOf(key, "ParamCount");
  if (paramCount || isLeadingPartOf(key, "SimplePacket")) {
    if (set.sections.empty()) {
      setCmdErrorMessage(&set, kNoSection, li.lineNumber);
      li.state = kStateIgnore;
    } else if (paramCount) {
      analyseParamCount(set, li, value);
    } else {
      analyseSimplePacket(set, li, value);
    }
    return;
  }
  if (key.compare(0, 5, "Param") != 0) {
    setCmdErrorMessage(&set, kUnknownItem, li.lineNumber, li.line);
    return;
  }
  analyseParamItem(set, li, key, value);
}

bool isSectionHeader(const char* text) {
  const char* open = std::strchr(text, '[');
  if (open == nullptr || std::strchr(open, ']') == nullptr) return false;
  const std::size_t n = std::strlen(text);
  return text[0] == '[' && text[n - 1] == ']';
}

void analyseLine(_CMDFILEINFO& set, _tagLINEINFO& li, char* text) {
  if (isSectionHeader(text)) {
    if (!set.sections.empty()) checkEndOfSection(set, set.sections.back());
    _CMDSECTION& section = set.sections.emplace_back();
    if (getStringWithinTarget(text, '[', ']', section.name) < 0) {
      setCmdErrorMessage(&set, kUnknownItem, li.lineNumber, li.line);
    }
    li.state = kStateHeader;
    return;
  }
  if (std::strchr(text, '[') != nullptr) {
    setCmdErrorMessage(&set, kUnknownItem, li.lineNumber, li.line);
  }
  if (li.state == kStateIgnore) return;

  const bool hasEqual = std::strchr(text, '=') != nullptr;
  if (!hasEqual && (li.state == kStateFirstPacketLine || li.state == kStateSecondPacketLine ||
                    li.state == kStatePacketLines)) {
    analysePacketLine(set, li, text);
    return;
  }
  std::string key;
  std::string value;
  if (separateKeyAndValueWithTarget(text, key, value, '=') < 0) {
    setCmdErrorMessage(&set, kNoEqual, li.lineNumber, li.line);
    return;
  }
  analyseKey(set, li, trimmed(key), trimmed(value));
}

}  // namespace

const CmdPacketType* findCmdPacketType(const char* symbol) {
  if (symbol == nullptr) return nullptr;
  for (const CmdPacketType& type : g_CmdPacketType) {
    if (std::strcmp(type.symbol, symbol) == 0) return &type;
  }
  return nullptr;
}

int setCmdErrorMessage(_CMDFILEINFO* set, const char* format, ...) {
  char message[1024];
  va_list args;
  va_start(args, format);
  std::vsnprintf(message, sizeof message, format, args);
  va_end(args);
  set->errors.emplace_back(message);
  return 1;
}

void CmdFileInfoDeleter::operator()(_CMDFILEINFO* set) const {
  std::default_delete<_CMDFILEINFO>()(set);
}

CmdFileInfoPtr getCmdFileInfo(const char* name) {
  if (name == nullptr) return nullptr;
  std::error_code ec;
  if (!std::filesystem::exists(name, ec)) return nullptr;

  CmdFileInfoPtr set(std::make_unique<_CMDFILEINFO>().release());
  set->fileName = name;
  set->stream.reset(std::fopen(name, "r"));
  if (!set->stream) return nullptr;

  _tagLINEINFO li;
  char text[1024];
  while (sReadLine(li.line, sizeof li.line, set->stream.get()) != nullptr) {
    ++li.lineNumber;
    std::memcpy(text, li.line, sizeof text);
    if (char* comment = std::strchr(text, '#')) *comment = '\0';
    trimSpaces(text);
    if (text[0] == '\0') continue;
    analyseLine(*set, li, text);
  }
  if (!set->sections.empty()) checkEndOfSection(*set, set->sections.back());
  set->stream.reset();
  return set;
}

int isExistErrorInCmdFile(const _CMDFILEINFO* set) {
  return set != nullptr && !set->errors.empty() ? 1 : 0;
}

void dispCmdErrorMessage(const _CMDFILEINFO* set) {
  std::puts("Some errors are found in the command definition file. The file is ignored.");
  std::puts(std::string(70, '-').c_str());
  if (set == nullptr) return;
  for (const std::string& message : set->errors) std::puts(message.c_str());
}

void freeCmdFileInfo(CmdFileInfoPtr set) {
  set.reset();
}

int isExistMatchCommand(_CMDFILEINFO* set, const char* key) {
  if (set == nullptr || key == nullptr) return 0;
  for (std::size_t i = 0; i < set->sections.size(); ++i) {
    if (set->sections[i].name == key) {
      set->currentCommand = static_cast<std::uint32_t>(i);
      return 1;
    }
  }
  return 0;
}

int isMethodData(const _CMDSECTION& section) {
  const std::int32_t t = section.packetType;
  return t == 0 || t == 3 || t == 6 ? 1 : 0;
}

const std::vector<CmdValue>* searchCuurentParamValue(const std::vector<CmdParameter>& descriptions,
                                                     const char* parameterName) {
  for (const CmdParameter& param : descriptions) {
    if (param.name == parameterName) return &param.values;
  }
  return nullptr;
}

const char* searchDatafromSymbol(const std::vector<CmdValue>* values, const char* symbol) {
  if (values == nullptr) return nullptr;
  for (const CmdValue& v : *values) {
    // A value that failed its checks was never stored.
    if (v.symbol == symbol) return v.value.empty() ? nullptr : v.value.c_str();
  }
  return nullptr;
}
