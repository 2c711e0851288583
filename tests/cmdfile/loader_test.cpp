#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "cmdfile/cmdfile_info.h"
#include "support/support.h"
#include "zelpgen/zelpgen.h"

namespace {

using testsupport::TempDir;
using Errors = std::vector<std::string>;

CmdFileInfoPtr load(const TempDir& dir, const std::string& text) {
  testsupport::writeFile(dir / "cmd.inf", text);
  return getCmdFileInfo((dir / "cmd.inf").c_str());
}

// Lines 1 to 8: a complete command with one Number parameter.
const std::string kGood =
    "[Cmd]\n"
    "ParamCount=1\n"
    "SimplePacket=zelp_id_val_packet_type_job_attr,\n"
    "0x0100\n"
    "Param1\n"
    "Param1.Name=\"n\"\n"
    "Param1.DataType=Number\n"
    "Param1.Size=2\n";

// A message quoting line n of the file.
std::string at(const std::string& what, int n, const std::string& line) {
  return "[Error] " + what + ": line " + std::to_string(n) + ".\n" + line;
}
std::string required(const std::string& item, const std::string& section) {
  return "[Error] Required item is not found. The item \"" + item +
         "\" must be set in the section \"" + section + "\".";
}
std::string countDiffers(const std::string& section) {
  return "[Error] The number of parameter description differs from the value of \"ParamCount\" "
         "in the section \"" +
         section + "\".";
}
const std::string kMustBeA = "Invalid format: The value must be a ";
const std::string kDescribed = "Invalid format: The value must be described.";
const std::string kNoEqual = "Invalid format: A equal character ('=') must be described.";

TEST(CmdFileLoader, EachMessageWithTheLineThatDrawsIt) {
  const std::string head = "[Cmd]\nParamCount=1\nSimplePacket=zelp_id_val_packet_type_job_attr,\n";
  const std::string param = "Param1.Name=\"n\"\nParam1.DataType=Number\nParam1.Size=2\n";
  struct Case {
    const char* what;
    std::string text;
    Errors errors;
  };
  const std::vector<Case> cases = {
      {"complete", kGood, {}},
      {"keys before any section; the rest of it is ignored",
       "ParamCount=1\njunk [x\nfoo\n[Cmd]\n",
       {"[Error] A section is not found.: line 1.", at("Unknown item", 2, "junk [x"),
        required("ParamCount", "Cmd"), required("SimplePacket", "Cmd")}},
      {"parameter item before any section",
       "Param1.Size=2\n",
       {"[Error] A section is not found.: line 1."}},
      {"text after a header",
       "[Cmd] x\n",
       {at("Unknown item", 1, "[Cmd] x"), at(kNoEqual, 1, "[Cmd] x")}},
      {"unknown and repeated keys, quoted as read",
       kGood + "  Colour=1 # x\nParam1.Name\nParamCount=1\nSimplePacket=S,\nParam1=3\n"
               "ParamX.Name=\"a\"\nParam1.Colour=2\nParam2.Name=\"m\"\nParam2.Size=1\n",
       {at("Unknown item", 9, "  Colour=1 # x"), at(kNoEqual, 10, "Param1.Name"),
        at("Double defined item", 11, "ParamCount=1"),
        at("Double defined item", 12, "SimplePacket=S,"), at("Unknown item", 13, "Param1=3"),
        at("Unknown item", 14, "ParamX.Name=\"a\""), at("Unknown item", 15, "Param1.Colour=2"),
        at("An extra parameter is described.", 16, "Param2.Name=\"m\""),
        at("An extra parameter is described.", 17, "Param2.Size=1"), countDiffers("Cmd")}},
      {"ParamCount and SimplePacket values",
       "[A]\nParamCount=-1\nSimplePacket=0x12\n[B]\nParamCount=\nSimplePacket=\n[C]\n"
       "ParamCount=0\nSimplePacket=zelp_id_val_packet_type_job_attr\n",
       {at(kMustBeA + "number.", 2, "ParamCount=-1"),
        at(kMustBeA + "symbol.", 3, "SimplePacket=0x12"), at(kDescribed, 5, "ParamCount="),
        at(kDescribed, 6, "SimplePacket="),
        at("Unknown symbol", 9, "SimplePacket=zelp_id_val_packet_type_job_attr")}},
      {"packet lines",
       head + "Param1\n0x01\n\"ab\"\nfoo\nParam1\nParam2\n" + param,
       {at(kMustBeA + "number.", 4, "Param1"), at(kMustBeA + "symbol.", 6, "\"ab\""),
        at("Unknown symbol", 7, "foo"), at("An extra parameter is described.", 9, "Param2"),
        countDiffers("Cmd")}},
      {"Name, DataType and Size",
       head + "0x01\nParam1\nParam1.Name=n\nParam1.Name=\nParam1.DataType=Text\nParam1.DataType=\n"
              "Param1.Size=\nParam1.Size=1\n[Two]\nParam1.DataType=1\nParam1.Size=two\n"
              "Param2.DataType=String\nParam2.Size=Bytes\n",
       {at(kMustBeA + "string.", 6, "Param1.Name=n"), at("Double defined item", 7, "Param1.Name="),
        at("Unknown symbol", 8, "Param1.DataType=Text"),
        at("Double defined item", 9, "Param1.DataType="), at(kDescribed, 10, "Param1.Size="),
        at("Double defined item", 11, "Param1.Size=1"),
        at(kMustBeA + "symbol.", 13, "Param1.DataType=1"),
        at(kMustBeA + "number.", 14, "Param1.Size=two"),
        at("Invalid format: The value must be \"StringLength\" for \"Param2.DataType=String\"", 16,
           "Param2.Size=Bytes"),
        required("ParamCount", "Two"), required("SimplePacket", "Two")}},
      {"Value",
       kGood + "Param1.Value=\nParam1.Value=z,fast\nParam1.Value=0x001,slow\nParam1.Value=0x01,5\n"
               "Param1.Value=0x01\nParam1.Value=10,ten\n",
       {at("Invalid format: The 1st value must be described.", 9, "Param1.Value="),
        at("Invalid format: The 2nd value must be described.", 9, "Param1.Value="),
        at("Invalid format: The 1st value must be a number.", 10, "Param1.Value=z,fast"),
        at("The data size of the 1st value of Param1.Value differs from the value of Param1.Size.",
           11, "Param1.Value=0x001,slow"),
        at("Invalid format: The 2nd value must be a symbol.", 12, "Param1.Value=0x01,5"),
        at("Invalid format: The 2nd value must be described.", 13, "Param1.Value=0x01"),
        at("The data size of the 1st value of Param1.Value differs from the value of Param1.Size.",
           14, "Param1.Value=10,ten")}},
      {"missing items of the descriptions there are",
       "[Cmd]\nParamCount=2\nSimplePacket=zelp_id_val_packet_type_job_method,\n0\nParam1\n"
       "Param2\nParam1.DataType=ListCount\n",
       {countDiffers("Cmd"), required("Param1.Name", "Cmd"), required("Param1.Size", "Cmd"),
        required("Param1.ListMembers", "Cmd")}},
  };
  for (const Case& c : cases) {
    TempDir dir;
    CmdFileInfoPtr set = load(dir, c.text);
    ASSERT_NE(set, nullptr) << c.what;
    EXPECT_EQ(set->errors, c.errors) << c.what;
    EXPECT_EQ(isExistErrorInCmdFile(set.get()), c.errors.empty() ? 0 : 1) << c.what;
  }
}

TEST(CmdFileLoader, MessagesAreCutToTheBuffer) {
  TempDir dir;
  CmdFileInfoPtr set = load(dir, "[Cmd]\nX=" + std::string(1500, 'y') + "\n");
  ASSERT_NE(set, nullptr);
  ASSERT_FALSE(set->errors.empty());
  EXPECT_EQ(set->errors[0], "[Error] Unknown item: line 2.\nX=" + std::string(991, 'y'));
}

TEST(CmdFileLoader, KeysAndItemsAreTakenByTheirLeadingPart) {
  TempDir dir;
  CmdFileInfoPtr set = load(dir,
                            "[Short]\n"
                            "Param=2\n"
                            "S=zelp_id_val_packet_type_binder_method,\n"
                            "12\n"
                            "Param10\n"
                            "Param2\n"
                            "Param10.N=\"t\"en\"\n"    // up to the last quote
                            "Param1.D=NumberOfDots\n"  // finds Param10
                            "Param1.S=4\n"
                            "Param1.V=0x00ff , wide\n"
                            "Param2.N=\"text\"\n"
                            "Param2.D=String\n"
                            "Param2.S=String\n"
                            "[]\n");
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->errors, Errors({required("ParamCount", ""), required("SimplePacket", "")}));
  ASSERT_EQ(set->sections.size(), 2u);
  const _CMDSECTION& s = set->sections[0];
  EXPECT_EQ(s.paramCount, 2u);
  EXPECT_EQ(s.packetLines, (std::vector<std::string>{"12", "Param10", "Param2"}));
  ASSERT_EQ(s.parameters.size(), 2u);
  EXPECT_EQ(s.parameters[0].displayName, "t\"en");
  EXPECT_EQ(s.parameters[0].dataType, kCmdTypeNumber);
  EXPECT_EQ(s.parameters[1].dataType, kCmdTypeString);
  EXPECT_STREQ(searchDatafromSymbol(searchCuurentParamValue(s.parameters, "Param10"), "wide"),
               "0x00ff");
  EXPECT_EQ(searchCuurentParamValue(s.parameters, "Param1"), nullptr);

