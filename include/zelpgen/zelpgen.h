/* zelpgen: turns a job configuration file into one print file for large-format ink-jet printers.
 *
 * Link with -lzelpgen (pkg-config zelpgen, or the CMake target zelpgen::zelpgen). The version
 * this header came with is in <zelpgen/version.h>.
 *
 * The call
 *   makeZELPData(path) reads the job configuration file at `path` (`[Section]` headings and
 *   `Key=Value` lines naming TIFF or Windows BMP images), reads the images it names and writes
 *   one print file, then returns. It runs on the caller's thread; see "Threads" below.
 *
 * Where the print file goes
 *   To the [Global] OutFilePath when the job gives one (a relative path is taken from the
 *   configuration file's directory), otherwise beside the configuration file: its absolute path
 *   with the last extension replaced by ".dat" (job.cfg -> job.dat). An existing file is
 *   overwritten. Relative image paths are also taken from the configuration file's directory.
 *
 * Standard output and standard error
 *   stdout: the JobTime value and the [ZELP_Raw] packet lines as they are read, the errors of a
 *   faulty command definition file, and the names of missing sections of a faulty job.
 *   stderr: nothing but "ERROR! <message>(<code>)" lines, each for a part of the job that is
 *   left out while the job goes on and the call still returns 0:
 *     - "KELM_SetImageProcessingFile: too many files(6)": a seventh or later
 *       ImageProcessingFile (only the first six are sent);
 *     - "LXTiff_New can't open '<path>'. (errno=<e>)", "LXWindowsBMP_New ..." or, for a table
 *       file, "LXBMP_New ...", followed by a line "(<e>)": a file that could be opened when the
 *       job was read but not when it is sent (removed or made unreadable in between);
 *     - "LXewGWorld failed.(12)": a band of 300 rows of an image would take more than 1 GiB;
 *       the image is left out;
 *     - "... memory error(<errno>)": memory refused.
 *   Every other problem of an image is silent: a file that is not a TIFF or BMP, not named
 *   .tif/.tiff/.bmp, a tiled TIFF, a top-down BMP, a header claiming rows the file cannot hold
 *   (nothing of the image is printed), an LZW, Deflate or other compression the readers do not
 *   decode (its bytes go out as rows), a pixel depth no reader fills (the plane is blank). The
 *   zelpgen program warns of each of these; its `check` fails on them and on ERROR! lines.
 *   An image or table file that cannot be opened when the job is read ends the job (below).
 *   Output goes through the process's stdio buffers; flush them before fork() in the host.
 *
 * A configuration error ends the calling process
 *   A job that cannot be run (an unreadable or malformed configuration file, a missing required
 *   section, a faulty command definition file, an image or table file that cannot be opened when
 *   the job is read, an output file that cannot be created, a path too long) calls exit(1):
 *   atexit handlers run and the process ends with status 1; the call never returns, and stderr
 *   says nothing of why (the zelpgen program does). Anything else that stops a job midway
 *   (memory refused while reading it, for one) ends it the same way: no C++ exception ever
 *   leaves the call. A host that must survive bad jobs runs each job in a child process (fork,
 *   then waitpid and WEXITSTATUS); examples/host/ shows how.
 *
 * The command definition file
 *   "zelpgencmd.inf", which may define further job-control commands, is read from the process's
 *   current working directory (not the configuration file's) at the start of every job. Without
 *   it the job runs with the built-in commands only.
 *
 * Threads
 *   An image taller than one band (300 rows) is read one band ahead on a second thread while
 *   the band before it is coded and written; that thread ends before the image does, so none is
 *   left running when the call returns. The print file, stdout and stderr are the same as with
 *   one thread. Reading ahead takes a second set of band buffers (up to 64 MiB; beyond that, or
 *   when memory or a thread is refused, the image is read on the caller's thread alone). Set
 *   ZELPGEN_THREADS=1 in the environment to keep every job on the caller's thread.
 *
 * One job per process
 *   A host runs one job per process, as examples/host/ does (fork, run the job in the child,
 *   waitpid). The library keeps the job in progress in process-wide state, so two threads must
 *   never call at once; and a second job in the same process is not a fresh job: every job
 *   attribute an earlier job set is sent again, with its starting value (mostly zero), when the
 *   later job does not set it. That carry-over is kept on purpose, so that a process that runs
 *   several jobs writes what it always wrote; a fresh process per job never sees it. A
 *   configuration error also ends the process (below).
 *
 * Path length
 *   The configuration file's absolute path, and every path in it (output, images, table files),
 *   must stay under 260 bytes (259 characters and the terminating NUL); a longer configuration
 *   path, or a default output name that does not fit, ends the process with status 1.
 *
 * Result
 *   0 when the print file has been written, ERROR! lines and silent image problems included.
 *   There is no other return value: failures that stop the job end the process as described
 *   above.
 *   Process exit status seen by a host running the job in a child: 0 done, 1 job error.
 */
#ifndef ZELPGEN_ZELPGEN_H
#define ZELPGEN_ZELPGEN_H

#if defined(__GNUC__) || defined(__clang__)
#define ZELPGEN_API __attribute__((visibility("default")))
#else
#define ZELPGEN_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Writes the print file of the job configuration file at `path`; returns 0 or ends the process
 * with status 1 (see above). */
ZELPGEN_API int makeZELPData(const char* path);

#ifdef __cplusplus
}
#endif

#endif
