// media_linux_cli_test.cc --
//
//    trguest media linux, run as a user would run it: the media of an
//    Ubuntu install (CD and floppy) and of a Red Hat install (answer file
//    on the CD) from a distribution tree and image; a failing step and bad
//    usage each a message and their own exit code.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fat_support.hh"
#include "media_builder.hh"
#include "testsupport.hh"

namespace {

trtest::CommandResult Media(std::vector<std::string> args) {
   args.insert(args.begin(),
               {std::string(TRGUEST_BINARY_DIR) + "/bin/trguest", "media", "linux"});
   return trtest::RunCommand(args);
}

TEST(CliMediaLinux, TreeAndImageToMedia) {
   FAT_REQUIRE_TOOLS();
   if (!trtest::HaveTool("genisoimage") || !trtest::CanBuild(trtest::MediaFormat::RockRidge)) {
      GTEST_SKIP() << "genisoimage and xorriso are needed";
   }
   trtest::TempDir dir;
   trtest::MediaSpec spec;
   spec.format = trtest::MediaFormat::RockRidge;
   spec.files = {{"isolinux/isolinux.cfg",
                  "label linux\n  kernel vmlinuz\n  append initrd=initrd.gz quiet\n"},
                 {"isolinux/isolinux.bin", fattest::Pattern(4096, 1)},
                 {"isolinux/vmlinuz", "K"},
                 {"isolinux/initrd.gz", "I"}};
   for (const auto &f : spec.files) trtest::WriteFile(dir.file("tree/" + f.path), f.contents);
   const std::string image = trtest::BuildImage(dir, spec);
   for (const char *f : {"tarvel-tools-upgrader-32", "tarvel-tools-upgrader-64", "run_upgrader.sh"}) {
      trtest::WriteFile(dir.file(std::string("tools/") + f), f);
   }
   trtest::WriteFile(dir.file("ubuntu/custom/preseed.cfg"), "d-i preseed\n");
   trtest::WriteFile(dir.file("redhat/ks.cfg"), "install\n");
   trtest::WriteFile(dir.file("out-u/.keep"), "");
   trtest::WriteFile(dir.file("out-r/.keep"), "");

   auto r = Media({"--guest", "ubuntu-64", "--tools", dir.file("tools"), "--answers",
                   dir.file("ubuntu"), "--out", dir.file("out-u"), dir.file("tree")});
   ASSERT_EQ(r.exitCode, 0) << r.output;
   EXPECT_NE(r.output.find("boot directory: from tree"), std::string::npos) << r.output;
   EXPECT_NE(r.output.find("floppy: " + dir.file("out-u/autoinst.flp")), std::string::npos);
   fattest::ExpectMtype(dir.file("out-u/autoinst.flp"), "preseed.cfg", "d-i preseed\n");
   EXPECT_TRUE(trtest::FileExists(dir.file("out-u/autoinst.iso")));
   EXPECT_FALSE(trtest::FileExists(dir.file("out-u/autoinst-staging")));

   r = Media({"--guest", "rhel6", "--tools", dir.file("tools"), "--answers", dir.file("redhat"),
              "--out", dir.file("out-r"), image});
   ASSERT_EQ(r.exitCode, 0) << r.output;
   EXPECT_NE(r.output.find("boot directory: from image"), std::string::npos) << r.output;
   EXPECT_FALSE(trtest::FileExists(dir.file("out-r/autoinst.flp")));
   auto listing = trtest::RunCommand(
      {"xorriso", "-indev", dir.file("out-r/autoinst.iso"), "-find", "/", "-type", "f"});
   for (const char *f : {"/KS.CFG", "/UPGRA32", "/UPGRADE.SH", "/ISOLINUX/VMLINUZ"}) {
      EXPECT_NE(listing.output.find(f), std::string::npos) << f << "\n" << listing.output;
   }

   // 2: a step failed (no tools upgrader); 64: bad usage.
   const std::pair<std::vector<std::string>, int> failures[] = {
      {{"--guest", "rhel6", "--tools", dir.file("none"), "--answers", dir.file("redhat"),
        "--out", dir.file("out-r"), image},
       2},
      {{"--guest", "rhel6", "--tools", dir.file("tools"), image}, 64},
      {{"--guest", "rhel6", "--tools", dir.file("tools"), "--answers", dir.file("redhat"),
        "--out", dir.file("out-r"), image, image},
       64},
   };
   for (const auto &[args, exitCode] : failures) {
      r = Media(args);
      EXPECT_EQ(r.exitCode, exitCode) << r.output;
      EXPECT_NE(r.output, "");
   }
}

}  // namespace
