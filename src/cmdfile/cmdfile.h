// The command definition file "zelpgencmd.inf": site-defined ZELP commands.
#pragma once

#include <cstdint>
#include <memory>

struct _CMDFILEINFO;
struct CmdFileInfoDeleter {
  void operator()(_CMDFILEINFO* set) const;
};
using CmdFileInfoPtr = std::unique_ptr<_CMDFILEINFO, CmdFileInfoDeleter>;

// Null when `name` is null or no such file exists; otherwise the set, errors included.
CmdFileInfoPtr getCmdFileInfo(const char* name);
int isExistErrorInCmdFile(const _CMDFILEINFO* set);
void dispCmdErrorMessage(const _CMDFILEINFO* set);
void freeCmdFileInfo(CmdFileInfoPtr set);
// 1 when a command is named `key` (and it becomes the current command), else 0.
int isExistMatchCommand(_CMDFILEINFO* set, const char* key);

// Text predicates of the definition language.
// A number: decimal digits, or "0x"/"0X" and hexadecimal digits; the empty text counts.
int stringIsNumber(const char* text);
// A quoted text: a double quote first and another one last.
int stringIsString(const char* text);
// Neither a number nor a quoted text.
int stringIsSymbol(const char* text);
// "Param" followed by a number ("Param" alone included).
int paramFormatIsRight(const char* text);
// Value of a number text: "0x" hexadecimal or decimal, as an unsigned 32-bit value.
std::uint32_t getLongValue(const char* text);
