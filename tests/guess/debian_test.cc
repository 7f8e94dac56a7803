// debian_test.cc --
//
//    Debian and Ubuntu detection: the family table, the
//    architecture words, the Ubuntu version text and sub-code, and the
//    isolinux check. ".disk/info" is one line without a final line feed, as
//    the media carry it.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "linux_media.hh"

namespace {

using namespace linuxtest;

class Debian : public testing::TestWithParam<Case> {};

TEST_P(Debian, Detects) { CheckCase(GetParam(), Guess_Debian); }

MediaSpec Disc(const std::string &info, bool isolinux = true,
               MediaFormat format = MediaFormat::RockRidge) {
   std::vector<MediaFile> files = {DiskInfo(info)};
   if (isolinux) {
      files.push_back(IsolinuxCfg());
   }
   return Media(files, format);
}

// Debian rows of the family table, both architectures.
std::vector<Case> DebianCases() {
   struct Row {
      const char *name;
      const char *info;
      const char *guestOS;
   };
   const Row rows[] = {
      {"Debian4_i386", "Debian GNU/Linux 4.0 r9 \"Etch\" - Official i386 CD Binary-1 20100411-15:13",
       "debian4"},
      {"Debian4_amd64",
       "Debian GNU/Linux 4.0 r9 \"Etch\" - Official amd64 CD Binary-1 20100411-15:13",
       "debian4-64"},
      {"Debian5_i386",
       "Debian GNU/Linux 5.0.10 \"Lenny\" - Official i386 CD Binary-1 20120310-10:49", "debian5"},
      {"Debian5_amd64",
       "Debian GNU/Linux 5.0.10 \"Lenny\" - Official amd64 CD Binary-1 20120310-10:49",
       "debian5-64"},
      {"Debian6_i386",
       "Debian GNU/Linux 6.0.4 \"Squeeze\" - Official i386 CD Binary-1 20120128-13:42", "debian6"},
      {"Debian6_amd64",
       "Debian GNU/Linux 6.0.4 \"Squeeze\" - Official amd64 CD Binary-1 20120128-13:42",
       "debian6-64"},
      {"Debian7_i386",
       "Debian GNU/Linux 7.0.0 \"Wheezy\" - Official i386 CD Binary-1 20130504-14:43", "debian7"},
      {"Debian7_amd64",
       "Debian GNU/Linux 7.0.0 \"Wheezy\" - Official amd64 CD Binary-1 20130504-14:43",
       "debian7-64"},
   };
   std::vector<Case> cases;
   for (const Row &r : rows) {
      // Sub-code 0 and no version text for Debian.
      cases.push_back({r.name, Disc(r.info), Found(r.guestOS)});
   }
   cases.push_back({"Debian31", Disc("Debian GNU/Linux 3.1 r8 \"Sarge\" - Official i386 Binary-1"),
                    NotFound()});
   cases.push_back({"Debian8", Disc("Debian GNU/Linux 8.0.0 \"Jessie\" - Official amd64 CD Binary-1"),
                    NotFound()});
   // A multi-architecture disc names both: the 64-bit identifier.
   cases.push_back({"DebianMultiArch",
                    Disc("Debian GNU/Linux 6.0.4 \"Squeeze\" - Official amd64/i386 NETINST Binary-1"),
                    Found("debian6-64")});
   cases.push_back({"DebianPowerPC",
                    Disc("Debian GNU/Linux 6.0.4 \"Squeeze\" - Official powerpc CD Binary-1"),
                    NotFound()});
   cases.push_back({"DebianNoIsolinux",
                    Disc("Debian GNU/Linux 5.0.10 \"Lenny\" - Official i386 CD Binary-1", false),
                    Found("debian5", 0, true)});
   return cases;
}

std::vector<Case> UbuntuCases() {
   return {
      // The "Done when" medium.
      {"Ubuntu1004",
       Disc("Ubuntu 10.04.4 LTS \"Lucid Lynx\" - Release i386 (20120214.2)"),
       Found("ubuntu", GUESS_VERSION_UBUNTU_710_OR_HIGHER, false, "10.04.4")},
      {"Ubuntu1204_amd64",
       Disc("Ubuntu 12.04.2 LTS \"Precise Pangolin\" - Release amd64 (20130214)"),
       Found("ubuntu-64", GUESS_VERSION_UBUNTU_710_OR_HIGHER, false, "12.04.2")},
      {"Ubuntu704", Disc("Ubuntu 7.04 \"Feisty Fawn\" - Release i386 (20070415)"),
       Found("ubuntu", GUESS_VERSION_UBUNTU_704_OR_LOWER, false, "7.04")},
      {"Ubuntu606", Disc("Ubuntu 6.06.1 \"Dapper Drake\" - Release amd64 (20060807.1)"),
       Found("ubuntu-64", GUESS_VERSION_UBUNTU_704_OR_LOWER, false, "6.06.1")},
      // 7.10 exactly is not below 7.10.
      {"Ubuntu710", Disc("Ubuntu 7.10 \"Gutsy Gibbon\" - Release i386 (20071016)"),
       Found("ubuntu", GUESS_VERSION_UBUNTU_710_OR_HIGHER, false, "7.10")},
      {"UbuntuServer804",
       Disc("Ubuntu-Server 8.04.1 \"Hardy Heron\" - Release amd64 (20080702.1)"),
       Found("ubuntu-64", GUESS_VERSION_UBUNTU_SERVER_804_OR_LOWER, false, "Server 8.04.1")},
      {"UbuntuServer810", Disc("Ubuntu-Server 8.10 \"Intrepid Ibex\" - Release i386 (20081028.1)"),
       Found("ubuntu", GUESS_VERSION_UBUNTU_SERVER_810_OR_HIGHER, false, "Server 8.10")},
      {"UbuntuServer1004",
       Disc("Ubuntu-Server 10.04.4 LTS \"Lucid Lynx\" - Release amd64 (20120214.2)"),
       Found("ubuntu-64", GUESS_VERSION_UBUNTU_SERVER_810_OR_HIGHER, false, "Server 10.04.4")},
      {"Kubuntu904", Disc("Kubuntu 9.04 \"Jaunty Jackalope\" - Release amd64 (20090421.3)"),
       Found("ubuntu-64", GUESS_VERSION_UBUNTU_710_OR_HIGHER, false, "9.04")},
      {"Xubuntu610", Disc("Xubuntu 6.10 \"Edgy Eft\" - Release i386 (20061025)"),
       Found("ubuntu", GUESS_VERSION_UBUNTU_704_OR_LOWER, false, "6.10")},
      {"Edubuntu804", Disc("Edubuntu 8.04 \"Hardy Heron\" - Release amd64 (20080423)"),
       Found("ubuntu-64", GUESS_VERSION_UBUNTU_710_OR_HIGHER, false, "8.04")},
      // Neither amd64 nor i386: not recognised, yet the version is written.
      {"UbuntuPowerPC", Disc("Ubuntu 8.04 \"Hardy Heron\" - Release powerpc (20080423)"),
       NotFound("8.04")},
      {"UbuntuServerSparc", Disc("Ubuntu-Server 7.10 \"Gutsy Gibbon\" - Release sparc"),
       NotFound("Server 7.10")},
      // A version word longer than the field is cut to 31 characters.
      {"UbuntuLongVersion",
       Disc("Ubuntu-Server 10.04.4.1234567890123456789012345 - Release i386"),
       Found("ubuntu", GUESS_VERSION_UBUNTU_SERVER_810_OR_HIGHER, false,
             "Server 10.04.4.1234567890123456")},
      // A single word: no version, the sub-code stays 3.
      {"UbuntuNoVersion", Disc("Ubuntu-i386"),
       Found("ubuntu", GUESS_VERSION_UBUNTU_704_OR_LOWER)},
      // Prefixes are case-sensitive.
      {"LowerCaseUbuntu", Disc("ubuntu 10.04 - Release i386"), NotFound()},
      {"Lubuntu", Disc("Lubuntu 12.04 \"Precise Pangolin\" - Release i386 (20120423)"), NotFound()},
      {"UbuntuNoIsolinux", Disc("Ubuntu 9.10 \"Karmic Koala\" - Release i386 (20091027)", false),
       Found("ubuntu", GUESS_VERSION_UBUNTU_710_OR_HIGHER, true, "9.10")},
      {"UbuntuOnUdf",
       Disc("Ubuntu 11.10 \"Oneiric Ocelot\" - Release amd64 (20111012)", true,
            MediaFormat::UdfBridge),
       Found("ubuntu-64", GUESS_VERSION_UBUNTU_710_OR_HIGHER, false, "11.10")},
      {"NoDiskInfo", Media({IsolinuxCfg(), {"README.diskdefines", "#define DISKNAME  Ubuntu\n"}}),
       NotFound()},
   };
}

INSTANTIATE_TEST_SUITE_P(DebianFamilies, Debian, testing::ValuesIn(DebianCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(UbuntuFamilies, Debian, testing::ValuesIn(UbuntuCases()), CaseName);

}  // namespace
