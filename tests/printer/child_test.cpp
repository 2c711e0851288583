#include "child.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "support/support.h"

namespace {

struct LimitCase {
  const char* name;
  std::vector<std::string> argv;
  zp::ChildLimits limits;
  bool timedOut;
  int signal;
  const char* reason;  // a part of the one-line reason
};

zp::ChildLimits limits(int wall, std::uint64_t memory, std::uint64_t file) {
  zp::ChildLimits l;
  l.wallSeconds = wall;
  l.memoryBytes = memory;
  l.fileBytes = file;
  return l;
}

TEST(RunChild, LimitsEndTheChildWithTheirReason) {
  const std::uint64_t mib = 1 << 20;
  const std::vector<LimitCase> cases = {
      {"exit",
       {"/bin/sh", "-c", "echo first >&2; echo 'no such page' >&2; exit 3"},
       limits(30, 512 * mib, mib),
       false,
       0,
       "sh failed (exit status 3): no such page"},
      // The grandchild holds stderr open: only the process group's end lets the call return.
      {"wall",
       {"/bin/sh", "-c", "sleep 60 & exec sleep 60"},
       limits(1, 512 * mib, mib),
       true,
       SIGKILL,
       "sh took longer than the time limit of 1 s"},
      {"file",
       {"/bin/sh", "-c", "exec head -c 3000000 /dev/zero > big"},
       limits(30, 512 * mib, mib),
       false,
       SIGXFSZ,
       "sh wrote a file larger than the limit of 1 MiB"},
      {"memory",
       {ZELPGEN_TEST_GS, "-q", "-sstdout=%stderr", "-dNODISPLAY", "-dBATCH", "-c",
        "[ 0 1 10000 { pop 1000000 string } for ]"},
       limits(60, 200 * mib, mib),
       false,
       0,
       "gs ran out of memory (limit 200 MiB)"},
      {"missing",
       {"no-such-program-here"},
       limits(30, 512 * mib, mib),
       false,
       0,
       "cannot find the program no-such-program-here"},
  };
  for (const LimitCase& c : cases) {
    SCOPED_TRACE(c.name);
    testsupport::TempDir dir;
    zp::ChildOutcome out = zp::runChild(c.argv, dir.path().string(), c.limits);
    EXPECT_FALSE(out.ok);
    EXPECT_EQ(out.timedOut, c.timedOut);
    EXPECT_EQ(out.signal, c.signal);
    EXPECT_NE(out.reason.find(c.reason), std::string::npos) << out.reason << "\n" << out.stderrTail;
    EXPECT_EQ(out.reason.find('\n'), std::string::npos);
  }
}

TEST(RunChild, OutputEnvironmentAndStderrTail) {
  testsupport::TempDir dir;
  ::setenv("ZP_TEST_SECRET", "leaked", 1);
  std::string output;
  auto collect = [&output](const std::uint8_t* data, std::size_t size) {
    output.append(reinterpret_cast<const char*>(data), size);
    return true;
  };
  // stdin is empty, the environment is the fixed one, the folder is the one asked for.
  zp::ChildOutcome out = zp::runChild({"/bin/sh", "-c", "cat; env; pwd"}, dir.path().string(),
                                      zp::ChildLimits(), collect);
  ASSERT_TRUE(out.ok) << out.reason;
  EXPECT_EQ(output.find("ZP_TEST_SECRET"), std::string::npos) << output;
  const std::string folder = dir.path().string();
  EXPECT_NE(output.find(std::string("TMPDIR=").append(folder).append("\n")), std::string::npos)
      << output;
  EXPECT_NE(output.find(std::string("\n").append(folder).append("\n")), std::string::npos)
      << output;

  // Into a file descriptor; the stderr tail keeps the end of a long complaint.
  int fd = ::open((dir / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  out = zp::runChild(
      {"/bin/sh", "-c", "echo to-file; yes complaint | head -c 100000 >&2; echo end >&2"},
      dir.path().string(), zp::ChildLimits(), fd);
  ::close(fd);
  EXPECT_TRUE(out.ok) << out.reason;
  EXPECT_LE(out.stderrTail.size(), 4096u);
  EXPECT_EQ(out.stderrTail.substr(out.stderrTail.size() - 4), "end\n");
  auto written = testsupport::readFile(dir / "out");
  EXPECT_EQ(std::string(written.begin(), written.end()), "to-file\n");

  // A reader that has had enough stops an endless writer.
  std::size_t seen = 0;
  out = zp::runChild({"yes"}, dir.path().string(), zp::ChildLimits(),
                     [&seen](const std::uint8_t*, std::size_t size) {
                       seen += size;
                       return seen < 1000000;
                     });
  EXPECT_FALSE(out.ok);
  EXPECT_FALSE(out.timedOut);
  EXPECT_EQ(out.reason, "yes was stopped");
}

}  // namespace
