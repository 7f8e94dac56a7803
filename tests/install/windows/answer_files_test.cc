// answer_files_test.cc --
//
//    AutoInstall_PrepareAnswerFileEx: the winnt.sif entries (bytes as the
//    guest's text-mode setup reads them), storePwd.ini, the language's
//    locale in the XML file, and every log line.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trguest/autoinstall.h>

#include "unattend_support.hh"
#include "testsupport.hh"

namespace {

using namespace unattendtest;
using Strings = std::vector<std::string>;

const char kSif[] =
   "[Data]\nAutoPartition=1\nMsDosInitiated=\"0\"\nUnattendedInstall=\"Yes\"\n\n"
   "[Unattended]\nUnattendMode=FullUnattended\nOemSkipEula=Yes\n\n"
   "[GuiUnattended]\nAdminPassword=*\nOEMSkipRegional=1\nTimeZone=4\n\n"
   "[UserData]\nComputerName=*\n";
const char kStorePwd[] = "[Autologon]\n";

struct Call {
   const char *guest = "winXPPro";
   int32_t sub = 0;
   const char *key = nullptr;
   const char *kms = nullptr;
   const char *name = nullptr;
   const char *password = nullptr;
   const char *language = nullptr;
   bool storePwd = true;
   bool autoLogon = false;
};

// Templates in their own directory, answer files in another.
class AnswerFiles : public ::testing::Test {
protected:
   void SetUp() override {
      trtest::WriteFile(templates_.file("winnt.sif"), kSif);
      trtest::WriteFile(templates_.file("unattend.xml"), Template());
      trtest::WriteFile(templates_.file("storePwd.ini"), kStorePwd);
   }

   Bool Prepare(const Call &c) {
      const std::string sif = templates_.file("winnt.sif");
      const std::string xml = templates_.file("unattend.xml");
      const std::string pwd = templates_.file("storePwd.ini");
      return AutoInstall_PrepareAnswerFileEx(sif.c_str(), xml.c_str(),
                                             c.storePwd ? pwd.c_str() : nullptr, c.key, c.kms,
                                             c.name, c.password, c.guest, c.sub,
                                             out_.path().c_str(), c.language, "IMAGE",
                                             c.autoLogon ? TRUE : FALSE);
   }
   std::string Out(const char *name) { return out_.file(name); }

