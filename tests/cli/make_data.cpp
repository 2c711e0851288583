// The library alone, as a host calls it: proves the CLI's explanations add nothing to its output.
#include "zelpgen/zelpgen.h"

int main(int argc, char** argv) {
  return argc == 2 ? makeZELPData(argv[1]) : 2;
}
