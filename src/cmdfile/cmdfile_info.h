// The loaded command definition file: one section per command, with its parameters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cmdfile/cmdfile.h"

// Flags of items a section still lacks.
inline constexpr std::uint32_t kCmdMissingParamCount = 1;
inline constexpr std::uint32_t kCmdMissingSimplePacket = 2;
// Flags of items a parameter description still lacks.
inline constexpr std::uint32_t kCmdMissingName = 4;
inline constexpr std::uint32_t kCmdMissingDataType = 8;
inline constexpr std::uint32_t kCmdMissingSize = 16;
inline constexpr std::uint32_t kCmdMissingListMembers = 32;

enum CmdDataType : std::int32_t {
  kCmdTypeNotGiven = 0,
  kCmdTypeNumber = 1,
  kCmdTypeString = 2,
  kCmdTypeListCount = 3,
  kCmdTypeUnknown = 4,
};

// One ParamN.Value line: the number as written and its symbol.
struct CmdValue {
  std::string value;
  std::string symbol;
};

// One ParamN description.
struct CmdParameter {
  std::uint32_t missingItems =
      kCmdMissingName | kCmdMissingDataType | kCmdMissingSize | kCmdMissingListMembers;
  std::string name;
  std::string displayName;
  std::int32_t dataType = kCmdTypeNotGiven;
  std::uint32_t size = 0;
  std::vector<CmdValue> values;
};

// One command.
struct _CMDSECTION {
  std::string name;
  std::uint32_t missingItems = kCmdMissingParamCount | kCmdMissingSimplePacket;
  std::uint32_t paramCount = 0;
  std::int32_t packetType = 0;
  const char* packetTypeName = nullptr;  // points into g_CmdPacketType
  std::vector<CmdParameter> parameters;
  std::vector<std::string> packetLines;  // the first is a number, the rest numbers or ParamN
  std::size_t laterReferences = 0;       // ParamN lines after the first packet line
  // Next packet line to write for the packet being built; 0 when none is in progress.
  std::size_t consumed = 0;
};

struct CmdFileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};

struct _CMDFILEINFO {
  std::uint32_t currentCommand = 0;
  std::string fileName;
  std::unique_ptr<std::FILE, CmdFileCloser> stream;  // open only while loading
  std::vector<_CMDSECTION> sections;
  std::vector<std::string> errors;
};

struct CmdPacketType {
  const char* symbol;
  std::int32_t value;
};
// The trailing comma is part of each symbol.
inline constexpr CmdPacketType g_CmdPacketType[] = {
    {"zelp_id_val_packet_type_job_attr,", 18},      {"zelp_id_val_packet_type_binder_attr,", 21},
    {"zelp_id_val_packet_type_document_attr,", 24}, {"zelp_id_val_packet_type_job_method,", 0},
    {"zelp_id_val_packet_type_binder_method,", 3},  {"zelp_id_val_packet_type_document_method,", 6},
};

// The table entry named exactly `symbol`, or null.
const CmdPacketType* findCmdPacketType(const char* symbol);

// 1 for the three method packet types.
int isMethodData(const _CMDSECTION& section);
// Values of the description named exactly `parameterName`, or null.
const std::vector<CmdValue>* searchCuurentParamValue(const std::vector<CmdParameter>& descriptions,
                                                     const char* parameterName);
// Number text of the value whose symbol is exactly `symbol`, or null.
const char* searchDatafromSymbol(const std::vector<CmdValue>* values, const char* symbol);

// The trimmed text between the first `open` and the last `close`: its length, or -1 when either
// is missing or they are out of order.
int getStringWithinTarget(const char* text, char open, char close, std::string& out);
// Splits at the first `separator` (nothing trimmed): 0, or -1 when there is none.
int separateKeyAndValueWithTarget(const char* text, std::string& key, std::string& value,
                                  char separator);
// Appends a formatted message (cut to 1023 characters) to the error list; returns 1.
int setCmdErrorMessage(_CMDFILEINFO* set, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
