// answer_file_cli_test.cc --
//
//    trguest answer-file linux, run as a user would run it: passwords from
//    files or standard input, the written path printed, failures one line.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testsupport.hh"

namespace {

const std::string kTool = std::string(TRGUEST_BINARY_DIR) + "/bin/trguest";

TEST(CliAnswerFileLinux, WritesPrintsOrRefuses) {
   trtest::TempDir dir;
   const std::string out = dir.file("out");
   trtest::WriteFile(dir.file("pw"), "user $pw\n");
   trtest::WriteFile(dir.file("rootpw"), "root \"pw\"\r\n");
   const std::vector<std::string> common = {"--out", out, "--user", "ann", "--full-name", "Ann"};
   const struct {
      std::vector<std::string> args;
      bool viaStdin;
      int exitCode;
      std::string output;      // exact for success, a prefix for failures
      std::string written;     // a line the file must hold
   } cases[] = {
      {{"--guest", "rhel6", "--password-file", dir.file("pw"), "--key", "K-1"}, false, 0,
       out + "/ks.cfg\n", "key K-1\n"},
      {{"--guest", "ubuntu-64", "--sub", "GUESS_VERSION_UBUNTU_710_OR_HIGHER", "--poweroff",
        "--password-stdin"}, true, 0, out + "/custom/preseed.cfg\n", "ubiquity/poweroff boolean"},
      {{"--guest", "mandriva", "--password-file", dir.file("pw"), "--root-password-file",
        dir.file("rootpw")}, false, 0, out + "/auto_i~1.cfg\n",
       "\t\t\t'password' => \"root \\\"pw\\\"\",\n"},
      {{"--guest", "sles10", "--sub", "17", "--password-file", dir.file("pw")}, false, 0,
       out + "/autoinst.xml\n", "<username>ann</username>"},
      {{"--guest", "winXPPro", "--password-file", dir.file("pw")}, false, 1,
       "trguest: cannot write an answer file for winXPPro", ""},
      {{"--guest", "rhel6", "--password-file", dir.file("missing")}, false, 1,
       "trguest: cannot read the password from", ""},
      {{"--guest", "rhel6", "--password", "clear"}, false, 64, "usage:", ""},
      {{"--guest", "rhel6", "--sub", "GUESS_VERSION_NONE", "--password-stdin"}, true, 64, "usage:",
       ""},
   };
   for (const auto &c : cases) {
      std::vector<std::string> argv = {kTool, "answer-file", "linux"};
      argv.insert(argv.end(), c.args.begin(), c.args.end());
      argv.insert(argv.end(), common.begin(), common.end());
      if (c.viaStdin) {
         std::string line = "exec";
         for (const std::string &a : argv) {
            line += " '" + a + "'";
         }
         argv = {"sh", "-c", line + " <'" + dir.file("pw") + "'"};
      }
      const auto r = trtest::RunCommand(argv);
      EXPECT_EQ(r.exitCode, c.exitCode) << c.args[1] << ": " << r.output;
      if (c.exitCode == 0) {
         EXPECT_EQ(r.output, c.output);
         const std::string text = trtest::ReadFile(r.output.substr(0, r.output.size() - 1));
         EXPECT_NE(text.find(c.written), std::string::npos) << c.args[1];
         EXPECT_EQ(text.find("user $pw"), std::string::npos) << c.args[1];
      } else {
         EXPECT_EQ(r.output.rfind(c.output, 0), 0u) << r.output;
         if (c.exitCode == 1) {
            EXPECT_EQ(r.output.find('\n'), r.output.size() - 1) << r.output;
         }
      }
   }
}

}  // namespace
