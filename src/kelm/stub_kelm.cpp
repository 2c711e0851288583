// Placeholder until the raster encoder exists: a job is its job-control envelope only.
#include "kelm/kelm.h"
#include "zelp/zelp.h"

void KELM_New() {}
int KELM_SendJobStart() {
  return ZELP_SendJobStartWithJobAttributes() < 0 ? -1 : 0;
}
int KELM_SendJobEnd(int arg) {
  ZELP_Flush(1);
  ZELP_Flush(0);
  return ZELP_SendJobEnd(arg);
}
void KELM_SendEndOfPage() {}
