// tools_status_cli_test.cc --
//
//    trguest tools status, run as a user would run it.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testsupport.hh"

namespace {

const std::string kTool = std::string(TRGUEST_BINARY_DIR) + "/bin/trguest";

TEST(CliToolsStatus, PrintsTheStatusAndOnRequestTheLog) {
   trtest::TempDir dir;
   std::string config = dir.file("vm.cfg");
   trtest::WriteFile(config, "guestOS = \"ubuntu\"\nlibdir = \"" + dir.file("lib") + "\"\n");
   trtest::WriteFile(dir.file("cache/linux_manifest.txt"),
                     "result.log = \"TRUE\"\nmonolithic.version = \"9.0.1.100#4\"\n"
                     "tools.version = \"2\"\n");
   trtest::WriteFile(dir.file("guest.txt"), "monolithic.version = \"9.0.1.200\"\n");
   const std::string cache = dir.file("cache");
   const struct {
      std::vector<std::string> args;
      int exitCode;
      std::string output;
   } cases[] = {
      {{config, "--guest-manifest", dir.file("guest.txt"), "--cache", cache}, 0,
       "supported new (4)\n"},
      {{config, "--guest-text", "", "--legacy", "9348"}, 0, "too old (1)\n"},
      {{config, "--legacy", "0x7fffffff", "--guest-text", ""}, 0, "reserved version (8)\n"},
      {{"--explain", config, "--cache", cache, "--guest-text",
        "monolithic.version = \"9.0.1.100\""},
       0,
       "GetHostManifests: Extracting the manifest file.\n"
       "GetHostManifests: Done extracting the manifest file.\n"
       "ToolsVersionGetStatus:\n"
       "ToolsVersion: missing from the guest  : (  1) tools\n"
       "current (3)\n"},
      {{config, "--legacy", "-1"}, 64, ""},
      {{config, "--guest-text", "x", "--guest-manifest", "y"}, 64, ""},
      {{"--cache", cache}, 64, ""},
   };
   for (const auto &c : cases) {
      std::vector<std::string> argv = {kTool, "tools", "status"};
      argv.insert(argv.end(), c.args.begin(), c.args.end());
      trtest::CommandResult r = trtest::RunCommand(argv);
      EXPECT_EQ(r.exitCode, c.exitCode) << c.args[0] << " " << c.args[1];
      if (c.exitCode == 0) {
         EXPECT_EQ(r.output, c.output) << c.args[0] << " " << c.args[1];
      } else {
         EXPECT_NE(r.output.find("usage: trguest tools status"), std::string::npos);
      }
   }
}

}  // namespace
