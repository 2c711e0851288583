// Placeholder until the attribute transfer exists.
#include <cstdlib>

#include "driver/driver.h"
#include "zelp/zelp.h"

int processZELP(parameter* p) {
  ZELP_NewWithName(p->outFilePath);
  const int result = ZELP_Open();
  if (result < 0) std::exit(1);
  return result;
}
