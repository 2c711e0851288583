// Placeholder stages until the attribute transfer and the image loop exist.
#include <cstdlib>

#include "driver/driver.h"
#include "kelm/kelm.h"
#include "zelp/zelp.h"

int processZELP(parameter* p) {
  ZELP_NewWithName(p->outFilePath);
  const int result = ZELP_Open();
  if (result < 0) std::exit(1);
  return result;
}

int processKELMConfiguration(parameter*) {
  return KELM_SendJobStart() < 0 ? 1 : 0;
}
int processKELMImageConfiguration(const imageParameter*) {
  return 0;
}
int setPrintableWidthInPixel(parameter*) {
  return 0;
}
int processKELMImageData(const imageParameter*) {
  return 0;
}
