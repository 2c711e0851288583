// Placeholder stages until the raster settings transfer and the image loop exist.
#include <cstdlib>

#include "driver/driver.h"
#include "kelm/kelm.h"
#include "zelp/zelp.h"

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
