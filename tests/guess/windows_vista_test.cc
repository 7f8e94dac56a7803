// windows_vista_test.cc --
//
//    Vista-era Windows media (Guess_WindowsVistaAndNewer): Vista, Server
//    2008, 7, Server 2008 R2, 8, Server 2012 and Hyper-V Server, on images
//    built at test time with a sources/ directory as the real media have it
//    (idwbinfo.txt, lang.ini, product.ini, ei.cfg, install_*.clg entries,
//    background_svr.bmp; CRLF line ends), as UDF bridge images (as shipped)
//    and as Joliet images.

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trplatform/guestos.h>

#include "guess_support.hh"
#include "media_builder.hh"
#include "testsupport.hh"
#include "windows_media.hh"

namespace {

using trtest::MediaFormat;
using trtest::MediaSpec;
using namespace trtest::win;

const char kWin7Editions[] =
   "Windows 7 HOMEBASIC?Windows 7 HOMEPREMIUM?Windows 7 PROFESSIONAL?Windows 7 STARTER?"
   "Windows 7 ULTIMATE?";
const char kServer2012Editions[] =
   "Windows Server 2012 SERVERSTANDARDCORE?Windows Server 2012 SERVERSTANDARD?"
   "Windows Server 2012 SERVERDATACENTERCORE?Windows Server 2012 SERVERDATACENTER?";

std::string Id(const char *id) { return id != nullptr ? id : "(none)"; }

struct VistaCase {
   std::string name;
   VistaEraMedia media;
   const char *guestOS;     // nullptr: not recognised
   uint32_t subVersion;
   std::string language;
   std::string languages;
   std::string editions;
};

VistaEraMedia Vista(const std::string &branch, const std::string &arch,
                    const std::string &type = "Client") {
   VistaEraMedia m;
   m.branch = branch;
   m.arch = arch;
   m.type = type;
   m.editions = {"Windows Vista BUSINESS", "Windows Vista HOMEBASIC", "Windows Vista ULTIMATE"};
   return m;
}

const char kVistaEditions[] = "Windows Vista BUSINESS?Windows Vista HOMEBASIC?Windows Vista ULTIMATE?";

VistaEraMedia Server2008(const std::string &branch, const std::string &arch) {
   VistaEraMedia m;
   m.branch = branch;
   m.arch = arch;
   m.type = "Server";
   m.editions = {"Windows Longhorn SERVERENTERPRISE", "Windows Longhorn SERVERSTANDARD"};
   return m;
}
const char kServer2008Editions[] = "Windows Longhorn SERVERENTERPRISE?Windows Longhorn SERVERSTANDARD?";

VistaEraMedia Win8(const std::string &eiCfg, const std::string &arch = "amd64") {
   VistaEraMedia m;
   m.branch = "win8_rtm.120725-1247";
   m.arch = arch;
   m.eiCfg = eiCfg;
   m.editions = {"Windows 8 CORE", "Windows 8 PROFESSIONAL"};
   return m;
}
const char kWin8ClgEditions[] = "Windows 8 CORE?Windows 8 PROFESSIONAL?";

VistaEraMedia Server2012(const std::string &eiCfg, bool bitmap, const std::string &type) {
   VistaEraMedia m = Win8(eiCfg);
   m.serverBitmap = bitmap;
   m.type = type;
   m.editions = {"Windows Server 2012 SERVERSTANDARD"};
   return m;
}

VistaEraMedia With(VistaEraMedia m, void (*change)(VistaEraMedia &)) {
   change(m);
   return m;
}

std::vector<VistaCase> Cases() {
   std::vector<VistaCase> c;
   const std::string en = "en-US", enList = "en-US?";

   // Windows 7.
   c.push_back({"7 x64", Windows7X64(), "windows7-64", 0, en, "en-US?de-DE?", kWin7Editions});
   c.push_back({"7 x86", With(VistaEraMedia{}, [](VistaEraMedia &m) { m.arch = "x86"; }),
                "windows7", 0, en, enList, kWin7Editions});
   c.push_back({"7 sp1 branch", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.branch = "win7sp1_rtm.101119-1850";
                }),
                "windows7-64", 0, en, enList, kWin7Editions});
   c.push_back({"7 server (2008 R2)", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.type = "Server";
                   m.editions = {"Windows Server 2008 R2 SERVERSTANDARD"};
                }),
                "windows7srv-64", 0, en, enList, "Windows Server 2008 R2 SERVERSTANDARD?"});
   c.push_back({"7 server on x86 is still 64-bit", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.type = "ServerStandard";
                   m.arch = "x86";
                }),
                "windows7srv-64", 0, en, enList, kWin7Editions});
   c.push_back({"Type must contain Server exactly", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.type = "server";
                }),
                "windows7-64", 0, en, enList, kWin7Editions});
   c.push_back({"no product.ini: client", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.type = "";
                }),
                "windows7-64", 0, en, enList, kWin7Editions});
   c.push_back({"BuildArch must be exactly amd64", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.arch = "amd64fre";
                }),
                "windows7", 0, en, enList, kWin7Editions});
   c.push_back({"BuildArch without value", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.idwbInfo = "[BUILDINFO]\r\nBuildBranch=win7_rtm\r\nBuildArch=";
                }),
                "windows7", 0, en, enList, kWin7Editions});
   c.push_back({"BuildArch missing: not recognised", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.idwbInfo = "[BUILDINFO]\r\nBuildBranch=win7_rtm\r\nBuildType=fre\r\n";
                }),
                nullptr, 0, en, "", kWin7Editions});

   // Vista and Server 2008.
   c.push_back({"Vista x86", Vista("vista_rtm.061101-2205", "x86"), "winvista", 0, en, enList,
                kVistaEditions});
   c.push_back({"Vista x64", Vista("vista_rtm.061101-2205", "amd64"), "winvista-64", 0, en,
                enList, kVistaEditions});
   c.push_back({"Vista sp2 branch (lh_sp2rtm) client", Vista("lh_sp2rtm.090410-1830", "x86"),
                "winvista", 0, en, enList, kVistaEditions});
   c.push_back({"Server 2008 x86", Server2008("lh_sp2rtm.090410-1830", "x86"), "longhorn", 0,
                en, enList, kServer2008Editions});
   c.push_back({"Server 2008 x64", Server2008("lh_sp2rtm.090410-1830", "amd64"), "longhorn-64",
                0, en, enList, kServer2008Editions});
   c.push_back({"Server 2008 on a vista branch", Server2008("vista_sp1srv", "amd64"),
                "longhorn-64", 0, en, enList, kServer2008Editions});
   c.push_back({"winmain client: not recognised", Vista("winmain.070124-1600", "x86"), nullptr,
                0, en, "", kVistaEditions});
   c.push_back({"winmain server: longhorn by arch", Server2008("winmain.070124-1600", "amd64"),
                "longhorn-64", 0, en, enList, kServer2008Editions});
   c.push_back({"unknown branch, Vista editions", Vista("longhorn_beta2", "x86"), "winvista", 0,
                en, enList, kVistaEditions});
   c.push_back({"unknown branch, Windows 7 editions", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.branch = "th1";
                }),
                "windows7-64", 0, en, enList, kWin7Editions});
   c.push_back({"unknown branch, edition prefix in capitals",
                With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.branch = "th1";
                   m.editions = {"WINDOWS 7 ULTIMATE"};
                }),
                "windows7-64", 0, en, enList, "WINDOWS 7 ULTIMATE?"});
   c.push_back({"unknown branch, no editions: not recognised",
                With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.branch = "th1";
                   m.editions = {};
                }),
                nullptr, 0, en, "", ""});
   c.push_back({"no BuildBranch, server: longhorn", With(Server2008("", "x86"), [](VistaEraMedia &m) {
                   m.idwbInfo = "[BUILDINFO]\r\nBuildArch=x86\r\n";
                }),
                "longhorn", 0, en, enList, kServer2008Editions});
   c.push_back({"no BuildBranch, client: not recognised", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.idwbInfo = "[BUILDINFO]\r\nBuildArch=amd64\r\n";
                }),
                nullptr, 0, en, "", kWin7Editions});

   // Edition entries: only exact "install_" ... ".clg" names count.
   c.push_back({"clg entries in capitals are not editions",
                With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.editions = {"Windows 7 ULTIMATE"};
                   m.langIni = LangIni({"en-US = 3"});
                }),
                "windows7-64", 0, en, enList, "Windows 7 ULTIMATE?"});

   // Windows 8.
   c.push_back({"8 without ei.cfg", Win8(""), "windows8-64", 0, en, enList,
                "Windows 8 Pro?Windows 8?"});
   c.push_back({"8 x86 without ei.cfg", Win8("", "x86"), "windows8", 0, en, enList,
                "Windows 8 Pro?Windows 8?"});
   c.push_back({"8 Enterprise", Win8(EiCfg("Enterprise", "Volume")), "windows8-64", 23, en,
                enList, "Windows 8 Enterprise?"});
   c.push_back({"8 enterprise in lower case", Win8(EiCfg("enterprise", "Volume")), "windows8-64",
                23, en, enList, "Windows 8 Enterprise?"});
   c.push_back({"8 Enterprise N", Win8(EiCfg("EnterpriseN", "Volume")), "windows8-64", 23, en,
                enList, "Windows 8 Enterprise_N?"});
   c.push_back({"8 enterprisen", Win8(EiCfg("enterprisen", "Volume")), "windows8-64", 23, en,
                enList, "Windows 8 Enterprise_N?"});
   c.push_back({"8 Enterprise evaluation", Win8(EiCfg("EnterpriseEval", "Retail")), "windows8-64",
                24, en, enList, kWin8ClgEditions});
   c.push_back({"8 Pro N", Win8(EiCfg("ProfessionalN")), "windows8-64", 0, en, enList,
                "Windows 8 Pro_N?"});
   c.push_back({"8 Pro", Win8(EiCfg("Professional", "Volume")), "windows8-64", 0, en, enList,
                "Windows 8 Pro?"});
   c.push_back({"8 Core", Win8(EiCfg("Core")), "windows8", 0, en, enList,
                "Windows 8 Pro?Windows 8?"});
   c.back().media.arch = "x86";
   // An entry that begins with "ei.cfg" but no readable sources/ei.cfg: no
   // marker is found, so a client gets the generic list and a server is not
   // Hyper-V.
   c.push_back({"ei.cfg entry that cannot be read, client", Win8(""), "windows8-64", 0, en,
                enList, "Windows 8 Pro?Windows 8?"});
   c.push_back({"ei.cfg entry that cannot be read, server", Server2012("", true, ""),
                "windows8srv-64", 0, en, enList, kServer2012Editions});
   c.push_back({"8 without BuildArch: not recognised, editions written",
                With(Win8(EiCfg("Enterprise")), [](VistaEraMedia &m) {
                   m.idwbInfo = "[BUILDINFO]\r\nBuildBranch=win8_rtm.120725-1247\r\n";
                }),
                nullptr, 0, en, "", "Windows 8 Enterprise?"});

   // Server 2012 and Hyper-V Server.
   c.push_back({"2012 by background_svr.bmp", Server2012("", true, "Client"), "windows8srv-64", 0,
                en, enList, kServer2012Editions});
   c.push_back({"2012 by Type", Server2012("", false, "Server"), "windows8srv-64", 0, en,
                enList, kServer2012Editions});
   c.push_back({"2012 on x86 is still 64-bit",
                With(Server2012(EiCfg("ServerStandard"), true, ""), [](VistaEraMedia &m) {
                   m.arch = "x86";
                }),
                "windows8srv-64", 0, en, enList, kServer2012Editions});
   c.push_back({"Hyper-V Server", Server2012(EiCfg("ServerHyperCore"), true, ""), "winhyperv", 0,
                en, enList, "Windows Server 2012 SERVERSTANDARD?"});
   c.push_back({"Hyper-V marker in a client ei.cfg", Win8(EiCfg("ServerHyperCore")),
                "windows8-64", 0, en, enList, "Windows 8 Pro?Windows 8?"});

   // Languages.
   c.push_back({"default language German", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.langIni = LangIni({"en-US = 2", "de-DE = 3", "fr-FR = 1"});
                }),
                "windows7-64", 0, "de-DE", "en-US?de-DE?fr-FR?", kWin7Editions});
   c.push_back({"tie: the earlier line", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.langIni = LangIni({"en-US = 3", "de-DE = 3"});
                }),
                "windows7-64", 0, en, "en-US?de-DE?", kWin7Editions});
   c.push_back({"value not an integer", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.langIni = LangIni({"ja-JP = 1a"});
                }),
                "windows7-64", 0, en, "", kWin7Editions});
   c.push_back({"no fallback section", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.langIni = "[Available UI Languages]\r\nja-JP = 3\r\n";
                }),
                "windows7-64", 0, en, "", kWin7Editions});
   c.push_back({"lang.ini with LF line ends", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.langIni = "[Available UI Languages]\nja-JP = 3\n\n[Fallback Languages]\n";
                }),
                "windows7-64", 0, en, "", kWin7Editions});
   c.push_back({"no lang.ini: not recognised", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.langIni = "";
                }),
                nullptr, 0, en, "", ""});
   c.push_back({"no idwbinfo.txt: not recognised", With(VistaEraMedia{}, [](VistaEraMedia &m) {
                   m.idwbInfo = "";
                   m.branch = "";
                }),
                nullptr, 0, en, "", ""});
   return c;
}

