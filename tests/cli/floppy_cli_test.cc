// floppy_cli_test.cc --
//
//    trguest floppy, run as a user would run it: a floppy made, filled,
//    listed and read back, checked with fsck.fat and mtools; bad input and
//    bad usage each a message and their own exit code.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fat_support.hh"
#include "testsupport.hh"

namespace {

trtest::CommandResult Floppy(std::vector<std::string> args) {
   args.insert(args.begin(), {std::string(TRGUEST_BINARY_DIR) + "/bin/trguest", "floppy"});
   return trtest::RunCommand(args);
}

TEST(CliFloppy, FormatAddListGet) {
   FAT_REQUIRE_TOOLS();
   trtest::TempDir dir;
   const std::string img = dir.file("autoinst.flp"), answer = dir.file("preseed.cfg");
   const std::string content = "d-i debian-installer/locale string en_US\n";
   trtest::WriteFile(answer, content);

   EXPECT_EQ(Floppy({"format", img}).exitCode, 0);
   EXPECT_EQ(Floppy({"add", img, answer, "preseed.cfg"}).exitCode, 0);
   EXPECT_EQ(Floppy({"add", img, answer, "UPGRADE.SH"}).exitCode, 0);
   auto r = Floppy({"list", img});
   EXPECT_EQ(r.exitCode, 0);
   EXPECT_EQ(r.output, "        41 preseed.cfg\n        41 UPGRADE.SH\n");
   r = Floppy({"get", img, "upgrade.sh", dir.file("back")});
   EXPECT_EQ(r.exitCode, 0) << r.output;
   EXPECT_EQ(trtest::ReadFile(dir.file("back")), content);
   fattest::ExpectFsckClean(img);
   fattest::ExpectMtype(img, "preseed.cfg", content);

   // 2: the operation failed, with the reason in words; 64: a usage error.
   struct Failure {
      std::vector<std::string> args;
      int exitCode;
      std::string says;
   };
   const Failure failures[] = {
      {{"add", img, answer, "much-too-long.cfg"}, 2, "cannot add"},
      {{"add", img, dir.file("no"), "x.cfg"}, 2, "cannot add"},
      {{"get", img, "missing.cfg", dir.file("out")}, 2, "cannot copy"},
      {{"list", dir.file("missing.flp")}, 2, ": no such file\n"},
      {{"list", answer}, 2, ": not a FAT floppy image\n"},
      {{"list", dir.path()}, 2, ": not a regular file\n"},
      {{"add", img, answer}, 64, "usage"},
      {{"erase", img}, 64, "usage"},
   };
   for (const Failure &f : failures) {
      r = Floppy(f.args);
      EXPECT_EQ(r.exitCode, f.exitCode) << f.args[0] << " " << f.args.back();
      EXPECT_NE(r.output.find(f.says), std::string::npos) << r.output;
   }
   EXPECT_FALSE(trtest::FileExists(dir.file("out")));
   fattest::ExpectFsckClean(img);
}

}  // namespace
