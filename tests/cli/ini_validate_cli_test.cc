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

// A winnt.sif template edited entry by entry as the Windows answer file is
// made: existing entries change in place (their line now ends in LF),
// missing ones go to the end of their section, before the next header.
TEST(CliIni, WinntSifTemplateGainsTheAnswerEntries) {
   trtest::TempDir dir;
   std::string sif = dir.file("winnt.sif");
   trtest::WriteFile(sif,
                     ";SetupMgrTag\r\n[Data]\r\n    AutoPartition=1\r\n"
                     "    UnattendedInstall=\"Yes\"\r\n\r\n"
                     "[GuiUnattended]\r\n    AdminPassword=*\r\n    TimeZone=85\r\n"
                     "    OemSkipWelcome=1\r\n\r\n"
                     "[UserData]\r\n    FullName=\" \"\r\n    ComputerName=*\r\n\r\n"
                     "[Identification]\r\n    JoinWorkgroup=WORKGROUP\r\n");
   const std::vector<std::vector<std::string>> sets = {
      {"UserData", "ProductKey", "AAAAA-BBBBB-CCCCC-DDDDD-EEEEE", "--quote"},
      {"UserData", "FullName", "Jane Doe", "--quote"},
      {"GuiUnattended", "AdminPassword", "s3cret", "--quote"},
      {"GuiUnattended", "AutoLogon", "Yes"},
      {"GuiUnattended", "AutoLogonCount", "1"},
      {"GuiUnattended", "TimeZone", "4"},
   };
   for (const auto &set : sets) {
      std::vector<std::string> args = {"ini", "set", sif};
      args.insert(args.end(), set.begin(), set.end());
      EXPECT_EQ(Tool(args).exitCode, 0) << set[1];
   }
   EXPECT_EQ(trtest::ReadFile(sif),
             ";SetupMgrTag\r\n[Data]\r\n    AutoPartition=1\r\n"
             "    UnattendedInstall=\"Yes\"\r\n\r\n"
             "[GuiUnattended]\r\n    AdminPassword=\"s3cret\"\n    TimeZone=4\n"
             "    OemSkipWelcome=1\r\n\r\nAutoLogon=Yes\nAutoLogonCount=1\n"
             "[UserData]\r\n    FullName=\"Jane Doe\"\n    ComputerName=*\r\n\r\n"
             "ProductKey=\"AAAAA-BBBBB-CCCCC-DDDDD-EEEEE\"\n"
             "[Identification]\r\n    JoinWorkgroup=WORKGROUP\r\n");
   auto r = Tool({"ini", "get", sif, "USERDATA", "fullname"});
   EXPECT_EQ(r.output, "Jane Doe\n");
}

TEST(CliValidate, ResultNamesMessagesAndExitCodes) {
   struct {
      std::vector<std::string> args;
      int exitCode;
      std::string output;
   } cases[] = {
      {{"--family", "linux", "--guest", "ubuntu", "--short-name", "1abc"},
       1,
       "TEXT_BAD_UBUNTU_USERNAME\nThe user name must start with a lowercase US English "
       "character.\nEnter a new value.\n"},
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