// The image of a case; the "no idwbinfo.txt" case drops the file.
MediaSpec SpecOf(const VistaCase &c, MediaFormat format) {
   VistaEraMedia m = c.media;
   m.format = format;
   MediaSpec spec = m.Spec();
   if (c.name.rfind("no idwbinfo.txt", 0) == 0) {
      std::erase_if(spec.files, [](const trtest::MediaFile &f) {
         return f.path == "sources/idwbinfo.txt";
      });
   }
   if (c.name.rfind("ei.cfg entry that cannot be read", 0) == 0) {
      spec.files.push_back({"sources/ei.cfg.old", EiCfg("ServerHyperCore")});
   }
   if (c.name.rfind("clg entries in capitals", 0) == 0) {
      spec.files.push_back({"sources/INSTALL_Windows 7 STARTER.clg", "x"});
      spec.files.push_back({"sources/install_Windows 7 HOMEBASIC.CLG", "x"});
   }
   return spec;
}

class WindowsVistaMedia : public ::testing::TestWithParam<MediaFormat> {
protected:
   trtest::TempDir dir_;
};

TEST_P(WindowsVistaMedia, Table) {
   if (!trtest::CanBuild(GetParam())) {
      GTEST_SKIP() << "mastering tool missing";
   }
   int n = 0;
   for (const VistaCase &c : Cases()) {
      SCOPED_TRACE(c.name);
      std::string image =
         trtest::BuildImage(dir_, SpecOf(c, GetParam()), "v" + std::to_string(n++) + ".iso");
      ASSERT_FALSE(image.empty());
      trtest::Detection d = trtest::RunDetector(image, Guess_WindowsVistaAndNewer);
      EXPECT_EQ(d.result, c.guestOS != nullptr ? 0 : 1);
      EXPECT_EQ(Id(d.info.guestOS), Id(c.guestOS));
      EXPECT_EQ(d.info.guestOS64, nullptr);
      EXPECT_EQ(d.info.subVersion, c.subVersion);
      EXPECT_EQ(std::string(d.info.language), c.language);
      EXPECT_EQ(std::string(d.info.languages), c.languages);
      EXPECT_EQ(std::string(d.info.editions), c.editions);
      EXPECT_STREQ(d.info.versionString, "");
      EXPECT_FALSE(d.info.noIsolinuxCfg);
   }
}

