// redhat_test.cc --
//
//    Red Hat family detection: the CentOS keys, every release row
//    of ".discinfo" on both architectures, the Fedora release table,
//    "RELEASE-NOTES" of older media and the isolinux check.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "linux_media.hh"

namespace {

using namespace linuxtest;

class RedHat : public testing::TestWithParam<Case> {};

TEST_P(RedHat, Detects) { CheckCase(GetParam(), Guess_RedHat); }

// A Red Hat installer tree: ".discinfo" and isolinux/isolinux.cfg.
MediaSpec Tree(const std::string &release, const std::string &arch,
               std::vector<MediaFile> more = {}) {
   std::vector<MediaFile> files = {DiscInfo(release, arch), IsolinuxCfg()};
   files.insert(files.end(), more.begin(), more.end());
   return Media(files);
}

// The CentOS key table: the first key that exists sets the sub-code, and
// the identifier is "centos" whatever line 2 says.
std::vector<Case> CentOSKeyCases() {
   return {
      {"CentOS3_i386", Tree("CentOS", "i386", {Key("RPM-GPG-KEY-CentOS-3")}),
       Found("centos", GUESS_VERSION_CENTOS_3)},
      {"CentOS4_x86_64", Tree("CentOS", "x86_64", {Key("RPM-GPG-KEY-centos4")}),
       Found("centos-64", GUESS_VERSION_CENTOS_4)},
      // The "Done when" medium: CentOS 5 x86_64.
      {"CentOS5_x86_64", Tree("CentOS", "x86_64", {Key("RPM-GPG-KEY-CentOS-5")}),
       Found("centos-64", GUESS_VERSION_CENTOS_5)},
      {"CentOS5_i386", Tree("CentOS", "i386", {Key("RPM-GPG-KEY-CentOS-5")}),
       Found("centos", GUESS_VERSION_CENTOS_5)},
      {"CentOS6_x86_64", Tree("CentOS", "x86_64", {Key("RPM-GPG-KEY-CentOS-6")}),
       Found("centos-64", GUESS_VERSION_CENTOS_6)},
      // Keys are tested in table order, not in directory order.
      {"CentOSKeysFirstInTableWins",
       Tree("CentOS", "i386", {Key("RPM-GPG-KEY-CentOS-6"), Key("RPM-GPG-KEY-CentOS-3")}),
       Found("centos", GUESS_VERSION_CENTOS_3)},
      // A key decides over the release line.
      {"CentOSKeyOverridesRelease",
       Tree("Red Hat Enterprise Linux Server 5.4", "x86_64", {Key("RPM-GPG-KEY-CentOS-5")}),
       Found("centos-64", GUESS_VERSION_CENTOS_5)},
      {"CentOSKeyNeedsKnownArch", Tree("CentOS", "ia64", {Key("RPM-GPG-KEY-CentOS-5")}),
       NotFound()},
      // Other keys of the same directory do not count.
      {"OtherKeysDoNotCount",
       Tree("CentOS", "x86_64", {Key("RPM-GPG-KEY-CentOS-7"), Key("RPM-GPG-KEY-beta")}),
       Found("centos-64")},
   };
}

// Every row of the release table, once per architecture.
std::vector<Case> ReleaseRowCases() {
   struct Row {
      const char *name;
      const char *release;
      const char *guestOS;
      const char *guestOS64;
   };
   const Row rows[] = {
      {"R01_RHEL3", "Red Hat Enterprise Linux 3", "rhel3", "rhel3-64"},
      {"R02_RHEL4", "Red Hat Enterprise Linux 4", "rhel4", "rhel4-64"},
      {"R03_RHEL5Client", "Red Hat Enterprise Linux Client 5", "rhel5", "rhel5-64"},
      {"R04_RHEL5Server", "Red Hat Enterprise Linux Server 5.4", "rhel5", "rhel5-64"},
      {"R05_final", "final", "centos", "centos-64"},
      {"R06_Final", "Final", "centos", "centos-64"},
      {"R07_CentOS", "CentOS 5.8", "centos", "centos-64"},
      {"R08_RHEL6", "Red Hat Enterprise Linux 6.2", "rhel6", "rhel6-64"},
      {"R09_Asianux30", "Asianux 3.0", "asianux3", "asianux3-64"},
      {"R10_AsianuxServer3SP", "Asianux Server 3 SP2", "asianux3", "asianux3-64"},
      {"R11_AsianuxServer", "Asianux Server 4", "asianux4", "asianux4-64"},
      {"R12_OracleEL4", "Enterprise Linux Enterprise Linux 4", "oraclelinux", "oraclelinux-64"},
      {"R13_OracleEL5", "Enterprise Linux Server 5", "oraclelinux", "oraclelinux-64"},
      {"R14_OracleLinux", "Oracle Linux Server 6.3", "oraclelinux", "oraclelinux-64"},
      {"R15_Fedora", "Fedora 14", "fedora", "fedora-64"},
   };
   std::vector<Case> cases;
   for (const Row &r : rows) {
      uint32_t sub = std::string(r.guestOS) == "fedora" ? GUESS_VERSION_FEDORA_14_TO_16 : 0;
      cases.push_back({std::string(r.name) + "_i386", Tree(r.release, "i386"), Found(r.guestOS, sub)});
      cases.push_back(
         {std::string(r.name) + "_x86_64", Tree(r.release, "x86_64"), Found(r.guestOS64, sub)});
   }
   // Row 16: nothing else is recognised.
   cases.push_back({"R16_RHELWorkstation6", Tree("Red Hat Enterprise Linux Workstation 6", "x86_64"),
                    NotFound()});
   cases.push_back({"R16_Scientific", Tree("Scientific Linux 6.1", "i386"), NotFound()});
   // Prefix tests are case-sensitive: "centos" is not "CentOS".
   cases.push_back({"R16_LowerCaseCentOS", Tree("centos 5", "i386"), NotFound()});
   // The release prefix must match whole: RHEL 5 without Client or Server.
   cases.push_back({"R16_RHEL5Plain", Tree("Red Hat Enterprise Linux 5", "i386"), NotFound()});
   // Row order: "Asianux Server 3 SP" before "Asianux Server".
   cases.push_back({"R10_BeforeR11", Tree("Asianux Server 3 SP1", "x86_64"),
                    Found("asianux3-64")});
   return cases;
}

// The Fedora release table, from "Fedora " (index 7) or "Fedora Core "
// (index 12).
std::vector<Case> FedoraCases() {
   struct Row {
      const char *name;
      const char *release;
      const char *arch;
      uint32_t sub;
   };
   const Row rows[] = {
      {"FedoraCore6", "Fedora Core 6", "i386", 0},
      {"Fedora7", "Fedora 7", "i386", 0},
      {"Fedora8", "Fedora 8", "i386", GUESS_VERSION_FEDORA_8},
      {"Fedora9", "Fedora 9", "x86_64", GUESS_VERSION_FEDORA_9_TO_12},
      {"Fedora12", "Fedora 12", "i386", GUESS_VERSION_FEDORA_9_TO_12},
      {"Fedora13", "Fedora 13", "x86_64", GUESS_VERSION_FEDORA_13},
      {"Fedora14", "Fedora 14", "i386", GUESS_VERSION_FEDORA_14_TO_16},
      {"Fedora16", "Fedora 16", "x86_64", GUESS_VERSION_FEDORA_14_TO_16},
      {"Fedora17", "Fedora 17", "i386", GUESS_VERSION_FEDORA_17},
      {"Fedora18", "Fedora 18", "i386", GUESS_VERSION_FEDORA_18_OR_HIGHER},
      {"Fedora19", "Fedora 19", "x86_64", GUESS_VERSION_FEDORA_18_OR_HIGHER},
      {"Fedora99", "Fedora 99", "x86_64", GUESS_VERSION_FEDORA_18_OR_HIGHER},
      // "Fedora Core " anywhere in the line: the number is read from index 12.
      {"FedoraCore12", "Fedora Core 12", "i386", GUESS_VERSION_FEDORA_9_TO_12},
      // Text after the number does not matter.
      {"Fedora15Beta", "Fedora 15-Beta", "i386", GUESS_VERSION_FEDORA_14_TO_16},
      // No number after "Fedora ": the sub-code stays 0.
      {"FedoraRawhide", "Fedora Rawhide", "x86_64", 0},
      {"FedoraOnly", "Fedora", "i386", 0},
      // "contains": a line that does not begin with Fedora is Fedora too; its
      // number is read from index 7 all the same (" of Fedora 18": no number).
      {"RemixOfFedora", "A Remix of Fedora 18", "i386", 0},
   };
   std::vector<Case> cases;
   for (const Row &r : rows) {
      std::string arch = r.arch;
      cases.push_back({r.name, Tree(r.release, arch),
                       Found(arch == "x86_64" ? "fedora-64" : "fedora", r.sub)});
   }
   return cases;
}

// ".discinfo" itself: its lines, architectures and line ends.
std::vector<Case> DiscInfoCases() {
   return {
      {"ArchPpc", Tree("Fedora 14", "ppc"), NotFound()},
      {"ArchI686", Tree("CentOS", "i686"), NotFound()},
      // Carriage-return line ends: the architecture line is "x86_64\r".
      {"CrLfDiscInfo",
       Media({DiscInfo("CentOS", "x86_64", "\r\n"), Key("RPM-GPG-KEY-CentOS-5"), IsolinuxCfg()}),
       NotFound()},
      {"MissingArchLine", Media({{".discinfo", "1272326751.405938\nCentOS\n"}}), NotFound()},
      {"OnlyStamp", Media({{".discinfo", "1272326751.405938\n"}}), NotFound()},
      {"EmptyDiscInfo", Media({{".discinfo", ""}}), NotFound()},
      // Empty lines are skipped.
      {"EmptyLinesSkipped",
       Media({{".discinfo", "\n1272326751.405938\n\nRed Hat Enterprise Linux 6.2\n\n\nx86_64\n"},
              IsolinuxCfg()}),
       Found("rhel6-64")},
      // No line feed after the architecture.
      {"NoFinalLineFeed", Media({{".discinfo", "1272326751.405938\nCentOS\ni386"}, IsolinuxCfg()}),
       Found("centos")},
      // With ".discinfo" present, "RELEASE-NOTES" is not looked at.
      {"DiscInfoWinsOverReleaseNotes",
       Media({DiscInfo("Fedora 14", "sparc"), {"RELEASE-NOTES", "Red Hat Linux 9\n"}}),
       NotFound()},
      // Joliet keeps the leading dot and the case; the name is found either way.
      {"JolietMedia",
       Media({DiscInfo("Red Hat Enterprise Linux Server 5.4", "i386"), IsolinuxCfg()},
             MediaFormat::Joliet),
       Found("rhel5")},
      // A DVD image with UDF: ".discinfo" and the key are found there too.
      {"UdfBridgeMedia",
       Media({DiscInfo("CentOS", "x86_64"), Key("RPM-GPG-KEY-CentOS-6"), IsolinuxCfg()},
             MediaFormat::UdfBridge),
       Found("centos-64", GUESS_VERSION_CENTOS_6)},
   };
}

// Older media without ".discinfo": the first line of "RELEASE-NOTES".
std::vector<Case> ReleaseNotesCases() {
   const std::string rest = "\n\nCopyright (c) 2003 Red Hat, Inc.\n";
   return {
      {"RedHatLinux9", Media({{"RELEASE-NOTES", "Red Hat Linux 9" + rest}, IsolinuxCfg()}),
       Found("redhat")},
      {"RedHatLinux73NoIsolinux", Media({{"RELEASE-NOTES", "Red Hat Linux 7.3" + rest}}),
       Found("redhat", 0, true)},
      {"RHEL21", Media({{"RELEASE-NOTES", "Red Hat Enterprise Linux AS 2.1 Release Notes" + rest},
                        IsolinuxCfg()}),
       Found("rhel2")},
      // " 2.1 " needs a blank on both sides.
      {"RHEL21NoBlankAfter",
       Media({{"RELEASE-NOTES", "Red Hat Enterprise Linux AS 2.1" + rest}}), NotFound()},
      {"RHEL3ReleaseNotes",
       Media({{"RELEASE-NOTES", "Red Hat Enterprise Linux AS 3 Release Notes" + rest}}),
       NotFound()},
      // Only the first line counts (empty lines before it are skipped).
      {"FirstNonEmptyLine", Media({{"RELEASE-NOTES", "\n\nRed Hat Linux 8.0\nmore\n"}}),
       Found("redhat", 0, true)},
      {"SecondLineIgnored", Media({{"RELEASE-NOTES", "Release notes\nRed Hat Linux 9\n"}}),
       NotFound()},
      {"EmptyReleaseNotes", Media({{"RELEASE-NOTES", ""}}), NotFound()},
      // A CentOS key still gives the sub-code on this path.
      {"ReleaseNotesWithCentOSKey",
       Media({{"RELEASE-NOTES", "Red Hat Linux 9" + rest}, Key("RPM-GPG-KEY-CentOS-3")}),
       Found("redhat", GUESS_VERSION_CENTOS_3, true)},
      // Plain ISO 9660 turns the name into RELEASE_NOTES: not found.
      {"PlainIsoMangledName",
       Media({{"RELEASE-NOTES", "Red Hat Linux 9" + rest}}, MediaFormat::Plain), NotFound()},
      {"NoMarkers", Media({{"README", "Red Hat Linux 9\n"}}), NotFound()},
   };
}

// noIsolinuxCfg: the negation of isolinux/isolinux.cfg, on every path.
std::vector<Case> IsolinuxCases() {
   return {
      {"NoIsolinuxDir", Media({DiscInfo("CentOS", "x86_64"), Key("RPM-GPG-KEY-CentOS-5")}),
       Found("centos-64", GUESS_VERSION_CENTOS_5, true)},
      {"IsolinuxDirWithoutCfg",
       Media({DiscInfo("Fedora 17", "x86_64"), {"isolinux/vmlinuz", "kernel"}}),
       Found("fedora-64", GUESS_VERSION_FEDORA_17, true)},
      // Only isolinux/ counts, not the Mandriva or SUSE directories.
      {"IsolinuxCfgElsewhere",
       Media({DiscInfo("Fedora 17", "i386"), IsolinuxCfg("boot/x86_64/loader"),
              IsolinuxCfg("i586/isolinux")}),
       Found("fedora", GUESS_VERSION_FEDORA_17, true)},
      {"UpperCaseIsolinux",
       Media({DiscInfo("Fedora 17", "i386"), {"ISOLINUX/ISOLINUX.CFG", "default linux\n"}}),
       Found("fedora", GUESS_VERSION_FEDORA_17, false)},
   };
}

INSTANTIATE_TEST_SUITE_P(CentOSKeys, RedHat, testing::ValuesIn(CentOSKeyCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(ReleaseRows, RedHat, testing::ValuesIn(ReleaseRowCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(FedoraReleases, RedHat, testing::ValuesIn(FedoraCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(DiscInfoFile, RedHat, testing::ValuesIn(DiscInfoCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(ReleaseNotes, RedHat, testing::ValuesIn(ReleaseNotesCases()), CaseName);
INSTANTIATE_TEST_SUITE_P(Isolinux, RedHat, testing::ValuesIn(IsolinuxCases()), CaseName);

// A record in which an earlier detector already set guestOS: a detector
// that does not recognise the image reports TRUE and changes nothing.
TEST(RedHatDirect, UnrecognisedKeepsEarlierResult) {
   trtest::TempDir dir;
   std::string image = trtest::BuildImage(dir, Media({DiscInfo("Fedora 14", "ppc")}));
   ASSERT_FALSE(image.empty());
   trtest::OpenedMedia media(image);
   ASSERT_TRUE(media.ok());
   GuessInfo info{};
   info.guestOS = "solaris10";
   info.subVersion = 7;
   EXPECT_TRUE(Guess_RedHat(media.get(), &info));
   EXPECT_STREQ(info.guestOS, "solaris10");
   EXPECT_EQ(info.subVersion, 7u);
   EXPECT_FALSE(info.noIsolinuxCfg);
}

}  // namespace
