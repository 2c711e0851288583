/* A host that survives bad jobs: the library ends its process with status 1 when a job cannot
 * be run, so each job runs in a child process and the host reports how it ended.
 *
 *   zelpgen-host JOB.cfg...   exit status 0 when every job printed, 1 otherwise
 */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zelpgen/zelpgen.h>

/* The wait status of the child that ran the job, or -1 when it could not be run. */
static int run_job(const char* path) {
  /* Anything still buffered would otherwise be written by the child as well. */
  fflush(NULL);
  pid_t pid = fork();
  if (pid < 0) {
    perror("zelpgen-host: fork");
    return -1;
  }
  if (pid == 0) exit(makeZELPData(path));

  int status;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) {
      perror("zelpgen-host: waitpid");
      return -1;
    }
  }
  return status;
}

int main(int argc, char** argv) {
  if (argc < 2) {
    fputs("usage: zelpgen-host JOB.cfg...\n", stderr);
    return 2;
  }
  int failed = 0;
  for (int i = 1; i < argc; ++i) {
    const int status = run_job(argv[i]);
    if (status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0) {
      printf("%s: printed\n", argv[i]);
      continue;
    }
    ++failed;
    if (status == -1)
      printf("%s: not run\n", argv[i]);
    else if (WIFEXITED(status))
      printf("%s: job error (exit status %d)\n", argv[i], WEXITSTATUS(status));
    else if (WIFSIGNALED(status))
      printf("%s: ended by signal %d\n", argv[i], WTERMSIG(status));
  }
  printf("%d of %d jobs printed\n", argc - 1 - failed, argc - 1);
  return failed == 0 ? 0 : 1;
}