  // Commands are found by their whole name, the nameless one included.
  EXPECT_EQ(isExistMatchCommand(set.get(), "Shor"), 0);
  EXPECT_EQ(isExistMatchCommand(set.get(), ""), 1);
  EXPECT_EQ(set->currentCommand, 1u);
  EXPECT_EQ(isExistMatchCommand(set.get(), "Short"), 1);
  EXPECT_EQ(set->currentCommand, 0u);
}

TEST(CmdFileLoader, FaultyFileInTheWorkingDirectoryEndsTheJob) {
  TempDir dir;
  char previous[4096];
  ASSERT_NE(getcwd(previous, sizeof previous), nullptr);
  ASSERT_EQ(chdir(dir.path().c_str()), 0);

  EXPECT_EQ(getCmdFileInfo(nullptr), nullptr);
  // A faulty file ends the job before the configuration is read, listing every error.
  testsupport::writeFile(dir / "zelpgencmd.inf", "Colour=1\n[Cmd]\n");
  EXPECT_EXIT_WITH_STDOUT(
      makeZELPData("absent.cfg"),
      "Some errors are found in the command definition file. The file is ignored.\n" +
          std::string(70, '-') + "\n" + at("Unknown item", 1, "Colour=1") + "\n" +
          required("ParamCount", "Cmd") + "\n" + required("SimplePacket", "Cmd") + "\n");

  ASSERT_EQ(chdir(previous), 0);
}

}  // namespace