// Windows 7 x64 through the driver: found by the third detector.
TEST_P(WindowsVistaMedia, Windows7ThroughTheDriver) {
   if (!trtest::CanBuild(GetParam())) {
      GTEST_SKIP() << "mastering tool missing";
   }
   VistaEraMedia m = Windows7X64();
   m.format = GetParam();
   std::string image = trtest::BuildImage(dir_, m.Spec());
   ASSERT_FALSE(image.empty());
   trtest::Detection d = trtest::DetectImage(image);
   EXPECT_EQ(d.result, GUESS_RESULT_FOUND);
   EXPECT_EQ(d.guestOS(), "windows7-64");
   EXPECT_EQ(d.info.guestOS64, nullptr);
   EXPECT_EQ(d.info.subVersion, 0u);
   EXPECT_STREQ(d.info.versionString, "");
   EXPECT_STREQ(d.info.language, "en-US");
   EXPECT_STREQ(d.info.languages, "en-US?de-DE?");
   EXPECT_STREQ(d.info.editions, kWin7Editions);
}

// A Vista-era medium that is not recognised keeps the edition list and
// "en-US" through the rest of the chain.
TEST_P(WindowsVistaMedia, UnrecognisedKeepsEditionsAndLanguage) {
   if (!trtest::CanBuild(GetParam())) {
      GTEST_SKIP() << "mastering tool missing";
   }
   VistaEraMedia m = Vista("winmain.070124-1600", "x86");
   m.format = GetParam();
   std::string image = trtest::BuildImage(dir_, m.Spec());
   ASSERT_FALSE(image.empty());
   trtest::Detection d = trtest::DetectImage(image);
   EXPECT_EQ(d.result, GUESS_RESULT_NO_MATCH);
   EXPECT_EQ(d.info.guestOS, nullptr);
   EXPECT_EQ(d.info.subVersion, 0u);
   EXPECT_STREQ(d.info.language, "en-US");
   EXPECT_STREQ(d.info.languages, "");
   EXPECT_STREQ(d.info.editions, kVistaEditions);
}

