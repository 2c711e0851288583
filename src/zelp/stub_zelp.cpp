// Placeholder until the attribute store and the start/end sequences exist.
#include "zelp/framing.h"
#include "zelp/lxfile.h"
#include "zelp/zelp.h"

void ZELP_NewWithName(const char* path) {
  zelp_AllocateWriteBuffer();
  LXFile_NewWithName(path);
  ZELP_Init();
}
void ZELP_Init() {
  zelp_ResetJobOctetsLength();
}
void ZELP_Delete() {
  LXFile_Delete();
  zelp_FreeWriteBuffer();
}
int ZELP_SendJobStartWithJobAttributes() {
  return 0;
}
int ZELP_SendJobEnd(int) {
  return 0;
}
