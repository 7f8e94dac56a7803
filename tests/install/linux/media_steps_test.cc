// media_steps_test.cc --
//
//    The tools files, the floppy image and the mastering step of the Linux
//    installation media: floppies checked with fsck.fat and read back with
//    mtools, mastered images checked with xorriso's El Torito report, and
//    the paths the mastering command must not hand to the shell.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/autoinstall.h>

#include "fat_support.hh"
#include "testsupport.hh"

namespace {

TEST(AddToolsLinux, CopiesUnderShortNamesAndStopsAtTheFirstMissing) {
   trtest::TempDir tmp;
   trtest::WriteFile(tmp.file("tools/tarvel-tools-upgrader-32"), "U32");
   trtest::WriteFile(tmp.file("tools/tarvel-tools-upgrader-64"), "U64");
   trtest::WriteFile(tmp.file("tools/run_upgrader.sh"), "#!/bin/sh\n");
   trtest::WriteFile(tmp.file("stage/upgra32"), "old and longer");
   EXPECT_TRUE(AutoInstall_AddTools_Linux(tmp.file("stage").c_str(), tmp.file("tools").c_str()));
   EXPECT_EQ(trtest::ReadFile(tmp.file("stage/upgra32")), "U32");
   EXPECT_EQ(trtest::ReadFile(tmp.file("stage/upgra64")), "U64");
   EXPECT_EQ(trtest::ReadFile(tmp.file("stage/upgrade.sh")), "#!/bin/sh\n");

   trtest::TempDir partial;
   trtest::WriteFile(partial.file("tools/tarvel-tools-upgrader-32"), "U32");
   trtest::WriteFile(partial.file("tools/run_upgrader.sh"), "S");
   trtest::WriteFile(partial.file("stage/keep"), "");
   EXPECT_FALSE(
      AutoInstall_AddTools_Linux(partial.file("stage").c_str(), partial.file("tools").c_str()));
   EXPECT_TRUE(trtest::FileExists(partial.file("stage/upgra32")));
   EXPECT_FALSE(trtest::FileExists(partial.file("stage/upgrade.sh")));
}

struct FloppyCase {
   const char *guestOS;
   const char *answerFile;    // relative to the answer directory; null: none written
   const char *templateName;  // made in the template directory (a FAT image when a
                              // floppy is expected, else junk), or null
   const char *nameOnFloppy;  // null: no floppy expected
   bool result;
   std::vector<std::string> lines;  // {tmp} stands for the temporary directory
};

TEST(MakeFloppyImgLinux, PerFlavour) {
   FAT_REQUIRE_TOOLS();
   const std::vector<FloppyCase> cases = {
      {"rhel6-64", "ks.cfg", nullptr, nullptr, true, {}},
      {"winXPPro", nullptr, nullptr, nullptr, true, {}},
      {"ubuntu-64", "custom/preseed.cfg", nullptr, "preseed.cfg", true, {}},
      {"ubuntu", "preseed.cfg", nullptr, nullptr, false, {}},
      {"sles11", "autoinst.xml", "suse.flp", "autoinst.xml", true, {}},
      {"sles10", "autoinst.xml", "suse.flp", "autoinst.xml", true, {}},
      {"mandriva-64", "auto_i~1.cfg", "mandriva.flp", "auto_i~1.cfg", true, {}},
      {"opensuse", "autoinst.xml", nullptr, nullptr, false,
       {"AutoInstall_MakeFloppyImg_Linux: !File_Exists failed templatePath=\"{tmp}/tmpl/suse.flp\""}},
      {"mandriva", "auto_i~1.cfg", "mandriva.flp", nullptr, false,
       {"AutoInstall_MakeFloppyImg_Linux: FSImage_SkipVolumeBoot failed err=7"}},
   };
   for (const FloppyCase &c : cases) {
      SCOPED_TRACE(c.guestOS);
      trtest::TempDir tmp;
      const std::string answer = "answer for " + std::string(c.guestOS) + "\n";
      if (c.answerFile != nullptr) {
         trtest::WriteFile(tmp.file("answers/" + std::string(c.answerFile)), answer);
      }
      trtest::WriteFile(tmp.file("floppy/.keep"), "");
      if (c.templateName != nullptr) {
         const std::string tmpl = tmp.file("tmpl/" + std::string(c.templateName));
         trtest::WriteFile(tmp.file("tmpl/.keep"), "");
         if (c.nameOnFloppy != nullptr) {
            fattest::Image image(tmpl, fattest::Image::How::Format);
            ASSERT_EQ(fattest::PutFile(image.dir(), "driver.bin", "template content"), FSIMAGE_OK);
         } else {
            trtest::WriteFile(tmpl, std::string(4096, 'x'));  // not a FAT image
         }
      }
      trtest::LogCapture log;
      EXPECT_EQ(AutoInstall_MakeFloppyImg_Linux(tmp.file("answers").c_str(),
                                                tmp.file("floppy").c_str(),
                                                tmp.file("tmpl").c_str(), c.guestOS) != FALSE,
                c.result);
      std::vector<std::string> want;
      for (std::string l : c.lines) {
         if (size_t at = l.find("{tmp}"); at != std::string::npos) {
            l.replace(at, 5, tmp.path());
         }
         want.push_back(l);
      }
      EXPECT_EQ(log.lines(), want);
      const std::string img = tmp.file("floppy/autoinst.flp");
      if (c.nameOnFloppy == nullptr) {
         // No floppy is made; a template that turned out unusable stays
         // copied, as files already written do.
         EXPECT_EQ(trtest::FileExists(img), c.templateName != nullptr);
         continue;
      }
      fattest::ExpectFsckClean(img);
      fattest::ExpectMtype(img, c.nameOnFloppy, answer);
      if (c.templateName != nullptr) {
         fattest::ExpectMtype(img, "driver.bin", "template content");
      }
   }
}

// The mastering command as the shell receives it: the tool, the output
// image and the staging directory each in double quotes.
class MasterIso : public ::testing::Test {
protected:
   void SetUp() override {
      if (!trtest::HaveTool("genisoimage") || !trtest::HaveTool("xorriso")) {
         GTEST_SKIP() << "genisoimage and xorriso are needed";
      }
   }
   // A staging directory holding a boot loader and an answer file.
   std::string Stage(const std::string &dir) {
      trtest::WriteFile(dir + "/isolinux/isolinux.bin", fattest::Pattern(4096, 7));
      trtest::WriteFile(dir + "/ks.cfg", "install\n");
      return dir;
   }
   trtest::TempDir tmp_;
};

TEST_F(MasterIso, BlanksWorkAndTheImageBootsWithoutEmulation) {
   const std::string stage = Stage(tmp_.file("stage dir"));
   const std::string out = tmp_.file("out dir");
   trtest::WriteFile(out + "/.keep", "");
   const std::string tool = tmp_.file("my tools/genisoimage");
   trtest::WriteFile(tool, "#!/bin/sh\nexec genisoimage -quiet \"$@\"\n");
   ASSERT_EQ(trtest::RunCommand({"chmod", "+x", tool}).exitCode, 0);
   trtest::LogCapture log;
   EXPECT_TRUE(AutoInstall_MasterISO(stage.c_str(), tool.c_str(), out.c_str()));
   EXPECT_FALSE(trtest::FileExists(stage));
   EXPECT_EQ(log.text(), "");
   auto report =
      trtest::RunCommand({"xorriso", "-indev", out + "/autoinst.iso", "-report_el_torito", "plain"});
   ASSERT_EQ(report.exitCode, 0) << report.output;
   // Plain ISO 9660 names: upper case on the image.
   for (const char *line :
        {"El Torito cat path : /ISOLINUX/BOOT.CAT",
         "El Torito boot img :   1  BIOS  y   none  0x0000  0x00      4",
         "El Torito img path :   1  /ISOLINUX/ISOLINUX.BIN",
         "El Torito img opts :   1  boot-info-table"}) {
      EXPECT_NE(report.output.find(line), std::string::npos) << line << "\n" << report.output;
   }
}

TEST_F(MasterIso, FailuresAndRefusedPaths) {
   // Null arguments: FALSE, and the staging directory stays.
   const std::string stage = Stage(tmp_.file("stage"));
   EXPECT_FALSE(AutoInstall_MasterISO(nullptr, "genisoimage", tmp_.path().c_str()));
   EXPECT_FALSE(AutoInstall_MasterISO(stage.c_str(), nullptr, tmp_.path().c_str()));
   EXPECT_FALSE(AutoInstall_MasterISO(stage.c_str(), "genisoimage", nullptr));
   EXPECT_TRUE(trtest::FileExists(stage));
   // A tool that fails: FALSE, staging directory gone all the same.
   EXPECT_FALSE(AutoInstall_MasterISO(stage.c_str(), "false", tmp_.path().c_str()));
   EXPECT_FALSE(trtest::FileExists(stage));

   // Paths the shell would expand inside double quotes: nothing runs (the
   // marker a command substitution would make stays absent).
   const std::string marker = tmp_.file("ran");
   const std::string sub = "$(touch " + marker + ")";
   struct Refused {
      std::string tool, out, stage, logged;
   };
   const std::vector<Refused> cases = {
      {"genisoimage\"; touch " + marker + "; \"", "o", "s", "genisoimage\"; touch " + marker + "; \""},
      {"genisoimage", "o`touch " + marker + "`", "s", "o`touch " + marker + "`/autoinst.iso"},
      {"genisoimage", "o", "s" + sub, "s" + sub},
      {"genisoimage", "o", "s\\x", "s\\x"},
   };
   for (const Refused &c : cases) {
      const std::string s = Stage(tmp_.file(c.stage));
      const std::string o = tmp_.file(c.out);
      trtest::LogCapture log;
      EXPECT_FALSE(AutoInstall_MasterISO(s.c_str(), c.tool.c_str(), o.c_str()));
      const std::string logged = c.logged == c.tool ? c.tool : tmp_.file(c.logged);
      EXPECT_EQ(log.lines(), std::vector<std::string>{
                                "AutoInstall_MasterISO: path unsafe for the shell path=\"" +
                                logged + "\""});
      EXPECT_FALSE(trtest::FileExists(s));
      EXPECT_FALSE(trtest::FileExists(marker));
   }
}

}  // namespace
