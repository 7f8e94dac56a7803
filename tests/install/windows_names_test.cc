// windows_names_test.cc --
//
//    Readable Windows edition names, and the German catalogue: the same
//    calls give German texts under a German locale, English by default.

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <trguest/autoinstall.h>
#include <trguest/guess.h>
#include <trplatform/msg.h>

#include "guestInstall/windowsNames.h"
#include "testsupport.hh"

namespace {

std::string Pretty(const char *raw) {
   char *s = AutoInstall_GetPrettyWindowsName(raw);
   std::string out = s != nullptr ? s : "<null>";
   std::free(s);
   return out;
}

TEST(PrettyWindowsName, Composition) {
   struct {
      const char *raw, *pretty;
   } cases[] = {
      {"Windows 7 ULTIMATE", "Windows 7 Ultimate"},
      {"Windows 7 PROFESSIONALN", "Windows 7 Professional N"},
      {"Windows 7 ENTERPRISEKN", "Windows 7 Enterprise KN"},
      {"Windows 7 HOMEPREMIUMK", "Windows 7 Home Premium K"},
      {"Windows 7 STARTERX", "Windows 7 Starter"},
      {"Windows 7 PRO", "Windows 7 PRO"},
      {"Windows 8 Pro", "Windows 8 Pro"},
      {"Windows 8 Pro_N", "Windows 8 Pro N"},
      {"Windows 8 Enterprise", "Windows 8 Enterprise"},
      {"Windows Longhorn SERVERENTERPRISE", "Windows Server 2008 Enterprise"},
      {"Windows Longhorn SERVERENTERPRISEVCORE",
       "Windows Server 2008 Enterprise Core without Hyper-V"},
      {"Windows Longhorn SERVERSTANDARDV", "Windows Server 2008 Standard without Hyper-V"},
      {"Windows Server 2008 R2 SERVERDATACENTERCORE", "Windows Server 2008 R2 Datacenter Core"},
      {"Windows Server 2012 SERVERSTANDARDCORE", "Windows Server 2012 Standard Core"},
      {"Windows Server 2012 SERVERSBSPRIME", "Windows Server 2012 Small Business Foundation"},
      {"WindowsXP", "WindowsXP"},
      {"Windows 7 ", "Windows 7 "},
      {"", ""},
   };
   for (const auto &c : cases) {
      EXPECT_EQ(Pretty(c.raw), c.pretty) << c.raw;
   }
}

// The walk over the edition tokens, over tables in which one token begins
// another (the shipped tables have no such pair): a later token replaces
// the edition text, its suffix replaces the suffix only when it finds one,
// and an exact token ends the walk.
TEST(PrettyWindowsName, LaterTokensReplaceEarlierOnes) {
   const WindowsNameRow products[] = {{"Old Name", "@&!*@*@(test.product)New Name"},
                                      {nullptr, nullptr}};
   const WindowsNameRow editions[] = {{"PRO", "@&!*@*@(test.pro) Pro"},
                                      {"PROF", "@&!*@*@(test.prof) Prof"},
                                      {"PROFESSIONAL", "@&!*@*@(test.professional) Professional"},
                                      {nullptr, nullptr}};
   const WindowsNameRow suffixes[] = {{"N", "@&!*@*@(test.n) N"},
                                      {"FX", "@&!*@*@(test.fx) fx"},
                                      {"F", "@&!*@*@(test.f) f"},
                                      {nullptr, nullptr}};
   struct {
      const char *raw, *pretty;
   } cases[] = {
      {"Old Name PROFESSIONALN", "New Name Professional N"},  // three tokens in turn
      {"Old PROFX", "New Name Prof fx"},       // "PRO"+"FX" kept: "PROF"+"X" finds none
      {"X PROF", "X Prof f"},                  // "PRO"+"F", then the exact "PROF" ends it
      {"X PRO", "X Pro"},                      // exact on the first row
      {"X PROFESSIONAL", "X Professional"},
      {"X PR", "X PR"},
      {"Other PROFESSIONALN", "Other Professional N"},
   };
   for (const auto &c : cases) {
      char *s = ComposeWindowsEditionName(c.raw, products, editions, suffixes);
      EXPECT_STREQ(s, c.pretty) << c.raw;
      std::free(s);
   }
   EXPECT_EQ(ComposeWindowsEditionName(nullptr, products, editions, suffixes), nullptr);
}

// Switches the message language for one test and back.
class GermanCatalogue : public ::testing::Test {
protected:
   void SetUp() override { Msg_ReloadCatalogue(); }
   void TearDown() override { Msg_ReloadCatalogue(); }
};

TEST_F(GermanCatalogue, ValidatorsAndNamesSpeakGerman) {
   {
      trtest::ScopedEnv locale("TRGUEST_LOCALE", "de_DE.UTF-8");
      Msg_ReloadCatalogue();
      GuessInfo info{};
      info.guestOS = "ubuntu";
      char *msg = nullptr;
      EXPECT_EQ(AutoInstall_ValidateShortName("linux", &info, "9", &msg),
                TEXT_BAD_UBUNTU_USERNAME);
      EXPECT_STREQ(msg, "Der Benutzername muss mit einem Kleinbuchstaben (a bis z) beginnen.\n"
                        "Geben Sie einen neuen Wert ein.");
      std::free(msg);
      EXPECT_EQ(AutoInstall_ValidateName("windows", &info, "a|b", &msg), TEXT_BAD_WINDOWS_NAME);
      EXPECT_STREQ(msg, "Der Name darf die folgenden Zeichen nicht enthalten:\n"
                        "'/\\[]\":;|<>+=,?*'\nGeben Sie einen neuen Wert ein.");
      std::free(msg);
      EXPECT_EQ(Pretty("Windows Longhorn SERVERENTERPRISEVCORE"),
                "Windows Server 2008 Enterprise Core ohne Hyper-V");
      info.subVersion = GUESS_VERSION_SLED_ALL;
      char *version = Guess_GetVersionString("SLED", &info);
      EXPECT_STREQ(version, "SLED Desktop");
      std::free(version);
   }
   Msg_ReloadCatalogue();
   EXPECT_EQ(Pretty("Windows Longhorn SERVERENTERPRISEVCORE"),
             "Windows Server 2008 Enterprise Core without Hyper-V");
}

// Every message id the library uses has a German entry.
TEST_F(GermanCatalogue, CoversEveryMessageOfTheLibrary) {
   std::string catalogue = trtest::ReadFile(std::string(TRGUEST_SOURCE_DIR) + "/messages/de.trmsg");
   auto ids = trtest::RunCommand(
      {"sh", "-c",
       std::string("grep -rhoE '@&!\\*@\\*@\\(msg\\.[A-Za-z0-9_.]+\\)' ") + TRGUEST_SOURCE_DIR +
          "/lib | sort -u"});
   ASSERT_EQ(ids.exitCode, 0);
   size_t count = 0;
   size_t start = 0;
   while (start < ids.output.size()) {
      size_t nl = ids.output.find('\n', start);
      std::string line = ids.output.substr(start, nl - start);
      start = nl + 1;
      std::string id = line.substr(8, line.size() - 9);  // between "@&!*@*@(" and ")"
      EXPECT_NE(catalogue.find("\n" + id + " = "), std::string::npos) << id;
      count++;
   }
   EXPECT_GT(count, 20u);
}

}  // namespace