   trtest::ScopedEnv tz_{"TZ", "Europe/Berlin"};
   trtest::TempDir templates_;
   trtest::TempDir out_;
};

bool HasLine(const std::string &text, const std::string &line) {
   return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

TEST_F(AnswerFiles, EntryTableRows) {
   const struct {
      const char *name;
      Call call;
      Strings present;
      Strings absent;
      const char *storePwd;  // nullptr: no storePwd.ini made
      const char *locale;
   } cases[] = {
      {"key, XP", {.key = "XP-KEY"}, {"ProductKey=\"XP-KEY\"", "TimeZone=110", "AdminPassword=*"},
       {"ProductID=\"XP-KEY\"", "AutoLogon=Yes"}, "[Autologon]\n", "English"},
      {"key, Windows 2000", {.guest = "win2000Pro", .key = "2K-KEY"},
       {"ProductKey=\"2K-KEY\"", "ProductID=\"2K-KEY\""}, {}, "[Autologon]\n", "English"},
      {"full name", {.name = "M\xc3\xbcller"}, {"FullName=\"M\xfcller\""}, {"ProductKey"},
       "[Autologon]\n", "English"},
      {"password, automatic logon kept",
       {.password = "pw", .autoLogon = true},
       {"AdminPassword=\"pw\"", "AutoLogon=Yes", "AutoLogonCount=1"}, {"AdminPassword=*"},
       "[Autologon]\nEnabled=1\n", "English"},
      {"password, automatic logon once", {.password = "pw"}, {"AutoLogon=Yes"}, {},
       "[Autologon]\nEnabled=0\n", "English"},
      {"password, no storePwd template", {.password = "pw", .storePwd = false},
       {"AutoLogonCount=1"}, {}, nullptr, "English"},
      {"Vista and newer default to en-US", {.guest = "windows7-64", .key = "K"},
       {"ProductKey=\"K\""}, {}, "[Autologon]\n", "en-US"},
      {"a given language is taken as it is", {.guest = "windows7-64", .language = "ja-JP"}, {},
       {}, "[Autologon]\n", "ja-JP"},
   };
   for (const auto &c : cases) {
      SCOPED_TRACE(c.name);
      trtest::LogCapture log;
      ASSERT_TRUE(Prepare(c.call));
      const std::string sif = trtest::ReadFile(Out("winnt.sif"));
      for (const std::string &line : c.present) {
         EXPECT_TRUE(HasLine(sif, line)) << line << " in\n" << sif;
      }
      for (const std::string &text : c.absent) {
         EXPECT_EQ(sif.find(text), std::string::npos) << text;
      }
      if (c.storePwd != nullptr) {
         EXPECT_EQ(trtest::ReadFile(Out("storePwd.ini")), c.storePwd);
      } else {
         EXPECT_FALSE(trtest::FileExists(Out("storePwd.ini")));
      }
      EXPECT_TRUE(XmllintAccepts(Out("autoun~0.xml")));
      SavedXml xml(Out("autoun~0.xml"));
      EXPECT_EQ(xml.Texts(Component("windowsPE", "Microsoft-Windows-International-Core-WinPE") +
                          "/u:UserLocale"),
                Strings{c.locale});
      EXPECT_EQ(xml.Texts(ShellSetup() + "/u:TimeZone"), Strings{"W. Europe Standard Time"});
      EXPECT_EQ(log.lines(), Strings{});
      trtest::RunCommand({"rm", "-f", Out("storePwd.ini")});
   }
}

TEST_F(AnswerFiles, LanguageSelectsTheCodePage) {
   const struct {
      const char *language;
      const char *name;       // UTF-8
      const char *converted;  // in the language's code page
   } cases[] = {
      {"Russian", "\xd0\x98\xd0\xb2\xd0\xb0\xd0\xbd", "\xc8\xe2\xe0\xed"},
      {"Japanese", "\xe5\xb1\xb1\xe7\x94\xb0", "\x8e\x52\x93\x63"},
      {"Simplified Chinese", "\xe5\xbc\xa0\xe4\xbc\x9f", "\xd5\xc5\xce\xb0"},
      {"Traditional Chinese", "\xe9\x99\xb3\xe5\xa4\xa7\xe6\x96\x87", "\xb3\xaf\xa4\x6a\xa4\xe5"},
      {"Korean", "\xea\xb9\x80\xeb\xaf\xbc\xec\x88\x98", "\xb1\xe8\xb9\xce\xbc\xf6"},
      {"English", "M\xc3\xbcller", "M\xfcller"},
      {"ja-JP", "M\xc3\xbcller", "M\xfcller"},
   };
   for (const auto &c : cases) {
      SCOPED_TRACE(c.language);
      ASSERT_TRUE(Prepare({.name = c.name, .password = c.name, .language = c.language}));
      const std::string sif = trtest::ReadFile(Out("winnt.sif"));
      EXPECT_TRUE(HasLine(sif, std::string("FullName=\"") + c.converted + "\"")) << sif;
      EXPECT_TRUE(HasLine(sif, std::string("AdminPassword=\"") + c.converted + "\"")) << sif;
      // The XML file takes the texts in UTF-8.
      SavedXml xml(Out("autoun~0.xml"));
      EXPECT_EQ(xml.Texts(ShellSetup() + "/u:AutoLogon/u:Username"), Strings{c.name});
   }
}

// IniUtil assembles a file's new text in a 512 KiB buffer and refuses a
// file whose text grows past it less a 2 KiB margin; templates of a chosen
// size make one chosen write fail.
constexpr size_t kIniLimit = 524288 - 2048;

// A winnt.sif template of exactly size bytes whose last section is
// GuiUnattended, without any of the entries written.
std::string SifOfSize(size_t size) {
   std::string head = "[UserData]\nComputerName=*\n";
   const std::string tail = "[GuiUnattended]\nOEMSkipRegional=1\n";
   while (head.size() + tail.size() + 101 < size) {
      head += ";" + std::string(99, '-') + "\n";
   }
   head += ";" + std::string(size - head.size() - tail.size() - 2, '-') + "\n";
   return head + tail;
}

TEST_F(AnswerFiles, EveryFailureIsLogged) {
   const std::string f = "AutoInstall_PrepareAnswerFileEx: ";
   const std::string sifOut = "unattendFilePath=\"" + Out("winnt.sif") + "\"";
   const std::string big = SifOfSize(kIniLimit + 4096);
   const struct {
      const char *name;
      Call call;
      const char *brokenTemplate;  // replaced by `content`, or removed when content is null
      std::string content;
      bool removeTemplate;
      Strings lines;
      bool result;
   } cases[] = {
      {"not a Windows guest", {.guest = "ubuntu"}, nullptr, "", false,
       {f + "GuestOS_IsWin failed for guestID ubuntu"}, false},
      {"unknown guest", {.guest = "nonsense"}, nullptr, "", false,
       {f + "GuestOS_IsWin failed for guestID nonsense"}, false},
      {"winnt.sif template missing", {}, "winnt.sif", "", true,
       {f + "File_CopyFromNameToName from=\"" + templates_.file("winnt.sif") + "\" to=\"" +
        Out("winnt.sif") + "\""}, false},
      {"XML template missing", {}, "unattend.xml", "", true,
       {f + "File_CopyFromNameToName from=\"" + templates_.file("unattend.xml") + "\" to=\"" +
        Out("autoun~0.xml") + "\""}, false},
      {"storePwd template missing", {}, "storePwd.ini", "", true,
       {f + "File_CopyFromNameToName from=\"" + templates_.file("storePwd.ini") + "\" to=\"" +
        Out("storePwd.ini") + "\""}, false},
      {"product key", {.key = "K-1"}, "winnt.sif", big, false,
       {f + "IniUtil_WriteIniFileString " + sifOut + ", ProductKey=\"K-1\""}, false},
      {"full name", {.name = "N"}, "winnt.sif", big, false,
       {f + "IniUtil_WriteIniFileString " + sifOut + ", FullName=\"N\""}, false},
      {"password", {.password = "P"}, "winnt.sif", big, false,
       {f + "IniUtil_WriteIniFileString " + sifOut + ", AdminPassword=\"P\""}, false},
      {"automatic logon", {.password = "P"}, "winnt.sif", SifOfSize(kIniLimit), false,
       {f + "IniUtil_WriteIniFileString " + sifOut + ", AutoLogon=\"Yes\""}, false},
      {"automatic logon count", {.password = "P"}, "winnt.sif",
       SifOfSize(kIniLimit - std::string("AdminPassword=\"P\"\n").size()), false,
       {f + "IniUtil_WriteIniFileString " + sifOut + ", AutoLogonCount=\"1\""}, false},
      {"storePwd.ini", {.password = "P"}, "storePwd.ini", big, false,
       {f + "IniUtil_WriteIniFileString storePwdIniPath=\"" + Out("storePwd.ini") + "\""},
       false},
      {"time zone", {}, "winnt.sif", big, false,
       {f + "IniUtil_WriteIniFileInt " + sifOut + ", TimeZone=110"}, false},
      {"conversion falls back to UTF-8",
       {.name = "\xe5\xb1\xb1", .language = "Russian"}, nullptr, "", false,
       {f + "Failed to perform conversion from UTF-8 to windows-1251"}, true},
   };
   for (const auto &c : cases) {
      SCOPED_TRACE(c.name);
      SetUp();
      if (c.brokenTemplate != nullptr) {
         const std::string path = templates_.file(c.brokenTemplate);
         if (c.removeTemplate) {
            std::remove(path.c_str());
         } else {
            trtest::WriteFile(path, c.content);
         }
      }
      trtest::RunCommand({"rm", "-f", Out("winnt.sif"), Out("autoun~0.xml"), Out("storePwd.ini")});
      trtest::LogCapture log;
      EXPECT_EQ(Prepare(c.call), c.result ? TRUE : FALSE);
      EXPECT_EQ(log.lines(), c.lines);
      if (std::string(c.name).find("guest") != std::string::npos) {
         EXPECT_FALSE(trtest::FileExists(Out("winnt.sif")));
      }
   }
   // The unconverted name of the last case went in as UTF-8.
   EXPECT_TRUE(HasLine(trtest::ReadFile(Out("winnt.sif")), "FullName=\"\xe5\xb1\xb1\""));
}

}  // namespace