// Lists longer than their fields are cut at the field, never written past
// it (the record is on the heap, so ASan sees any overrun of editions, the
// last field; a languages overrun would show in editions).
TEST_P(WindowsVistaMedia, LongListsAreCut) {
   if (!trtest::CanBuild(GetParam())) {
      GTEST_SKIP() << "mastering tool missing";
   }
   VistaEraMedia m;
   m.format = GetParam();
   m.editions.clear();
   std::string fullEditions;
   for (int i = 0; i < 30; i++) {
      std::string e = "Windows Server 2008 R2 SERVERDATACENTERCORE " + std::to_string(100 + i);
      m.editions.push_back(e);
      fullEditions += e + "?";
   }
   std::string lang = "[Available UI Languages]\r\n";
   std::string fullLanguages;
   for (int i = 0; i < 200; i++) {
      std::string key = "xx-L" + std::to_string(1000 + i);
      lang += key + " = " + std::to_string(i == 150 ? 9 : 1) + "\r\n";
      fullLanguages += key + "?";
   }
   lang += "\r\n[Fallback Languages]\r\n";
   m.langIni = lang;
   ASSERT_GT(fullEditions.size(), sizeof(GuessInfo::editions));
   ASSERT_GT(fullLanguages.size(), sizeof(GuessInfo::languages));

   std::string image = trtest::BuildImage(dir_, m.Spec());
   ASSERT_FALSE(image.empty());
   trtest::OpenedMedia media(image);
   ASSERT_TRUE(media.ok());
   auto info = std::make_unique<GuessInfo>();
   std::memset(info.get(), 0, sizeof *info);
   ASSERT_TRUE(Guess_WindowsVistaAndNewer(media.get(), info.get()));
   EXPECT_STREQ(info->guestOS, "windows7-64");
   EXPECT_STREQ(info->language, "xx-L1150");
   EXPECT_EQ(std::string(info->languages), fullLanguages.substr(0, sizeof info->languages - 1));
   EXPECT_EQ(std::string(info->editions), fullEditions.substr(0, sizeof info->editions - 1));

   // The same through the driver.
   trtest::Detection d = trtest::DetectImage(image);
   EXPECT_EQ(d.result, GUESS_RESULT_FOUND);
   EXPECT_EQ(std::string(d.info.editions), fullEditions.substr(0, sizeof d.info.editions - 1));
   EXPECT_EQ(std::string(d.info.languages), fullLanguages.substr(0, sizeof d.info.languages - 1));
}

