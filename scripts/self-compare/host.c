/* The library alone, as a C host loads it: runs one job from the library named on the command
 * line, so two builds can be compared without relinking. usage: host LIBZELPGEN.so JOB.cfg */
#include <dlfcn.h>
#include <stdio.h>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  void* lib = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (!lib) {
    fprintf(stderr, "%s\n", dlerror());
    return 2;
  }
  int (*make)(const char*) = (int (*)(const char*))dlsym(lib, "makeZELPData");
  return make ? make(argv[2]) : 2;
}
