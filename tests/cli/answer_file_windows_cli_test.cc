// answer_file_windows_cli_test.cc --
//
//    trguest answer-file windows, run as a user would run it.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testsupport.hh"

namespace {

const std::string kTool = std::string(TRGUEST_BINARY_DIR) + "/bin/trguest";

TEST(CliAnswerFileWindows, WritesTheAnswerFiles) {
   trtest::TempDir dir;
   trtest::WriteFile(dir.file("t/winnt.sif"), "[GuiUnattended]\nAdminPassword=*\n");
   trtest::WriteFile(dir.file("t/storePwd.ini"), "[Autologon]\n");
   trtest::WriteFile(dir.file("t/unattend.xml"),
                     "<unattend xmlns=\"urn:schemas-microsoft-com:unattend\"/>\n");
   trtest::WriteFile(dir.file("pw"), "s3cret\r\nsecond line\n");
   trtest::WriteFile(dir.file("out/.keep"), "");
   const std::vector<std::string> base = {
      kTool, "answer-file", "windows", "--sif", dir.file("t/winnt.sif"),
      "--xml", dir.file("t/unattend.xml"), "--store-pwd", dir.file("t/storePwd.ini"),
      "--dest", dir.file("out"), "--password-file", dir.file("pw")};
   const struct {
      std::vector<std::string> extra;
      int exitCode;
      const char *winntSif;  // nullptr: not checked
   } cases[] = {
      {{"--guest", "winXPPro", "--auto-logon"}, 0,
       "[GuiUnattended]\nAdminPassword=\"s3cret\"\nAutoLogon=Yes\nAutoLogonCount=1\n"},
      {{"--guest", "ubuntu"}, 1, nullptr},
      {{"--guest", "winXPPro", "--sub", "x"}, 64, nullptr},
      {{}, 64, nullptr},
      {{"--guest", "winXPPro", "--bogus"}, 64, nullptr},
   };
   trtest::ScopedEnv tz("TZ", "Nowhere/Atlantis");
   trtest::ScopedEnv log("TRGUEST_LOG", dir.file("log").c_str());
   for (const auto &c : cases) {
      std::vector<std::string> argv = base;
      argv.insert(argv.end(), c.extra.begin(), c.extra.end());
      trtest::CommandResult r = trtest::RunCommand(argv);
      EXPECT_EQ(r.exitCode, c.exitCode) << r.output;
      if (c.winntSif != nullptr) {
         EXPECT_EQ(trtest::ReadFile(dir.file("out/winnt.sif")), c.winntSif);
         EXPECT_EQ(trtest::ReadFile(dir.file("out/storePwd.ini")), "[Autologon]\nEnabled=1\n");
      }
   }
   EXPECT_EQ(trtest::RunCommand({kTool, "answer-file", "windows", "--sif", "a", "--xml", "b",
                                 "--guest", "winXPPro", "--dest", dir.path(),
                                 "--password-file", dir.file("missing")})
                .exitCode,
             2);
}

}  // namespace
