// The command definition file "zelpgencmd.inf": site-defined ZELP commands.
#pragma once

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
