// windows_nt_test.cc --
//
//    Windows NT 4, 2000, XP and Server 2003 media (Guess_WindowsNT) and
//    Windows 95, 98 and Me media (Guess_WindowsLegacy), on images built at
//    test time as the real media are laid out: an I386/ or AMD64/ tree with
//    TXTSETUP.SIF and PRODSPEC.INI (CRLF line ends), or the 9x top-level
//    directory.

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "guess_support.hh"
#include "guessGuest/guessWindowsInt.h"
#include "media_builder.hh"
#include "testsupport.hh"
#include "windows_media.hh"

namespace {

using trtest::MediaFormat;
using trtest::MediaSpec;
using namespace trtest::win;

struct ProductRow {
   const char *product;
   const char *guestOS;
};

// The product-name table of the detector, row by row, and the Windows XP names.
const ProductRow kProducts[] = {
   {"Windows Server 2003, Standard", "winNetStandard"},
   {"Windows Server 2003, Enterprise", "winNetEnterprise"},
   {"Windows Server 2003, Web", "winNetWeb"},
   {"Windows Server 2003 Standard x64 Edition", "winNetStandard-64"},
   {"Windows Server 2003 Enterprise x64 Edition", "winNetEnterprise-64"},
   {"Windows Server 2003 for Small Business Server", "winNetBusiness"},
   {"Microsoft Windows 2000 Professional", "win2000Pro"},
   {"Microsoft Windows 2000 Server", "win2000Serv"},
   {"Microsoft Windows 2000 Advanced Server", "win2000AdvServ"},
   {"Windows NT Workstation Version 4.00", "winNT"},
   {"Windows NT Server Version 4.00", "winNT"},
   {"Windows XP Professional CD-ROM", "winXPPro"},
   {"Windows XP Home Edition CD-ROM", "winXPHome"},
   {"Windows XP Professional x64 Edition", "winXPPro-64"},
   {"WINDOWS XP PROFESSIONAL", "winXPPro"},
   {"Microsoft Windows XP Media Center Edition", "winXPHome"},
   {"Windows XP Tablet PC Edition", "winXPHome"},
   {"windows xp x64 home", "winXPHome"},
   // Not equal to a row (case differs), and no "windows xp" in it.
   {"MICROSOFT WINDOWS 2000 PROFESSIONAL", nullptr},
   {"Windows Server 2003, standard", nullptr},
   {"Windows Server 2003, Standard ", nullptr},
   {"Windows Vista", nullptr},
   {"WindowsXP Professional", nullptr},
};

std::string Id(const char *id) { return id != nullptr ? id : "(none)"; }

TEST(WindowsNTProduct, TableOnSetupText) {
   for (const ProductRow &row : kProducts) {
      for (const char *key : {"wks_id", "srv_id"}) {
         SCOPED_TRACE(std::string(row.product) + " under " + key);
         EXPECT_EQ(Id(GuessWindowsNTProductIdentifier(TxtSetupSif(row.product, key).c_str())),
                   Id(row.guestOS));
      }
   }
}

TEST(WindowsNTProduct, KeysAndValues) {
   struct {
      const char *name;
      std::string text;
      const char *guestOS;
   } cases[] = {
      {"wks_id wins over an earlier srv_id",
       CrLf({"srv_id = \"Windows Server 2003, Web\"", "wks_id = \"Windows XP Home Edition\""}),
       "winXPHome"},
      {"only wks_id is looked at",
       CrLf({"wks_id = \"Windows Vista\"", "srv_id = \"Windows Server 2003, Web\""}), nullptr},
      {"srv_id alone", CrLf({"srv_id = \"Windows Server 2003 Enterprise x64 Edition\""}),
       "winNetEnterprise-64"},
      {"unquoted value", CrLf({"wks_id = Windows NT Workstation Version 4.00"}), "winNT"},
      {"value on the next line", CrLf({"wks_id =", "\"Microsoft Windows 2000 Server\""}),
       "win2000Serv"},
      {"key needs its trailing blank", CrLf({"wks_id=\"Windows XP Professional\""}), nullptr},
      {"key without value", CrLf({"wks_id = \"\""}), nullptr},
      {"key without =", "wks_id \"Windows XP Professional\"", nullptr},
      {"no key", CrLf({"[Strings]", "cdname = \"Windows XP Professional CD-ROM\""}), nullptr},
      {"empty file", "", nullptr},
   };
   for (const auto &c : cases) {
      SCOPED_TRACE(c.name);
      EXPECT_EQ(Id(GuessWindowsNTProductIdentifier(c.text.c_str())), Id(c.guestOS));
   }
}

class WindowsNTMedia : public ::testing::Test {
protected:
   std::string Build(const MediaSpec &spec, const std::string &name = "media.iso") {
      if (!trtest::CanBuild(spec.format)) {
         return "";
      }
      return trtest::BuildImage(dir_, spec, name);
   }
   trtest::TempDir dir_;
};

TEST_F(WindowsNTMedia, EveryProductRowOnI386Media) {
   int n = 0;
   for (const ProductRow &row : kProducts) {
      SCOPED_TRACE(row.product);
      std::string image =
         Build(NtMedia(row.product, "Localization=English"), "p" + std::to_string(n++) + ".iso");
      ASSERT_FALSE(image.empty());
      trtest::Detection d = trtest::RunDetector(image, Guess_WindowsNT);
      if (row.guestOS == nullptr) {
         EXPECT_EQ(d.result, 1);
         EXPECT_EQ(d.info.guestOS, nullptr);
         EXPECT_STREQ(d.info.language, "");  // not recognised: no language either
      } else {
         EXPECT_EQ(d.result, 0);
         EXPECT_EQ(d.guestOS(), row.guestOS);
         EXPECT_EQ(d.info.subVersion, 0u);
         EXPECT_STREQ(d.info.language, "English");
      }
      EXPECT_STREQ(d.info.languages, "");
      EXPECT_STREQ(d.info.editions, "");
   }
}

struct MediaCase {
   const char *name;
   MediaSpec spec;
   const char *guestOS;   // nullptr: not recognised
   const char *language;
};

std::vector<MediaCase> MediaCases() {
   std::vector<MediaCase> cases = {
      {"XP Professional, Joliet", XpProMedia(MediaFormat::Joliet), "winXPPro", "English"},
      {"XP Professional, plain ISO 9660", XpProMedia(MediaFormat::Plain), "winXPPro", "English"},
      {"XP Professional, Rock Ridge", XpProMedia(MediaFormat::RockRidge), "winXPPro", "English"},
      {"XP Professional, UDF bridge", XpProMedia(MediaFormat::UdfBridge), "winXPPro", "English"},
      {"XP Home, German", NtMedia("Windows XP Home Edition CD-ROM", "Localization=German"),
       "winXPHome", "German"},
      {"Server 2003 x64 under srv_id on AMD64",
       NtMedia("Windows Server 2003 Enterprise x64 Edition", "Localization=English", "AMD64",
               "srv_id"),
       "winNetEnterprise-64", "English"},
      {"XP x64 on AMD64", NtMedia("Windows XP Professional x64 Edition", "Localization=Japanese",
                                  "AMD64"),
       "winXPPro-64", "Japanese"},
      {"quoted localization with blanks",
       NtMedia("Windows XP Professional", "Localization=\"Chinese (Simplified) PRC\""),
       "winXPPro", "Chinese (Simplified) PRC"},
      {"localization with trailing blank kept",
       NtMedia("Windows XP Professional", "Localization=Brazilian Portuguese "), "winXPPro",
       "Brazilian Portuguese "},
      // Line ends count as white space before a value: an empty
      // Localization= takes the next line as its value.
      {"empty localization takes the next line",
       NtMedia("Windows XP Professional", "Localization="), "winXPPro", "ServicePackNumber=0"},
      {"localization key in other case",
       NtMedia("Windows XP Professional", "localization=English"), "winXPPro", ""},
      {"Windows 2000 name in capitals",
       NtMedia("MICROSOFT WINDOWS 2000 ADVANCED SERVER", "Localization=English"), nullptr, ""},
   };

   // Everything stored in lower case (directories and files): found through
   // the access layer's lower-case attempt.
   MediaSpec lower;
   lower.format = MediaFormat::RockRidge;
   lower.files = {{"i386/txtsetup.sif", TxtSetupSif("Windows XP Professional CD-ROM")},
                  {"i386/prodspec.ini", ProdSpecIni("Localization=French")}};
   cases.push_back({"lower-case names, Rock Ridge", lower, "winXPPro", "French"});
   lower.format = MediaFormat::UdfBridge;
   cases.push_back({"lower-case names, UDF", lower, "winXPPro", "French"});

   // No PRODSPEC.INI: recognised, language stays empty.
   MediaSpec noProdspec;
   noProdspec.format = MediaFormat::Joliet;
   noProdspec.files = {{"I386/TXTSETUP.SIF", TxtSetupSif("Windows XP Professional CD-ROM")}};
   cases.push_back({"no PRODSPEC.INI", noProdspec, "winXPPro", ""});

   // TXTSETUP.SIF in I386, PRODSPEC.INI only in AMD64: taken from there.
   MediaSpec split = noProdspec;
   split.files.push_back({"AMD64/PRODSPEC.INI", ProdSpecIni("Localization=Korean")});
   cases.push_back({"PRODSPEC.INI from AMD64", split, "winXPPro", "Korean"});

   // I386 TXTSETUP.SIF wins over the AMD64 one; the I386 PRODSPEC.INI too.
   MediaSpec both = NtMedia("Windows Server 2003, Web", "Localization=Italian");
   both.files.push_back({"AMD64/TXTSETUP.SIF", TxtSetupSif("Windows Server 2003 Standard x64 Edition")});
   both.files.push_back({"AMD64/PRODSPEC.INI", ProdSpecIni("Localization=Korean")});
   cases.push_back({"I386 before AMD64", both, "winNetWeb", "Italian"});

   // PRODSPEC.INI alone: not recognised.
   MediaSpec onlyProdspec;
   onlyProdspec.format = MediaFormat::Joliet;
   onlyProdspec.files = {{"I386/PRODSPEC.INI", ProdSpecIni("Localization=English")}};
   cases.push_back({"PRODSPEC.INI alone", onlyProdspec, nullptr, ""});

   // A TXTSETUP.SIF elsewhere does not count.
   MediaSpec elsewhere;
   elsewhere.format = MediaFormat::Joliet;
   elsewhere.files = {{"IA64/TXTSETUP.SIF", TxtSetupSif("Windows XP Professional")}};
   cases.push_back({"TXTSETUP.SIF in IA64", elsewhere, nullptr, ""});
   return cases;
}

TEST_F(WindowsNTMedia, Table) {
   int n = 0;
   for (const MediaCase &c : MediaCases()) {
      SCOPED_TRACE(c.name);
      if (!trtest::CanBuild(c.spec.format)) {
         continue;
      }
      std::string image = Build(c.spec, "m" + std::to_string(n++) + ".iso");
      ASSERT_FALSE(image.empty());
      trtest::Detection d = trtest::RunDetector(image, Guess_WindowsNT);
      EXPECT_EQ(d.result, c.guestOS != nullptr ? 0 : 1);
      EXPECT_EQ(Id(d.info.guestOS), Id(c.guestOS));
      EXPECT_EQ(d.info.subVersion, 0u);
      EXPECT_STREQ(d.info.language, c.language);
      EXPECT_EQ(d.info.guestOS64, nullptr);
   }
}

TEST_F(WindowsNTMedia, ReportsAnIdentifierAlreadySet) {
   std::string image = Build(NtMedia("Windows Vista", "Localization=English"));
   ASSERT_FALSE(image.empty());
   trtest::OpenedMedia media(image);
   ASSERT_TRUE(media.ok());
   GuessInfo info;
   std::memset(&info, 0, sizeof info);
   info.guestOS = "other";
   info.subVersion = 7;
   EXPECT_TRUE(Guess_WindowsNT(media.get(), &info));
   EXPECT_STREQ(info.guestOS, "other");
   EXPECT_EQ(info.subVersion, 7u);
   EXPECT_STREQ(info.language, "");
   EXPECT_TRUE(Guess_WindowsLegacy(media.get(), &info));
   EXPECT_STREQ(info.guestOS, "other");
}

TEST_F(WindowsNTMedia, LongLocalizationIsCut) {
   std::string lang(3000, 'x');
   std::string image = Build(NtMedia("Windows XP Professional", "Localization=" + lang));
   ASSERT_FALSE(image.empty());
   trtest::OpenedMedia media(image);
   ASSERT_TRUE(media.ok());
   auto info = std::make_unique<GuessInfo>();  // on the heap, for ASan
   std::memset(info.get(), 0, sizeof *info);
   ASSERT_TRUE(Guess_WindowsNT(media.get(), info.get()));
   EXPECT_EQ(std::string(info->language), lang.substr(0, sizeof info->language - 1));
   EXPECT_STREQ(info->languages, "");
   EXPECT_STREQ(info->editions, "");
}

TEST_F(WindowsNTMedia, XpThroughTheDriver) {
   std::string image = Build(XpProMedia());
   ASSERT_FALSE(image.empty());
   trtest::Detection d = trtest::DetectImage(image);
   EXPECT_EQ(d.result, GUESS_RESULT_FOUND);
   EXPECT_EQ(d.guestOS(), "winXPPro");
   EXPECT_EQ(d.info.guestOS64, nullptr);
   EXPECT_EQ(d.info.subVersion, 0u);
   EXPECT_FALSE(d.info.noIsolinuxCfg);
   EXPECT_STREQ(d.info.versionString, "");
   // The first detector decided: the Vista detector, which writes "en-US"
   // whenever it runs, did not run.
   EXPECT_STREQ(d.info.language, "English");
   EXPECT_STREQ(d.info.languages, "");
   EXPECT_STREQ(d.info.editions, "");
}

// Windows 95, 98 and Me.

struct LegacyCase {
   const char *name;
   std::vector<std::string> dirs;
   MediaFormat format;
   const char *guestOS;
};

TEST_F(WindowsNTMedia, LegacyTable) {
   const LegacyCase cases[] = {
      {"win98", {"WIN98"}, MediaFormat::Joliet, "win98"},
      {"win95", {"WIN95"}, MediaFormat::Plain, "win95"},
      {"win9x is Me", {"WIN9X"}, MediaFormat::Joliet, "winMe"},
      {"lower case", {"win98"}, MediaFormat::RockRidge, "win98"},
      {"mixed case on Joliet", {"Win95"}, MediaFormat::Joliet, nullptr},
      {"win98 and win9x in capitals", {"WIN98", "WIN9X"}, MediaFormat::Joliet, "winMe"},
      {"win95 and win9x", {"win95", "win9x"}, MediaFormat::RockRidge, "winMe"},
      {"win98 and win95: the later test wins", {"WIN98", "WIN95"}, MediaFormat::Joliet, "win95"},
      {"UDF", {"WIN98"}, MediaFormat::UdfBridge, "win98"},
      {"other directories", {"WIN31", "WINME", "SETUP"}, MediaFormat::Joliet, nullptr},
   };
   int n = 0;
   for (const LegacyCase &c : cases) {
      SCOPED_TRACE(c.name);
      if (!trtest::CanBuild(c.format)) {
         continue;
      }
      MediaSpec spec;
      spec.format = c.format;
      spec.volumeId = "WIN98";
      for (const std::string &d : c.dirs) {
         spec.files.push_back({d + "/SETUP.TXT", "setup\r\n"});
      }
      spec.files.push_back({"SETUP.EXE", "MZ"});
      std::string image = Build(spec, "l" + std::to_string(n++) + ".iso");
      ASSERT_FALSE(image.empty());
      trtest::Detection d = trtest::RunDetector(image, Guess_WindowsLegacy);
      EXPECT_EQ(d.result, c.guestOS != nullptr ? 0 : 1);
      EXPECT_EQ(Id(d.info.guestOS), Id(c.guestOS));
      EXPECT_EQ(d.info.subVersion, 0u);
      EXPECT_STREQ(d.info.language, "");

      // Through the driver: found by the second detector, before the Vista
      // detector could write a language.
      if (c.guestOS != nullptr) {
         trtest::Detection g = trtest::DetectImage(image);
         EXPECT_EQ(g.result, GUESS_RESULT_FOUND);
         EXPECT_EQ(g.guestOS(), c.guestOS);
         EXPECT_STREQ(g.info.language, "");
      }
   }
}

TEST_F(WindowsNTMedia, NtMediaAreNotLegacyMedia) {
   std::string image = Build(XpProMedia());
   ASSERT_FALSE(image.empty());
   EXPECT_EQ(trtest::RunDetector(image, Guess_WindowsLegacy).result, 1);
   EXPECT_EQ(trtest::RunDetector(image, Guess_WindowsVistaAndNewer).result, 1);
}

}  // namespace
