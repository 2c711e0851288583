#ifndef ZELPGEN_ZELPGEN_H
#define ZELPGEN_ZELPGEN_H

#ifdef __cplusplus
extern "C" {
#endif

/* Turns the job configuration file at `path` into one print file. Returns 0; a configuration
 * error ends the process with exit status 1. Not re-entrant: one job per process at a time. */
__attribute__((visibility("default"))) int makeZELPData(const char* path);

#ifdef __cplusplus
}
#endif

#endif
