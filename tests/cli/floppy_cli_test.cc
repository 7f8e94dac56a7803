// floppy_cli_test.cc --
//
//    trguest floppy, run as a user would run it: a floppy made, filled,
//    listed and read back, checked with fsck.fat and mtools.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fat_support.hh"
#include "testsupport.hh"

namespace {

const std::string kTool = std::string(TRGUEST_BINARY_DIR) + "/bin/trguest";

trtest::CommandResult Tool(std::vector<std::string> args) {
   args.insert(args.begin(), kTool);
   return trtest::RunCommand(args);
}

TEST(CliFloppy, FormatAddListGet) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir dir;
   const std::string img = dir.file("autoinst.flp");
   const std::string answer = dir.file("preseed.cfg");
   trtest::WriteFile(answer, "d-i debian-installer/locale string en_US\n");

   EXPECT_EQ(Tool({"floppy", "format", img}).exitCode, 0);
   EXPECT_EQ(Tool({"floppy", "add", img, answer, "preseed.cfg"}).exitCode, 0);
   EXPECT_EQ(Tool({"floppy", "add", img, answer, "UPGRADE.SH"}).exitCode, 0);
   auto r = Tool({"floppy", "list", img});
   EXPECT_EQ(r.exitCode, 0);
   EXPECT_EQ(r.output, "        41 preseed.cfg\n        41 UPGRADE.SH\n");

   r = Tool({"floppy", "get", img, "upgrade.sh", dir.file("back")});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   EXPECT_EQ(trtest::ReadFile(dir.file("back")), trtest::ReadFile(answer));
   fattest::ExpectFsckClean(img);
   fattest::ExpectMtype(img, "preseed.cfg", trtest::ReadFile(answer));

   struct {
      std::vector<std::string> args;
      int exitCode;
   } failures[] = {
      {{"floppy", "add", img, answer, "much-too-long.cfg"}, 2},
      {{"floppy", "add", img, dir.file("missing"), "x.cfg"}, 2},
      {{"floppy", "get", img, "missing.cfg", dir.file("out")}, 2},
      {{"floppy", "list", dir.file("missing.flp")}, 2},
      {{"floppy", "list", answer}, 2},
      {{"floppy", "add", img, answer}, 64},
      {{"floppy", "erase", img}, 64},
   };
   for (const auto &f : failures) {
      r = Tool(f.args);
      EXPECT_EQ(r.exitCode, f.exitCode) << f.args[1] << " " << f.args.back();
      EXPECT_NE(r.output, "") << f.args[1] << " " << f.args.back();
   }
   EXPECT_FALSE(trtest::FileExists(dir.file("out")));
   fattest::ExpectFsckClean(img);
}

}  // namespace