INSTANTIATE_TEST_SUITE_P(Formats, WindowsVistaMedia,
                         ::testing::Values(MediaFormat::UdfBridge, MediaFormat::Joliet),
                         [](const ::testing::TestParamInfo<MediaFormat> &p) {
                            return p.param == MediaFormat::UdfBridge ? "UdfBridge" : "Joliet";
                         });

// Every identifier that the Windows detectors can store is in the
// platform's guest OS table, in the Windows id range.
TEST(WindowsFamily, IdentifiersAreInTheGuestOSTable) {
   const char *ids[] = {
      "winNetStandard", "winNetEnterprise", "winNetWeb", "winNetStandard-64",
      "winNetEnterprise-64", "winNetBusiness", "win2000Pro", "win2000Serv", "win2000AdvServ",
      "winNT", "winXPPro-64", "winXPPro", "winXPHome", "win98", "win95", "winMe",
      "longhorn-64", "longhorn", "winvista-64", "winvista", "windows7srv-64", "windows7-64",
      "windows7", "winhyperv", "windows8srv-64", "windows8-64", "windows8",
   };
   for (const char *id : ids) {
      SCOPED_TRACE(id);
      bool exact = false;
      for (const GuestOSListEntry *e = guestOSList; e->name != nullptr; e++) {
         exact = exact || std::strcmp(e->name, id) == 0;
      }
      EXPECT_TRUE(exact);
      int n = GuestOS_GetOSIDByName(id);
      EXPECT_GE(n, 0x5003);
      EXPECT_LE(n, 0x5016);
      EXPECT_TRUE(GuestOS_IsWin(n));
   }
}

}  // namespace
