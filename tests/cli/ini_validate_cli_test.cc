// ini_validate_cli_test.cc --
//
//    trguest ini and trguest validate, run as a user would run them.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testsupport.hh"

namespace {

const std::string kTool = std::string(TRGUEST_BINARY_DIR) + "/bin/trguest";

trtest::CommandResult Tool(std::vector<std::string> args) {
   args.insert(args.begin(), kTool);
   return trtest::RunCommand(args);
}

TEST(CliIni, GetAndSet) {
   trtest::TempDir dir;
   std::string ini = dir.file("winnt.sif");
   trtest::WriteFile(ini, "[UserData]\r\nFullName=\"Jane\"\r\n");

   auto r = Tool({"ini", "get", ini, "userdata", "fullname"});
   EXPECT_EQ(r.exitCode, 0);
   EXPECT_EQ(r.output, "Jane\n");
   r = Tool({"ini", "get", ini, "UserData", "ProductKey"});
   EXPECT_EQ(r.exitCode, 1);
   EXPECT_EQ(r.output, "");

   EXPECT_EQ(Tool({"ini", "set", ini, "UserData", "ProductKey", "AAAAA-BBBBB", "--quote"}).exitCode,
             0);
   EXPECT_EQ(Tool({"ini", "set", ini, "GuiUnattended", "AutoLogon", "Yes"}).exitCode, 0);
   EXPECT_EQ(trtest::ReadFile(ini),
             "[UserData]\r\nFullName=\"Jane\"\r\nProductKey=\"AAAAA-BBBBB\"\n"
             "[GuiUnattended]\nAutoLogon=Yes\n");

   r = Tool({"ini", "set", dir.file("missing.sif"), "s", "k", "v"});
   EXPECT_EQ(r.exitCode, 2);
   EXPECT_NE(r.output.find("cannot set"), std::string::npos);
   EXPECT_EQ(Tool({"ini", "frob"}).exitCode, 64);
   EXPECT_EQ(Tool({"ini", "set", ini, "s", "k", "v", "--quoted"}).exitCode, 64);
}

TEST(CliValidate, ResultNamesMessagesAndExitCodes) {
   struct {
      std::vector<std::string> args;
      int exitCode;
      std::string output;
   } cases[] = {
      {{"--family", "linux", "--guest", "ubuntu-64", "--short-name", "jane"}, 0, "TEXT_OK\n"},
      {{"--family", "linux", "--guest", "ubuntu-64", "--short-name", "9jane"},
       1,
       "TEXT_BAD_UBUNTU_USERNAME\nThe user name must start with a lowercase US English "
       "character.\nEnter a new value.\n"},
      {{"--family", "linux", "--guest", "fedora", "--short-name", "9jane"}, 0, "TEXT_OK\n"},
      {{"--family", "linux", "--guest", "rhel6", "--password", "a]]>b"},
       1,
       "TEXT_BAD_PASSWORD_SUBSTRING\nThe password must not contain the characters ']]>' in a "
       "row.\nEnter a new value.\n"},
      {{"--family", "windows", "--guest", "winXPPro", "--name", "Doe, Jane"},
       1,
       "TEXT_BAD_WINDOWS_NAME\nThe name must not contain the following characters:\n"
       "'/\\[]\":;|<>+=,?*'\nEnter a new value.\n"},
      {{"--family", "windows", "--guest", "winXPPro", "--password", "Doe, Jane"}, 0, "TEXT_OK\n"},
      {{"--family", "solaris", "--guest", "x", "--name", "y"}, 64, ""},
      {{"--family", "linux", "--name", "y"}, 64, ""},
   };
   for (auto &c : cases) {
      c.args.insert(c.args.begin(), "validate");
      auto r = Tool(c.args);
      EXPECT_EQ(r.exitCode, c.exitCode) << c.args[2];
      if (c.exitCode != 64) {
         EXPECT_EQ(r.output, c.output);
      }
   }
}

TEST(CliValidate, GermanLocale) {
   trtest::ScopedEnv locale("TRGUEST_LOCALE", "de");
   auto r = Tool({"validate", "--family", "linux", "--guest", "sles11", "--name", "a]]>"});
   EXPECT_EQ(r.exitCode, 1);
   EXPECT_EQ(r.output, "TEXT_BAD_GECOS_SUBSTRING\nDer vollständige Name darf die Zeichenfolge "
                       "']]>' nicht enthalten.\nGeben Sie einen neuen Wert ein.\n");
}

}  // namespace
