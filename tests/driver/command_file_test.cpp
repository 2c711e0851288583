#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "print_job.h"

namespace {

using namespace zelptest;
using printjob::dataPackets;
using printjob::endV2;
using printjob::runJob;
using printjob::sameFile;
using testsupport::TempDir;

// Keeps the process in `dir` for the rest of the scope.
class WorkingDirectory {
 public:
  explicit WorkingDirectory(const TempDir& dir) {
    if (getcwd(previous_, sizeof previous_) == nullptr) std::abort();
    if (chdir(dir.path().c_str()) != 0) std::abort();
  }
  ~WorkingDirectory() {
    if (chdir(previous_) != 0) std::abort();
  }
  WorkingDirectory(const WorkingDirectory&) = delete;
  WorkingDirectory& operator=(const WorkingDirectory&) = delete;

 private:
  char previous_[4096];
};

const char* const kCommands =
    "# Site commands\n"
    "[SetMark]\n"
    "ParamCount=3\n"
    "SimplePacket=zelp_id_val_packet_type_document_method,\n"
    "0x0040\n"
    "Param1\n"
    "0x0007   # a constant between two parameters\n"
    "Param2\n"
    "Param3\n"
    "Param1.Name=\"mark\"\n"
    "Param1.DataType=Number\n"
    "Param1.Size=2\n"
    "Param1.Value=0x03,mark_cross\n"
    "Param1.Value=0x10,mark_line\n"
    "Param2.Name=\"label\"\n"
    "Param2.DataType=String\n"
    "Param2.Size=StringLength\n"
    "Param3.Name=\"count\"\n"
    "Param3.DataType=Number\n"
    "Param3.Size=4\n"
    "\n"
    "[Owner2]\n"
    "ParamCount=1\n"
    "SimplePacket=zelp_id_val_packet_type_job_attr,\n"
    "0x0123\n"
    "Param1\n"
    "Param1.Name=\"name\"\n"
    "Param1.DataType=String\n"
    "Param1.Size=StringLength\n"
    "\n"
    "# Named like a built-in key, which it replaces.\n"
    "[Quality]\n"
    "ParamCount=1\n"
    "SimplePacket=zelp_id_val_packet_type_binder_attr,\n"
    "0x0456\n"
    "Param1\n"
    "Param1.Name=\"level\"\n"
    "Param1.DataType=Number\n"
    "Param1.Size=1\n"
    "Param1.Value=9,best\n"
    "\n"
    "[Wake]\n"
    "ParamCount=0\n"
    "SimplePacket=zelp_id_val_packet_type_job_method,\n"
    "0x40\n"
    "0x21\n"
    "12\n";

// Commands of the definition file in the working directory (not beside the configuration)
// become packets of the print file, at the positions of their packet types.
TEST(CommandFile, DefinedCommandsReachThePrintFile) {
  TempDir commands;
  testsupport::writeFile(commands / "zelpgencmd.inf", std::string(kCommands));
  TempDir dir;
  printjob::Result r;
  {
    WorkingDirectory in(commands);
    r = runJob(dir,
               "[ZELP]\n"
               "Version=2\n"
               "JobTime=zelpgen_id_val_set_job_time_none\n"
               "SetJobOctets=1\n"
               "SetMark=mark_line\n"
               "SetMark=\"AB\"\n"
               "SetMark=300\n"
               "Owner2=\"me\"\n"
               "Quality=best\n"
               "SetMark=5\n"
               "SetMark=\"\"\n"
               "SetMark=0x0000FFFF\n"
               "Wake=1\n" +
                   printjob::kRaster);
  }
  EXPECT_EQ(r.out, "JobTime=zelpgen_id_val_set_job_time_none\n");

  const Bytes method = {0, 0, 0, 0};
  const std::vector<Bytes> start = emptyStartV2();
  const Bytes body = join({
      start[0],
      packet(18, {0x01, 0x23, 0x02, 'm', 'e'}),
      packet(29, join({method, {0x40, 0x21, 0x12}})),
      start[1],
      start[2],
      packet(21, {0x04, 0x56, 0x09}),
      start[3],
      start[4],
      start[5],  // no quality attribute: the command took its key
      // A symbol stands for its data as written: "0x10" is one byte even at Size=2, while
      // numbers are padded to the size.
      packet(29, join({method,
                       {0x00, 0x40, 0x10, 0x00, 0x07, 0x02, 'A', 'B', 0x00, 0x00, 0x01, 0x2C}})),
      packet(29,
             join({method, {0x00, 0x40, 0x00, 0x05, 0x00, 0x07, 0x00, 0x00, 0x00, 0xFF, 0xFF}})),
      dataPackets(r.raster),
  });
  EXPECT_TRUE(sameFile(r.file, join({body, endV2(body.size(), 0, true)})));
}

}  // namespace
