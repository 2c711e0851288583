// Placeholder until the configuration reader exists.
#include <cstdio>
#include <cstdlib>

#include "config/config.h"

namespace {
char sDefaultOutFileName[kPathSize];
}

char* setDefaultFileName(const char* name) {
  copyField(sDefaultOutFileName, name);
  return sDefaultOutFileName;
}

void parseParameter(const char* path, parameter* p) {
  std::FILE* f = std::fopen(path, "r");
  if (f == nullptr) std::exit(1);
  std::fclose(f);
  copyField(p->outFilePath, sDefaultOutFileName);
  p->jobImpressions = 1;
}

void disposeParameter(std::unique_ptr<parameter>) {}
