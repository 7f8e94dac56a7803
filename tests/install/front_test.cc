// front_test.cc --
//
//    The install front over the guest families: flavours, which guests are
//    supported, the installer-form limits, and the dispatch of validation.

#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <trguest/autoinstall.h>

#include "guestInstall/installFront.h"
#include "testsupport.hh"

namespace {

GuessInfo Info(const char *guestOS, uint32_t sub = 0, const char *version = "") {
   GuessInfo info;
   std::memset(&info, 0, sizeof info);
   info.guestOS = guestOS;
   info.subVersion = sub;
   std::strncpy(info.versionString, version, sizeof info.versionString - 1);
   return info;
}

TEST(LinuxFlavour, PrefixesInOrder) {
   struct {
      const char *id;
      LinuxFlavour flavour;
      Bool floppy;
   } cases[] = {
      {"rhel6-64", LINUX_FLAVOUR_REDHAT, FALSE},  {"redhat", LINUX_FLAVOUR_REDHAT, FALSE},
      {"asianux4", LINUX_FLAVOUR_REDHAT, FALSE},  {"fedora-64", LINUX_FLAVOUR_REDHAT, FALSE},
      {"centos", LINUX_FLAVOUR_REDHAT, FALSE},    {"sles10-64", LINUX_FLAVOUR_SLES10, TRUE},
      {"sles11", LINUX_FLAVOUR_SUSE, TRUE},       {"opensuse-64", LINUX_FLAVOUR_SUSE, TRUE},
      {"sles", LINUX_FLAVOUR_NONE, FALSE},        {"sles12-64", LINUX_FLAVOUR_NONE, FALSE},
      {"ubuntu-64", LINUX_FLAVOUR_UBUNTU, TRUE},  {"mandriva", LINUX_FLAVOUR_MANDRIVA, TRUE},
      {"debian6", LINUX_FLAVOUR_NONE, FALSE},     {"winXPPro", LINUX_FLAVOUR_NONE, FALSE},
      {"RHEL6", LINUX_FLAVOUR_NONE, FALSE},       {"", LINUX_FLAVOUR_NONE, FALSE},
   };
   for (const auto &c : cases) {
      EXPECT_EQ(GetLinuxFlavour(c.id), c.flavour) << c.id;
      EXPECT_EQ(AutoInstall_NeedsFloppy_Linux(c.id), c.floppy) << c.id;
   }
   EXPECT_EQ(GetLinuxFlavour(nullptr), LINUX_FLAVOUR_NONE);
   EXPECT_STREQ(linuxFlavourTable[LINUX_FLAVOUR_REDHAT].answerFileName, "ks.cfg");
   EXPECT_STREQ(linuxFlavourTable[LINUX_FLAVOUR_MANDRIVA].answerFileName, "auto_i~1.cfg");
   EXPECT_STREQ(linuxFlavourTable[LINUX_FLAVOUR_SLES10].bootOption,
                "autoyast=device://fd0/autoinst.xml install=cd:/?device=hdc "
                "driverupdate=disk:/?device=fd0");
}

TEST(SupportedGuest, AcrossFamilies) {
   struct {
      const char *id;
      uint32_t sub;
      Bool supported;
   } cases[] = {
      {"rhel3", 0, TRUE},
      {"rhel2", 0, FALSE},
      {"redhat", 0, FALSE},
      {"fedora", GUESS_VERSION_FEDORA_8, FALSE},
      {"fedora-64", GUESS_VERSION_FEDORA_13, FALSE},
      {"fedora-64", GUESS_VERSION_FEDORA_14_TO_16, TRUE},
      {"centos-64", GUESS_VERSION_CENTOS_5, TRUE},
      {"ubuntu", GUESS_VERSION_UNKNOWN, FALSE},
      {"ubuntu", GUESS_VERSION_UBUNTU_SERVER_804_OR_LOWER, FALSE},
      {"ubuntu", GUESS_VERSION_UBUNTU_704_OR_LOWER, FALSE},
      {"ubuntu-64", GUESS_VERSION_UBUNTU_710_OR_HIGHER, TRUE},
      {"ubuntu", GUESS_VERSION_UBUNTU_SERVER_810_OR_HIGHER, TRUE},
      {"opensuse", GUESS_VERSION_OPENSUSE_11_2_OR_LOWER, FALSE},
      {"opensuse-64", 0, TRUE},
      {"sles10", GUESS_VERSION_SLES_10_SP2_OR_LOWER, FALSE},
      {"sles10", GUESS_VERSION_SLED_10_SP2_OR_LOWER, FALSE},
      {"sles11-64", GUESS_VERSION_SLED_ALL, TRUE},
      {"sles", 0, FALSE},
      {"mandriva", GUESS_VERSION_MANDRIVA_2008_1_OR_HIGHER, FALSE},
      {"debian6-64", 0, FALSE},
      {"WINXPPRO", 0, TRUE},
      {"winNetEnterprise-64", 0, TRUE},
      {"longhorn", 0, TRUE},
      {"winvista-64", 0, TRUE},
      {"windows8", GUESS_VERSION_WIN8_ENTERPRISE, TRUE},
      {"windows8", GUESS_VERSION_WIN8_ENTERPRISE_EVAL, FALSE},
      {"win2000Pro", 0, FALSE},
      {"winNT", 0, FALSE},
      {"solaris10", 0, FALSE},
   };
   for (const auto &c : cases) {
      GuessInfo info = Info(c.id, c.sub);
      EXPECT_EQ(AutoInstall_IsSupportedGuest(&info), c.supported) << c.id << " " << c.sub;
   }
   GuessInfo none = Info(nullptr);
   EXPECT_FALSE(AutoInstall_IsSupportedGuest(&none));
   EXPECT_FALSE(AutoInstallIsSupportedWindowsGuest(&none));
}

std::string Names(const InstallConfigReservedName *list) {
   if (list == nullptr) return "<none>";
   std::string out;
   for (; list->name != nullptr; list++) {
      out += std::string(list->name) + (list->matchPrefix ? "*" : "") + " ";
   }
   return out;
}

TEST(InstallConfig, LimitsAndReservedNames) {
   struct {
      const char *family, *id;
      uint32_t shortMax, nameMax, passwordMax;
      Bool family0, family1, guest0, guest1;
      const char *familyNames, *guestNames;
   } cases[] = {
      {"windows", "winXPPro", 0, 50, 127, 1, 0, 1, 1, "<none>",
       "administra* amministratore guest guests gast invitado "},
      {"windows", "winNetStandard-64", 0, 50, 127, 1, 0, 1, 0, "<none>",
       "administra* amministratore guest guests gast invitado "},
      {"windows", "windows7-64", 0, 20, 127, 1, 0, 1, 1, "<none>",
       "administra* amministratore guest guests "},
      {"windows", "longhorn", 0, 20, 127, 1, 0, 1, 1, "<none>",
       "administra* amministratore guest guests "},
      {"windows", "winNT", 0, 50, 127, 1, 0, 0, 0, "<none>",
       "administra* amministratore guest guests gast invitado "},
      {"linux", "ubuntu-64", 32, 52, 127, 0, 1, 0, 0, "root ", "<none>"},
   };
   for (const auto &c : cases) {
      GuessInfo info = Info(c.id);
      InstallConfigInfo config;
      std::memset(&config, 0xAB, sizeof config);
      ASSERT_TRUE(AutoInstall_GetInstallConfigInfo(c.family, &info, &config)) << c.id;
      EXPECT_EQ(config.shortNameMaxLength, c.shortMax) << c.id;
      EXPECT_EQ(config.nameMaxLength, c.nameMax) << c.id;
      EXPECT_EQ(config.passwordMaxLength, c.passwordMax) << c.id;
      EXPECT_EQ(config.extraLimit, 0u) << c.id;
      EXPECT_EQ(config.familyFlags[0], c.family0) << c.id;
      EXPECT_EQ(config.familyFlags[1], c.family1) << c.id;
      EXPECT_EQ(config.guestFlags[0], c.guest0) << c.id;
      EXPECT_EQ(config.guestFlags[1], c.guest1) << c.id;
      EXPECT_EQ(Names(config.familyReservedNames), c.familyNames) << c.id;
      EXPECT_EQ(Names(config.guestReservedNames), c.guestNames) << c.id;
   }
}

TEST(InstallConfig, RefusalsLeaveTheRecord) {
   GuessInfo info = Info("winXPPro");
   GuessInfo noId = Info(nullptr);
   InstallConfigInfo config;
   std::memset(&config, 0xAB, sizeof config);
   const InstallConfigInfo before = config;
   EXPECT_FALSE(AutoInstall_GetInstallConfigInfo("macos", &info, &config));
   EXPECT_FALSE(AutoInstall_GetInstallConfigInfo("Windows", &info, &config));
   EXPECT_FALSE(AutoInstall_GetInstallConfigInfo(nullptr, &info, &config));
   EXPECT_FALSE(AutoInstall_GetInstallConfigInfo("windows", nullptr, &config));
   EXPECT_FALSE(AutoInstall_GetInstallConfigInfo("windows", &noId, &config));
   EXPECT_FALSE(AutoInstall_GetInstallConfigInfo("windows", &info, nullptr));
   EXPECT_EQ(std::memcmp(&config, &before, sizeof config), 0);
}

struct TextCase {
   const char *family, *id;
   int kind;  // 0 password, 1 short name, 2 name
   const char *text;
   AutoInstallTextResult result;
};

TEST(Validation, LinuxAndWindowsRules) {
   const TextCase cases[] = {
      {"linux", "ubuntu", 1, "1abc", TEXT_BAD_UBUNTU_USERNAME},
      {"linux", "fedora", 1, "1abc", TEXT_OK},
      {"linux", "ubuntu", 1, "Abc", TEXT_BAD_UBUNTU_USERNAME},
      {"linux", "fedora", 1, "Abc", TEXT_BAD_LINUX_USERNAME},
      {"linux", "ubuntu", 1, "", TEXT_BAD_UBUNTU_USERNAME},
      {"linux", "fedora", 1, "", TEXT_OK},
      {"linux", "sles11", 1, "jane-doe9", TEXT_OK},
      {"linux", "sles11", 1, "jane_doe", TEXT_BAD_LINUX_USERNAME},
      {"linux", "sles11", 1, "j\xc3\xa9", TEXT_BAD_LINUX_USERNAME},
      {"linux", "rhel6", 2, "Jane ]]> Doe", TEXT_BAD_GECOS_SUBSTRING},
      {"linux", "rhel6", 2, "Doe, Jane ]]>", TEXT_BAD_LINUX_NAME},
      {"linux", "rhel6", 2, "a\\b", TEXT_BAD_LINUX_NAME},
      {"linux", "rhel6", 2, "Jane O'Doe", TEXT_OK},
      {"linux", "rhel6", 0, "pa]]>ss", TEXT_BAD_PASSWORD_SUBSTRING},
      {"linux", "rhel6", 1, "pa]]>ss", TEXT_BAD_LINUX_USERNAME},
      {"linux", "rhel6", 0, "p:a,s\"s", TEXT_OK},
      {"windows", "winXPPro", 2, "Doe, Jane", TEXT_BAD_WINDOWS_NAME},
      {"windows", "winXPPro", 0, "Doe, Jane", TEXT_OK},
      {"windows", "winXPPro", 1, "a/b", TEXT_OK},
      {"windows", "windows7", 2, "Jane Doe", TEXT_OK},
      {"windows", "windows7", 2, "x*", TEXT_BAD_WINDOWS_NAME},
      {"windows", "windows7", 2, "x]]>", TEXT_BAD_WINDOWS_NAME},
   };
   for (const auto &c : cases) {
      GuessInfo info = Info(c.id);
      char *msg = nullptr;
      AutoInstallTextResult r =
         c.kind == 0   ? AutoInstall_ValidatePassword(c.family, &info, c.text, &msg)
         : c.kind == 1 ? AutoInstall_ValidateShortName(c.family, &info, c.text, &msg)
                       : AutoInstall_ValidateName(c.family, &info, c.text, &msg);
      EXPECT_EQ(r, c.result) << c.family << " " << c.id << " " << c.text;
      EXPECT_EQ(msg == nullptr, r == TEXT_OK) << c.text;
      std::free(msg);
      // Without a message pointer only the code comes back.
      r = c.kind == 0   ? AutoInstall_ValidatePassword(c.family, &info, c.text, nullptr)
          : c.kind == 1 ? AutoInstall_ValidateShortName(c.family, &info, c.text, nullptr)
                        : AutoInstall_ValidateName(c.family, &info, c.text, nullptr);
      EXPECT_EQ(r, c.result);
   }
}

TEST(Validation, MessagesAreTheDefaultTexts) {
   GuessInfo ubuntu = Info("ubuntu");
   char *msg = nullptr;
   EXPECT_EQ(AutoInstallValidateLinuxText(&ubuntu, "9", 1, &msg), TEXT_BAD_UBUNTU_USERNAME);
   EXPECT_STREQ(msg,
                "The user name must start with a lowercase US English character.\n"
                "Enter a new value.");
   std::free(msg);
   EXPECT_EQ(AutoInstallValidateLinuxText(&ubuntu, "a:b", 2, &msg), TEXT_BAD_LINUX_NAME);
   EXPECT_STREQ(msg, "The full name does not allow the following characters: ':\"\\,'\n"
                     "Enter a new value.");
   std::free(msg);
   EXPECT_EQ(AutoInstallValidateWindowsText(&ubuntu, "a|b", 2, &msg), TEXT_BAD_WINDOWS_NAME);
   EXPECT_STREQ(msg, "The name must not contain the following characters:\n"
                     "'/\\[]\":;|<>+=,?*'\nEnter a new value.");
   std::free(msg);
   // Kinds the checks do not know are accepted.
   EXPECT_EQ(AutoInstallValidateLinuxText(&ubuntu, "]]>", 7, &msg), TEXT_OK);
}

// Missing arguments give the "no" answers instead of a crash; a missing
// text is the empty one.
TEST(Validation, MissingArguments) {
   EXPECT_FALSE(AutoInstall_IsSupportedGuest(nullptr));
   EXPECT_FALSE(AutoInstallIsSupportedLinuxGuest(nullptr));
   EXPECT_FALSE(AutoInstallIsSupportedWindowsGuest(nullptr));
   EXPECT_EQ(AutoInstall_GetPrettyWindowsName(nullptr), nullptr);
   GuessInfo ubuntu = Info("ubuntu");
   GuessInfo fedora = Info("fedora");
   char *msg = nullptr;
   EXPECT_EQ(AutoInstall_ValidateShortName("linux", &ubuntu, nullptr, &msg),
             TEXT_BAD_UBUNTU_USERNAME);
   std::free(msg);
   EXPECT_EQ(AutoInstall_ValidateShortName("linux", &fedora, nullptr, nullptr), TEXT_OK);
   EXPECT_EQ(AutoInstall_ValidateName("linux", &fedora, nullptr, nullptr), TEXT_OK);
   EXPECT_EQ(AutoInstall_ValidatePassword("linux", &fedora, nullptr, nullptr), TEXT_OK);
   EXPECT_EQ(AutoInstall_ValidateName("windows", &fedora, nullptr, nullptr), TEXT_OK);
   // Without a record the Linux checks are those of a guest of no flavour.
   EXPECT_EQ(AutoInstallValidateLinuxText(nullptr, "9abc", 1, nullptr), TEXT_OK);
   EXPECT_EQ(AutoInstallValidateLinuxText(nullptr, "Abc", 1, nullptr), TEXT_BAD_LINUX_USERNAME);
}

TEST(ValidationDeathTest, UnknownFamilyStops) {
   trtest::TempDir dir;
   std::string log = dir.file("panic.log");
   GuessInfo info = Info("ubuntu");
   EXPECT_DEATH(
      {
         setenv("TRGUEST_LOG", log.c_str(), 1);
         AutoInstall_ValidateName("solaris", &info, "x", nullptr);
      },
      "");
   EXPECT_EQ(trtest::ReadFile(log), "NOT_REACHED lib/guestInstall/autoinstall:244\n");
   EXPECT_DEATH(AutoInstall_ValidatePassword(nullptr, &info, "x", nullptr), "");
}

}  // namespace
