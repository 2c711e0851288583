/* A host as small as it gets: runs the job named on its command line through the installed
 * library. Built three ways by scripts/consumer-test.sh. */
#include <stdio.h>
#include <string.h>
#include <zelpgen/version.h>
#include <zelpgen/zelpgen.h>

#define TEXT(x) #x
#define NUMBER(x) TEXT(x)

int main(int argc, char** argv) {
  static const char parts[] = NUMBER(ZELPGEN_VERSION_MAJOR) "." NUMBER(
      ZELPGEN_VERSION_MINOR) "." NUMBER(ZELPGEN_VERSION_PATCH);
  if (argc != 2) {
    fputs("usage: consumer JOB.cfg\n", stderr);
    return 2;
  }
  if (strcmp(parts, ZELPGEN_VERSION_STRING) != 0) {
    fprintf(stderr, "version parts %s disagree with %s\n", parts, ZELPGEN_VERSION_STRING);
    return 2;
  }
  return makeZELPData(argv[1]);
}
