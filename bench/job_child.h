// One job timed in a child process: the library ends its process on a bad job, and a child's
// rusage gives the job's own peak memory and CPU time.
#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "zelpgen/zelpgen.h"

struct JobChildRun {
  bool ok = false;
  double seconds = 0;  // wall time, fork to exit
  rusage usage{};
};

inline JobChildRun runJobInChild(const std::string& cfg, bool muteStdout) {
  JobChildRun run;
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    if (muteStdout && std::freopen("/dev/null", "w", stdout) == nullptr) _exit(2);
    _exit(makeZELPData(cfg.c_str()));
  }
  int status = 0;
  wait4(child, &status, 0, &run.usage);
  run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  run.ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
  return run;
}
