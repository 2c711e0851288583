// Placeholder until the command definition file and raw packets exist: no definitions are
// ever loaded and a [ZELP_Raw] section may hold nothing but its header.
#include <cstdlib>

#include "cmdfile/cmdfile.h"
#include "cmdfile/raw_packet.h"

struct _CMDFILEINFO {};

void CmdFileInfoDeleter::operator()(_CMDFILEINFO* set) const {
  std::default_delete<_CMDFILEINFO>()(set);
}
CmdFileInfoPtr getCmdFileInfo(const char*) {
  return nullptr;
}
int isExistErrorInCmdFile(const _CMDFILEINFO*) {
  return 0;
}
void dispCmdErrorMessage(const _CMDFILEINFO*) {}
void freeCmdFileInfo(CmdFileInfoPtr) {}
int isExistMatchCommand(_CMDFILEINFO*, const char*) {
  return 0;
}

int parseZELP_RawParameter(cfgLine* line, parameter*) {
  if (line->key[0] == '[') return 0;
  std::exit(1);
}
void checkRawPacket(parameter*) {}
int parseZELPParameterCmd(cfgLine*, parameter*) {
  std::exit(1);
}
